// A test's application object: records the messages that the module shows.
#pragma once

#include <MorvelDib.h>
#include <afxwin.h>
#include <opencv2/core.hpp>

#include <string>
#include <vector>

namespace test {

struct Message {
    std::string text;
    UINT type;
    UINT helpId;
};

class TestHost : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT type, UINT helpId) override;
    std::vector<Message> messages;
};

} // namespace test
