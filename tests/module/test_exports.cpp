// The module's table of exports, as the system loaded it, has exactly the functions of exports.txt.
#include "tests/support/module_exports.h"

#include <tarvix/tarvix.h>

#include <gmock/gmock.h>

#ifdef __GNUG__
#include <cxxabi.h>
#endif

#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <string>

namespace {

// "tx_Meas3D::Init" of "?Init@tx_Meas3D@@QEAAHPEBD@Z". What else Visual Studio writes into a name
// is compared by scripts/msvc_check.sh.
std::string nameAlone(const std::string& microsoft) {
    const std::size_t special = microsoft.rfind("??", 0) == 0 ? 1 : 0; // a digit says which member
    const std::size_t start = 1 + 2 * special;
    const std::size_t end = microsoft.find("@@");
    if (microsoft.empty() || microsoft[0] != '?' || end == std::string::npos || end < start) {
        return microsoft;
    }
    const std::string name = microsoft.substr(start, end - start);
    if (special != 0) {
        const char kind = microsoft[2];
        return name + "::" + (kind == '4' ? "operator=" : (kind == '1' ? "~" : "") + name);
    }
    const std::size_t scope = name.find('@');
    return scope == std::string::npos ? name
                                      : name.substr(scope + 1) + "::" + name.substr(0, scope);
}

// The decorated name as exports.txt has it.
std::string readable(const std::string& decorated) {
#ifdef __GNUG__
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(decorated.c_str(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? text.get() : decorated;
#else
    return nameAlone(decorated);
#endif
}

// A line of exports.txt as readable() gives it.
std::string listed(const std::string& line) {
#ifdef __GNUG__
    return line;
#else
    return line.substr(0, line.find('('));
#endif
}

TEST(Exports, AreThoseOfTheList) {
    std::set<std::string> expected;
    std::ifstream list(TARVIX_EXPORTS);
    for (std::string line; std::getline(list, line);) {
        expected.insert(listed(line));
    }
    ASSERT_FALSE(expected.empty());
    delete tx_LoadFile(""); // links the module
    const HMODULE module = GetModuleHandleA("Tarvix.dll");
    ASSERT_NE(module, nullptr);
    std::set<std::string> found; // g++ exports a constructor under two names
    for (const std::string& name : test::exportedNames(module)) {
        found.insert(readable(name));
    }
    EXPECT_EQ(found, expected);
}

TEST(Exports, OfVisualStudioAreReadable) {
    EXPECT_EQ(nameAlone("?tx_Canny@@YAPEAVCDib@@AEAV1@NNHH@Z"), "tx_Canny");
    EXPECT_EQ(nameAlone("?Init@tx_Meas3D@@QEAAHPEBD@Z"), "tx_Meas3D::Init");
    EXPECT_EQ(nameAlone("??0tx_Meas3D@@QEAA@XZ"), "tx_Meas3D::tx_Meas3D");
    EXPECT_EQ(nameAlone("??1tx_Meas3D@@QEAA@XZ"), "tx_Meas3D::~tx_Meas3D");
    EXPECT_EQ(nameAlone("??4tx_Meas3D@@QEAAAEAV0@AEBV0@@Z"), "tx_Meas3D::operator=");
    EXPECT_EQ(nameAlone("tx_Undecorated"), "tx_Undecorated");
}

} // namespace
