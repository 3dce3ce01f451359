// A disk that is full for this process.
#pragma once

#include <cstddef>

namespace test {

// During the scope, no file of this process can grow beyond `bytes`: writing more fails as on a
// full disk.
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
