// The user's web browser.
#pragma once

#include <filesystem>

namespace tarvix {

// Shows a file in the browser, without waiting for it. Returns false if there is none, as without a
// display. What is passed is the file's name, which every user of the machine may see.
bool openInBrowser(const std::filesystem::path& file);

} // namespace tarvix
