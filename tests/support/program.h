// Runs a program as a user would and keeps what it printed.
#pragma once

#include <string>
#include <vector>

namespace test {

struct ProgramResult {
    int status = -1; // exit status; 128 + signal if a signal ended it
    std::string out;
    std::string err;
};

// Files in place of what runProgram() gives the program and takes from it.
struct Redirected {
    std::string in;  // of standard input; nothing can be read if it is empty
    std::string out; // gets standard output byte by byte, and the result none, unless it is empty
};

// Words are passed unchanged. A run that takes too long (the bound is generous) is ended and has
// the status 124.
ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         const Redirected& redirected = {});

// Copies the program into a folder, without the files that it reads from its own folder, but with
// the libraries that it can find nowhere else. Returns the copy's path.
std::string copyProgram(const std::string& program, const std::string& folder);

} // namespace test
