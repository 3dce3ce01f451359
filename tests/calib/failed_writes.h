// A calibration into a folder of its own, and what the host is told when it cannot be written.
#pragma once

#include "tests/calib/views.h"
#include "tests/support/files.h"
#include "tests/support/lists.h"
#include "tests/support/test_host.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

namespace test {

class FailedWrites : public testing::Test {
protected:
    TestHost host;
    TempFolder folder;
    CStringArray files;

    int calibrate() { return calibrate(folder.path()); }
    int calibrate(const std::string& where, int photos = 3) {
        fill(files, leftPhotos(photos));
        return tx_Calib(files, where.c_str(), 9, 6, nullptr);
    }
    void expectMessageAbout(const std::string& name) {
        ASSERT_EQ(host.messages.size(), 1U);
        EXPECT_THAT(host.messages[0].text, testing::HasSubstr("OpenCV("));
        EXPECT_THAT(host.messages[0].text, testing::HasSubstr(name));
        host.messages.clear();
    }
};

} // namespace test
