#include "workbench/session.h"

#include <algorithm>
#include <cstdint>
#include <random>

namespace workbench {

namespace {

// Takes as long for a wrong text as for the right one.
bool isSame(const std::string& given, const std::string& secret) {
    unsigned differences = given.size() == secret.size() ? 0 : 1;
    for (std::size_t i = 0; i < secret.size(); ++i) {
        const char c = i < given.size() ? given[i] : '\0';
        differences |= static_cast<unsigned char>(c) ^ static_cast<unsigned char>(secret[i]);
    }
    return differences == 0;
}

} // namespace

std::string randomToken() {
    std::random_device device; // the system's own source
    std::string token;
    for (int i = 0; i < 4; ++i) {
        std::uint32_t bits = device();
        for (int k = 0; k < 8; ++k) {
            token += "0123456789abcdef"[bits % 16];
            bits /= 16;
        }
    }
    return token;
}

Session::Session(unsigned short port)
    : m_port(port), m_cookieName("tarvix-" + std::to_string(port)) {}

std::string Session::address() const {
    return "http://127.0.0.1:" + std::to_string(m_port) + "/?token=" + m_token;
}

bool Session::isEntry(const HttpRequest& request, const Target& target) {
    return request.method == "GET" && target.path == "/" && target.parameters.contains("token");
}

std::optional<HttpResponse> Session::refusal(const HttpRequest& request,
                                             const Target& target) const {
    const auto host = request.one("host");
    const std::string port = ":" + std::to_string(m_port);
    // A browser leaves HTTP's own port out.
    const std::string shown = host && m_port == 80 && !host->ends_with(port) ? *host + port
                              : host                                         ? *host
                                                                             : std::string();
    if (shown != "127.0.0.1" + port && shown != "localhost" + port) {
        return refused(403, "the workbench answers at http://127.0.0.1" + port + " only");
    }
    if (request.method != "GET" && request.method != "POST") {
        return refused(405, "only GET and POST are known here");
    }
    const auto origin = request.one("origin");
    if (!request.all("origin").empty() && (!origin || *origin != "http://" + *host)) {
        return refused(403, "pages of other sites may not use the workbench");
    }
    if (isEntry(request, target)) {
        if (!isSame(target.parameters.at("token"), m_token)) {
            return refused(403, "the address is not the one that tarvix workbench has printed");
        }
        return std::nullopt;
    }
    const auto site = request.one("sec-fetch-site");
    if (!request.all("sec-fetch-site").empty() &&
        (!site || (*site != "same-origin" && (*site != "none" || request.method != "GET")))) {
        return refused(403, "pages of other sites may not use the workbench");
    }
    if (request.method == "POST" && !origin && !site) {
        return refused(403, "only the workbench's own page may change something");
    }
    if (!hasCookie(request)) {
        return refused(403, "open the address that tarvix workbench has printed: it lets you in");
    }
    return std::nullopt;
}

bool Session::hasCookie(const HttpRequest& request) const {
    for (const std::string& cookies : request.all("cookie")) {
        std::size_t begin = 0;
        while (begin < cookies.size()) {
            begin = std::min(cookies.find_first_not_of("; ", begin), cookies.size());
            const std::size_t end = std::min(cookies.find(';', begin), cookies.size());
            const std::string cookie = cookies.substr(begin, end - begin);
            if (cookie.starts_with(m_cookieName + "=") &&
                isSame(cookie.substr(m_cookieName.size() + 1), m_cookie)) {
                return true;
            }
            begin = end;
        }
    }
    return false;
}

HttpResponse Session::entry(const HttpRequest& request) const {
    const std::string cookie =
        m_cookieName + "=" + m_cookie + "; HttpOnly; SameSite=Strict; Path=/";
    const auto site = request.one("sec-fetch-site");
    if (site && *site != "none" && *site != "same-origin") {
        // A link on another page led here, so a browser would follow a redirection without the
        // cookie. What the page itself asks for comes with it.
        return {.type = "text/html; charset=utf-8",
                .body = "<!doctype html><html lang=\"en\"><meta charset=\"utf-8\">"
                        "<meta http-equiv=\"refresh\" content=\"0;url=/\"><title>Tarvix</title>"
                        "<p><a href=\"/\">The workbench</a></p></html>\n",
                .fields = {{"Set-Cookie", cookie}}};
    }
    return {
        .status = 303, .type = "text/plain", .fields = {{"Set-Cookie", cookie}, {"Location", "/"}}};
}

} // namespace workbench
