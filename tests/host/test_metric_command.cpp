// stereo-calib --metric on OpenCV's photographs, measured through the module's exports.
#include "assist/metric_stereo.h"
#include "tests/calib/views.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace {

using nlohmann::json;
using test::boardPattern;
using test::ProgramResult;
using test::tarvix;
using testing::HasSubstr;
using testing::Not;

constexpr double square = 25; // millimetres

std::vector<std::string> words(const std::vector<std::string>& files,
                               const std::vector<std::string>& more) {
    std::vector<std::string> all{"stereo-calib"};
    all.insert(all.end(), files.begin(), files.end());
    all.insert(all.end(), {"--board", "9x6", "--square", "25"});
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

// The board's corners in a photograph that the module has rectified.
std::vector<cv::Point2f> cornersIn(const std::string& photo, const std::string& set, int camera) {
    const test::Dib dib = test::dibOf(cv::imread(photo, cv::IMREAD_GRAYSCALE));
    const test::Dib rectified(tx_UseStereoCalib(*dib, set.c_str(), camera));
    if (rectified == nullptr) {
        return {};
    }
    const auto board = tarvix::searchBoard(test::matOf(*rectified), boardPattern, {});
    return board ? board->corners : std::vector<cv::Point2f>{};
}

TEST(MetricCommand, TheExportsMeasureASquareWithinOnePercent) {
    const test::TempFolder folder;
    const std::string set = folder / "set";
    const auto photos = test::pairPhotos(13);
    const ProgramResult run = tarvix(words(photos, {"--metric", "-o", set, "--json"}));
    ASSERT_EQ(run.status, 0) << run.err;
    tx_Meas3D meas;
    ASSERT_EQ(meas.Init(set.c_str()), 1);
    std::vector<double> rows;
    std::vector<double> lengths;
    for (std::size_t pair = 0; pair < photos.size(); pair += 2) {
        const auto left = cornersIn(photos[pair], set, 1);
        const auto right = cornersIn(photos[pair + 1], set, 2);
        if (left.empty() || right.empty()) {
            continue; // rectification may cut a board at the edge
        }
        std::vector<cv::Point3d> space;
        for (std::size_t i = 0; i < left.size(); ++i) {
            rows.push_back(std::abs(double{left[i].y} - double{right[i].y}));
            FPoint2D one{left[i].x, left[i].y};
            FPoint2D two{right[i].x, right[i].y};
            FPoint3D point{};
            ASSERT_EQ(meas.CalcXYZ(one, two, point), 1);
            EXPECT_GT(point.z, 0);
            space.emplace_back(point.x, point.y, point.z);
        }
        for (std::size_t i = 0; i + 1 < space.size(); ++i) {
            if ((i + 1) % 9 != 0) {
                lengths.push_back(cv::norm(space[i + 1] - space[i]));
            }
        }
    }
    ASSERT_GT(rows.size(), 10U * 54);
    std::sort(rows.begin(), rows.end());
    std::sort(lengths.begin(), lengths.end());
    RecordProperty("rows", std::to_string(tarvix::quantile(rows, 0.5)));
    EXPECT_LT(tarvix::quantile(rows, 0.5), 0.15);
    EXPECT_GT(tarvix::quantile(lengths, 0.1), square * 0.99);
    EXPECT_LT(tarvix::quantile(lengths, 0.9), square * 1.01);

    const json data = json::parse(run.out);
    EXPECT_LT(data.at("rowError").at("median").get<double>(), 0.15);
    EXPECT_GT(data.at("square").at("p10").get<double>(), square * 0.99);
    EXPECT_LT(data.at("square").at("p90").get<double>(), square * 1.01);
    EXPECT_EQ(data.at("metric"), true);
    EXPECT_THAT(run.err, Not(HasSubstr("not metric")));
    EXPECT_NEAR(data.at("baseline").get<double>(), 83.2, 0.5);
    EXPECT_EQ(test::namesIn(set),
              (std::set<std::string>{"D1.xml", "D2.xml", "M1.xml", "M2.xml", "P1.xml", "P2.xml",
                                     "Q.xml", "R1.xml", "R2.xml"}));
    EXPECT_EQ(test::stored(set + "/M2.xml", "MM2").type(), CV_64FC1);
    const ProgramResult measured =
        tarvix({"measure", "--calib", set, "--p1", "300,200", "--p2", "280,200", "--unit", "mm"});
    EXPECT_EQ(measured.status, 0) << measured.err;
    EXPECT_THAT(measured.out, HasSubstr(" mm\n"));
    EXPECT_EQ(measured.err, "");
}

TEST(MetricCommand, MillimetresThatAreNoneAreRefused) {
    const test::TempFolder folder;
    const std::string set = folder / "set";
    const ProgramResult run = tarvix(words(test::pairPhotos(2), {"-o", set}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("not metric"));
    EXPECT_THAT(run.out, HasSubstr("not metric"));
    const std::vector<std::string> measure = {"measure", "--calib", set,      "--p1",
                                              "300,200", "--p2",    "280,200"};
    const ProgramResult plain = tarvix(measure);
    EXPECT_EQ(plain.status, 0);
    EXPECT_THAT(plain.err, HasSubstr("tarvix: not metric: "));
    std::vector<std::string> withUnit = measure;
    withUnit.insert(withUnit.end(), {"--unit", "mm"});
    test::expectOneLine(tarvix(withUnit), 1);
    std::filesystem::remove(set + "/M1.xml"); // nobody knows then
    test::expectOneLine(tarvix(withUnit), 1);
    EXPECT_THAT(tarvix(measure).err, HasSubstr("not known to be metric"));
}

TEST(MetricCommand, AWholeFolderOfPhotographsNamesWhatItLeavesOut) {
    const test::TempFolder folder;
    const std::string photos =
        std::filesystem::path(test::photoPath("left01.jpg")).parent_path().string();
    const ProgramResult run = tarvix(words({photos}, {"--metric", "-o", folder / "set", "--json"}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("left.jpg': no board of 9 x 6 inner corners"));
    EXPECT_THAT(run.err, HasSubstr("home.jpg"));
    const json data = json::parse(run.out);
    EXPECT_EQ(data.at("pairs").size(), 13U);
    EXPECT_LT(data.at("rowError").at("median").get<double>(), 0.15);
}

TEST(MetricCommand, APairThatDoesNotBelongTogetherIsNamedAndDroppedWhenAsked) {
    const test::TempFolder folder;
    auto photos = test::pairPhotos(8);
    std::swap(photos[5], photos[7]); // the third and the fourth pair's right ones
    const ProgramResult run = tarvix(words(photos, {"--metric", "-o", folder / "set"}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("left03.jpg' and '"));
    EXPECT_THAT(run.err, HasSubstr("do not match: were they taken together?"));
    EXPECT_THAT(run.out, HasSubstr("mind: the corners are met to "));
    EXPECT_THAT(run.out, testing::AnyOf(HasSubstr("worst pair is '" + photos[4] + "'"),
                                        HasSubstr("worst pair is '" + photos[6] + "'")));
    EXPECT_THAT(run.out, HasSubstr("mind: squares of 25 measure "));
    test::expectOneLine(tarvix(words(photos, {"--metric", "-o", folder / "new", "--strict"})), 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "new"));
    const ProgramResult dropped =
        tarvix(words(photos, {"--metric", "-o", folder / "set", "--drop-worst", "2", "--json"}));
    ASSERT_EQ(dropped.status, 0) << dropped.err;
    const json data = json::parse(dropped.out);
    EXPECT_EQ(data.at("pairs").size(), 6U);
    EXPECT_LT(data.at("rowError").at("median").get<double>(), 0.2);
    EXPECT_THAT(dropped.out, Not(HasSubstr("the corners are met to")));
}

TEST(MetricCommand, NeedsTheEdgeOfASquare) {
    const test::TempFolder folder;
    std::vector<std::string> all{"stereo-calib"};
    const auto photos = test::pairPhotos(1);
    all.insert(all.end(), photos.begin(), photos.end());
    all.insert(all.end(), {"--board", "9x6", "--metric", "-o", folder / "set"});
    const ProgramResult run = tarvix(all);
    test::expectOneLine(run, 2);
    EXPECT_THAT(run.err, HasSubstr("--metric requires --square"));
    all.insert(all.end(), {"--square", "1e30"});
    test::expectOneLine(tarvix(all), 2);
}

TEST(MetricCommand, RefineSaysWhichNumbersAreOfBefore) {
    const test::TempFolder folder;
    const ProgramResult run =
        tarvix(words(test::pairPhotos(6), {"--metric", "--refine", "-o", folder / "set"}));
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("as it was before --refine"));
}

TEST(MetricCommand, FoldersOfLeftAndRightAreTakenByName) {
    const test::TempFolder folder;
    namespace fs = std::filesystem;
    const auto photos = test::pairPhotos(3);
    for (std::size_t i = 0; i < photos.size(); ++i) {
        const fs::path side = folder / (i % 2 == 0 ? "left" : "right");
        fs::create_directories(side);
        fs::copy_file(photos[i], side / (std::to_string(i / 2) + ".jpg"));
    }
    const ProgramResult direct = tarvix(words(photos, {"-o", folder / "set", "--json"}));
    ASSERT_EQ(direct.status, 0) << direct.err;
    const std::string left = folder / "left";
    const std::string right = folder / "right";
    for (const std::vector<std::string>& named :
         {std::vector<std::string>{left, right}, {"--left", left, "--right", right}}) {
        const ProgramResult run = tarvix(words(named, {"-o", folder / "set", "--json"}));
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_EQ(json::parse(run.out).at("Q"), json::parse(direct.out).at("Q"));
    }
    fs::remove(fs::path(right) / "2.jpg");
    const ProgramResult fewer = tarvix(words({left, right}, {"-o", folder / "set"}));
    test::expectOneLine(fewer, 2);
    EXPECT_THAT(fewer.err, HasSubstr("there are 3 left photographs, but 2 right ones"));
}

TEST(MetricCommand, MeasureDoubtsPointsThatCannotBeOne) {
    const test::TempFolder folder;
    const std::string set = folder / "set";
    ASSERT_EQ(tarvix(words(test::pairPhotos(6), {"--metric", "-o", set})).status, 0);
    const auto said = [&](const char* p1, const char* p2) {
        return tarvix({"measure", "--calib", set, "--p1", p1, "--p2", p2}).err;
    };
    EXPECT_EQ(said("300,200", "280,203"), "");
    EXPECT_THAT(said("300,200", "280,300"), HasSubstr("100.0 pixels apart"));
    EXPECT_THAT(said("300,200", "300,200"), HasSubstr("at infinity"));
}

} // namespace
