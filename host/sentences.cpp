#include "host/sentences.h"

#include <algorithm>
#include <numeric>

namespace host {

namespace {

// How many letters must be changed, left out, added or exchanged with the next one.
std::size_t changes(const std::string& a, const std::string& b) {
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::vector<std::size_t> row(b.size() + 1, i);
        for (std::size_t k = 1; k <= b.size(); ++k) {
            row[k] = std::min(
                {last[k] + 1, row[k - 1] + 1, last[k - 1] + (a[i - 1] == b[k - 1] ? 0U : 1U)});
            if (i > 1 && k > 1 && a[i - 1] == b[k - 2] && a[i - 2] == b[k - 1]) {
                row[k] = std::min(row[k], beforeLast[k - 2] + 1);
            }
        }
        beforeLast = std::move(last);
        last = std::move(row);
    }
    return last.back();
}

} // namespace

std::string nearest(const std::string& word, const std::vector<std::string>& known) {
    std::string best;
    std::size_t fewest = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        // The beginning of a word is like it, too.
        const bool begins = word.size() > 2 && candidate.starts_with(word);
        const std::size_t needed = begins ? 1 : changes(word, candidate);
        if (needed < fewest) {
            best = candidate;
            fewest = needed;
        }
    }
    return best;
}

std::string suggestion(const std::string& word, const std::vector<std::string>& known) {
    const std::string found = nearest(word, known);
    return found.empty() ? "" : "; did you mean '" + found + "'?";
}

std::string times(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

std::string withoutPlace(const std::string& message) {
    static const std::string mark = ": error: ";
    const std::size_t at = message.find(mark);
    if (!message.starts_with("OpenCV(") || at == std::string::npos) {
        return message;
    }
    return "OpenCV refuses this: " + message.substr(at + mark.size());
}

} // namespace host
