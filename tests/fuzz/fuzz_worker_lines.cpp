// What passes between the program and its workers, as lines that may be anything.
#include "tests/fuzz/fuzzing.h"
#include "workers/protocol.h"

#include <stdexcept>

namespace {

using tarvix::Json;

void require(bool holds, const char* rule) {
    if (!holds) {
        throw std::logic_error(rule);
    }
}

// Gives the rest of the input in pieces, which the bytes before it cut.
class Pieces {
public:
    explicit Pieces(fuzz::Bytes& in) : m_sizes(in.text()), m_rest(in.rest()) {}
    std::size_t operator()(char* to, std::size_t size) {
        const std::size_t wanted =
            m_sizes.empty() ? size : static_cast<unsigned char>(m_sizes[m_at++ % m_sizes.size()]);
        const std::size_t given = std::min({size, m_rest.size(), wanted + 1});
        std::memcpy(to, m_rest.data(), given);
        m_rest.erase(0, given);
        return given;
    }

private:
    std::string m_sizes;
    std::string m_rest;
    std::size_t m_at = 0;
};

// What a worker writes.
void readAnswers(fuzz::Bytes& in) {
    const std::uint64_t id = in.byte() % 3U;
    Pieces pieces(in);
    tarvix::LineReader lines(pieces, 4096);
    std::string first;
    static_cast<void>(lines.read(first) && tarvix::saysReady(first));
    require(first.find('\n') == std::string::npos, "a line has no line's end");
    for (bool more = true; more;) {
        const auto answer = tarvix::answerTo(id, lines, [](const Json& progress) {
            require(!progress.is_discarded(), "progress is JSON");
        });
        more = answer.has_value();
        if (!answer || answer->is_discarded()) {
            continue;
        }
        require(answer->is_object() && !answer->contains("id") && !answer->contains("progress"),
                "an answer is an object without what belongs to the protocol");
        if (const auto said = tarvix::commandAnswerOf(*answer)) {
            require(said->status == answer->at("status"), "the status is the answer's");
            static_cast<void>(said->data.dump(-1, ' ', false, Json::error_handler_t::replace));
        }
    }
}

// What a worker reads.
void readRequest(const std::string& line) {
    std::vector<std::string> words;
    try {
        words = tarvix::wordsOf(Json::parse(line, nullptr, false));
    } catch (const std::invalid_argument&) {
        return;
    }
    const std::string sent = tarvix::requestOf(words).dump();
    require(sent.find('\n') == std::string::npos, "a request is one line");
    require(tarvix::wordsOf(Json::parse(sent)) == words, "words arrive as they were sent");
}

void sendWords(fuzz::Bytes& in) {
    std::vector<std::string> words;
    while (!in.rest().empty()) {
        words.push_back(in.text());
    }
    const std::string sent = tarvix::requestOf(words).dump();
    require(sent.find('\n') == std::string::npos, "a request is one line");
    require(tarvix::wordsOf(Json::parse(sent)) == words, "words arrive as they were sent");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes in(data, size);
    switch (in.byte() % 4) {
    case 0:
        readRequest(in.rest());
        break;
    case 1:
        sendWords(in);
        break;
    default:
        readAnswers(in);
    }
    return 0;
}
