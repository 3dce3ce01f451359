#include "bridge/guard.h"

#include "tests/support/test_host.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using namespace tarvix;

const auto throwCv = []() -> int { CV_Error(cv::Error::StsBadArg, "the text"); };
const auto throwStd = []() -> int { throw std::runtime_error("other"); };
const auto throwInt = []() -> int { failSilently(); };
const auto succeed = [] { return 7; };

std::string whatOf(const std::function<int()>& body) {
    try {
        body();
    } catch (const cv::Exception& e) {
        return e.what();
    }
    return "";
}

class Guard : public testing::Test {
protected:
    test::TestHost host;
};

TEST_F(Guard, SuccessPassesThroughEveryVariant) {
    EXPECT_EQ(showCvSwallowRest<int>(0, succeed), 7);
    EXPECT_EQ(showCvPassRest<int>(0, succeed), 7);
    EXPECT_EQ(swallowAll<int>(0, succeed), 7);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Guard, OpenCvTextIsShownOnceWithStyleAndHelpZero) {
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwCv), -1);
    ASSERT_EQ(host.messages.size(), 1U);
    EXPECT_EQ(host.messages[0].type, 0U);
    EXPECT_EQ(host.messages[0].helpId, 0U);
    EXPECT_THAT(host.messages[0].text, testing::HasSubstr("the text"));
    EXPECT_THAT(host.messages[0].text, testing::StartsWith("OpenCV("));
    EXPECT_EQ(showCvPassRest<int>(-2, throwCv), -2);
    EXPECT_EQ(host.messages.size(), 2U);
}

TEST_F(Guard, TheTextIsWhatItself) {
    const std::string expected = whatOf(throwCv);
    ASSERT_FALSE(expected.empty());
    showCvSwallowRest<int>(0, throwCv);
    EXPECT_EQ(host.messages.at(0).text, expected);
}

// The int that the body throws, -1 if it does not throw.
int thrownBy(const std::function<void()>& body) {
    try {
        body();
    } catch (int value) {
        return value;
    }
    return -1;
}

TEST_F(Guard, FailingSilentlyThrowsZero) {
    EXPECT_EQ(thrownBy([] { failSilently(); }), 0);
}

TEST_F(Guard, NothingFailsSilentlyWhateverItsType) {
    int number = 5;
    EXPECT_EQ(orFail(&number), &number);
    EXPECT_EQ(orFail(std::optional<int>(5)), 5);
    EXPECT_EQ(orFail(cv::Mat(2, 3, CV_8UC1)).size(), cv::Size(3, 2));
    EXPECT_EQ(thrownBy([] { orFail(static_cast<int*>(nullptr)); }), 0);
    EXPECT_EQ(thrownBy([] { orFail(std::optional<int>()); }), 0);
    EXPECT_EQ(thrownBy([] { orFail(cv::Mat()); }), 0);
}

TEST_F(Guard, OtherExceptionsFailSilently) {
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwStd), -1);
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwInt), -1);
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwInt, [] { return 5; }), 5);
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwStd, [] { return 5; }), 5);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Guard, OnlyTheOtherKindsUseTheirOwnResult) {
    EXPECT_EQ(showCvSwallowRest<int>(-1, throwCv, [] { return 5; }), -1);
}

TEST_F(Guard, OtherExceptionsPropagateIfTheVariantSaysSo) {
    EXPECT_THROW(showCvPassRest<int>(0, throwStd), std::runtime_error);
    EXPECT_THROW(showCvPassRest<int>(0, throwInt), int);
    EXPECT_TRUE(host.messages.empty());
}

TEST_F(Guard, SwallowAllIsSilentForAll) {
    EXPECT_EQ(swallowAll<int>(-1, throwCv), -1);
    EXPECT_EQ(swallowAll<int>(-1, throwStd), -1);
    EXPECT_EQ(swallowAll<int>(-1, throwInt), -1);
    EXPECT_TRUE(host.messages.empty());
}

TEST(OrFail, NullIsAnExpectedFailure) {
    int x = 1;
    EXPECT_EQ(orFail(&x), &x);
    EXPECT_THROW(orFail<int>(nullptr), int);
}

} // namespace
