// Files beside the executable, whatever the system says of its path.
#include "bridge/executable_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include <windows.h>

namespace {

// As if the executable had this path; none if it is empty.
std::string executable;

} // namespace

// In place of the stand-in's, as that is described in its header.
DWORD GetModuleFileNameA(HMODULE /*module*/, LPSTR fileName, DWORD size) {
    if (executable.empty()) {
        return 0;
    }
    const std::size_t kept = std::min(executable.size(), std::size_t{size} - 1);
    executable.copy(fileName, kept);
    fileName[kept] = '\0';
    return executable.size() < size ? static_cast<DWORD>(executable.size()) : size;
}

namespace {

// A path of so many characters, its file name has one.
std::string pathOf(std::size_t length) {
    return "/" + std::string(length - 3, 'd') + "/x";
}

TEST(BesideExecutable, IsInItsFolder) {
    executable = "/opt/host/bin/host";
    EXPECT_EQ(tarvix::besideExecutable("cascade.xml"), "/opt/host/bin/cascade.xml");
    for (const std::size_t length : {4U, 5U, 100U, 240U}) {
        executable = pathOf(length);
        EXPECT_EQ(tarvix::besideExecutable("y"), executable.substr(0, length - 1) + "y");
    }
}

TEST(BesideExecutable, IsNoPathIfTheExecutablesIsUnknown) {
    executable.clear();
    EXPECT_EQ(tarvix::besideExecutable("cascade.xml"), "");
}

TEST(BesideExecutable, OfAPathOfOneCharacterIsTheName) {
    executable = "x"; // a host's loader may say so
    EXPECT_EQ(tarvix::besideExecutable("cascade.xml"), "cascade.xml");
}

TEST(BesideExecutable, IsNoPathIfTheExecutablesIsCutOff) {
    executable = pathOf(MAX_PATH - 1);
    EXPECT_NE(tarvix::besideExecutable("y"), "");
    for (const std::size_t length :
         {std::size_t{MAX_PATH}, std::size_t{MAX_PATH} + 1, std::size_t{1000}}) {
        executable = pathOf(length);
        EXPECT_EQ(tarvix::besideExecutable("y"), "") << length;
    }
}

} // namespace
