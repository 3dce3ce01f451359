#include "host/corner_records.h"

#include "host/batch/inputs.h"
#include "host/batch/manifest.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/piped_images.h"
#include "host/run_command.h"
#include "host/sentences.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <utility>

namespace host {

namespace {

constexpr const char* search = "calib"; // what the data say of how the corners were found
constexpr const char* reasonFollows = "' cannot be used: ";

// The last line of a photograph.
struct Line {
    Json record;
    std::string manifest;
};
using Lines = std::map<std::string, Line>; // by the photograph's name

struct Read {
    Lines lines;
    // Photographs of batches of that many inputs. One batch has one version, but parts of a set may
    // be searched by two: the version does not tell batches apart here.
    std::map<std::size_t, InputCount> found;
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

// A manifest that goes on with other words has a photograph under two names. Copies are as good as
// copies in a folder.
void requireOneNameEach(const Lines& own) {
    Places places;
    std::map<Digest, std::string> names;
    for (const auto& [photo, line] : own) {
        const auto [other, isNew] = names.try_emplace(places.of(photo), photo);
        if (!isNew) {
            std::string message = "'";
            message.append(other->second).append("' and '").append(photo).append("' in '");
            throw Failure(message.append(line.manifest)
                              .append("' are one photograph under two names; begin a new "
                                      "manifest, with the same names everywhere"));
        }
    }
}

// No photograph of `own` may be in an earlier manifest, under that name or another.
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

// The last line of each photograph.
Lines readOne(const std::string& manifest, const LastLines& last) {
    Lines own;
    std::ifstream file(tarvix::pathOf(manifest), std::ios::binary);
    for (const LastLine& line : last.lines) {
        Line whole{Json::parse(lineAt(file, line.at)), manifest};
        const std::string photo = takeName(whole.record, "input");
        requireOurs(photo, whole);
        own[photo] = std::move(whole);
    }
    return own;
}

Read readAll(const std::vector<std::string>& manifests) {
    Read all;
    for (std::size_t i = 0; i < manifests.size(); ++i) {
        const LastLines last = readLastLines(manifests[i]);
        all.leftOut += last.leftOut;
        InputCount& count = all.found.try_emplace(last.of, last.of).first->second;
        for (const LastLine& line : last.lines) {
            count.add(line, i);
        }
        Lines own = readOne(manifests[i], last);
        requireOneNameEach(own);
        requireOthers(own, all);
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

//   found  as recorded, which may be anything
void requireSame(const Json& found, const Board& board) {
    if (found != Json(board)) {
        throw Failure("it is of a board of " + found.at(0).dump() + " x " + found.at(1).dump() +
                      " inner corners, not of " + times(board[0], board[1]));
    }
}

// The board that the batch was to find. Throws Failure, BadUsage, or what the JSON library throws.
Board boardAsked(const Json& operation) {
    auto word = std::find(operation.begin(), operation.end(), "--board");
    if (word == operation.end() || ++word == operation.end()) {
        throw Failure("its board is not said");
    }
    return parseBoard(word->get<std::string>());
}

// What was recorded of one photograph. Throws Failure, or what the JSON library throws.
tarvix::SeenBoard boardIn(const Json& data, const Board& board) {
    if (data.at("search") != search) {
        throw Failure("the corners were found in another way");
    }
    requireSame(data.at("board"), board);
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
    SearchedPhoto photo{.file = name, .grey = {}, .board = {}, .whyNot = {}};
    try {
        if (isDone(line.record)) {
            photo.board = boardIn(line.record.at("data"), board);
        } else {
            requireSame(boardAsked(line.record.at("operation")), board);
            photo.whyNot = reasonIn(line.record);
            if (const std::string missing = noBoard(board); photo.whyNot.starts_with(missing)) {
                photo.hint = photo.whyNot.substr(missing.size());
                photo.whyNot = missing;
            }
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
    for (const auto& [inputs, count] : read.found) {
        if (count.found() < count.expected()) {
            const std::size_t batches = count.batches();
            std::string text = batches == 1 ? "a batch has " : std::to_string(batches);
            text.append(batches == 1 ? "" : " batches have together ")
                .append(std::to_string(count.expected()))
                .append(" photographs, and the manifests have ");
            warnings.push_back(
                text.append(std::to_string(count.found())).append(" of them; is a part missing?"));
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
    const SearchRules rules{.board = board, .window = calibWindow};
    const SearchedPhoto photo = searchPhoto(file, rules);
    if (!photo.whyNot.empty()) {
        // The photograph is not at hand any more when all of them turn out to have no board.
        throw Failure("'" + name + reasonFollows + photo.whyNot +
                      (photo.grey.empty() ? "" : hintOf(photo.grey, rules)));
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
