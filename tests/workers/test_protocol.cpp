// What a worker's lines mean.
#include "workers/protocol.h"

#include <gmock/gmock.h>

using tarvix::Json;

namespace {

// A reader of the text, which comes in one piece.
tarvix::LineReader readerOf(std::string text) {
    return tarvix::LineReader([text](char* to, std::size_t size) mutable {
        const std::size_t given = text.copy(to, size);
        text.erase(0, given);
        return given;
    });
}

TEST(Protocol, ProgressComesBeforeTheAnswer) {
    tarvix::LineReader lines = readerOf(R"({"id":7,"progress":{"done":1}}
{"id":7,"progress":2}
{"id":7,"status":0}
)");
    std::vector<Json> progress;
    EXPECT_EQ(tarvix::answerTo(7, lines, [&](const Json& what) { progress.push_back(what); }),
              Json({{"status", 0}}));
    EXPECT_THAT(progress, testing::ElementsAre(Json({{"done", 1}}), Json(2)));
    EXPECT_FALSE(tarvix::answerTo(7, lines, {})) << "the end";
}

TEST(Protocol, WhatDoesNotBelongHereIsNoAnswer) {
    for (const char* line : {"{\"id\":6,\"status\":0}\n", "{\"status\":0}\n", "[7]\n", "7\n", "\n",
                             "{\"id\":\"7\",\"status\":0}\n", "Killed\n"}) {
        tarvix::LineReader lines = readerOf(line);
        const auto answer = tarvix::answerTo(7, lines, {});
        ASSERT_TRUE(answer) << line;
        EXPECT_TRUE(answer->is_discarded()) << line;
    }
    tarvix::LineReader half = readerOf(R"({"id":7,"status":0})");
    EXPECT_FALSE(tarvix::answerTo(7, half, {})) << "half a line";
}

TEST(Protocol, TheAnswerToACommandLine) {
    const auto answer = tarvix::commandAnswerOf(Json::parse(
        R"({"status":1,"data":[2],"messages":["a","b"],"images":[{"file":"c"}],"cpuSeconds":3})"));
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 1);
    EXPECT_EQ(answer->data, Json({2}));
    EXPECT_THAT(answer->messages, testing::ElementsAre("a", "b"));
    EXPECT_EQ(answer->images.at(0)["file"], "c");
    EXPECT_EQ(answer->cpuSeconds, 3);
    EXPECT_FALSE(answer->seconds);
    EXPECT_FALSE(answer->failure);
    EXPECT_EQ(tarvix::commandAnswerOf(Json::parse(R"({"status":1,"failure":"a"})"))->failure, "a");
    for (const char* odd :
         {R"([])", R"({})", R"({"status":"0"})", R"({"status":0.5})", R"({"status":null})",
          R"({"status":4294967296})", R"({"status":0,"messages":"a"})",
          R"({"status":0,"messages":[1]})", R"({"status":0,"images":{"a":1}})",
          R"({"status":0,"seconds":"1"})", R"({"status":1,"failure":2})"}) {
        EXPECT_FALSE(tarvix::commandAnswerOf(Json::parse(odd))) << odd;
    }
}

} // namespace
