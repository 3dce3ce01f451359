#include "bridge/guard.h"

#include <afxwin.h>

namespace tarvix {

void showException(const cv::Exception& e) {
    AfxMessageBox(e.what(), 0, 0);
}

} // namespace tarvix
