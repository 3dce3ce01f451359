#include "platform/system/display.h"

#include <cstdlib>
#include <string>
#include <string_view>

#include <xcb/xcb.h>

namespace tarvix {
namespace {

bool serverAnswers() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool answers = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return answers;
}

// A platform plug-in of Qt by its name. Any other than these needs a device or a server that cannot
// be tried from here, so it does not count.
bool canStart(std::string_view platform) {
    return platform == "offscreen" || platform == "minimal" ||
           (platform == "xcb" && serverAnswers());
}

} // namespace

// As Qt chooses: the first platform that starts of "name:options;name:options ...".
bool canShowWindows() {
    const char* const chosen = std::getenv("QT_QPA_PLATFORM");
    std::string_view rest = chosen == nullptr || *chosen == '\0' ? "xcb" : chosen;
    while (true) {
        const std::size_t end = rest.find(';');
        const std::string_view entry = rest.substr(0, end);
        if (canStart(entry.substr(0, entry.find(':')))) {
            return true;
        }
        if (end == std::string_view::npos) {
            return false;
        }
        rest.remove_prefix(end + 1);
    }
}

} // namespace tarvix
