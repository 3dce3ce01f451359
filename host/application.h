// The sample host's application object, through which the module shows its messages.
#pragma once

#include <afxwin.h>

#include <ostream>
#include <string>
#include <vector>

namespace host {

// Prints each message of the module as one line on standard error. A message that is shown makes
// the exit status 1.
class Application : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT type, UINT helpId) override;
    [[nodiscard]] bool messageShown() const { return m_messageShown; }

    // The sentence that was shown last; empty: none since forgetMessages().
    [[nodiscard]] const std::string& lastMessage() const { return m_lastMessage; }

    // Where messages are shown from now on; null: on standard error, as at the beginning. The
    // stream must outlive its use.
    void showMessagesOn(std::ostream* errors) { m_errors = errors; }
    void forgetMessages() {
        m_messageShown = false;
        m_lastMessage.clear();
    }

    // Show what OpenCV and other libraries say to the letter.
    void setVerbose(bool verbose) { m_verbose = verbose; }
    [[nodiscard]] bool verbose() const { return m_verbose; }
    [[nodiscard]] std::string sentence(const std::string& message) const;

    // Notes a sentence about an image that was read, once. The command's end prints them.
    void note(const std::string& sentence);
    [[nodiscard]] std::vector<std::string> takeNotes();

private:
    bool m_messageShown = false;
    bool m_verbose = false;
    std::string m_lastMessage;
    std::ostream* m_errors = nullptr;
    std::vector<std::string> m_notes;
};

// The one application object of the process, made by the first call.
Application& application();

} // namespace host
