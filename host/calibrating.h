// What the two calibrations share: their options, the run of the export with progress and preview,
// and the matrices that it leaves in the calibration folder.
#pragma once

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
    bool preview = false;
};

// Adds all of them but `photos`.
void addCalibrationOptions(CLI::App& parser, CalibrationOptions& options);

// Adds --calib, the folder of a calibration to use.
void addCalibrationFolder(CLI::App& parser, std::string& folder);

// Calls a calibration export on the files. Throws Failure if it fails; if a board was not seen, the
// text names the files without one.
using CalibrationExport = std::function<int(CStringArray& files, const char* folder, HWND preview)>;
void calibrate(const CalibrationOptions& options, const std::vector<std::string>& files,
               Output& output, const CalibrationExport& run);

struct StoredMatrix {
    const char* file;
    const char* key;
    const char* meaning; // for a reader
};

// The matrices as arrays of rows, each under its key. Throws Failure if one cannot be read.
Json readMatrices(const std::string& folder, const std::vector<StoredMatrix>& set);

std::string matricesAsText(const Json& matrices, const std::vector<StoredMatrix>& set);

} // namespace host
