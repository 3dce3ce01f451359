// The words that name inputs: files, folders, patterns and lists.
#pragma once

#include <filesystem>
#include <string>

namespace host {

enum class WordKind { File, Folder, Pattern, List, StandardInput };

// What a word stands for. What is there counts: a file may be called '@x' or 'a*'.
WordKind kindOf(const std::string& word);

// True if the text has * or ?.
bool isPattern(const std::string& text);

// Whether a name in a folder is of a pattern with * and ?. ? is one character of UTF-8. A dot at
// the name's beginning must be in the pattern. Names are compared as the system does: on Windows,
// capital and small letters are the same.
bool matches(const std::string& pattern, const std::string& name);

// Whether a folder gives the file: by its extension, and not if its name begins with a dot.
bool isImageName(const std::filesystem::path& path);

} // namespace host
