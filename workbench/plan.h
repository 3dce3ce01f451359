// From a request to command lines: the one that runs, and the one that a person would write.
#pragma once

#include "workbench/request.h"
#include "workbench/scaling.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace workbench {

// A file or folder that a run makes.
struct PlannedOutput {
    std::string kind;           // "image", "page", "file", "folder", "images": a folder of them
    std::string name;           // as the shown command line has it
    std::filesystem::path path; // where it is made
};

struct Plan {
    std::vector<std::string> words; // what runs, in the system's code page
    std::vector<std::string> shown; // what makes the same in the folder of the images, UTF-8
    std::vector<PlannedOutput> outputs;
    std::vector<std::pair<std::string, std::string>> names; // path of a word, and how it is shown
    Reduction reduction;                                    // of the result's canvas
    bool isReduced = false;
};

// What a plan needs to know of the rest.
struct Surroundings {
    // The file that an image's name stands for; nothing if there is none.
    std::function<std::optional<std::filesystem::path>(const std::string& name)> image;

    // A folder below the images' folder.
    std::function<std::optional<std::filesystem::path>(const std::string& name)> folder;

    // An earlier result: its path and its name in shown command lines.
    struct Earlier {
        std::filesystem::path path;
        std::string name;
    };
    std::function<std::optional<Earlier>(const std::string& id)> earlier;

    // A copy of an image with at most so many pixels.
    struct Copy {
        std::filesystem::path path;
        Reduction reduction;
    };
    std::function<Copy(const std::filesystem::path& image, std::uint64_t pixels)> copy;

    // A name like this one that no earlier file or folder has, to be shown.
    std::function<std::string(const std::string& wish)> freeName;

    std::filesystem::path runFolder; // for the outputs
    std::string saveFolder;          // of request.name, as it is shown
};

// Throws BadRequest for what the command does not take, and for names that stand for no file.
Plan planOf(const RunRequest& request, const Surroundings& surroundings);

} // namespace workbench
