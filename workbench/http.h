// Requests and responses as the workbench sees them, apart from the library that reads and writes
// them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace workbench {

using Fields = std::vector<std::pair<std::string, std::string>>; // names in lower case

struct HttpRequest {
    std::string method; // "GET"
    std::string target; // as it was sent: "/api/image?name=a%20b.jpg"
    Fields fields{};
    std::string body{};
    std::filesystem::path bodyFile{}; // has the body instead, if it is not empty
    std::stop_token gone{};           // asks for a stop once the client has ended the connection

    // The values of all fields of that name.
    [[nodiscard]] std::vector<std::string> all(const std::string& name) const;

    // The value of the only field of that name; nothing if there is none, or more than one.
    [[nodiscard]] std::optional<std::string> one(const std::string& name) const;
};

struct HttpResponse {
    int status = 200;
    std::string type = "application/json"; // of the content
    std::string body{};
    std::filesystem::path file{}; // has the content instead, if it is not empty
    Fields fields{};              // further ones
};

// {"error":"..."} with that status: how everything is refused.
HttpResponse refused(int status, const std::string& sentence);

// Where the body of a request goes.
struct BodyPlan {
    std::uint64_t limit = 0;      // bytes; a longer body is refused
    std::filesystem::path file{}; // a new file for it; empty: into memory
};

// What a server asks. Its functions are called from several threads.
class HttpService {
public:
    HttpService() = default;
    virtual ~HttpService() = default;
    HttpService(const HttpService&) = delete;
    HttpService& operator=(const HttpService&) = delete;

    // Why a request is refused by what its head says, or nothing. Must not take long.
    virtual std::optional<HttpResponse> refusal(const HttpRequest& head) = 0;

    // For one that is not refused. Must not take long.
    virtual BodyPlan bodyPlan(const HttpRequest& head) = 0;

    // May take long.
    virtual HttpResponse answer(const HttpRequest& request) = 0;
};

} // namespace workbench
