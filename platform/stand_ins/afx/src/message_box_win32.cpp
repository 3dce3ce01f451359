#include "message_box.h"

#include <windows.h>

#include <array>
#include <string>

namespace tarvix::afx {

int showMessageBox(const char* text, unsigned type) {
    std::array<char, MAX_PATH> path{};
    GetModuleFileNameA(nullptr, path.data(), MAX_PATH);
    path.back() = '\0';
    std::string title = path.data();
    title.erase(0, title.find_last_of("\\/") + 1); // npos + 1 is 0
    title.erase(title.find_last_of('.') == std::string::npos ? title.size()
                                                             : title.find_last_of('.'));
    const int button = MessageBoxA(nullptr, text, title.c_str(), type);
    return button > 0 ? button : printMessage(text); // not shown: there is no desktop
}

} // namespace tarvix::afx
