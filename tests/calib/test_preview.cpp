// Previews in a window of a real X server: its pixels are read back and compared with the image
// that should be there.
#include "bridge/preview.h"
#include "calib/calibrate.h"
#include "calib/preview.h"
#include "calib/stereo_calibrate.h"
#include "tests/calib/views.h"
#include "tests/support/export_test.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/lists.h"
#include "tests/support/observed_bitmaps.h"
#include "tests/support/x_server.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using test::XWindow;

// The window's content when `image` lies at its top left.
cv::Mat expectedPixels(cv::Size window, const cv::Mat& image) {
    cv::Mat pixels(window, CV_8UC3, cv::Scalar(XWindow::background));
    const cv::Rect shown(0, 0, std::min(window.width, image.cols),
                         std::min(window.height, image.rows));
    image(shown).copyTo(pixels(shown));
    return pixels;
}

// The view as it is to be shown, spelled out; `halfWindow` 0 leaves the corners as found.
cv::Mat expectedView(const std::string& file, cv::Size window, int halfWindow) {
    const cv::Mat grey = cv::imread(file, 0);
    std::vector<cv::Point2f> corners;
    cv::findChessboardCorners(grey, test::boardPattern, corners, 3);
    if (halfWindow != 0) {
        cv::cornerSubPix(grey, corners, {halfWindow, halfWindow}, {-1, -1}, {3, 30, 0.01});
    }
    cv::Mat colour = cv::imread(file, 1);
    cv::drawChessboardCorners(colour, test::boardPattern, corners, true);
    const double s = std::min(static_cast<double>(window.width) / grey.cols,
                              static_cast<double>(window.height) / grey.rows);
    if (s > 1) {
        return colour;
    }
    cv::Mat reduced;
    cv::resize(colour, reduced, cv::Size(), s, s, cv::INTER_AREA);
    return reduced;
}

class Preview : public test::ExportTest {
protected:
    test::XServer server;
    test::TempFolder folder;
    CStringArray files;

    int calibrate(const std::vector<std::string>& names, HWND window) {
        test::fill(files, names);
        return tx_Calib(files, folder.path().c_str(), 9, 6, window);
    }
};

TEST_F(Preview, TheLastViewIsInTheWindowShrunkToFitAndNeverEnlarged) {
    const auto photos = test::leftPhotos(3);
    for (const cv::Size& size : {cv::Size(320, 240), cv::Size(400, 200), cv::Size(150, 400),
                                 cv::Size(640, 480), cv::Size(900, 700), cv::Size(900, 300)}) {
        const XWindow window(size.width, size.height);
        ASSERT_EQ(calibrate(photos, window.handle()), 1) << size;
        const cv::Mat view = expectedView(photos.back(), size, 0);
        EXPECT_LE(view.cols, std::min(size.width, 640));
        EXPECT_LE(view.rows, std::min(size.height, 480));
        EXPECT_THAT(window.pixels(), test::IsIdenticalTo(expectedPixels(size, view))) << size;
    }
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Preview, CornersAreColoured) {
    const auto photos = test::leftPhotos(1);
    const XWindow window(640, 480);
    calibrate(photos, window.handle()); // one view may be too few; it is shown all the same
    cv::Mat hsv, coloured;
    cv::cvtColor(window.pixels(), hsv, cv::COLOR_BGR2HSV);
    cv::inRange(hsv, cv::Scalar(0, 200, 150), cv::Scalar(180, 255, 255), coloured);
    EXPECT_GT(cv::countNonZero(coloured), 1000); // the photograph itself is grey
}

TEST_F(Preview, ViewsBeforeTheOneWithoutABoardAreShown) {
    auto photos = test::leftPhotos(2);
    photos.push_back(test::photoPath("home.jpg"));
    const XWindow window(640, 480);
    EXPECT_EQ(calibrate(photos, window.handle()), 0);
    EXPECT_THAT(window.pixels(), test::IsIdenticalTo(expectedPixels(
                                     {640, 480}, expectedView(photos[1], {640, 480}, 0))));
}

TEST_F(Preview, StereoShowsTheLeftViewWithItsRefinedCorners) {
    // The single-camera calibration shows them before their refinement.
    const auto photos = test::pairPhotos(2);
    test::fill(files, photos);
    const XWindow window(500, 500);
    ASSERT_EQ(tx_StereoCalib(files, folder.path().c_str(), 9, 6, 1, window.handle()), 1);
    EXPECT_THAT(window.pixels(), test::IsIdenticalTo(expectedPixels(
                                     {500, 500}, expectedView(photos[2], {500, 500}, 11))));
}

TEST_F(Preview, WithAndWithoutAWindowTheFilesAreTheSame) {
    const auto photos = test::leftPhotos(3);
    const XWindow window(320, 240);
    ASSERT_EQ(calibrate(photos, window.handle()), 1);
    const std::string with = test::bytesOf(folder / "cam.xml");
    ASSERT_EQ(calibrate(photos, nullptr), 1);
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), with);
}

TEST_F(Preview, AWindowThatIsGoneIsNoFailure) {
    XWindow window(320, 240);
    const HWND handle = window.handle();
    window.destroy();
    EXPECT_EQ(calibrate(test::leftPhotos(3), handle), 1);
    server.kill();
    EXPECT_EQ(calibrate(test::leftPhotos(3), handle), 1);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Preview, AWindowClosedHalfWayIsNoFailure) {
    const auto photos = test::leftPhotos(4);
    XWindow window(320, 240);
    const HWND handle = window.handle();
    int shown = 0;
    int drawn = 0;
    const auto camera = tarvix::calibrateCamera(
        tarvix::viewList(photos), test::boardPattern,
        [&](const std::string& file, const tarvix::BoardCorners& corners, cv::Size size) {
            if (++shown == 3) {
                window.destroy();
            }
            const std::optional<cv::Size> client = tarvix::clientSize(handle);
            drawn += client ? 1 : 0;
            const cv::Mat view = tarvix::previewImage(cv::imread(file), test::boardPattern, corners,
                                                      size, client.value_or(cv::Size(320, 240)));
            tarvix::drawInto(handle, view);
        });
    EXPECT_EQ(shown, 4);
    EXPECT_EQ(drawn, 2);
    ASSERT_TRUE(camera);
    EXPECT_EQ(camera->cameraMatrix.size(), cv::Size(3, 3));
}

TEST_F(Preview, ABitmapThatCannotBeMadeIsNoFailure) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    const XWindow window(320, 240);
    test::failBitmapCreate(3);
    ASSERT_EQ(calibrate(test::leftPhotos(3), window.handle()), 1);
    // The third view is missing, the second stands.
    EXPECT_THAT(window.pixels(),
                test::IsIdenticalTo(expectedPixels(
                    {320, 240}, expectedView(test::leftPhotos(3)[1], {320, 240}, 0))));
}

} // namespace
