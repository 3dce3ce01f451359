// What photographs carry: kept by the commands that make one image of one. The exiv2 program, which
// shares no code with the host, marks the input and reads the results.
#include "host/photograph_file.h"
#include "tests/host/in_process.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/program.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <filesystem>

namespace {

using test::inProcess;
using test::ProgramResult;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

// A profile as far as its carriers look at it: its size, and the colour space it is for.
std::string profile(const std::string& space) {
    std::string bytes(3000, '\0');
    for (std::size_t i = 132; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * 7 % 251);
    }
    bytes.replace(0, 4, std::string("\0\0\x0b\xb8", 4));
    bytes.replace(12, 12, "mntr" + space + "XYZ ");
    bytes.replace(36, 4, "acsp");
    return bytes;
}

const std::string packet =
    R"(<?xpacket begin="" id="W5M0MpCehiHzreSzNTczkc9d"?><x:xmpmeta xmlns:x="adobe:ns:meta/">)"
    R"(<rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description )"
    R"(rdf:about="" xmlns:xmp="http://ns.adobe.com/xap/1.0/" )"
    R"(xmlns:tiff="http://ns.adobe.com/tiff/1.0/" xmp:Label="kept" tiff:Orientation="6"/>)"
    R"(</rdf:RDF></x:xmpmeta><?xpacket end="w"?>)";

// Four blocks of different grey.
cv::Mat blocks() {
    cv::Mat image(96, 64, CV_8UC3, cv::Scalar::all(20));
    image(cv::Rect(32, 0, 32, 48)) = cv::Scalar::all(90);
    image(cv::Rect(0, 48, 32, 48)) = cv::Scalar::all(160);
    image(cv::Rect(32, 48, 32, 48)) = cv::Scalar::all(230);
    return image;
}

class Metadata : public testing::Test {
protected:
    static bool hasExiv2() { return std::filesystem::exists(TARVIX_EXIV2); }

    // A file of that kind with metadata that exiv2 wrote.
    [[nodiscard]] std::string marked(const std::string& extension) const {
        const std::string file = folder / ("in" + extension);
        cv::imwrite(file, blocks());
        std::vector<std::string> words;
        for (const char* command :
             {"set Exif.Image.Orientation Short 6", "set Exif.Image.Artist Ascii Ann",
              "set Exif.Image.Make Ascii Maker", "set Exif.Photo.FocalLength Rational 50/1",
              "set Exif.Photo.FocalLengthIn35mmFilm Short 28",
              "set Exif.Photo.PixelXDimension Long 64", "set Exif.Photo.PixelYDimension Long 96",
              "set Exif.GPSInfo.GPSLatitudeRef Ascii N",
              "set Exif.GPSInfo.GPSLatitude Rational 48/1 8/1 21/1"}) {
            words.insert(words.end(), {"-M", command});
        }
        words.push_back(file);
        EXPECT_EQ(test::runProgram(TARVIX_EXIV2, words).status, 0);
        test::writeBytes(folder / "in.xmp", packet);
        test::writeBytes(folder / "in.icc", profile("RGB "));
        EXPECT_EQ(test::runProgram(TARVIX_EXIV2, {"-iXC", file}).status, 0);
        return file;
    }
    // What exiv2 says of a file, a line for each tag.
    static std::string said(const std::string& file) {
        return test::runProgram(TARVIX_EXIV2, {"-PExgknycv", file}).out +
               test::runProgram(TARVIX_EXIV2, {"-PXkv", file}).out;
    }

    test::TempFolder folder;
};

void expectCarried(const std::string& said) {
    for (const char* text : {"Ann", "Maker", "50/1", "48/1 8/1 21/1", "kept"}) {
        EXPECT_THAT(said, HasSubstr(text));
    }
    EXPECT_THAT(said, testing::ContainsRegex("Exif.Image.Orientation[^\n]* 1\n"));
    EXPECT_THAT(said, testing::ContainsRegex("Exif.Photo.PixelXDimension[^\n]* 96\n"));
    EXPECT_THAT(said, testing::ContainsRegex("Exif.Photo.PixelYDimension[^\n]* 64\n"));
    EXPECT_THAT(said, testing::ContainsRegex("Xmp.tiff.Orientation[^\n]* 1\n"));
}

TEST_F(Metadata, IsCarriedBetweenAllKindsOfFiles) {
    if (!hasExiv2()) {
        GTEST_SKIP() << "the program exiv2 is missing: nothing independent reads the results";
    }
    for (const std::string from : {".jpg", ".png", ".tif", ".webp"}) {
        if (!cv::haveImageWriter("x" + from)) {
            continue; // this OpenCV was built without the format
        }
        const std::string in = marked(from);
        for (const std::string to : {".jpg", ".png", ".tif", ".webp"}) {
            if (!cv::haveImageWriter("x" + to)) {
                continue;
            }
            SCOPED_TRACE(from + " to " + to);
            const std::string out = folder / ("out" + to);
            const ProgramResult run = inProcess({"load", in, "-o", out});
            EXPECT_EQ(run.status, 0) << run.err;
            EXPECT_THAT(run.err, IsEmpty());
            expectCarried(said(out));
            EXPECT_THAT(said(out), testing::ContainsRegex("FocalLengthIn35mmFilm[^\n]* 28\n"));
            EXPECT_EQ(test::runProgram(TARVIX_EXIV2, {"-eC-", out}).out, profile("RGB "));
            // Upright: turned a quarter, clockwise.
            const cv::Mat image = cv::imread(out, cv::IMREAD_COLOR | cv::IMREAD_IGNORE_ORIENTATION);
            ASSERT_EQ(image.size(), cv::Size(96, 64));
            EXPECT_NEAR(image.at<cv::Vec3b>(10, 10)[0], 160, 8);
            EXPECT_NEAR(image.at<cv::Vec3b>(10, 85)[0], 20, 8);
            EXPECT_NEAR(image.at<cv::Vec3b>(54, 85)[0], 90, 8);
        }
    }
}

TEST_F(Metadata, StripAndQuality) {
    if (!hasExiv2()) {
        GTEST_SKIP() << "the program exiv2 is missing";
    }
    const std::string in = marked(".jpg");
    const std::string out = folder / "out.jpg";
    EXPECT_EQ(inProcess({"load", in, "-o", out, "--strip"}).status, 0);
    EXPECT_THAT(said(out), Not(HasSubstr("Ann")));
    EXPECT_TRUE(host::readPhotographFile(out).metadata.empty());
    EXPECT_EQ(inProcess({"lines", in, "-o", out, "--strip", "--quality", "80"}).status, 0);
    EXPECT_TRUE(host::readPhotographFile(out).metadata.empty());
    const std::string photo = test::photoPath("home.jpg");
    EXPECT_EQ(inProcess({"load", photo, "-o", out, "--quality", "20"}).status, 0);
    const auto low = std::filesystem::file_size(out);
    EXPECT_EQ(inProcess({"load", photo, "-o", out}).status, 0);
    EXPECT_LT(2 * low, std::filesystem::file_size(out));
    const ProgramResult run =
        inProcess({"load", photo, "-o", folder / "out.png", "--quality", "20"});
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.err, HasSubstr("--quality is for JPEG and WebP files"));
    EXPECT_EQ(inProcess({"load", photo, "-o", out, "--quality", "101"}).status, 2);
}

TEST_F(Metadata, AFormatWithoutRoomForItSaysSo) {
    if (!hasExiv2()) {
        GTEST_SKIP() << "the program exiv2 is missing";
    }
    const ProgramResult run = inProcess({"load", marked(".jpg"), "-o", folder / "out.bmp"});
    EXPECT_EQ(run.status, 0);
    EXPECT_THAT(run.err, HasSubstr("cannot hold EXIF, XMP and the colour profile, left out"));
}

TEST_F(Metadata, AColourProfileIsNotForGreyImages) {
    const std::string in = folder / "in.png";
    cv::imwrite(in, blocks());
    std::vector<std::string> ignored;
    test::writeBytes(
        in, host::withMetadata(test::bytesOf(in), {.icc = profile("RGB ")}, {64, 96}, ignored));
    ASSERT_EQ(host::readPhotographFile(in).metadata.icc, profile("RGB "));
    EXPECT_EQ(inProcess({"canny", in, "-o", folder / "edges.png"}).status, 0);
    EXPECT_THAT(host::readPhotographFile(folder / "edges.png").metadata.icc, IsEmpty());
    EXPECT_EQ(inProcess({"denoise", in, "-o", folder / "out.png", "--search", "3"}).status, 0);
    EXPECT_EQ(host::readPhotographFile(folder / "out.png").metadata.icc, profile("RGB "));
}

TEST_F(Metadata, AllOrientationsAreTurned) {
    cv::Mat image = test::scene(48, 64);
    for (int orientation = 1; orientation <= 8; ++orientation) {
        // Its own inverse, but for the quarter turns, which are each other's.
        const int back = orientation == 6 ? 8 : orientation == 8 ? 6 : orientation;
        EXPECT_THAT(host::upright(host::upright(image, orientation), back),
                    test::IsIdenticalTo(image))
            << orientation;
    }
    cv::Mat quarter;
    cv::rotate(image, quarter, cv::ROTATE_90_CLOCKWISE);
    EXPECT_THAT(host::upright(image, 6), test::IsIdenticalTo(quarter));
    cv::Mat half;
    cv::rotate(image, half, cv::ROTATE_180);
    EXPECT_THAT(host::upright(image, 3), test::IsIdenticalTo(half));
}

TEST_F(Metadata, SixteenBitsAreReducedWithOneLine) {
    const std::string in = folder / "deep.png";
    cv::imwrite(in, cv::Mat(20, 30, CV_16UC3, cv::Scalar(60000, 300, 7)));
    const ProgramResult run = inProcess({"load", in, "-o", folder / "out.png"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "tarvix: '" + in + "' has 16 bits per sample; the result has 8\n");
    EXPECT_EQ(cv::imread(folder / "out.png", cv::IMREAD_UNCHANGED).type(), CV_8UC3);
}

TEST_F(Metadata, TheFocalLengthComesFromTheFile) {
    if (!hasExiv2()) {
        GTEST_SKIP() << "the program exiv2 is missing";
    }
    const std::vector<std::string> corners = {"--corners", "20,12", "80,8", "86,50", "16,55"};
    const auto found = [&](const std::string& in, const std::vector<std::string>& more) {
        std::vector<std::string> words = {"converge", in, "-o", in + ".out.jpg", "--json"};
        words.insert(words.end(), corners.begin(), corners.end());
        words.insert(words.end(), more.begin(), more.end());
        const ProgramResult run = inProcess(words);
        EXPECT_EQ(run.status, 0) << run.err;
        return nlohmann::json::parse(run.out);
    };
    const std::string in = marked(".jpg");
    EXPECT_EQ(found(in, {}).at("focal_mm"), 28);
    EXPECT_EQ(found(in, {}).at("focal_source"), "from the file");
    EXPECT_EQ(found(in, {"--crop-factor", "1.5"}).at("focal_mm"), 75);
    EXPECT_EQ(found(in, {"--focal", "40"}).at("focal_source"), "given");
    EXPECT_EQ(found(in, {"--focal", "0"}).at("focal_source"), "searched");
    // A straightened image has another view: its focal length is not used again.
    const auto again = found(in + ".out.jpg", {});
    EXPECT_EQ(again.at("focal_source"), "searched");
    // The file states another shape than the image has.
    ASSERT_EQ(
        test::runProgram(TARVIX_EXIV2, {"-M", "set Exif.Photo.PixelXDimension Long 96", in}).status,
        0);
    const auto cropped = found(in, {});
    EXPECT_EQ(cropped.at("focal_source"), "searched");
    EXPECT_THAT(cropped.at("remarks").dump(), HasSubstr("focal-not-used"));
}

TEST_F(Metadata, AnyBytesAreTaken) {
    std::vector<std::string> files;
    std::vector<std::string> ignored;
    const host::Metadata all{.exif = std::string("II*\0\x08\0\0\0\0\0\0\0\0\0", 14),
                             .xmp = packet,
                             .icc = profile("RGB ")};
    for (const std::string extension : {".jpg", ".png", ".tif", ".webp"}) {
        if (!cv::haveImageWriter("x" + extension)) {
            continue;
        }
        const std::string file = folder / ("x" + extension);
        cv::imwrite(file, cv::Mat(9, 7, CV_8UC3, cv::Scalar(1, 2, 3)));
        files.push_back(host::withMetadata(test::bytesOf(file), all, {7, 9}, ignored));
        EXPECT_EQ(host::metadataOf(files.back()).icc, all.icc) << extension;
        EXPECT_EQ(host::metadataOf(files.back()).xmp, all.xmp) << extension;
    }
    cv::RNG random(3);
    for (const std::string& file : files) {
        for (int i = 0; i < 1500; ++i) {
            std::string bytes = file.substr(
                0, static_cast<std::size_t>(random.uniform(0, static_cast<int>(file.size()) + 1)));
            for (int k = random.uniform(0, 6); k > 0 && !bytes.empty(); --k) {
                // Most of what matters is at the beginning.
                const int end = static_cast<int>(std::min<std::size_t>(bytes.size(), 400));
                bytes[static_cast<std::size_t>(random.uniform(0, end))] =
                    static_cast<char>(random.uniform(0, 256));
            }
            host::metadataOf(bytes);
            host::bitsPerSample(bytes);
        }
    }
}

} // namespace
