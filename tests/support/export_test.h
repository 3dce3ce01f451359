// What tests of exports share: a host that records the messages, and the check that no bitmap stays
// behind.
#pragma once

#include "tests/support/observed_bitmaps.h"
#include "tests/support/test_host.h"

#include <gtest/gtest.h>

namespace test {

class ExportTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(liveBitmaps(), m_before); }
    TestHost host;

private:
    long m_before = liveBitmaps();
};

// The same, for exports that show nothing.
class SilentExportTest : public ExportTest {
protected:
    void TearDown() override {
        ExportTest::TearDown();
        EXPECT_TRUE(host.messages.empty());
    }
};

} // namespace test
