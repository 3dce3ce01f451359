// What the sample host's parts share: its application object and its way of failing.
#pragma once

#include <afxwin.h>

#include <stdexcept>
#include <string>

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
    bool m_messageShown = false;
};

// The one application object of the process.
Application& application();

// The text on one line: OpenCV's messages span several.
std::string oneLine(const std::string& text);

} // namespace host
