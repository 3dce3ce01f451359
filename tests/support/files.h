// Folders and files of tests.
#pragma once

#include <set>
#include <string>

namespace test {

// A new folder for a test. It is removed with all its contents.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    [[nodiscard]] std::string path() const { return m_path; }
    [[nodiscard]] std::string operator/(const std::string& name) const {
        return m_path + "/" + name;
    }

private:
    std::string m_path;
};

// The content of a file; empty if there is none.
std::string bytesOf(const std::string& path);

// Creates or replaces a file.
void writeBytes(const std::string& path, const std::string& bytes);

// The names of all entries of a folder.
std::set<std::string> namesIn(const std::string& folder);

} // namespace test
