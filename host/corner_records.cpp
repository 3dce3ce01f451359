#include "host/corner_records.h"

#include "host/batch/inputs.h"
#include "host/batch/manifest.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/piped_images.h"
#include "host/run_command.h"

#include <algorithm>
#include <cmath>
#include <iostream>
#include <map>
#include <set>

namespace host {

namespace {

constexpr const char* search = "calib"; // what the data say of how the corners were found
constexpr const char* reasonFollows = "' cannot be used: ";

std::string asText(const Board& board) {
    return std::to_string(board[0]) + " x " + std::to_string(board[1]);
}

// The last line of a photograph.
struct Line {
    Json record;
    std::string manifest;
};
using Lines = std::map<std::string, Line>; // by the photograph's name

struct Read {
    Lines lines;
    // How many photographs there are of batches of that many inputs. One batch has one version, but
    // parts of a set may be searched by two: the version does not tell batches apart here.
    std::map<std::size_t, std::size_t> found;
    std::map<std::string, std::string> images; // photographs by the hashes of their content
    std::size_t leftOut = 0;                   // lines that were cut off
};

bool isOurs(const Json& record) {
    const auto words = record.find("operation");
    return words != record.end() && words->is_array() && !words->empty() &&
           words->front() == "chessboard" &&
           std::find(words->begin(), words->end(), "--for-calib") != words->end();
}

bool isDone(const Json& record) {
    return record.value("status", Json()) == "done";
}

void requireOurs(const std::string& photo, const Line& line) {
    if (!isOurs(line.record)) {
        throw Failure("'" + line.manifest + "' is not of tarvix batch chessboard --for-calib" +
                      (photo.empty() ? "" : ": see its line of '" + photo + "'"));
    }
}

// No photograph of `own` may be in an earlier manifest, under that name or another. Copies in one
// manifest are as good as copies in a folder.
void requireOthers(const Lines& own, Read& all) {
    std::map<std::string, std::string> images;
    for (const auto& [photo, line] : own) {
        if (const auto other = all.lines.find(photo); other != all.lines.end()) {
            std::string message = "'";
            message.append(photo).append("' is in two manifests, '");
            message.append(other->second.manifest).append("' and '").append(line.manifest);
            throw Failure(message.append("'; leave one of them out"));
        }
        const Json hash = line.record.value("hash", Json());
        if (!isDone(line.record) || !hash.is_string()) {
            continue;
        }
        const auto same = all.images.find(hash.get_ref<const std::string&>());
        if (same != all.images.end()) {
            std::string message = "'";
            message.append(same->second).append("' and '").append(photo);
            throw Failure(message.append("' are the same image; leave one of them out"));
        }
        images.try_emplace(hash.get<std::string>(), photo);
    }
    all.images.merge(images);
}

Read readAll(const std::vector<std::string>& manifests) {
    Read all;
    for (const std::string& manifest : manifests) {
        Lines own;
        std::size_t inputs = 0; // the most: some may have been added since the first line
        all.leftOut += readManifest(manifest, [&](const Json& record, std::streamoff) {
            const Json of = record.value("of", Json());
            inputs = std::max(inputs, of.is_number_unsigned() ? of.get<std::size_t>() : 0);
            own[takeName(record, "input")] = {record, manifest};
        });
        for (const auto& [photo, line] : own) {
            requireOurs(photo, line);
        }
        requireOthers(own, all);
        all.found[inputs] += own.size();
        all.lines.merge(own);
    }
    return all;
}

int wholeNumber(const Json& value) {
    constexpr std::int64_t most = 1 << 24;
    const auto number = value.is_number_integer() ? value.get<std::int64_t>() : 0;
    if (number < 1 || number > most) {
        throw Failure("a size is not a number of pixels");
    }
    return static_cast<int>(number);
}

void requireSame(const Board& found, const Board& board) {
    if (found != board) {
        throw Failure("it is of a board of " + asText(found) + " inner corners, not of " +
                      asText(board));
    }
}

// The board that the batch was to find. Throws BadUsage, or what the JSON library throws.
Board boardAsked(const Json& operation) {
    std::size_t word = 0;
    while (operation.at(word) != "--board") {
        ++word;
    }
    return parseBoard(operation.at(word + 1).get<std::string>());
}

// What was recorded of one photograph. Throws Failure, or what the JSON library throws.
tarvix::SeenBoard boardIn(const Json& data, const Board& board) {
    if (data.at("search") != search) {
        throw Failure("the corners were found in another way");
    }
    requireSame(data.at("board").get<Board>(), board);
    const Json& size = data.at("imageSize");
    tarvix::SeenBoard seen{{wholeNumber(size.at(0)), wholeNumber(size.at(1))}, {}};
    for (const Json& corner : data.at("corners")) {
        // Written as doubles, which hold each float.
        const cv::Point2f point(corner.at(0).get<float>(), corner.at(1).get<float>());
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            throw Failure("a corner is not a point");
        }
        seen.corners.push_back(point);
    }
    if (seen.corners.size() !=
        static_cast<std::size_t>(board[0]) * static_cast<std::size_t>(board[1])) {
        throw Failure("there are not as many corners as the board has");
    }
    return seen;
}

// Why calib would leave the photograph out, or what else went wrong.
std::string reasonIn(const Json& record) {
    const auto message = record.find("message");
    std::string text =
        message != record.end() && message->is_string() ? message->get<std::string>() : "";
    const std::size_t at = text.rfind(reasonFollows);
    if (at != std::string::npos) {
        text.erase(0, at + std::string(reasonFollows).size());
    }
    return text.empty() ? "the batch failed" : text;
}

SearchedPhoto photoOf(const std::string& name, const Line& line, const Board& board) {
    SearchedPhoto photo{name, {}, {}, {}};
    try {
        if (isDone(line.record)) {
            photo.board = boardIn(line.record.at("data"), board);
        } else {
            requireSame(boardAsked(line.record.at("operation")), board);
            photo.whyNot = reasonIn(line.record);
        }
    } catch (const std::exception& e) { // what the JSON library says, and what we say above
        throw Failure("the corners of '" + name + "' in '" + line.manifest +
                      "' cannot be used: " + e.what());
    }
    return photo;
}

std::vector<std::string> warningsOf(const Read& read) {
    std::set<std::string> versions;
    for (const auto& [photo, line] : read.lines) {
        const Json version = line.record.value("version", Json());
        if (version != programVersion()) {
            versions.insert(version.is_string() ? version.get<std::string>() : "?");
        }
    }
    std::vector<std::string> warnings;
    warnings.reserve(versions.size() + read.found.size() + 1);
    for (const std::string& version : versions) {
        warnings.push_back("corners were found by " + version + ", and this is " +
                           programVersion() + ", which may find others");
    }
    for (const auto& [inputs, found] : read.found) {
        if (found < inputs) {
            warnings.push_back("a batch has " + std::to_string(inputs) +
                               " photographs, and the manifests have " + std::to_string(found) +
                               " of them; is a part missing?");
        }
    }
    if (read.leftOut > 0) {
        warnings.push_back(std::to_string(read.leftOut) +
                           " lines of the manifests were cut off and are left out");
    }
    return warnings;
}

} // namespace

Json cornersForCalib(const std::string& name, const Board& board) {
    const std::string file = PipedImages::fileBehind(name);
    requireFiles({file});
    const SearchedPhoto photo =
        searchPhoto(file, {.board = board, .window = calibWindow, .pairs = false, .strict = false});
    if (!photo.whyNot.empty()) {
        throw Failure("'" + name + reasonFollows + photo.whyNot);
    }
    Json corners = Json::array();
    for (const cv::Point2f& corner : photo.board.corners) {
        corners.push_back({corner.x, corner.y});
    }
    return {{"board", board},
            {"imageSize", {photo.board.imageSize.width, photo.board.imageSize.height}},
            {"search", search},
            {"corners", std::move(corners)}};
}

RecordedBoards readCornerRecords(const std::vector<std::string>& words, const Board& board,
                                 const std::vector<std::string>& outputs) {
    const NameList names = expandInputs(words, std::cin);
    std::vector<std::string> manifests;
    for (std::size_t i = 0; i < names.size(); ++i) {
        manifests.push_back(names.at(i));
    }
    std::vector<std::string> written = outputs;
    std::erase(written, "");
    requireNotInputs(manifests, written);
    const Read read = readAll(manifests);
    if (read.lines.empty()) {
        throw Failure("the manifests have no lines, so there are no corners");
    }
    RecordedBoards recorded{.photos = {}, .warnings = warningsOf(read)};
    std::vector<std::string> photos;
    photos.reserve(read.lines.size());
    for (const auto& [photo, line] : read.lines) {
        photos.push_back(photo);
        recorded.photos.push_back(photoOf(photo, line, board));
    }
    if (!written.empty()) {
        requireNotInputs(photos, written);
    }
    return recorded;
}

} // namespace host
