// One operation on many images: the command batch.
#pragma once

#include "host/batch/operation.h"
#include "host/command.h"

#include <memory>
#include <string>
#include <vector>

namespace host {

struct BatchOptions : CommonOptions {
    std::string operation;
    std::string pattern; // of the files to write, with placeholders; empty: none
    std::vector<std::string> inputs;
    int jobs = 0;       // worker processes; 0: as many as fit
    int threads = 1;    // of OpenCV in each
    double timeout = 0; // seconds an image may take; 0: any
    int memory = 0;     // MiB that a worker may take; 0: any
    std::string manifest;
    bool resume = false;
    bool retryFailed = false;
    std::string shard; // "I/N" or "slurm"; empty: all
};

// Throws BadUsage for options that make no sense together or with the operation, and Failure for an
// image format that cannot be written.
void requireSense(const BatchOptions& options, const Operation& operation);

// Runs the operation on every input, in worker processes. The data are the counts. A failed image
// does not end the batch; the status is 1 then, and if it was interrupted. Throws BadUsage and
// Failure for what is found before the first image, and Failure if the manifest cannot be written.
//   operation  null if the first word is not the name of one
Result runBatch(const BatchOptions& options, const Operation* operation, Output& output);

std::string batchAsText(const Json& data);

// Which part of the inputs is ours, by a hash of their names.
struct Shard {
    std::size_t index = 1; // from 1
    std::size_t count = 1;
    [[nodiscard]] bool has(const std::string& input) const;
};

// Reads "I/N" or "slurm", which asks the variables of a job array. Throws BadUsage.
Shard readShard(const std::string& text);

} // namespace host
