#include "workers/protocol.h"

#include <utility>

namespace tarvix {

bool saysReady(const std::string& line) {
    const Json ready = Json::parse(line, nullptr, false);
    return ready.is_object() && ready.contains("ready");
}

std::optional<Json> answerTo(std::uint64_t id, LineReader& lines, const OnProgress& onProgress) {
    for (std::string line; lines.read(line);) {
        Json answer = Json::parse(line, nullptr, false);
        if (!answer.is_object() || !answer.contains("id") || answer["id"] != id) {
            return Json(Json::value_t::discarded);
        }
        if (!answer.contains("progress")) {
            answer.erase("id");
            return answer;
        }
        if (onProgress) {
            onProgress(answer["progress"]);
        }
    }
    return std::nullopt;
}

namespace {

// Gives the member if it is there. Throws Json::exception if it is of another type.
template <class T>
void take(const Json& answer, const char* name, T& value) {
    if (const auto member = answer.find(name); member != answer.end()) {
        value = member->template get<typename T::value_type>();
    }
}

} // namespace

std::optional<CommandAnswer> commandAnswerOf(const Json& answer) {
    if (!answer.is_object() || !answer.contains("status") ||
        !answer["status"].is_number_integer()) {
        return std::nullopt;
    }
    CommandAnswer found;
    try {
        found.status = answer["status"].get<int>();
        if (answer["status"] != found.status) {
            return std::nullopt; // too large: 2^32 would be taken for success
        }
        found.data = answer.value("data", Json());
        found.messages = answer.value("messages", found.messages);
        found.images = answer.value("images", found.images);
        take(answer, "failure", found.failure);
        take(answer, "seconds", found.seconds);
        take(answer, "cpuSeconds", found.cpuSeconds);
    } catch (const Json::exception&) {
        return std::nullopt;
    }
    return found;
}

} // namespace tarvix
