#include "host/gallery_page.h"

#include "host/failure.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <iomanip>
#include <utility>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

constexpr int widestShown = 720; // pixels; larger images are shrunk for the page only

std::string base64(const std::vector<unsigned char>& bytes) {
    static const char* const digits =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t left = bytes.size() - i;
        const unsigned triple = unsigned{bytes[i]} << 16 |
                                (left > 1 ? unsigned{bytes[i + 1]} << 8 : 0U) |
                                (left > 2 ? unsigned{bytes[i + 2]} : 0U);
        text += digits[triple >> 18];
        text += digits[triple >> 12 & 63];
        text += left > 1 ? digits[triple >> 6 & 63] : '=';
        text += left > 2 ? digits[triple & 63] : '=';
    }
    return text;
}

std::string escape(const std::string& text) {
    std::string out;
    for (const char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += c;
        }
    }
    return out;
}

// As a shell would need it.
std::string quoted(const std::string& word) {
    return word.find_first_of(" '\"\\$*?") == std::string::npos ? word : "'" + word + "'";
}

} // namespace

GalleryPage::GalleryPage(fs::path photos, fs::path out)
    : m_photos(std::move(photos)), m_out(std::move(out)) {}

std::string GalleryPage::place(const std::string& word) const {
    if (word.rfind("PHOTOS/", 0) == 0) {
        return nameOf(m_photos) + word.substr(6);
    }
    if (word.rfind("OUT/", 0) == 0) {
        return nameOf(m_out) + word.substr(3);
    }
    return word;
}

std::vector<std::string> GalleryPage::placed(const std::vector<std::string>& words) const {
    std::vector<std::string> result(words.size());
    std::transform(words.begin(), words.end(), result.begin(),
                   [this](const std::string& word) { return place(word); });
    return result;
}

void GalleryPage::removeOldResults(const GalleryEntry& entry) const {
    for (const auto& names : {entry.before, entry.after}) {
        for (const std::string& name : names) {
            std::error_code ignored;
            if (name.rfind("OUT/", 0) == 0) {
                fs::remove(pathOf(place(name)), ignored);
            }
        }
    }
}

void GalleryPage::add(const GalleryEntry& entry, int status, double seconds) {
    m_sections << "<section><h2>" << escape(entry.title) << "</h2><p>" << escape(entry.text)
               << "</p>\n<pre>tarvix";
    for (const std::string& word : placed(entry.command)) {
        m_sections << ' ' << escape(quoted(word));
    }
    m_sections << "</pre>\n<div class=row>";
    addImages("before", entry.before, status == 0);
    if (status == 0) {
        addImages("after", entry.after, true);
    }
    m_sections << "</div><p class=figures>" << (status == 0 ? "took " : "<b>failed</b> after ")
               << std::fixed << std::setprecision(2) << seconds << " s</p></section>\n";
}

// A failed operation may have no image to show: those are left out unless `all` is set.
void GalleryPage::addImages(const std::string& role, const std::vector<std::string>& names,
                            bool all) {
    for (const std::string& name : names) {
        const std::string path = place(name);
        const cv::Mat image = cv::imread(path, cv::IMREAD_COLOR);
        if (image.empty() && !all) {
            continue;
        }
        if (image.empty()) {
            throw Failure("cannot read '" + path + "'");
        }
        cv::Mat shown = image;
        if (image.cols > widestShown) {
            const double s = static_cast<double>(widestShown) / image.cols;
            cv::resize(image, shown, {}, s, s, cv::INTER_AREA);
        }
        std::vector<unsigned char> bytes;
        cv::imencode(".jpg", shown, bytes, {cv::IMWRITE_JPEG_QUALITY, 88});
        m_sections << "<figure><img alt=\"" << escape(role) << "\" src=\"data:image/jpeg;base64,"
                   << base64(bytes) << "\"><figcaption>" << escape(role) << ": "
                   << escape(nameOf(pathOf(path).filename())) << ", " << image.cols << " &times; "
                   << image.rows << "</figcaption></figure>\n";
    }
}

std::string GalleryPage::html() const {
    std::ostringstream page;
    page << R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>Tarvix gallery</title>
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 1180px; padding: 2rem 1rem;
       color: #1d2733; background: #f6f7f9; }
h1 { font-size: 2rem; margin: 0 0 .3rem; } h2 { font-size: 1.25rem; margin: 0 0 .2rem; }
section { background: #fff; border: 1px solid #dfe3e8; border-radius: 10px; padding: 1.1rem 1.3rem;
          margin: 1.4rem 0; }
p { margin: .2rem 0 .7rem; }
pre { background: #1d2733; color: #e8edf2; padding: .6rem .8rem; border-radius: 6px; font-size: .8rem;
      white-space: pre-wrap; overflow-wrap: anywhere; margin: 0 0 1rem; }
.row { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-start; }
figure { margin: 0; flex: 1 1 320px; min-width: 0; }
img { max-width: 100%; height: auto; display: block; border: 1px solid #dfe3e8;
      background: repeating-conic-gradient(#e6e9ed 0 25%, #fff 0 50%) 0 0/16px 16px; }
figcaption, .figures { color: #5b6876; font-size: .85rem; }
.figures { margin: .6rem 0 0; }
</style></head><body>
<h1>Tarvix gallery</h1>
<p>Every operation of the module on real photographs, each made by the command line shown above it.
Tarvix )" TARVIX_VERSION
         << ", OpenCV " << cv::getVersionString() << ".</p>\n"
         << m_sections.str() << "</body></html>\n";
    return page.str();
}

} // namespace host
