#include "platform/system/child_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/prctl.h>
#include <sys/syscall.h>
#if __has_include(<linux/close_range.h>)
#include <linux/close_range.h>
#endif
#endif

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tarvix {

namespace {

[[noreturn]] void cannotStart(const std::string& program, int error) {
    throw std::runtime_error("the program '" + program +
                             "' cannot be started: " + std::generic_category().message(error));
}

// The descriptor under a number above those of the standard streams, not inherited.
PipeEnd aboveStandard(int descriptor) {
    const int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return PipeEnd(moved);
}

int descriptorOf(const PipeEnd& end) {
    return static_cast<int>(end.native());
}

// Both ends of a stream. Of a socket, because writing to a process that has ended is then an error
// instead of a signal.
std::pair<PipeEnd, PipeEnd> stream(const std::string& program) {
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        cannotStart(program, errno);
    }
    return {aboveStandard(ends[0]), aboveStandard(ends[1])};
}

// The program that comes gets no descriptor above those of the standard streams.
void keepFromProgram() {
    constexpr int first = STDERR_FILENO + 1;
#if defined(__linux__) && defined(SYS_close_range) && defined(CLOSE_RANGE_CLOEXEC)
    if (syscall(SYS_close_range, first, ~0U, CLOSE_RANGE_CLOEXEC) == 0) {
        return;
    }
#endif
    constexpr rlim_t most = 65536; // where the limit is not one
    rlimit limit{};
    const bool known = getrlimit(RLIMIT_NOFILE, &limit) == 0;
    const int end = static_cast<int>(known ? std::min(limit.rlim_cur, most) : most);
    for (int descriptor = first; descriptor < end; ++descriptor) {
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
}

// In the new process, which has one thread: calls nothing that a signal handler may not.
[[noreturn]] void become(char* const* words, int in, int out, int err, int report, pid_t parent) {
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    setpgid(0, 0);
    for (const int wish : {SIGINT, SIGTERM, SIGHUP}) { // which is for our process to obey
        static_cast<void>(signal(wish, SIG_IGN));
    }
    keepFromProgram();
    if (getppid() == parent && dup2(in, STDIN_FILENO) >= 0 && dup2(out, STDOUT_FILENO) >= 0 &&
        (err < 0 || dup2(err, STDERR_FILENO) >= 0)) {
        sigset_t all;
        sigemptyset(&all);
        sigprocmask(SIG_SETMASK, &all, nullptr);
        execv(words[0], words);
    }
    const int error = errno;
    static_cast<void>(!write(report, &error, sizeof error));
    _exit(127);
}

std::uint64_t fieldOfStatus(pid_t process, const std::string& name) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) {
            return std::stoull(line.substr(name.size())) * 1024;
        }
    }
    return 0;
}

} // namespace

std::size_t PipeEnd::read(char* to, std::size_t size) const {
    ssize_t count = 0;
    do {
        count = ::read(static_cast<int>(m_native), to, size);
    } while (count < 0 && errno == EINTR);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

bool PipeEnd::write(const std::string& text) const {
    const int descriptor = static_cast<int>(m_native);
    std::size_t done = 0;
    while (done < text.size()) {
        const char* const rest = text.data() + done;
        ssize_t count = send(descriptor, rest, text.size() - done, MSG_NOSIGNAL);
        if (count < 0 && errno == ENOTSOCK) {
            count = ::write(descriptor, rest, text.size() - done);
        }
        if (count < 0 && errno != EINTR) {
            return false;
        }
        done += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
    return true;
}

void PipeEnd::close() {
    // NOLINTNEXTLINE(clang-analyzer-core.UndefinedBinaryOperatorResult): it loses sight of pairs
    if (m_native != none) {
        ::close(static_cast<int>(m_native));
        m_native = none;
    }
}

struct ChildProcess::State {
    pid_t process = -1;
    bool reaped = false; // then the number may be another process's
    std::string how;
    mutable std::mutex mutex;
};

ChildProcess::ChildProcess(const std::vector<std::string>& words, Errors errors)
    : m_state(std::make_unique<State>()) {
    std::vector<std::string> copies = words;
    std::vector<char*> pointers;
    pointers.reserve(copies.size() + 1);
    for (std::string& word : copies) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    auto [in, theirIn] = stream(words.at(0));
    auto [out, theirOut] = stream(words.at(0));
    auto [report, theirReport] = stream(words.at(0));
    const PipeEnd nowhere(errors == Errors::Dropped ? open("/dev/null", O_WRONLY | O_CLOEXEC)
                                                    : PipeEnd::none);
    const pid_t self = getpid();
    const pid_t process = fork();
    if (process == 0) {
        become(pointers.data(), descriptorOf(theirIn), descriptorOf(theirOut),
               descriptorOf(nowhere), descriptorOf(theirReport), self);
    }
    if (process < 0) {
        cannotStart(words[0], errno);
    }
    setpgid(process, process); // the process does so, too: whoever comes first
    theirReport.close();
    int error = 0;
    if (report.read(reinterpret_cast<char*>(&error), sizeof error) == sizeof error) {
        waitpid(process, nullptr, 0);
        cannotStart(words[0], error);
    }
    m_in = std::move(in);
    m_out = std::move(out);
    m_state->process = process;
}

ChildProcess::~ChildProcess() {
    end();
    static_cast<void>(wait());
}

std::uint64_t ChildProcess::number() const {
    return static_cast<std::uint64_t>(m_state->process);
}

void ChildProcess::end() {
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->reaped && kill(-m_state->process, SIGKILL) != 0) {
        kill(m_state->process, SIGKILL);
    }
}

bool ChildProcess::hasEnded() const {
    const std::lock_guard lock(m_state->mutex);
    siginfo_t info{};
    return m_state->reaped ||
           waitid(P_PID, static_cast<id_t>(m_state->process), &info, WEXITED | WNOHANG | WNOWAIT) !=
               0 ||
           info.si_pid != 0;
}

std::string ChildProcess::wait() {
    siginfo_t info{};
    if (!m_state->reaped) {
        while (waitid(P_PID, static_cast<id_t>(m_state->process), &info, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
    }
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->reaped) {
        int status = 0;
        waitpid(m_state->process, &status, 0);
        m_state->reaped = true;
        m_state->how = WIFSIGNALED(status)
                           ? "was ended by signal " + std::to_string(WTERMSIG(status))
                           : "ended with status " + std::to_string(WEXITSTATUS(status));
    }
    return m_state->how;
}

std::uint64_t ChildProcess::memory() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->reaped ? 0 : fieldOfStatus(m_state->process, "VmRSS:");
}

std::uint64_t ChildProcess::peakMemory() const {
    const std::lock_guard lock(m_state->mutex);
    return m_state->reaped ? 0 : fieldOfStatus(m_state->process, "VmHWM:");
}

void ChildProcess::forgetPeakMemory() {
    const std::lock_guard lock(m_state->mutex);
    if (!m_state->reaped) {
        constexpr const char* peak = "5"; // what of its records Linux is to clear
        std::ofstream("/proc/" + std::to_string(m_state->process) + "/clear_refs") << peak;
    }
}

std::string ownProgram() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

StandardStreams takeStandardStreams() {
    StandardStreams streams{PipeEnd(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)),
                            PipeEnd(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))};
    const PipeEnd nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(descriptorOf(nothing), STDIN_FILENO);
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return streams;
}

} // namespace tarvix
