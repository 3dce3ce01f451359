// Where the images of a set are, kept for others, and what all of them show, cut out.
#include "tests/host/registered_set.h"
#include "tests/host/sub_command.h"
#include "tests/support/identical.h"

#include <filesystem>
#include <functional>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::expectOneLine;
using test::inProcess;
using test::IsIdenticalTo;
using test::ProgramResult;
using testing::HasSubstr;

using RegistrationTables = test::RegisteredSet;

TEST_F(RegistrationTables, AreAppliedAgainFromATableByteForByte) {
    const std::vector<std::string> images = {window("a.png", 200, 100), home,
                                             window("b.png", 140, 130)};
    ASSERT_EQ(registered(images, "first-{}.png", {"--save", table}).status, 0);
    const Json saved = Json::parse(test::bytesOf(table));
    EXPECT_EQ(saved.at("tarvix_registration"), 1);
    EXPECT_TRUE(saved.at("images")[1].at("reference_from_image").is_null());
    const ProgramResult again = registered(images, "second-{}.png", {"--apply", table});
    ASSERT_EQ(again.status, 0) << again.err;
    EXPECT_THAT(Json::parse(again.out).at("images")[1].at("reason").get<std::string>(),
                HasSubstr("its place in the table is of an image that was left out"));
    for (const char* end : {"00.png", "02.png"}) {
        EXPECT_FALSE(bytesIn(std::string("first-") + end).empty());
        EXPECT_EQ(bytesIn(std::string("first-") + end), bytesIn(std::string("second-") + end));
    }
    EXPECT_FALSE(fs::exists(folder / "second-01.png"));

    // Of other images, in which nothing could be matched: they move as the first ones did.
    std::vector<std::string> flat;
    for (const char* name : {"f0.png", "f1.png", "f2.png"}) {
        cv::imwrite(folder / name, cv::Mat(cv::imread(images[flat.size()]).size(), CV_8UC3,
                                           cv::Scalar(40, 80, 120)));
        flat.push_back(folder / name);
    }
    ASSERT_EQ(registered(flat, "flat-{}.png", {"--apply", table}).status, 0);
    const cv::Mat moved = cv::imread(folder / "flat-02.png");
    EXPECT_EQ(moved.size(), cv::imread(folder / "first-02.png").size());
    EXPECT_EQ(moved.at<cv::Vec3b>(200, 200), cv::Vec3b(40, 80, 120));
}

TEST_F(RegistrationTables, ATableThatDoesNotFitIsRefused) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    ASSERT_EQ(registered({a, b}, "set", {"--save", table}).status, 0);
    const std::string good = test::bytesOf(table);
    const auto expectRefused = [&](const std::vector<std::string>& images, const std::string& why) {
        const ProgramResult run = registered(images, "applied", {"--apply", table});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr(why));
        EXPECT_FALSE(fs::exists(folder / "applied"));
    };
    expectRefused({a, b, a}, "is for 2 images, not for 3");
    expectRefused({b, a}, "b.png' is image 2 of the table, not image 1; keep the order");
    expectRefused({window("c.png", 150, 100), a}, "a.png' is image 1 of the table, not image 2");
    const ProgramResult smaller =
        registered({a, window("small.png", 140, 130, {300, 300})}, "applied", {"--apply", table});
    expectOneLine(smaller, 1);
    EXPECT_THAT(smaller.err, HasSubstr("small.png' has 300 x 300 pixels, and not 440 x 400"));
    EXPECT_TRUE(test::namesIn(folder / "applied").empty());
    fs::remove_all(folder / "applied");

    const std::vector<std::function<void(Json & table)>> changes = {
        [](Json& t) { t["tarvix_registration"] = 2; },
        [](Json& t) { t["tarvix_registration"] = 1.9; },
        [](Json& t) { t["tarvix_registration"] = true; },
        [](Json& t) { t["canvas_left"] = std::uint64_t{0} - 5; },
        [](Json& t) { t.erase("images"); },
        [](Json& t) { t["images"] = Json::array(); },
        [](Json& t) { t["canvas_width"] = 10; },
        [](Json& t) { t["canvas_width"] = 1e30; },
        [](Json& t) { t["canvas_width"] = t["canvas_height"] = 1 << 20; },
        [](Json& t) { t["canvas_left"] = 5; },
        [](Json& t) { t["canvas_left"] = -1000; },
        [](Json& t) { t["images"][0]["reference_from_image"] = nullptr; },
        [](Json& t) { t["images"][1]["reference_from_image"][0].erase(0); },
        [](Json& t) { t["images"][1]["reference_from_image"] = Json::array(); },
        [](Json& t) {
            t["images"][1]["reference_from_image"][0] = {0, 0, 0};
        },
        [](Json& t) { t["images"][1]["image_width"] = 0; },
        [](Json& t) { t["images"][1]["image_width"] = 100000; },
        [](Json& t) { t["images"][1]["image_width"] = "x"; }};
    for (const auto& change : changes) {
        test::writeBytes(table, good);
        changeTable(change);
        expectRefused({a, b}, "is not a table that register --save wrote: ");
    }
    test::writeBytes(table, "{");
    expectRefused({a, b}, "is not a table that register --save wrote: ");
    fs::remove(table);
    expectRefused({a, b}, "table.json");
    expectOneLine(registered({a, b}, "applied", {"--apply", table, "--save", table}), 2);
}

TEST_F(RegistrationTables, AreCutToWhatAllOfThemShow) {
    // The second is 60 to the left and 30 below: they share 380 x 370 pixels.
    const std::vector<std::string> images = {window("a.png", 200, 100), window("b.png", 140, 130)};
    ASSERT_EQ(registered(images, "whole-{}.png", {"--save", table}).status, 0);
    const ProgramResult run =
        registered(images, "cut-{}.png", {"--crop", "--overlay", folder / "mean.png"});
    ASSERT_EQ(run.status, 0) << run.err;
    const Json data = Json::parse(run.out);
    const auto place = data.at("crop").get<std::vector<int>>();
    const cv::Rect part(place[0], place[1], place[2], place[3]);
    EXPECT_NEAR(part.x, 60, 3);
    EXPECT_NEAR(part.y, 30, 3);
    EXPECT_NEAR(part.width, 380, 5);
    EXPECT_NEAR(part.height, 370, 5);
    EXPECT_EQ(data.at("canvas"), Json({part.width, part.height}));
    for (const char* end : {"00.png", "01.png"}) {
        const cv::Mat cut = cv::imread(folder / (std::string("cut-") + end));
        EXPECT_THAT(
            cut, IsIdenticalTo(cv::imread(folder / (std::string("whole-") + end))(part).clone()));
    }
    EXPECT_EQ(cv::imread(folder / "mean.png").size(), part.size());
    ASSERT_EQ(registered(images, "again-{}.png", {"--crop", "--apply", table}).status, 0);
    EXPECT_EQ(bytesIn("again-01.png"), bytesIn("cut-01.png"));
    // White images stay white: no edge that is mixed with black is within.
    std::vector<std::string> white;
    for (const char* name : {"w0.png", "w1.png"}) {
        cv::imwrite(folder / name, cv::Mat(400, 440, CV_8UC3, cv::Scalar::all(255)));
        white.push_back(folder / name);
    }
    ASSERT_EQ(registered(white, "white-{}.png", {"--crop", "--apply", table}).status, 0);
    for (const char* end : {"00.png", "01.png"}) {
        const cv::Mat cut = cv::imread(folder / (std::string("white-") + end));
        EXPECT_EQ(cv::countNonZero(cut.reshape(1) < 255), 0) << end;
        EXPECT_EQ(cut.size(), part.size());
    }
    EXPECT_THAT(inProcess({"register", images[0], images[1], "-o", folder / "text", "--crop"}).out,
                HasSubstr(", cut out at " + std::to_string(part.x)));
}

TEST_F(RegistrationTables, NoResultReplacesATableOrAnotherResult) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    ASSERT_EQ(registered({a, b}, "set", {"--save", folder / "r-01.png"}).status, 0);
    const std::string before = bytesIn("r-01.png");
    expectOneLine(registered({a, b}, "r-{}.png", {"--apply", folder / "r-01.png"}), 1);
    expectOneLine(registered({a, b}, "r-{}.png", {"--save", folder / "r-01.png"}), 1);
    EXPECT_EQ(bytesIn("r-01.png"), before);
    EXPECT_FALSE(fs::exists(folder / "r-00.png"));
}

TEST_F(RegistrationTables, KeepTheOrderHoweverNamesAreWritten) {
    const std::string a = window("a.png", 200, 100), b = window("caf\xe9.png", 140, 130);
    const std::string otherA = folder / "./a.png", otherB = folder.path() + "/./caf\xe9.png";
    ASSERT_EQ(registered({a, b}, "set-{}.png", {"--save", table}).status, 0);
    for (const auto& [first, second] : {std::pair(b, a), std::pair(otherB, otherA)}) {
        const ProgramResult run = registered({first, second}, "wrong-{}.png", {"--apply", table});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("is image 2 of the table, not image 1; keep the order"));
        EXPECT_FALSE(fs::exists(folder / "wrong-00.png"));
    }
    ASSERT_EQ(registered({otherA, otherB}, "right-{}.png", {"--apply", table}).status, 0);
    EXPECT_EQ(bytesIn("right-01.png"), bytesIn("set-01.png"));
    // A name that is missing, or is none.
    const std::string good = test::bytesOf(table);
    const std::vector<std::function<void(Json & image)>> changes = {
        [](Json& image) { image.erase("file"); }, [](Json& image) { image["file"] = 5; },
        [](Json& image) { image["file"] = ""; }};
    for (const auto& change : changes) {
        test::writeBytes(table, good);
        changeTable([&](Json& t) { change(t["images"][0]); });
        const ProgramResult run = registered({a, b}, "wrong-{}.png", {"--apply", table});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("'" + table +
                                       "' is not a table that register --save "
                                       "wrote: an image has no name\n"));
    }
    test::writeBytes(table, good);
    changeTable([](Json& t) { t["images"][1]["fileHex"] = "6x"; });
    expectOneLine(registered({a, b}, "wrong-{}.png", {"--apply", table}), 1);
}

// The numbers in a table are of the images that it was made of.
TEST_F(RegistrationTables, SayNoMatchesOfWhatIsNotMatched) {
    const std::vector<std::string> images = {window("a.png", 200, 100), window("b.png", 140, 130)};
    const ProgramResult matched = registered(images, "set", {"--save", table});
    EXPECT_TRUE(Json::parse(matched.out).at("images")[1].contains("matches"));
    const ProgramResult applied = registered(images, "again", {"--apply", table});
    ASSERT_EQ(applied.status, 0) << applied.err;
    EXPECT_FALSE(Json::parse(applied.out).at("images")[1].contains("matches"));
}

} // namespace
