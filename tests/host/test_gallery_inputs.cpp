// The gallery's synthetic inputs are what its page says of them.
#include "host/gallery_inputs.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

namespace {

using namespace host;

TEST(GalleryInputs, GrainHasTheDeviationAndIsTheSameEachTime) {
    const cv::Mat flat(200, 200, CV_8UC3, cv::Scalar::all(128));
    const cv::Mat grainy = withGrain(flat, 20.0);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(grainy, mean, deviation);
    for (int channel = 0; channel < 3; ++channel) {
        EXPECT_NEAR(mean[channel], 128.0, 0.5);
        EXPECT_NEAR(deviation[channel], 20.0, 0.4);
    }
    EXPECT_EQ(cv::norm(grainy, withGrain(flat, 20.0), cv::NORM_INF), 0.0);
}

TEST(GalleryInputs, AViewThatIsNotTurnedIsTheMiddleOfTheImage) {
    const cv::Mat image = test::photo("building.jpg");
    const cv::Mat view = turnedView(image, 0.0, 800.0, {440, 460}, 1.0);
    const cv::Mat middle =
        image(cv::Rect((image.cols - 440) / 2, (image.rows - 460) / 2, 440, 460));
    EXPECT_LE(cv::norm(view, middle, cv::NORM_INF), 1.0);
}

TEST(GalleryInputs, AViewTurnedToTheRightShowsWhatIsRightOfTheMiddle) {
    cv::Mat image(600, 868, CV_8UC3, cv::Scalar::all(0));
    const double distance = 800.0 * std::tan(13.0 * CV_PI / 180.0); // the new axis meets it here
    image.at<cv::Vec3b>(300, static_cast<int>(433.5 + distance)) = {255, 255, 255};
    const cv::Mat view = turnedView(image, 13.0, 800.0, {440, 460}, 1.0);
    cv::Mat gray;
    cv::extractChannel(view, gray, 0);
    cv::Point brightest;
    cv::minMaxLoc(gray, nullptr, nullptr, nullptr, &brightest);
    EXPECT_NEAR(brightest.x, 219.5, 1.5);
    EXPECT_NEAR(brightest.y, 230.0, 1.5);
}

TEST(GalleryInputs, DecibelsAreThoseOfTheirDefinition) {
    const cv::Mat truth(10, 10, CV_8UC3, cv::Scalar::all(100));
    const cv::Mat off(10, 10, CV_8UC3, cv::Scalar::all(110));
    EXPECT_NEAR(decibels(off, truth), 20.0 * std::log10(255.0 / 10.0), 1e-6);
}

} // namespace
