#include "host/batch/batch.h"
#include "host/batch/digest.h"
#include "host/failure.h"
#include "host/numbers.h"

#include <algorithm>
#include <cstdlib>

namespace host {

namespace {

int variable(const char* name) {
    const char* const text = std::getenv(name);
    int value = 0;
    if (text == nullptr || !readNumber(text, value)) {
        throw BadUsage(std::string("--shard slurm is for the tasks of a job array: the variable ") +
                       name + " is not set");
    }
    return value;
}

Shard ofSlurm() {
    const int step = std::max(1, variable("SLURM_ARRAY_TASK_STEP"));
    const int index =
        (variable("SLURM_ARRAY_TASK_ID") - variable("SLURM_ARRAY_TASK_MIN")) / step + 1;
    const int count = variable("SLURM_ARRAY_TASK_COUNT");
    if (index < 1 || index > count) { // as of --array=0,1,5
        throw BadUsage("--shard slurm needs an array without gaps; write I/N for task " +
                       std::to_string(variable("SLURM_ARRAY_TASK_ID")));
    }
    return {.index = static_cast<std::size_t>(index), .count = static_cast<std::size_t>(count)};
}

} // namespace

Shard readShard(const std::string& text) {
    if (text.empty()) {
        return {};
    }
    if (text == "slurm") {
        return ofSlurm();
    }
    const std::size_t slash = text.find('/');
    int index = 0;
    int count = 0;
    if (slash == std::string::npos || !readNumber(text.substr(0, slash), index) ||
        !readNumber(text.substr(slash + 1), count) || index < 1 || index > count) {
        throw BadUsage("'" + text + "' is not a shard; write 1/8 to 8/8, or slurm");
    }
    return {.index = static_cast<std::size_t>(index), .count = static_cast<std::size_t>(count)};
}

bool Shard::has(const std::string& input) const {
    std::string name = input;
    std::replace(name.begin(), name.end(), '\\', '/'); // the same part on every system
    return digestOf(name).low % count == index - 1;
}

} // namespace host
