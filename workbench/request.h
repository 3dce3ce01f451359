// What the page asks to be run, read from JSON.
#pragma once

#include "workbench/operations.h"

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace workbench {

using Json = nlohmann::ordered_json;

// A request that makes no sense; what() is a sentence for the page.
struct BadRequest : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct RunRequest {
    const Operation* operation = nullptr;
    std::vector<std::string> images;
    Json options = Json::object();
    std::uint64_t pixels = 0; // of the reduced copies that it may run on; 0: in full
    std::string name;         // to save the result as
};

// {"command","images":[...],"options":{...},"pixels":n,"name":"..."}; all but the command may be
// left out. Throws BadRequest for what is not that, and for a command that `offered` does not have.
// The result points into `offered`.
RunRequest readRequest(const std::string& body, const std::vector<Operation>& offered);

// The words of an option with that value, such as "--corners" "0,0" "9,0" "9,9" "0,9". None if the
// value is false or null. Not for files. Throws BadRequest if it is not a value of that kind.
std::vector<std::string> wordsOf(const host::OptionRow& option, const Json& value);

// A number as the command line takes it, in as few digits as say which one it is.
std::string numberText(double number);

} // namespace workbench
