#include "host/page.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

namespace host {

namespace {

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

} // namespace

std::string escapeHtml(const std::string& text) {
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

std::string imageUrl(const cv::Mat& image, int widest) {
    cv::Mat shown = image;
    if (image.cols > widest) {
        const double s = static_cast<double>(widest) / image.cols;
        cv::resize(image, shown, {}, s, s, cv::INTER_AREA);
    }
    std::vector<unsigned char> bytes;
    cv::imencode(".jpg", shown, bytes, {cv::IMWRITE_JPEG_QUALITY, 88});
    return "data:image/jpeg;base64," + base64(bytes);
}

std::string commandLineHtml(const std::vector<std::string>& words) {
    std::string line = "tarvix";
    for (const std::string& word : words) {
        const bool plain = word.find_first_of(" '\"\\$*?") == std::string::npos;
        const std::string shown = escapeHtml(plain ? word : "'" + word + "'");
        // Browsers break lines at hyphens, which would leave "--" at the end of one.
        line += shown.rfind('-', 0) == 0 ? " <span>" + shown + "</span>" : " " + shown;
    }
    return line;
}

std::string pageHtml(const std::string& title, const std::string& body) {
    return R"(<!doctype html>
<html lang="en"><head><meta charset="utf-8"><title>)" +
           escapeHtml(title) + R"(</title>
<meta name="viewport" content="width=device-width, initial-scale=1">
<style>
:root { color-scheme: light dark; --text: #1d2733; --back: #f6f7f9; --card: #fff; --line: #dfe3e8;
        --soft: #5b6876; --code: #1d2733; --on-code: #e8edf2; --link: #0b5cad; --bad: #b00020;
        --good-back: #f0f9f4; --mind-back: #fdf5ec; }
@media (prefers-color-scheme: dark) {
  :root { --text: #e3e8ee; --back: #14181d; --card: #1d232a; --line: #38424d; --soft: #a7b2be;
          --code: #0c0f13; --on-code: #dbe3ea; --link: #7db8f5; --bad: #ff8a80;
          --good-back: #17291f; --mind-back: #2e2416; } }
* { box-sizing: border-box; }
body { font: 16px/1.5 system-ui, sans-serif; margin: 0 auto; max-width: 1180px; padding: 2rem 1rem;
       color: var(--text); background: var(--back); }
h1 { font-size: 2rem; margin: 0 0 .3rem; } h2 { font-size: 1.25rem; margin: 0 0 .2rem; }
a { color: var(--link); }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px;
          padding: 1.1rem 1.3rem; margin: 1.4rem 0; overflow-x: auto; }
p { margin: .2rem 0 .7rem; max-width: 52rem; }
pre { background: var(--code); color: var(--on-code); padding: .6rem .8rem; border-radius: 6px;
      font-size: .8rem; white-space: pre-wrap; overflow-wrap: anywhere; margin: 0 0 1rem;
      max-height: 14rem; overflow: auto; }
pre span { white-space: nowrap; } .figures + pre { margin-top: .6rem; }
.row { display: flex; flex-wrap: wrap; gap: 1rem; align-items: flex-start; }
figure { margin: 0; flex: 1 1 320px; min-width: 0; }
figure.small { flex: 1 1 240px; max-width: 420px; }
img { max-width: 100%; height: auto; display: block; border: 1px solid var(--line);
      background: repeating-conic-gradient(#e6e9ed 0 25%, #fff 0 50%) 0 0/16px 16px; }
svg { width: 100%; height: auto; display: block; font-family: system-ui, sans-serif; }
figcaption, .figures { color: var(--soft); font-size: .85rem; overflow-wrap: anywhere; }
.figures { margin: .6rem 0 0; }
table { border-collapse: collapse; width: 100%; font-size: .9rem; margin: 0 0 .8rem; }
th, td { text-align: left; padding: .2rem .8rem .2rem 0; border-bottom: 1px solid var(--line);
         vertical-align: top; overflow-wrap: break-word; }
td.number { font-variant-numeric: tabular-nums; }
ul.findings { list-style: none; padding: 0; margin: 0 0 .8rem; }
ul.findings li { padding: .3rem .7rem; margin: .3rem 0; border-left: 4px solid #2f9e5f;
                 background: var(--good-back); }
ul.findings li.mind { border-color: #d9822b; background: var(--mind-back); }
@media print { /* all of a text: paper does not scroll, and browsers omit dark backgrounds */
  :root { color-scheme: light; --text: #000; --back: #fff; --card: #fff; --line: #bbb; --soft: #444;
          --code: #fff; --on-code: #000; --link: #0b5cad; --bad: #b00020; --good-back: #fff;
          --mind-back: #fff; }
  body { max-width: none; padding: 0; } section { break-inside: avoid; overflow: visible; }
  pre { max-height: none; overflow: visible; white-space: pre-wrap; border: 1px solid var(--line); }
  section img { max-height: 7.5cm; width: auto; } h2, figure { break-inside: avoid; }
  h2 { break-after: avoid; } .figures { break-before: avoid; } }
</style></head><body>
)" + body + "</body></html>\n";
}

} // namespace host
