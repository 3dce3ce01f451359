#include "tests/support/start_server_client.h"

#include "tests/support/start_server.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

std::vector<std::string> environment() {
    std::vector<std::string> all;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        all.emplace_back(*entry);
    }
    return all;
}

// A program that waits before its main().
class StartServer {
public:
    StartServer(const std::string& program, const std::string& library) {
        int ends[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
            throw std::runtime_error("no socket");
        }
        m_socket = ends[0];
        constexpr int theirs = 3;
        std::vector<std::string> texts = environment();
        texts.push_back("LD_PRELOAD=" + library);
        texts.push_back(startServerVariable + ("=" + std::to_string(theirs)));
        std::vector<char*> pointers;
        for (std::string& text : texts) {
            pointers.push_back(text.data());
        }
        pointers.push_back(nullptr);
        std::string name = program;
        char* const words[] = {name.data(), nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], theirs);
        if (posix_spawn(&m_process, name.c_str(), &actions, nullptr, words, pointers.data()) != 0) {
            m_process = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        char ready = 0;
        m_isReady = recv(m_socket, &ready, sizeof ready, 0) == sizeof ready;
    }
    ~StartServer() {
        close(m_socket); // which ends the program
        if (m_process > 0) {
            waitpid(m_process, nullptr, 0);
        }
    }
    StartServer(const StartServer&) = delete;
    StartServer& operator=(const StartServer&) = delete;

    // False if the program does not take the library.
    [[nodiscard]] bool isReady() const { return m_isReady; }

    // Returns what waitpid() gives for the run.
    [[nodiscard]] int run(const std::vector<std::string>& texts) const {
        std::string request;
        for (const std::string& text : texts) {
            request += text;
            request += '\0';
        }
        const auto bytes = static_cast<std::uint32_t>(request.size());
        request.insert(0, reinterpret_cast<const char*>(&bytes), sizeof bytes);
        int status = 0;
        if (send(m_socket, request.data(), request.size(), MSG_NOSIGNAL) !=
                static_cast<ssize_t>(request.size()) ||
            recv(m_socket, &status, sizeof status, MSG_WAITALL) != sizeof status) {
            throw std::runtime_error("the waiting program has ended: " + texts.at(3));
        }
        return status;
    }

private:
    int m_socket = -1;
    pid_t m_process = -1;
    bool m_isReady = false;
};

} // namespace

#ifdef TARVIX_START_SERVER_LIBRARY

std::optional<int> runFromServer(const std::string& program,
                                 const std::vector<std::string>& arguments, const std::string& out,
                                 const std::string& err) {
    static std::mutex mutex;
    static std::string served; // the program and the environment of the last run
    static std::unique_ptr<StartServer> server;

    const std::unique_lock lock(mutex, std::try_to_lock);
    if (!lock || std::getenv("LD_PRELOAD") != nullptr) {
        return std::nullopt;
    }
    std::string wanted = program;
    for (const std::string& text : environment()) {
        wanted += '\0' + text;
    }
    if (wanted != served) {
        server.reset();
        served = wanted;
        return std::nullopt;
    }
    if (!server) {
        server = std::make_unique<StartServer>(program, TARVIX_START_SERVER_LIBRARY);
    }
    if (!server->isReady()) {
        return std::nullopt;
    }
    std::vector<std::string> texts{out, err, std::filesystem::current_path().string(), program};
    texts.insert(texts.end(), arguments.begin(), arguments.end());
    return server->run(texts);
}

#else

std::optional<int> runFromServer(const std::string& /*program*/,
                                 const std::vector<std::string>& /*arguments*/,
                                 const std::string& /*out*/, const std::string& /*err*/) {
    return std::nullopt;
}

#endif

} // namespace test
