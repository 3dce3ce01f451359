#include "host/calibration_set.h"

#include "host/failure.h"
#include "host/photographs.h"
#include "host/sentences.h"
#include "host/step_progress.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <map>
#include <optional>

namespace host {

namespace {

using tarvix::nameOf;
using tarvix::pathOf;

constexpr const char* itsPair = "its pair ";

// Leaves out what has another size than most of the photographs with a board, the earlier size on a
// tie.
void keepOneSize(std::vector<SearchedPhoto>& photos) {
    const auto isSame = [](const SearchedPhoto& a, const SearchedPhoto& b) {
        return a.board.imageSize == b.board.imageSize;
    };
    const SearchedPhoto* usual = nullptr;
    std::ptrdiff_t most = 0;
    for (const SearchedPhoto& photo : photos) {
        const auto count =
            std::count_if(photos.begin(), photos.end(), [&](const SearchedPhoto& other) {
                return other.whyNot.empty() && isSame(other, photo);
            });
        if (photo.whyNot.empty() && count > most) {
            most = count;
            usual = &photo;
        }
    }
    if (usual == nullptr) {
        return;
    }
    const cv::Size size = usual->board.imageSize;
    for (SearchedPhoto& photo : photos) {
        const cv::Size own = photo.board.imageSize;
        if (photo.whyNot.empty() && own != size) {
            photo.whyNot = times(own.width, own.height) + " pixels, and not " +
                           times(size.width, size.height) + " as the others";
        }
    }
}

void keepWholePairs(std::vector<SearchedPhoto>& photos) {
    for (std::size_t i = 0; i + 1 < photos.size(); i += 2) {
        SearchedPhoto& left = photos[i];
        SearchedPhoto& right = photos[i + 1];
        if (left.whyNot.empty() != right.whyNot.empty()) {
            const SearchedPhoto& bad = left.whyNot.empty() ? right : left;
            (left.whyNot.empty() ? left : right).whyNot =
                itsPair + ("'" + bad.file + "' is left out");
        }
    }
}

// Of the first photograph that was searched in vain, of which there is something to go by.
std::string hintOn(const std::vector<SearchedPhoto>& photos, const SearchRules& rules) {
    for (const SearchedPhoto& photo : photos) {
        if (!photo.hint.empty()) {
            return photo.hint;
        }
        if (!photo.grey.empty()) {
            return hintOf(photo.grey, rules);
        }
    }
    return {};
}

// Says of photographs that could not be searched that they are none of those without a board.
std::string notSearched(const std::vector<SearchedPhoto>& photos, const std::string& missing) {
    const auto isOther = [&](const SearchedPhoto& photo) { return photo.whyNot != missing; };
    const auto count = std::count_if(photos.begin(), photos.end(), isOther);
    if (count == 0) {
        return {};
    }
    const auto first = std::find_if(photos.begin(), photos.end(), isOther);
    return "; " + std::to_string(count) + " could not be searched, '" + first->file +
           "' for example: " + first->whyNot;
}

// The first that is not left out because of its pair.
const LeftOut& causeOf(const std::vector<LeftOut>& leftOut) {
    const auto cause = std::find_if(leftOut.begin(), leftOut.end(), [](const LeftOut& one) {
        return !one.reason.starts_with(itsPair);
    });
    return cause == leftOut.end() ? leftOut.front() : *cause;
}

// The last number in a file's name; no value if there is none that fits.
std::optional<long> numberIn(const std::string& file) {
    const std::string name = nameOf(pathOf(file).stem());
    const std::size_t last = name.find_last_of("0123456789");
    if (last == std::string::npos) {
        return {};
    }
    const std::size_t before = name.find_last_not_of("0123456789", last);
    const std::size_t first = before == std::string::npos ? 0 : before + 1;
    constexpr std::size_t mostDigits = 9;
    if (last + 1 - first > mostDigits) {
        return {};
    }
    return std::stol(name.substr(first, last + 1 - first));
}

} // namespace

std::string noBoard(const Board& board) {
    return "no board of " + times(board[0], board[1]) + " inner corners";
}

std::string hintOf(const cv::Mat& grey, const SearchRules& rules) {
    const cv::Size fewer(rules.board[0] - 1, rules.board[1] - 1);
    const bool isThere = fewer.width > 2 && fewer.height > 2 &&
                         tarvix::searchBoard(grey, fewer, rules.window).has_value();
    return isThere ? ": a board of " + times(fewer.width, fewer.height) +
                         " is there; --board counts inner corners, not squares"
                   : "";
}

SearchedPhoto searchPhoto(const std::string& file, const SearchRules& rules) {
    SearchedPhoto result{.file = file, .grey = {}, .board = {}, .whyNot = {}};
    const cv::Mat grey = cv::imread(file, cv::IMREAD_GRAYSCALE);
    if (grey.empty()) {
        result.whyNot = "not an image that can be read";
        return result;
    }
    if (auto board = tarvix::searchBoard(grey, {rules.board[0], rules.board[1]}, rules.window)) {
        result.board = *std::move(board);
    } else {
        result.whyNot = noBoard(rules.board);
        result.grey = grey;
    }
    return result;
}

CalibrationSet searchSet(const std::vector<std::string>& files, const SearchRules& rules,
                         Output& output) {
    requireFiles(files);
    std::vector<SearchedPhoto> photos;
    bool hasGrey = false;
    {
        StepProgress progress(output, files.size());
        for (const std::string& file : files) {
            photos.push_back(searchPhoto(file, rules));
            SearchedPhoto& photo = photos.back();
            if (hasGrey) {
                photo.grey.release();
            }
            hasGrey = hasGrey || !photo.grey.empty();
            progress.done(nameOf(pathOf(file).filename()),
                          photo.whyNot.empty() ? "board found" : photo.whyNot);
        }
    }
    return usableOf(std::move(photos), rules);
}

CalibrationSet usableOf(std::vector<SearchedPhoto> photos, const SearchRules& rules) {
    const std::string missing = noBoard(rules.board);
    const auto isAny = [&photos](const std::string& whyNot) {
        return std::any_of(photos.begin(), photos.end(),
                           [&](const SearchedPhoto& photo) { return photo.whyNot == whyNot; });
    };
    // If none was searched in vain, the board is not to blame: below, the first reason is said.
    if (!isAny("") && isAny(missing) && photos.size() > 1) {
        throw Failure(missing + " in any of the photographs" + hintOn(photos, rules) +
                      notSearched(photos, missing));
    }
    keepOneSize(photos);
    if (rules.pairs) {
        keepWholePairs(photos);
    }
    CalibrationSet set;
    for (SearchedPhoto& photo : photos) {
        if (photo.whyNot.empty()) {
            set.files.push_back(photo.file);
            set.boards.push_back(std::move(photo.board));
        } else {
            set.leftOut.push_back({photo.file, photo.whyNot});
        }
    }
    if (!set.leftOut.empty() && (rules.strict || set.files.empty())) {
        const LeftOut& first = causeOf(set.leftOut);
        throw Failure("'" + first.file + "' cannot be used: " + first.reason +
                      hintOn(photos, rules));
    }
    return set;
}

std::vector<std::string> numbersThatDiffer(const std::vector<std::string>& files) {
    std::vector<std::string> sentences;
    std::map<long, std::size_t> differences;
    std::size_t numbered = 0;
    for (std::size_t i = 0; i + 1 < files.size(); i += 2) {
        const std::optional<long> left = numberIn(files[i]);
        const std::optional<long> right = numberIn(files[i + 1]);
        if (!left || !right) {
            continue;
        }
        ++numbered;
        if (*left != *right) {
            ++differences[*right - *left];
            sentences.push_back("the numbers of '" + files[i] + "' and '" + files[i + 1] +
                                "' do not match: were they taken together?");
        }
    }
    if (numbered > 1 && differences.size() == 1 && sentences.size() == numbered) {
        sentences = {"the numbers of all pairs do not match, '" + files[0] + "' and '" + files[1] +
                     "' for example: were they taken together?"};
    }
    return sentences;
}

} // namespace host
