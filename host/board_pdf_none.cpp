// In place of board_pdf.cpp where libharu is missing.
#include "host/failure.h"
#include "host/printed_board.h"

namespace host {

std::string boardAsPdf(const PrintedBoard& /*board*/) {
    throw Failure("this build of the program makes no PDF: it was made without libharu; an .svg "
                  "file prints in true size, too");
}

} // namespace host
