// tx_LoadFile, tx_Canny, tx_Denoise and tx_getRectSubPix, called as a host calls them.
#include <tarvix/tarvix.h>

#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/observed_bitmaps.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/photo.hpp>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <random>

namespace {

using test::Dib;
using test::IsIdenticalTo;
using testing::HasSubstr;

using LoadFile = test::ExportTest;
using Canny = test::ExportTest;
using Denoise = test::ExportTest;
using GetRectSubPix = test::ExportTest;

// ---- tx_LoadFile

TEST_F(LoadFile, ColourFileIsLoadedUnchanged) {
    const test::TempFolder folder;
    const cv::Mat image = test::noise(13, 7, CV_8UC3);
    cv::imwrite(folder / "a b.png", image);
    const Dib dib(tx_LoadFile((folder / "a b.png").c_str()));
    ASSERT_NE(dib, nullptr);
    EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, 24);
    EXPECT_THAT(*dib, IsIdenticalTo(image));
}

TEST_F(LoadFile, GreyAndSixteenBitFilesGiveTwentyFourBits) {
    const test::TempFolder folder;
    cv::imwrite(folder / "grey.png", test::noise(5, 9, CV_8UC1));
    cv::imwrite(folder / "deep.png", cv::Mat(5, 9, CV_16UC3, cv::Scalar(1000, 30000, 65535)));
    cv::imwrite(folder / "deepgrey.png", cv::Mat(5, 9, CV_16UC1, cv::Scalar(30000)));
    for (const char* name : {"grey.png", "deep.png", "deepgrey.png"}) {
        const Dib dib(tx_LoadFile((folder / name).c_str()));
        ASSERT_NE(dib, nullptr) << name;
        EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, 24) << name;
        EXPECT_EQ(test::matOf(*dib).size(), cv::Size(9, 5)) << name;
    }
}

TEST_F(LoadFile, AFileThatIsNotAnImageGivesNullSilently) {
    const test::TempFolder folder;
    std::ofstream(folder / "text.jpg") << "not an image\n";
    std::ofstream(folder / "empty.png");
    std::filesystem::create_directory(folder / "folder.png");
    for (const std::string& path : {folder / "missing.png", folder / "text.jpg",
                                    folder / "empty.png", folder / "folder.png", std::string()}) {
        EXPECT_EQ(tx_LoadFile(path.c_str()), nullptr) << path;
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(LoadFile, TruncatedPhotographGivesNullOrAWholeBitmap) {
    const test::TempFolder folder;
    std::vector<unsigned char> bytes;
    cv::imencode(".jpg", test::scene(60, 80), bytes);
    for (const std::size_t keep : {std::size_t{2}, std::size_t{20}, bytes.size() / 2}) {
        std::ofstream(folder / "cut.jpg", std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(keep));
        const Dib dib(tx_LoadFile((folder / "cut.jpg").c_str()));
        if (dib != nullptr) {
            EXPECT_EQ(test::matOf(*dib).size(), cv::Size(80, 60));
        }
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(LoadFile, RefusedCreateGivesNull) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_LoadFile(test::photoPath("home.jpg").c_str()), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

// ---- tx_Canny

TEST_F(Canny, EqualsTheBareCallForBothDepths) {
    for (const bool grey : {false, true}) {
        const cv::Mat image = test::photo("home.jpg", grey);
        cv::Mat expected;
        cv::Canny(image, expected, 40.5, 120.25, 5, false);
        const Dib source = test::dibOf(image);
        const Dib dib(tx_Canny(*source, 40.5, 120.25, 5, 0));
        ASSERT_NE(dib, nullptr);
        EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, 8);
        EXPECT_THAT(*dib, IsIdenticalTo(expected));
        EXPECT_THAT(*source, IsIdenticalTo(image)) << "the input was changed";
    }
}

TEST_F(Canny, AnyNonZeroFlagSelectsTheL2Norm) {
    const cv::Mat image = test::photo("home.jpg");
    const Dib source = test::dibOf(image);
    const Dib l1(tx_Canny(*source, 50, 150, 3, 0));
    const Dib one(tx_Canny(*source, 50, 150, 3, 1));
    const Dib five(tx_Canny(*source, 50, 150, 3, 5));
    const Dib minus(tx_Canny(*source, 50, 150, 3, -1));
    EXPECT_THAT(*five, IsIdenticalTo(*one));
    EXPECT_THAT(*minus, IsIdenticalTo(*one));
    EXPECT_THAT(*l1, testing::Not(IsIdenticalTo(*one)));
}

TEST_F(Canny, ColourIsNotTurnedToGreyFirst) {
    // Red on blue of equal luminance: invisible in grey, an edge in colour.
    cv::Mat image(40, 40, CV_8UC3, cv::Scalar(255, 0, 0));
    image.colRange(20, 40).setTo(cv::Scalar(0, 0, 97));
    cv::Mat grey;
    cv::cvtColor(image, grey, cv::COLOR_BGR2GRAY);
    ASSERT_EQ(grey.at<unsigned char>(0, 0), grey.at<unsigned char>(0, 39));
    const Dib dib(tx_Canny(*test::dibOf(image), 100, 200, 3, 0));
    EXPECT_GT(cv::countNonZero(test::matOf(*dib)), 0);
}

TEST_F(Canny, OpenCvsExceptionPropagatesToTheHost) {
    const CDib never;
    EXPECT_THROW(tx_Canny(const_cast<CDib&>(never), 1, 2, 3, 0), cv::Exception);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_THROW(tx_Canny(*test::makeDib(8, 8, bits), 1, 2, 3, 0), cv::Exception) << bits;
    }
    const Dib good = test::makeDib(8, 8, 24);
    for (const int aperture : {0, 2, 4, 8, 9, -3}) {
        EXPECT_THROW(tx_Canny(*good, 1, 2, aperture, 0), cv::Exception) << aperture;
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Canny, RefusedCreateGivesNull) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::makeDib(8, 8, 24);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_Canny(*source, 1, 2, 3, 0), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Canny, TopDownBitmapIsTakenUpsideDown) {
    const Dib source = test::makeDib(30, -20, 8, 0);
    std::memset(source->m_pBits, 255, 5 * 32); // five top lines white
    const Dib dib(tx_Canny(*source, 50, 100, 3, 0));
    const cv::Mat edges = test::matOf(*dib);
    EXPECT_EQ(cv::countNonZero(edges.rowRange(0, 10)), 0);
    EXPECT_GT(cv::countNonZero(edges.rowRange(10, 20)), 0);
}

TEST_F(Canny, OnePixel) {
    const Dib dib(tx_Canny(*test::makeDib(1, 1, 24), 50, 150, 3, 0));
    ASSERT_NE(dib, nullptr);
    EXPECT_EQ(test::matOf(*dib).size(), cv::Size(1, 1));
}

// ---- tx_Denoise

TEST_F(Denoise, EqualsTheBareCall) {
    const cv::Mat image = test::noise(24, 33, CV_8UC3);
    cv::Mat expected;
    cv::fastNlMeansDenoisingColored(image, expected, 4.5F, 9.25F, 5, 11);
    const Dib dib(tx_Denoise(*test::dibOf(image), 4.5F, 9.25F, 5, 11));
    ASSERT_NE(dib, nullptr);
    EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, 24);
    EXPECT_THAT(*dib, IsIdenticalTo(expected));
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Denoise, GreyBitmapShowsOpenCvsMessage) {
    EXPECT_EQ(tx_Denoise(*test::makeDib(8, 8, 8), 3, 3, 7, 21), nullptr);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_THAT(host.messages[0].text, HasSubstr("Type of input image should be CV_8UC3"));
    EXPECT_EQ(host.messages[0].type, 0U);
    EXPECT_EQ(host.messages[0].helpId, 0U);
}

TEST_F(Denoise, OtherDepthsGiveNullSilently) {
    CDib never;
    EXPECT_EQ(tx_Denoise(never, 3, 3, 7, 21), nullptr);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_EQ(tx_Denoise(*test::makeDib(8, 8, bits), 3, 3, 7, 21), nullptr) << bits;
    }
    EXPECT_TRUE(host.messages.empty());
}

// OpenCV would divide by zero.
TEST_F(Denoise, NegativeWindowsAreRefusedWithAMessage) {
    const test::Dib source = test::makeDib(8, 8, 24);
    EXPECT_EQ(tx_Denoise(*source, 3, 3, 3, -6), nullptr);
    EXPECT_EQ(tx_Denoise(*source, 3, 3, -6, 3), nullptr);
    ASSERT_EQ(host.messages.size(), 2U);
    // The message names the source without the folder of the machine that built it.
    EXPECT_THAT(host.messages[0].text, testing::HasSubstr(") filters/pixel_filters.cpp:"));
    host.messages.clear();
}

// OpenCV's sums of squared differences would leave the range of int and index other memory.
TEST_F(Denoise, TemplatesBeyondOpenCvsSumsAreRefusedWithAMessage) {
    cv::Mat chequer(40, 50, CV_8UC3, cv::Scalar(0, 0, 255)); // the largest differences of colour
    for (int y = 0; y < chequer.rows; ++y) {
        for (int x = y % 2; x < chequer.cols; x += 2) {
            chequer.at<cv::Vec3b>(y, x) = cv::Vec3b(0, 255, 0);
        }
    }
    const Dib source = test::dibOf(chequer);
    for (const int size : {128, 129, 185, 199, 201, 501, 1001, INT_MAX}) {
        host.messages.clear();
        EXPECT_EQ(tx_Denoise(*source, 3, 3, size, 3), nullptr) << size;
        ASSERT_EQ(host.messages.size(), 1U) << size;
        EXPECT_THAT(host.messages[0].text, HasSubstr("templateWindowSize"));
    }
    host.messages.clear();
    const Dib largest(tx_Denoise(*source, 3, 3, 127, 3));
    ASSERT_NE(largest, nullptr);
    EXPECT_EQ(test::matOf(*largest).size(), chequer.size());
}

TEST_F(Denoise, RefusedCreateGivesNullSilently) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::makeDib(8, 8, 24);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_Denoise(*source, 3, 3, 3, 5), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

// ---- tx_getRectSubPix

TEST_F(GetRectSubPix, EqualsTheBareCallForBothDepths) {
    for (const bool grey : {false, true}) {
        const cv::Mat image = test::photo("home.jpg", grey);
        cv::Mat expected;
        cv::getRectSubPix(image, {31, 18}, {100.25F, 60.75F}, expected, -1);
        const Dib dib(tx_getRectSubPix(*test::dibOf(image), 31, 18, 100.25F, 60.75F));
        ASSERT_NE(dib, nullptr);
        EXPECT_EQ(dib->m_bmi.bmiHeader.biBitCount, grey ? 8 : 24);
        EXPECT_THAT(*dib, IsIdenticalTo(expected));
    }
}

TEST_F(GetRectSubPix, YZeroIsTheTopLine) {
    cv::Mat image(9, 9, CV_8UC1, cv::Scalar(0));
    image.row(0).setTo(200);
    const Dib dib(tx_getRectSubPix(*test::dibOf(image), 1, 1, 4, 0));
    EXPECT_EQ(test::matOf(*dib).at<unsigned char>(0, 0), 200);
}

TEST_F(GetRectSubPix, BeyondTheBorderThePixelsAreReplicated) {
    cv::Mat image(9, 9, CV_8UC1, cv::Scalar(50));
    image.col(8).setTo(210);
    const Dib dib(tx_getRectSubPix(*test::dibOf(image), 3, 3, 40, 4));
    EXPECT_THAT(*dib, IsIdenticalTo(cv::Mat(3, 3, CV_8UC1, cv::Scalar(210))));
}

TEST_F(GetRectSubPix, FarBeyondTheBorderIsTheBorderToo) {
    const cv::Mat image = test::noise(9, 7, CV_8UC3);
    for (const float distant :
         {100.0F, 5e8F, 2e9F, 1e30F, std::numeric_limits<float>::infinity()}) {
        const Dib right(tx_getRectSubPix(*test::dibOf(image), 3, 3, distant, 4));
        ASSERT_NE(right, nullptr) << distant;
        EXPECT_THAT(test::matOf(*right).col(2), IsIdenticalTo(image(cv::Rect(6, 3, 1, 3))))
            << distant;
        const Dib above(tx_getRectSubPix(*test::dibOf(image), 3, 3, 3, -distant));
        ASSERT_NE(above, nullptr) << distant;
        EXPECT_THAT(test::matOf(*above).row(0), IsIdenticalTo(image(cv::Rect(2, 0, 3, 1))))
            << distant;
    }
    const Dib nowhere(tx_getRectSubPix(*test::dibOf(image), 3, 3, std::nanf(""), 4));
    EXPECT_EQ(nowhere, nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
}

// A far centre keeps its fraction: OpenCV's rounding depends on it.
TEST_F(GetRectSubPix, EqualsTheBareCallAroundEveryCentreThatOpenCvTakes) {
    std::mt19937 random(20); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const auto below = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    int different = 0;
    for (int i = 0; i < 40000; ++i) {
        const cv::Mat image = test::noise(1 + below(20), 1 + below(20), i % 2 ? CV_8UC1 : CV_8UC3);
        const cv::Size size(1 + below(24), 1 + below(24));
        const auto coordinate = [&] {
            const float reach = std::ldexp(1.0F, below(30)); // up to 2^29
            return std::uniform_real_distribution<float>(-reach, reach)(random);
        };
        const cv::Point2f centre(coordinate(), coordinate());
        cv::Mat expected;
        cv::getRectSubPix(image, size, centre, expected, -1);
        const Dib dib(
            tx_getRectSubPix(*test::dibOf(image), size.width, size.height, centre.x, centre.y));
        ASSERT_NE(dib, nullptr);
        testing::StringMatchResultListener how;
        if (!testing::ExplainMatchResult(IsIdenticalTo(expected), *dib, &how) && ++different < 5) {
            ADD_FAILURE() << image.size() << ", patch " << size << " around " << centre << ", "
                          << how.str();
        }
    }
    EXPECT_EQ(different, 0);
}

// Rows so long that OpenCV would count their bytes beyond the range of int.
TEST_F(GetRectSubPix, SizesThatNoBitmapCanHaveGiveNullSilently) {
    const Dib source = test::makeDib(8, 8, 24);
    EXPECT_EQ(tx_getRectSubPix(*source, INT_MAX, 1, 4, 4), nullptr);
    EXPECT_EQ(tx_getRectSubPix(*source, 89'478'485, 1, 4, 4), nullptr);
    EXPECT_EQ(tx_getRectSubPix(*source, 1, INT_MAX, 4, 4), nullptr);
    EXPECT_EQ(tx_getRectSubPix(*test::makeDib(8, 8, 8), INT_MAX, 1, 4, 4), nullptr);
    EXPECT_TRUE(host.messages.empty());
    // What gives a message gives it whatever the size.
    EXPECT_EQ(tx_getRectSubPix(*test::makeDib(8, 8, 32), INT_MAX, 1, 4, 4), nullptr);
    EXPECT_EQ(tx_getRectSubPix(*source, INT_MAX, 1, std::nanf(""), 4), nullptr);
    EXPECT_EQ(host.messages.size(), 2U);
}

TEST_F(GetRectSubPix, WidthOrHeightZeroGivesNullSilently) {
    const Dib source = test::makeDib(8, 8, 24);
    EXPECT_EQ(tx_getRectSubPix(*source, 0, 5, 4, 4), nullptr);
    EXPECT_EQ(tx_getRectSubPix(*source, 5, 0, 4, 4), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(GetRectSubPix, UnsupportedDepthEndsInOpenCvsMessage) {
    CDib never;
    EXPECT_EQ(tx_getRectSubPix(never, 5, 5, 4, 4), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(tx_getRectSubPix(*test::makeDib(8, 8, 32), 5, 5, 4, 4), nullptr);
    EXPECT_EQ(host.messages.size(), 2U);
}

TEST_F(GetRectSubPix, ImpossibleSizesEndInOpenCvsMessage) {
    const Dib source = test::makeDib(8, 8, 24);
    EXPECT_EQ(tx_getRectSubPix(*source, -1, 5, 4, 4), nullptr);
    EXPECT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(tx_getRectSubPix(*source, INT_MAX, INT_MAX, 4, 4), nullptr);
    EXPECT_EQ(host.messages.size(), 2U);
}

TEST_F(GetRectSubPix, RefusedCreateGivesNullSilently) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const Dib source = test::makeDib(8, 8, 24);
    test::failBitmapCreate(1);
    EXPECT_EQ(tx_getRectSubPix(*source, 5, 5, 4, 4), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

} // namespace
