#pragma once

namespace tarvix::afx {

constexpr int okButton = 1; // IDOK

// Shows the text (where the system has no code page, UTF-8) in a modal box, or prints it when that
// is not possible. Returns the button's id.
int showMessageBox(const char* text, unsigned type);

// Prints the text to standard error, for when there is no display. Returns okButton.
int printMessage(const char* text);

} // namespace tarvix::afx
