#include "host/batch/inputs.h"

#include "host/batch/digest.h"
#include "host/batch/pattern.h"
#include "host/failure.h"
#include "platform/system/links.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

void NameList::add(std::string_view name) {
    m_text.append(name);
    m_ends.push_back(m_text.size());
}

std::string NameList::at(std::size_t index) const {
    const std::size_t begin = index == 0 ? 0 : m_ends[index - 1];
    return m_text.substr(begin, m_ends[index] - begin);
}

namespace {

bool isFolder(const fs::path& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

std::vector<fs::path> entriesOf(const fs::path& folder) {
    std::vector<fs::path> entries;
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? fs::path(".") : folder, error), end;
         !error && entry != end; entry.increment(error)) {
        entries.push_back(entry->path().filename());
    }
    if (error) { // fewer inputs would look like a success
        throw Failure("the folder '" + nameOf(folder.empty() ? fs::path(".") : folder) +
                      "' cannot be read: " + error.message());
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

using Take = std::function<void(const fs::path& file)>;

// Goes through the folder by what is left of a pattern's names.
void find(const fs::path& folder, const std::vector<std::string>& names, std::size_t at,
          const Take& take) {
    const std::string& pattern = names[at];
    const bool last = at + 1 == names.size();
    if (!isPattern(pattern)) {
        const fs::path path = folder / pathOf(pattern);
        std::error_code ignored;
        if (last ? fs::is_regular_file(path, ignored) : isFolder(path)) {
            last ? take(path) : find(path, names, at + 1, take);
        }
        return;
    }
    const bool anyDepth = pattern == "**" && !last;
    if (anyDepth) {
        find(folder, names, at + 1, take);
    }
    for (const fs::path& entry : entriesOf(folder)) {
        const std::string found = nameOf(entry);
        const fs::path path = folder / entry;
        std::error_code ignored;
        if (anyDepth) {
            // Not a link, which may lead in a circle.
            if (!found.starts_with(".") && isFolder(path) &&
                !tarvix::isLink(fs::directory_entry(path, ignored))) {
                find(path, names, at, take);
            }
        } else if (matches(pattern, found)) {
            if (last ? fs::is_regular_file(path, ignored) : isFolder(path)) {
                last ? take(path) : find(path, names, at + 1, take);
            }
        }
    }
}

void expandPattern(const std::string& word, const Take& take) {
    const fs::path whole = pathOf(word);
    std::vector<std::string> names;
    for (const fs::path& part : whole.relative_path()) {
        names.push_back(nameOf(part));
    }
    find(whole.root_path(), names, 0, take);
}

// The names, each once.
class Collected {
public:
    void add(const std::string& name) {
        // With the system's separators: Windows knows two.
        if (m_seen.insert(digestOf(nameOf(pathOf(name).make_preferred()))).second) {
            names.add(name);
        }
    }
    void addLines(std::istream& lines) {
        for (std::string line; std::getline(lines, line);) {
            if (line.ends_with('\r')) {
                line.pop_back();
            }
            if (!line.empty()) {
                add(line);
            }
        }
    }
    NameList names;

private:
    std::set<Digest> m_seen;
};

void expandFolder(const std::string& word, const Take& take) {
    for (const fs::path& entry : entriesOf(pathOf(word))) {
        const fs::path file = pathOf(word) / entry;
        std::error_code ignored;
        if (isImageName(entry) && fs::is_regular_file(file, ignored)) {
            take(file);
        }
    }
}

} // namespace

NameList expandInputs(const std::vector<std::string>& words, std::istream& in) {
    Collected all;
    for (const std::string& word : words) {
        std::size_t found = 0;
        const Take take = [&](const fs::path& file) {
            ++found;
            all.add(nameOf(file));
        };
        switch (kindOf(word)) {
        case WordKind::StandardInput:
            all.addLines(in);
            break;
        case WordKind::List: {
            std::ifstream list(pathOf(word.substr(1)), std::ios::binary);
            if (!list) {
                throw Failure("the list '" + word.substr(1) + "' cannot be read");
            }
            all.addLines(list);
            break;
        }
        case WordKind::Folder:
            expandFolder(word, take);
            if (found == 0) {
                std::string reason = "there are no images in the folder '";
                reason.append(word).append("'; for those in folders below it, write '");
                throw Failure(reason.append(word).append("/**/*.jpg'"));
            }
            break;
        case WordKind::Pattern:
            expandPattern(word, take);
            if (found == 0) {
                throw Failure("no file matches '" + word + "'");
            }
            break;
        case WordKind::File:
            all.add(word);
        }
    }
    return std::move(all.names);
}

} // namespace host
