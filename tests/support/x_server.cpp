#include "tests/support/x_server.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {
namespace {

using Clock = std::chrono::steady_clock;

struct Child {
    int process;
    int output; // the reading end of its pipe
};

// Starts the program with a pipe on descriptor 3, otherwise silent. It ends with the calling
// thread.
Child start(std::vector<std::string> arguments) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    const int process = fork();
    if (process == 0) {
        // Only calls that are safe after a fork of a program with threads.
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int nowhere = open("/dev/null", O_RDWR | O_CLOEXEC);
        const int output = fcntl(ends[1], F_DUPFD_CLOEXEC, 10);
        for (int descriptor = 0; descriptor < 3; ++descriptor) {
            dup2(nowhere, descriptor);
        }
        dup2(output, 3);
        execvp(pointers.front(), pointers.data());
        _exit(127);
    }
    close(ends[1]);
    if (process < 0) {
        close(ends[0]);
        throw std::runtime_error("no process");
    }
    return {process, ends[0]};
}

// Reads until isComplete, the end of the pipe, or the limit; the last gives false.
template <class IsComplete>
bool readUntil(int descriptor, std::string& text, int limitSeconds, IsComplete isComplete) {
    const auto end = Clock::now() + std::chrono::seconds(limitSeconds);
    while (!isComplete(text)) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd waiting{descriptor, POLLIN, 0};
        const int ready = left <= 0 ? 0 : poll(&waiting, 1, static_cast<int>(left));
        if (ready == 0) {
            return false;
        }
        if (ready < 0) {
            continue; // a signal
        }
        std::array<char, 4096> buffer{};
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return true;
        }
        text.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return true;
}

int waitFor(int process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

void end(int process) {
    // Politely first: a server that is killed leaves its lock file behind.
    kill(process, SIGTERM);
    for (int tries = 0; tries < 500; ++tries) {
        if (waitpid(process, nullptr, WNOHANG) != 0) {
            return;
        }
        usleep(10'000);
    }
    kill(process, SIGKILL);
    waitFor(process);
}

} // namespace

XServer::XServer(int depth, AfterLastClient then) {
    // -noreset: the server must not forget everything when the last client of a moment leaves.
    const Child server =
        start({"Xvfb", "-displayfd", "3", "-screen", "0", "1600x1200x" + std::to_string(depth),
               "-nolisten", "tcp", then == AfterLastClient::stay ? "-noreset" : "-terminate"});
    m_process = server.process;
    std::string number;
    readUntil(server.output, number, 30,
              [](const std::string& text) { return text.find('\n') != std::string::npos; });
    close(server.output);
    if (number.find('\n') == std::string::npos) {
        kill();
        throw std::runtime_error("Xvfb does not start");
    }
    m_display.emplace("DISPLAY", ":" + number.substr(0, number.find('\n')));
    m_session.emplace("XDG_SESSION_TYPE", std::nullopt); // or Qt would prefer a user's Wayland
}

XServer::~XServer() {
    kill();
}

void XServer::kill() {
    if (m_process > 0) {
        end(m_process);
        m_process = -1;
    }
}

WaylandServer::WaylandServer() {
    m_runtime.emplace("XDG_RUNTIME_DIR", m_folder.path());
    const Child server =
        start({"weston", "--backend=headless-backend.so", "--socket=display", "--idle-time=0"});
    close(server.output);
    m_process = server.process;
    const auto limit = Clock::now() + std::chrono::seconds(30);
    while (!std::filesystem::is_socket(m_folder / "display")) {
        const bool hasEnded = waitpid(m_process, nullptr, WNOHANG) != 0;
        if (hasEnded || Clock::now() > limit) {
            if (!hasEnded) {
                end(m_process);
            }
            throw std::runtime_error("weston does not start");
        }
        usleep(10'000);
    }
    m_display.emplace("WAYLAND_DISPLAY", "display");
}

WaylandServer::~WaylandServer() {
    end(m_process);
}

} // namespace test
