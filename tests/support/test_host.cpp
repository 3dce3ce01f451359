#include "tests/support/test_host.h"

namespace test {

int TestHost::DoMessageBox(LPCSTR text, UINT type, UINT helpId) {
    messages.push_back({text, type, helpId});
    return IDOK;
}

} // namespace test
