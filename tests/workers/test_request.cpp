// Words of any bytes, there and back.
#include "workers/worker.h"

#include <gmock/gmock.h>

namespace {

using tarvix::Json;
using tarvix::requestOf;
using tarvix::wordsOf;

TEST(Request, WordsOfAnyBytesComeThrough) {
    std::string all;
    for (int c = 1; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    for (const std::vector<std::string>& words : {std::vector<std::string>{},
                                                  {"canny", "a b.png", "", "\"quoted\"\n"},
                                                  {"gr\xc3\xbc\xc3\x9f.jpg"},
                                                  {"gr\xfc\xdf.jpg", "x"},
                                                  {all}}) {
        const std::string line = requestOf(words).dump(); // throws for what is not UTF-8
        EXPECT_EQ(wordsOf(Json::parse(line)), words);
    }
    EXPECT_TRUE(requestOf({"gr\xc3\xbc\xc3\x9f.jpg"}).contains("words")) << "for people";
}

TEST(Request, AnythingElseIsRefused) {
    for (const char* text :
         {"{}", "[]", "7", R"({"words":7})", R"({"words":[7]})", R"({"hexWords":["4"]})",
          R"({"hexWords":["4G"]})", R"({"words":{}})"}) {
        EXPECT_THROW(wordsOf(Json::parse(text)), std::invalid_argument) << text;
    }
}

} // namespace
