// A worker for the tests of workers: it does what the request's "do" says. Started with a word, it
// is something else: "leaves" ends at once, "talks" is no worker, "parent FILE" is a program that
// has a worker itself.
#include "platform/system/child_process.h"
#include "workers/line_reader.h"
#include "workers/worker.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <thread>

namespace {

using tarvix::Json;

int served = 0;

// The test ends it. It ends by itself if that fails.
void hang() {
    std::this_thread::sleep_for(std::chrono::minutes(10));
    std::_Exit(9);
}

constexpr std::size_t step = std::size_t{8} << 20U;

void takeMemory() {
    constexpr int steps = 256; // 2 GiB: nobody stops us
    for (int i = 0; i < steps; ++i) {
        std::memset(std::malloc(step), 1 + i, step); // touched, and never freed
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    hang();
}

void keepMemory() {
    static std::vector<std::vector<char>> kept;
    kept.emplace_back(10 * step, '1');
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // to be seen
}

// What it writes as the answer; the text is written as it is.
std::string answerTo(const Json& request, tarvix::PipeEnd& out) {
    const std::string what = request.value("do", "");
    Json answer = {{"id", request["id"]}, {"served", ++served}, {"got", request}};
    if (what == "die") {
        std::_Exit(3);
    } else if (what == "hang") {
        out.write(Json({{"id", request["id"]}, {"progress", "hanging"}}).dump() + "\n");
        hang();
    } else if (what == "memory") {
        takeMemory();
    } else if (what == "keep") {
        keepMemory();
    } else if (what == "say") {
        return tarvix::fromHex(request["hex"]);
    } else if (what == "half") {
        out.write(answer.dump()); // without the line's end
        std::_Exit(0);
    } else if (what == "other id") {
        answer["id"] = -1;
    } else if (what == "steps") {
        for (int i = 1; i <= 3; ++i) {
            out.write(Json({{"id", request["id"]}, {"progress", {{"done", i}}}}).dump() + "\n");
        }
    } else if (what == "print") {
        std::cout << "for people\n" << std::flush;
    } else if (what == "read") {
        answer["read"] = std::cin.get();
    }
    return answer.dump() + "\n";
}

int serve() {
    tarvix::StandardStreams streams = tarvix::takeStandardStreams();
    streams.out.write("{\"ready\":true}\n");
    tarvix::LineReader lines(streams.in);
    for (std::string line; lines.read(line);) {
        streams.out.write(answerTo(Json::parse(line), streams.out));
    }
    return 0;
}

// Has a worker that hangs, and says so. The worker's standard error is this process's own.
int haveWorker() {
    tarvix::Worker worker({tarvix::ownProgram()}, {}, true);
    worker.ask({{"do", "hang"}}, [](const Json&) { std::cout << "it hangs\n" << std::flush; });
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string role = argc > 1 ? argv[1] : "";
    if (role == "leaves") {
        return 4;
    }
    if (role == "talks") {
        std::cout << "Good morning.\n" << std::flush;
        hang();
    }
    return role == "parent" ? haveWorker() : serve();
}
