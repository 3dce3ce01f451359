#include "platform/system/browser.h"

#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tarvix {

bool openInBrowser(const std::filesystem::path& file) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr) {
        return false; // a browser for the terminal would take the terminal over
    }
    // The shell lets xdg-open go, so that nobody has to wait for its end.
    std::string path = file.string();
    std::string shell = "sh";
    std::string option = "-c";
    std::string script = "command -v xdg-open >/dev/null 2>&1 || exit 1\n"
                         "xdg-open \"$1\" >/dev/null 2>&1 </dev/null &";
    std::string name = "open";
    char* const words[] = {shell.data(), option.data(), script.data(),
                           name.data(),  path.data(),   nullptr};
    pid_t child = 0;
    if (posix_spawn(&child, "/bin/sh", nullptr, nullptr, words, environ) != 0) {
        return false;
    }
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace tarvix
