#include "tests/support/file_size_limit.h"

#include <csignal>
#include <stdexcept>

#include <sys/resource.h>

namespace test {

namespace {

void setLimit(rlim_t bytes) {
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) != 0) {
        throw std::runtime_error("no file size limit");
    }
    limit.rlim_cur = bytes;
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) {
        throw std::runtime_error("the file size limit cannot be set");
    }
}

} // namespace

FileSizeLimit::FileSizeLimit(std::size_t bytes) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    m_before = limit.rlim_cur;
    (void)std::signal(SIGXFSZ, SIG_IGN);
    setLimit(bytes);
}

FileSizeLimit::~FileSizeLimit() {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(m_before);
    setrlimit(RLIMIT_FSIZE, &limit);
    (void)std::signal(SIGXFSZ, SIG_DFL);
}

} // namespace test
