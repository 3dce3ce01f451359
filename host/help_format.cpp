#include "host/help_format.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

namespace host {

namespace {

class SortedExclusions : public CLI::Formatter {
public:
    std::string make_option_opts(const CLI::Option* option) const override {
        std::string text = Formatter::make_option_opts(option);
        const std::string title = " " + get_label("Excludes") + ":";
        const std::size_t at = text.find(title); // they stand last
        if (at == std::string::npos) {
            return text;
        }
        std::istringstream words(text.substr(at + title.size()));
        std::vector<std::string> names;
        for (std::string name; words >> name;) {
            names.push_back(name);
        }
        std::sort(names.begin(), names.end());
        std::string sorted = text.substr(0, at) + title;
        for (const std::string& name : names) {
            sorted.append(" ").append(name);
        }
        return sorted;
    }
};

} // namespace

std::shared_ptr<CLI::FormatterBase> helpFormat() {
    return std::make_shared<SortedExclusions>();
}

} // namespace host
