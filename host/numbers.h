// Numbers as options take them. One that makes no sense is bad usage, before anything runs.
#pragma once

#include <limits>
#include <string>

namespace CLI {
class Validator;
}

namespace host {

// Reads a text that is wholly one number, with a point in every locale. Returns false for anything
// else, for a number that is not finite and for one that the type cannot hold.
bool readNumber(const std::string& text, double& value);
bool readNumber(const std::string& text, int& value);

// Checks for CLI::Option::check(). A refusal is one sentence with the value in quotes. What
// readNumber() does not take is refused by each of them. A check's name says in JSON what it takes,
// for the table of commands: {"minimum":1,"maximum":127,"step":2}, or {"above":0}.

// A number above `low`.
CLI::Validator numberAbove(double low);

// A number from `low` to `high`, both included.
CLI::Validator numberFrom(double low, double high = std::numeric_limits<double>::max());

// A whole number from `low` to `high`, both included.
CLI::Validator wholeFrom(int low, int high = std::numeric_limits<int>::max());

// An odd whole number from `low` to `high`, both included.
CLI::Validator oddFrom(int low, int high);

} // namespace host
