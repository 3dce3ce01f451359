// Keeps libraries loaded that cannot be loaded and freed again and again. Part of the module if
// GNU's OpenMP run time serves it on Windows.
//
// The OpenMP run time keeps its worker threads for the next parallel region and cannot end them. If
// it were unloaded with the module, these threads would run into unmapped code.
//
// OpenCV leaves its singletons and its threads' buffers behind, megabytes for each round of loading
// and freeing.
//
// Both stay loaded when a host frees the module. The next load finds them again.
#include <initializer_list>

#include <windows.h>

namespace {

[[maybe_unused]] const bool kept = [] {
    bool all = true;
    for (const char* name : {TARVIX_KEPT_LIBRARIES}) {
        HMODULE ignored = nullptr;
        all = GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_PIN, name, &ignored) != FALSE && all;
    }
    return all;
}();

} // namespace
