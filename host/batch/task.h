// One image of a batch: its command line, and its line of the manifest.
#pragma once

#include "host/batch/manifest.h"
#include "host/batch/operation.h"
#include "host/batch/places.h"
#include "host/batch/recorder.h"
#include "workers/worker.h"

#include <optional>
#include <string>
#include <vector>

namespace host {

struct Task {
    Placed placed;
    std::vector<std::string> words{}; // of its command line
    std::vector<std::string> outputs{};
    Digest key{}; // of the words and the version
    std::optional<InputState> state{};
};

// What the tasks of a batch share.
class Tasks {
public:
    //   pattern  of the files to write, with placeholders; empty: none
    Tasks(const Operation& operation, std::string pattern);

    // All patterns of files that are written.
    [[nodiscard]] const std::vector<std::string>& patterns() const { return m_patterns; }

    // The task of an input, whose state is not looked at yet.
    [[nodiscard]] Task of(const NameList& inputs, std::size_t index) const;

    // Its line.
    //   hash  of the input's content, if that was read
    [[nodiscard]] Recorder::Entry entryOf(const Task& task, const std::optional<Digest>& hash,
                                          const tarvix::Reply& reply) const;

private:
    std::string m_version;
    std::string m_pattern;
    std::vector<std::string> m_words;
    std::vector<std::string> m_patterns;
};

} // namespace host
