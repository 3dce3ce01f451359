#include "host/batch/manifest.h"

#include "host/failure.h"
#include "platform/system/paths.h"
#include "workers/worker.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

namespace host {

namespace fs = std::filesystem;
using tarvix::pathOf;

std::optional<InputState> stateOf(const std::string& path) {
    std::error_code error;
    const fs::directory_entry entry(pathOf(path), error);
    const std::uintmax_t bytes = error ? 0 : entry.file_size(error);
    const auto modified = error ? fs::file_time_type{} : entry.last_write_time(error);
    if (error) {
        return std::nullopt;
    }
    // Some libraries count in more than 64 bits.
    return InputState{bytes, static_cast<std::int64_t>(modified.time_since_epoch().count())};
}

std::size_t readManifest(const std::string& path,
                         const std::function<void(const Json& record, std::streamoff at)>& use) {
    std::ifstream file(pathOf(path), std::ios::binary);
    if (!file) {
        throw Failure("the manifest '" + path + "' cannot be read");
    }
    std::size_t leftOut = 0;
    std::streamoff at = 0;
    for (std::string line; std::getline(file, line);) {
        const bool whole = !file.eof(); // its end was there
        const Json record = whole ? Json::parse(line, nullptr, false) : Json();
        if (record.is_object()) {
            use(record, at);
        } else {
            ++leftOut;
        }
        at += static_cast<std::streamoff>(line.size()) + 1;
    }
    return leftOut;
}

namespace {

Digest digestIn(const Json& record, const char* member) {
    const auto found = record.find(member);
    return found != record.end() && found->is_string()
               ? digestFrom(found->get_ref<const std::string&>()).value_or(Digest{})
               : Digest{};
}

// A number of inputs; 0 for what cannot be one.
std::size_t countIn(const Json& record, const char* member) {
    constexpr std::uint64_t most = std::uint64_t{1} << 40U; // sums of them are numbers, too
    const auto found = record.find(member);
    return found != record.end() && found->is_number_unsigned() &&
                   found->get<std::uint64_t>() <= most
               ? found->get<std::size_t>()
               : 0;
}

template <class Number>
Number numberIn(const Json& record, const char* member) {
    const auto found = record.find(member);
    return found != record.end() && found->is_number() ? found->get<Number>() : Number{};
}

Finished finishedOf(const Json& record) {
    return {.key = digestIn(record, "key"),
            .hash = digestIn(record, "hash"),
            .state = {numberIn<std::uint64_t>(record, "bytes"),
                      numberIn<std::int64_t>(record, "modified")},
            .failed = record.value("status", Json()) != "done"};
}

LastLine lineOf(const Json& record, std::streamoff at) {
    return {.input = digestOf(takeName(record, "input")),
            .batch = digestOf(record.value("operation", Json()).dump() + '\n' +
                              record.value("version", Json()).dump()),
            .at = at,
            .number = countIn(record, "number"),
            .of = countIn(record, "of"),
            .failed = record.value("status", Json()) != "done"};
}

} // namespace

std::string lineAt(std::istream& manifest, std::streamoff at) {
    manifest.clear();
    manifest.seekg(at);
    std::string text;
    if (!std::getline(manifest, text)) {
        throw Failure("a manifest changed while it was read");
    }
    return text;
}

LastLines readLastLines(const std::string& path) {
    LastLines last;
    std::vector<LastLine>& lines = last.lines;
    last.leftOut = readManifest(path, [&](const Json& record, std::streamoff at) {
        try {
            lines.push_back(lineOf(record, at));
        } catch (const std::invalid_argument& e) {
            throw Failure("the manifest '" + path +
                          "' has a name that cannot be read: " + e.what());
        }
        last.of = std::max(last.of, lines.back().of);
    });
    std::sort(lines.begin(), lines.end(), [](const LastLine& a, const LastLine& b) {
        return a.input != b.input ? a.input < b.input : a.at > b.at;
    });
    lines.erase(
        std::unique(lines.begin(), lines.end(),
                    [](const LastLine& a, const LastLine& b) { return a.input == b.input; }),
        lines.end());
    std::sort(lines.begin(), lines.end(),
              [](const LastLine& a, const LastLine& b) { return a.at < b.at; });
    return last;
}

void InputCount::add(const LastLine& line, std::size_t manifest) {
    ++m_found;
    if (line.of == m_of && line.number > 0) { // before inputs were added, it had another number
        m_numbered.push_back({line.number, manifest});
    }
}

std::size_t InputCount::batches() const {
    std::vector<Numbered> sorted = m_numbered;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    std::size_t most = 1;
    std::size_t same = 0;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        same = i > 0 && sorted[i].number == sorted[i - 1].number ? same + 1 : 1;
        most = std::max(most, same);
    }
    return most;
}

std::size_t InputCount::expected() const {
    return std::max(m_of * batches(), m_found);
}

FinishedImages::FinishedImages(const std::string& manifest) {
    readManifest(manifest, [this](const Json& record, std::streamoff) {
        m_all.push_back(finishedOf(record));
    });
    std::stable_sort(m_all.begin(), m_all.end(),
                     [](const Finished& a, const Finished& b) { return a.key < b.key; });
    // Of equal ones, the last.
    const auto first =
        std::unique(m_all.rbegin(), m_all.rend(), [](const Finished& a, const Finished& b) {
            return a.key == b.key;
        }).base();
    m_all.erase(m_all.begin(), first);
}

const Finished* FinishedImages::find(const Digest& key) const {
    const auto found = std::lower_bound(
        m_all.begin(), m_all.end(), key,
        [](const Finished& entry, const Digest& wanted) { return entry.key < wanted; });
    return found != m_all.end() && found->key == key ? &*found : nullptr;
}

namespace {

// Throws Failure if a file that has something in it does not begin as a manifest does: a wrong name
// must not cost the file its end.
void requireManifest(const std::string& path) {
    constexpr std::string_view beginning = R"({"status":")";
    std::ifstream file(pathOf(path), std::ios::binary);
    std::string first(beginning.size(), '\0');
    file.read(first.data(), static_cast<std::streamsize>(first.size()));
    first.resize(static_cast<std::size_t>(file.gcount()));
    bool good = beginning.starts_with(first); // less than that may have been written
    if (good && first.size() == beginning.size()) {
        std::string line;
        std::getline(file, line);
        const bool whole = !file.eof();
        const Json record = whole ? Json::parse(first + line, nullptr, false) : Json();
        good = !whole || (record.is_object() && record.contains("key") &&
                          (record.contains("input") || record.contains("inputHex")));
    }
    if (!good) {
        throw Failure("'" + path + "' is not a manifest; nothing was written to it");
    }
}

} // namespace

ManifestWriter::ManifestWriter(std::string path) : m_path(std::move(path)) {
    std::error_code error;
    const fs::path file = pathOf(m_path);
    if (fs::exists(file, error)) {
        requireManifest(m_path);
        std::ifstream existing(file, std::ios::binary);
        for (std::string line; std::getline(existing, line) && !existing.eof();) {
            m_size += line.size() + 1;
        }
        existing.close();
        if (m_size != fs::file_size(file, error)) {
            fs::resize_file(file, m_size, error); // half a line
        }
    }
    errno = 0;
    m_file.open(file, std::ios::binary | std::ios::app);
    if (!m_file || error) {
        throw Failure("the manifest '" + m_path + "' cannot be written: " +
                      (error ? error.message() : std::generic_category().message(errno)));
    }
}

void ManifestWriter::add(const Json& record) {
    const std::string line = record.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
    m_file << line << std::flush;
    if (m_file) {
        m_size += line.size();
        return;
    }
    m_file.close();
    std::error_code ignored;
    fs::resize_file(pathOf(m_path), m_size, ignored);
    throw Failure("the manifest '" + m_path + "' cannot be written: the disk may be full");
}

void putName(Json& record, const std::string& member, const std::string& name) {
    if (tarvix::isUtf8(name)) {
        record[member] = name;
    } else {
        record[member + "Hex"] = tarvix::toHex(name);
    }
}

std::string takeName(const Json& record, const std::string& member) {
    if (const auto found = record.find(member); found != record.end() && found->is_string()) {
        return found->get<std::string>();
    }
    const auto hex = record.find(member + "Hex");
    return hex != record.end() && hex->is_string() ? tarvix::fromHex(hex->get<std::string>()) : "";
}

} // namespace host
