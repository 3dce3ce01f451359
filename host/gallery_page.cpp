#include "host/gallery_page.h"

#include "host/failure.h"
#include "host/page.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <iomanip>
#include <utility>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

constexpr int widestShown = 720; // pixels; larger images are shrunk for the page only

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
    m_sections << "<section><h2>" << escapeHtml(entry.title) << "</h2><p>" << escapeHtml(entry.text)
               << "</p>\n<pre>" << commandLineHtml(placed(entry.command))
               << "</pre>\n<div class=row>";
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
        m_sections << "<figure><img alt=\"" << escapeHtml(role) << "\" src=\""
                   << imageUrl(image, widestShown) << "\"><figcaption>" << escapeHtml(role) << ": "
                   << escapeHtml(nameOf(pathOf(path).filename())) << ", " << image.cols
                   << " &times; " << image.rows << "</figcaption></figure>\n";
    }
}

std::string GalleryPage::html() const {
    return pageHtml(
        "Tarvix gallery",
        "<h1>Tarvix gallery</h1>\n<p>Every operation of the module on real photographs, "
        "each made by the command line shown above it.\nTarvix " TARVIX_VERSION ", OpenCV " +
            cv::getVersionString() + ".</p>\n" + m_sections.str());
}

} // namespace host
