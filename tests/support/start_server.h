// Between a test that runs one program many times and that program (start_server.cpp): what goes
// over the socket.
#pragma once

namespace test {

// The environment variable with the number of the socket's descriptor.
inline const char* const startServerVariable = "TARVIX_START_SERVER";

// From the program: one byte when it is ready. Then for each run
// - to it: a std::uint32_t, the number of bytes that follow; these are texts, each ended by a zero:
//   the files for standard output and standard error, the working folder, the arguments from the
//   program's name on;
// - from it: the int that waitpid() gives.

} // namespace test
