#include "host/batch/places.h"

#include "host/failure.h"
#include "platform/system/links.h"
#include "platform/system/paths.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

namespace host {

namespace fs = std::filesystem;
using tarvix::nameOf;
using tarvix::pathOf;

namespace {

constexpr std::array<const char*, 4> placeholders = {"{name}", "{ext}", "{dir}", "{n}"};

std::string folderOf(const std::string& input, bool asItIs) {
    const fs::path folder = pathOf(input).parent_path();
    if (asItIs || folder.empty()) {
        return folder.empty() ? "." : nameOf(folder);
    }
    fs::path below;
    for (const fs::path& part : folder.relative_path()) {
        if (part != ".." && part != ".") {
            below /= part;
        }
    }
    return below.empty() ? "." : nameOf(below);
}

std::string numberOf(const Placed& placed) {
    const std::string digits = std::to_string(placed.number);
    const std::size_t width = std::to_string(placed.count).size();
    return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string valueOf(const std::string& placeholder, const Placed& placed, bool atBeginning) {
    const fs::path path = pathOf(placed.input);
    if (placeholder == "{name}") {
        return nameOf(path.stem());
    }
    if (placeholder == "{ext}") {
        const std::string extension = nameOf(path.extension());
        return extension.empty() ? "" : extension.substr(1);
    }
    return placeholder == "{dir}" ? folderOf(placed.input, atBeginning) : numberOf(placed);
}

} // namespace

std::string fillIn(const std::string& text, const Placed& placed) {
    std::string out;
    for (std::size_t i = 0; i < text.size();) {
        const auto* const found =
            std::find_if(placeholders.begin(), placeholders.end(), [&](const char* known) {
                return text.compare(i, std::string(known).size(), known) == 0;
            });
        if (found == placeholders.end()) {
            out += text[i++];
        } else {
            out += valueOf(*found, placed, i == 0);
            i += std::string(*found).size();
        }
    }
    return out.starts_with("-") && !text.starts_with("-") ? "./" + out : out; // no option
}

bool hasPlaceholder(const std::string& text) {
    return std::any_of(placeholders.begin(), placeholders.end(),
                       [&](const char* known) { return text.find(known) != std::string::npos; });
}

void requireKnownPlaceholders(const std::string& text) {
    for (std::size_t i = text.find('{'); i != std::string::npos; i = text.find('{', i + 1)) {
        const std::size_t end = text.find('}', i);
        const std::string word = text.substr(i, end == std::string::npos ? end : end - i + 1);
        if (std::find(placeholders.begin(), placeholders.end(), word) == placeholders.end()) {
            throw BadUsage("'" + word +
                           "' is not a placeholder; there are {name}, {ext}, {dir} and {n}");
        }
    }
}

fs::path realFolder(const fs::path& folder) {
    std::error_code error;
    fs::path there = fs::absolute(folder.empty() ? fs::path(".") : folder, error);
    fs::path missing; // below it
    fs::path real = tarvix::followedPath(there, error);
    while (error && there != there.parent_path()) {
        missing = missing.empty() ? there.filename() : there.filename() / missing;
        there = there.parent_path();
        real = tarvix::followedPath(there, error);
    }
    real = ((error ? there : real) / missing).lexically_normal();
    if (!real.has_filename()) { // it ends with a separator
        real = real.parent_path();
    }
    return tarvix::foldedPath(real);
}

Digest Places::of(const std::string& path) {
    const fs::path whole = pathOf(path);
    const std::string folder = nameOf(whole.parent_path());
    auto found = m_folders.find(folder);
    if (found == m_folders.end()) {
        found = m_folders.emplace(folder, nameOf(realFolder(whole.parent_path()))).first;
    }
    return digestOf(found->second + '/' + nameOf(tarvix::foldedPath(whole.filename())));
}

namespace {

struct Place {
    Digest place;
    std::size_t index = 0;                          // of the input
    auto operator<=>(const Place&) const = default; // NOLINT(modernize-use-nullptr)
};

// The places of an input: its own, and that of the file that it is a link to.
void addPlaces(Places& places, const std::string& input, std::vector<Digest>& taken) {
    taken.push_back(places.of(input));
    std::error_code error;
    if (tarvix::isLink(fs::directory_entry(pathOf(input), error))) {
        const fs::path target = tarvix::followedPath(pathOf(input), error);
        if (!error) {
            taken.push_back(places.of(nameOf(target)));
        }
    }
}

} // namespace

void requireNotInputs(const std::vector<std::string>& inputs,
                      const std::vector<std::string>& outputs) {
    Places places;
    std::vector<Digest> taken;
    for (const std::string& input : inputs) {
        addPlaces(places, input, taken);
    }
    for (const std::string& output : outputs) {
        if (std::find(taken.begin(), taken.end(), places.of(output)) != taken.end()) {
            throw Failure("the result '" + output + "' would replace an input");
        }
    }
}

namespace {

// Of what is read, in order: the inputs and what the patterns name.
std::vector<Digest> placesRead(Places& places, const NameList& inputs,
                               const std::vector<std::string>& patterns) {
    std::vector<Digest> read;
    read.reserve(inputs.size());
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        addPlaces(places, inputs.at(i), read);
    }
    for (const std::string& pattern : patterns) {
        const std::size_t different = hasPlaceholder(pattern) ? inputs.size() : 1;
        for (std::size_t i = 0; i < different; ++i) {
            addPlaces(places, fillIn(pattern, {inputs.at(i), i + 1, inputs.size()}), read);
        }
    }
    std::sort(read.begin(), read.end());
    return read;
}

} // namespace

void requireSeparatePlaces(const NameList& inputs, const BatchFiles& files) {
    if ((files.written.empty() && files.manifest.empty()) || inputs.size() == 0) {
        return;
    }
    Places places;
    const std::vector<Digest> read = placesRead(places, inputs, files.read);
    std::vector<Digest> manifest; // and what it is a link to
    if (!files.manifest.empty()) {
        addPlaces(places, files.manifest, manifest);
    }
    for (const Digest& place : manifest) {
        if (std::binary_search(read.begin(), read.end(), place)) {
            throw Failure("the manifest '" + files.manifest + "' is an input, too");
        }
    }

    std::vector<Place> outputs;
    outputs.reserve(inputs.size() * files.written.size());
    const auto outputOf = [&](std::size_t index, const std::string& pattern) {
        return fillIn(pattern, {inputs.at(index), index + 1, inputs.size()});
    };
    for (const std::string& pattern : files.written) {
        for (std::size_t i = 0; i < inputs.size(); ++i) {
            const std::string output = outputOf(i, pattern);
            const Digest place = places.of(output);
            if (std::binary_search(read.begin(), read.end(), place) ||
                std::find(manifest.begin(), manifest.end(), place) != manifest.end()) {
                throw Failure("the result of '" + inputs.at(i) + "' would replace '" + output +
                              "', which is an input or the manifest");
            }
            outputs.push_back({place, i});
        }
    }
    std::sort(outputs.begin(), outputs.end());
    const auto twice =
        std::adjacent_find(outputs.begin(), outputs.end(),
                           [](const Place& a, const Place& b) { return a.place == b.place; });
    if (twice != outputs.end()) {
        throw Failure("the results of '" + inputs.at(twice->index) + "' and '" +
                      inputs.at(std::next(twice)->index) +
                      "' would be one file; put {dir} or {n} into the pattern");
    }
}

} // namespace host
