#include "tests/support/program.h"

#include "tests/support/files.h"
#include "tests/support/start_server_client.h"

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

int runFromShell(const std::string& program, const std::vector<std::string>& arguments,
                 const std::string& in, const std::string& out, const std::string& err) {
    std::string line = "timeout 900 " + quoted(program);
    for (const std::string& argument : arguments) {
        line += ' ' + quoted(argument);
    }
    line += " >" + quoted(out) + " 2>" + quoted(err) + " <" + quoted(in);
    // NOLINTNEXTLINE(cert-env33-c): every word is quoted
    return std::system(line.c_str());
}

} // namespace

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const Redirected& redirected) {
    const TempFolder folder;
    const std::string err = folder / "err";
    const std::string in = redirected.in.empty() ? "/dev/null" : redirected.in;
    const std::string out = redirected.out.empty() ? folder / "out" : redirected.out;
    std::optional<int> served;
    if (redirected.in.empty()) {
        served = runFromServer(program, arguments, out, err);
    }
    const int status = served ? *served : runFromShell(program, arguments, in, out, err);
    ProgramResult result;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    if (redirected.out.empty()) {
        result.out = bytesOf(out);
    }
    result.err = bytesOf(err);
    return result;
}

std::string copyProgram(const std::string& program, const std::string& folder) {
    // The program knows where its libraries are.
    std::string copy = folder + '/' + std::filesystem::path(program).filename().string();
    std::filesystem::copy_file(program, copy);
    return copy;
}

} // namespace test
