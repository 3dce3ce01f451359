#include "host/commands.h"
#include "host/numbers.h"
#include "host/worker_process.h"

#include <CLI/App.hpp>

namespace host {

namespace {

Command worker() {
    struct Options : CommonOptions {
        int threads = 1;
        bool keepImages = false;
    };
    return command<Options>(
        {.name = "worker",
         .help = "Answer requests on standard input, one line of JSON each: for programs",
         .internal = true},
        [](CLI::App& parser, Options& o) {
            parser.add_option("--threads", o.threads, "Threads that OpenCV may use for a request")
                ->check(wholeFrom(1, 1024))
                ->capture_default_str();
            parser.add_flag("--keep-images", o.keepImages,
                            "Keep decoded images for requests that read them again");
        },
        [](const Options& o, Output&) {
            serveRequests(o.threads, o.keepImages);
            return Result{};
        });
}

} // namespace

std::vector<Command> workerCommands() {
    return {worker()};
}

} // namespace host
