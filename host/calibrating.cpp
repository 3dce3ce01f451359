#include "host/calibrating.h"

#include "host/application.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/progress.h"
#include "host/saving.h"
#include "platform/system/paths.h"
#include "platform/system/preview_window.h"

#include <tarvix/tarvix.h>

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <iomanip>
#include <map>
#include <optional>
#include <sstream>

namespace host {

namespace {

using tarvix::nameOf;
using tarvix::pathOf;

// The export does not say which photograph it could not use: the chessboard export is asked.
[[noreturn]] void failWithoutBoard(const std::vector<std::string>& files, const Board& board) {
    const std::string size = std::to_string(board[0]) + " x " + std::to_string(board[1]);
    std::string missing;
    std::size_t without = 0;
    for (const std::string& file : files) {
        const Bitmap image = loadImage(file, false);
        CString corners;
        if (Bitmap(tx_FindChessboard(*image, board[0], board[1], corners)) == nullptr) {
            missing += (missing.empty() ? "" : ", ") + ("'" + file + "'");
            ++without;
        }
    }
    if (without > 1 && without == files.size()) {
        throw Failure("no board of " + size + " inner corners in any of the photographs");
    }
    throw Failure(missing.empty() ? "the board of " + size +
                                        " inner corners was not found in one of the photographs"
                                  : "no board of " + size + " inner corners in " + missing);
}

cv::Mat_<double> readMatrix(const std::string& folder, const StoredMatrix& stored) {
    const std::string path = nameOf(pathOf(folder) / stored.file);
    const cv::FileStorage storage(path, cv::FileStorage::READ);
    cv::Mat matrix;
    cv::read(storage[stored.key], matrix, cv::Mat());
    if (matrix.empty()) {
        throw Failure("cannot read '" + path + "' back");
    }
    return matrix;
}

} // namespace

void addCalibrationOptions(CLI::App& parser, CalibrationOptions& options) {
    addBoard(parser, options.board);
    parser
        .add_option("-o,--folder", options.folder,
                    "Folder for the calibration files; made if missing, old files replaced")
        ->required();
    parser.add_flag("--preview", options.preview,
                    "Show each photograph with its corners in a window");
    addJson(parser, options);
}

void addCalibrationFolder(CLI::App& parser, std::string& folder) {
    parser.add_option("--calib", folder, "Folder of the calibration files")->required();
}

void calibrate(const CalibrationOptions& options, const std::vector<std::string>& files,
               Output& output, const CalibrationExport& run) {
    requireFiles(files);
    makeFolder(options.folder);
    CStringArray list;
    addTo(list, files);
    std::optional<PreviewWindow> window;
    if (options.preview) {
        window.emplace("Tarvix calibration", 800, 600);
    }
    int done = 0;
    {
        const Progress progress(output, "calibrating from " + std::to_string(files.size()) +
                                            " photographs, board " +
                                            std::to_string(options.board[0]) + " x " +
                                            std::to_string(options.board[1]));
        done = run(list, options.folder.c_str(), window ? window->handle() : nullptr);
    }
    if (done != 0) {
        return;
    }
    if (application().messageShown()) {
        throw Failure(alreadyShown);
    }
    failWithoutBoard(files, options.board);
}

Json readMatrices(const std::string& folder, const std::vector<StoredMatrix>& set) {
    std::map<std::string, Json> matrices; // by name
    for (const StoredMatrix& stored : set) {
        const cv::Mat_<double> m = readMatrix(folder, stored);
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
