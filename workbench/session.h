// Who may use the workbench: a browser that has opened the printed address. Pages of other sites
// may not, by whatever name or address they reach it.
#pragma once

#include "workbench/http.h"
#include "workbench/names.h"

#include <string>

namespace workbench {

// A text of 128 random bits in hexadecimal digits.
std::string randomToken();

class Session {
public:
    explicit Session(unsigned short port);

    // "http://127.0.0.1:PORT/?token=HEX": whoever knows it is let in.
    [[nodiscard]] std::string address() const;

    // Why a request is refused, or nothing.
    [[nodiscard]] std::optional<HttpResponse> refusal(const HttpRequest& request,
                                                      const Target& target) const;

    // True for a request of the printed address. Its token is right if it is not refused.
    [[nodiscard]] static bool isEntry(const HttpRequest& request, const Target& target);

    // The answer to the printed address: the cookie, and the way to the page.
    [[nodiscard]] HttpResponse entry(const HttpRequest& request) const;

private:
    [[nodiscard]] bool hasCookie(const HttpRequest& request) const;

    unsigned short m_port;
    std::string m_token = randomToken();
    std::string m_cookieName; // with the port: a browser has the cookies of all ports in one place
    std::string m_cookie = randomToken();
};

} // namespace workbench
