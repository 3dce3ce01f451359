// `-` in place of an image file: standard input as IN, standard output after -o. Only the program
// itself means that by it. For a worker, which has other uses for both, it is a name as any other.
#pragma once

#include "host/command.h"

#include <memory>
#include <string>

namespace host {

// What a command line names by `-`, while it runs.
class PipedImages {
public:
    // If the output has pipes: reads standard input to its end if IN is `-`; if -o is, sends
    // everything else that is printed to standard error. Throws BadUsage if it is a terminal, or if
    // the format does not fit.
    PipedImages(CommonOptions& options, Output& output);
    ~PipedImages();
    PipedImages(const PipedImages&) = delete;
    PipedImages& operator=(const PipedImages&) = delete;

    // The file to read for that name: what came from standard input for `-`, or the name itself.
    static std::string fileBehind(const std::string& name);

private:
    struct Input;
    std::unique_ptr<Input> m_input;
    PipedImages* m_outer; // of a command within which this one runs
};

// Whether that is `-`.
bool isPiped(const std::string& name);

} // namespace host
