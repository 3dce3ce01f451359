// The gallery's page: what it shows, and what it says when something fails.
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>

#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using test::expectOneLine;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;

// The page without the bytes of its images, which no message should show.
std::string withoutImages(std::string html) {
    for (std::size_t at = 0; (at = html.find(";base64,", at)) != std::string::npos;) {
        at += 8;
        html.erase(at, html.find('"', at) - at);
    }
    return html;
}

// Between the two points "x y z mm" that the page shows.
double measuredLength(const std::string& html) {
    std::istringstream numbers(
        html.substr(html.find("<pre class=numbers>", html.find("A length measured</h2>")) + 19));
    std::array<cv::Vec3d, 2> points{};
    std::string unit;
    for (cv::Vec3d& p : points) {
        numbers >> p[0] >> p[1] >> p[2] >> unit;
    }
    EXPECT_EQ(unit, "mm");
    return cv::norm(points[0], points[1]);
}

class Gallery : public testing::Test {
protected:
    test::TempFolder folder;

    [[nodiscard]] std::string page() const {
        std::ifstream file(folder / "gallery/index.html");
        return withoutImages({std::istreambuf_iterator<char>(file), {}});
    }
};

TEST_F(Gallery, ShowsEveryEntry) {
    const ProgramResult run = tarvix({"gallery", folder / "gallery", "--photos", TARVIX_PHOTOS});
    EXPECT_EQ(run.status, 0) << run.err << run.out;
    EXPECT_THAT(run.out, HasSubstr("] Straight lines ... ")) << "what it is doing";
    const std::string html = page();
    EXPECT_THAT(html, HasSubstr("data:image/jpeg;base64,"));
    EXPECT_THAT(html, testing::Not(HasSubstr("<b>failed</b>")));
    EXPECT_THAT(html, HasSubstr("tarvix canny photos/home.jpg <span>-o</span> results/canny.png"));
    EXPECT_THAT(html, testing::Not(HasSubstr(folder / "gallery")));
    EXPECT_THAT(html, HasSubstr("Distance to the true image: 22.5 dB before, 26."));
    EXPECT_THAT(html, HasSubstr("pitch -3.95"));
    EXPECT_THAT(html, HasSubstr("cross-validation")) << "what the calibration found";
    EXPECT_THAT(html, testing::Not(HasSubstr("[1/13]"))) << "what it did on the way";
    EXPECT_THAT(html, HasSubstr("href=\"results/calibration.html\""));
    EXPECT_THAT(html, HasSubstr("href=\"results/stereo.html\""));
    EXPECT_NEAR(measuredLength(html), 200, 1) << "mm, eight squares of 25";
    // So are the pages of its calibrations.
    for (const char* report : {"calibration.html", "stereo.html"}) {
        const std::string text =
            withoutImages(test::bytesOf(folder / ("gallery/results/" + std::string(report))));
        EXPECT_THAT(text, HasSubstr("photos/left01.jpg"));
        EXPECT_THAT(text, testing::Not(HasSubstr(folder / "gallery")));
    }
    // Everything that it links is there.
    const std::string link = "href=\"";
    int links = 0;
    for (std::size_t at = 0; (at = html.find(link, at)) != std::string::npos;) {
        at += link.size();
        const std::string name = html.substr(at, html.find('"', at) - at);
        if (name.front() != '#') {
            ++links;
            EXPECT_TRUE(std::filesystem::exists(folder / ("gallery/" + name))) << name;
        }
    }
    EXPECT_GT(links, 40);
}

TEST_F(Gallery, KeepsItsHandsOffThePhotographs) {
    std::filesystem::create_directories(folder / "gallery/photos");
    std::filesystem::copy_file(test::photoPath("home.jpg"), folder / "gallery/photos/home.jpg");
    expectOneLine(tarvix({"gallery", folder / "gallery", "--photos", folder / "gallery/photos"}),
                  1);
    EXPECT_FALSE(std::filesystem::exists(folder / "gallery/results"));
}

TEST_F(Gallery, ShowsWhatFailed) {
    std::filesystem::create_directories(folder / "photos");
    std::filesystem::copy_file(test::photoPath("messi5.jpg"), folder / "photos/messi5.jpg");
    // An earlier run left the image that the convergence should make.
    std::filesystem::create_directories(folder / "gallery/results");
    cv::imwrite(folder / "gallery/results/facade-marked.png", test::photo("home.jpg"));
    const ProgramResult run =
        tarvix({"gallery", folder / "gallery", "--photos", folder / "photos"});
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.err, HasSubstr(" of the gallery's operations failed\n"));
    const std::string html = page();
    EXPECT_THAT(html, HasSubstr("<b>failed</b>"));
    EXPECT_THAT(html, HasSubstr("before: <a href=\"photos/messi5.jpg\">"));
    EXPECT_THAT(html, HasSubstr("after: <a href=\"results/patch.png\">"));
    EXPECT_THAT(html, HasSubstr("no such file: 'photos/building.jpg'"));
    EXPECT_THAT(html, testing::Not(HasSubstr(">facade-marked.png<")));
    EXPECT_THAT(html, HasSubstr("</html>"));
}

TEST_F(Gallery, WithoutPhotographsSaysSo) {
    expectOneLine(tarvix({"gallery", folder / "gallery", "--photos", folder / "none"}), 1);
}

} // namespace
