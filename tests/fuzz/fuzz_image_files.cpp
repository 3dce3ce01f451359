// Image files with fuzzed bytes, into every export that reads files. The decoders are OpenCV's. The
// test is what the exports do with the images.
#include "tests/fuzz/fuzzing.h"
#include "tests/support/files.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::TempFolder folder;
    fuzz::Bytes in(data, size);
    const std::string path = folder / "image";
    const unsigned choice = in.byte() % 16;
    test::writeBytes(path, in.rest());

    const test::Workplace& place = fuzz::workplace();
    const std::string& window = place.windows()[0];
    const std::string& board = place.boards()[0];
    const struct {
        const char* name;
        std::vector<std::string> files;
    } uses[] = {{"tx_Stitch", {path, window}},
                {"tx_Stitch", {path, path}},
                {"tx_MatchImages", {path, window}},
                {"tx_MatchImages", {window, path}},
                {"tx_Calib", {path}},
                {"tx_Calib", {board, path}},
                {"tx_StereoCalib", {board, path}},
                {"tx_LoadFile", {path}}};
    const auto& use = uses[choice < 7 ? choice : 7];
    test::Arguments a = place.usualFor(test::exportNamed(use.name));
    a.files = use.files;
    a.outputs.resize(use.files.size());
    fuzz::call(use.name, a);
    return 0;
}
