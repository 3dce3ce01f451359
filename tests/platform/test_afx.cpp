// The class library's stand-in: strings, arrays, exceptions, the application object.
#include <afxcoll.h>
#include <afxtempl.h>
#include <afxwin.h>

#include "tests/platform/neighbour.h"

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include <gmock/gmock.h>

namespace {

// Whether the call throws the invalid-argument exception.
template <class Call>
bool isRefused(Call&& call) {
    try {
        call();
    } catch (CInvalidArgException* exception) {
        exception->Delete();
        return true;
    }
    return false;
}

TEST(InvalidArgException, IsAPointerToOneStaticObject) {
    std::array<CException*, 2> caught{};
    for (CException*& exception : caught) {
        try {
            AfxThrowInvalidArgException();
        } catch (CException* thrown) {
            exception = thrown;
            thrown->Delete(); // does not destroy it
        }
    }
    ASSERT_NE(caught[0], nullptr);
    EXPECT_EQ(caught[0], caught[1]);
    std::array<char, 200> text{};
    EXPECT_TRUE(caught[0]->GetErrorMessage(text.data(), text.size()));
    EXPECT_GT(std::strlen(text.data()), 0U);
    EXPECT_NE(dynamic_cast<CInvalidArgException*>(caught[0]), nullptr);
}

TEST(InvalidArgException, CutsItsTextToTheBuffer) {
    CInvalidArgException exception(FALSE);
    std::array<char, 200> whole{};
    UINT help = 7;
    ASSERT_TRUE(exception.GetErrorMessage(whole.data(), whole.size(), &help));
    EXPECT_EQ(help, 0U);
    for (const UINT size : {1U, 2U, 10U}) {
        std::array<char, 200> text{};
        text.fill('#');
        EXPECT_TRUE(exception.GetErrorMessage(text.data(), size));
        EXPECT_EQ(std::string(text.data()), std::string(whole.data()).substr(0, size - 1));
        EXPECT_EQ(text.at(size), '#');
    }
    EXPECT_FALSE(exception.GetErrorMessage(nullptr, 5));
    EXPECT_FALSE(exception.GetErrorMessage(whole.data(), 0));
}

class Counted : public CException {
public:
    Counted(int& alive, BOOL autoDelete) : CException(autoDelete), m_alive(alive) { ++m_alive; }
    ~Counted() override { --m_alive; }

private:
    int& m_alive;
};

TEST(Exception, DeleteFreesWhatWasAllocated) {
    int alive = 0;
    CException* const allocated = new Counted(alive, TRUE);
    EXPECT_EQ(alive, 1);
    allocated->Delete();
    EXPECT_EQ(alive, 0);
    Counted lasting(alive, FALSE);
    lasting.Delete();
    EXPECT_EQ(alive, 1);
    std::array<char, 4> text{'a', 'b', 'c', 0};
    EXPECT_FALSE(lasting.GetErrorMessage(text.data(), text.size()));
    EXPECT_STREQ(text.data(), "");
}

TEST(Exception, CrossesTheBordersOfModules) {
    CStringArray strings;
    strings.Add("one");
    EXPECT_TRUE(isRefused([&] { neighbour::stringAt(strings, 1); }));
    CArray<RECT, RECT&> rects;
    EXPECT_TRUE(isRefused([&] { neighbour::rectAt(rects, 0); }));
    EXPECT_EQ(neighbour::caughtAs([] { AfxThrowInvalidArgException(); }), 1);
    EXPECT_EQ(neighbour::caughtAs([] { CStringArray().GetAt(0); }), 1);
    EXPECT_EQ(neighbour::caughtAs([] {
                  static CException other(FALSE);
                  throw &other;
              }),
              2);
    EXPECT_EQ(neighbour::caughtAs([] { throw 0; }), 3);
}

TEST(String, BeginsEmptyAndTakesNullAsEmpty) {
    EXPECT_TRUE(CString().IsEmpty());
    const CString null(nullptr);
    EXPECT_TRUE(null.IsEmpty());
    EXPECT_STREQ(null, "");
    CString text("abc");
    text = static_cast<LPCSTR>(nullptr);
    EXPECT_TRUE(text.IsEmpty());
    text += static_cast<LPCSTR>(nullptr);
    EXPECT_EQ(text.GetLength(), 0);
}

TEST(String, CopiesMovesAndAssigns) {
    const CString first("abc");
    CString copy(first);
    copy += "d";
    EXPECT_STREQ(first, "abc");
    EXPECT_STREQ(copy, "abcd");
    CString moved(std::move(copy));
    EXPECT_STREQ(moved, "abcd");
    EXPECT_TRUE(copy.IsEmpty()); // NOLINT(bugprone-use-after-move): defined to be empty
    CString other;
    other = std::move(moved);
    EXPECT_STREQ(other, "abcd");
    other = first;
    EXPECT_STREQ(other.GetString(), "abc");
    other = "xyz";
    EXPECT_STREQ(other, "xyz");
    const CString& self = other;
    other = self;
    EXPECT_STREQ(other, "xyz");
    other = other.GetString() + 1; // its own tail
    EXPECT_STREQ(other, "yz");
    static_assert(std::is_nothrow_move_constructible_v<CString>);
}

TEST(String, AppendsAndJoins) {
    CString text;
    text += "12.0,45.5";
    text += ';';
    text += CString("78.5,90.0");
    EXPECT_STREQ(text, "12.0,45.5;78.5,90.0");
    text += text;
    EXPECT_EQ(text.GetLength(), 38);
    const CString a("a"), b("b");
    EXPECT_STREQ(a + b, "ab");
    EXPECT_STREQ(a + "c", "ac");
    EXPECT_STREQ("c" + a, "ca");
    text.Empty();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0);
}

TEST(String, ComparesByteByByte) {
    const CString text("abc");
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE("abc" == text);
    EXPECT_TRUE(text == CString("abc"));
    EXPECT_TRUE(text != "abd");
    EXPECT_TRUE("abd" != text);
    EXPECT_TRUE(text != CString("ab"));
    EXPECT_EQ(text.Compare("abc"), 0);
    EXPECT_LT(text.Compare("abd"), 0);
    EXPECT_GT(text.Compare("ABC"), 0);
    EXPECT_LT(text.Compare("ab\xe9"), 0);
    EXPECT_TRUE(CString("a") < CString("b"));
}

TEST(String, FormatsAsPrintf) {
    CString text("old");
    text.Format("%.1f,%.1f", 12.0, 45.5);
    EXPECT_STREQ(text, "12.0,45.5");
    text.Format("%s-%d", text.GetString(), 7); // its own text as an argument
    EXPECT_STREQ(text, "12.0,45.5-7");
    const std::string longText(100'000, 'x');
    text.Format("%s", longText.c_str());
    EXPECT_EQ(text.GetLength(), 100'000);
    text.Format("%s", "");
    EXPECT_TRUE(text.IsEmpty());
}

TEST(String, ChecksIndices) {
    const CString text("abc");
    EXPECT_EQ(text.GetAt(0), 'a');
    EXPECT_EQ(text[2], 'c');
    EXPECT_EQ(text.GetAt(3), '\0');
    EXPECT_TRUE(isRefused([&] { text.GetAt(4); }));
    EXPECT_TRUE(isRefused([&] { text.GetAt(-1); }));
}

TEST(StringArray, HoldsStringsInOrder) {
    CStringArray strings;
    EXPECT_TRUE(strings.IsEmpty());
    EXPECT_EQ(strings.GetUpperBound(), -1);
    EXPECT_EQ(strings.Add("one"), 0);
    EXPECT_EQ(strings.Add(CString("two")), 1);
    EXPECT_EQ(strings.GetSize(), 2);
    EXPECT_EQ(strings.GetCount(), 2);
    EXPECT_STREQ(strings.GetAt(0), "one");
    EXPECT_STREQ(strings[1], "two");
    strings[1] = "zwei";
    strings.SetAt(0, "eins");
    EXPECT_STREQ(strings.GetAt(1), "zwei");
    EXPECT_STREQ(strings.ElementAt(0), "eins");
    strings.SetSize(3);
    EXPECT_STREQ(strings[2], "");
    strings.SetSize(1);
    EXPECT_EQ(strings.GetSize(), 1);
    strings.RemoveAll();
    EXPECT_TRUE(strings.IsEmpty());
}

TEST(StringArray, RefusesIndicesOutOfRange) {
    CStringArray strings;
    EXPECT_TRUE(isRefused([&] { strings.GetAt(0); }));
    strings.Add("one");
    for (const INT_PTR index : {INT_PTR{-1}, INT_PTR{1}, std::numeric_limits<INT_PTR>::max(),
                                std::numeric_limits<INT_PTR>::min()}) {
        EXPECT_TRUE(isRefused([&] { strings.GetAt(index); }));
        EXPECT_TRUE(isRefused([&] { strings.ElementAt(index); }));
        EXPECT_TRUE(isRefused([&] { strings[index]; }));
        EXPECT_TRUE(isRefused([&] { std::as_const(strings)[index]; }));
        EXPECT_TRUE(isRefused([&] { strings.SetAt(index, "x"); }));
    }
    EXPECT_TRUE(isRefused([&] { strings.SetSize(-1); }));
    EXPECT_EQ(strings.GetSize(), 1);
}

// Makes the capacity visible.
template <class TYPE, class ARG_TYPE = const TYPE&>
class OpenArray : public CArray<TYPE, ARG_TYPE> {
public:
    INT_PTR capacity() const { return this->m_nMaxSize; }
    INT_PTR growth() const { return this->m_nGrowBy; }
};

TEST(Array, TakesTheFirstMemoryForTheLargerOfSizeAndGrowth) {
    OpenArray<int> array;
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_EQ(array.GetData(), nullptr);
    array.SetSize(3);
    EXPECT_EQ(array.capacity(), 3);
    array.SetSize(0);
    array.SetSize(3, 10);
    EXPECT_EQ(array.capacity(), 10);
    EXPECT_EQ(array.GetSize(), 3);
}

TEST(Array, GrowsByAnEighthButAtLeast4AndAtMost1024) {
    // The growth rule as a table: the capacity before and after one element too many.
    for (const auto& [size, expected] : {std::pair<INT_PTR, INT_PTR>{1, 5},
                                         {4, 8},
                                         {32, 36},
                                         {39, 43},
                                         {40, 45},
                                         {800, 900},
                                         {8192, 9216},
                                         {8199, 9223},
                                         {100'000, 101'024}}) {
        OpenArray<int> array;
        array.SetSize(size);
        ASSERT_EQ(array.capacity(), size);
        array.Add(7);
        EXPECT_EQ(array.GetSize(), size + 1);
        EXPECT_EQ(array.capacity(), expected);
    }
}

TEST(Array, GrowsByItsSettingOrToTheSizeIfThatIsMore) {
    OpenArray<int> array;
    array.SetSize(1, 3);
    EXPECT_EQ(array.capacity(), 3);
    array.SetSize(4);
    EXPECT_EQ(array.capacity(), 6);
    array.SetSize(100);
    EXPECT_EQ(array.capacity(), 100);
    array.SetSize(99);
    EXPECT_EQ(array.capacity(), 100) << "a smaller size keeps the memory";
    array.SetSize(0);
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_EQ(array.GetData(), nullptr);
    EXPECT_EQ(array.growth(), 3) << "the setting outlives the memory";
    array.SetSize(1, 0);
    EXPECT_EQ(array.growth(), 0);
}

TEST(Array, RefusesNegativeSizesAndSumsThatOverflow) {
    OpenArray<char> array;
    EXPECT_TRUE(isRefused([&] { array.SetSize(-1); }));
    EXPECT_TRUE(isRefused([&] { array.SetSize(std::numeric_limits<INT_PTR>::min()); }));
    EXPECT_EQ(array.GetSize(), 0);
    array.SetSize(2);
    EXPECT_TRUE(isRefused([&] { array.SetSize(3, std::numeric_limits<INT_PTR>::max()); }));
    EXPECT_EQ(array.GetSize(), 2);
    EXPECT_EQ(array.capacity(), 2);
}

TEST(Array, NewElementsAreZero) {
    CArray<RECT, RECT&> rects;
    rects.SetSize(100);
    for (INT_PTR i = 0; i < 100; ++i) {
        rects[i] = {1, 2, 3, 4};
    }
    rects.SetSize(10);
    rects.SetSize(300);
    EXPECT_EQ(rects[9].bottom, 4);
    for (INT_PTR i = 10; i < 300; ++i) {
        ASSERT_EQ(rects[i].left, 0);
        ASSERT_EQ(rects[i].bottom, 0);
    }
}

TEST(Array, ChecksEveryIndex) {
    CArray<int> array;
    array.SetSize(2);
    for (const INT_PTR index : {INT_PTR{-1}, INT_PTR{2}, std::numeric_limits<INT_PTR>::max()}) {
        EXPECT_TRUE(isRefused([&] { array.GetAt(index); }));
        EXPECT_TRUE(isRefused([&] { std::as_const(array).GetAt(index); }));
        EXPECT_TRUE(isRefused([&] { array.ElementAt(index); }));
        EXPECT_TRUE(isRefused([&] { array[index]; }));
        EXPECT_TRUE(isRefused([&] { std::as_const(array)[index]; }));
        EXPECT_TRUE(isRefused([&] { array.SetAt(index, 1); }));
    }
    EXPECT_TRUE(isRefused([&] { array.SetAtGrow(-1, 1); }));
    array.SetAtGrow(4, 9);
    EXPECT_EQ(array.GetSize(), 5);
    EXPECT_EQ(array[3], 0);
    EXPECT_EQ(array.GetUpperBound(), 4);
    EXPECT_EQ(array.GetData()[4], 9);
    array.RemoveAll();
    EXPECT_TRUE(array.IsEmpty());
}

TEST(Array, ConstructsAndDestroysItsElements) {
    const auto token = std::make_shared<int>(1);
    {
        CArray<std::shared_ptr<int>> array;
        for (int i = 0; i < 100; ++i) {
            array.Add(token);
        }
        EXPECT_EQ(token.use_count(), 101);
        array.SetSize(40);
        EXPECT_EQ(token.use_count(), 41);
        array.SetSize(50);
        EXPECT_EQ(array[45], nullptr);
        array.SetSize(0);
        EXPECT_EQ(token.use_count(), 1);
        array.Add(token);
    }
    EXPECT_EQ(token.use_count(), 1);
}

TEST(Array, IsFilledInOneModuleAndFreedInAnother) {
    CArray<RECT, RECT&> rects;
    for (LONG i = 0; i < 50; ++i) {
        neighbour::appendRect(rects, {i, i + 1, i + 2, i + 3});
    }
    ASSERT_EQ(rects.GetSize(), 50);
    EXPECT_EQ(rects[49].bottom, 52);
    neighbour::rectAt(rects, 3).left = 77;
    EXPECT_EQ(rects[3].left, 77);
}

class RecordingApp : public CWinApp {
public:
    int DoMessageBox(LPCSTR prompt, UINT type, UINT promptId) override {
        m_calls.push_back({prompt, type, promptId});
        return 42;
    }

    struct Call {
        std::string prompt;
        UINT type, promptId;
    };
    std::vector<Call> m_calls;
};

TEST(Application, IsTheObjectThatExists) {
    EXPECT_EQ(AfxGetApp(), nullptr);
    {
        RecordingApp app;
        EXPECT_EQ(AfxGetApp(), &app);
    }
    EXPECT_EQ(AfxGetApp(), nullptr);
    auto first = std::make_unique<RecordingApp>();
    const RecordingApp second;
    first.reset();
    EXPECT_EQ(AfxGetApp(), &second);
}

TEST(Application, TakesTheMessagesOver) {
    RecordingApp app;
    EXPECT_EQ(AfxMessageBox("text", 0, 0), 42);
    EXPECT_EQ(AfxMessageBox("more", 0x30, 9), 42);
    EXPECT_EQ(AfxMessageBox("default"), 42);
    ASSERT_EQ(app.m_calls.size(), 3U);
    EXPECT_EQ(app.m_calls[0].prompt, "text");
    EXPECT_EQ(app.m_calls[0].type, 0U);
    EXPECT_EQ(app.m_calls[0].promptId, 0U);
    EXPECT_EQ(app.m_calls[1].type, 0x30U);
    EXPECT_EQ(app.m_calls[1].promptId, 9U);
    EXPECT_EQ(app.m_calls[2].type, static_cast<UINT>(MB_OK));
    EXPECT_EQ(app.m_calls[2].promptId, 0U);
}

} // namespace
