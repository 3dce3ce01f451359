#pragma once

namespace tarvix::afx {

// A modal box with this text (UTF-8 where the system has no code page of its own), or standard
// error when nothing can be shown. Returns the button's id.
int showMessageBox(const char* text, unsigned type);

// The text on standard error, for when there is no display. Returns the id of the OK button.
int printMessage(const char* text);

} // namespace tarvix::afx
