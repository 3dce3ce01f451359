#include "platform/system/kept_lines.h"
#include "platform/system/stray_lines.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>

// The address checker's run time calls the function after its report and before it ends the
// process.
extern "C" void __attribute__((weak)) __sanitizer_set_death_callback(void (*)()); // NOLINT

namespace tarvix {

namespace {

int errors = -1; // standard error itself
int kept = -1;   // the file that stands in for it
off_t taken = 0;

void writeToErrors(const char* text, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(errors, text, size);
        if (written <= 0) {
            return;
        }
        text += written;
        size -= static_cast<std::size_t>(written);
    }
}

// Calls nothing that a signal handler may not.
void showKept() {
    char part[512];
    for (ssize_t count = 0; (count = pread(kept, part, sizeof part, taken)) > 0; taken += count) {
        writeToErrors(part, static_cast<std::size_t>(count));
    }
}

void atAbort(int number) {
    showKept();
    (void)std::signal(number, SIG_DFL); // and then abort() ends the process
}

// A file that has no name any more.
int temporaryFile() {
    const char* const folder = std::getenv("TMPDIR");
    std::string name = std::string(folder == nullptr ? "/tmp" : folder) + "/tarvix-XXXXXX";
    const int file = mkostemp(name.data(), O_CLOEXEC | O_APPEND);
    if (file >= 0) {
        unlink(name.c_str());
    }
    return file;
}

} // namespace

StrayLines::StrayLines() {
    errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    kept = errors < 0 ? -1 : temporaryFile();
    if (kept < 0 || dup2(kept, STDERR_FILENO) < 0) {
        close(errors);
        close(kept);
        kept = -1;
        return;
    }
    taken = 0;
    (void)std::signal(SIGABRT, atAbort);
    if (__sanitizer_set_death_callback != nullptr) {
        __sanitizer_set_death_callback(showKept);
    }
}

StrayLines::~StrayLines() {
    if (kept < 0) {
        return;
    }
    (void)std::signal(SIGABRT, SIG_DFL);
    dup2(errors, STDERR_FILENO);
    close(errors);
    close(kept);
    kept = -1;
}

std::ostream& standardError() {
    static UnbufferedStream buffer(writeToErrors);
    static std::ostream stream(&buffer);
    return kept < 0 ? std::cerr : stream;
}

std::vector<std::string> takeStrayLines() {
    std::string text;
    char part[512];
    for (ssize_t count = 0; kept >= 0 && (count = pread(kept, part, sizeof part, taken)) > 0;
         taken += count) {
        text.append(part, static_cast<std::size_t>(count));
    }
    // What another thread prints at this moment is lost.
    if (taken > longestKept && ftruncate(kept, 0) == 0) {
        taken = 0;
    }
    return differentLines(text);
}

} // namespace tarvix
