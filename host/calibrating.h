// What the two calibrations share: their options, the run of the export with progress and preview,
// and the matrices that it leaves in the calibration folder.
#pragma once

#include "assist/refit.h"
#include "host/calibration_set.h"
#include "host/options.h"

#include <afxcoll.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

namespace host {

struct CalibrationOptions : CommonOptions {
    std::vector<std::string> photos; // files, or folders of them
    std::string folder;              // for the calibration files
    Board board{};
    tarvix::DropRule drop;
    std::string report; // HTML file; empty: none
    bool strict = false;
    bool preview = false;
};

// Adds all of them but `photos`.
void addCalibrationOptions(CLI::App& parser, CalibrationOptions& options);

// Adds --calib, the folder of a calibration to use.
void addCalibrationFolder(CLI::App& parser, std::string& folder);

// Runs `calib` and `stereo-calib` with an export on the files that can be used. Throws Failure if
// it fails.
using CalibrationExport = std::function<int(CStringArray& files, const char* folder, HWND preview)>;
void calibrate(const CalibrationOptions& options, const std::vector<std::string>& files,
               Output& output, const CalibrationExport& run);

// A sentence for each photograph that is left out; one for many with the same reason.
std::vector<std::string> leftOutAsSentences(const std::vector<LeftOut>& leftOut);

// Throws Failure if the rule asks for more than can be left out.
void requireEnough(const tarvix::Refit& refit);

struct StoredMatrix {
    const char* file;
    const char* key;
    const char* meaning; // for a reader
};

// The matrices as arrays of rows, each under its key. Throws Failure if one cannot be read.
Json readMatrices(const std::string& folder, const std::vector<StoredMatrix>& set);

std::string matricesAsText(const Json& matrices, const std::vector<StoredMatrix>& set);

// The command line, for the page that a report is.
std::vector<std::string> commandOf(const std::string& name, const CalibrationOptions& options,
                                   const std::vector<std::string>& more);

struct CameraOptions : CalibrationOptions {
    std::vector<std::string> records; // manifests that have the corners, instead of `photos`
    std::string exported;             // file for other tools; empty: none
};

// The command calib: the photographs that can be used, the export, and what is to be said of it.
Result calibrateCamera(const CameraOptions& o, const std::vector<StoredMatrix>& stored,
                       Output& output);

} // namespace host
