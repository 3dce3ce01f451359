#include "workbench/http_connection.h"

#include "workbench/http_head.h"
#include "workbench/http_watch.h"
#include "workbench/names.h"

#include <boost/asio/post.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http.hpp>

#include <exception>
#include <limits>
#include <optional>

namespace workbench {

namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::asio::ip::tcp;
using Clock = std::chrono::steady_clock;
using Error = boost::system::error_code;

class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(ConnectionsShared& s, tcp::socket socket)
        : m_shared(s), m_stream(std::move(socket)), m_buffer(65536), m_watch(m_stream, s.io) {
        ++m_shared.connections;
        m_place = m_shared.reading.insert(m_shared.reading.end(), this);
    }
    ~Connection() {
        leaveReading();
        if (!m_request.bodyFile.empty()) { // nobody has taken it over
            m_file.reset();
            std::error_code ignored;
            std::filesystem::remove(m_request.bodyFile, ignored);
        }
        --m_shared.connections;
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    void start() {
        m_head.emplace();
        m_head->header_limit(m_shared.limits.headBytes);
        m_head->body_limit(std::numeric_limits<std::uint64_t>::max()); // the plan has one
        m_stream.expires_after(m_shared.limits.head);
        http::async_read_header(
            m_stream, m_buffer, *m_head,
            [self = shared_from_this()](Error error, std::size_t) { self->onHead(error); });
    }

    // Ends it at once: others need its place.
    void end() { m_stream.close(); }

private:
    void leaveReading() {
        if (m_place) {
            m_shared.reading.erase(*m_place);
            m_place.reset();
        }
    }

    void onHead(Error error) {
        if (error == http::error::header_limit) {
            respond(refused(431, "the request's head is too long"));
        } else if (error && error.category() == Error(http::error::bad_target).category()) {
            if (error != http::error::end_of_stream && error != http::error::partial_message) {
                respond(refused(400, "this is not a request that the workbench understands"));
            }
        } else if (!error) {
            m_request = requestOf(m_head->get());
            readBody();
        } // otherwise the client has gone, or was too slow
    }

    void readBody() {
        if (auto refusal = m_shared.service.refusal(m_request)) {
            respond(std::move(*refusal));
            return;
        }
        const BodyPlan plan = m_shared.service.bodyPlan(m_request);
        const auto length = m_head->content_length();
        if (length && *length > plan.limit) {
            tooLong(plan.limit);
            return;
        }
        if (stringOf(m_head->get()[http::field::expect]) == "100-continue") {
            m_continue = http::response<http::empty_body>(http::status::continue_, 11);
            http::async_write(m_stream, *m_continue,
                              [self = shared_from_this(), plan](Error error, std::size_t) {
                                  if (!error) {
                                      self->beginBody(plan);
                                  }
                              });
            return;
        }
        beginBody(plan);
    }

    void beginBody(const BodyPlan& plan) {
        m_limit = plan.limit;
        m_deadline = Clock::now() + m_shared.limits.transfer;
        if (plan.file.empty()) {
            m_text.emplace(std::move(*m_head));
            m_text->body_limit(plan.limit);
            readSome(*m_text);
            return;
        }
        m_request.bodyFile = plan.file;
        m_file.emplace(std::move(*m_head));
        m_file->body_limit(plan.limit);
        Error error;
        m_file->get().body().open(utf8Of(plan.file).c_str(), beast::file_mode::write_new, error);
        if (error) {
            respond(refused(500, "the upload cannot be stored: " + error.message()));
            return;
        }
        readSome(*m_file);
    }

    void tooLong(std::uint64_t limit) {
        respond(refused(413, "the request is too long; at most " + std::to_string(limit) +
                                 " bytes are taken"));
    }

    template <class Parser>
    void readSome(Parser& parser) {
        if (parser.is_done()) {
            bodyDone();
            return;
        }
        m_stream.expires_after(m_shared.limits.silence);
        http::async_read_some(m_stream, m_buffer, parser,
                              [self = shared_from_this(), &parser](Error error, std::size_t) {
                                  self->onSome(parser, error);
                              });
    }

    template <class Parser>
    void onSome(Parser& parser, Error error) {
        if (error == http::error::body_limit) {
            tooLong(m_limit);
        } else if (error && error.category() == Error(http::error::bad_target).category() &&
                   error != http::error::partial_message && error != http::error::end_of_stream) {
            respond(refused(400, "this is not a request that the workbench understands"));
        } else if (error && m_file) {
            // The disk is full, for example. If it is the client who has gone, nobody gets this.
            respond(refused(500, "the upload cannot be stored: " + error.message()));
        } else if (!error && Clock::now() < m_deadline) {
            readSome(parser);
        }
    }

    void bodyDone() {
        if (m_text) {
            m_request.body = std::move(m_text->get().body());
            m_text.reset();
        }
        m_file.reset(); // closes it
        leaveReading();
        if (m_shared.answers >= m_shared.limits.answers) {
            respond(refused(503, "the workbench has too much to do; try again in a moment"));
            return;
        }
        ++m_shared.answers;
        m_request.gone = m_watch.gone();
        m_watch.start(shared_from_this());
        boost::asio::post(m_shared.answering, [self = shared_from_this()]() mutable {
            HttpResponse response;
            try {
                response = self->m_shared.service.answer(self->m_request);
            } catch (const std::exception& e) {
                response = refused(500, e.what());
            }
            // The connection itself lives and ends on the other thread.
            boost::asio::io_context& io = self->m_shared.io;
            boost::asio::post(io,
                              [self = std::move(self), response = std::move(response)]() mutable {
                                  --self->m_shared.answers;
                                  self->respond(std::move(response));
                              });
        });
    }

    template <class Response>
    void fillHead(Response& head, const HttpResponse& response) {
        head.version(11);
        head.result(static_cast<unsigned>(response.status));
        head.set(http::field::content_type, response.type);
        head.keep_alive(false);
        for (const auto& [name, value] : response.fields) {
            head.set(name, value);
        }
    }

    void respond(HttpResponse response) {
        leaveReading();
        m_deadline = Clock::now() + m_shared.limits.transfer;
        if (!response.file.empty()) {
            http::response<http::file_body> message;
            Error error;
            message.body().open(utf8Of(response.file).c_str(), beast::file_mode::scan, error);
            if (error) {
                respond(refused(404, "this file is not there any more"));
                return;
            }
            fillHead(message, response);
            message.prepare_payload();
            write<http::file_body>(std::move(message));
            return;
        }
        http::response<http::string_body> message;
        message.body() = std::move(response.body);
        fillHead(message, response);
        message.prepare_payload();
        write<http::string_body>(std::move(message));
    }

    template <class Body>
    struct Written {
        explicit Written(http::response<Body>&& m) : message(std::move(m)), serializer(message) {}
        http::response<Body> message;
        http::response_serializer<Body> serializer;
    };

    template <class Body>
    void write(http::response<Body>&& message) {
        writeSome(std::make_shared<Written<Body>>(std::move(message)));
    }

    template <class Body>
    void writeSome(const std::shared_ptr<Written<Body>>& written) {
        if (written->serializer.is_done()) {
            m_watch.finish(shared_from_this());
            return;
        }
        m_stream.expires_after(m_shared.limits.silence);
        http::async_write_some(m_stream, written->serializer,
                               [self = shared_from_this(), written](Error error, std::size_t) {
                                   if (!error && Clock::now() < self->m_deadline) {
                                       self->writeSome(written);
                                   } else {
                                       self->end(); // what watches ends with it
                                   }
                               });
    }

    ConnectionsShared& m_shared;
    beast::tcp_stream m_stream;
    beast::flat_buffer m_buffer;
    std::optional<std::list<Connection*>::iterator> m_place; // in the list of those that read
    std::optional<http::request_parser<http::empty_body>> m_head;
    std::optional<http::response<http::empty_body>> m_continue;
    std::optional<http::request_parser<http::string_body>> m_text;
    std::optional<http::request_parser<http::file_body>> m_file;
    HttpRequest m_request;
    std::uint64_t m_limit = 0;
    Clock::time_point m_deadline;
    Watch m_watch;
};

void beginConnection(ConnectionsShared& shared, tcp::socket socket) {
    if (shared.connections >= shared.limits.connections) {
        if (shared.reading.empty()) {
            return; // all are being answered; the socket's destructor refuses this one
        }
        shared.reading.front()->end();
    }
    std::make_shared<Connection>(shared, std::move(socket))->start();
}

} // namespace workbench
