// Sentences for the user out of what was typed and of what libraries say.
#pragma once

#include <string>
#include <vector>

namespace host {

// The known word that is most like a mistyped one, or "" if none is like it.
std::string nearest(const std::string& word, const std::vector<std::string>& known);

// "; did you mean 'WORD'?" for the nearest one, or "".
std::string suggestion(const std::string& word, const std::vector<std::string>& known);

// "640 x 480".
std::string times(int width, int height);

// OpenCV's message without its version, its source file and the line in it:
// "OpenCV refuses this: (-215:Assertion failed) ... in function '...'". Any other text unchanged.
std::string withoutPlace(const std::string& message);

} // namespace host
