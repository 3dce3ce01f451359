// Which files the words of a batch's inputs would give, once they are there.
#pragma once

#include "host/batch/inputs.h"

#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

class LaterInputs {
public:
    // Folders and patterns are kept; the other words give no more files later.
    explicit LaterInputs(const std::vector<std::string>& words);

    [[nodiscard]] bool any() const { return !m_words.empty(); }

    // The word that would give this file; null if none would. Links to folders are followed.
    [[nodiscard]] const std::string* wordFor(const std::string& path);

private:
    struct Word {
        std::string word;
        std::filesystem::path root;       // a folder by what it is
        std::filesystem::path named;      // the same, as it is called
        std::vector<std::string> folders; // below it, with * and ?
        std::string name;                 // of the files; empty: images
    };
    // Those that would give files of the folder.
    const std::vector<const Word*>& wordsOf(const std::filesystem::path& folder);

    std::vector<Word> m_words;
    std::unordered_map<std::string, std::vector<const Word*>> m_ofFolders; // by name
};

// Throws Failure if one of the words would give a result, or the manifest, the next time: a run
// that goes on would then have other inputs.
//   patterns  of the files to write
//   manifest  empty: none
void requireNoLaterInputs(const NameList& inputs, const std::vector<std::string>& words,
                          const std::vector<std::string>& patterns, const std::string& manifest);

} // namespace host
