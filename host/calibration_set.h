// Sets of photographs of a board as people have them: what can be used, and what is left out, why.
#pragma once

#include "assist/board_search.h"
#include "host/options.h"

#include <string>
#include <vector>

namespace host {

// A photograph that is not used.
struct LeftOut {
    std::string file;
    std::string reason; // a few words, such as "no board of 9 x 6 inner corners"
};

struct CalibrationSet {
    std::vector<std::string> files;        // those that are used, in order
    std::vector<tarvix::SeenBoard> boards; // in each of them, all of one image size
    std::vector<LeftOut> leftOut;
};

struct SearchRules {
    Board board{};
    tarvix::CornerWindow window;
    bool pairs = false;  // the files are left right left right ...; both are used or neither
    bool strict = false; // whatever would be left out is a failure instead
};

// A photograph and what came of the search.
struct SearchedPhoto {
    std::string file;
    cv::Mat grey; // of one without a board, for a second search; may be empty
    tarvix::SeenBoard board;
    std::string whyNot; // a few words; empty: it can be used
    std::string hint{}; // of one without a board: what a second search said, if there was one
};

// Searches the board in one file.
SearchedPhoto searchPhoto(const std::string& file, const SearchRules& rules);

// The whyNot of a photograph that was searched in vain.
std::string noBoard(const Board& board);

// People count squares: what follows noBoard() if a board of one less is in the image; otherwise
// empty. Searches it.
std::string hintOf(const cv::Mat& grey, const SearchRules& rules);

// Which of them are used. Images of another size than most are left out. Throws Failure if nothing
// is left.
CalibrationSet usableOf(std::vector<SearchedPhoto> photos, const SearchRules& rules);

// Both for a list of files. Says how far it is. Throws Failure for a file that does not exist, too.
CalibrationSet searchSet(const std::vector<std::string>& files, const SearchRules& rules,
                         Output& output);

// Whether the numbers in the pairs' names say that they belong together, in sentences: one for each
// pair whose numbers differ, one for all if all differ by the same. Names without numbers say
// nothing.
//   files  left right left right ...
std::vector<std::string> numbersThatDiffer(const std::vector<std::string>& files);

} // namespace host
