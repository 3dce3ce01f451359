#include "host/run_command.h"

#include "host/application.h"
#include "host/command.h"
#include "host/commands.h"
#include "host/drafts.h"
#include "host/failure.h"
#include "host/help_format.h"
#include "host/known_names.h"
#include "host/options.h"
#include "host/photograph_file.h"
#include "host/piped_images.h"
#include "host/progress.h"
#include "host/saving.h"
#include "host/sentences.h"
#include "host/written_files.h"
#include "platform/system/binary_streams.h"
#include "platform/system/paths.h"
#include "platform/system/stray_lines.h"

#include <CLI/CLI.hpp>
#include <opencv2/core.hpp>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <functional>
#include <optional>
#include <sstream>

namespace host {

namespace {

int failed(const std::string& reason, Output& output) {
    if (!reason.empty()) {
        output.fail(reason);
    }
    return 1;
}

int badUsage(const std::string& reason, Output& output) {
    output.fail(oneLine(reason) + " (--help shows the usage)");
    return 2;
}

// Does the work, which returns an exit status, and prints why it failed if it did.
int guarded(Output& output, const std::function<int()>& work) {
    try {
        const int status = work();
        return status == 0 && !output.flush() ? failed("standard output cannot be written", output)
                                              : status;
    } catch (const CLI::ParseError& e) {
        return badUsage(e.what(), output);
    } catch (const BadUsage& e) {
        return badUsage(e.what(), output);
    } catch (CException*) {
        // The class library's exceptions are pointers to objects it keeps.
        return failed("the module refused an index or an argument", output);
    } catch (const std::exception& e) { // Failure, cv::Exception and what else there is
        return failed(application().sentence(e.what()), output);
    }
}

// Writes the image. One that was made of one photograph keeps what that carries.
void saveResult(const Command& command, const CommonOptions& options, const cv::Mat& image,
                Output& output) {
    if (drafts() && !options.toStandardOutput) {
        saveDraft(image, options.out);
        noteWritten(options.out, image);
        return;
    }
    Saving saving{.quality = options.quality};
    PhotographFile file;
    if (command.takes == Takes::OneImage) {
        file = readPhotographFile(options.in);
    }
    if (!options.strip && !image.empty()) {
        // The filters leave every pixel where it is, unless they cut.
        const bool sameView = command.family == "filters" && command.name != "patch";
        saving.metadata = metadataFor(file, image, sameView);
    }
    std::vector<std::string> leftOut;
    if (options.toStandardOutput) {
        const std::string bytes = encodeImage(image, options.format, saving, leftOut);
        if (!tarvix::writeStandardOutput(bytes)) {
            throw Failure("standard output cannot be written");
        }
    } else {
        leftOut = saveImage(image, options.out, saving);
        noteWritten(options.out, image);
    }
    if (file.bits > 8) {
        output.warn("'" + options.in + "' has " + std::to_string(file.bits) +
                    " bits per sample; the result has 8");
    }
    for (const std::string& what : leftOut) {
        output.warn((options.toStandardOutput ? "a file of the format " + options.format
                                              : "the file '" + options.out + "'") +
                    " cannot hold " + what + ", left out");
    }
}

void refuseQualityOfOthers(const CommonOptions& options) {
    std::string extension = options.toStandardOutput
                                ? "." + options.format
                                : tarvix::nameOf(tarvix::pathOf(options.out).extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (options.quality != 0 && extension != ".jpg" && extension != ".jpeg" &&
        extension != ".webp") {
        throw BadUsage("--quality is for JPEG and WebP files, not for '" + options.out + "'");
    }
}

// Prints what was noted about images, and on request what the libraries printed.
void showNotes(Output& output) {
    for (const std::string& sentence : application().takeNotes()) {
        output.warn(sentence);
    }
    for (const std::string& line : tarvix::takeStrayLines()) {
        if (application().verbose()) {
            output.warn("a library says: " + line);
        }
    }
}

// What a command of which nothing but an image comes says in JSON; an empty object if none does.
Json writtenAsJson(const cv::Mat& image, const std::string& path) {
    if (image.empty()) {
        return Json::object();
    }
    return {{"output", path}, {"size", {image.cols, image.rows}}, {"channels", image.channels()}};
}

int runAndWrite(const Command& command, const Job& job, Output& output) {
    refuseQualityOfOthers(*job.options);
    if (!job.options->out.empty() && !job.options->toStandardOutput) {
        requireWritable(job.options->out); // before long work
    }
    std::optional<Progress> progress;
    if (!command.work.empty() && output.isTerminal()) {
        progress.emplace(output, command.work);
    }
    const Result result = job.run(output);
    progress.reset();
    if (command.makes == Makes::Image || !result.image.empty()) {
        saveResult(command, *job.options, result.image, output);
    }
    for (const std::string& sentence : result.warnings) {
        output.warn(sentence);
    }
    if (!result.data.is_null()) {
        output.print(result.data, command.text);
    } else if (output.json()) {
        Json said = writtenAsJson(result.image, job.options->out);
        said.update(result.counts);
        output.print(said, {});
    }
    for (const ImageBeside& image : result.beside) {
        const cv::Mat drawn = image.draw();
        saveImage(drawn, image.path);
        noteWritten(image.path, drawn);
    }
    for (const TextBeside& text : result.texts) {
        saveText(text.make(), text.path);
    }
    return result.status;
}

} // namespace

int perform(const Command& command, const Job& job, Output& output) {
    if (job.options->json) {
        output.useJson();
    }
    application().forgetMessages();
    const int status = guarded(output, [&] {
        const int wanted = runAndWrite(command, job, output);
        return application().messageShown() ? 1 : wanted;
    });
    showNotes(output);
    return status;
}

namespace {

// Throws BadUsage if several files are to go to standard output.
void requireFilesNamed(const CLI::App& app, const Command& command) {
    const CLI::Option* const out = app.get_subcommand(command.name)->get_option_no_throw("-o");
    if (command.makes == Makes::Files && out != nullptr && out->count() > 0 &&
        isPiped(out->results().front())) {
        throw BadUsage("'" + command.name +
                       "' writes files, and none to standard output; name them after -o (./- is "
                       "a file of that name)");
    }
}

} // namespace

std::string programVersion() {
    return std::string("Tarvix " TARVIX_VERSION ", OpenCV ") + cv::getVersionString();
}

int runCommand(std::vector<std::string> words, Output& output) {
    CLI::App app("Tarvix's sample host: one sub-command for each operation of the module.",
                 "tarvix");
    app.formatter(helpFormat());
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.require_subcommand(1);
    app.set_version_flag("--version", programVersion() + "\n" TARVIX_BUILD);
    app.footer("Exit status: 0 done, 1 the operation failed (one line says why), 2 bad usage.");
    bool verbose = false;
    const auto addVerbose = [&verbose](CLI::App& parser) {
        parser.add_flag("--verbose", verbose,
                        "Also show what libraries print, and their messages to the letter");
    };
    addVerbose(app);
    const Command* command = nullptr;
    Job job;
    const std::vector<Command>& rows = commands();
    const bool isNamed =
        !words.empty() && std::any_of(rows.begin(), rows.end(),
                                      [&](const Command& row) { return row.name == words[0]; });
    for (const Command& row : rows) {
        CLI::App* parser = app.add_subcommand(row.name, row.help);
        if (isNamed && row.name != words[0]) {
            continue; // its options are not asked for; those of all commands take a millisecond
        }
        const Job rowsJob = row.newJobFor && !words.empty() && words[0] == row.name
                                ? row.newJobFor(words)
                                : row.newJob();
        rowsJob.addOptions(*parser);
        if (parser->get_option_no_throw("--json") == nullptr) {
            addJson(*parser, *rowsJob.options);
        }
        addVerbose(*parser);
        if (row.internal) {
            parser->group("");
        }
        parser->callback([&command, &job, &row, rowsJob] {
            command = &row;
            job = rowsJob;
        });
    }

    return guarded(output, [&] {
        requireKnownNames(app, words);
        try {
            std::reverse(words.begin(), words.end()); // CLI11 takes the last word first
            app.parse(std::move(words));
        } catch (const CLI::Success& e) {
            std::ostringstream asked; // help or version
            const int status = app.exit(e, asked, asked);
            output.say(asked.str());
            return status;
        }
        application().setVerbose(verbose);
        requireFilesNamed(app, *command);
        if (!command->newJobFor) {
            requireSafeOutputs(*app.get_subcommand(command->name));
        }
        const PipedImages piped(*job.options, output);
        return perform(*command, job, output);
    });
}

} // namespace host
