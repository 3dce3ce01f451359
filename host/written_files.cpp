#include "host/written_files.h"

#include "host/batch/places.h"
#include "host/failure.h"
#include "host/photographs.h"
#include "host/piped_images.h"
#include "host/saving.h"
#include "platform/system/paths.h"

#include <CLI/App.hpp>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

namespace host {

namespace {

using tarvix::nameOf;
using tarvix::pathOf;

// Besides -o, the options that name files to write; all others read theirs.
constexpr std::array<const char*, 4> writing = {"overlay", "save", "report", "export"};

struct Named {
    std::vector<std::string> read, written;
    std::vector<std::string> photographs; // folders to read
    std::vector<std::string> folders;     // any other folders, or names in them with {}
};

Named filesNamedBy(const CLI::App& parser) {
    Named named;
    for (const CLI::Option* option : parser.get_options()) {
        const std::string name =
            option->get_lnames().empty() ? std::string() : option->get_lnames().front();
        const std::string type = option->get_type_name();
        const bool writes = option->check_sname("o") ||
                            std::find(writing.begin(), writing.end(), name) != writing.end();
        for (const std::string& value : option->results()) {
            const bool isSet = option->get_items_expected_max() > 1;
            if (option->get_items_expected_max() == 0 || isPiped(value)) {
                continue; // a flag, a stream
            }
            if (type.starts_with("FOLDER")) {
                named.folders.push_back(value);
            } else if (writes) {
                named.written.push_back(value);
            } else if (type.starts_with("IMAGE") && isSet && isFolder(value)) {
                named.photographs.push_back(value);
            } else if (type.starts_with("IMAGE") || type.starts_with("FILE")) {
                named.read.push_back(value);
            }
        }
    }
    return named;
}

// A file of that folder. None of them needs to exist yet.
bool isIn(Places& places, const std::string& file, const std::string& folder) {
    const std::string name = nameOf(pathOf(file).filename());
    return places.of(file) == places.of(nameOf(pathOf(folder) / name));
}

std::string parentOf(const std::string& folder) {
    const auto parent = pathOf(folder).parent_path();
    return parent.empty() ? "." : nameOf(parent);
}

} // namespace

void requireSafeOutputs(const CLI::App& parser) {
    const Named named = filesNamedBy(parser);
    if (named.written.empty()) {
        return;
    }
    std::vector<std::string> read = named.read;
    for (const std::string& folder : named.photographs) {
        const std::vector<std::string> inside = photographsOf({folder});
        read.insert(read.end(), inside.begin(), inside.end());
    }
    requireNotInputs(read, named.written);
    Places places;
    for (auto file = named.written.begin(); file != named.written.end(); ++file) {
        const auto is = [&](const std::string& other) {
            return places.of(other) == places.of(*file);
        };
        if (std::any_of(named.written.begin(), file, is)) {
            throw Failure("two results would be one file: '" + *file + "'");
        }
        bool isMade = false;
        for (const std::string& folder : named.folders) {
            const bool isInside = isIn(places, *file, folder);
            if (isInside && pathOf(*file).extension() == ".xml") {
                throw Failure("'" + *file +
                              "' may be a file of the calibration; choose another "
                              "name");
            }
            isMade = isMade || isInside || isIn(places, *file, parentOf(folder));
        }
        if (isMade) {
            requireNoFolder(*file);
        } else {
            requireFolderOf(*file);
        }
    }
}

} // namespace host
