#include "host/batch/later_inputs.h"

#include "host/batch/pattern.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <iterator>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

using Names = std::vector<std::string>;

// Whether the folders from `name` on are of the patterns from `pattern` on.
bool matchAll(const Names& patterns, std::size_t pattern, const Names& names, std::size_t name) {
    if (pattern == patterns.size()) {
        return name == names.size();
    }
    if (patterns[pattern] == "**" && matchAll(patterns, pattern + 1, names, name)) {
        return true;
    }
    if (name == names.size()) {
        return false;
    }
    return patterns[pattern] == "**"
               ? !names[name].starts_with(".") && matchAll(patterns, pattern, names, name + 1)
               : matches(patterns[pattern], names[name]) &&
                     matchAll(patterns, pattern + 1, names, name + 1);
}

} // namespace

LaterInputs::LaterInputs(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        const WordKind kind = kindOf(word);
        if (kind == WordKind::Folder) {
            m_words.push_back({word, realFolder(pathOf(word)), {}, ""});
        } else if (kind == WordKind::Pattern) {
            const fs::path whole = pathOf(word);
            fs::path root = whole.root_path();
            Word pattern{word, {}, {}, nameOf(whole.filename())};
            for (const fs::path& part : whole.relative_path().parent_path()) {
                if (pattern.folders.empty() && !isPattern(nameOf(part))) {
                    root /= part;
                } else {
                    pattern.folders.push_back(nameOf(part));
                }
            }
            pattern.root = realFolder(root);
            m_words.push_back(std::move(pattern));
        }
    }
}

const std::vector<const LaterInputs::Word*>& LaterInputs::wordsOf(const fs::path& folder) {
    const auto [found, isNew] = m_ofFolders.try_emplace(nameOf(folder));
    if (isNew) {
        const fs::path real = realFolder(folder);
        for (const Word& word : m_words) {
            const auto [rest, end] =
                std::mismatch(real.begin(), real.end(), word.root.begin(), word.root.end());
            Names below;
            std::transform(rest, real.end(), std::back_inserter(below), nameOf);
            if (end == word.root.end() && matchAll(word.folders, 0, below, 0)) {
                found->second.push_back(&word);
            }
        }
    }
    return found->second;
}

const std::string* LaterInputs::wordFor(const std::string& path) {
    const fs::path whole = pathOf(path);
    for (const Word* const word : wordsOf(whole.parent_path())) {
        if (word->name.empty() ? isImageName(whole)
                               : matches(word->name, nameOf(whole.filename()))) {
            return &word->word;
        }
    }
    return nullptr;
}

void requireNoLaterInputs(const NameList& inputs, const std::vector<std::string>& words,
                          const std::vector<std::string>& patterns, const std::string& manifest) {
    LaterInputs later(words);
    if (!later.any()) {
        return;
    }
    const auto require = [&](const char* what, const std::string& file) {
        if (const std::string* const word = later.wordFor(file)) {
            std::string reason = what;
            reason.append(" '").append(file).append("' would be one of the inputs '").append(*word);
            throw Failure(reason.append("' the next time; put it into another folder"));
        }
    };
    if (!manifest.empty()) {
        require("the manifest", manifest);
    }
    for (const std::string& pattern : patterns) {
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            require("the result", fillIn(pattern, {inputs.at(i), i + 1, inputs.size()}));
        }
    }
}

} // namespace host
