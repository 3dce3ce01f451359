// tarvix gallery DIR: every operation on real photographs, as one self-contained page.
#include "host/commands.h"
#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>

namespace host {

namespace {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

constexpr int widestShown = 720; // pixels; larger pictures are shrunk for the page only

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

// What commands print is for a terminal of their own, not for the gallery's list of steps.
class Quiet {
public:
    Quiet() : m_before(std::cout.rdbuf(m_printed.rdbuf())) {}
    ~Quiet() { std::cout.rdbuf(m_before); }
    Quiet(const Quiet&) = delete;
    Quiet& operator=(const Quiet&) = delete;

private:
    std::ostringstream m_printed;
    std::streambuf* m_before;
};

int runQuietly(const std::vector<std::string>& arguments) {
    const Quiet quiet;
    return runCommand(arguments);
}

class Page {
public:
    Page(fs::path photos, fs::path out) : m_photos(std::move(photos)), m_out(std::move(out)) {}

    [[nodiscard]] std::string place(const std::string& word) const {
        if (word.rfind("PHOTOS/", 0) == 0) {
            return nameOf(m_photos) + word.substr(6);
        }
        if (word == "PHOTOS") {
            return nameOf(m_photos);
        }
        if (word.rfind("OUT/", 0) == 0) {
            return nameOf(m_out) + word.substr(3);
        }
        return word;
    }

    [[nodiscard]] std::vector<std::string> placed(const std::vector<std::string>& command) const {
        std::vector<std::string> words(command.size());
        std::transform(command.begin(), command.end(), words.begin(),
                       [this](const std::string& word) { return place(word); });
        return words;
    }

    // The last run's pictures must not stand for those of a failed operation.
    void removeOldResults(const GalleryEntry& entry) const {
        for (const auto& names : {entry.before, entry.after}) {
            for (const std::string& name : names) {
                std::error_code ignored;
                if (name.rfind("OUT/", 0) == 0) {
                    fs::remove(pathOf(place(name)), ignored);
                }
            }
        }
    }

    void addEntry(const GalleryEntry& entry, int status, double seconds) {
        m_html << "<section><h2>" << escape(entry.title) << "</h2><p>" << escape(entry.text)
               << "</p>\n<pre>tarvix";
        for (const std::string& word : placed(entry.command)) {
            m_html << ' ' << escape(quoted(word));
        }
        m_html << "</pre>\n<div class=row>";
        addPictures("before", entry.before, status == 0);
        if (status == 0) {
            addPictures("after", entry.after, true);
        }
        m_html << "</div><p class=figures>" << (status == 0 ? "took " : "<b>failed</b> after ")
               << std::fixed << std::setprecision(2) << seconds << " s</p></section>\n";
    }

    void write(const fs::path& path) const {
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
             << m_html.str() << "</body></html>\n";
        saveText(page.str(), nameOf(path));
    }

private:
    // A failed operation may have no picture to show: those are left out unless `all` is set.
    void addPictures(const std::string& role, const std::vector<std::string>& names, bool all) {
        for (const std::string& name : names) {
            const std::string path = place(name);
            const cv::Mat picture = cv::imread(path, cv::IMREAD_COLOR);
            if (picture.empty() && !all) {
                continue;
            }
            if (picture.empty()) {
                throw Failure("cannot read '" + path + "'");
            }
            cv::Mat shown = picture;
            if (picture.cols > widestShown) {
                const double s = static_cast<double>(widestShown) / picture.cols;
                cv::resize(picture, shown, {}, s, s, cv::INTER_AREA);
            }
            std::vector<unsigned char> bytes;
            cv::imencode(".jpg", shown, bytes, {cv::IMWRITE_JPEG_QUALITY, 88});
            m_html << "<figure><img alt=\"" << escape(role) << "\" src=\"data:image/jpeg;base64,"
                   << base64(bytes) << "\"><figcaption>" << escape(role) << ": "
                   << escape(nameOf(pathOf(path).filename())) << ", " << picture.cols << " &times; "
                   << picture.rows << "</figcaption></figure>\n";
        }
    }

    fs::path m_photos;
    fs::path m_out;
    std::ostringstream m_html;
};

int runGallery(const fs::path& directory, const fs::path& photos) {
    std::error_code error;
    if (!fs::is_directory(photos, error)) {
        throw Failure("no folder of photographs at '" + nameOf(photos) +
                      "'; the package opencv-doc brings it, or give --photos");
    }
    const fs::path results = directory / "results";
    makeFolder(nameOf(results));
    std::vector<GalleryEntry> entries;
    for (const auto& family :
         {filterGallery(), facesGallery(), geometryGallery(), calibGallery(), featureGallery()}) {
        entries.insert(entries.end(), family.begin(), family.end());
    }
    Page page(photos, results);
    for (const GalleryEntry& entry : entries) {
        page.removeOldResults(entry);
    }
    int failed = 0;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const GalleryEntry& entry = entries[i];
        std::cout << '[' << i + 1 << '/' << entries.size() << "] " << entry.title << " ... "
                  << std::flush;
        int status = 0;
        for (std::size_t k = 0; status == 0 && k < entry.prepare.size(); ++k) {
            status = runQuietly(page.placed(entry.prepare[k]));
        }
        const auto start = std::chrono::steady_clock::now();
        if (status == 0) {
            status = runQuietly(page.placed(entry.command));
        }
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        std::cout << (status == 0 ? "" : "FAILED ") << std::fixed << std::setprecision(2)
                  << took.count() << " s\n";
        failed += status == 0 ? 0 : 1;
        page.addEntry(entry, status, took.count());
    }
    page.write(directory / "index.html");
    std::cout << "The page: " << nameOf(fs::absolute(directory / "index.html")) << '\n';
    return failed;
}

} // namespace

void addGalleryCommand(CLI::App& app) {
    struct Options {
        std::string directory;
        std::string photos = "/usr/share/doc/opencv-doc/examples/data";
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "gallery",
        "Run every operation on real photographs and write one page that shows them all");
    command->add_option("DIR", o->directory, "Folder for the page, made when missing")->required();
    command->add_option("--photos", o->photos, "Folder of photographs")->capture_default_str();
    command->callback([o] {
        if (const int failed = runGallery(pathOf(o->directory), pathOf(o->photos)); failed != 0) {
            throw Failure(std::to_string(failed) + " of the gallery's operations failed");
        }
    });
}

} // namespace host
