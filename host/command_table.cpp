#include "host/command_table.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <utility>

namespace host {

namespace {

// The first check that says what it takes; an empty object if there is none.
Json factsOf(CLI::Option& option) {
    for (int i = 0;; ++i) {
        try {
            Json facts = Json::parse(option.get_validator(i)->get_name(), nullptr, false);
            if (facts.is_object()) {
                return facts;
            }
        } catch (const CLI::OptionNotFound&) {
            return Json::object();
        }
    }
}

Kind kindOf(CLI::Option& option, const Json& facts) {
    if (option.get_items_expected_max() == 0) {
        return Kind::Flag;
    }
    const std::string name = option.get_type_name();
    const std::string type = name.substr(0, name.find(':'));
    const bool several = option.get_items_expected_max() > 1;
    if (facts.contains("choices")) {
        return Kind::Choice;
    }
    if (type == "IMAGE") {
        return several ? Kind::Images : Kind::Image;
    }
    if (type == "POINT") {
        return several ? Kind::Corners : Kind::Point;
    }
    if (type == "[INT,INT,INT]") {
        return Kind::Colour;
    }
    if (type == "INT" || type == "N") {
        return Kind::Integer;
    }
    if (type == "FLOAT" || type == "PX") {
        return Kind::Number;
    }
    if (type == "WxH") {
        return Kind::Board;
    }
    if (type == "FOLDER") {
        return Kind::Folder;
    }
    if (type == "FILE" || type == "MARKED CORRECTED") {
        return Kind::File;
    }
    return Kind::Text;
}

// The help says it in words for people.
std::string unitOf(const std::string& help) {
    for (const char* unit : {"pixels", "mm", "degrees", "grey levels", "gradient units"}) {
        const std::size_t at = help.find(unit);
        const auto isLetter = [&](std::size_t i) {
            return i < help.size() && ((help[i] >= 'a' && help[i] <= 'z') || help[i] == '-');
        };
        if (at != std::string::npos && (at == 0 || !isLetter(at - 1)) &&
            !isLetter(at + std::string(unit).size())) {
            return unit;
        }
    }
    return {};
}

OptionRow rowOf(CLI::Option& option) {
    const Json facts = factsOf(option);
    OptionRow row{.help = option.get_description(), .kind = kindOf(option, facts)};
    row.positional = option.get_positional();
    row.name = row.positional ? option.get_name(true) : option.get_lnames().front();
    row.required = option.get_required();
    row.words = option.get_items_expected_max();
    row.defaultValue = option.get_default_str();
    if (row.kind == Kind::Integer || row.kind == Kind::Number || row.kind == Kind::Colour) {
        row.step = facts.value("step", row.kind == Kind::Number ? 0.0 : 1.0);
        row.above = facts.contains("above");
        for (const char* name : {"minimum", "above"}) {
            if (facts.contains(name)) {
                row.minimum = facts.at(name).get<double>();
            }
        }
        if (facts.contains("maximum")) {
            row.maximum = facts.at("maximum").get<double>();
        }
        row.unit = unitOf(row.help);
    }
    if (row.kind == Kind::Choice) {
        for (const auto& [name, number] : facts.at("choices").items()) {
            row.choices.push_back(name);
            if (std::to_string(number.get<int>()) == row.defaultValue) {
                row.defaultValue = name;
            }
        }
    }
    return row;
}

Json asJson(const OptionRow& row) {
    Json json = {{"name", row.name},
                 {"help", row.help},
                 {"kind", nameOf(row.kind)},
                 {"required", row.required}};
    if (!row.defaultValue.empty()) {
        json["default"] = row.defaultValue;
    }
    if (row.minimum) {
        json[row.above ? "above" : "minimum"] = *row.minimum;
    }
    if (row.maximum) {
        json["maximum"] = *row.maximum;
    }
    if (row.step > 0) {
        json["step"] = row.step;
    }
    if (!row.choices.empty()) {
        json["choices"] = row.choices;
    }
    if (!row.unit.empty()) {
        json["unit"] = row.unit;
    }
    return json;
}

} // namespace

std::vector<OptionRow> optionsOf(const Command& command) {
    constexpr std::array<const char*, 3> ofAll = {"help", "json", "verbose"};
    CLI::App parser;
    const Job job = command.newJob();
    job.addOptions(parser);
    std::vector<OptionRow> rows;
    for (CLI::Option* option : parser.get_options()) {
        if (option->get_group().empty() ||
            (!option->get_positional() && option->get_lnames().empty())) {
            continue;
        }
        OptionRow row = rowOf(*option);
        if (std::find(ofAll.begin(), ofAll.end(), row.name) == ofAll.end()) {
            rows.push_back(std::move(row));
        }
    }
    return rows;
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::Flag:
        return "flag";
    case Kind::Integer:
        return "integer";
    case Kind::Number:
        return "number";
    case Kind::Choice:
        return "choice";
    case Kind::Point:
        return "point";
    case Kind::Corners:
        return "corners";
    case Kind::Board:
        return "board";
    case Kind::Colour:
        return "colour";
    case Kind::Image:
        return "image";
    case Kind::Images:
        return "images";
    case Kind::Folder:
        return "folder";
    case Kind::File:
        return "file";
    case Kind::Text:
        break;
    }
    return "text";
}

Json asJson(const Command& command) {
    constexpr std::array<const char*, 4> takes = {"nothing", "image", "two images", "images"};
    constexpr std::array<const char*, 4> makes = {"nothing", "data", "image", "files"};
    Json json = {{"name", command.name},
                 {"help", command.help},
                 {"family", command.family},
                 {"takes", takes.at(static_cast<std::size_t>(command.takes))},
                 {"makes", makes.at(static_cast<std::size_t>(command.makes))},
                 {"long", !command.work.empty()},
                 {"positionals", Json::array()},
                 {"options", Json::array()}};
    for (const OptionRow& row : optionsOf(command)) {
        json[row.positional ? "positionals" : "options"].push_back(asJson(row));
    }
    return json;
}

} // namespace host
