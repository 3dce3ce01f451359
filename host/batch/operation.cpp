#include "host/batch/operation.h"

#include "host/commands.h"

#include <CLI/App.hpp>

#include <algorithm>

namespace host {

std::shared_ptr<Operation> Operation::named(const std::string& name) {
    for (const Command& command : commands()) {
        if (command.name == name && command.takes == Takes::OneImage) {
            return std::shared_ptr<Operation>(new Operation(command));
        }
    }
    return nullptr;
}

Operation::Operation(const Command& command) : m_command(command), m_job(command.newJob()) {
    CLI::App parser;
    m_job.addOptions(parser);
    const CLI::Option* const out = parser.get_option_no_throw("-o");
    m_mayWrite = out != nullptr;
    m_mustWrite = m_mayWrite && out->get_required();
}

void Operation::addOptions(CLI::App& parser) {
    m_job.addOptions(parser);
    if (CLI::Option* const out = parser.get_option_no_throw("-o")) {
        m_withoutImage = parser.get_options(
            [out](const CLI::Option* option) { return option->get_excludes().contains(out); });
    }
    for (const char* const name : {"IN", "--json", "-o", "--format"}) {
        if (CLI::Option* const option = parser.get_option_no_throw(name)) {
            parser.remove_option(option);
        }
    }
    m_options = parser.get_options([](const CLI::Option* option) {
        return !option->get_lnames().empty() && option->get_lnames()[0] != "help";
    });
}

std::string Operation::optionWithoutImage() const {
    const auto given = std::find_if(m_withoutImage.begin(), m_withoutImage.end(),
                                    [](const CLI::Option* option) { return option->count() > 0; });
    return given == m_withoutImage.end() ? "" : "--" + (*given)->get_lnames()[0];
}

std::vector<std::string> Operation::words() const {
    std::vector<std::string> words = {m_command.name};
    for (const CLI::Option* option : m_options) {
        if (option->count() == 0) {
            continue;
        }
        words.push_back("--" + option->get_lnames()[0]);
        if (option->get_items_expected_max() > 0) { // no flag
            words.insert(words.end(), option->results().begin(), option->results().end());
        }
    }
    return words;
}

std::vector<std::string> Operation::valuesOf(const std::set<std::string>& names) const {
    std::vector<std::string> values;
    for (const CLI::Option* option : m_options) {
        if (names.contains(option->get_lnames()[0])) {
            values.insert(values.end(), option->results().begin(), option->results().end());
        }
    }
    return values;
}

std::vector<std::string> Operation::filesBeside() const {
    return valuesOf({"overlay", "save"});
}

std::vector<std::string> Operation::filesRead() const {
    return valuesOf({"right", "apply", "reference"});
}

} // namespace host
