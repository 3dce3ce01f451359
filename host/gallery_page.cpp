#include "host/gallery_page.h"

#include "host/failure.h"
#include "host/gallery_inputs.h"
#include "host/gallery_style.h"
#include "host/page.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <utility>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

constexpr int widestShown = 1000;     // pixels; the page links the image itself
constexpr std::size_t mostLines = 24; // of what a command printed

// PHOTOS/ and OUT/ as the page's reader finds them: relative to the page.
std::string relative(const std::string& word) {
    if (word.rfind("PHOTOS/", 0) == 0) {
        return "photos" + word.substr(6);
    }
    return word.rfind("OUT/", 0) == 0 ? "results" + word.substr(3) : word;
}

std::vector<std::string> relative(const std::vector<std::string>& words) {
    std::vector<std::string> result(words.size());
    std::transform(words.begin(), words.end(), result.begin(),
                   [](const std::string& word) { return relative(word); });
    return result;
}

void replaceAll(std::string& text, const std::string& what, const std::string& with) {
    for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
        text.replace(at, what.size(), with);
    }
}

// "[2/13] left02.jpg: board found": how far it was.
bool isStep(const std::string& line) {
    return line.size() > 1 && line[0] == '[' && line[1] >= '0' && line[1] <= '9' &&
           line.find('/') < line.find(']');
}

// The text without steps, or its first and last lines if it has many.
std::string shortened(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) {
        if (!isStep(line)) {
            lines.push_back(line);
        }
    }
    std::string kept;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        if (lines.size() <= mostLines || i < mostLines / 2 || i + mostLines / 2 >= lines.size()) {
            kept += lines[i] + '\n';
        } else if (i == mostLines / 2) {
            kept += "... " + std::to_string(lines.size() - mostLines) + " lines ...\n";
        }
    }
    return kept;
}

std::string inlineImage(const std::string& role, const cv::Mat& image) {
    return "<img alt=\"" + escapeHtml(role) + "\" src=\"" + imageUrl(image, widestShown) + "\">";
}

std::string linked(const std::string& name, const std::string& content) {
    return "<a href=\"" + escapeHtml(relative(name)) + "\">" + content + "</a>";
}

std::string caption(const std::string& role, const std::string& name, const cv::Mat& image) {
    return escapeHtml(role) + ": " + linked(name, escapeHtml(nameOf(pathOf(name).filename()))) +
           ", " + std::to_string(image.cols) + " &times; " + std::to_string(image.rows);
}

} // namespace

GalleryPage::GalleryPage(fs::path folder) : m_folder(std::move(folder)) {}

std::string GalleryPage::placed(const std::string& word) const {
    const std::string where = relative(word);
    return where == word ? word : nameOf(m_folder / pathOf(where));
}

std::vector<std::string> GalleryPage::placed(const std::vector<std::string>& words) const {
    std::vector<std::string> result(words.size());
    std::transform(words.begin(), words.end(), result.begin(),
                   [this](const std::string& word) { return placed(word); });
    return result;
}

std::string GalleryPage::withoutFolders(std::string text) const {
    for (const char* folder : {"photos", "results"}) {
        replaceAll(text, nameOf(m_folder / folder), folder);
    }
    return text;
}

void GalleryPage::removeOldResults(const GalleryEntry& entry) const {
    std::vector<std::string> names = entry.pages;
    for (const auto& more : {entry.before, entry.after}) {
        names.insert(names.end(), more.begin(), more.end());
    }
    for (const MadeInput& input : entry.made) {
        names.push_back(input.to);
    }
    for (const std::string& name : names) {
        std::error_code ignored;
        if (name.rfind("OUT/", 0) == 0) {
            fs::remove(pathOf(placed(name)), ignored);
        }
    }
}

void GalleryPage::makePagesRelative(const GalleryEntry& entry) const {
    for (const std::string& page : entry.pages) {
        const std::string path = placed(page);
        std::ifstream file(pathOf(path), std::ios::binary);
        if (!file) {
            continue; // its command failed, and the entry says so
        }
        std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        file.close(); // Windows replaces no file that is open
        for (const char* folder : {"photos", "results"}) {
            replaceAll(text, escapeHtml(nameOf(m_folder / folder)), folder);
        }
        saveText(text, path);
    }
}

void GalleryPage::add(const GalleryEntry& entry, const GalleryRun& run) {
    const std::string id = "e" + std::to_string(++m_count);
    m_contents << "<li><a href=\"#" << id << "\">" << escapeHtml(entry.title) << "</a></li>\n";
    m_sections << "<section id=" << id << "><h2>" << escapeHtml(entry.title) << "</h2><p>"
               << escapeHtml(entry.text);
    for (const MadeInput& input : entry.made) {
        m_sections << ' ' << escapeHtml(input.how);
    }
    m_sections << "</p>\n";
    if (!entry.lookFor.empty() && run.status == 0) {
        m_sections << "<p><b>Look for:</b> " << escapeHtml(entry.lookFor) << "</p>\n";
    }
    addImages(entry, run.status == 0);
    addNumbers(entry, run);
    addCommands(entry);
    m_sections << "<p class=figures>" << (run.status == 0 ? "took " : "<b>failed</b> after ")
               << std::fixed << std::setprecision(2) << run.seconds << " s</p></section>\n";
}

void GalleryPage::addCommands(const GalleryEntry& entry) {
    m_sections << "<pre>";
    for (const std::vector<std::string>& words : entry.prepare) {
        m_sections << commandLineHtml(relative(words)) << '\n';
    }
    m_sections << commandLineHtml(relative(entry.command)) << "</pre>\n";
}

void GalleryPage::addNumbers(const GalleryEntry& entry, const GalleryRun& run) {
    const std::string numbers = shortened(withoutFolders(run.printed));
    if (!numbers.empty()) {
        m_sections << "<pre class=numbers>" << escapeHtml(numbers) << "</pre>\n";
    }
    if (run.status == 0 && !entry.truth.empty()) {
        const cv::Mat truth = cv::imread(placed(entry.truth), cv::IMREAD_COLOR);
        const double before =
            decibels(cv::imread(placed(entry.before.at(0)), cv::IMREAD_COLOR), truth);
        const double after =
            decibels(cv::imread(placed(entry.after.at(0)), cv::IMREAD_COLOR), truth);
        std::ostringstream distance;
        distance << std::fixed << std::setprecision(1) << "Distance to the true image: " << before
                 << " dB before, " << after << " dB after, a gain of " << after - before << " dB.";
        m_sections << "<p>" << distance.str() << "</p>\n";
    }
    if (!run.errors.empty()) {
        m_sections << "<pre class=\"numbers failed\">"
                   << escapeHtml(shortened(withoutFolders(run.errors))) << "</pre>\n";
    }
    if (run.status == 0) {
        for (const std::string& page : entry.pages) {
            m_sections << "<p>" << linked(page, escapeHtml(nameOf(pathOf(page).filename())))
                       << "</p>\n";
        }
    }
}

// A failed operation may have no image to show: those are left out unless `all` is set.
void GalleryPage::addImages(const GalleryEntry& entry, bool all) {
    if (all && entry.before.size() == 1 && entry.after.size() == 1) {
        const cv::Size before = cv::imread(placed(entry.before[0]), cv::IMREAD_COLOR).size();
        if (!before.empty() &&
            before == cv::imread(placed(entry.after[0]), cv::IMREAD_COLOR).size()) {
            addDivider(entry.before[0], entry.after[0]);
            return;
        }
    }
    m_sections << "<div class=row>";
    for (const std::string& name : entry.before) {
        addFigure(entry.after.empty() ? "in" : "before", name, all);
    }
    if (all) {
        for (const std::string& name : entry.after) {
            addFigure("after", name, true);
        }
    }
    m_sections << "</div>\n";
}

void GalleryPage::addDivider(const std::string& before, const std::string& after) {
    const cv::Mat old = cv::imread(placed(before), cv::IMREAD_COLOR);
    const cv::Mat made = cv::imread(placed(after), cv::IMREAD_COLOR);
    m_sections << "<div class=divider>" << linked(after, inlineImage("after", made))
               << linked(before, inlineImage("before", old))
               << "<input type=range min=0 max=100 value=35 aria-label=\"how much of the image "
                  "before is shown\"></div>\n<p class=figures>left of the divider, "
               << caption("before", before, old) << "; right, " << caption("after", after, made)
               << "</p>\n";
}

void GalleryPage::addFigure(const std::string& role, const std::string& name, bool required) {
    const cv::Mat image = cv::imread(placed(name), cv::IMREAD_COLOR);
    if (image.empty() && !required) {
        return;
    }
    if (image.empty()) {
        throw Failure("cannot read '" + placed(name) + "'");
    }
    m_sections << "<figure" << (image.cols > 2 * image.rows ? " class=wide" : "") << ">"
               << linked(name, inlineImage(role, image)) << "<figcaption>"
               << caption(role, name, image) << "</figcaption></figure>\n";
}

std::string GalleryPage::html() const {
    return pageHtml("Tarvix gallery",
                    "<style>" + std::string(galleryStyle) +
                        "</style>\n<h1>Tarvix gallery</h1>\n"
                        "<p>What the operations of the module do, on photographs of OpenCV's "
                        "documentation. The commands below each image made it. To run them again, "
                        "go to this page's folder, with <code>tarvix</code> on the path. An input "
                        "that is not a photograph says so. A click opens an image at full size. "
                        "Live tracking is not here: it needs a camera and a window "
                        "(<code>tarvix track</code>). Tarvix " TARVIX_VERSION ", OpenCV " +
                        cv::getVersionString() + ".</p>\n<nav aria-label=\"Contents\"><ol>\n" +
                        m_contents.str() + "</ol></nav>\n" + m_sections.str() + "<script>" +
                        galleryScript + "</script>\n");
}

} // namespace host
