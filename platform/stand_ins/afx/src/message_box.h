#pragma once

namespace tarvix::afx {

constexpr int okButton = 1; // IDOK

// Shows the text (UTF-8 if the system has no code page) in a modal box, or prints it if that is not
// possible. Returns the button's id.
int showMessageBox(const char* text, unsigned type);

// Prints the text to standard error, in case there is no display. Returns okButton.
int printMessage(const char* text);

} // namespace tarvix::afx
