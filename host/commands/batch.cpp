#include "host/batch/batch.h"
#include "host/batch/summary.h"
#include "host/commands.h"
#include "host/numbers.h"

#include <CLI/CLI.hpp>

namespace host {

namespace {

void addBatchOptions(CLI::App& parser, BatchOptions& o, const Operation* operation) {
    parser.add_option("OPERATION", o.operation, "Command to run: one that takes one image")
        ->required();
    parser
        .add_option(
            "INPUTS", o.inputs,
            "Image files, folders, patterns such as 'in/**/*.jpg', @LIST for the names in a "
            "file, or - for names on standard input")
        ->required();
    parser.add_option("-o,--out", o.pattern,
                      "Files to write, such as 'results/{name}.png'; also {ext}, {dir} and {n}");
    parser.add_option("--jobs", o.jobs, "Worker processes (otherwise as many as processors)")
        ->check(wholeFrom(1, 1024));
    parser.add_option("--threads", o.threads, "Threads that OpenCV may use in each of them")
        ->check(wholeFrom(1, 1024))
        ->capture_default_str();
    parser.add_option("--timeout", o.timeout, "Longest time for an image (s)")
        ->check(numberAbove(0));
    parser.add_option("--memory", o.memory, "Most memory for an image (MiB)")
        ->check(wholeFrom(1, 1 << 24));
    parser.add_option("--manifest", o.manifest,
                      "File that gets a line of JSON for each image as soon as it is finished");
    parser.add_flag("--resume", o.resume,
                    "Go on with the manifest: leave out what it says is finished");
    parser.add_flag("--retry-failed", o.retryFailed, "The same, but run failed images again");
    parser.add_option(
        "--shard", o.shard,
        "Take a part of the inputs: 1/8 to 8/8, or slurm for the task of a job array");
    if (operation == nullptr) {
        parser.footer("The operation's own options go with these: tarvix batch OPERATION --help.");
    }
}

Job batchJob(std::shared_ptr<Operation> operation) {
    auto options = std::make_shared<BatchOptions>();
    return {options,
            [=](CLI::App& parser) {
                if (operation != nullptr) {
                    operation->addOptions(parser);
                }
                addBatchOptions(parser, *options, operation.get());
            },
            [=](Output& output) { return runBatch(*options, operation.get(), output); }};
}

Command batch() {
    Command row{.name = "batch",
                .help = "Run a command that takes one image on many, on all processors",
                .makes = Makes::Data,
                .text = batchAsText};
    row.newJob = [] { return batchJob(nullptr); };
    row.newJobFor = [](const std::vector<std::string>& words) {
        return batchJob(words.size() > 1 ? Operation::named(words[1]) : nullptr);
    };
    return row;
}

Command batchSummary() {
    return command<SummaryOptions>(
        {.name = "batch-summary",
         .help = "Say what the manifests of a batch, or of its shards, say together",
         .makes = Makes::Data,
         .text = summaryAsText},
        [](CLI::App& parser, SummaryOptions& o) {
            parser
                .add_option("MANIFESTS", o.manifests,
                            "Manifests to read, or patterns such as 'parts/*.jsonl'")
                ->required();
            parser.add_option("-o,--out", o.merged,
                              "Also write them as one, in the order of the inputs");
        },
        [](const SummaryOptions& o, Output&) { return summarise(o); });
}

} // namespace

std::vector<Command> batchCommands() {
    return {batch(), batchSummary()};
}

} // namespace host
