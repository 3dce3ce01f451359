// Lists of any length with any names, and folders of any name.
#include "tests/fuzz/fuzzing.h"
#include "tests/support/files.h"

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

const std::vector<std::string> exports = test::exportsThatTake(test::takesFiles);

const std::string longName(5000, 'n');
const std::string longFolder(300, '/');

// Makes any text a name in the folder, so that nothing outside is written.
std::string nameIn(const test::TempFolder& folder, std::string text) {
    for (char& c : text) {
        if (c == '/' || c == '\\' || c == ':') {
            c = '_';
        }
    }
    return folder / text;
}

std::string toRead(fuzz::Bytes& in, const test::Workplace& place) {
    const unsigned choice = in.byte() % 32;
    switch (choice) {
    case 0:
        return "";
    case 1:
        return place.calibration(); // a folder
    case 2:
        return place.calibration() + "/cam.xml"; // not an image
    case 3:
        return place / "missing.png";
    case 4:
        return longName;
    case 5:
    case 6:
    case 7:
        return place.windows()[choice - 5];
    case 8:
        return in.text();
    default:
        return place.boards()[choice % place.boards().size()];
    }
}

std::string toWrite(fuzz::Bytes& in, const test::TempFolder& folder) {
    constexpr std::array endings{".bmp", ".png", ".jpg", ".tiff", ".webp", ".ppm", "", ".xml"};
    const unsigned choice = in.byte();
    return choice < 0xF0 ? nameIn(folder, "out" + std::to_string(choice / 8) +
                                              endings[choice % endings.size()])
                         : nameIn(folder, in.text());
}

std::string someFolder(fuzz::Bytes& in, const test::TempFolder& folder, bool isWritten,
                       const test::Workplace& place) {
    switch (in.byte() % 8) {
    case 0:
        return folder / "missing";
    case 1:
        return folder / "file";
    case 2:
        return folder / std::string(200, 'f');
    case 3:
        return longFolder;
    case 4:
        return isWritten ? nameIn(folder, in.text()) : in.text();
    case 5:
        return "";
    default:
        return isWritten ? folder.path() : place.calibration();
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::TempFolder folder;
    static const bool prepared = [] {
        fs::current_path(folder.path()); // which an empty folder name means
        std::ofstream(folder / "file") << "not a folder";
        return true;
    }();
    static_cast<void>(prepared);
    const test::Workplace& place = fuzz::workplace();
    fuzz::Bytes in(data, size);
    const std::string name = exports[in.byte() % exports.size()];
    const bool isCalibration = name == "tx_Calib" || name == "tx_StereoCalib";

    test::Arguments a = place.usualFor(test::exportNamed(name));
    a.folder = someFolder(in, folder, isCalibration, place);
    if (in.byte() % 4 == 0) {
        for (int& number : a.ints) {
            number = fuzz::oddInt(in);
        }
        a.reals[0] = fuzz::oddDouble(in);
    }
    a.files.clear();
    // OpenCV may find nonsense in images of boards and then take long to draw a panorama of it.
    const int mostFiles = name == "tx_Stitch" ? 4 : 12;
    for (int left = in.byte() % mostFiles; left > 0; --left) {
        a.files.push_back(toRead(in, place));
    }
    a.outputs.clear();
    for (int left = in.byte() % 8; left > 0; --left) {
        a.outputs.push_back(toWrite(in, folder));
    }
    if (name == "tx_LoadFile") {
        a.files.resize(1);
    }
    fuzz::call(name.c_str(), a);
    return 0;
}
