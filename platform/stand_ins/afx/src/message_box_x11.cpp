#include "message_box.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <system_error>

#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace tarvix::afx {
namespace {

bool canConnectToDisplay() {
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool connected = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return connected;
}

// Beside this library, or in the folder that belongs to it.
std::optional<std::string> findBoxProgram() {
    Dl_info library{};
    if (dladdr(reinterpret_cast<const void*>(&printMessage), &library) == 0) {
        return std::nullopt;
    }
    const std::filesystem::path folder = std::filesystem::path(library.dli_fname).parent_path();
    for (const char* const name : {"tarvix-message-box", "tarvix/tarvix-message-box"}) {
        const std::string program = folder / name;
        if (access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return std::nullopt;
}

std::string executableName() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).filename().string();
}

// The descriptor of an unnamed file that holds the text, or -1.
int asFile(const std::string& text) {
    const int file = memfd_create("message", MFD_CLOEXEC);
    if (file < 0) {
        return -1;
    }
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(file, text.data() + written, text.size() - written);
        if (count < 0) {
            close(file);
            return -1;
        }
        written += static_cast<std::size_t>(count);
    }
    lseek(file, 0, SEEK_SET);
    return file;
}

// Runs the program that shows the box, in a process of its own. A GUI library in the host's process
// would bind itself to the first thread that uses it, set the locale, and end the host with the X
// server. Returns false if the box was not shown until its button was pressed.
bool runBox(const std::string& program, const char* text) {
    const int textFile = asFile(text);
    if (textFile < 0) {
        return false;
    }
    std::string name = program;
    std::string title = executableName();
    char* arguments[] = {name.data(), title.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, textFile, STDIN_FILENO);
    // The GUI library's remarks must not appear in the host's output.
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = -1;
    const int error = posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(textFile);
    if (error != 0) {
        return false;
    }
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR) {
            return true; // the host collects its children itself; this one has ended
        }
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

int showMessageBox(const char* text, unsigned /*type*/) {
    if (canConnectToDisplay()) {
        const std::optional<std::string> program = findBoxProgram();
        if (program && runBox(*program, text)) {
            return okButton;
        }
    }
    return printMessage(text);
}

} // namespace tarvix::afx
