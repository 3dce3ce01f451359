// What the host's pages share: self-contained HTML files that need no network.
#pragma once

#include <opencv2/core/mat.hpp>

#include <string>
#include <vector>

namespace host {

std::string escapeHtml(const std::string& text);

// The image as a JPEG in a data URL, shrunk to at most so many pixels in width.
std::string imageUrl(const cv::Mat& image, int widest);

// A command line as a shell would need it, escaped.
std::string commandLineHtml(const std::vector<std::string>& words);

// A whole page around what is in its body; the title is escaped here.
std::string pageHtml(const std::string& title, const std::string& body);

} // namespace host
