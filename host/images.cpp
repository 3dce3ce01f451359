#include "host/images.h"

#include "host/application.h"
#include "host/failure.h"
#include "host/image_cache.h"
#include "host/photograph_file.h"
#include "host/piped_images.h"
#include "host/sentences.h"
#include "platform/system/paths.h"
#include "platform/system/stray_lines.h"

#include <tarvix/tarvix.h>

#include <opencv2/imgproc.hpp>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

namespace host {

namespace {

unsigned char* line(const CDib& dib, int fromTop) {
    const BITMAPINFOHEADER& header = dib.m_bmi.bmiHeader;
    const auto stride = static_cast<std::ptrdiff_t>(
        (std::int64_t{header.biWidth} * header.biBitCount + 31) / 32 * 4);
    const int stored = header.biHeight < 0 ? fromTop : header.biHeight - 1 - fromTop;
    return dib.m_pBits + stored * stride;
}

// Decoders say on standard error what is wrong with a file, and give what they could read.
std::optional<std::string> noteDamage(const std::string& path) {
    for (const std::string& line : tarvix::takeStrayLines()) {
        if (!line.starts_with("[")) { // as OpenCV's log does
            std::string note = "'" + path + "' is damaged; the part that can be read is used (";
            application().note(note.append(line).append(")"));
            return note;
        }
    }
    return std::nullopt;
}

} // namespace

Bitmap loadImage(const std::string& name, bool gray) {
    const std::string path = PipedImages::fileBehind(name);
    std::error_code ignored;
    if (!std::filesystem::exists(tarvix::pathOf(path), ignored)) {
        throw Failure("no such file: '" + name + "'");
    }
    if (std::filesystem::is_directory(tarvix::pathOf(path), ignored)) {
        throw Failure("'" + path + "' is a folder; name an image file in it");
    }
    if (const auto kept = keptImage(path)) {
        if (kept->note) {
            application().note(*kept->note);
        }
        Bitmap again = toBitmap(kept->image);
        return gray ? toGray(*again) : std::move(again);
    }
    tarvix::takeStrayLines(); // those of earlier files
    Bitmap image(tx_LoadFile(path.c_str()));
    if (image == nullptr) {
        throw Failure("not an image that can be read: '" + name + "'");
    }
    const std::optional<std::string> damage = noteDamage(name);
    const PhotographFile file = readPhotographFile(path);
    if (!decoderTurns(file)) {
        image = toBitmap(upright(toMatrix(*image), file.exif.orientation));
    }
    keepImage(path, {toMatrix(*image), damage, file});
    return gray ? toGray(*image) : std::move(image);
}

Bitmap toGray(const CDib& dib) {
    cv::Mat gray;
    cv::cvtColor(toMatrix(dib), gray, cv::COLOR_BGR2GRAY);
    return toBitmap(gray);
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

Bitmap toBitmap(const cv::Mat& m) {
    auto bitmap = std::make_unique<CDib>();
    const int made = m.type() == CV_8UC1 ? bitmap->CreateGray(m.cols, m.rows)
                                         : bitmap->Create(m.cols, m.rows, 24, nullptr, nullptr);
    if (made == 0 || (m.type() != CV_8UC1 && m.type() != CV_8UC3)) {
        throw Failure("a bitmap of " + times(m.cols, m.rows) + " pixels cannot be made");
    }
    for (int r = 0; r < m.rows; ++r) {
        std::memcpy(line(*bitmap, r), m.ptr(r), static_cast<std::size_t>(m.cols) * m.elemSize());
    }
    return bitmap;
}

cv::Mat take(CDib* result) {
    return take(result, "no bitmap could be made for the result");
}

cv::Mat take(CDib* result, const std::string& what) {
    const Bitmap bitmap(result);
    if (bitmap == nullptr) {
        // The module has said why, or it failed silently and the host has to say something.
        throw Failure(application().messageShown() ? alreadyShown : what);
    }
    return toMatrix(*bitmap);
}

} // namespace host
