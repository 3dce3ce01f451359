// A library to preload into a program that a test runs many times: most of the cost of a short run
// is the loading of about 270 libraries. The program is started once, up to its main(). Each run is
// a fork of it, which gets its own arguments, working folder and output and enters the program's
// own main(). Without the environment variable nothing changes.
#include "tests/support/start_server.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Main = int (*)(int, char**, char**);

constexpr unsigned limitSeconds = 900; // ends a hang, by SIGALRM

Main programMain = nullptr;

bool receive(int socket, void* data, std::size_t bytes) {
    auto* next = static_cast<char*>(data);
    while (bytes > 0) {
        const ssize_t got = recv(socket, next, bytes, 0);
        if (got <= 0) {
            return false; // the test has ended
        }
        next += got;
        bytes -= static_cast<std::size_t>(got);
    }
    return true;
}

void redirect(const char* path, int flags, int descriptor) {
    const int opened = open(path, flags | O_CLOEXEC, 0666);
    if (opened < 0 || dup2(opened, descriptor) < 0) {
        _exit(127);
    }
    close(opened);
}

// Returns what main() returns in a run. The server itself never returns.
int serve(int socket, char** environment) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const char ready = 1;
    if (send(socket, &ready, sizeof ready, MSG_NOSIGNAL) != sizeof ready) {
        _exit(0);
    }
    std::uint32_t bytes = 0;
    while (receive(socket, &bytes, sizeof bytes)) {
        static std::string texts; // stays for as long as the program's arguments
        texts.resize(bytes);
        if (!receive(socket, texts.data(), bytes)) {
            break;
        }
        const pid_t process = fork();
        if (process == 0) {
            static std::vector<char*> words;
            for (std::size_t i = 0; i < texts.size(); i = texts.find('\0', i) + 1) {
                words.push_back(&texts[i]);
            }
            close(socket);
            redirect("/dev/null", O_RDONLY, 0);
            redirect(words.at(0), O_WRONLY | O_CREAT | O_TRUNC, 1);
            redirect(words.at(1), O_WRONLY | O_CREAT | O_TRUNC, 2);
            if (chdir(words.at(2)) != 0) {
                _exit(127);
            }
            alarm(limitSeconds);
            const int count = static_cast<int>(words.size()) - 3;
            words.push_back(nullptr);
            return programMain(count, &words.at(3), environment);
        }
        int status = 127 << 8;
        if (process > 0) {
            waitpid(process, &status, 0);
        }
        if (send(socket, &status, sizeof status, MSG_NOSIGNAL) != sizeof status) {
            break;
        }
    }
    _exit(0);
}

int mainOrServer(int count, char** words, char** environment) {
    const char* const number = std::getenv(test::startServerVariable);
    if (number == nullptr) {
        return programMain(count, words, environment);
    }
    const int socket = std::atoi(number);
    unsetenv(test::startServerVariable); // the runs see the test's environment
    unsetenv("LD_PRELOAD");
    return serve(socket, environ);
}

} // namespace

// The C library's function that calls main().
extern "C" __attribute__((visibility("default"))) int
__libc_start_main(Main program, int count, char** words, void (*begin)(), void (*end)(),
                  void (*unload)(), void* stack) {
    using Start = int (*)(Main, int, char**, void (*)(), void (*)(), void (*)(), void*);
    programMain = program;
    const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return start(mainOrServer, count, words, begin, end, unload, stack);
}
