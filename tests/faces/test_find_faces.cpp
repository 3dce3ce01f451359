// tx_FindFaces as a host calls it: the result, the array, the messages, the cascade file.
#include <tarvix/tarvix.h>

#include "bridge/guard.h"
#include "bridge/rect_array.h"
#include "tests/support/files.h"
#include "tests/support/identical.h"
#include "tests/support/images.h"
#include "tests/support/program.h"
#include "tests/support/stored_rows.h"
#include "tests/support/test_host.h"

#include <gmock/gmock.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

namespace fs = std::filesystem;

// Makes protected members visible.
class Faces : public CArray<RECT, RECT&> {
public:
    [[nodiscard]] INT_PTR growBy() const { return m_nGrowBy; }
    [[nodiscard]] INT_PTR capacity() const { return m_nMaxSize; }
    [[nodiscard]] std::vector<std::array<int, 4>> sides() const {
        std::vector<std::array<int, 4>> all;
        for (INT_PTR i = 0; i < GetSize(); ++i) {
            const RECT& face = GetAt(i);
            all.push_back({static_cast<int>(face.left), static_cast<int>(face.top),
                           static_cast<int>(face.right), static_cast<int>(face.bottom)});
        }
        return all;
    }
};

std::vector<std::array<int, 4>> sidesOf(const std::vector<cv::Rect>& detections) {
    std::vector<std::array<int, 4>> all;
    for (const cv::Rect& one : detections) {
        all.push_back({one.x, one.y, one.x + one.width, one.y + one.height});
    }
    return all;
}

// The photograph's face in several places and sizes, so that there is an order to keep.
cv::Mat crowd() {
    const cv::Mat photo = test::photo("messi5.jpg", true);
    const cv::Mat face = photo(cv::Rect(195, 65, 100, 95));
    cv::Mat image(520, 620, CV_8UC1, cv::Scalar(90));
    for (int i = 0; i < 6; ++i) {
        cv::Mat scaled;
        const double scale = 1 + 0.15 * (i * 5 % 6);
        cv::resize(face, scaled, {}, scale, scale, cv::INTER_LINEAR);
        scaled.copyTo(image(cv::Rect({(i % 3) * 205, (i / 3) * 250}, scaled.size())));
    }
    return image;
}

class FindFaces : public testing::Test {
protected:
    test::TestHost host;
    Faces faces;

    // With more threads, the order of OpenCV's detections changes from call to call.
    FindFaces() { cv::setNumThreads(1); }

    static std::vector<cv::Rect> detections(const cv::Mat& grey) {
        cv::CascadeClassifier classifier(TARVIX_HAAR_CASCADES "/haarcascade_frontalface_alt.xml");
        cv::Mat equalised;
        cv::equalizeHist(grey, equalised);
        std::vector<cv::Rect> found;
        classifier.detectMultiScale(equalised, found, 1.1, 2, 0, {}, {});
        return found;
    }
};

TEST_F(FindFaces, ReturnsTheFaceOfAPhotograph) {
    const cv::Mat photo = test::photo("messi5.jpg", true);
    const test::Dib dib = test::dibOf(photo);
    ASSERT_EQ(tx_FindFaces(*dib, faces), 1);
    EXPECT_EQ(faces.sides(), sidesOf(detections(photo)));
    const RECT face = faces[0];
    EXPECT_TRUE(face.left < 246 && face.right > 246 && face.top < 110 && face.bottom > 110);
    EXPECT_THAT(host.messages, IsEmpty());
    EXPECT_THAT(*dib, test::IsIdenticalTo(photo)) << "the input is only read";
}

TEST_F(FindFaces, KeepsOpenCvsOrderOfManyFaces) {
    const cv::Mat image = crowd();
    const std::vector<cv::Rect> expected = detections(image);
    ASSERT_GE(expected.size(), 5U);
    EXPECT_EQ(tx_FindFaces(*test::dibOf(image), faces), static_cast<int>(expected.size()));
    EXPECT_EQ(faces.sides(), sidesOf(expected));
}

TEST_F(FindFaces, OldContentsAreGoneAndTheGrowthSettingStays) {
    const test::Dib dib = test::dibOf(test::photo("messi5.jpg", true));
    faces.SetSize(50, 7);
    for (INT_PTR i = 0; i < 50; ++i) {
        faces[i] = RECT{-1, -1, -1, -1};
    }
    ASSERT_EQ(tx_FindFaces(*dib, faces), 1);
    EXPECT_EQ(faces.GetSize(), 1);
    EXPECT_EQ(faces.growBy(), 7);
    EXPECT_EQ(faces.capacity(), 7)
        << "the old memory is freed, the new one has the size of one growth";
    EXPECT_GT(faces[0].right, 0);
}

TEST_F(FindFaces, GrowsByTheClassLibrarysRule) {
    const cv::Mat image = crowd();
    const int count = tx_FindFaces(*test::dibOf(image), faces);
    ASSERT_GE(count, 5);
    // As SetSize(size + 1) for each face: the first memory is for one, then four more at a time.
    EXPECT_EQ(faces.capacity(), 1 + (count - 1 + 3) / 4 * 4);
}

TEST_F(FindFaces, WithoutAFaceIsSilentAndLeavesTheArrayEmpty) {
    for (const cv::Mat& image :
         {cv::Mat(200, 200, CV_8UC1, cv::Scalar(128)), cv::Mat(1, 1, CV_8UC1, cv::Scalar(0)),
          test::noise(64, 64, CV_8UC1)}) {
        faces.SetSize(4, 3);
        EXPECT_EQ(tx_FindFaces(*test::dibOf(image), faces), 0);
        EXPECT_EQ(faces.GetSize(), 0);
        EXPECT_EQ(faces.capacity(), 0);
        EXPECT_EQ(faces.growBy(), 3);
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(FindFaces, ColourIsRefusedWithOpenCvsMessage) {
    faces.SetSize(4);
    EXPECT_EQ(tx_FindFaces(*test::dibOf(test::photo("messi5.jpg")), faces), 0);
    ASSERT_THAT(host.messages, SizeIs(1));
    EXPECT_THAT(host.messages[0].text, HasSubstr("equalizeHist"));
    EXPECT_EQ(host.messages[0].type, 0U);
    EXPECT_EQ(host.messages[0].helpId, 0U);
    EXPECT_EQ(faces.GetSize(), 0);
}

TEST_F(FindFaces, ABitmapThatGivesAnEmptyMatrixHasNoFaces) {
    CDib never;
    EXPECT_EQ(tx_FindFaces(never, faces), 0);
    for (const int bits : {1, 4, 16, 32}) {
        EXPECT_EQ(tx_FindFaces(*test::makeDib(40, 40, bits), faces), 0) << bits;
    }
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(FindFaces, AnImageStoredTopDownIsSearchedUpsideDown) {
    const cv::Mat photo = test::photo("messi5.jpg", true);
    const test::Dib dib = test::makeDib(photo.cols, -photo.rows, 8, 0);
    const std::size_t stride = test::rowBytes(photo.cols, 8);
    for (int y = 0; y < photo.rows; ++y) {
        std::copy_n(photo.ptr(y), photo.cols, dib->m_pBits + static_cast<std::size_t>(y) * stride);
    }
    cv::Mat flipped;
    cv::flip(photo, flipped, 0);
    EXPECT_EQ(tx_FindFaces(*dib, faces), static_cast<int>(detections(flipped).size()));
    EXPECT_EQ(faces.sides(), sidesOf(detections(flipped)));
}

// What the array holds if copying into it fails.
class CollectRects : public FindFaces {
protected:
    const std::vector<cv::Rect> three = {{10, 20, 30, 40}, {1, 2, 3, 4}, {5, 6, 7, 8}};
};

TEST_F(CollectRects, EmptiesTheArrayBeforeTheSearch) {
    faces.SetSize(9);
    INT_PTR sizeThen = -1;
    EXPECT_EQ(tarvix::collectRects(faces,
                                   [&] {
                                       sizeThen = faces.GetSize();
                                       return three;
                                   }),
              3);
    EXPECT_EQ(sizeThen, 0);
    EXPECT_THAT(faces.sides(), ElementsAre(ElementsAre(10, 20, 40, 60), ElementsAre(1, 2, 4, 6),
                                           ElementsAre(5, 6, 12, 14)));
}

TEST_F(CollectRects, AfterAMessageReturnsZeroThoughAppendedFacesStay) {
    EXPECT_EQ(tarvix::collectRects(faces,
                                   [&]() -> std::vector<cv::Rect> {
                                       faces.SetSize(2);
                                       CV_Error(cv::Error::StsError, "broken off");
                                   }),
              0);
    EXPECT_EQ(faces.GetSize(), 2);
    ASSERT_THAT(host.messages, SizeIs(1));
    EXPECT_THAT(host.messages[0].text, HasSubstr("broken off"));
}

TEST_F(CollectRects, AnArrayThatCannotGrowKeepsAndCountsWhatItHolds) {
    EXPECT_EQ(tarvix::collectRects(faces,
                                   [&] {
                                       // Room for two, and a growth that no memory fulfils: the
                                       // third face throws the class library's exception.
                                       faces.SetSize(2);
                                       faces.SetSize(1, std::numeric_limits<INT_PTR>::max());
                                       faces[0] = RECT{9, 9, 9, 9};
                                       return three;
                                   }),
              2);
    EXPECT_THAT(faces.sides(), ElementsAre(ElementsAre(9, 9, 9, 9), ElementsAre(10, 20, 40, 60)));
    EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(CollectRects, AnyOtherExceptionIsSilentAndReturnsTheSize) {
    const auto after = [&](auto raise) {
        return tarvix::collectRects(faces, [&]() -> std::vector<cv::Rect> {
            faces.SetSize(2);
            raise();
            return {};
        });
    };
    EXPECT_EQ(after([] { throw std::bad_alloc(); }), 2);
    EXPECT_EQ(after([] { AfxThrowInvalidArgException(); }), 2);
    EXPECT_EQ(after([] { tarvix::failSilently(); }), 2);
    EXPECT_EQ(after([] {}), 2) << "nothing found is such a failure, too";
    EXPECT_THAT(host.messages, IsEmpty());
}

// A separate host with the cascade that the test puts beside it.
class CascadeFile : public testing::Test {
protected:
    test::TempFolder folder;
    std::string program = test::copyProgram(TARVIX_FACES_PROBE, folder.path());
    std::string cascade = folder / "haarcascade_frontalface_alt.xml";

    [[nodiscard]] std::string find() const {
        const test::ProgramResult run =
            test::runProgram(program, {"find", test::photoPath("messi5.jpg")});
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out;
    }

    static std::string whole() {
        return test::bytesOf(TARVIX_HAAR_CASCADES "/haarcascade_frontalface_alt.xml");
    }

    void write(const std::string& text) const { test::writeBytes(cascade, text); }

    // One message, no face, 0.
    static void expectMessage(const std::string& out, const std::string& what) {
        EXPECT_THAT(out, StartsWith("message OpenCV"));
        EXPECT_THAT(out, HasSubstr(what));
        EXPECT_THAT(out, testing::EndsWith("result 0\n"));
        EXPECT_THAT(out, testing::Not(HasSubstr("\nface")));
        EXPECT_EQ(std::count(out.begin(), out.end(), '\n'), 2) << out;
    }
};

TEST_F(CascadeFile, IsReadFromTheExecutablesFolder) {
    write(whole());
    EXPECT_THAT(find(), testing::AllOf(StartsWith("face "), testing::EndsWith("\nresult 1\n")));
}

TEST_F(CascadeFile, MissingShowsOpenCvsMessageAboutAnEmptyClassifier) {
    expectMessage(find(), "!empty()");
}

TEST_F(CascadeFile, ThatIsEmptyOrIsNotACascadeShowsAMessage) {
    write("");
    expectMessage(find(), "");
    write("<?xml version=\"1.0\"?>\n<opencv_storage><M1>5</M1></opencv_storage>\n");
    expectMessage(find(), "");
    write("<html><body>404</body></html>\n");
    expectMessage(find(), "");
    write(std::string(5000, '\xff'));
    expectMessage(find(), "");
    fs::remove(cascade);
    fs::create_directory(cascade);
    expectMessage(find(), "");
}

TEST_F(CascadeFile, TruncatedShowsAMessageWhereverItIsCut) {
    const std::string text = whole();
    for (const std::size_t kept :
         {std::size_t{1}, std::size_t{60}, std::size_t{2000}, text.size() / 2, text.size() - 60}) {
        SCOPED_TRACE(kept);
        write(text.substr(0, kept));
        expectMessage(find(), "");
    }
}

} // namespace
