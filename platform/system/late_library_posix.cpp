#include "platform/system/late_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

namespace tarvix {

namespace {

std::string reason() {
    const char* const text = dlerror();
    return text == nullptr ? "unknown error" : text;
}

// Everything is bound at once, so that what is missing is said here and does not end the process.
void* load(const std::string& library) {
    return dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
}

} // namespace

void* lateFunction(const std::string& library, const std::string& function) {
    void* handle = load(library);
    if (handle == nullptr) {
        std::string why = reason();
        // The address checker calls the loader itself, which then looks where the checker's
        // libraries are, and not where ours are.
        Dl_info own{};
        if (dladdr(reinterpret_cast<const void*>(&lateFunction), &own) != 0) {
            const std::filesystem::path beside =
                std::filesystem::path(own.dli_fname).parent_path() / library;
            handle = load(beside);
            std::error_code ignored;
            if (handle == nullptr && std::filesystem::exists(beside, ignored)) {
                why = reason(); // one that it names itself is missing, say
            }
        }
        if (handle == nullptr) {
            throw std::runtime_error(why);
        }
    }
    void* const address = dlsym(handle, function.c_str());
    if (address == nullptr) {
        throw std::runtime_error(reason());
    }
    return address;
}

} // namespace tarvix
