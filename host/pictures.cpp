#include "host/pictures.h"

#include "host/application.h"
#include "host/failure.h"
#include "platform/system/paths.h"

#include <tarvix/tarvix.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace host {

namespace {

unsigned char* line(const CDib& dib, int fromTop) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    const auto stride = static_cast<std::ptrdiff_t>(
        (std::int64_t{header.biWidth} * header.biBitCount + 31) / 32 * 4);
    const int stored = header.biHeight < 0 ? fromTop : header.biHeight - 1 - fromTop;
    return dib.m_pBits + stored * stride;
}

} // namespace

Picture loadPicture(const std::string& path, bool gray) {
    std::error_code ignored;
    if (!std::filesystem::exists(tarvix::pathOf(path), ignored)) {
        throw Failure("no such file: '" + path + "'");
    }
    Picture picture(tx_LoadFile(path.c_str()));
    if (picture == nullptr) {
        throw Failure("not a picture that can be read: '" + path + "'");
    }
    if (!gray) {
        return picture;
    }
    cv::Mat grey;
    cv::cvtColor(toMatrix(*picture), grey, cv::COLOR_BGR2GRAY);
    return toPicture(grey);
}

Picture take(CDib* result, const std::string& what) {
    Picture picture(result);
    if (picture == nullptr) {
        // The module has said why, or it failed silently and the host has to say something.
        throw application().messageShown() ? Failure::alreadyShown() : Failure(what);
    }
    return picture;
}

cv::Mat toMatrix(const CDib& dib) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    if (dib.m_hBitmap == nullptr || (header.biBitCount != 8 && header.biBitCount != 24)) {
        return {};
    }
    cv::Mat m(std::abs(header.biHeight), header.biWidth,
              header.biBitCount == 8 ? CV_8UC1 : CV_8UC3);
    for (int r = 0; r < m.rows; ++r) {
        std::memcpy(m.ptr(r), line(dib, r), static_cast<std::size_t>(m.cols) * m.elemSize());
    }
    return m;
}

Picture toPicture(const cv::Mat& m) {
    auto picture = std::make_unique<CDib>();
    const int made = m.type() == CV_8UC1 ? picture->CreateGray(m.cols, m.rows)
                                         : picture->Create(m.cols, m.rows, 24, nullptr, nullptr);
    if (made == 0 || (m.type() != CV_8UC1 && m.type() != CV_8UC3)) {
        throw Failure("a bitmap of " + std::to_string(m.cols) + " x " + std::to_string(m.rows) +
                      " pixels cannot be made");
    }
    for (int r = 0; r < m.rows; ++r) {
        std::memcpy(line(*picture, r), m.ptr(r), static_cast<std::size_t>(m.cols) * m.elemSize());
    }
    return picture;
}

void savePicture(const CDib& dib, const std::string& path) {
    saveMatrix(toMatrix(dib), path);
}

void saveMatrix(const cv::Mat& m, const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path target = tarvix::pathOf(path);
    // Written beside the target under a name of its own, then renamed: a full disk leaves the old
    // file.
    fs::path half = target;
    half.replace_filename(fs::path(".half-") += target.filename());
    const std::string halfName = tarvix::nameOf(half);
    std::error_code error;
    bool written = false;
    std::string reason;
    try {
        written = !m.empty() && cv::imwrite(halfName, m);
    } catch (const cv::Exception& e) {
        reason = ": " + oneLine(e.what());
    }
    if (written) {
        // imwrite does not report a disk that filled up; a picture that can be read back is whole.
        written = !cv::imread(halfName, cv::IMREAD_UNCHANGED).empty();
    }
    if (written) {
        fs::rename(half, target, error);
        if (!error) {
            return;
        }
        reason = ": " + error.message();
    }
    fs::remove(half, error);
    throw Failure("cannot write '" + path + "'" + reason);
}

} // namespace host
