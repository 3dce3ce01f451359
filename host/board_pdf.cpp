// Boards as PDF, made by libharu.
#include "host/failure.h"
#include "host/printed_board.h"

#include <hpdf.h>

#include <memory>
#include <type_traits>

namespace host {

namespace {

constexpr double pointsPerMm = 72 / 25.4;

float points(double mm) {
    return static_cast<float>(mm * pointsPerMm);
}

struct FreeDocument {
    void operator()(HPDF_Doc document) const { HPDF_Free(document); }
};
using Document = std::unique_ptr<std::remove_pointer_t<HPDF_Doc>, FreeDocument>;

void draw(HPDF_Page page, const PrintedBoard& board) {
    const auto rectangle = [&](const cv::Rect2d& r) { // PDF's y is up
        HPDF_Page_Rectangle(page, points(r.x), points(board.page.height - r.y - r.height),
                            points(r.width), points(r.height));
    };
    for (const cv::Rect2d& square : board.squares) {
        rectangle(square);
    }
    rectangle(board.ruler);
    HPDF_Page_Fill(page);
}

std::string bytesOf(HPDF_Doc document) {
    HPDF_SaveToStream(document);
    std::string bytes(HPDF_GetStreamSize(document), '\0');
    auto size = static_cast<HPDF_UINT32>(bytes.size());
    HPDF_ReadFromStream(document, reinterpret_cast<HPDF_BYTE*>(bytes.data()), &size);
    bytes.resize(size);
    return bytes;
}

} // namespace

std::string boardAsPdf(const PrintedBoard& board) {
    // Without an error handler, each call after one that failed does nothing.
    const Document document(HPDF_New(nullptr, nullptr));
    if (document == nullptr) {
        throw Failure("no PDF could be made: memory is short");
    }
    HPDF_Page page = HPDF_AddPage(document.get());
    HPDF_Page_SetWidth(page, points(board.page.width));
    HPDF_Page_SetHeight(page, points(board.page.height));
    draw(page, board);
    HPDF_Page_BeginText(page);
    HPDF_Page_SetFontAndSize(page, HPDF_GetFont(document.get(), "Helvetica", nullptr), 10);
    HPDF_Page_TextOut(page, points(board.labelAt.x), points(board.page.height - board.labelAt.y),
                      board.label.c_str());
    HPDF_Page_EndText(page);
    std::string bytes = bytesOf(document.get());
    if (HPDF_GetError(document.get()) != HPDF_OK || bytes.empty()) {
        throw Failure("no PDF could be made: libharu's error " +
                      std::to_string(HPDF_GetError(document.get())));
    }
    return bytes;
}

} // namespace host
