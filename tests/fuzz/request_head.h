// Reads the head of a request as the server does. Apart from the tests' headers: on Windows the
// library that reads it must see the system's headers for sockets first.
#pragma once

#include "workbench/http.h"

#include <optional>
#include <string>

namespace fuzz {

// Nothing if the text does not begin with a whole head.
std::optional<workbench::HttpRequest> readRequestHead(const std::string& text);

} // namespace fuzz
