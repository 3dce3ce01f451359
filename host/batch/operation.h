// The operation that a batch runs: a command of the table that takes one image.
#pragma once

#include "host/command.h"

#include <set>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace host {

class Operation {
public:
    // Null for a name of no command, or of one that does not take one image.
    static std::shared_ptr<Operation> named(const std::string& name);

    // Adds the command's own options to a batch's parser, but for the image, --json and -o.
    void addOptions(CLI::App& parser);

    [[nodiscard]] const std::string& name() const { return m_command.name; }
    [[nodiscard]] bool mayWriteImage() const { return m_mayWrite; }
    [[nodiscard]] bool mustWriteImage() const { return m_mustWrite; }

    // An option that was given and with which no image can be written; empty if there is none.
    [[nodiscard]] std::string optionWithoutImage() const;

    // Its name and the options that were given, as words of a command line.
    [[nodiscard]] std::vector<std::string> words() const;

    // The values of those options that name files to write.
    [[nodiscard]] std::vector<std::string> filesBeside() const;

    // The values of those that name files to read, besides the image.
    [[nodiscard]] std::vector<std::string> filesRead() const;

private:
    explicit Operation(const Command& command);
    [[nodiscard]] std::vector<std::string> valuesOf(const std::set<std::string>& names) const;

    const Command& m_command;
    Job m_job;
    std::vector<CLI::Option*> m_options;      // of the parser, which must live
    std::vector<CLI::Option*> m_withoutImage; // of these, those that exclude -o
    bool m_mayWrite = false;
    bool m_mustWrite = false;
};

} // namespace host
