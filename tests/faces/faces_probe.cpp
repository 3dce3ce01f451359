// A host that uses the cascades beside it:
//   faces_probe find IMAGE   calls tx_FindFaces on the grey image, with an array that is not empty
//   faces_probe track        calls tx_TrackFace
//   faces_probe linger FILE  calls tx_TrackFace twice, makes FILE, and lives on until it is gone
// Prints one line for each message, each face and the result.
#include "tests/support/stored_rows.h"

#include <tarvix/tarvix.h>

#include <afxwin.h>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

namespace {

class Host : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) override {
        std::string line = text;
        for (char& c : line) {
            c = c == '\n' ? ' ' : c;
        }
        std::cout << "message " << line << std::endl;
        return IDOK;
    }
};

std::unique_ptr<CDib> inGrey(CDib& colour) {
    const BITMAPINFOHEADER& header = colour.m_bmi.bmiHeader;
    cv::Mat grey;
    cv::cvtColor(
        cv::Mat(header.biHeight, header.biWidth, CV_8UC3, colour.m_pBits, test::rowBytes(header)),
        grey, cv::COLOR_BGR2GRAY);
    auto result = std::make_unique<CDib>();
    result->CreateGray(header.biWidth, header.biHeight);
    const std::size_t stride = test::rowBytes(result->m_bmi.bmiHeader);
    for (int row = 0; row < grey.rows; ++row) {
        std::memcpy(result->m_pBits + static_cast<std::size_t>(row) * stride, grey.ptr(row),
                    static_cast<std::size_t>(grey.cols));
    }
    return result;
}

// Open files of the emulated camera; none where the system does not tell.
int camerasInUse() {
    int count = 0;
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const std::string name = std::filesystem::read_symlink(file.path(), error).string();
        count += name.find("memfd:camera") == std::string::npos ? 0 : 1;
    }
    return count;
}

} // namespace

int main(int argc, char** argv) {
    Host host;
    cv::setNumThreads(1); // with more, the order of OpenCV's detections changes from run to run
    const std::string what = argc > 1 ? argv[1] : "";
    if (what == "find" && argc > 2) {
        const std::unique_ptr<CDib> colour(tx_LoadFile(argv[2]));
        const std::unique_ptr<CDib> grey = inGrey(*colour);
        CArray<RECT, RECT&> faces;
        faces.SetSize(3);
        const int result = tx_FindFaces(*grey, faces);
        for (INT_PTR i = 0; i < faces.GetSize(); ++i) {
            const RECT& face = faces[i];
            std::cout << "face " << face.left << ' ' << face.top << ' ' << face.right << ' '
                      << face.bottom << '\n';
        }
        std::cout << "result " << result << std::endl;
        return 0;
    }
    if (what == "track") {
        const int result = tx_TrackFace(nullptr);
        std::cout << "result " << result << std::endl;
        return 0;
    }
    if (what == "linger" && argc > 2) {
        for (int call = 0; call < 2; ++call) {
            const int result = tx_TrackFace(nullptr);
            std::cout << "result " << result << ", cameras in use " << camerasInUse() << std::endl;
        }
        std::ofstream(argv[2]).put('1');
        while (std::filesystem::exists(argv[2])) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return 0;
    }
    return 2;
}
