// The whole of tx_TrackFace: an emulated camera, a window on a display of the test's own, keys
// pressed in it. The host is a separate program, so what ends it does not end a test.
#include "tests/support/emulated_camera.h"
#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/program.h"
#include "tests/support/x_server.h"

#include <gmock/gmock.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <thread>

namespace {

using test::AfterLastFrame;
using test::EmulatedCamera;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace fs = std::filesystem;

constexpr int limitSeconds = 90;
constexpr std::uint32_t escapeKey = 0xff1b;

// A photograph's face, enlarged.
cv::Mat face(double scale) {
    cv::Mat enlarged;
    cv::resize(test::photo("messi5.jpg")(cv::Rect(205, 75, 80, 80)), enlarged, {}, scale, scale,
               cv::INTER_LINEAR);
    return enlarged;
}

// Two faces before a wall of this grey level.
cv::Mat facesSideBySide(double leftScale, double rightScale, int wall) {
    const cv::Mat left = face(leftScale);
    const cv::Mat right = face(rightScale);
    cv::Mat frame(300, 480, CV_8UC3, cv::Scalar(wall, wall, wall));
    left.copyTo(frame(cv::Rect({20, 30}, left.size())));
    right.copyTo(frame(cv::Rect({250, 60}, right.size())));
    return frame;
}

cv::Mat twoFaces() {
    return facesSideBySide(1.5, 2.25, 120);
}

cv::Mat plainWall() {
    return {300, 480, CV_8UC3, cv::Scalar(30, 140, 200)};
}

std::vector<cv::Rect> detections(const cv::Mat& frame) {
    cv::setNumThreads(1); // the order of detections changes with more; the host does the same
    cv::CascadeClassifier classifier(TARVIX_LBP_CASCADES "/lbpcascade_frontalface.xml");
    cv::Mat grey;
    cv::cvtColor(frame, grey, cv::COLOR_BGR2GRAY);
    cv::equalizeHist(grey, grey);
    std::vector<cv::Rect> found;
    classifier.detectMultiScale(grey, found, 1.1, 2, 0, cv::Size(10, 10), {});
    return found;
}

// The frame with the outline of one face, pixel by pixel.
cv::Mat outlined(const cv::Mat& frame, const cv::Rect& face) {
    cv::Mat result = frame.clone();
    for (int y = face.y; y <= std::min(face.br().y, frame.rows - 1); ++y) {
        for (int x = face.x; x <= std::min(face.br().x, frame.cols - 1); ++x) {
            if (y == face.y || y == face.br().y || x == face.x || x == face.br().x) {
                result.at<cv::Vec3b>(y, x) = {255, 255, 255};
            }
        }
    }
    return result;
}

// Whether the image contains the part somewhere, pixel by pixel.
bool holds(const cv::Mat& image, const cv::Mat& part) {
    const auto isAt = [&](int x, int y) {
        for (int row = 0; row < part.rows; ++row) {
            if (std::memcmp(image.ptr(y + row, x), part.ptr(row),
                            static_cast<std::size_t>(part.cols) * 3) != 0) {
                return false;
            }
        }
        return true;
    };
    for (int y = 0; y + part.rows <= image.rows; ++y) {
        for (int x = 0; x + part.cols <= image.cols; ++x) {
            if (isAt(x, y)) {
                return true;
            }
        }
    }
    return false;
}

bool waitUntilScreenHolds(const cv::Mat& part) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(limitSeconds);
    while (std::chrono::steady_clock::now() < end) {
        if (holds(test::screenImage(), part)) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

test::ProgramResult track(const std::string& program = TARVIX_FACES_PROBE) {
    return test::runProgram(program, {"track"});
}

// The running host. The end of the scope waits until the host ends: at the latest when the camera's
// frames are used up.
class Tracking {
public:
    // An X11 key symbol.
    test::ProgramResult pressKey(std::uint32_t key) {
        EXPECT_TRUE(test::closeWindow("TrackFace", key, limitSeconds)) << key;
        return m_run.get();
    }

private:
    std::future<test::ProgramResult> m_run = std::async(std::launch::async, [] { return track(); });
};

void expectMessage(const test::ProgramResult& run, const std::string& what) {
    EXPECT_EQ(run.status, 0) << "the host is still running: " << run.err;
    EXPECT_THAT(run.out, MatchesRegex("message OpenCV[^\n]*\nresult 0\n"));
    EXPECT_THAT(run.out, HasSubstr(what));
}

void expectSilentOne(const test::ProgramResult& run) {
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out, "result 1\n");
}

TEST(TrackFace, OutlinesOnlyTheLargestFaceUntilAKeyIsPressed) {
    const cv::Mat frame = twoFaces();
    std::vector<cv::Rect> found = detections(frame);
    ASSERT_GE(found.size(), 2U);
    std::stable_sort(found.begin(), found.end(),
                     [](const cv::Rect& a, const cv::Rect& b) { return a.area() > b.area(); });
    ASSERT_GT(found[0].area(), found[1].area());

    const test::XServer display;
    const EmulatedCamera camera({frame}, AfterLastFrame::repeat);
    Tracking tracking;
    EXPECT_TRUE(waitUntilScreenHolds(outlined(frame, found[0])));
    expectSilentOne(tracking.pressKey(escapeKey));
}

TEST(TrackFace, OutlinesTheFirstReportedOfEqualFaces) {
    // Which sizes the classifier gives to equal faces depends on the wall.
    cv::Mat frame;
    std::vector<cv::Rect> found;
    for (int wall = 0; wall < 256; wall += 5) {
        frame = facesSideBySide(1.5, 1.5, wall);
        found = detections(frame);
        if (found.size() == 2 && found[0].area() == found[1].area()) {
            break;
        }
    }
    ASSERT_EQ(found.size(), 2U);
    ASSERT_EQ(found[0].area(), found[1].area());

    const test::XServer display;
    const EmulatedCamera camera({frame}, AfterLastFrame::repeat);
    Tracking tracking;
    EXPECT_TRUE(waitUntilScreenHolds(outlined(frame, found[0])));
    expectSilentOne(tracking.pressKey('q'));
}

TEST(TrackFace, ShowsAPlainFrameUnchangedAfterAFace) {
    const cv::Mat wall = plainWall();
    ASSERT_TRUE(detections(wall).empty());
    const test::XServer display;
    const EmulatedCamera camera({twoFaces(), wall}, AfterLastFrame::repeat);
    Tracking tracking;
    EXPECT_TRUE(waitUntilScreenHolds(wall));
    expectSilentOne(tracking.pressKey(' '));
}

TEST(TrackFace, WithoutACameraReturnsOneSilently) {
    const EmulatedCamera none;
    {
        const test::XServer display;
        expectSilentOne(track());
    }
    // The camera comes first: it does not matter that there is no display either.
    const test::ScopedEnvironment noDisplay("DISPLAY", std::nullopt);
    expectSilentOne(track());
}

TEST(TrackFace, ACameraThatStopsEndsWithAMessage) {
    const test::XServer display;
    const EmulatedCamera camera({plainWall(), plainWall()}, AfterLastFrame::stop);
    expectMessage(track(), "!_src.empty()");
}

TEST(TrackFace, ACameraThatNeverDeliversEndsWithAMessage) {
    const test::XServer display;
    const EmulatedCamera camera({plainWall()}, AfterLastFrame::never);
    expectMessage(track(), "!_src.empty()");
}

TEST(TrackFace, WithoutADisplayEndsWithAMessageAndTheHostLives) {
    const EmulatedCamera camera({twoFaces()}, AfterLastFrame::repeat);
    const test::ScopedEnvironment platform("QT_QPA_PLATFORM", std::nullopt);
    const test::ScopedEnvironment session("XDG_SESSION_TYPE", std::nullopt);
    for (const auto& display : test::noDisplays()) {
        SCOPED_TRACE(display.value_or("unset"));
        const test::ScopedEnvironment variable("DISPLAY", display);
        expectMessage(track(), "no display");
    }
}

// Between a connection that only asks and the window's own there would be nobody.
TEST(TrackFace, HoldsTheDisplayUntilItsWindowIsOpen) {
    for (int run = 0; run < 5; ++run) {
        const test::XServer display(24, test::XServer::AfterLastClient::end);
        const EmulatedCamera camera({plainWall()}, AfterLastFrame::stop);
        expectMessage(track(), "!_src.empty()");
    }
}

// A host that lives on has its window closed and its camera free, and can call again.
TEST(TrackFace, LeavesNoWindowAndNoCameraToAHostThatLivesOn) {
    const test::XServer display;
    const EmulatedCamera camera({plainWall(), plainWall()}, AfterLastFrame::stop);
    const test::TempFolder folder;
    fs::create_directory(folder / "host");
    const std::string lives = folder / "host/lives";
    auto run = std::async(std::launch::async, [&] {
        return test::runProgram(TARVIX_FACES_PROBE, {"linger", lives});
    });
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(limitSeconds);
    const auto waitFor = [&](const std::function<bool()>& what) {
        while (!what() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return what();
    };
    EXPECT_TRUE(waitFor([&] { return fs::exists(lives); }));
    EXPECT_TRUE(waitFor([] { return !test::waitForWindow("TrackFace", 0); }));
    fs::rename(folder / "host", folder / "gone"); // a host that is late cannot make the file either
    const test::ProgramResult result = run.get();
    EXPECT_EQ(result.status, 0) << result.err;
    const std::string call = "message OpenCV[^\n]*\nresult 0, cameras in use 0\n";
    EXPECT_THAT(result.out, MatchesRegex(call + call));
}

// Otherwise they are GTK's, as in Debian 11: the choice of Qt's platform does not move them.
bool windowsAreQts() {
    const std::string build = cv::getBuildInformation();
    const std::size_t line = build.find(" QT:");
    return line != std::string::npos &&
           build.substr(line, build.find('\n', line) - line).find("YES") != std::string::npos;
}

TEST(TrackFace, ShowsItsWindowUnderWayland) {
    if (!windowsAreQts()) {
        GTEST_SKIP() << "OpenCV's windows under Wayland: they are not Qt's";
    }
    const EmulatedCamera camera({plainWall()}, AfterLastFrame::stop);
    const test::WaylandServer server;
    const test::ScopedEnvironment display("DISPLAY", std::nullopt);
    const test::ScopedEnvironment session("XDG_SESSION_TYPE", std::nullopt);
    for (const char* platform : {"wayland", "Wayland:x=1", "xcb;wayland"}) {
        SCOPED_TRACE(platform);
        const test::ScopedEnvironment variable("QT_QPA_PLATFORM", platform);
        expectMessage(track(), "!_src.empty()");
    }
    const test::ScopedEnvironment platform("QT_QPA_PLATFORM", std::nullopt);
    expectMessage(track(), "no display"); // Qt would try X11 alone
    const test::ScopedEnvironment waylandSession("XDG_SESSION_TYPE", "wayland");
    expectMessage(track(), "!_src.empty()");
}

TEST(TrackFace, UnderWaylandWithoutACompositorEndsWithAMessage) {
    const EmulatedCamera camera({plainWall()}, AfterLastFrame::stop);
    const test::ScopedEnvironment display("DISPLAY", std::nullopt);
    const test::ScopedEnvironment platform("QT_QPA_PLATFORM", "wayland");
    const test::TempFolder folder;
    const test::ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.path());
    const test::ScopedEnvironment name("WAYLAND_DISPLAY", std::nullopt);
    expectMessage(track(), "no display");
    const test::ScopedEnvironment inherited("WAYLAND_SOCKET", "1000");
    expectMessage(track(), "no display");
}

// A session that is said to be Wayland's, with an X11 server alone.
TEST(TrackFace, FallsBackOnX11InAWaylandSession) {
    const EmulatedCamera camera({plainWall()}, AfterLastFrame::stop);
    const test::XServer display;
    const test::TempFolder folder;
    const test::ScopedEnvironment runtime("XDG_RUNTIME_DIR", folder.path());
    const test::ScopedEnvironment session("XDG_SESSION_TYPE", "wayland");
    const test::ScopedEnvironment platform("QT_QPA_PLATFORM", std::nullopt);
    expectMessage(track(), "!_src.empty()");
}

TEST(TrackFace, FollowsTheChoiceOfTheGuiLibrarysPlatform) {
    if (!windowsAreQts()) {
        GTEST_SKIP() << "the choice of Qt's platform: OpenCV's windows are not Qt's";
    }
    const EmulatedCamera camera({plainWall()}, AfterLastFrame::stop);
    const test::ScopedEnvironment display("DISPLAY", std::nullopt);
    const test::ScopedEnvironment session("XDG_SESSION_TYPE", std::nullopt);
    // Its windows are invisible: it goes on until the camera stops.
    for (const char* platform : {"offscreen", "minimal", "xcb;offscreen", "Offscreen"}) {
        SCOPED_TRACE(platform);
        const test::ScopedEnvironment variable("QT_QPA_PLATFORM", platform);
        expectMessage(track(), "!_src.empty()");
    }
    for (const char* platform : {"", "xcb", "xcb:x=1;eglfs", "no such platform", ";"}) {
        SCOPED_TRACE(platform);
        const test::ScopedEnvironment variable("QT_QPA_PLATFORM", platform);
        expectMessage(track(), "no display");
    }
}

// A path that is cut off would lead to a folder further up.
TEST(TrackFace, ReadsNoCascadeIfTheExecutablesPathIsTooLong) {
    const test::XServer display;
    const test::TempFolder folder;
    const std::string above = folder / std::string(150, 'a');
    const std::string tooLong = above + "/" + std::string(200, 'b');
    fs::create_directories(tooLong);
    const auto expectEnd = [](const std::string& place, const std::string& message) {
        fs::copy_file(TARVIX_LBP_CASCADES "/lbpcascade_frontalface.xml",
                      place + "/lbpcascade_frontalface.xml");
        const EmulatedCamera camera({twoFaces(), twoFaces(), twoFaces()}, AfterLastFrame::stop);
        expectMessage(track(test::copyProgram(TARVIX_FACES_PROBE, place)), message);
    };
    expectEnd(above, "!_src.empty()"); // read: the first frame was searched
    expectEnd(tooLong, "!empty()");
}

// A separate host with the cascade that the test puts beside it.
class TrackingCascade : public testing::Test {
protected:
    test::XServer display;
    EmulatedCamera camera{{twoFaces()}, AfterLastFrame::repeat};
    test::TempFolder folder;
    std::string program = test::copyProgram(TARVIX_FACES_PROBE, folder.path());
    std::string cascade = folder / "lbpcascade_frontalface.xml";
};

TEST_F(TrackingCascade, MissingShowsOpenCvsMessageAboutAnEmptyClassifier) {
    expectMessage(track(program), "!empty()");
}

TEST_F(TrackingCascade, ThatIsBadShowsAMessage) {
    std::ofstream(cascade, std::ios::binary).flush();
    expectMessage(track(program), "");
    std::ofstream(cascade) << "<?xml version=\"1.0\"?>\n<opencv_storage><a>1</a></opencv_storage>";
    expectMessage(track(program), "");
    fs::copy_file(TARVIX_LBP_CASCADES "/lbpcascade_frontalface.xml", cascade,
                  fs::copy_options::overwrite_existing);
    fs::resize_file(cascade, fs::file_size(cascade) / 2);
    expectMessage(track(program), "");
}

} // namespace
