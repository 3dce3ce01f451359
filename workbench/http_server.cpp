#include "workbench/http_server.h"

#include "platform/system/listening.h"
#include "workbench/http_connection.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <stdexcept>

namespace workbench {

using boost::asio::ip::tcp;
using Error = boost::system::error_code;

struct HttpServer::State {
    State(HttpService& service, const HttpLimits& limits)
        : shared(service, limits), acceptor(shared.io), pause(shared.io) {}

    void listen(unsigned short port) {
        const tcp::endpoint loopback(boost::asio::ip::address_v4::loopback(), port);
        try {
            acceptor.open(loopback.protocol());
            tarvix::keepFromChildren(static_cast<std::uintptr_t>(acceptor.native_handle()));
            if (tarvix::portsLinger()) {
                acceptor.set_option(tcp::acceptor::reuse_address(true));
            }
            acceptor.bind(loopback);
            acceptor.listen();
        } catch (const boost::system::system_error& e) {
            throw std::runtime_error("cannot listen on port " + std::to_string(port) + ": " +
                                     e.code().message());
        }
    }

    void accept() {
        acceptor.async_accept([this](Error error, tcp::socket socket) {
            if (error == boost::asio::error::operation_aborted) {
                return;
            }
            if (error) { // no descriptor is free, for example
                pause.expires_after(std::chrono::milliseconds(100));
                pause.async_wait([this](Error) { accept(); });
                return;
            }
            tarvix::keepFromChildren(static_cast<std::uintptr_t>(socket.native_handle()));
            beginConnection(shared, std::move(socket));
            accept();
        });
    }

    ConnectionsShared shared;
    tcp::acceptor acceptor;
    boost::asio::steady_timer pause;
};

HttpServer::HttpServer(HttpService& service, unsigned short port, const HttpLimits& limits)
    : m_state(std::make_unique<State>(service, limits)) {
    m_state->listen(port);
}

HttpServer::~HttpServer() {
    stop();
    m_state->shared.answering.join();
}

unsigned short HttpServer::port() const {
    return m_state->acceptor.local_endpoint().port();
}

void HttpServer::run() {
    m_state->accept();
    m_state->shared.io.run();
}

void HttpServer::stop() {
    m_state->shared.io.stop();
}

} // namespace workbench
