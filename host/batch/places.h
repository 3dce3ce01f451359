// Where the results of a batch go.
#pragma once

#include "host/batch/digest.h"
#include "host/batch/inputs.h"

#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

// One input as patterns name it.
struct Placed {
    std::string input;
    std::size_t number = 1; // its place among all inputs, from 1
    std::size_t count = 1;  // of all inputs: {n} has as many digits
};

// The text with {name}, {ext}, {dir} and {n} replaced. If it begins with '-' because of that, ./ is
// put before it. {name} and {ext} are the file's name without
// and behind its last dot. {dir} is its folder: as it is at the beginning of the text, elsewhere
// without the root and without "..", so that it stays below what is before it.
std::string fillIn(const std::string& text, const Placed& placed);

// True if fillIn() changes the text.
bool hasPlaceholder(const std::string& text);

// Throws BadUsage for {...} that fillIn() does not know.
void requireKnownPlaceholders(const std::string& text);

// The files of a batch besides its inputs. Patterns are filled in for each input.
struct BatchFiles {
    std::vector<std::string> written{}; // patterns
    std::vector<std::string> read{};    // patterns of what the operation reads besides the input
    std::string manifest{};             // empty: none
};

// Throws Failure if
// - two inputs lead to one file that is written,
// - such a file is an input, is read, or is the manifest,
// - the manifest is an input or is read.
// Links are followed. What the patterns need of the inputs is held in memory: some bytes for each.
void requireSeparatePlaces(const NameList& inputs, const BatchFiles& files);

// The folder without links and in one spelling, for comparison. Parts of it need not be there.
std::filesystem::path realFolder(const std::filesystem::path& folder);

// Folders by what they are rather than by what they are called. Remembers them.
class Places {
public:
    // The same for two paths that name one entry of a folder.
    Digest of(const std::string& path);

private:
    std::unordered_map<std::string, std::string> m_folders;
};

// Throws Failure if an output is one of the inputs. Links are followed.
void requireNotInputs(const std::vector<std::string>& inputs,
                      const std::vector<std::string>& outputs);

} // namespace host
