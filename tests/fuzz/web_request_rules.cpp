#include "tests/fuzz/web_request_rules.h"

#include "platform/system/paths.h"
#include "platform/system/windows_words.h"
#include "workbench/output_names.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

namespace fuzz {

namespace fs = std::filesystem;

namespace {

void require(bool holds, std::string_view rule) {
    if (!holds) {
        throw std::logic_error(std::string(rule));
    }
}

std::string inPercents(const std::string& text) {
    constexpr const char* digits = "0123456789aBcDeF";
    std::string coded;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        coded.append({'%', digits[byte / 16U], digits[byte % 16U]});
    }
    return coded;
}

// As sh splits a line that has nothing but words, quotes and backslashes.
std::vector<std::string> splitByShell(const std::string& line) {
    std::vector<std::string> words(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\'') {
            quoted = !quoted;
        } else if (quoted) {
            words.back() += line[i];
        } else if (line[i] == ' ') {
            words.emplace_back();
        } else if (line[i] == '\\' && i + 1 < line.size()) {
            words.back() += line[++i];
        } else {
            require(std::string_view("\"$`!*?[]{}()<>|&;~#\t\n\r").find(line[i]) ==
                        std::string::npos,
                    "the shell means something by a character that is not quoted");
            words.back() += line[i];
        }
    }
    require(!quoted, "a quotation does not end");
    return words;
}

// As a program on Windows finds its words: a backslash is one, except in front of a quotation mark.
std::vector<std::string> splitByWindows(const std::string& line) {
    std::vector<std::string> words(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const std::size_t backslashes = std::min(line.find_first_not_of('\\', i), line.size()) - i;
        i += backslashes;
        if (i == line.size() || line[i] != '"') {
            words.back().append(backslashes, '\\');
        } else {
            words.back().append(backslashes / 2, '\\');
        }
        if (i == line.size()) {
            break;
        }
        if (line[i] == '"' && backslashes % 2 == 0) {
            quoted = !quoted;
        } else if (line[i] == ' ' && !quoted) {
            words.emplace_back();
        } else {
            words.back() += line[i];
        }
    }
    require(!quoted, "a quotation does not end");
    return words;
}

bool isNumberOrPoint(const std::string& word) {
    return word.size() > 1 && word.find_first_not_of("-+.,e0123456789") == std::string::npos;
}

} // namespace

void checkLetIn(const workbench::HttpRequest& request, const std::string& server,
                const std::string& token, const std::string& cookie) {
    const auto has = [](const std::string& text, const std::string& part) {
        return text.find(part) != std::string::npos;
    };
    const bool entry = request.method == "GET" && has(request.target, token);
    bool hasCookie = false;
    bool ownPage = false;
    int hosts = 0;
    for (const auto& [name, value] : request.fields) {
        if (name == "host") {
            ++hosts;
            require(value == "127.0.0.1:" + server || value == "localhost:" + server,
                    "another host was let in");
        } else if (name == "origin") {
            require(value == "http://127.0.0.1:" + server || value == "http://localhost:" + server,
                    "another origin was let in");
            ownPage = true;
        } else if (name == "sec-fetch-site") {
            require(entry || value == "same-origin" || value == "none", "another site was let in");
            ownPage = ownPage || value == "same-origin";
        } else if (name == "cookie") {
            hasCookie = hasCookie || has("; " + value + ";", "; " + cookie + ";") ||
                        has(";" + value + ";", ";" + cookie + ";");
        }
    }
    require(hosts == 1, "a request without one host was let in");
    require(entry || hasCookie, "a request without the secret was let in");
    require(request.method == "GET" || (request.method == "POST" && ownPage),
            "something else than the page may change something");
}

void checkNewName(const std::string& name) {
    const fs::path path = workbench::pathOfUtf8(name);
    require(path == path.filename() && !path.empty() && path != "." && path != "..",
            "a new name leads elsewhere");
    require(name.find_first_of(std::string("/\\:\0\n", 5)) == std::string::npos,
            "a new name has a character that it must not have");
}

void checkTarget(const workbench::Target& target) {
    require(target.path.starts_with("/"), "the path of a target is relative");
    std::string coded = "/" + inPercents(target.path.substr(1));
    char separator = '?';
    for (const auto& [name, value] : target.parameters) {
        require((name + value).find('\0') == std::string::npos, "a parameter has a zero byte");
        coded.append(1, separator).append(inPercents(name)).append("=").append(inPercents(value));
        separator = '&';
    }
    const auto again = workbench::readTarget(coded);
    require(again && again->path == target.path && again->parameters == target.parameters,
            "a target is not what its codes say");
}

void checkPlan(const workbench::Plan& plan, const workbench::RunRequest& request,
               const fs::path& runFolder) {
    require(plan.words.size() == plan.shown.size() + 1 && plan.words.back() == "--json" &&
                plan.words.front() == request.operation->name,
            "a plan does not begin and end as it must");
    std::vector<std::string> line = {"tarvix"};
    line.insert(line.end(), plan.shown.begin(), plan.shown.end());
    const std::string text = workbench::commandLineOf(plan.shown);
    require((fs::path::preferred_separator == '/' ? splitByShell(text) : splitByWindows(text)) ==
                line,
            "the shown line is not the words of the plan");
    std::string quoted = tarvix::quotedForWindows(line.front());
    for (std::size_t i = 1; i < line.size(); ++i) {
        quoted.append(" ").append(tarvix::quotedForWindows(line[i]));
    }
    require(splitByWindows(quoted) == line, "a word is another one on Windows");
    for (std::size_t i = 1; i + 1 < plan.words.size(); ++i) {
        const std::string& word = plan.words[i];
        const bool known = std::any_of(plan.names.begin(), plan.names.end(),
                                       [&](const auto& name) { return name.first == word; });
        require(word.find('\0') == std::string::npos, "a word has a zero byte");
        if (known || word == "-o" || isNumberOrPoint(word)) {
            continue;
        }
        if (word.starts_with("-")) {
            const std::string name = word.substr(0, word.find('='));
            require(name.starts_with("--") && request.options.contains(name.substr(2)),
                    "a word is an option that was not asked for");
        } else {
            require(word.find_first_of("/\\") == std::string::npos, "a path was not looked up");
        }
    }
    for (const workbench::PlannedOutput& output : plan.outputs) {
        require(output.path.parent_path() == runFolder && output.path != runFolder / ".." &&
                    output.path.lexically_normal() == output.path,
                "a result is not in the folder of the run");
        require(std::count(plan.words.begin(), plan.words.end(), tarvix::nameOf(output.path)) == 1,
                "a result is not made once");
    }
}

} // namespace fuzz
