// Corners of a board that a batch found and recorded, for a calibration without a second search:
// of a set of photographs that is searched in parts, on several machines.
#pragma once

#include "host/calibration_set.h"
#include "host/result.h"

#include <string>
#include <vector>

namespace host {

// The window in which calib refines corners: tx_Calib's.
inline constexpr tarvix::CornerWindow calibWindow = tarvix::fixedWindow;

// Finds the corners of one photograph as calib does: "board", "imageSize" and "corners", row by
// row, with all digits, and "search": "calib". Throws Failure, with calib's reason, if calib would
// leave the photograph out, and if there is no such file.
//   name  the file, or `-` if a command line reads standard input
Json cornersForCalib(const std::string& name, const Board& board);

struct RecordedBoards {
    std::vector<SearchedPhoto> photos;   // by name: the order of a folder
    std::vector<std::string> warnings{}; // whole sentences
};

// Reads the manifests of `tarvix batch chessboard --for-calib`. Of a photograph that has several
// lines in a manifest, the last one counts.
//   words    files, or patterns
//   outputs  files that are going to be written; empty names stand for none
// Throws Failure, naming the file, if a manifest
// - cannot be read or is one of `outputs`,
// - has a line of another operation or another board, or a line that makes no sense,
// - has a photograph that another one has, too: under that name, or the same bytes under another,
// - has a photograph that is one of `outputs`,
// and if there are no lines at all.
RecordedBoards readCornerRecords(const std::vector<std::string>& words, const Board& board,
                                 const std::vector<std::string>& outputs);

} // namespace host
