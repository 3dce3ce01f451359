#include "host/batch/summary.h"

#include "host/batch/inputs.h"
#include "host/batch/manifest.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <tuple>

namespace host {

namespace {

struct Line : LastLine {
    std::size_t manifest = 0;
};

struct Lines {
    std::vector<Line> all; // the last one of each input of each batch, in the order of the inputs
    std::map<Digest, InputCount> ofBatches;
    std::size_t leftOut = 0;
};

Lines readLines(const std::vector<std::string>& manifests) {
    Lines lines;
    for (std::size_t i = 0; i < manifests.size(); ++i) {
        const LastLines last = readLastLines(manifests[i]);
        for (LastLine line : last.lines) {
            line.batch = digestOf(asText(line.batch) + std::to_string(last.of));
            lines.ofBatches.try_emplace(line.batch, last.of);
            lines.all.push_back({line, i});
        }
        lines.leftOut += last.leftOut;
    }
    std::sort(lines.all.begin(), lines.all.end(), [](const Line& a, const Line& b) {
        return std::tie(a.batch, a.input, b.manifest, b.at) <
               std::tie(b.batch, b.input, a.manifest, a.at);
    });
    const auto same = [](const Line& a, const Line& b) {
        return a.batch == b.batch && a.input == b.input;
    };
    lines.all.erase(std::unique(lines.all.begin(), lines.all.end(), same), lines.all.end());
    for (const Line& line : lines.all) {
        lines.ofBatches.at(line.batch).add(line, line.manifest);
    }
    std::sort(lines.all.begin(), lines.all.end(), [](const Line& a, const Line& b) {
        return std::tie(a.number, a.manifest, a.at) < std::tie(b.number, b.manifest, b.at);
    });
    return lines;
}

// Reads single lines of several manifests, of which there may be more than files can be open.
class LineFiles {
public:
    explicit LineFiles(const std::vector<std::string>& manifests) : m_manifests(manifests) {}
    std::string read(const Line& line) {
        if (line.manifest != m_open) {
            m_file = std::ifstream(tarvix::pathOf(m_manifests.at(line.manifest)), std::ios::binary);
            m_open = line.manifest;
        }
        return lineAt(m_file, line.at);
    }

private:
    const std::vector<std::string>& m_manifests;
    std::ifstream m_file;
    std::optional<std::size_t> m_open;
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
    if (!options.merged.empty()) {
        requireNotInputs(manifests, {options.merged});
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
    std::size_t images = 0;
    std::size_t batches = 0;
    for (const auto& [batch, count] : lines.ofBatches) {
        images += count.expected();
        batches += count.batches();
    }
    const std::size_t missing = images - lines.all.size();
    Result result{.data = {{"images", images},
                           {"done", lines.all.size() - failed},
                           {"failed", failed},
                           {"missing", missing},
                           {"failures", std::move(failures)}},
                  .status = failed + missing > 0 || batches != 1 ? 1 : 0};
    if (batches == 0) {
        result.warnings.emplace_back(
            "the manifests have no lines, so nothing says what is missing");
    } else if (batches > 1) {
        result.warnings.push_back("the manifests are of " + std::to_string(batches) +
                                  " batches, with other options, versions or inputs");
    }
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
