#include "host/known_names.h"

#include "host/commands.h"
#include "host/failure.h"
#include "host/sentences.h"

#include <CLI/App.hpp>

#include <algorithm>
#include <cctype>

namespace host {

void requireKnownNames(const CLI::App& app, const std::vector<std::string>& words) {
    if (words.empty()) {
        throw BadUsage("no command was given; tarvix --help lists them");
    }
    if (words[0].starts_with("-")) {
        return; // the program's own options
    }
    std::vector<std::string> names;
    for (const Command& command : commands()) {
        names.push_back(command.name);
    }
    if (std::find(names.begin(), names.end(), words[0]) == names.end()) {
        throw BadUsage("there is no command '" + words[0] + "'" + suggestion(words[0], names));
    }
    const CLI::App* const parser = app.get_subcommand(words[0]);
    for (std::size_t i = 1; i < words.size() && words[i] != "--"; ++i) {
        const std::string& word = words[i];
        const bool isLong = word.starts_with("--");
        if (!isLong && (word.size() < 2 || word[0] != '-' ||
                        std::isalpha(static_cast<unsigned char>(word[1])) == 0)) {
            continue; // a file, a number, a point
        }
        const std::string name = isLong ? word.substr(0, word.find('=')) : word.substr(0, 2);
        if (parser->get_option_no_throw(name) != nullptr) {
            continue;
        }
        std::vector<std::string> options;
        for (const CLI::Option* option : parser->get_options()) {
            for (const std::string& known : option->get_lnames()) {
                options.push_back("--" + known);
            }
        }
        throw BadUsage("'" + words[0] + "' has no option '" + name + "'" +
                       suggestion(name, options));
    }
}

} // namespace host
