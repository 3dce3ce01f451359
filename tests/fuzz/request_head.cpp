#include "tests/fuzz/request_head.h"

#include "workbench/http_head.h"
#include "workbench/http_server.h"

#include <boost/beast/http.hpp>

namespace fuzz {

namespace http = boost::beast::http;

std::optional<workbench::HttpRequest> readRequestHead(const std::string& text) {
    http::request_parser<http::empty_body> parser;
    parser.header_limit(workbench::HttpLimits{}.headBytes);
    boost::system::error_code error;
    parser.put(boost::asio::buffer(text), error);
    return parser.is_header_done() ? std::optional(workbench::requestOf(parser.get()))
                                   : std::nullopt;
}

} // namespace fuzz
