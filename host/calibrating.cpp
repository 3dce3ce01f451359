#include "host/calibrating.h"

#include "calib/calib_files.h"
#include "host/application.h"
#include "host/failure.h"
#include "host/numbers.h"
#include "host/photographs.h"
#include "host/progress.h"
#include "host/saving.h"
#include "host/sentences.h"
#include "platform/system/paths.h"
#include "platform/system/preview_window.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>
#include <opencv2/core.hpp>

#include <filesystem>
#include <iomanip>
#include <map>
#include <optional>
#include <sstream>

namespace host {

namespace {

using tarvix::nameOf;
using tarvix::pathOf;

cv::Mat_<double> readBack(const std::string& folder, const StoredMatrix& stored) {
    const std::filesystem::path path = pathOf(folder) / stored.file;
    cv::Mat matrix = tarvix::readMatrix(path, nameOf(path), stored.key);
    if (matrix.empty()) {
        throw Failure("cannot read '" + nameOf(path) + "' back");
    }
    return matrix;
}

} // namespace

void addCalibrationOptions(CLI::App& parser, CalibrationOptions& options) {
    addBoard(parser, options.board, smallestBoard);
    parser
        .add_option("-o,--folder", options.folder,
                    "Folder for the calibration files; made if missing, old files replaced")
        ->type_name("FOLDER")
        ->required();
    parser.add_flag("--strict", options.strict,
                    "Fail if a photograph cannot be used, instead of leaving it out");
    parser
        .add_option("--drop-worst", options.drop.worst,
                    "Leave out so many photographs with the largest errors, and fit again")
        ->type_name("N")
        ->check(wholeFrom(0));
    parser
        .add_option("--max-rms", options.drop.maxRms,
                    "Leave out the worst photographs until no error (rms) is above this, in pixels")
        ->type_name("PX")
        ->check(numberAbove(0));
    parser
        .add_option("--report", options.report,
                    "HTML file to write: a page that shows how good the calibration is")
        ->type_name("FILE");
    parser.add_flag("--preview", options.preview,
                    "Show each photograph with its corners in a window");
    addJson(parser, options);
}

void addCalibrationFolder(CLI::App& parser, std::string& folder) {
    parser.add_option("--calib", folder, "Folder of the calibration files")
        ->type_name("FOLDER")
        ->required();
}

void calibrate(const CalibrationOptions& options, const std::vector<std::string>& files,
               Output& output, const CalibrationExport& run) {
    makeFolder(options.folder);
    CStringArray list;
    addTo(list, files);
    std::optional<PreviewWindow> window;
    if (options.preview) {
        window.emplace("Tarvix calibration", 800, 600);
    }
    int done = 0;
    {
        const Progress progress(
            output, "calibrating from " + std::to_string(files.size()) +
                        (files.size() == 1 ? " photograph, board " : " photographs, board ") +
                        times(options.board[0], options.board[1]));
        done = run(list, options.folder.c_str(), window ? window->handle() : nullptr);
    }
    if (done != 0) {
        return;
    }
    // Each board was found before.
    throw Failure(application().messageShown()
                      ? alreadyShown
                      : "the module found no board in one of the photographs; did one change?");
}

namespace {

std::string oneLeftOut(const std::string& file, const std::string& reason) {
    return "left out '" + file + "': " + reason;
}

std::string severalLeftOut(const std::vector<std::string>& files, const std::string& reason) {
    std::string names;
    for (const std::string& file : files) {
        names += names.empty() ? "" : ", ";
        names += nameOf(pathOf(file).filename());
    }
    return "left out " + std::to_string(files.size()) + " photographs, " + reason + ": " + names;
}

} // namespace

std::vector<std::string> leftOutAsSentences(const std::vector<LeftOut>& leftOut) {
    constexpr std::size_t most = 5; // sentences with the same reason
    std::vector<std::string> reasons;
    std::map<std::string, std::vector<std::string>> files;
    for (const auto& [file, reason] : leftOut) {
        if (files[reason].empty()) {
            reasons.push_back(reason);
        }
        files[reason].push_back(file);
    }
    std::vector<std::string> sentences;
    for (const std::string& reason : reasons) {
        const std::vector<std::string>& these = files[reason];
        if (these.size() > most) {
            sentences.push_back(severalLeftOut(these, reason));
            continue;
        }
        for (const std::string& file : these) {
            sentences.push_back(oneLeftOut(file, reason));
        }
    }
    return sentences;
}

void requireEnough(const tarvix::Refit& refit) {
    if (!refit.isEnough) {
        throw Failure("--drop-worst and --max-rms would leave fewer than " +
                      std::to_string(tarvix::fewestKept) +
                      " photographs: take better ones, or ask for less");
    }
}

std::vector<std::string> commandOf(const std::string& name, const CalibrationOptions& o,
                                   const std::vector<std::string>& more) {
    std::vector<std::string> words{name};
    words.insert(words.end(), o.photos.begin(), o.photos.end());
    words.insert(words.end(), more.begin(), more.end());
    words.insert(words.end(),
                 {"--board", std::to_string(o.board[0]) + "x" + std::to_string(o.board[1])});
    if (o.drop.worst > 0) {
        words.insert(words.end(), {"--drop-worst", std::to_string(o.drop.worst)});
    }
    if (o.drop.maxRms) {
        std::ostringstream limit;
        limit << *o.drop.maxRms;
        words.insert(words.end(), {"--max-rms", limit.str()});
    }
    for (const auto& [flag, isSet] :
         {std::pair("--strict", o.strict), std::pair("--preview", o.preview)}) {
        if (isSet) {
            words.emplace_back(flag);
        }
    }
    words.insert(words.end(), {"-o", o.folder, "--report", o.report});
    return words;
}

Json readMatrices(const std::string& folder, const std::vector<StoredMatrix>& set) {
    std::map<std::string, Json> matrices; // by name
    for (const StoredMatrix& stored : set) {
        const cv::Mat_<double> m = readBack(folder, stored);
        Json& rows = matrices[stored.key] = Json::array();
        for (int r = 0; r < m.rows; ++r) {
            rows.push_back(std::vector<double>(m[r], m[r] + m.cols));
        }
    }
    return matrices;
}

std::string matricesAsText(const Json& matrices, const std::vector<StoredMatrix>& set) {
    std::ostringstream text;
    text << std::setprecision(6);
    for (const StoredMatrix& stored : set) {
        text << stored.file << "  " << stored.meaning << '\n';
        for (const Json& row : matrices.at(stored.key)) {
            for (const Json& element : row) {
                text << std::setw(14) << element.get<double>();
            }
            text << '\n';
        }
    }
    return text.str();
}

} // namespace host
