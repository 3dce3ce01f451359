// The server: HTTP on the loopback address, on Boost.Beast. No client can hold up another one: one
// thread reads and writes for all connections, and several answer.
#pragma once

#include "workbench/http.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace workbench {

struct HttpLimits {
    std::uint32_t headBytes = 16384;    // of a request's line and fields
    std::chrono::seconds head{10};      // until the head of a request is there
    std::chrono::seconds silence{15};   // between two pieces of a body or of a response
    std::chrono::seconds transfer{900}; // for a body, and for a response
    std::size_t connections = 256;      // beyond them, the one that sends its request longest ends
    std::size_t answers = 64;           // at work or waiting; more are refused with 503
    std::size_t threads = 24;           // that answer
};

class HttpServer {
public:
    // Listens on 127.0.0.1. `port` 0: a free one. The service must outlive the object. Throws
    // std::runtime_error, with the reason, if it cannot listen.
    HttpServer(HttpService& service, unsigned short port, const HttpLimits& limits = {});
    ~HttpServer(); // waits for the answers that are under way
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    [[nodiscard]] unsigned short port() const;

    // Serves until stop() is called, by any thread. Each connection ends after one response.
    void run();
    void stop();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace workbench
