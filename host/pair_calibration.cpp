#include "host/pair_calibration.h"

#include "assist/metric_stereo.h"
#include "assist/pair_findings.h"
#include "host/calibration_folder.h"
#include "host/calibration_json.h"
#include "host/calibration_report.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/progress.h"
#include "host/sentences.h"

#include <tarvix/tarvix.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

namespace host {

namespace {

using tarvix::SeenPair;

struct Files {
    std::vector<std::string> pairs; // left right left right ...
    std::vector<LeftOut> leftOut;   // of a folder: what belongs to no pair
};

// left right left right ..., of files or folders of them.
std::vector<std::string> inTurns(const std::vector<std::string>& left,
                                 const std::vector<std::string>& right) {
    const std::vector<std::string> lefts = photographsOf(left);
    const std::vector<std::string> rights = photographsOf(right);
    if (lefts.size() != rights.size()) {
        throw BadUsage("there are " + std::to_string(lefts.size()) + " left photographs, but " +
                       std::to_string(rights.size()) + " right ones");
    }
    std::vector<std::string> pairs;
    for (std::size_t i = 0; i < lefts.size(); ++i) {
        pairs.push_back(lefts[i]);
        pairs.push_back(rights[i]);
    }
    return pairs;
}

// The photographs, however they were named.
Files filesOf(const PairOptions& o) {
    Files files;
    if (!o.left.empty() || !o.right.empty()) {
        if (!o.photos.empty()) {
            throw BadUsage("give --left and --right, or the photographs without them");
        }
        files.pairs = inTurns(o.left, o.right);
    } else if (o.photos.size() == 1 && isFolder(o.photos[0])) {
        files.pairs = pairsIn(o.photos[0]);
        for (const std::string& file : photographsOf(o.photos)) {
            if (std::find(files.pairs.begin(), files.pairs.end(), file) == files.pairs.end()) {
                files.leftOut.push_back({file, "whose name is of no pair left..., right..."});
            }
        }
    } else if (o.photos.size() == 2 && isFolder(o.photos[0]) && isFolder(o.photos[1])) {
        files.pairs = inTurns({o.photos[0]}, {o.photos[1]});
    } else {
        files.pairs = o.photos;
    }
    requireFiles(files.pairs);
    if (files.pairs.empty() || files.pairs.size() % 2 != 0) {
        throw BadUsage("the photographs come in pairs: left right left right ...");
    }
    return files;
}

struct Pairs {
    std::vector<SeenPair> seen;
    std::vector<std::string> files; // left right left right ...

    [[nodiscard]] Pairs at(const std::vector<std::size_t>& positions) const {
        Pairs some;
        for (const std::size_t i : positions) {
            some.seen.push_back(seen.at(i));
            some.files.push_back(files.at(2 * i));
            some.files.push_back(files.at(2 * i + 1));
        }
        return some;
    }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (std::size_t i = 0; i < seen.size(); ++i) {
            names.push_back("'" + files.at(2 * i) + "' and '" + files.at(2 * i + 1) + "'");
        }
        return names;
    }
};

Pairs pairsOf(const CalibrationSet& set) {
    Pairs pairs{{}, set.files};
    for (std::size_t i = 0; i + 1 < set.boards.size(); i += 2) {
        pairs.seen.push_back({set.boards[i], set.boards[i + 1]});
    }
    return pairs;
}

// One camera's part.
Json cameraOf(const Pairs& pairs, bool second, cv::Size pattern, float square) {
    std::vector<tarvix::SeenBoard> views;
    std::vector<std::string> files;
    for (std::size_t i = 0; i < pairs.seen.size(); ++i) {
        views.push_back(second ? pairs.seen[i].two : pairs.seen[i].one);
        files.push_back(pairs.files.at(2 * i + (second ? 1 : 0)));
    }
    return cameraAsJson(tarvix::judgeCalibration(views, pattern, square), views, files);
}

Json findingsAsJson(const std::vector<tarvix::Finding>& findings) {
    Json list = Json::array();
    for (const auto& [isGood, sentence] : findings) {
        list.push_back({{"good", isGood}, {"sentence", sentence}});
    }
    return list;
}

tarvix::Intrinsics intrinsicsOf(const PairOptions& o) {
    return o.refine ? tarvix::Intrinsics::Refined : tarvix::Intrinsics::Fixed;
}

tarvix::Refit withoutWorst(const Pairs& pairs, const PairOptions& o) {
    const cv::Size pattern(o.board[0], o.board[1]);
    tarvix::Refit refit =
        tarvix::dropWorst(pairs.seen.size(), o.drop, [&](const std::vector<std::size_t>& kept) {
            return tarvix::calibrateMetric(pairs.at(kept).seen, pattern, o.square, intrinsicsOf(o))
                .pairRms;
        });
    requireEnough(refit);
    return refit;
}

// Writes the nine files; the data has the pair's part.
Json calibrateMetrically(const Pairs& pairs, const PairOptions& o, Output& output) {
    const cv::Size pattern(o.board[0], o.board[1]);
    std::optional<tarvix::MetricPair> metric;
    Json data;
    {
        const Progress progress(output, "calibrating from " + std::to_string(pairs.seen.size()) +
                                            " pairs, board " + times(o.board[0], o.board[1]));
        metric = tarvix::calibrateMetric(pairs.seen, pattern, o.square, intrinsicsOf(o));
        data["cameras"] = Json::array(
            {cameraOf(pairs, false, pattern, o.square), cameraOf(pairs, true, pattern, o.square)});
    }
    if (!metric->isSideBySide) {
        throw Failure("the cameras stand above each other: points are measured only if they stand "
                      "side by side; turn the photographs by 90 degrees");
    }
    writePair(o.folder, metric->rectifying);
    data["metric"] = true;
    data["rms"] = metric->rms;
    data["baseline"] = metric->baseline;
    data.update(rectificationAsJson(pairs.seen, pattern, metric->rectifying, pairs.files, metric));
    std::vector<tarvix::Finding> findings = tarvix::findingsOfPair(
        *metric, tarvix::rowErrorsOf(pairs.seen, metric->rectifying),
        tarvix::squareLengths(pairs.seen, pattern, metric->rectifying), o.square, pairs.names());
    if (o.refine) {
        findings.push_back({false, "what is said of each camera alone is as it was before "
                                   "--refine; the files in the folder are refined"});
    }
    data["findings"] = findingsAsJson(findings);
    return data;
}

Json calibrateWithExport(const Pairs& pairs, const PairOptions& o, Output& output) {
    calibrate(o, pairs.files, output, [&o](CStringArray& list, const char* folder, HWND preview) {
        return tx_StereoCalib(list, folder, o.board[0], o.board[1], o.square, preview);
    });
    Json data;
    data["metric"] = false;
    data["rms"] = nullptr;
    data["baseline"] = nullptr;
    data.update(rectificationAsJson(pairs.seen, {o.board[0], o.board[1]}, readPair(o.folder),
                                    pairs.files, {}));
    data["findings"] = findingsAsJson({{false, notMetric(Metric::No, o.folder)}});
    return data;
}

// The command line, for the report.
std::vector<std::string> wordsOf(const PairOptions& o) {
    std::vector<std::string> words;
    for (const auto& [option, files] :
         {std::pair{"--left", o.left}, std::pair{"--right", o.right}}) {
        if (!files.empty()) {
            words.emplace_back(option);
            words.insert(words.end(), files.begin(), files.end());
        }
    }
    std::ostringstream square;
    square << o.square;
    words.insert(words.end(), {"--square", square.str()});
    if (o.metric) {
        words.emplace_back("--metric");
    }
    if (o.refine) {
        words.emplace_back("--refine");
    }
    return commandOf("stereo-calib", o, words);
}

} // namespace

Result calibratePair(const PairOptions& o, const std::vector<StoredMatrix>& stored,
                     Output& output) {
    if (!o.metric && (o.refine || o.drop.worst > 0 || o.drop.maxRms)) {
        throw BadUsage("--refine, --drop-worst and --max-rms need --metric");
    }
    if (o.metric && o.preview) {
        throw BadUsage("--preview shows what the module does; it does not go with --metric");
    }
    const Files files = filesOf(o);
    if (o.strict && !files.leftOut.empty()) {
        const auto& [file, reason] = files.leftOut.front();
        throw Failure("'" + file + "' cannot be used: " + reason);
    }
    // Without --metric, refined as tx_StereoCalib does it.
    const tarvix::CornerWindow window =
        o.metric ? tarvix::CornerWindow{} : tarvix::CornerWindow{11, 0.01};
    CalibrationSet set =
        searchSet(files.pairs,
                  {.board = o.board, .window = window, .pairs = true, .strict = o.strict}, output);
    set.leftOut.insert(set.leftOut.begin(), files.leftOut.begin(), files.leftOut.end());
    const std::vector<std::string> doubts = numbersThatDiffer(set.files);
    if (o.strict && !doubts.empty()) {
        throw Failure(doubts.front());
    }
    const Pairs all = pairsOf(set);
    const tarvix::Refit refit = withoutWorst(all, o);
    const Pairs pairs = all.at(refit.kept);
    const Json judged =
        o.metric ? calibrateMetrically(pairs, o, output) : calibrateWithExport(pairs, o, output);
    Json data = readMatrices(o.folder, stored);
    data["board"] = o.board;
    data["leftOut"] = leftOutAsJson(set.leftOut);
    data["dropped"] = droppedAsJson(refit, all.names());
    data.update(judged);
    data["square"]["edge"] = o.square;
    Result result{.data = data, .warnings = leftOutAsSentences(set.leftOut)};
    result.warnings.insert(result.warnings.end(), doubts.begin(), doubts.end());
    if (!o.metric) {
        result.warnings.push_back(notMetric(Metric::No, o.folder));
    }
    if (!o.report.empty()) {
        result.texts.push_back(
            {o.report, [data, words = wordsOf(o)] { return pairReport(data, words); }});
    }
    return result;
}

} // namespace host
