#include "host/numbers.h"

#include <CLI/App.hpp>
#include <nlohmann/json.hpp>

#include <charconv>
#include <cmath>
#include <functional>
#include <locale>
#include <sstream>
#include <string>

namespace host {

namespace {

// std::from_chars, so that no locale turns a point into a comma. It does not take a plus sign.
template <class Number>
bool readWhole(const std::string& text, Number& value) {
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    return error == std::errc{} && stop == end;
}

std::string shown(double number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << number;
    return text.str();
}

// "from 1 to 127", or "1 and up" if there is no upper end.
std::string range(double low, double high, double unbounded) {
    return high < unbounded ? "from " + shown(low) + " to " + shown(high) : shown(low) + " and up";
}

// What a check takes, as its name: {"minimum":0,"maximum":100}.
std::string facts(double low, double high, double unbounded) {
    nlohmann::ordered_json json = {{"minimum", low}};
    if (high < unbounded) {
        json["maximum"] = high;
    }
    return json.dump();
}

// A check that asks for `wanted`, such as "a number above 0". Its name is what command_table reads.
template <class Number>
CLI::Validator check(const std::string& wanted, const std::string& name,
                     const std::function<bool(Number)>& good) {
    const auto complaint = [wanted, good](const std::string& text) -> std::string {
        Number value{};
        if (readNumber(text, value) && good(value)) {
            return {};
        }
        return "'" + text + "' is not " + wanted;
    };
    CLI::Validator validator(complaint, "");
    validator.non_modifying();
    validator.name(name);
    return validator;
}

} // namespace

bool readNumber(const std::string& text, double& value) {
    return readWhole(text, value) && std::isfinite(value);
}

bool readNumber(const std::string& text, int& value) {
    return readWhole(text, value);
}

CLI::Validator numberAbove(double low) {
    return check<double>("a number above " + shown(low),
                         nlohmann::ordered_json{{"above", low}}.dump(),
                         [=](double v) { return v > low; });
}

CLI::Validator numberFrom(double low, double high) {
    constexpr double unbounded = std::numeric_limits<double>::max();
    return check<double>("a number, " + range(low, high, unbounded), facts(low, high, unbounded),
                         [=](double v) { return v >= low && v <= high; });
}

CLI::Validator wholeFrom(int low, int high) {
    constexpr double unbounded = std::numeric_limits<int>::max();
    return check<int>("a whole number, " + range(low, high, unbounded), facts(low, high, unbounded),
                      [=](int v) { return v >= low && v <= high; });
}

CLI::Validator oddFrom(int low, int high) {
    constexpr double unbounded = std::numeric_limits<int>::max();
    nlohmann::ordered_json odd = nlohmann::ordered_json::parse(facts(low, high, unbounded));
    odd["step"] = 2;
    return check<int>("an odd number, " + range(low, high, unbounded), odd.dump(),
                      [=](int v) { return v % 2 != 0 && v >= low && v <= high; });
}

} // namespace host
