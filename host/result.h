// What a run of a command gives. run_command.h writes and prints it.
#pragma once

#include <nlohmann/json.hpp>
#include <opencv2/core/mat.hpp>

#include <functional>
#include <string>
#include <vector>

namespace host {

using Json = nlohmann::ordered_json; // members stay in the order in which they are added

// What the data of a command says to a reader, in whole lines.
using AsText = std::function<std::string(const Json& data)>;

// An image beside the result, such as an overlay. It is drawn and written last: if it cannot be,
// the result itself is there all the same.
struct ImageBeside {
    std::string path;
    std::function<cv::Mat()> draw; // may throw Failure
};

// A text file beside the result, such as a report. It is made and written last, too.
struct TextBeside {
    std::string path;
    std::function<std::string()> make; // may throw Failure
};

struct Result {
    cv::Mat image{};                     // goes to -o; empty if there is none
    Json data{};                         // what was found; null if there is nothing to print
    Json counts = Json::object();        // without data: what the image shows, for the JSON
    std::vector<std::string> warnings{}; // whole sentences for the user
    std::vector<ImageBeside> beside{};
    std::vector<TextBeside> texts{};
    int status = 0; // exit status, if it is not a failure of the whole command
};

} // namespace host
