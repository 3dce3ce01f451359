// The calibration file set: format, readers and writers, and files that are not what they should
// be.
#include "calib/calib_files.h"
#include "calib/calib_writer.h"
#include "calib/document_check.h"
#include "calib/undistort.h"
#include "platform/system/files.h"
#include "tests/calib/views.h"
#include "tests/support/faulty_files.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/matrix_files.h"
#include "tests/support/test_host.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>
#include <random>

namespace {

using testing::HasSubstr;

const cv::Mat someCamera = (cv::Mat_<double>(3, 3) << 60, 0, 31, 0, 61, 23, 0, 0, 1);
const cv::Mat someDistortion = (cv::Mat_<double>(1, 5) << -0.2, 0.05, 0.001, -0.001, 0.01);
const cv::Mat someProjection = (cv::Mat_<double>(3, 4) << 60, 0, 31, 5, 0, 61, 23, 0, 0, 0, 1, 0);

const std::string header = "<?xml version=\"1.0\"?>\n";

// A document with one matrix under `key`.
std::string document(const std::string& key, const std::string& rows, const std::string& cols,
                     const std::string& type, const std::string& data) {
    return header + "<opencv_storage>\n<" + key + " type_id=\"opencv-matrix\">\n  <rows>" + rows +
           "</rows>\n  <cols>" + cols + "</cols>\n  <dt>" + type + "</dt>\n  <data>\n    " + data +
           "</data></" + key + ">\n</opencv_storage>\n";
}

void write(const std::string& folder, const tarvix::CalibFile& file, const cv::Mat& matrix) {
    test::FaultyFiles files(tarvix::systemFiles()); // none fails; it does not wait for the disk
    tarvix::MatrixWriter writer(files);
    writer.add(std::filesystem::path(folder) / file.name, file.name, file.key, matrix);
    writer.commit();
}

class CalibFiles : public testing::Test {
protected:
    test::TestHost host;
    test::TempFolder folder;
    test::Dib image = test::dibOf(test::scene(48, 64));

    CalibFiles() { storeGoodSet(); }

    void storeGoodSet() const {
        std::filesystem::remove_all(folder.path());
        std::filesystem::create_directory(folder.path());
        write(folder.path(), tarvix::cameraFile, someCamera);
        write(folder.path(), tarvix::distortionFile, someDistortion);
        for (const tarvix::StereoCameraFiles& files : tarvix::stereoCameraFiles) {
            write(folder.path(), files.cameraMatrix, someCamera);
            write(folder.path(), files.distortion, someDistortion);
            write(folder.path(), files.rotation, cv::Mat::eye(3, 3, CV_64F));
            write(folder.path(), files.projection, someProjection);
        }
    }

    test::Dib undistorted() const {
        return test::Dib(tx_UseCalib(*image, folder.path().c_str(), nullptr, nullptr));
    }
    test::Dib rectified(int camera) const {
        return test::Dib(tx_UseStereoCalib(*image, folder.path().c_str(), camera));
    }

    // The reading exports fail; with OpenCV's message or silently.
    void expectFailures(const std::string& name, bool withMessage) {
        host.messages.clear();
        const bool isMono = name == "cam.xml" || name == "dist.xml";
        const test::Dib dib =
            isMono ? undistorted() : rectified(name.find('1') != std::string::npos ? 1 : 2);
        EXPECT_EQ(dib, nullptr) << name;
        ASSERT_EQ(host.messages.size(), withMessage ? 1U : 0U) << name;
        if (withMessage) {
            EXPECT_THAT(host.messages[0].text, HasSubstr("OpenCV("));
            EXPECT_EQ(host.messages[0].type, 0U);
            EXPECT_EQ(host.messages[0].helpId, 0U);
        }
    }

    const std::vector<std::string> readForImages{"cam.xml", "dist.xml", "M1.xml", "D1.xml",
                                                 "R1.xml",  "P1.xml",   "M2.xml", "D2.xml",
                                                 "R2.xml",  "P2.xml"};
};

TEST_F(CalibFiles, TheGoodSetIsAccepted) {
    EXPECT_NE(undistorted(), nullptr);
    EXPECT_NE(rectified(1), nullptr);
    EXPECT_NE(rectified(2), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(CalibFiles, AFileIsWhatOpenCvItselfWrites) {
    test::store(folder / "direct.xml", "CameraMatrix", someCamera);
    EXPECT_EQ(test::bytesOf(folder / "cam.xml"), test::bytesOf(folder / "direct.xml"));
    EXPECT_THAT(test::bytesOf(folder / "cam.xml"), HasSubstr("<dt>d</dt>"));
}

TEST_F(CalibFiles, NumbersComeBackToTheBit) {
    cv::Mat m(3, 4, CV_64F);
    std::mt19937_64 random(5); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (double& value : cv::Mat_<double>(m)) {
        value = std::ldexp(static_cast<double>(random() % 1000003) / 7919.0,
                           static_cast<int>(random() % 200) - 100);
    }
    m.at<double>(0, 0) = std::numeric_limits<double>::denorm_min();
    m.at<double>(0, 2) = std::numeric_limits<double>::max();
    m.at<double>(0, 3) = std::numeric_limits<double>::infinity();
    write(folder.path(), {"any.xml", "Any"}, m);
    EXPECT_THAT(tarvix::readMatrix(folder / "any.xml", "any.xml", "Any"), test::IsIdenticalTo(m));
}

TEST_F(CalibFiles, AnExistingFileIsReplacedAndNothingElseIsLeft) {
    const auto names = test::namesIn(folder.path());
    write(folder.path(), tarvix::cameraFile, someCamera * 2);
    EXPECT_THAT(test::stored(folder / "cam.xml", "CameraMatrix"),
                test::IsIdenticalTo(someCamera * 2));
    EXPECT_EQ(test::namesIn(folder.path()), names);
}

TEST_F(CalibFiles, CameraMatrixKeysOfTheStereoSetAreMM1AndMM2) {
    // On purpose: unlike the other stereo keys they are not the file's stem.
    for (const int camera : {1, 2}) {
        const std::string n = std::to_string(camera);
        EXPECT_FALSE(test::stored(folder / ("M" + n + ".xml"), "MM" + n).empty());
        test::store(folder / ("M" + n + ".xml"), "M" + n, someCamera);
        EXPECT_TRUE(
            tarvix::readMatrix(folder / ("M" + n + ".xml"), "M.xml", ("MM" + n).c_str()).empty());
        expectFailures("M" + n + ".xml", true);
    }
}

TEST_F(CalibFiles, AMissingFileFailsSilently) {
    for (const std::string& name : readForImages) {
        storeGoodSet();
        std::filesystem::remove(folder / name);
        expectFailures(name, false);
    }
}

TEST_F(CalibFiles, TheFirstMissingFileEndsTheCallBeforeAnyMessage) {
    test::store(folder / "cam.xml", "Other", someCamera); // would be OpenCV's to refuse
    std::filesystem::remove(folder / "dist.xml");
    expectFailures("cam.xml", false);
    test::store(folder / "M2.xml", "Other", someCamera);
    std::filesystem::remove(folder / "P2.xml");
    expectFailures("M2.xml", false);
}

TEST_F(CalibFiles, AFileWithoutItsKeyIsRefusedWithAMessage) {
    for (const std::string& name : readForImages) {
        storeGoodSet();
        test::store(folder / name, "Other", someCamera);
        expectFailures(name, true);
    }
}

TEST_F(CalibFiles, DamagedFilesAreRefusedWithAMessage) {
    std::string deep = header + "<opencv_storage>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    std::string binary(5000, '\0');
    std::mt19937 random(3); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    for (char& c : binary) {
        c = static_cast<char>(random());
    }
    for (const std::string& name : readForImages) {
        storeGoodSet();
        const std::string whole = test::bytesOf(folder / name);
        for (const std::string& bytes :
             {std::string(), header, header + "<opencv_storage>\n</opencv_storage>junk",
              whole.substr(0, whole.size() / 2), whole.substr(0, whole.size() - 5), binary,
              header + binary, deep, whole + '\0', std::string("%YAML:1.0\n---\n"),
              std::string("{ \"CameraMatrix\": [1] }")}) {
            test::writeBytes(folder / name, bytes);
            expectFailures(name, true);
        }
    }
}

TEST_F(CalibFiles, OtherTypesAndShapesAreRefusedWithAMessage) {
    const std::string nine = "1. 0. 0. 0. 1. 0. 0. 0. 1.";
    std::string manySizes;
    for (int i = 0; i < 40; ++i) {
        manySizes += "1 ";
    }
    for (const std::string& name : readForImages) {
        storeGoodSet();
        const std::string key = name[0] == 'c'   ? "CameraMatrix"
                                : name[0] == 'd' ? "DistCoeffs"
                                : name[0] == 'M' ? std::string("MM") + name[1]
                                                 : name.substr(0, 2);
        const std::string open = header + "<opencv_storage>\n<" + key + ">";
        const std::string close = "</" + key + ">\n</opencv_storage>\n";
        for (const std::string& bytes :
             {open + "12" + close, open + "text" + close, open + "1 2 3" + close,
              open + "<rows>3</rows>" + close, document(key, "-1", "-1", "d", nine),
              document(key, "2", "2", "d", "1. 2. 3. 4."), document(key, "3", "3", "d", "1. 2."),
              document(key, "3", "3", "x", nine), document(key, "3", "3", "\"3d\"", nine),
              document(key, "3", "3", "d", "a b c d e f g h i"), document(key, "0", "0", "d", ""),
              document(key, "2000000000", "2000000000", "d", nine),
              document(key, "65536", "65536", "d", nine), document(key, "3.5", "3", "d", nine),
              open + "<sizes>" + manySizes + "</sizes><dt>d</dt><data>" + nine + "</data>" +
                  close}) {
            test::writeBytes(folder / name, bytes);
            expectFailures(name, true);
        }
    }
}

TEST_F(CalibFiles, SinglePrecisionIsAccepted) {
    cv::Mat camera;
    someCamera.convertTo(camera, CV_32F);
    test::store(folder / "cam.xml", "CameraMatrix", camera);
    EXPECT_NE(undistorted(), nullptr);
}

TEST_F(CalibFiles, AHugeFileIsRefusedUnread) {
    for (const std::string name : {"cam.xml", "R2.xml"}) {
        std::filesystem::resize_file(folder / name, 100'000'000);
        expectFailures(name, true);
    }
}

TEST_F(CalibFiles, AFileOfAMebibyteIsTheLargest) {
    std::string text = test::bytesOf(folder / "cam.xml");
    while (text.size() < tarvix::largestDocument) {
        text.append(text.size() % 100 == 0 ? "\n" : " ");
    }
    test::writeBytes(folder / "cam.xml", text);
    EXPECT_NE(undistorted(), nullptr);
    test::writeBytes(folder / "cam.xml", text + " ");
    expectFailures("cam.xml", true);
}

TEST_F(CalibFiles, AFolderOfTheFilesNameIsRefused) {
    for (const std::string name : {"dist.xml", "P1.xml"}) {
        std::filesystem::remove(folder / name);
        std::filesystem::create_directory(folder / name);
        expectFailures(name, true);
    }
}

TEST_F(CalibFiles, APathThatIsTooLongIsAMissingFile) {
    const std::string path(400, 'x');
    EXPECT_EQ(tx_UseCalib(*image, path.c_str(), nullptr, nullptr), nullptr);
    EXPECT_EQ(tx_UseStereoCalib(*image, path.c_str(), 1), nullptr);
    EXPECT_TRUE(host.messages.empty());
}

TEST(CalibDocument, WhatOpenCvAndAHandWriteIsSound) {
    const std::string body = "<opencv_storage>\n<a>1</a></opencv_storage>\n";
    for (const std::string& text :
         {header + body, "\xEF\xBB\xBF" + header + body, header + "<!-- mine -->\n" + body,
          header + "<opencv_storage>\r\n<a type_id='str'>\"two words\"</a>\r\n</opencv_storage>",
          header + "<opencv_storage><a>1 <!-- one --> 2</a><_b-2 x=\"y\">.Nan -.Inf</_b-2>"
                   "</opencv_storage>\n<!-- end -->\n\n",
          header + "<opencv_storage></opencv_storage>"}) {
        EXPECT_TRUE(tarvix::isSoundDocument(text)) << text;
    }
}

TEST(CalibDocument, EverythingElseIsNot) {
    const std::string body = "<opencv_storage>\n<a>1</a></opencv_storage>\n";
    std::string nested = header + "<opencv_storage>";
    for (int i = 0; i < 16; ++i) {
        nested += "<a>";
    }
    for (int i = 0; i < 16; ++i) {
        nested += "</a>";
    }
    nested += "</opencv_storage>";
    for (const std::string& text : std::vector<std::string>{
             "",
             "<",
             "<?xml",
             header,
             body,
             " " + header + body,
             header + "<other></other>",
             header + body + body,
             header + body + "x",
             header + "<opencv_storage><a></b>",
             header + "<opencv_storage><a>1</b></opencv_storage>",
             header + "<opencv_storage><a/></opencv_storage>",
             header + "<opencv_storage><a>1<b>2</b></a></opencv_storage>",
             header + "<opencv_storage><a><b>2</b>1</a></opencv_storage>",
             header + "<opencv_storage><a type_id=\"binary\">AAAA</a></opencv_storage>",
             header + "<opencv_storage><a b=\"></a></opencv_storage>",
             header + "<opencv_storage><a>\"open</a></opencv_storage>",
             header + "<opencv_storage><a>&#x41;</a></opencv_storage>",
             header + "<opencv_storage><a>\x01</a></opencv_storage>",
             header + "<opencv_storage><!-- never closed </opencv_storage>",
             header + "<opencv_storage><a>" + std::string(5000, '1') + "</a></opencv_storage>",
             header + "</opencv_storage>",
             header + "<opencv_storage></opencv_storage",
             nested,
             "<?xml version=\"1.0\"?" + body,
             header + "<!DOCTYPE x>" + body,
             header + "<opencv_storage>" + std::string(tarvix::largestDocument, '\n') +
                 "</opencv_storage>"}) {
        EXPECT_FALSE(tarvix::isSoundDocument(text)) << text.substr(0, 200);
    }
}

// Seeded damage of every kind to good documents: reading ends with a matrix or OpenCV's exception,
// and so does the use of what was read.
TEST(CalibDocument, MutatedDocumentsNeverHarm) {
    const std::vector<std::string> seeds{
        document("Q", "3", "3", "d", "1. 0. 2. 0. 1. 3. 0. 0. 1."),
        document("Q", "1", "5", "d", "-2.5e-01 .Nan .Inf -.Inf 0."),
        document("Q", "3", "4", "f", "1. 0. 2. 0. 1. 3. 0. 0. 1. 4. 5. 6."),
        document("Q", "4", "4", "u", "1 0 2 0 1 3 0 0 1 4 5 6 7 8 9 10")};
    const std::vector<std::string> pieces{
        "<",          ">",     "</",           "<a>",  "</a>",   "\"",
        "<!--",       "-->",   "\n",           "rows", "<data>", "</data>",
        "type_id=\"", "1e999", "-99999999999", "0x7f", "&lt;",   " ",
        "\t",         ".Nan",  "<_>",          "</_>", "seq\"",  std::string(1, '\0'),
        "\xff"};
    std::mt19937 random(11); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same at each run
    const auto below = [&random](std::size_t n) { return random() % n; };
    const cv::Mat image(12, 16, CV_8UC3, cv::Scalar(1, 2, 3));
    const cv::Mat eye = cv::Mat::eye(3, 3, CV_64F);
    const cv::Mat none = cv::Mat::zeros(1, 5, CV_64F);
    int read = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text = seeds[below(seeds.size())];
        for (std::size_t edits = below(4) + 1; edits > 0; --edits) {
            const std::size_t at = below(text.size());
            switch (below(5)) {
            case 0:
                text[at] = static_cast<char>(random());
                break;
            case 1:
                text.erase(at, below(12));
                break;
            case 2:
                text.insert(at, pieces[below(pieces.size())]);
                break;
            case 3:
                text.insert(at, text.substr(below(text.size()), below(40)));
                break;
            default:
                text[at] = static_cast<char>('0' + below(10));
            }
            text += text.empty() ? " " : "";
        }
        try {
            const cv::Mat m = tarvix::parseMatrix(text, "Q.xml", "Q");
            ++read;
            for (int role = 0; role < 4; ++role) {
                try {
                    tarvix::rectify(image, role == 0 ? m : eye, role == 1 ? m : none,
                                    role == 2 ? m : eye, role == 3 ? m : eye);
                } catch (const cv::Exception&) { // a matrix of a wrong shape
                }
            }
        } catch (const cv::Exception&) { // no matrix
        }
    }
    EXPECT_GT(read, 500); // the damage leaves enough of them readable
    EXPECT_LT(read, 19000);
}

} // namespace
