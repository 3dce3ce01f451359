// The module's table of exports, as the system loaded it, has exactly the listed names.
#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> exportedNames(HMODULE module) {
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

TEST(Exports, AreThoseOfTheList) {
    std::vector<std::string> listed;
    std::ifstream list(TARVIX_EXPORTS);
    for (std::string line; std::getline(list, line);) {
        listed.push_back(line);
    }
    ASSERT_FALSE(listed.empty());
    delete tx_LoadFile(""); // links the module
    const HMODULE module = GetModuleHandleA("Tarvix.dll");
    ASSERT_NE(module, nullptr);
    EXPECT_THAT(exportedNames(module), testing::UnorderedElementsAreArray(listed));
}

} // namespace
