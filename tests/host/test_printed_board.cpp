// Boards to print: tarvix board.
#include "assist/board_search.h"
#include "host/failure.h"
#include "host/printed_board.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>
#include <opencv2/imgproc.hpp>

#include <filesystem>

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

// The page as a printer of 10 points a millimetre would fill it.
cv::Mat printedPage(const host::PrintedBoard& board) {
    cv::Mat page(static_cast<int>(board.page.height * 10), static_cast<int>(board.page.width * 10),
                 CV_8UC1, cv::Scalar(255));
    for (const cv::Rect2d& square : board.squares) {
        page(cv::Rect(cv::Rect2d(square.tl() * 10, square.br() * 10))).setTo(0);
    }
    return page;
}

// The board in the page, and its squares' edges: 25 mm are 250 pixels.
void expectTrueSize(const cv::Mat& page, cv::Size pattern, double square) {
    cv::Mat smaller; // the search is made for photographs
    cv::resize(page, smaller, {}, 0.4, 0.4, cv::INTER_AREA);
    const auto board = tarvix::searchBoard(smaller, pattern, {});
    ASSERT_TRUE(board);
    EXPECT_NEAR(cv::norm(board->corners.front() - board->corners.at(1)), square * 4, 0.5);
    const double across = cv::norm(board->corners.front() - board->corners.back());
    EXPECT_NEAR(across, std::hypot(pattern.width - 1, pattern.height - 1) * square * 4, 1);
}

TEST(PrintedBoard, HasItsSquaresInTrueSizeOnTheSmallestPaper) {
    const host::PrintedBoard board = host::layOutBoard({9, 6}, 25);
    EXPECT_EQ(board.paper, "A4");
    EXPECT_EQ(board.page, cv::Size2d(297, 210));
    EXPECT_EQ(board.squares.size(), 35U); // half of 10 x 7
    expectTrueSize(printedPage(board), {9, 6}, 25);
    EXPECT_THAT(board.label, HasSubstr("9 x 6 inner corners, squares of 25 mm"));
    EXPECT_EQ(board.ruler.width, 100);
    EXPECT_EQ(host::layOutBoard({6, 9}, 25).page, cv::Size2d(210, 297));
    EXPECT_EQ(host::layOutBoard({9, 6}, 35).paper, "A3");
    EXPECT_EQ(host::layOutBoard({9, 6}, 100).paper, "A0");
    EXPECT_THROW(host::layOutBoard({9, 6}, 200), host::Failure);
    EXPECT_THROW(host::layOutBoard({2000000000, 2000000000}, 25), host::Failure);
}

TEST(PrintedBoard, NothingIsPrintedOutsideThePageOrOverAnother) {
    for (const auto& [columns, rows, square] :
         {std::tuple{9, 6, 25.0}, {3, 3, 5.0}, {20, 15, 8.5}, {6, 9, 25.0}}) {
        const host::PrintedBoard board = host::layOutBoard({columns, rows}, square);
        const cv::Rect2d page({0, 0}, board.page);
        for (const cv::Rect2d& r : board.squares) {
            EXPECT_EQ(r & page, r);
            EXPECT_EQ((r & board.ruler).area(), 0);
            EXPECT_LT(r.br().y, board.labelAt.y - 4);
        }
    }
}

TEST(PrintedBoard, TheSvgHasMillimetres) {
    const test::TempFolder folder;
    const std::string file = folder / "board.svg";
    const ProgramResult run = tarvix({"board", "--board", "9x6", "--square", "25", "-o", file});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("A4: 9 x 6 inner corners"));
    EXPECT_EQ(run.err, "");
    const std::string svg = test::bytesOf(file);
    EXPECT_THAT(svg, HasSubstr("width=\"297mm\" height=\"210mm\" viewBox=\"0 0 297 210\""));
    EXPECT_THAT(svg, HasSubstr("width=\"25\" height=\"25\"/>"));
    EXPECT_THAT(svg, HasSubstr("squares of 25 mm"));
}

TEST(PrintedBoard, ThePdfIsInTrueSize) {
    const test::TempFolder folder;
    const std::string file = folder / "board.pdf";
    const ProgramResult run = tarvix({"board", "--board", "9x6", "--square", "25", "-o", file});
#ifdef TARVIX_PDFTOPPM
    ASSERT_EQ(run.status, 0) << run.err;
    // 254 points an inch are 10 a millimetre.
    const ProgramResult drawn = test::runProgram(
        TARVIX_PDFTOPPM, {"-r", "254", "-png", "-gray", "-singlefile", file, folder / "page"});
    ASSERT_EQ(drawn.status, 0) << drawn.err;
    const cv::Mat page = cv::imread(folder / "page.png", cv::IMREAD_GRAYSCALE);
    EXPECT_NEAR(page.cols, 2970, 1);
    EXPECT_NEAR(page.rows, 2100, 1);
    expectTrueSize(page, {9, 6}, 25);
#else
    expectOneLine(run, 1);
    EXPECT_THAT(run.err, HasSubstr("makes no PDF"));
    EXPECT_FALSE(std::filesystem::exists(file));
#endif
}

TEST(PrintedBoard, BadUsageAndDoubts) {
    const test::TempFolder folder;
    expectOneLine(tarvix({"board", "--board", "2x6", "-o", folder / "b.svg"}), 2);
    expectOneLine(tarvix({"board", "--board", "9x6", "--square", "0", "-o", folder / "b.svg"}), 2);
    expectOneLine(tarvix({"board", "--board", "9x6", "-o", folder / "b.png"}), 2);
    expectOneLine(tarvix({"board", "--board", "9x6", "--square", "500", "-o", folder / "b.svg"}),
                  1);
    EXPECT_FALSE(std::filesystem::exists(folder / "b.svg"));
    EXPECT_THAT(tarvix({"board", "--board", "7x5", "-o", folder / "b.svg"}).err,
                HasSubstr("looks the same upside down"));
}

} // namespace
