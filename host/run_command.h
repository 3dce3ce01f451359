// Runs commands, with a command line or without one. Both functions return the exit status: 0 done,
// 1 the operation failed, 2 the command line is wrong; the reason has been printed. Both may be
// called again, also while a command runs.
#pragma once

#include "host/output.h"

#include <string>
#include <vector>

namespace host {

struct Command;
struct Job;

// Parses the words after the program's name and performs the command that they name.
int runCommand(std::vector<std::string> words, Output& output);

// Runs the job with its options as they are, then writes and prints the result. The image is
// written before the data is printed; what may fail beside the result comes last.
int perform(const Command& command, const Job& job, Output& output);

// "Tarvix 1.0.0, OpenCV 4.6.0".
std::string programVersion();

} // namespace host
