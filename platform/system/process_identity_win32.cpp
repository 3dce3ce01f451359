#include "platform/system/process_identity.h"

#include <array>

#include <windows.h>

namespace tarvix {

std::uint64_t ownProcess() {
    return GetCurrentProcessId();
}

std::string machine() {
    std::array<char, MAX_COMPUTERNAME_LENGTH + 1> name{};
    auto size = static_cast<DWORD>(name.size());
    return GetComputerNameA(name.data(), &size) != 0 ? std::string(name.data(), size) : "";
}

bool isRunning(std::uint64_t process) {
    HANDLE const handle = OpenProcess(SYNCHRONIZE, FALSE, static_cast<DWORD>(process));
    if (handle == nullptr) {
        return GetLastError() != ERROR_INVALID_PARAMETER; // else it is another user's
    }
    const bool runs = WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
    CloseHandle(handle);
    return runs;
}

} // namespace tarvix
