// The class library's message box on a real display, and without one.
#include "tests/support/environment.h"
#include "tests/support/x_server.h"

#include <clocale>
#include <future>
#include <string>

#include <gmock/gmock.h>

#include <afxwin.h>

namespace {

using test::closeWindow;
using test::ScopedEnvironment;
using test::waitForWindow;
using test::XServer;

const int limitSeconds = 60;
const char* const title = "test_message_box"; // the executable's name

// Closes the next box from another thread. If that fails, it ends the server, so that nobody waits
// for the box any longer.
class BoxCloser {
public:
    explicit BoxCloser(XServer& server)
        : m_closed(std::async(std::launch::async, [&server] {
              const bool closed = closeWindow(title, test::returnKey, limitSeconds);
              if (!closed) {
                  server.kill();
              }
              return closed;
          })) {}

    bool hasClosed() { return m_closed.get(); }

private:
    std::future<bool> m_closed;
};

TEST(MessageBox, IsShownAndWaitsForItsButton) {
    XServer server;
    BoxCloser closer(server);
    testing::internal::CaptureStderr();
    const int button = AfxMessageBox("error: (-215:Assertion failed) !_src.empty() in 'cvtColor'");
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(closer.hasClosed()) << "returned before a box of this title was closed";
    EXPECT_EQ(button, IDOK);
    EXPECT_EQ(printed, "");
}

TEST(MessageBox, IsShownAgainAndAgain) {
    XServer server;
    for (int i = 0; i < 3; ++i) {
        BoxCloser closer(server);
        EXPECT_EQ(AfxMessageBox("again"), IDOK);
        EXPECT_TRUE(closer.hasClosed());
    }
}

TEST(MessageBox, IsShownIfTheApplicationObjectLeavesItToTheLibrary) {
    XServer server;
    const CWinApp app;
    BoxCloser closer(server);
    EXPECT_EQ(AfxMessageBox("text", MB_OK, 0), IDOK);
    EXPECT_TRUE(closer.hasClosed());
}

TEST(MessageBox, IsShownWhateverThePlatformOfTheHostsWindows) {
    const ScopedEnvironment platform("QT_QPA_PLATFORM", "offscreen");
    XServer server;
    BoxCloser closer(server);
    EXPECT_EQ(AfxMessageBox("text"), IDOK);
    EXPECT_TRUE(closer.hasClosed());
}

TEST(MessageBox, LeavesTheLocaleAlone) {
    const ScopedEnvironment language("LC_ALL", "C.UTF-8");
    XServer server;
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    BoxCloser closer(server);
    EXPECT_EQ(AfxMessageBox("text"), IDOK);
    EXPECT_TRUE(closer.hasClosed());
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(MessageBox, IsShownFromAnyThread) {
    XServer server;
    for (int i = 0; i < 2; ++i) {
        BoxCloser closer(server);
        EXPECT_EQ(std::async(std::launch::async, [] { return AfxMessageBox("text"); }).get(), IDOK);
        EXPECT_TRUE(closer.hasClosed());
    }
}

TEST(MessageBox, TakesTextsOfAnyLength) {
    XServer server;
    BoxCloser closer(server);
    EXPECT_EQ(AfxMessageBox(std::string(20'000, 'x').c_str()), IDOK);
    EXPECT_TRUE(closer.hasClosed());
}

TEST(MessageBox, GoesToStandardErrorIfTheDisplayEndsMeanwhile) {
    XServer server;
    auto killer = std::async(std::launch::async, [&server] {
        const bool shown = waitForWindow(title, limitSeconds);
        server.kill();
        return shown;
    });
    testing::internal::CaptureStderr();
    EXPECT_EQ(AfxMessageBox("text"), IDOK);
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(killer.get());
    EXPECT_EQ(printed, "text\n");
}

TEST(MessageBox, GoesToStandardErrorWithoutADisplay) {
    for (const auto& display : test::noDisplays()) {
        SCOPED_TRACE(display.value_or("unset"));
        const ScopedEnvironment none("DISPLAY", display);
        testing::internal::CaptureStderr();
        const int button = AfxMessageBox("nothing to show it on: 100%s", MB_OK, 0);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "nothing to show it on: 100%s\n");
        EXPECT_EQ(button, IDOK);

        const CWinApp app;
        testing::internal::CaptureStderr();
        EXPECT_EQ(AfxMessageBox(nullptr), IDOK);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "\n");
    }
}

} // namespace
