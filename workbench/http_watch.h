// Sees a client end its connection while it is answered.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/tcp_stream.hpp>

#include <array>
#include <cstddef>
#include <memory>
#include <stop_token>
#include <utility>

namespace workbench {

// Takes in what comes on a connection, for nothing, until the client ends it: then nobody waits for
// the answer any more. On the thread that runs `io`. Reads past the stream, whose time limits are
// for requests and responses. The `owner` of its functions is kept as long as it watches.
class Watch {
public:
    Watch(boost::beast::tcp_stream& stream, boost::asio::io_context& io)
        : m_stream(stream), m_last(io) {}

    // Asks for a stop once the client has ended the connection.
    [[nodiscard]] std::stop_token gone() const { return m_gone.get_token(); }

    void start(std::shared_ptr<void> owner) {
        m_watching = true;
        m_stream.socket().async_read_some(
            boost::asio::buffer(m_rest),
            [this, owner = std::move(owner)](Error error, std::size_t bytes) {
                m_taken += bytes;
                if (!error && m_taken < most) {
                    start(owner);
                    return;
                }
                m_watching = false;
                m_last.cancel();
                if (error) {
                    m_gone.request_stop();
                }
            });
    }

    // Ends the connection after its response, when the client has ended it or after a moment. A
    // connection that is closed while bytes of the request are unread loses the response.
    void finish(const std::shared_ptr<void>& owner) {
        Error ignored;
        m_stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
        if (!m_watching) {
            start(owner);
        }
        m_last.expires_after(std::chrono::seconds(2));
        m_last.async_wait([this, owner](Error error) {
            if (!error) {
                m_stream.close();
            }
        });
    }

private:
    using Error = boost::system::error_code;
    static constexpr std::size_t most = std::size_t{64} << 20U; // bytes

    boost::beast::tcp_stream& m_stream;
    std::array<char, 16384> m_rest{};
    std::size_t m_taken = 0;
    bool m_watching = false;
    std::stop_source m_gone;
    boost::asio::steady_timer m_last;
};

} // namespace workbench
