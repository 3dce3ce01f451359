// What a test that runs one program many times and that program (start_server.cpp) exchange over
// the socket.
#pragma once

namespace test {

// The environment variable that holds the number of the socket's descriptor.
inline const char* const startServerVariable = "TARVIX_START_SERVER";

// The program sends one byte when it is ready. Then for each run
// - it receives a std::uint32_t, the number of bytes that follow. These are texts, each ended by a
//   zero: the files for standard output and standard error, the working folder, and the arguments
//   from the program's name on;
// - it sends the int that waitpid() gives.

} // namespace test
