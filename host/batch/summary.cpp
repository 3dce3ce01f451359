#include "host/batch/summary.h"

#include "host/batch/inputs.h"
#include "host/batch/manifest.h"
#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>

namespace host {

namespace {

// A line of a manifest.
struct Line {
    Digest input;
    std::size_t order = 0; // of all lines
    std::size_t manifest = 0;
    std::streamoff at = 0;
    std::size_t number = 0;
    bool failed = false;
};

struct Lines {
    std::vector<Line> all; // the last one of each input, in the order of the inputs
    std::size_t inputs = 0;
    std::size_t leftOut = 0;
};

Lines readLines(const std::vector<std::string>& manifests) {
    Lines lines;
    for (std::size_t i = 0; i < manifests.size(); ++i) {
        lines.leftOut += readManifest(manifests[i], [&](const Json& record, std::streamoff at) {
            lines.all.push_back({.input = digestOf(takeName(record, "input")),
                                 .order = lines.all.size(),
                                 .manifest = i,
                                 .at = at,
                                 .number = record.value("number", std::size_t{0}),
                                 .failed = record.value("status", Json()) != "done"});
            lines.inputs = std::max(lines.inputs, record.value("of", std::size_t{0}));
        });
    }
    std::sort(lines.all.begin(), lines.all.end(), [](const Line& a, const Line& b) {
        return a.input != b.input ? a.input < b.input : a.order > b.order;
    });
    lines.all.erase(std::unique(lines.all.begin(), lines.all.end(),
                                [](const Line& a, const Line& b) { return a.input == b.input; }),
                    lines.all.end());
    std::sort(lines.all.begin(), lines.all.end(), [](const Line& a, const Line& b) {
        return a.number != b.number ? a.number < b.number : a.order < b.order;
    });
    return lines;
}

// Reads single lines of several manifests.
class LineFiles {
public:
    explicit LineFiles(const std::vector<std::string>& manifests) {
        for (const std::string& name : manifests) {
            m_files.emplace_back(tarvix::pathOf(name), std::ios::binary);
        }
    }
    std::string read(const Line& line) {
        std::ifstream& file = m_files.at(line.manifest);
        file.clear();
        file.seekg(line.at);
        std::string text;
        if (!std::getline(file, text)) {
            throw Failure("a manifest changed while it was read");
        }
        return text;
    }

private:
    std::vector<std::ifstream> m_files;
};

void writeMerged(const Lines& lines, LineFiles& files, const std::string& path) {
    const std::filesystem::path target = tarvix::pathOf(path);
    const WorkFolder folder(target.parent_path());
    std::ofstream merged(folder / "merged", std::ios::binary);
    for (const Line& line : lines.all) {
        merged << files.read(line) << '\n';
    }
    merged.close();
    if (!merged) {
        throw Failure("cannot write '" + path + "': the disk may be full");
    }
    folder.moveOut("merged", path);
}

} // namespace

Result summarise(const SummaryOptions& options) {
    const NameList names = expandInputs(options.manifests, std::cin);
    std::vector<std::string> manifests;
    for (std::size_t i = 0; i < names.size(); ++i) {
        manifests.push_back(names.at(i));
    }
    const Lines lines = readLines(manifests);
    LineFiles files(manifests);
    Json failures = Json::array();
    for (const Line& line : lines.all) {
        if (line.failed) {
            const Json record = Json::parse(files.read(line));
            failures.push_back({{"input", takeName(record, "input")},
                                {"message", record.value("message", Json())}});
        }
    }
    if (!options.merged.empty()) {
        writeMerged(lines, files, options.merged);
    }
    const std::size_t failed = failures.size();
    const std::size_t missing = lines.inputs - std::min(lines.inputs, lines.all.size());
    Result result{.data = {{"images", std::max(lines.inputs, lines.all.size())},
                           {"done", lines.all.size() - failed},
                           {"failed", failed},
                           {"missing", missing},
                           {"failures", std::move(failures)}},
                  .status = failed + missing > 0 ? 1 : 0};
    if (lines.leftOut > 0) {
        result.warnings.push_back(std::to_string(lines.leftOut) +
                                  " lines of the manifests were cut off and are left out");
    }
    return result;
}

std::string summaryAsText(const Json& data) {
    const auto number = [&data](const char* member) {
        return std::to_string(data.at(member).get<std::size_t>());
    };
    std::string text = number("done") + " of " + number("images") + " images done, " +
                       number("failed") + " failed, " + number("missing") + " missing\n";
    for (const Json& failure : data.at("failures")) {
        const Json& message = failure.at("message");
        text.append("'")
            .append(failure.at("input").get<std::string>())
            .append("' failed: ")
            .append(message.is_string() ? message.get<std::string>() : "")
            .append("\n");
    }
    return text;
}

} // namespace host
