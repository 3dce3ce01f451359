// What a loaded Windows module exports, as the system has it in memory.
#pragma once

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

namespace test {

// The names in the module's table, decorated as its compiler does it.
inline std::vector<std::string> exportedNames(HMODULE module) {
    const auto base = reinterpret_cast<std::uintptr_t>(module);
    const auto at = [base](DWORD offset) { return reinterpret_cast<const void*>(base + offset); };
    const auto* const dos = static_cast<const IMAGE_DOS_HEADER*>(at(0));
    const auto* const headers =
        static_cast<const IMAGE_NT_HEADERS*>(at(static_cast<DWORD>(dos->e_lfanew)));
    const IMAGE_DATA_DIRECTORY& where =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
    const auto* const table = static_cast<const IMAGE_EXPORT_DIRECTORY*>(at(where.VirtualAddress));
    const auto* const names = static_cast<const DWORD*>(at(table->AddressOfNames));
    std::vector<std::string> all;
    for (DWORD i = 0; i < table->NumberOfNames; ++i) {
        all.emplace_back(static_cast<const char*>(at(names[i])));
    }
    return all;
}

// The address of the function of this name, or null unless exactly one decorated name has it.
inline FARPROC exportedFunction(HMODULE module, const std::string& name) {
    FARPROC address = nullptr;
    for (const std::string& decorated : exportedNames(module)) {
        if (decorated.find(name) == std::string::npos) {
            continue;
        }
        if (address != nullptr) {
            return nullptr;
        }
        address = GetProcAddress(module, decorated.c_str());
    }
    return address;
}

} // namespace test
