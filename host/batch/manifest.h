// The record of a batch: one JSON object a line, one line an image (docs/batch.md has the members).
#pragma once

#include "host/batch/digest.h"
#include "host/result.h"

#include <cstdint>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace host {

// What of an input says that it is the same.
struct InputState {
    std::uint64_t bytes = 0;
    std::int64_t modified = 0;                           // of the file system's clock, in its ticks
    auto operator<=>(const InputState&) const = default; // NOLINT(modernize-use-nullptr)
};

// None if there is no such file.
std::optional<InputState> stateOf(const std::string& path);

// What a line says, as far as the next run needs it.
struct Finished {
    Digest key; // of the command line that was run, and the program's version
    Digest hash;
    InputState state;
    bool failed = false;
};

// Calls `use` with every whole object of the file and the place of its line. A line at the end that
// was cut off by a kill, and lines that are no objects, are left out and counted in the result.
// Throws Failure if the file cannot be read.
std::size_t readManifest(const std::string& path,
                         const std::function<void(const Json& record, std::streamoff at)>& use);

// The text of the line at this place. Throws Failure if there is none any more.
std::string lineAt(std::istream& manifest, std::streamoff at);

// What the last line of an input says of the batch.
struct LastLine {
    Digest input{};         // of its name
    Digest batch{};         // of the operation with its options, and the version
    std::streamoff at = 0;  // where the line begins
    std::size_t number = 0; // which input it is; 0: the line does not say it
    std::size_t of = 0;     // of so many inputs when the line was written
    bool failed = false;
};

struct LastLines {
    std::vector<LastLine> lines; // one for each input, as they follow in the file
    std::size_t of = 0;          // the most inputs: some may have been added since the first line
    std::size_t leftOut = 0;     // lines that were cut off
};

// Reads the last line of each input: those before it are out of date, whatever operation or version
// they are of. Some bytes for each. Throws Failure if the file cannot be read, or a name in it.
LastLines readLastLines(const std::string& path);

// Counts lines of batches that have equally many inputs. Nothing else may tell the batches apart,
// but the manifests of one batch have each number once.
class InputCount {
public:
    //   of  inputs of each batch
    explicit InputCount(std::size_t of) : m_of(of) {}

    // Adds the last line of an input.
    //   manifest  the number of the manifest that has it
    void add(const LastLine& line, std::size_t manifest);

    // How many batches there are at least: as many as there are manifests that have one number.
    // A manifest alone may have one twice, if inputs were exchanged since it was begun.
    [[nodiscard]] std::size_t batches() const;

    [[nodiscard]] std::size_t found() const { return m_found; }

    // How many inputs all of these batches have.
    [[nodiscard]] std::size_t expected() const;

private:
    struct Numbered {
        std::size_t number = 0;
        std::size_t manifest = 0;
        auto operator<=>(const Numbered&) const = default; // NOLINT(modernize-use-nullptr)
    };
    std::size_t m_of;
    std::size_t m_found = 0;
    std::vector<Numbered> m_numbered;
};

// The images that a manifest says are finished: some bytes for each. Not the last line of an input,
// but of a command line: an input may have been run with several, and the next run may want each.
class FinishedImages {
public:
    FinishedImages() = default;
    explicit FinishedImages(const std::string& manifest);

    // What the manifest's last line about this command line says; null if there is none.
    [[nodiscard]] const Finished* find(const Digest& key) const;

private:
    std::vector<Finished> m_all; // by key, the last one of each
};

// Appends lines to a manifest.
class ManifestWriter {
public:
    // Makes the file, or goes on behind its last whole line. Throws Failure, and for a file that
    // is not a manifest, too.
    explicit ManifestWriter(std::string path);

    // Adds a line, which the system has when the function returns. Throws Failure if it cannot, for
    // example on a full disk; the file then ends with the line before.
    void add(const Json& record);

private:
    std::string m_path;
    std::ofstream m_file;
    std::uintmax_t m_size = 0; // of whole lines
};

// Puts a file's name into a record, and takes it out. A name that is not UTF-8 goes as hexadecimal
// digits under NAME + "Hex".
void putName(Json& record, const std::string& member, const std::string& name);
std::string takeName(const Json& record, const std::string& member);

} // namespace host
