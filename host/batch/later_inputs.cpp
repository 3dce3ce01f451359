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

// Whether the folder is one that the patterns find in the root.
bool isBelow(const fs::path& folder, const fs::path& root, const Names& patterns) {
    const auto [rest, end] = std::mismatch(folder.begin(), folder.end(), root.begin(), root.end());
    Names below;
    std::transform(rest, folder.end(), std::back_inserter(below), nameOf);
    return end == root.end() && matchAll(patterns, 0, below, 0);
}

// Absolute, and as it is called, whatever links lead there.
fs::path namedFolder(const fs::path& folder) {
    std::error_code ignored;
    fs::path named = fs::absolute(folder.empty() ? fs::path(".") : folder, ignored);
    named = named.lexically_normal();
    return tarvix::foldedPath(named.has_filename() ? named : named.parent_path());
}

} // namespace

LaterInputs::LaterInputs(const std::vector<std::string>& words) {
    for (const std::string& word : words) {
        const WordKind kind = kindOf(word);
        if (kind == WordKind::Folder) {
            m_words.push_back({word, realFolder(pathOf(word)), namedFolder(pathOf(word)), {}, ""});
        } else if (kind == WordKind::Pattern) {
            const fs::path whole = pathOf(word);
            fs::path root = whole.root_path();
            Word pattern{word, {}, {}, {}, nameOf(whole.filename())};
            for (const fs::path& part : whole.relative_path().parent_path()) {
                if (pattern.folders.empty() && !isPattern(nameOf(part))) {
                    root /= part;
                } else {
                    pattern.folders.push_back(nameOf(part));
                }
            }
            pattern.root = realFolder(root);
            pattern.named = namedFolder(root);
            m_words.push_back(std::move(pattern));
        }
    }
}

const std::vector<const LaterInputs::Word*>& LaterInputs::wordsOf(const fs::path& folder) {
    const auto [found, isNew] = m_ofFolders.try_emplace(nameOf(folder));
    if (isNew) {
        const fs::path real = realFolder(folder);
        const fs::path named = namedFolder(folder);
        for (const Word& word : m_words) {
            // A pattern may go through a link that the folder is named by.
            if (isBelow(real, word.root, word.folders) ||
                isBelow(named, word.named, word.folders)) {
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
