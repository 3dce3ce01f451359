// What the sample host's parts share: its application object and its way of failing.
#pragma once

#include <afxwin.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace host {

// A failure the user is told about as "tarvix: <text>", exit status 1.
class Failure : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The application object. The module shows OpenCV's messages through it; here they become one line
// on standard error and make the exit status 1.
class Application : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT type, UINT helpId) override;
    [[nodiscard]] bool messageShown() const { return m_messageShown; }
    void forgetMessages() { m_messageShown = false; }

private:
    friend class HeldMessages;
    bool m_messageShown = false;
    std::vector<std::string>* m_held = nullptr;
};

// The one application object of the process.
Application& application();

// While it lives, the module's messages are kept here instead of being shown: for a call that may
// fail.
class HeldMessages {
public:
    HeldMessages() { application().m_held = &texts; }
    ~HeldMessages() { application().m_held = nullptr; }
    HeldMessages(const HeldMessages&) = delete;
    HeldMessages& operator=(const HeldMessages&) = delete;
    std::vector<std::string> texts;
};

// The text on one line: OpenCV's messages span several.
std::string oneLine(const std::string& text);

} // namespace host
