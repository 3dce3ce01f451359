// How the sub-commands print JSON.
#pragma once

#include <nlohmann/json.hpp>

#include <iostream>

namespace host {

// Prints the value on one line. JSON is UTF-8; what a file's name has of anything else is printed
// as U+FFFD.
template <class Json>
void printJson(const Json& value) {
    std::cout << value.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

} // namespace host
