// The search finds the same pose, bit for bit, on every system: a table made once, checked
// everywhere.
#include "geometry/converge_search.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

namespace {

constexpr int kRows = 240;

struct Row {
    int width = 0;
    int height = 0;
    std::array<double, 9> input{};  // eight coordinates, focal length
    std::array<double, 4> output{}; // pitch, yaw, roll, focal length
};

template <std::size_t N>
void read(std::istream& in, std::array<double, N>& numbers) {
    for (double& number : numbers) {
        std::uint64_t bits = 0;
        in >> std::hex >> bits;
        number = std::bit_cast<double>(bits);
    }
}

bool parse(const std::string& line, Row& row) {
    std::istringstream in(line);
    std::string bar;
    in >> std::dec >> row.width >> row.height;
    read(in, row.input);
    in >> bar;
    read(in, row.output);
    return !in.fail() && bar == "|";
}

TEST(ConvergeTable, SamePoseToTheLastBit) {
    std::ifstream table(TARVIX_CONVERGE_TABLE);
    ASSERT_TRUE(table) << TARVIX_CONVERGE_TABLE;
    int rows = 0;
    for (std::string line; std::getline(table, line);) {
        if (line.starts_with('#')) {
            continue;
        }
        Row row;
        ASSERT_TRUE(parse(line, row)) << line;
        ++rows;
        const tarvix::MarkedQuad quad{{row.width, row.height},
                                      tarvix::cornersFromArray(row.input.data())};
        const tarvix::Pose pose = tarvix::findPose(quad, row.input[8]);
        const std::array<double, 4> found{pose.pitchDeg, pose.yawDeg, pose.rollDeg, pose.focalMm};
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(std::bit_cast<std::uint64_t>(found.at(i)),
                      std::bit_cast<std::uint64_t>(row.output.at(i)))
                << "row " << rows << ", number " << i << ": " << found.at(i) << " instead of "
                << row.output.at(i);
        }
    }
    EXPECT_EQ(rows, kRows);
}

} // namespace
