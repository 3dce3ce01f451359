// Which documents the check lets through, byte by byte and bound by bound.
#include "calib/document_check.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using tarvix::isSoundDocument;

const std::string head = "<?xml version=\"1.0\"?>\n<opencv_storage>\n";
const std::string foot = "\n</opencv_storage>\n";

bool isSoundWithin(const std::string& inside) {
    return isSoundDocument(head + inside + foot);
}

std::string element(const std::string& name) {
    return std::string("<").append(name).append(">1</").append(name).append(">");
}

bool isLetter(char c) {
    return std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_").find(c) !=
           std::string_view::npos;
}

TEST(DocumentCheck, NamesAreLettersThenLettersDigitsAndDashes) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const std::string first = std::string(1, c) + "x", later = std::string("x") + c + "x";
        const bool continues = isLetter(c) || (c >= '0' && c <= '9') || c == '-';
        EXPECT_EQ(isSoundWithin(element(std::string(1, c))), isLetter(c)) << code;
        EXPECT_EQ(isSoundWithin(element(first)), isLetter(c)) << code;
        EXPECT_EQ(isSoundWithin(element(later)), continues) << code;
        const std::string attribute = "<x " + first + R"(="1">1</x>)";
        EXPECT_EQ(isSoundWithin(attribute), isLetter(c) || c == ' ' || c == '\t') << code;
    }
}

TEST(DocumentCheck, TextHasNoControlCharactersAndNoMarkup) {
    for (int code = 0; code < 256; ++code) {
        const char c = static_cast<char>(code);
        const bool isControl = code < 32 && c != '\t' && c != '\n' && c != '\r';
        const bool isMarkup = std::string_view(R"(&>'<")").find(c) != std::string_view::npos;
        EXPECT_EQ(isSoundWithin("<x>1" + std::string(1, c) + "2</x>"), !isControl && !isMarkup)
            << code;
        EXPECT_EQ(isSoundWithin(R"(<x>"1)" + std::string(1, c) + R"(2"</x>)"),
                  !isControl && !isMarkup && c != '\n')
            << code;
        EXPECT_EQ(isSoundWithin(R"(<x a="1)" + std::string(1, c) + R"(2">1</x>)"),
                  !isControl && std::string_view("\r\n<>&\"").find(c) == std::string_view::npos)
            << code;
        const bool isBlank = c == ' ' || c == '\t';
        EXPECT_EQ(isSoundWithin("<x>1</x" + std::string(1, c) + ">"), isBlank) << code;
        EXPECT_EQ(isSoundWithin("<x" + std::string(1, c) + ">1</x>"), isBlank) << code;
    }
}

TEST(DocumentCheck, LinesHave4000BytesAtMost) {
    const auto line = [](std::size_t length) {
        return "<x>\n" + std::string(length, '1') + "\n</x>";
    };
    EXPECT_TRUE(isSoundWithin(line(3999)));
    EXPECT_TRUE(isSoundWithin(line(4000)));
    EXPECT_FALSE(isSoundWithin(line(4001)));
    const auto firstLine = [](std::size_t length) { // without a line's end before it
        const std::string begin = R"(<?xml a=")", end = R"("?>)";
        return begin + std::string(length - begin.size() - end.size(), '1') + end +
               "\n<opencv_storage></opencv_storage>";
    };
    EXPECT_TRUE(isSoundDocument(firstLine(4000)));
    EXPECT_FALSE(isSoundDocument(firstLine(4001)));
    // Each line counts by itself.
    EXPECT_TRUE(
        isSoundWithin("<x>\n" + std::string(4000, '1') + "\n" + std::string(4000, '1') + "\n</x>"));
}

TEST(DocumentCheck, DocumentsHaveAMebibyteAtMost) {
    std::string filler;
    const std::size_t rest = tarvix::largestDocument - head.size() - foot.size() - 9;
    while (filler.size() < rest) {
        filler.append(filler.size() % 4000 == 3999 ? "\n" : "1");
    }
    EXPECT_TRUE(isSoundWithin("<x>\n" + filler + "\n</x>"));
    EXPECT_FALSE(isSoundWithin("<x>\n" + filler + "1\n</x>"));
    EXPECT_EQ(tarvix::largestDocument, 1048576U);
}

TEST(DocumentCheck, ElementsAre16DeepAtMost) {
    for (int depth = 1; depth <= 20; ++depth) { // within the outermost one
        std::string open, close;
        for (int i = 0; i < depth; ++i) {
            open += "<x>";
            close += "</x>";
        }
        EXPECT_EQ(isSoundWithin(open.append("1").append(close)), depth <= 15) << depth;
    }
}

TEST(DocumentCheck, WhatIsSound) {
    for (const char* inside : {"<x>1</x>",
                               "<x></x>",
                               "<x>1</x><y>2</y>",
                               "<x><y>1</y><z>2</z></x>",
                               "<x>1 2\n3</x>",
                               R"(<x a="1">1</x>)",
                               "<x a='1'>1</x>",
                               R"(<x a='"'>1</x>)",
                               R"(<x a="'">1</x>)",
                               R"(<x a="">1</x>)",
                               R"(<x a="1" b="2">1</x>)",
                               R"(<x type_id="opencv-matrix">1</x>)",
                               R"(<x other="binary">1</x>)",
                               "<!-- a --><x>1</x><!-- b -->",
                               "<x>1<!-- a --></x>",
                               "<x><!-- a --><y>1</y><!-- - -- > --></x>",
                               R"(<x>"a b"</x>)",
                               "",
                               R"(<x>"" ""</x>)",
                               "<x \t>1</x \t>"}) {
        EXPECT_TRUE(isSoundWithin(inside)) << inside;
    }
    EXPECT_TRUE(isSoundDocument("\xEF\xBB\xBF" + head + foot));
    EXPECT_TRUE(isSoundDocument("<?xml?><opencv_storage></opencv_storage>"));
    EXPECT_TRUE(isSoundDocument("<?xml?> <!-- a --> <opencv_storage></opencv_storage>"));
    EXPECT_TRUE(isSoundDocument(head + foot + "<!-- a -->\r\n"));
}

TEST(DocumentCheck, WhatIsNotSound) {
    for (const char* inside : {"<x>1</y>",
                               "<x>1",
                               "</x>",
                               "<x>1</x>2",
                               "<x>1<y>2</y></x>",
                               "<x><y>1</y>2</x>",
                               "<x a>1</x>",
                               "<x a=1>1</x>",
                               "<x a=121>1</x>",
                               R"(<x a"1">1</x>)",
                               "<x>1<x>2</x>",
                               "<x>1</y</x>",
                               R"(<x a="1>1</x>)",
                               R"(<x a="1'>1</x>)",
                               R"(<xa="1">1</x>)",
                               R"(<x a="1"b="2">1</x>)",
                               R"(<x a ="1">1</x>)",
                               R"(<x a= "1">1</x>)",
                               "<x/>",
                               R"(<x type_id="binary">1</x>)",
                               "<x type_id='binary'>1</x>",
                               R"(<x>"1</x>)",
                               R"(<x>1"</x>)",
                               R"(<x>"<y"</x>)",
                               "<x>1</x><!-- a",
                               "<x>1</x><!-- a --",
                               "<x><!-- a</x>",
                               "<>1</>",
                               "< x>1</ x>",
                               "<x",
                               "<x ",
                               "<x a",
                               "<x a=",
                               R"(<x a=")",
                               "<x>1</",
                               "<x>1</x",
                               "<x>1<",
                               "<!- a -><x>1</x>",
                               "<x></x\n>",
                               "<x\n>1</x>",
                               "<x>1</x></opencv_storage><opencv_storage>"}) {
        EXPECT_FALSE(isSoundWithin(inside)) << inside;
    }
    const std::string sound = head + foot;
    for (const std::string& whole :
         {std::string(), std::string("<?xml?>"), std::string("<?xml?></"), std::string("<?xml"),
          std::string("%YAML:1.0\n"), std::string("x").append(sound),
          std::string("\xEF\xBB").append(sound), head, sound + "x",
          sound + "<opencv_storage></opencv_storage>", head.substr(1) + foot,
          std::string("<?xml?><x></x>"),
          std::string(R"(<?xml version="1.0"><opencv_storage></opencv_storage>)"),
          std::string(R"(<?xml version="1.0?><opencv_storage></opencv_storage>)")}) {
        EXPECT_FALSE(isSoundDocument(whole)) << whole;
    }
}

} // namespace
