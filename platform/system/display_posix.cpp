#include "platform/system/display.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>

#include <link.h>
#include <wayland-client-core.h>
#include <xcb/xcb.h>

namespace tarvix {
namespace {

namespace fs = std::filesystem;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

std::shared_ptr<void> connectToX11() {
    const std::shared_ptr<xcb_connection_t> connection(xcb_connect(nullptr, nullptr),
                                                       xcb_disconnect);
    return xcb_connection_has_error(connection.get()) == 0 ? connection : nullptr;
}

// Whether Qt's plug-in for Wayland is installed, which is a package of its own. It is searched for
// below the Qt library of this process.
bool hasWaylandPlugin() {
    bool isThere = false;
    dl_iterate_phdr(
        [](dl_phdr_info* library, std::size_t /*size*/, void* found) {
            const fs::path path(library->dlpi_name);
            if (path.filename().native().rfind("libQt5Core.so", 0) != 0) {
                return 0;
            }
            std::error_code ignored;
            // Debian's place, that of other distributions, that of Qt's own packages.
            for (const char* plugins : {"qt5/plugins", "qt/plugins", "../plugins"}) {
                if (fs::exists(path.parent_path() / plugins / "platforms/libqwayland-generic.so",
                               ignored)) {
                    *static_cast<bool*>(found) = true;
                }
            }
            return 1;
        },
        &isThere);
    return isThere;
}

std::shared_ptr<void> connectToWayland() {
    // A connection that was inherited serves once: it is the GUI library's.
    if (!variable("WAYLAND_SOCKET").empty() || !hasWaylandPlugin()) {
        return nullptr;
    }
    const std::shared_ptr<wl_display> connection(wl_display_connect(nullptr), [](wl_display* one) {
        if (one != nullptr) {
            wl_display_disconnect(one);
        }
    });
    return connection;
}

// A platform plug-in of Qt by its name. Any other than these needs a device or a server that cannot
// be tried from here, so it does not count.
std::shared_ptr<void> connectTo(std::string_view platform) {
    if (platform == "offscreen" || platform == "minimal") {
        return std::make_shared<bool>();
    }
    return platform == "xcb"       ? connectToX11()
           : platform == "wayland" ? connectToWayland()
                                   : nullptr;
}

// "name:options;name:options ...", in the order of Qt's attempts.
std::string platforms() {
    std::string chosen = variable("QT_QPA_PLATFORM");
    if (chosen.empty()) {
        return variable("XDG_SESSION_TYPE") == "wayland" ? "wayland;xcb" : "xcb";
    }
    std::transform(chosen.begin(), chosen.end(), chosen.begin(), [](unsigned char c) {
        return static_cast<char>(c < 0x80 ? std::tolower(c) : c);
    });
    return chosen;
}

} // namespace

// As Qt chooses: the first platform that starts.
std::shared_ptr<void> connectToDisplay() {
    const std::string all = platforms();
    std::string_view rest = all;
    while (true) {
        const std::size_t end = rest.find(';');
        const std::string_view entry = rest.substr(0, end);
        if (std::shared_ptr<void> connection = connectTo(entry.substr(0, entry.find(':')))) {
            return connection;
        }
        if (end == std::string_view::npos) {
            return nullptr;
        }
        rest.remove_prefix(end + 1);
    }
}

} // namespace tarvix
