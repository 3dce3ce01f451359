// Sets of images that the sub-command register puts onto the first: what is left out, cut out, kept
// for other images, and done in parts.
#include "host/registration_table.h"
#include "host/set_matching.h"
#include "tests/host/in_process.h"
#include "tests/host/sub_command.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>
#include <functional>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using host::Json;
using test::expectOneLine;
using test::inProcess;
using test::IsIdenticalTo;
using test::ProgramResult;
using testing::HasSubstr;

class RegisteredSets : public testing::Test {
protected:
    // A window of a photograph with its top-left corner at (x, y).
    std::string window(const std::string& name, int x, int y, cv::Size size = {440, 400}) {
        cv::imwrite(folder / name, test::photo("building.jpg")(cv::Rect({x, y}, size)));
        return folder / name;
    }
    ProgramResult registered(const std::vector<std::string>& images, const std::string& to,
                             const std::vector<std::string>& more = {}) {
        std::vector<std::string> words = {"register"};
        words.insert(words.end(), images.begin(), images.end());
        words.insert(words.end(), {"-o", folder / to, "--json"});
        words.insert(words.end(), more.begin(), more.end());
        return inProcess(words);
    }
    [[nodiscard]] std::string bytesOf(const std::string& name) const {
        return test::bytesOf(folder / name);
    }
    void changeTable(const std::function<void(Json& table)>& change) {
        Json document = Json::parse(test::bytesOf(table));
        change(document);
        test::writeBytes(table, document.dump());
    }

    test::TempFolder folder;
    std::string table = folder / "table.json";
    std::string home = test::photoPath("home.jpg");
};

TEST_F(RegisteredSets, AreTheFilesOfTheExport) {
    const std::vector<std::string> images = {window("a.png", 200, 100), window("b.png", 140, 130),
                                             window("c.png", 260, 60)};
    const ProgramResult run = registered(images, "view-{}.png");
    ASSERT_EQ(run.status, 0) << run.err;
    CStringArray in;
    CStringArray out;
    for (int i = 0; i < 3; ++i) {
        in.Add(images[static_cast<std::size_t>(i)].c_str());
        out.Add((folder / ("export-0" + std::to_string(i) + ".png")).c_str());
    }
    cv::theRNG() = cv::RNG(); // as in a new process
    tx_MatchImages(in, out);
    for (const char* number : {"00", "01", "02"}) {
        const std::string end = std::string(number) + ".png";
        EXPECT_FALSE(bytesOf("view-" + end).empty());
        EXPECT_EQ(bytesOf("view-" + end), bytesOf("export-" + end)) << number;
    }
    // The same again, whatever was drawn before.
    cv::theRNG().state = 12345;
    ASSERT_EQ(registered(images, "again-{}.png").status, 0);
    EXPECT_EQ(bytesOf("again-02.png"), bytesOf("view-02.png"));
}

TEST_F(RegisteredSets, NameWhatIsLeftOutWithTheNumberOfItsMatches) {
    const std::string a = window("a.png", 200, 100);
    const ProgramResult run = registered({a, home, window("b.png", 140, 130)}, "set");
    ASSERT_EQ(run.status, 0) << run.err;
    const Json images = Json::parse(run.out).at("images");
    EXPECT_FALSE(images[0].contains("matches"));
    const auto matches = images[1].at("matches").get<int>();
    EXPECT_LT(matches, 8);
    EXPECT_EQ(images[1].at("reason"), "too few good matches with the first image: " +
                                          std::to_string(matches) + ", and 8 are needed");
    EXPECT_GE(images[2].at("matches").get<int>(), 8);
    EXPECT_THAT(inProcess({"register", a, home, folder / "b.png", "-o", folder / "set"}).out,
                HasSubstr("left out " + home + ": too few good matches with the first image: "));
}

TEST_F(RegisteredSets, SayHowFarTheyAre) {
    const ProgramResult run = inProcess({"register", window("a.png", 200, 100),
                                         window("b.png", 140, 130), home, "-o", folder / "set"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.out, HasSubstr("[1/3] a.png: the first image\n[2/3] b.png: "));
    EXPECT_THAT(run.out, HasSubstr(" good matches\n[3/3] home.jpg: too few good matches"));
    EXPECT_THAT(run.out, HasSubstr("[2/2] registered-01.png: drawn")); // the third is left out
}

TEST_F(RegisteredSets, RefuseAFormatBeforeTheWork) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    for (const std::vector<std::string>& more :
         {std::vector<std::string>{"-o", folder / "set/x-{}.nosuchformat"},
          {"-o", folder / "set", "--overlay", folder / "mean.nosuchformat"}}) {
        std::vector<std::string> words = {"register", a, b};
        words.insert(words.end(), more.begin(), more.end());
        const ProgramResult run = inProcess(words);
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr("'.nosuchformat' is not an image format"));
        EXPECT_EQ(run.out, "") << "nothing was matched";
        EXPECT_FALSE(fs::exists(folder / "set"));
    }
    expectOneLine(inProcess({"stitch", a, b, "-o", folder / "x.nosuchformat"}), 1);
}

TEST_F(RegisteredSets, AreAppliedAgainFromATableByteForByte) {
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
        EXPECT_FALSE(bytesOf(std::string("first-") + end).empty());
        EXPECT_EQ(bytesOf(std::string("first-") + end), bytesOf(std::string("second-") + end));
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

TEST_F(RegisteredSets, ATableThatDoesNotFitIsRefused) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    ASSERT_EQ(registered({a, b}, "set", {"--save", table}).status, 0);
    const std::string good = test::bytesOf(table);
    const auto expectRefused = [&](const std::vector<std::string>& images, const std::string& why) {
        const ProgramResult run = registered(images, "applied", {"--apply", table});
        expectOneLine(run, 1);
        EXPECT_THAT(run.err, HasSubstr(why));
        EXPECT_TRUE(test::namesIn(folder / "applied").empty());
        fs::remove_all(folder / "applied");
    };
    expectRefused({a, b, a}, "is for 2 images, not for 3");
    const ProgramResult smaller =
        registered({a, window("small.png", 140, 130, {300, 300})}, "applied", {"--apply", table});
    expectOneLine(smaller, 1);
    EXPECT_THAT(smaller.err, HasSubstr("small.png' has 300 x 300 pixels, and not 440 x 400"));
    EXPECT_TRUE(test::namesIn(folder / "applied").empty());
    fs::remove_all(folder / "applied");

    const std::vector<std::function<void(Json & table)>> changes = {
        [](Json& t) { t["tarvix_registration"] = 2; },
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

TEST_F(RegisteredSets, AreCutToWhatAllOfThemShow) {
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
    EXPECT_EQ(bytesOf("again-01.png"), bytesOf("cut-01.png"));
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

TEST_F(RegisteredSets, NoResultReplacesATableOrAnotherResult) {
    const std::string a = window("a.png", 200, 100), b = window("b.png", 140, 130);
    ASSERT_EQ(registered({a, b}, "set", {"--save", folder / "r-01.png"}).status, 0);
    const std::string before = bytesOf("r-01.png");
    expectOneLine(registered({a, b}, "r-{}.png", {"--apply", folder / "r-01.png"}), 1);
    expectOneLine(registered({a, b}, "r-{}.png", {"--save", folder / "r-01.png"}), 1);
    EXPECT_EQ(bytesOf("r-01.png"), before);
    EXPECT_FALSE(fs::exists(folder / "r-00.png"));
}

// Near the limit, the matching depends on the random numbers that it draws.
TEST_F(RegisteredSets, TryOtherRandomNumbersNearTheLimitAndAlwaysTheSame) {
    const cv::Mat reference = test::photo("building.jpg")(cv::Rect(200, 100, 440, 400)).clone();
    const tarvix::SetMatcher matcher(reference);
    int rescued = 0;
    for (int size = 200; size > 180 && rescued == 0; size -= 2) {
        cv::Mat image; // larger than the reference shows it
        cv::resize(test::photo("building.jpg")(cv::Rect(240, 140, size, size)), image, {}, 1.5, 1.5,
                   cv::INTER_AREA);
        for (std::uint64_t state = 1; state < 6; ++state) {
            cv::theRNG() = cv::RNG(state);
            const tarvix::SetMatch once = matcher.match(image);
            const cv::RNG after = cv::theRNG();
            cv::theRNG() = cv::RNG(state);
            const tarvix::SetMatch tried = host::matchOnto(matcher, image);
            EXPECT_EQ(cv::theRNG().state, after.state) << "the next image draws the same";
            EXPECT_GE(tried.matches, once.matches);
            cv::theRNG() = cv::RNG(state);
            EXPECT_EQ(host::matchOnto(matcher, image).matches, tried.matches);
            const bool registers = host::whyNotRegistered(tried, "x").empty();
            rescued += registers && once.matches < tarvix::fewestMatches ? 1 : 0;
        }
    }
    EXPECT_GT(rescued, 0) << "no window is near the limit";
}

TEST_F(RegisteredSets, LeaveOutWhatNoCanvasHolds) {
    // Twice as large as the first shows it.
    const std::string a = window("a.png", 200, 100, {300, 280});
    cv::Mat large;
    cv::resize(test::photo("building.jpg")(cv::Rect(220, 120, 260, 240)), large, {}, 2, 2,
               cv::INTER_CUBIC);
    cv::imwrite(folder / "large.png", large);
    const std::string b = window("b.png", 180, 110, {300, 280});
    const ProgramResult run = registered({a, folder / "large.png", b}, "set");
    ASSERT_EQ(run.status, 0) << run.err;
    const Json images = Json::parse(run.out).at("images");
    EXPECT_THAT(images[1].at("reason").get<std::string>(),
                HasSubstr("its 520 x 480 pixels are more than the canvas of "));
    EXPECT_TRUE(fs::exists(folder / "set/registered-02.png"));
}

// What a cluster can do: each image for itself, whatever part it is in.
TEST_F(RegisteredSets, OneByOneInPartsGiveTheSameBytes) {
    const std::string reference = window("a.png", 200, 100);
    fs::create_directories(folder / "in");
    for (int i = 0; i < 6; ++i) {
        window("in/" + std::to_string(i) + ".png", 140 + 20 * i, 130 - 10 * i);
    }
    const auto batch = [&](const std::string& to, const std::vector<std::string>& more) {
        std::vector<std::string> words = {"batch",
                                          "register-to",
                                          folder / "in",
                                          "--reference",
                                          reference,
                                          "--out",
                                          folder / (to + "/{name}.png"),
                                          "--jobs",
                                          "1",
                                          "--json"};
        words.insert(words.end(), more.begin(), more.end());
        return test::tarvix(words);
    };
    const ProgramResult whole = batch("whole", {});
    ASSERT_EQ(whole.status, 0) << whole.err;
    ASSERT_EQ(batch("parts", {"--shard", "1/2"}).status, 0);
    ASSERT_EQ(batch("parts", {"--shard", "2/2"}).status, 0);
    EXPECT_EQ(test::namesIn(folder / "parts").size(), 6U);
    for (int i = 0; i < 6; ++i) {
        const std::string end = "/" + std::to_string(i) + ".png";
        EXPECT_EQ(bytesOf("parts" + end), bytesOf("whole" + end));
        // The same in a process that has drawn other numbers before.
        cv::theRNG().state = 99;
        ASSERT_EQ(inProcess({"register-to", folder / ("in" + end), "--reference", reference, "-o",
                             folder / "alone.png"})
                      .status,
                  0);
        EXPECT_EQ(bytesOf("alone.png"), bytesOf("whole" + end));
        // It is where the reference shows it, and has its size.
        const cv::Mat moved = cv::imread(folder / ("whole" + end));
        const cv::Mat first = cv::imread(reference);
        ASSERT_EQ(moved.size(), first.size());
        cv::Mat difference;
        cv::absdiff(moved(cv::Rect(120, 120, 200, 150)), first(cv::Rect(120, 120, 200, 150)),
                    difference);
        EXPECT_LT(cv::mean(difference)[0], 12) << i;
    }
    const ProgramResult none =
        inProcess({"register-to", home, "--reference", reference, "-o", folder / "none.png"});
    expectOneLine(none, 1);
    EXPECT_THAT(none.err, HasSubstr("too few good matches with '" + reference + "': "));
    EXPECT_EQ(batch("in", {}).status, 1) << "no input is replaced";
    const ProgramResult over = test::tarvix({"batch", "register-to", folder / "in/1.png",
                                             "--reference", reference, "--out", reference});
    EXPECT_EQ(over.status, 1) << "nor the reference";
}

} // namespace
