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

// A line of a manifest.
struct Line {
    Digest input;
    Digest batch;          // of the operation with its options, the version, the number of inputs
    std::size_t order = 0; // of all lines
    std::size_t manifest = 0;
    std::streamoff at = 0;
    std::size_t number = 0;
    bool failed = false;
};

struct Lines {
    std::vector<Line> all; // the last one of each input of each batch, in the order of the inputs
    std::map<Digest, std::size_t> ofBatches; // how many inputs each has
    std::size_t images = 0;                  // of all batches
    std::size_t read = 0;                    // lines, out of date or not
    std::size_t leftOut = 0;
};

// Sorts by `before`, and keeps the first of equal ones.
template <class Before, class Same>
void keepFirst(std::vector<Line>& lines, Before before, Same same) {
    std::sort(lines.begin(), lines.end(), before);
    lines.erase(std::unique(lines.begin(), lines.end(), same), lines.end());
}

// The last lines of a manifest. What an earlier operation or version left in it is out of date, and
// inputs may have been added since: `of` is the largest number of inputs.
void readLast(const std::string& manifest, std::size_t index, Lines& lines) {
    std::vector<Line> last;
    std::size_t of = 0;
    lines.leftOut += readManifest(manifest, [&](const Json& record, std::streamoff at) {
        const std::string batch = record.value("operation", Json()).dump() + '\n' +
                                  record.value("version", Json()).dump();
        last.push_back({.input = digestOf(takeName(record, "input")),
                        .batch = digestOf(batch),
                        .order = lines.read++,
                        .manifest = index,
                        .at = at,
                        .number = record.value("number", std::size_t{0}),
                        .failed = record.value("status", Json()) != "done"});
        of = std::max(of, record.value("of", std::size_t{0}));
    });
    keepFirst(
        last,
        [](const Line& a, const Line& b) {
            return a.input != b.input ? a.input < b.input : a.order > b.order;
        },
        [](const Line& a, const Line& b) { return a.input == b.input; });
    for (Line& line : last) {
        line.batch = digestOf(asText(line.batch) + std::to_string(of));
        lines.ofBatches.emplace(line.batch, of);
    }
    lines.all.insert(lines.all.end(), last.begin(), last.end());
}

Lines readLines(const std::vector<std::string>& manifests) {
    Lines lines;
    for (std::size_t i = 0; i < manifests.size(); ++i) {
        readLast(manifests[i], i, lines);
    }
    keepFirst(
        lines.all,
        [](const Line& a, const Line& b) {
            return std::tie(a.batch, a.input, b.order) < std::tie(b.batch, b.input, a.order);
        },
        [](const Line& a, const Line& b) { return a.batch == b.batch && a.input == b.input; });
    for (auto& [batch, of] : lines.ofBatches) {
        const auto isIts = [&batch = batch](const Line& line) { return line.batch == batch; };
        const auto there = std::count_if(lines.all.begin(), lines.all.end(), isIts);
        lines.images += std::max(of, static_cast<std::size_t>(there));
    }
    std::sort(lines.all.begin(), lines.all.end(), [](const Line& a, const Line& b) {
        return a.number != b.number ? a.number < b.number : a.order < b.order;
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
        m_file.clear();
        m_file.seekg(line.at);
        std::string text;
        if (!std::getline(m_file, text)) {
            throw Failure("a manifest changed while it was read");
        }
        return text;
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
    const std::size_t missing = lines.images - lines.all.size();
    const std::size_t batches = lines.ofBatches.size();
    Result result{.data = {{"images", lines.images},
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
                                  " batches, with other options, versions or numbers of inputs");
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
