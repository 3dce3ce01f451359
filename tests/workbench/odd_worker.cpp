// A worker for the tests of jobs: the command line that it gets says what it does.
#include "platform/system/child_process.h"
#include "workers/line_reader.h"
#include "workers/worker.h"

#include <chrono>
#include <cstdlib>
#include <thread>

namespace {

using tarvix::Json;

Json answerTo(const std::string& what) {
    if (what == "hang") {
        std::this_thread::sleep_for(std::chrono::minutes(10)); // the test ends it
        std::_Exit(9);
    }
    if (what == "odd") {
        return {{"status", "well"}};
    }
    return {{"status", 0}, {"data", {{"made", 1}}}};
}

} // namespace

int main() {
    tarvix::StandardStreams streams = tarvix::takeStandardStreams();
    streams.out.write("{\"ready\":true}\n");
    tarvix::LineReader lines(streams.in);
    for (std::string line; lines.read(line);) {
        const Json request = Json::parse(line);
        const Json id = request["id"];
        streams.out.write(Json({{"id", id}, {"progress", "no object"}}).dump() + "\n");
        streams.out.write(
            Json({{"id", id}, {"progress", {{"done", 1}, {"total", 2}, {"what", "a"}}}}).dump() +
            "\n");
        Json answer = answerTo(tarvix::wordsOf(request).at(0));
        answer["id"] = id;
        streams.out.write(answer.dump() + "\n");
    }
    return 0;
}
