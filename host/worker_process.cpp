#include "host/worker_process.h"

#include "host/application.h"
#include "host/drafts.h"
#include "host/failure.h"
#include "host/image_cache.h"
#include "host/run_command.h"
#include "platform/system/child_process.h"
#include "platform/system/free_memory.h"
#include "platform/system/processor_time.h"
#include "workers/line_reader.h"
#include "workers/worker.h"

#include <opencv2/core/utility.hpp>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <stdexcept>

namespace host {

namespace {

// The messages of the module go to a stream while it lives.
class MessagesOn {
public:
    explicit MessagesOn(std::ostream& errors) { application().showMessagesOn(&errors); }
    ~MessagesOn() { application().showMessagesOn(nullptr); }
    MessagesOn(const MessagesOn&) = delete;
    MessagesOn& operator=(const MessagesOn&) = delete;
};

std::vector<std::string> sentencesOf(const std::string& errors) {
    static const std::string prefix = "tarvix: ";
    std::vector<std::string> sentences;
    std::istringstream lines(errors);
    for (std::string line; std::getline(lines, line);) {
        sentences.push_back(line.starts_with(prefix) ? line.substr(prefix.size()) : line);
    }
    return sentences;
}

int statusOf(std::vector<std::string> words, Output& output, std::ostream& errors) {
    if (!words.empty() && words[0] == "worker") {
        errors << "a worker does not take the command 'worker'\n"; // it would read our requests
        return 2;
    }
    const MessagesOn scope(errors);
    return runCommand(std::move(words), output);
}

// Bytes that are not UTF-8 become U+FFFD.
std::string lineOf(const Json& object) {
    return object.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

Json writtenImages() {
    Json images = Json::array();
    for (const auto& [path, size] : takeWritten()) {
        images.push_back({{"file", path}, {"width", size.width}, {"height", size.height}});
    }
    return images;
}

} // namespace

Json answerTo(const Json& request, const Output::OnStep& onStep) {
    std::vector<std::string> words;
    try {
        words = tarvix::wordsOf(request);
    } catch (const std::invalid_argument& e) {
        return {{"status", 2}, {"data", nullptr}, {"text", ""}, {"messages", {e.what()}}};
    }
    // As in a new process, so that random colours and trees are those of the command line.
    cv::theRNG() = cv::RNG();
    const auto begun = std::chrono::steady_clock::now();
    const double processorBegun = tarvix::processorSeconds();
    std::ostringstream out;
    std::ostringstream errors;
    Output output(out, errors);
    output.watchSteps(onStep);
    useDrafts(request.value("draft", Json()) == Json(true));
    static_cast<void>(takeWritten()); // of whoever ran a command before
    const int status = statusOf(std::move(words), output, errors);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begun;

    std::string failure = output.failure();
    if (failure.empty()) { // the module has shown the reason
        failure = application().lastMessage();
    }

    Json data = output.json() ? Json::parse(out.str(), nullptr, false) : Json();
    const bool whole = !data.is_discarded();
    Json answer = {{"status", status},
                   {"data", whole ? std::move(data) : Json()},
                   {"text", output.json() ? std::string() : out.str()},
                   {"messages", sentencesOf(errors.str())},
                   {"images", writtenImages()},
                   {"seconds", took.count()},
                   {"cpuSeconds", tarvix::processorSeconds() - processorBegun}};
    if (status != 0 && !failure.empty()) {
        answer["failure"] = failure;
    }
    return answer;
}

void serveRequests(int threads, bool keepImages) {
    cv::setNumThreads(threads);
    keepDecodedImages(keepImages);
    if (keepImages) { // it will be asked for images of that size again
        tarvix::keepFreedMemory();
    }
    tarvix::StandardStreams streams = tarvix::takeStandardStreams();
    const auto write = [&streams](const Json& object) {
        if (!streams.out.write(lineOf(object))) {
            throw Failure("the answers cannot be written");
        }
    };
    write({{"ready", true}});
    tarvix::LineReader lines(streams.in);
    for (std::string line; lines.read(line);) {
        const Json request = Json::parse(line, nullptr, false);
        const Json id = request.is_object() && request.contains("id") ? request["id"] : Json();
        Json answer = {{"id", id}};
        answer.update(answerTo(request, [&](std::size_t done, std::size_t total,
                                            const std::string& what) {
            write({{"id", id}, {"progress", {{"done", done}, {"total", total}, {"what", what}}}});
        }));
        write(answer);
        if (keepImages) {
            tarvix::limitFreedMemory();
        }
    }
}

} // namespace host
