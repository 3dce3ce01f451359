// EXIF blocks: what they say, their correction in place, and bytes that are anything.
#include "assist/exif.h"
#include "assist/tiff_bytes.h"
#include "assist/tiff_tree.h"

#include <gmock/gmock.h>
#include <opencv2/core.hpp>

namespace {

using tarvix::exifFacts;
using tarvix::TiffTag;
using tarvix::uprightExif;

std::string little(std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(value >> (8U * static_cast<unsigned>(i)) & 0xFFU);
    }
    return text;
}

TiffTag shortTag(std::uint16_t tag, std::uint32_t value) {
    return {tag, tarvix::tiffShort, 1, little(value, 2)};
}

TiffTag longTag(std::uint16_t tag, std::uint32_t value) {
    return {tag, tarvix::tiffLong, 1, little(value, 4)};
}

TiffTag rational(std::uint16_t tag, std::uint32_t above, std::uint32_t below) {
    return {tag, tarvix::tiffRational, 1, little(above, 4) + little(below, 4)};
}

// A camera's block: 24 x 36 mm sensor of 6000 x 4000 pixels.
tarvix::TiffTree camera() {
    return {.main = {shortTag(0x0112, 6), {0x013B, 2, 4, std::string("Ann\0", 4)}},
            .exif = {rational(0x920A, 50, 1),
                     shortTag(0xA405, 51),
                     longTag(0xA002, 6000),
                     longTag(0xA003, 4000),
                     rational(0xA20E, 6000, 36),
                     rational(0xA20F, 4000, 24),
                     shortTag(0xA210, 4),
                     {0x927C, 7, 6, "secret"}}};
}

TEST(Exif, SaysWhatTheLensWas) {
    const std::string block = tarvix::exifBlock(camera());
    ASSERT_TRUE(tarvix::isExif(block));
    const auto facts = exifFacts(block);
    EXPECT_EQ(facts.orientation, 6);
    EXPECT_EQ(facts.focalMm, 50);
    EXPECT_EQ(facts.focal35Mm, 51);
    EXPECT_EQ(facts.pixels, cv::Size(6000, 4000));
    ASSERT_TRUE(facts.sensorMm.has_value());
    EXPECT_NEAR(*facts.sensorMm, 36, 1e-9);
}

TEST(Exif, TheFocalLengthHasThreeSources) {
    auto facts = exifFacts(tarvix::exifBlock(camera()));
    const cv::Size turned(2000, 3000);
    EXPECT_EQ(tarvix::focal35Of(facts, turned, 0), 51);
    EXPECT_EQ(tarvix::focal35Of(facts, turned, 1.5), 75);
    facts.focal35Mm.reset();
    EXPECT_NEAR(tarvix::focal35Of(facts, turned, 0).value_or(0), 50, 1e-9);
    facts.sensorMm.reset();
    EXPECT_FALSE(tarvix::focal35Of(facts, turned, 0).has_value());
    EXPECT_TRUE(tarvix::wasCropped(facts, {2000, 2000}));
    EXPECT_FALSE(tarvix::focal35Of(facts, {2000, 2000}, 1.5).has_value());
}

TEST(Exif, IsMadeUprightInPlace) {
    const std::string block = tarvix::exifBlock(camera());
    const std::string same = uprightExif(block, {1200, 1800}, true);
    ASSERT_EQ(same.size(), block.size());
    const auto facts = exifFacts(same);
    EXPECT_EQ(facts.orientation, 1);
    EXPECT_EQ(facts.pixels, cv::Size(1200, 1800));
    EXPECT_EQ(facts.focal35Mm, 51);
    EXPECT_EQ(same.find("secret"), block.find("secret"));
    const auto cut = exifFacts(uprightExif(block, {1200, 1800}, false));
    EXPECT_FALSE(cut.focal35Mm.has_value());
    EXPECT_FALSE(cut.sensorMm.has_value());
    EXPECT_EQ(cut.focalMm, 50);
}

TEST(Exif, TheThumbnailIsDropped) {
    std::string block = tarvix::exifBlock(camera());
    std::string copy = block;
    tarvix::TiffBytes tiff(copy);
    const auto first = tiff.directory(tiff.firstDirectory());
    ASSERT_TRUE(first.has_value());
    const auto directoryAt = static_cast<std::uint32_t>(block.size());
    block.replace(first->nextAt, 4, little(directoryAt, 4));
    block += little(2, 2);
    for (const TiffTag& tag : {longTag(0x0201, directoryAt + 30), longTag(0x0202, 5)}) {
        block += little(tag.tag, 2) + little(tag.type, 2) + little(1, 4) + tag.value;
    }
    block += little(0, 4) + "thumb";
    const std::string corrected = uprightExif(block, {10, 10}, true);
    EXPECT_EQ(corrected.size(), directoryAt);
    EXPECT_EQ(corrected.find("thumb"), std::string::npos);
    EXPECT_EQ(exifFacts(corrected).focalMm, 50);
}

TEST(Exif, AnyBytesAreTaken) {
    const std::string block = tarvix::exifBlock(camera());
    cv::RNG random(7);
    for (int i = 0; i < 20000; ++i) {
        std::string bytes = block.substr(
            0, static_cast<std::size_t>(random.uniform(0, static_cast<int>(block.size()) + 1)));
        for (int k = random.uniform(0, 6); k > 0 && !bytes.empty(); --k) {
            bytes[static_cast<std::size_t>(random.uniform(0, static_cast<int>(bytes.size())))] =
                static_cast<char>(random.uniform(0, 256));
        }
        exifFacts(bytes);
        tarvix::tiffTree(bytes);
        EXPECT_LE(uprightExif(bytes, {30, 20}, false).size(), bytes.size());
    }
}

TEST(Exif, XmpIsMadeUpright) {
    const std::string packet = R"(<x tiff:Orientation="6" exif:PixelXDimension='6000'>)"
                               "<tiff:ImageWidth>6000</tiff:ImageWidth><other>6</other></x>";
    EXPECT_EQ(tarvix::uprightXmp(packet, {120, 80}),
              R"(<x tiff:Orientation="1" exif:PixelXDimension='120'>)"
              "<tiff:ImageWidth>120</tiff:ImageWidth><other>6</other></x>");
}

} // namespace
