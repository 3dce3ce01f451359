#include "tests/support/program.h"

#include "tests/support/files.h"

#include <cstdlib>
#include <filesystem>

#include <sys/wait.h>

namespace test {

namespace {

std::string quoted(const std::string& word) {
    std::string out = "'";
    for (const char c : word) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

} // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments) {
    const TempFolder folder;
    std::string line = "timeout 900 " + quoted(program);
    for (const std::string& argument : arguments) {
        line += ' ' + quoted(argument);
    }
    line += " >" + quoted(folder / "out") + " 2>" + quoted(folder / "err") + " </dev/null";
    ProgramResult result;
    // NOLINTNEXTLINE(cert-env33-c): every word is quoted
    const int status = std::system(line.c_str());
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = bytesOf(folder / "out");
    result.err = bytesOf(folder / "err");
    return result;
}

std::string copyProgram(const std::string& program, const std::string& folder) {
    // The program knows where its libraries are.
    std::string copy = folder + '/' + std::filesystem::path(program).filename().string();
    std::filesystem::copy_file(program, copy);
    return copy;
}

} // namespace test
