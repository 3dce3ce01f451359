// Runs a program without the time that its start takes (start_server.cpp).
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace test {

// Runs the program with these arguments, in this process' environment and working folder. Its
// output goes to the files. Returns what waitpid() gives, or no value if the program must be run by
// other means:
// - the first time in each environment, so that every test program also starts it as a user does;
// - while another thread waits for a run;
// - in builds with sanitizers.
std::optional<int> runFromServer(const std::string& program,
                                 const std::vector<std::string>& arguments, const std::string& out,
                                 const std::string& err);

} // namespace test
