// What libraries print on standard error by themselves: image decoders, OpenCV's log, its cameras.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace tarvix {

// While an object of this class lives, only standardError() reaches standard error. What is printed
// in any other way, such as by std::cerr, is kept in a temporary file. One object at a time. If the
// system refuses, everything is printed as without it. If the process aborts, what was kept is
// printed first.
class StrayLines {
public:
    StrayLines();
    ~StrayLines(); // drops what has not been taken
    StrayLines(const StrayLines&) = delete;
    StrayLines& operator=(const StrayLines&) = delete;
};

// Standard error itself, for what the program says; std::cerr if there is no such object.
std::ostream& standardError();

// The lines that were kept since the last call, without empty ones and repetitions. None if there
// is no such object.
std::vector<std::string> takeStrayLines();

} // namespace tarvix
