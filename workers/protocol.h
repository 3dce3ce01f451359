// Reads what a worker writes. The lines may be anything.
#pragma once

#include "workers/line_reader.h"
#include "workers/worker.h"

#include <optional>
#include <string>
#include <vector>

namespace tarvix {

inline constexpr const char* noAnswer = "the worker process wrote what is not an answer";

// Whether it is the line that a process writes first.
bool saysReady(const std::string& line);

// Reads until a line that is no progress of the request `id`. Null at the end of the pipe, a
// discarded value for what does not belong here, otherwise an object without the id.
std::optional<Json> answerTo(std::uint64_t id, LineReader& lines, const OnProgress& onProgress);

// What `tarvix worker` says of a command line. See docs/json.md for the data.
struct CommandAnswer {
    int status = 0;
    Json data{};
    std::vector<std::string> messages{};
    std::optional<std::string> failure{}; // which of the messages says why it failed
    std::vector<Json> images{};
    std::optional<double> seconds{};
    std::optional<double> cpuSeconds{};
};

// Null if there is no status, or a member is of another type.
std::optional<CommandAnswer> commandAnswerOf(const Json& answer);

} // namespace tarvix
