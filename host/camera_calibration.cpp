// The command calib.
#include "assist/calibration_quality.h"
#include "host/calibrating.h"
#include "host/calibration_folder.h"
#include "host/calibration_json.h"
#include "host/calibration_report.h"
#include "host/camera_exchange.h"
#include "host/corner_records.h"
#include "host/failure.h"
#include "host/photographs.h"

#include <tarvix/tarvix.h>

namespace host {

namespace {

template <class Item>
std::vector<Item> chosen(const std::vector<Item>& all, const std::vector<std::size_t>& positions) {
    std::vector<Item> items;
    items.reserve(positions.size());
    for (const std::size_t position : positions) {
        items.push_back(all.at(position));
    }
    return items;
}

// The boards of the photographs, or those that were recorded.
CalibrationSet cornersOf(const CameraOptions& o, Output& output,
                         std::vector<std::string>& warnings) {
    const SearchRules rules{
        .board = o.board, .window = calibWindow, .pairs = false, .strict = o.strict};
    if (o.records.empty() == o.photos.empty()) {
        throw BadUsage("give photographs, or --from-corners and the manifests of a batch");
    }
    if (o.records.empty()) {
        return searchSet(photographsOf(o.photos), rules, output);
    }
    RecordedBoards recorded = readCornerRecords(o.records, o.board, {o.report, o.exported});
    warnings = std::move(recorded.warnings);
    return usableOf(std::move(recorded.photos), rules);
}

} // namespace

Result calibrateCamera(const CameraOptions& o, const std::vector<StoredMatrix>& stored,
                       Output& output) {
    const cv::Size pattern(o.board[0], o.board[1]);
    if (!o.exported.empty()) {
        formatOf(o.exported); // a name that asks for none is refused before the work
    }
    std::vector<std::string> warnings;
    const CalibrationSet set = cornersOf(o, output, warnings);
    const tarvix::Refit refit =
        tarvix::dropWorst(set.files.size(), o.drop, [&](const std::vector<std::size_t>& kept) {
            std::vector<double> rms;
            for (const tarvix::ViewEstimate& view :
                 tarvix::estimateCamera(chosen(set.boards, kept), pattern, 1.0F).views) {
                rms.push_back(view.rms);
            }
            return rms;
        });
    requireEnough(refit);
    const std::vector<std::string> files = chosen(set.files, refit.kept);
    const std::vector<tarvix::SeenBoard> boards = chosen(set.boards, refit.kept);
    const tarvix::CalibrationQuality quality = tarvix::judgeCalibration(boards, pattern, 1.0F);
    if (o.records.empty()) {
        calibrate(o, files, output, [&](CStringArray& list, const char* folder, HWND preview) {
            return tx_Calib(list, folder, o.board[0], o.board[1], preview);
        });
    } else { // the export reads photographs; this is the camera that it estimates
        writeCamera(o.folder, quality.camera.cameraMatrix, quality.camera.distCoeffs);
    }
    Json data = readMatrices(o.folder, stored);
    data["board"] = o.board;
    data["leftOut"] = leftOutAsJson(set.leftOut);
    data["dropped"] = droppedAsJson(refit, set.files);
    data.update(cameraAsJson(quality, boards, files));
    Result result{.data = data, .warnings = leftOutAsSentences(set.leftOut)};
    result.warnings.insert(result.warnings.end(), warnings.begin(), warnings.end());
    if (!o.report.empty()) {
        std::vector<std::string> more;
        if (!o.records.empty()) {
            more = {"--from-corners"};
            more.insert(more.end(), o.records.begin(), o.records.end());
        }
        if (!o.exported.empty()) {
            more.insert(more.end(), {"--export", o.exported});
        }
        result.texts.push_back({o.report, [data, words = commandOf("calib", o, more)] {
                                    return cameraReport(data, words);
                                }});
    }
    if (!o.exported.empty()) {
        result.texts.push_back(
            {o.exported, [file = o.exported, folder = o.folder, size = quality.camera.imageSize] {
                 ExchangedCamera camera{size, {}, {}};
                 readCamera(folder, camera.matrix, camera.distortion);
                 return cameraFileText(camera, formatOf(file));
             }});
    }
    return result;
}

} // namespace host
