#include "workbench/request.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <functional>
#include <system_error>

namespace workbench {

namespace {

constexpr std::size_t mostImages = 2000;
constexpr std::uint64_t mostPixels = 100'000'000;
constexpr std::size_t longestText = 100;

[[noreturn]] void refuse(const host::OptionRow& option, const std::string& wanted) {
    throw BadRequest("'" + option.name + "' takes " + wanted);
}

std::string textOf(const Json& value, const std::string& what) {
    if (!value.is_string()) {
        throw BadRequest("'" + what + "' must be a text");
    }
    return value.get<std::string>();
}

std::string pointText(const host::OptionRow& option, const Json& point) {
    if (!point.is_array() || point.size() != 2 || !point[0].is_number() || !point[1].is_number()) {
        refuse(option, "points [x, y]");
    }
    return numberText(point[0].get<double>()) + "," + numberText(point[1].get<double>());
}

std::string boardText(const host::OptionRow& option, const Json& value) {
    std::string text = textOf(value, option.name);
    const std::size_t x = text.find('x');
    const auto isCount = [](const std::string& digits) {
        return !digits.empty() && digits.size() <= 3 &&
               digits.find_first_not_of("0123456789") == std::string::npos;
    };
    if (x == std::string::npos || !isCount(text.substr(0, x)) || !isCount(text.substr(x + 1))) {
        refuse(option, "the inner corners of a board, such as 9x6");
    }
    return text;
}

std::string plainText(const host::OptionRow& option, const Json& value) {
    std::string text = textOf(value, option.name);
    const bool control = std::any_of(text.begin(), text.end(),
                                     [](char c) { return static_cast<unsigned char>(c) < 0x20; });
    if (control || text.size() > longestText) {
        refuse(option, "a short text");
    }
    return text;
}

void append(std::vector<std::string>& words, std::size_t count, const Json& value,
            const host::OptionRow& option, const std::string& wanted,
            const std::function<std::string(const Json&)>& word) {
    if (!value.is_array() || value.size() != count) {
        refuse(option, wanted);
    }
    for (const Json& element : value) {
        words.push_back(word(element));
    }
}

} // namespace

std::string numberText(double number) {
    std::array<char, 32> text{};
    if (!std::isfinite(number)) {
        throw BadRequest("a number is not finite");
    }
    // 100000, not 1e+05, which an option of whole numbers does not take.
    const bool whole = number == std::floor(number) && std::abs(number) < 1e15;
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), number,
                      whole ? std::chars_format::fixed : std::chars_format::general);
    return error == std::errc{} ? std::string(text.data(), end) : std::string("0");
}

RunRequest readRequest(const std::string& body, const std::vector<Operation>& offered) {
    // Values of values of values: an option's list of points.
    constexpr int deepest = 6;
    bool tooDeep = false;
    const auto notTooDeep = [&tooDeep](int depth, Json::parse_event_t, Json&) {
        tooDeep = tooDeep || depth > deepest;
        return !tooDeep;
    };
    const Json json = Json::parse(body, notTooDeep, false);
    if (tooDeep || !json.is_object()) {
        throw BadRequest("the request is not a JSON object that the workbench understands");
    }
    RunRequest request;
    for (const auto& [key, value] : json.items()) {
        if (key == "command") {
            const std::string name = textOf(value, key);
            const auto found =
                std::find_if(offered.begin(), offered.end(),
                             [&](const Operation& operation) { return operation.name == name; });
            request.operation = found == offered.end() ? nullptr : &*found;
        } else if (key == "images") {
            if (!value.is_array() || value.size() > mostImages) {
                throw BadRequest("'images' must be a list of at most " +
                                 std::to_string(mostImages) + " names");
            }
            for (const Json& name : value) {
                request.images.push_back(textOf(name, key));
            }
        } else if (key == "options") {
            if (!value.is_object()) {
                throw BadRequest("'options' must be an object");
            }
            request.options = value;
        } else if (key == "pixels") {
            if (!value.is_number_unsigned() || value.get<std::uint64_t>() > mostPixels) {
                throw BadRequest("'pixels' must be a whole number up to 100000000");
            }
            request.pixels = value.get<std::uint64_t>();
        } else if (key == "name") {
            request.name = textOf(value, key);
        } else {
            throw BadRequest("a request has no member '" + key + "'");
        }
    }
    if (request.operation == nullptr) {
        throw BadRequest("there is no such command in the workbench");
    }
    return request;
}

std::vector<std::string> wordsOf(const host::OptionRow& option, const Json& value) {
    using host::Kind;
    if (value.is_null() || (value.is_boolean() && !value.get<bool>())) {
        return {};
    }
    std::vector<std::string> words = {"--" + option.name};
    switch (option.kind) {
    case Kind::Flag:
        if (!value.is_boolean()) {
            refuse(option, "true or false");
        }
        break;
    case Kind::Integer:
        if (!value.is_number() || value.get<double>() != std::floor(value.get<double>())) {
            refuse(option, "a whole number");
        }
        words.push_back(numberText(value.get<double>()));
        break;
    case Kind::Number:
        if (!value.is_number()) {
            refuse(option, "a number");
        }
        words.push_back(numberText(value.get<double>()));
        break;
    case Kind::Choice: {
        const std::string choice = textOf(value, option.name);
        if (std::find(option.choices.begin(), option.choices.end(), choice) ==
            option.choices.end()) {
            refuse(option, "one of its choices");
        }
        words.push_back(choice);
        break;
    }
    case Kind::Point:
        words.push_back(pointText(option, value));
        break;
    case Kind::Corners:
        append(words, 4, value, option, "four points [x, y]",
               [&](const Json& point) { return pointText(option, point); });
        break;
    case Kind::Colour:
        append(words, 3, value, option, "three numbers from 0 to 255", [&](const Json& part) {
            if (!part.is_number_unsigned() || part.get<std::uint64_t>() > 255) {
                refuse(option, "three numbers from 0 to 255");
            }
            return std::to_string(part.get<std::uint64_t>());
        });
        break;
    case Kind::Board:
        words.push_back(boardText(option, value));
        break;
    default:
        words.front() += "=" + plainText(option, value);
    }
    return words;
}

} // namespace workbench
