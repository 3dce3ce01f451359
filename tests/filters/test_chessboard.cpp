// tx_FindChessboard, called as a host calls it, and the text it writes.
#include <tarvix/tarvix.h>

#include "filters/chessboard.h"
#include "tests/support/export_test.h"
#include "tests/support/foreign_locale.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"
#include "tests/support/pattern.h"

#include <gmock/gmock.h>
#include <opencv2/calib3d.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <climits>
#include <cmath>
#include <limits>
#include <sstream>

namespace {

using test::Dib;
using test::IsIdenticalTo;
using testing::HasSubstr;
using testing::IsEmpty;

class FindChessboard : public test::ExportTest {
protected:
    CString text{"before"};
};

// Reads "x,y;x,y" as points.
std::vector<cv::Point2d> pointsOf(const CString& text) {
    std::vector<cv::Point2d> points;
    std::istringstream in{std::string(text.GetString())};
    std::string pair;
    while (std::getline(in, pair, ';')) {
        const std::size_t comma = pair.find(',');
        points.emplace_back(std::stod(pair.substr(0, comma)), std::stod(pair.substr(comma + 1)));
    }
    return points;
}

// The calls written out with bare numbers: the oracle. No corners if there is no board.
std::vector<cv::Point2f> literal(cv::Mat source, cv::Size board, cv::Mat& drawn) {
    cv::Mat grey;
    std::vector<cv::Point2f> corners;
    cv::cvtColor(source, grey, 6, 1);
    if (!cv::findChessboardCorners(source, board, corners, 3)) {
        return {};
    }
    cv::cornerSubPix(grey, corners, {11, 11}, {-1, -1}, cv::TermCriteria(3, 30, 0.01));
    cv::drawChessboardCorners(source, board, corners, true);
    drawn = source;
    return corners;
}

std::string printed(const std::vector<cv::Point2f>& corners) {
    std::string text;
    for (const cv::Point2f& corner : corners) {
        CString one;
        one.Format("%s%.1f,%.1f", text.empty() ? "" : ";", double{corner.x}, double{corner.y});
        text += one.GetString();
    }
    return text;
}

TEST_F(FindChessboard, RealBoardsEqualTheLiteralCalls) {
    for (const char* name : {"left01.jpg", "right01.jpg", "left12.jpg"}) {
        const cv::Mat image = test::photo(name);
        cv::Mat drawn;
        const std::vector<cv::Point2f> corners = literal(image.clone(), {9, 6}, drawn);
        ASSERT_EQ(corners.size(), 54U) << name;
        const Dib source = test::dibOf(image);
        const Dib result(tx_FindChessboard(*source, 9, 6, text));
        ASSERT_NE(result, nullptr) << name;
        EXPECT_EQ(result->m_bmi.bmiHeader.biBitCount, 24);
        EXPECT_THAT(*result, IsIdenticalTo(drawn)) << name;
        EXPECT_EQ(std::string(text.GetString()), printed(corners)) << name;
        EXPECT_THAT(*source, IsIdenticalTo(image)) << "the input was changed";
        EXPECT_THAT(drawn, testing::Not(IsIdenticalTo(image)));
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(FindChessboard, FiftyFourCornersFiftyThreeSeparatorsOneDecimalEach) {
    const Dib result(tx_FindChessboard(*test::dibOf(test::photo("left01.jpg")), 9, 6, text));
    ASSERT_NE(result, nullptr);
    const std::string all(text.GetString());
    EXPECT_EQ(std::count(all.begin(), all.end(), ';'), 53);
    std::istringstream in(all);
    std::string pair;
    int corners = 0;
    while (std::getline(in, pair, ';')) {
        EXPECT_THAT(pair + '\n', test::LinesMatch("[0-9]+\\.[0-9],[0-9]+\\.[0-9]"));
        ++corners;
    }
    EXPECT_EQ(corners, 54);
}

TEST_F(FindChessboard, CornersOfADrawnBoardAreWhereTheyWereDrawn) {
    cv::Mat image(400, 520, CV_8UC3, cv::Scalar::all(255));
    for (int row = 0; row < 7; ++row) {
        for (int column = 0; column < 10; ++column) {
            if ((row + column) % 2 == 0) {
                cv::rectangle(image, cv::Rect(60 + 40 * column, 60 + 40 * row, 40, 40), {0, 0, 0},
                              cv::FILLED);
            }
        }
    }
    const Dib result(tx_FindChessboard(*test::dibOf(image), 9, 6, text));
    ASSERT_NE(result, nullptr);
    const std::vector<cv::Point2d> corners = pointsOf(text);
    ASSERT_EQ(corners.size(), 54U);
    std::size_t at = 0;
    for (int row = 0; row < 6; ++row) {
        for (int column = 0; column < 9; ++column, ++at) {
            // The edge between two pixels is half a pixel before the second one's centre. The
            // board looks the same after half a turn.
            const cv::Point2d expected(99.5 + 40 * column, 99.5 + 40 * row);
            const cv::Point2d turned(519.0 - expected.x, 399.0 - expected.y);
            EXPECT_LE(std::min(cv::norm(corners[at] - expected), cv::norm(corners[at] - turned)),
                      0.3);
        }
    }
}

TEST_F(FindChessboard, RotatedPhotographGivesTheRotatedCorners) {
    const cv::Mat image = test::photo("left01.jpg");
    const Dib upright(tx_FindChessboard(*test::dibOf(image), 9, 6, text));
    const std::vector<cv::Point2d> before = pointsOf(text);
    cv::Mat turned;
    cv::rotate(image, turned, cv::ROTATE_90_CLOCKWISE);
    const Dib result(tx_FindChessboard(*test::dibOf(turned), 9, 6, text));
    ASSERT_NE(upright, nullptr);
    ASSERT_NE(result, nullptr);
    const std::vector<cv::Point2d> after = pointsOf(text);
    ASSERT_EQ(after.size(), 54U);
    for (const cv::Point2d& p : before) {
        double nearest = 1e9;
        for (const cv::Point2d& q : after) {
            nearest = std::min(nearest, cv::norm(cv::Point2d(image.rows - 1 - p.y, p.x) - q));
        }
        EXPECT_LT(nearest, 0.5);
    }
}

TEST_F(FindChessboard, TheTwoNumbersArePassedInTheGivenOrder) {
    const cv::Mat image = test::photo("left01.jpg");
    cv::Mat drawn;
    const std::vector<cv::Point2f> corners = literal(image.clone(), {6, 9}, drawn);
    const Dib result(tx_FindChessboard(*test::dibOf(image), 6, 9, text));
    if (corners.empty()) {
        EXPECT_EQ(result, nullptr);
        EXPECT_EQ(text, "before");
    } else {
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(std::string(text.GetString()), printed(corners));
        EXPECT_THAT(*result, IsIdenticalTo(drawn));
        CString asUsual;
        const Dib nineBySix(tx_FindChessboard(*test::dibOf(image), 9, 6, asUsual));
        EXPECT_FALSE(text == asUsual);
    }
}

TEST_F(FindChessboard, NoBoardGivesNullSilentlyAndLeavesTheText) {
    const std::vector<cv::Mat> without = {
        test::photo("home.jpg"), cv::Mat(200, 300, CV_8UC3, cv::Scalar::all(0)),
        cv::Mat(200, 300, CV_8UC3, cv::Scalar::all(255)), test::noise(120, 160, CV_8UC3)};
    for (const cv::Mat& image : without) {
        EXPECT_EQ(tx_FindChessboard(*test::dibOf(image), 9, 6, text), nullptr);
    }
    // A board that is there, but of another size.
    EXPECT_EQ(tx_FindChessboard(*test::dibOf(test::photo("left01.jpg")), 11, 8, text), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_EQ(text, "before");
}

TEST_F(FindChessboard, EightBitBitmapShowsOpenCvsMessage) {
    EXPECT_EQ(tx_FindChessboard(*test::dibOf(test::photo("left01.jpg", true)), 9, 6, text),
              nullptr);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, HasSubstr("Invalid number of channels"));
    EXPECT_EQ(host.messages[0].type, 0U);
    EXPECT_EQ(host.messages[0].helpId, 0U);
    EXPECT_EQ(text, "before");
}

TEST_F(FindChessboard, OtherDepthsEndInAMessage) {
    CDib never;
    EXPECT_EQ(tx_FindChessboard(never, 9, 6, text), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(tx_FindChessboard(*test::makeDib(64, 64, 32), 9, 6, text), nullptr);
    EXPECT_EQ(host.messages.size(), 2U);
    EXPECT_EQ(text, "before");
}

TEST_F(FindChessboard, OnePixelEndsInAMessage) {
    EXPECT_EQ(tx_FindChessboard(*test::makeDib(1, 1, 24), 9, 6, text), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(text, "before");
}

TEST_F(FindChessboard, ImpossibleBoardsEndInAMessage) {
    const Dib source = test::dibOf(test::photo("left01.jpg"));
    const std::vector<std::pair<int, int>> boards = {{0, 0},  {2, 6},  {9, 2},
                                                     {-9, 6}, {9, -6}, {INT_MIN, INT_MIN}};
    for (const auto& [perRow, perColumn] : boards) {
        EXPECT_EQ(tx_FindChessboard(*source, perRow, perColumn, text), nullptr);
    }
    EXPECT_EQ(host.messages.size(), boards.size());
    EXPECT_EQ(text, "before");
}

TEST_F(FindChessboard, RefusedCreateGivesNullSilentlyAndLeavesTheText) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::dibOf(test::photo("left01.jpg"));
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_FindChessboard(*source, 9, 6, text), nullptr);
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_EQ(text, "before");
}

// ---- the text

TEST(CornerText, TwoCorners) {
    EXPECT_EQ(tarvix::cornerText({{12.0F, 45.5F}, {78.5F, 90.0F}}), "12.0,45.5;78.5,90.0");
    EXPECT_EQ(tarvix::cornerText({{1.0F, 2.0F}}), "1.0,2.0");
    EXPECT_EQ(tarvix::cornerText({}), "");
}

TEST(CornerText, RoundsAsPrintfDoes) {
    std::vector<cv::Point2f> corners = {
        {0.25F, 0.75F},        {-0.04F, 0.05F}, {-0.0F, 1e-30F},
        {16777216.0F, -3e38F}, {0.35F, 0.45F},  {std::numeric_limits<float>::infinity(), 2.5F}};
    cv::RNG rng(11);
    for (int i = 0; i < 20000; ++i) {
        corners.emplace_back(rng.uniform(-50.F, 5000.F),
                             static_cast<float>(rng.uniform(0, 40000)) / 20.F);
    }
    EXPECT_EQ(tarvix::cornerText(corners), printed(corners));
}

TEST_F(FindChessboard, TheDecimalPointIsAPointWhateverTheLocale) {
    const Dib source = test::dibOf(test::photo("left01.jpg"));
    CString plain;
    const Dib first(tx_FindChessboard(*source, 9, 6, plain));
    const test::DecimalComma comma;
    CString check;
    check.Format("%.1f", 1.5);
    ASSERT_EQ(check, "1,5") << "the locale is not in force";
    const Dib second(tx_FindChessboard(*source, 9, 6, text));
    EXPECT_EQ(text, plain.GetString());
    EXPECT_THAT(text.GetString(), HasSubstr("."));
}

} // namespace
