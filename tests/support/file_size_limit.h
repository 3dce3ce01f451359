// A full disk, as far as this process can tell.
#pragma once

#include <cstddef>

namespace test {

// No file of this process can grow beyond `bytes` during the scope: writing more fails as on a full
// disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(std::size_t bytes);
    ~FileSizeLimit();
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    unsigned long long m_before = 0;
};

} // namespace test
