// What a batch is made of: its inputs, its places, its shards, its manifest.
#include "host/batch/batch.h"
#include "host/batch/batch_progress.h"
#include "host/batch/inputs.h"
#include "host/batch/manifest.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "tests/support/environment.h"
#include "tests/support/files.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace {

namespace fs = std::filesystem;
using host::Json;

TEST(Places, PlaceholdersAreFilledIn) {
    const host::Placed placed{"photos/day 1/a.b.jpg", 7, 120};
    EXPECT_EQ(host::fillIn("out/{name}-{n}.{ext}", placed), "out/a.b-007.jpg");
    EXPECT_EQ(host::fillIn("{dir}/{name}.png", placed), "photos/day 1/a.b.png");
    const host::Placed above{"../up/./a.jpg", 1, 1};
    EXPECT_EQ(fs::path(host::fillIn("{dir}/x", above)), fs::path("../up/./x"));
    EXPECT_EQ(fs::path(host::fillIn("out/{dir}/x", above)), fs::path("out/up/x"));
    EXPECT_EQ(host::fillIn("out/{dir}/{name}.png", {"a.jpg", 1, 1}), "out/./a.png");
    EXPECT_EQ(host::fillIn("{name}", {"{n}.jpg", 3, 3}), "{n}") << "what is filled in stays";
    EXPECT_TRUE(host::hasPlaceholder("x{n}"));
    EXPECT_FALSE(host::hasPlaceholder("x{m}"));
    EXPECT_NO_THROW(host::requireKnownPlaceholders("{name}{ext}{dir}{n}"));
    for (const char* bad : {"{}", "{Name}", "{name", "a{x}b"}) {
        EXPECT_THROW(host::requireKnownPlaceholders(bad), host::BadUsage) << bad;
    }
}

TEST(Places, NoTwoOutputsAndNoInputShareOne) {
    const test::TempFolder folder;
    fs::create_directories(folder / "a");
    fs::create_directories(folder / "b");
    host::NameList inputs;
    for (const char* name : {"a/x.png", "b/x.png"}) {
        test::writeBytes(folder / name, "x");
        inputs.add(folder / name);
    }
    const auto require = [&](const std::string& pattern) {
        host::requireSeparatePlaces(
            inputs, {.written = {folder / pattern}, .manifest = folder / "m.jsonl"});
    };
    EXPECT_NO_THROW(require("out/{n}.png"));
    EXPECT_NO_THROW(require("a/{n}.png"));
    EXPECT_THROW(require("out/{name}.png"), host::Failure);
    EXPECT_THROW(require("out/{n}/../x.png"), host::Failure) << "one folder by two names";
    EXPECT_THROW(require("a/{name}.png"), host::Failure) << "an input";
    const auto requireOf = [&](const host::BatchFiles& files) {
        host::requireSeparatePlaces(inputs, files);
    };
    EXPECT_THROW(requireOf({.written = {"{dir}/{name}.png"}}), host::Failure);
    EXPECT_NO_THROW(requireOf({.written = {"{dir}/{name}-edges.png"}}));
    EXPECT_THROW(require("m.jsonl"), host::Failure) << "the manifest";
    EXPECT_THROW(requireOf({.manifest = folder / "b/x.png"}), host::Failure) << "is an input";
    EXPECT_NO_THROW(requireOf({.manifest = folder / "b/y.png"}));
    const std::string right = folder / "right/{n}.png";
    EXPECT_THROW(requireOf({.written = {right}, .read = {right}}), host::Failure);
    EXPECT_THROW(
        requireOf({.written = {folder / "right/{n}.png"}, .read = {folder / "right/2.png"}}),
        host::Failure);
    EXPECT_NO_THROW(requireOf({.written = {folder / "out/{n}.png"}, .read = {right}}));
    EXPECT_THROW(requireOf({.read = {right}, .manifest = folder / "right/1.png"}), host::Failure);
}

TEST(Places, AFilledInNameIsNoOption) {
    EXPECT_EQ(host::fillIn("{name}.png", {"./-a.jpg", 1, 1}), "./-a.png");
    EXPECT_EQ(host::fillIn("-5", {"a.jpg", 1, 1}), "-5");
}

TEST(Shards, TakeEveryInputOnce) {
    std::set<std::size_t> sizes;
    for (int i = 0; i < 300; ++i) {
        const std::string name = "photos/" + std::to_string(i) + ".jpg";
        int taken = 0;
        for (int k = 1; k <= 7; ++k) {
            taken += host::readShard(std::to_string(k) + "/7").has(name) ? 1 : 0;
        }
        EXPECT_EQ(taken, 1) << name;
    }
    EXPECT_TRUE(host::readShard("").has("x"));
    // The same on every system and in every version.
    EXPECT_EQ(host::readShard("1/2").has("a/b.jpg"), host::readShard("1/2").has("a\\b.jpg"));
    EXPECT_EQ(host::asText(host::digestOf("a/b.jpg")), "4a8d19b89b64fc5168beabae1cce62e2");
    for (const char* bad : {"0/3", "4/3", "1", "1/", "/2", "a/b", "-1/2", "1/0"}) {
        EXPECT_THROW(host::readShard(bad), host::BadUsage) << bad;
    }
}

TEST(Shards, OfAJobArrayComeFromItsVariables) {
    EXPECT_THROW(host::readShard("slurm"), host::BadUsage);
    const test::ScopedEnvironment id("SLURM_ARRAY_TASK_ID", "14");
    const test::ScopedEnvironment low("SLURM_ARRAY_TASK_MIN", "10");
    const test::ScopedEnvironment count("SLURM_ARRAY_TASK_COUNT", "8");
    const test::ScopedEnvironment step("SLURM_ARRAY_TASK_STEP", "2");
    EXPECT_EQ(host::readShard("slurm").index, 3U);
    EXPECT_EQ(host::readShard("slurm").count, 8U);
    const test::ScopedEnvironment beyond("SLURM_ARRAY_TASK_ID", "26"); // the ninth of eight
    EXPECT_THROW(host::readShard("slurm"), host::BadUsage);
}

TEST(Digests, TextAndBack) {
    const host::Digest digest = host::digestOf("abc");
    EXPECT_EQ(host::digestFrom(host::asText(digest)), digest);
    EXPECT_NE(digest, host::digestOf("abd"));
    EXPECT_EQ(host::digestFrom("12"), std::nullopt);
    EXPECT_EQ(host::digestFrom(std::string(32, 'x')), std::nullopt);
    const test::TempFolder folder;
    const std::string bytes(1000003, 'y');
    test::writeBytes(folder / "file", bytes);
    EXPECT_EQ(host::digestOfFile(folder / "file"), host::digestOf(bytes));
    EXPECT_EQ(host::digestOfFile(folder / "missing"), std::nullopt);
}

Json lineOf(const std::string& text, const std::string& status = "done") {
    return {{"status", status},
            {"input", text},
            {"bytes", 5},
            {"key", host::asText(host::digestOf(text))}};
}

TEST(Manifests, GoOnBehindTheLastWholeLine) {
    const test::TempFolder folder;
    const std::string path = folder / "m.jsonl";
    { host::ManifestWriter(path).add(lineOf("a")); }
    const std::string first = test::bytesOf(path);
    EXPECT_EQ(first, lineOf("a").dump() + "\n");
    for (const std::string& half :
         {std::string("{\"key\":"), lineOf("b").dump(), std::string(1, '\0')}) {
        test::writeBytes(path, first + half);
        EXPECT_EQ(host::readManifest(path, [](const Json&, std::streamoff) {}), 1U) << half;
        EXPECT_EQ(host::FinishedImages(path).find(host::digestOf("b")), nullptr);
        host::ManifestWriter(path).add(lineOf("c"));
        EXPECT_EQ(test::bytesOf(path), first + lineOf("c").dump() + "\n");
    }
    EXPECT_THROW(host::ManifestWriter(folder / "no/m.jsonl"), host::Failure);
    EXPECT_THROW(host::FinishedImages(folder / "missing"), host::Failure);
}

TEST(Manifests, AnotherFileIsLeftAsItIs) {
    const test::TempFolder folder;
    const std::string path = folder / "photo.jpg";
    for (const std::string& bytes :
         {std::string("\xff\xd8\xff\n\n\0", 6), std::string("text"), std::string("text\n"),
          std::string("{\n"), std::string("{}\n{"), std::string("{\"status\":\"ok\"}\n"),
          std::string("\n"), std::string(1, '\0')}) {
        test::writeBytes(path, bytes);
        EXPECT_THROW(host::ManifestWriter{path}, host::Failure) << bytes;
        EXPECT_EQ(test::bytesOf(path), bytes);
    }
    for (const std::string& half :
         {std::string(), std::string("{"), std::string("{\"status\":\"d"), lineOf("a").dump()}) {
        test::writeBytes(path, half); // killed while it wrote the first line
        EXPECT_NO_THROW(host::ManifestWriter(path).add(lineOf("b"))) << half;
        EXPECT_EQ(test::bytesOf(path), lineOf("b").dump() + "\n");
    }
}

TEST(Manifests, TheLastLineOfAnImageCounts) {
    const test::TempFolder folder;
    const std::string path = folder / "m.jsonl";
    host::ManifestWriter writer(path);
    for (const char* status : {"failed", "done", "failed"}) {
        writer.add(lineOf("a", status));
        writer.add(lineOf(status, "done"));
        const host::FinishedImages images(path);
        ASSERT_NE(images.find(host::digestOf("a")), nullptr);
        EXPECT_EQ(images.find(host::digestOf("a"))->failed, std::string(status) == "failed");
        EXPECT_EQ(images.find(host::digestOf("a"))->state.bytes, 5U);
    }
}

TEST(Manifests, NamesOfAnyBytesComeThrough) {
    for (const std::string& name : {std::string("a b.jpg"), std::string("\xfc.jpg")}) {
        Json record = Json::object();
        host::putName(record, "input", name);
        EXPECT_EQ(host::takeName(Json::parse(record.dump()), "input"), name);
    }
    EXPECT_EQ(host::takeName(Json::object(), "input"), "");
}

TEST(Progress, SaysHowFarItIsAndHowLongItMayTake) {
    EXPECT_EQ(host::progressLine(0, 0, 0, 10, 0, false), "0/10");
    EXPECT_EQ(host::progressLine(50, 2, 25, 100, 10, true),
              "[##################------] 75/100, 5.0 a second, 5 s left, 2 failed");
    EXPECT_EQ(host::progressLine(100, 0, 0, 100000, 1, false),
              "100/100000, 100 a second, 16 min 39 s left");
}

Json numbered(const std::string& input, int number, int of) {
    return {{"status", "done"}, {"input", input}, {"number", number}, {"of", of}};
}

TEST(LastLines, AreOneForEachInputAndTheMostInputsCount) {
    const test::TempFolder folder;
    const std::string path = folder / "m.jsonl";
    std::string text;
    Json odd = numbered("c", 1, 3);
    odd["number"] = "x";
    odd["of"] = -3;
    for (const Json& line : {numbered("a", 1, 2), numbered("b", 2, 2), numbered("a", 1, 3), odd}) {
        text += line.dump() + '\n';
    }
    test::writeBytes(path, text + "{");
    const host::LastLines last = host::readLastLines(path);
    ASSERT_EQ(last.lines.size(), 3U);
    EXPECT_EQ(last.lines[0].input, host::digestOf("b"));
    EXPECT_EQ(last.lines[1].input, host::digestOf("a"));
    EXPECT_EQ(last.lines[1].of, 3U);
    EXPECT_EQ(last.lines[2].number, 0U);
    EXPECT_EQ(last.lines[2].of, 0U);
    EXPECT_EQ(last.of, 3U);
    EXPECT_EQ(last.leftOut, 1U);
    std::ifstream file(path, std::ios::binary);
    EXPECT_EQ(Json::parse(host::lineAt(file, last.lines[1].at)), numbered("a", 1, 3));
    EXPECT_THROW(host::lineAt(file, 100000), host::Failure);
    test::writeBytes(path, "{\"inputHex\":\"1\"}\n");
    EXPECT_THROW(host::readLastLines(path), host::Failure);
}

TEST(InputCounts, TellBatchesApartByNumbersThatSeveralManifestsHave) {
    const auto count = [](const std::vector<std::pair<int, std::size_t>>& numbersInManifests,
                          std::size_t of) {
        host::InputCount inputs(of);
        for (const auto& [number, manifest] : numbersInManifests) {
            inputs.add({.number = static_cast<std::size_t>(number), .of = of}, manifest);
        }
        return inputs;
    };
    EXPECT_EQ(count({}, 0).expected(), 0U);
    EXPECT_EQ(count({{1, 0}, {3, 1}}, 3).expected(), 3U) << "two parts";
    EXPECT_EQ(count({{1, 0}, {2, 0}, {2, 1}}, 3).expected(), 6U);
    EXPECT_EQ(count({{1, 0}, {2, 0}, {2, 1}}, 3).batches(), 2U);
    EXPECT_EQ(count({{1, 0}, {2, 0}, {2, 0}}, 3).batches(), 1U) << "one was exchanged since";
    EXPECT_EQ(count({{0, 0}, {0, 1}, {0, 2}, {0, 3}}, 3).expected(), 4U) << "without numbers";
    host::InputCount grown(3);
    grown.add({.number = 1, .of = 2}, 0); // it has another number by now
    grown.add({.number = 1, .of = 3}, 1);
    EXPECT_EQ(grown.batches(), 1U);
}

} // namespace
