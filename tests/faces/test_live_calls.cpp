// Which windows, waits and connections tx_TrackFace asks for, in which order. The host is a program
// of its own in which OpenCV's windows only print what they are asked.
#include "tests/support/emulated_camera.h"
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/program.h"
#include "tests/support/x_server.h"

#include <gmock/gmock.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/objdetect.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using test::AfterLastFrame;
using test::EmulatedCamera;

namespace fs = std::filesystem;

// A cascade that takes every window of this size for a face.
std::string cascadeOfEverything(int size) {
    const std::string side = std::to_string(size);
    return "<?xml version=\"1.0\"?><opencv_storage><cascade>"
           "<stageType>BOOST</stageType><featureType>LBP</featureType>"
           "<height>" +
           side + "</height><width>" + side +
           "</width>"
           "<stageParams><maxDepth>1</maxDepth><maxWeakCount>1</maxWeakCount></stageParams>"
           "<featureParams><maxCatCount>256</maxCatCount><featSize>1</featSize></featureParams>"
           "<stageNum>1</stageNum><stages><_><maxWeakCount>1</maxWeakCount>"
           "<stageThreshold>0.</stageThreshold><weakClassifiers><_>"
           "<internalNodes>0 -1 0 0 0 0 0 0 0 0 0</internalNodes><leafValues>1. 1.</leafValues>"
           "</_></weakClassifiers></_></stages>"
           "<features><_><rect>0 0 2 2</rect></_></features></cascade></opencv_storage>";
}

class LiveCalls : public testing::Test {
protected:
    test::XServer display;
    test::ScopedEnvironment platform{"QT_QPA_PLATFORM", std::nullopt};
    test::TempFolder folder;
    std::string program = test::copyProgram(TARVIX_LIVE_PROBE, folder.path());

    void putCascade(const std::string& text) const {
        std::ofstream(folder / "lbpcascade_frontalface.xml") << text;
    }

    // What the probe prints for a camera with frames of this size.
    [[nodiscard]] std::string track(const cv::Size& size, std::vector<std::string> words) const {
        const EmulatedCamera camera({cv::Mat(size, CV_8UC3, cv::Scalar(30, 140, 200))},
                                    AfterLastFrame::repeat);
        words.insert(words.begin(), "track");
        const test::ProgramResult run = test::runProgram(program, words);
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out;
    }
};

const std::string opened = "camera 0, back-end 0\n" // CAP_ANY
                           "namedWindow TrackFace 1, displays 1\n";
const std::string plainFrame =
    "imshow TrackFace, displays 0, white [0 x 0 from (0, 0)]\nwaitKey 30\n";
const std::string closed = "destroyWindow TrackFace\n";

// 1 is WINDOW_AUTOSIZE. The window has a connection to the display of its own, so the one that was
// held until it was open is given back.
TEST_F(LiveCalls, OpenShowWaitThirtyMillisecondsAndClose) {
    fs::copy_file(TARVIX_LBP_CASCADES "/lbpcascade_frontalface.xml",
                  folder / "lbpcascade_frontalface.xml");
    EXPECT_EQ(track({48, 40}, {"-1", "-1", "113"}),
              opened + plainFrame + plainFrame + plainFrame + closed + "result 1\n");
}

TEST_F(LiveCalls, AKeyOfCodeZeroEndsIt) {
    fs::copy_file(TARVIX_LBP_CASCADES "/lbpcascade_frontalface.xml",
                  folder / "lbpcascade_frontalface.xml");
    EXPECT_EQ(track({48, 40}, {"0"}), opened + plainFrame + closed + "result 1\n");
}

// Reading a cascade that is cut off throws.
TEST_F(LiveCalls, TheWindowIsOpenBeforeTheCascadeIsRead) {
    putCascade(cascadeOfEverything(9).substr(0, 200));
    EXPECT_THAT(track({48, 40}, {}),
                testing::MatchesRegex(opened + "message OpenCV[^\n]*parse[^\n]*\n" + closed +
                                      "result 0\n"));
}

// Compared with OpenCV's own calls, in a frame in which a pixel more or less would be seen.
TEST_F(LiveCalls, TenByTenIsTheSmallestFace) {
    cv::setNumThreads(1); // as the probe does: with more, the order of detections changes
    putCascade(cascadeOfEverything(9));
    cv::Size size(48, 0);
    const auto outlineOf = [&](const cv::Size& smallest) {
        cv::CascadeClassifier classifier(folder / "lbpcascade_frontalface.xml");
        std::vector<cv::Rect> found;
        const cv::Mat grey(size, CV_8UC1, cv::Scalar(255));
        classifier.detectMultiScale(grey, found, 1.1, 2, 0, smallest, {});
        cv::Rect largest;
        for (const cv::Rect& face : found) {
            largest = face.area() > largest.area() ? face : largest;
        }
        std::ostringstream words;
        words << (cv::Rect(largest.tl(), largest.br() + cv::Point(1, 1)) & cv::Rect({}, size));
        return words.str();
    };
    std::string outline;
    for (size.height = 11; size.height < 40; ++size.height) {
        outline = outlineOf({10, 10});
        if (outline != outlineOf({11, 10}) && outline != outlineOf({10, 11}) &&
            outline != outlineOf({9, 9})) {
            break;
        }
    }
    ASSERT_LT(size.height, 40) << "no frame shows the smallest size";
    EXPECT_EQ(track(size, {"0"}), opened + "imshow TrackFace, displays 0, white " + outline +
                                      "\nwaitKey 30\n" + closed + "result 1\n");
}

void expectCamera(const std::string& result) {
    const test::ProgramResult run = test::runProgram(TARVIX_LIVE_PROBE, {"camera"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "camera 0, back-end 0\nresult " + result + "\n");
}

TEST(HasCamera, IsWhetherTheFirstOneOpens) {
    {
        const EmulatedCamera camera({cv::Mat(40, 48, CV_8UC3, cv::Scalar())},
                                    AfterLastFrame::repeat);
        expectCamera("1");
    }
    const EmulatedCamera none;
    expectCamera("0");
}

} // namespace
