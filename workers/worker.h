// A worker: a process that answers requests one after the other, and is replaced when it dies.
//
// The protocol is lines of JSON, one object each. The process first writes {"ready":true}. It reads
// a request from standard input and writes its answer to standard output, with the request's
// "id". Before the answer it may write any number of lines {"id":...,"progress":{...}}. At the end
// of its input it ends.
#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tarvix {

using Json = nlohmann::ordered_json; // members stay in the order in which they are added

// What a request may take. 0: as much as it needs.
struct Limits {
    double seconds = 0;       // from the request to the answer
    std::uint64_t memory = 0; // bytes of the process, as the system counts them
};

enum class Outcome {
    Answered,
    Died,       // the process ended, or wrote what is not an answer
    NotStarted, // there is no process, or it was not ready for a request
    TimedOut,   // ended by us for each of the rest
    TooMuchMemory,
    Stopped,
};

struct Reply {
    Outcome outcome = Outcome::Died;
    Json answer{};                // of Answered
    std::string why{};            // a sentence without full stop, of all others
    double seconds = 0;           // that the request took
    std::uint64_t peakMemory = 0; // most bytes of the process meanwhile; 0: not known
    std::uint64_t process = 0;    // the system's number of it; 0: there was none
};

// Gets what is in "progress". It is called by the thread that asks.
using OnProgress = std::function<void(const Json& progress)>;

class Worker {
public:
    // The program and its words. It is started by the first request, and shows what it prints on
    // standard error if `showErrors` is set.
    explicit Worker(std::vector<std::string> words, Limits limits = {}, bool showErrors = false);
    ~Worker(); // ends the process
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Sends the request, an object, and waits for the answer. Throws nothing of its own. After any
    // other outcome than Answered, the next request gets a new process. A request that exceeds the
    // memory in a process that has answered others is asked once more, of a new one; it may take
    // the seconds of the limit twice. One thread at a time, and always the same one: on Linux, the
    // process ends with the thread that started it.
    Reply ask(const Json& request, const OnProgress& onProgress = {});

    // Ends the request that runs or, if none does, the next one at its beginning: its outcome is
    // Stopped, unless it was answered already. Any thread may call these.
    void stop();
    void forgetStop();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

// A request to `tarvix worker`: the words of a command line, after the program's name. They go as
// {"words":[...]}, or as {"hexWords":[...]} if one is not UTF-8: the bytes of a file's name may be
// anything.
Json requestOf(const std::vector<std::string>& words);

// The words of a request. Throws std::invalid_argument if it has none.
std::vector<std::string> wordsOf(const Json& request);

// True if the bytes are UTF-8, which JSON must be.
bool isUtf8(const std::string& bytes);

// Any bytes as text of two hexadecimal digits for each, and back. fromHex() throws
// std::invalid_argument for any other text.
std::string toHex(const std::string& bytes);
std::string fromHex(const std::string& digits);

} // namespace tarvix
