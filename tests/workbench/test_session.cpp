// Who is let in by the port, and numbers of command lines.
#include "workbench/request.h"
#include "workbench/session.h"

#include <gtest/gtest.h>

using namespace workbench;

namespace {

bool isLetIn(const Session& session, const std::string& host, const std::string& origin = "") {
    const std::string address = session.address();
    HttpRequest request{.method = "GET",
                        .target = address.substr(address.find('/', 7)),
                        .fields = {{"host", host}}};
    if (!origin.empty()) {
        request.fields.emplace_back("origin", origin);
    }
    return !session.refusal(request, readTarget(request.target).value());
}

TEST(Session, ThePortOfHttpIsLeftOutByBrowsers) {
    const Session usual(80);
    EXPECT_TRUE(isLetIn(usual, "127.0.0.1"));
    EXPECT_TRUE(isLetIn(usual, "localhost", "http://localhost"));
    EXPECT_TRUE(isLetIn(usual, "127.0.0.1:80"));
    EXPECT_FALSE(isLetIn(usual, "127.0.0.1:8080"));
    EXPECT_FALSE(isLetIn(usual, "evil.example"));
    EXPECT_FALSE(isLetIn(usual, ""));
    EXPECT_FALSE(isLetIn(usual, "localhost", "http://evil.example"));
    const Session other(8080);
    EXPECT_TRUE(isLetIn(other, "127.0.0.1:8080"));
    EXPECT_FALSE(isLetIn(other, "127.0.0.1"));
}

TEST(Request, NumbersAreWrittenAsOptionsTakeThem) {
    EXPECT_EQ(numberText(100000), "100000");
    EXPECT_EQ(numberText(-3e9), "-3000000000");
    EXPECT_EQ(numberText(0.1), "0.1");
    EXPECT_EQ(numberText(193.5), "193.5");
    EXPECT_EQ(numberText(1e300), "1e+300");
}

} // namespace
