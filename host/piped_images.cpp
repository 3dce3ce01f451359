#include "host/piped_images.h"

#include "host/failure.h"
#include "host/saving.h"
#include "platform/system/binary_streams.h"
#include "platform/system/paths.h"
#include "platform/system/terminal.h"

#include <opencv2/imgcodecs.hpp>

#include <filesystem>
#include <fstream>

namespace host {

namespace fs = std::filesystem;

namespace {

PipedImages* running = nullptr;

void prepareOutput(CommonOptions& options, Output& output) {
    if (!isPiped(options.out) || !output.hasPipes()) {
        if (!options.format.empty()) {
            throw BadUsage("--format is for standard output (-o -); of a file, the extension "
                           "chooses the format");
        }
        return;
    }
    if (options.format.empty()) {
        options.format = "png";
    }
    if (!cv::haveImageWriter("image." + options.format)) {
        throw BadUsage("'" + options.format + "' is not an image format; use png, jpg, bmp or tif");
    }
    if (tarvix::isOutputTerminal()) {
        throw BadUsage("standard output is a terminal; send it into a file or a program, or name "
                       "a file instead of -");
    }
    output.keepForImage();
    options.toStandardOutput = true;
}

} // namespace

// The module reads files, so standard input becomes one.
struct PipedImages::Input {
    WorkFolder folder{fs::temp_directory_path()};
    fs::path file = folder / "standard-input";

    Input() {
        if (tarvix::isInputTerminal()) {
            throw BadUsage("standard input is a terminal; send an image into it, or name a file "
                           "instead of -");
        }
        fs::permissions(file.parent_path(), fs::perms::owner_all); // for nobody else's eyes
        std::ofstream copy(file, std::ios::binary);
        tarvix::copyStandardInput(copy);
        copy.close();
        if (!copy.good()) {
            throw Failure("standard input cannot be kept in '" + tarvix::nameOf(file) +
                          "': the disk may be full");
        }
    }
};

PipedImages::PipedImages(CommonOptions& options, Output& output) : m_outer(running) {
    prepareOutput(options, output);
    if (isPiped(options.in) && output.hasPipes()) {
        m_input = std::make_unique<Input>();
    }
    running = this;
}

PipedImages::~PipedImages() {
    running = m_outer;
}

std::string PipedImages::fileBehind(const std::string& name) {
    const bool piped = isPiped(name) && running != nullptr && running->m_input != nullptr;
    return piped ? tarvix::nameOf(running->m_input->file) : name;
}

bool isPiped(const std::string& name) {
    return name == "-";
}

} // namespace host
