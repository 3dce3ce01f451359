// What a container or a job may take, read from made folders.
#include "platform/system/control_groups.h"
#include "platform/system/free_memory.h"
#include "tests/support/files.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using tarvix::GroupLimits;

class ControlGroups : public testing::Test {
protected:
    ControlGroups() { write("proc/self/cgroup", "0::/jobs/one\n"); }
    void write(const std::string& name, const std::string& text) const {
        std::filesystem::create_directories(std::filesystem::path(root / name).parent_path());
        test::writeBytes(root / name, text);
    }
    [[nodiscard]] GroupLimits limits() const { return tarvix::groupLimits(root.path()); }

    test::TempFolder root;
};

TEST_F(ControlGroups, WithoutLimitsThereAreNone) {
    EXPECT_EQ(limits().memory, GroupLimits::none);
    EXPECT_EQ(limits().processors, GroupLimits::none);
    write("sys/fs/cgroup/jobs/one/memory.max", "max\n");
    write("sys/fs/cgroup/jobs/one/cpu.max", "max 100000\n");
    EXPECT_EQ(limits().memory, GroupLimits::none);
    EXPECT_EQ(limits().processors, GroupLimits::none);
    std::filesystem::remove(root / "proc/self/cgroup");
    EXPECT_EQ(limits().memory, GroupLimits::none);
}

TEST_F(ControlGroups, TheNarrowestLimitCounts) {
    write("sys/fs/cgroup/jobs/one/memory.max", "5000\n");
    write("sys/fs/cgroup/jobs/one/memory.current", "1000\n");
    write("sys/fs/cgroup/jobs/one/cpu.max", "250000 100000\n");
    EXPECT_EQ(limits().memory, 4000U);
    EXPECT_EQ(limits().processors, 2U);
    write("sys/fs/cgroup/jobs/memory.max", "9000\n");
    write("sys/fs/cgroup/jobs/memory.current", "8000\n");
    write("sys/fs/cgroup/jobs/cpu.max", "50000 100000\n");
    EXPECT_EQ(limits().memory, 1000U);
    EXPECT_EQ(limits().processors, 1U) << "half of one is one";
    write("sys/fs/cgroup/memory.max", "10\n"); // in a container, the root is its own
    write("sys/fs/cgroup/memory.current", "20\n");
    EXPECT_EQ(limits().memory, 0U);
}

TEST_F(ControlGroups, FilesThatNobodyUsesDoNotCount) {
    write("sys/fs/cgroup/jobs/one/memory.max", "5000\n");
    write("sys/fs/cgroup/jobs/one/memory.current", "4900\n");
    write("sys/fs/cgroup/jobs/one/memory.stat", "anon 900\ninactive_file 4000\n");
    EXPECT_EQ(limits().memory, 4100U);
}

TEST_F(ControlGroups, ThoseOfVersionOneAreRead) {
    write("proc/self/cgroup", "7:cpu,cpuacct:/box\n4:memory:/box\n1:name=systemd:/box\n");
    write("sys/fs/cgroup/memory/box/memory.limit_in_bytes", "7000\n");
    write("sys/fs/cgroup/memory/box/memory.usage_in_bytes", "500\n");
    write("sys/fs/cgroup/memory/memory.limit_in_bytes", "9223372036854771712\n");
    write("sys/fs/cgroup/cpu/box/cpu.cfs_quota_us", "300000\n");
    write("sys/fs/cgroup/cpu/box/cpu.cfs_period_us", "100000\n");
    write("sys/fs/cgroup/cpu/cpu.cfs_quota_us", "-1\n");
    EXPECT_EQ(limits().memory, 6500U);
    EXPECT_EQ(limits().processors, 3U);
}

TEST(FreeMemory, ThisProcessHasSome) {
    EXPECT_GE(tarvix::freeMemory(), 1U);
    EXPECT_GE(tarvix::processors(), 1U);
}

} // namespace
