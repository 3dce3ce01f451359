// What tests of exports share: a host that records the messages, and the check that no bitmap stays
// behind.
#pragma once

#include "tests/support/test_host.h"

#include <gtest/gtest.h>

namespace test {

class ExportTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(morvel_dib_testing::liveObjects(), m_before); }
    TestHost host;

private:
    long m_before = morvel_dib_testing::liveObjects();
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
