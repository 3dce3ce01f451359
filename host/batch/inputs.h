// Which images a batch takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Many names in little memory, in order.
class NameList {
public:
    void add(std::string_view name);
    [[nodiscard]] std::size_t size() const { return m_ends.size(); }
    [[nodiscard]] std::string at(std::size_t index) const;

private:
    std::string m_text;
    std::vector<std::size_t> m_ends;
};

// The files that the words name, in the order of the words:
//   a folder    the images directly in it, sorted; other files are told by their extension
//   a pattern   * and ? match within a name, no leading dot; ** as a folder's name stands for any
//               number of folders; sorted
//   @FILE       the names in that file, one a line
//   -           the names in `in`, one a line
//   any other   that file, whether it is there or not
// A file that is named twice is taken once. Throws Failure if a list or a folder cannot be read, or
// if a folder or a pattern gives nothing.
NameList expandInputs(const std::vector<std::string>& words, std::istream& in);

} // namespace host
