#include "tests/support/program.h"

#include "tests/support/pictures.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <sys/wait.h>

namespace test {

namespace {

std::string slurp(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

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
    result.out = slurp(folder / "out");
    result.err = slurp(folder / "err");
    return result;
}

std::string copyProgram(const std::string& program, const std::string& folder) {
    // The program knows where its libraries are.
    std::string copy = folder + '/' + std::filesystem::path(program).filename().string();
    std::filesystem::copy_file(program, copy);
    return copy;
}

} // namespace test
