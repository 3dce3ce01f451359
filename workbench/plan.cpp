#include "workbench/plan.h"

#include "platform/system/paths.h"
#include "workbench/names.h"
#include "workbench/output_names.h"

#include <algorithm>
#include <array>

namespace workbench {

namespace fs = std::filesystem;

namespace {

// A file's name never reads as an option.
std::string shownName(const std::string& name) {
    return name.starts_with("-") ? "./" + name : name;
}

class Planner {
public:
    Planner(const RunRequest& request, const Surroundings& s)
        : m_request(request), m_surroundings(s), m_rows(request.operation->options) {
        m_stem = request.images.empty() ? request.operation->name
                                        : utf8Of(pathOfUtf8(request.images.front()).stem());
        if (m_stem.empty() || m_stem.front() == '-') {
            m_stem.insert(0, "image");
        }
    }

    Plan plan() {
        if (!m_request.name.empty() && !isNewName(m_request.name)) {
            throw BadRequest("'" + m_request.name + "' is not a name for a new file");
        }
        m_plan.words = m_plan.shown = {m_request.operation->name};
        m_plan.isReduced = m_request.pixels > 0 && m_request.name.empty() &&
                           canBeReduced(m_request.operation->name) && !hasFiles();
        addImages();
        for (const auto& [name, value] : m_request.options.items()) {
            addOption(name, value);
        }
        addOutput();
        m_plan.words.emplace_back("--json");
        return std::move(m_plan);
    }

private:
    // Files beside the result are of the images themselves.
    [[nodiscard]] bool hasFiles() const {
        return std::any_of(m_rows.begin(), m_rows.end(), [&](const host::OptionRow& row) {
            return row.kind == host::Kind::File && row.name != "out" &&
                   m_request.options.contains(row.name);
        });
    }

    void add(const std::vector<std::string>& words) {
        m_plan.words.insert(m_plan.words.end(), words.begin(), words.end());
        m_plan.shown.insert(m_plan.shown.end(), words.begin(), words.end());
    }

    void addPath(const fs::path& path, const std::string& shown) {
        m_plan.words.push_back(tarvix::nameOf(path));
        m_plan.shown.push_back(shownName(shown));
        m_plan.names.emplace_back(m_plan.words.back(), shown);
    }

    fs::path imageOf(const std::string& name) {
        const auto path = m_surroundings.image(name);
        if (!path) {
            throw BadRequest("there is no image '" + name + "'");
        }
        return *path;
    }

    void addImages() {
        using host::Takes;
        constexpr std::array<const char*, 4> counts = {"no image", "one image", "two images",
                                                       "images"};
        const std::size_t count = m_request.images.size();
        const Takes takes = m_request.operation->takes;
        const bool right =
            (takes == Takes::Nothing && count == 0) || (takes == Takes::OneImage && count == 1) ||
            (takes == Takes::TwoImages && count == 2) || (takes == Takes::ImageSet && count >= 1);
        if (!right) {
            throw BadRequest("'" + m_request.operation->name + "' takes " +
                             counts.at(static_cast<std::size_t>(takes)) + ", not " +
                             std::to_string(count));
        }
        for (const std::string& name : m_request.images) {
            fs::path path = imageOf(name);
            Reduction reduction;
            if (m_plan.isReduced) {
                const Surroundings::Copy copy = m_surroundings.copy(path, m_request.pixels);
                path = copy.path;
                reduction = copy.reduction;
            }
            m_reductions.push_back(reduction);
            addPath(path, name);
        }
        if (m_plan.isReduced) {
            // An image that is drawn into another one's frame has that one's canvas.
            m_plan.reduction = m_reductions.back();
            m_plan.isReduced = std::any_of(m_reductions.begin(), m_reductions.end(),
                                           [](const Reduction& r) { return !r.isNone(); });
        }
    }

    void addOption(const std::string& name, const Json& value) {
        const auto row = std::find_if(m_rows.begin(), m_rows.end(), [&](const auto& r) {
            return r.name == name && !r.positional;
        });
        if (row == m_rows.end() || name == "out" || name == "folder" || name == "preview" ||
            name == "for-calib") {
            throw BadRequest("'" + m_request.operation->name + "' has no option '" + name +
                             "' in the workbench");
        }
        if (value.is_null() || value == Json(false)) {
            return;
        }
        switch (row->kind) {
        case host::Kind::Image:
        case host::Kind::Images:
            addImageOption(*row, value);
            break;
        case host::Kind::Folder:
            addEarlier(*row, value);
            break;
        case host::Kind::File:
            if (name == "apply") {
                addEarlier(*row, value);
            } else {
                addFiles(*row, value);
            }
            break;
        case host::Kind::Point:
        case host::Kind::Corners: {
            // `to` of two images is on the second one.
            const Reduction r = m_reductions.empty() ? Reduction{}
                                : name == "to"       ? m_reductions.back()
                                                     : m_reductions.front();
            appendWords(m_plan.words, wordsOf(*row, pointsOnCopy(value, r, name == "offset")));
            appendWords(m_plan.shown, wordsOf(*row, value));
            break;
        }
        default:
            add(wordsOf(*row, value));
        }
    }

    static void appendWords(std::vector<std::string>& to, const std::vector<std::string>& words) {
        to.insert(to.end(), words.begin(), words.end());
    }

    void addImageOption(const host::OptionRow& row, const Json& value) {
        add({"--" + row.name});
        const Json names = value.is_array() ? value : Json::array({value});
        if (names.empty() || (row.kind == host::Kind::Image && names.size() != 1)) {
            throw BadRequest("'" + row.name + "' takes names of images");
        }
        for (const Json& name : names) {
            if (!name.is_string()) {
                throw BadRequest("'" + row.name + "' takes names of images");
            }
            addPath(imageOf(name.get<std::string>()), name.get<std::string>());
        }
    }

    // {"result":"r3"}, or the name of a folder.
    void addEarlier(const host::OptionRow& row, const Json& value) {
        add({"--" + row.name});
        if (value.is_object() && value.size() == 1 && value.contains("result") &&
            value["result"].is_string()) {
            const auto earlier = m_surroundings.earlier(value["result"].get<std::string>());
            if (!earlier) {
                throw BadRequest("the earlier result is not there any more; make it again");
            }
            addPath(earlier->path, earlier->name);
            return;
        }
        if (!value.is_string()) {
            throw BadRequest("'" + row.name + "' takes an earlier result");
        }
        const std::string name = value.get<std::string>();
        const auto path = row.kind == host::Kind::Folder ? m_surroundings.folder(name)
                                                         : m_surroundings.image(name);
        if (!path) {
            throw BadRequest("there is no '" + name + "'");
        }
        addPath(*path, name);
    }

    // Files that are written: the page says that it wants them, and they get names here.
    void addFiles(const host::OptionRow& row, const Json& value) {
        std::vector<std::pair<std::string, std::string>> files; // kind, end of the name
        if (row.name == "overlay" && row.words == 2) {
            files = {{"image", "-marked.png"}, {"image", "-corrected.png"}};
        } else if (row.name == "overlay") {
            files = {{"image", "-mean.png"}};
        } else if (row.name == "report") {
            files = {{"page", "-report.html"}};
        } else if (row.name == "save") {
            const bool isSet = m_request.operation->name == "register";
            files = {{"file", isSet ? "-registration.json" : "-correction.json"}};
        } else if (row.name == "export") {
            const std::string format = value.is_string() ? value.get<std::string>() : "yml";
            if (format != "yml" && format != "yaml" && format != "txt") {
                throw BadRequest("'export' takes yml, yaml or txt");
            }
            files = {{"file", "-camera." + format}};
        } else {
            throw BadRequest("the workbench does not know the file of '" + row.name + "'");
        }
        add({"--" + row.name});
        for (const auto& [kind, end] : files) {
            const std::string name = m_surroundings.freeName(m_stem + end);
            m_beside.push_back({kind, name, m_surroundings.runFolder / pathOfUtf8(name)});
            addPath(m_beside.back().path, name);
        }
    }

    void addOutput() {
        const Operation& operation = *m_request.operation;
        const auto row = std::find_if(m_rows.begin(), m_rows.end(), [](const auto& r) {
            return !r.positional && (r.name == "out" || r.name == "folder");
        });
        if (row != m_rows.end()) {
            const bool isFolder = row->kind == host::Kind::Folder;
            std::string end = isFolder ? "" : extensionFor(operation, firstImage());
            if (operation.name == "board") {
                end = ".svg";
            }
            const std::string kind = operation.name == "board" ? "file"
                                     : row->name == "folder"   ? "folder"
                                     : isFolder                ? "images"
                                                               : "image";
            std::string name =
                m_request.images.empty() ? operation.name : m_stem + "-" + operation.name;
            name += m_plan.isReduced ? ".jpg" : end;
            std::string shown =
                m_request.images.empty() ? operation.name : m_stem + "-" + operation.name;
            shown += end;
            if (kind == "folder") {
                shown = m_surroundings.freeName(shown);
            }
            if (!m_request.name.empty()) {
                name = m_request.name;
                shown = m_surroundings.saveFolder + "/" + m_request.name;
            }
            const fs::path path = m_surroundings.runFolder / pathOfUtf8(name);
            add({"-o"});
            addPath(path, shown);
            m_plan.outputs.push_back({kind, shown, path});
        } else if (!m_request.name.empty()) {
            throw BadRequest("'" + operation.name + "' makes nothing that could be saved");
        }
        m_plan.outputs.insert(m_plan.outputs.end(), m_beside.begin(), m_beside.end());
    }

    [[nodiscard]] std::string firstImage() const {
        return m_request.images.empty() ? std::string() : m_request.images.front();
    }

    const RunRequest& m_request;
    const Surroundings& m_surroundings;
    const std::vector<host::OptionRow>& m_rows;
    std::string m_stem; // of the first image
    std::vector<Reduction> m_reductions{};
    std::vector<PlannedOutput> m_beside{};
    Plan m_plan{};
};

} // namespace

Plan planOf(const RunRequest& request, const Surroundings& surroundings) {
    return Planner(request, surroundings).plan();
}

} // namespace workbench
