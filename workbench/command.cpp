#include "workbench/command.h"

#include "workbench/workbench.h"

#include <CLI/App.hpp>
#include <CLI/CLI.hpp>

#include "host/numbers.h"

namespace workbench {

host::Command command() {
    host::Command row = host::command<WorkbenchOptions>(
        {.name = "workbench",
         .help = "Open a page in the browser on which every operation can be tried"},
        [](CLI::App& parser, WorkbenchOptions& o) {
            parser.add_option("FOLDER", o.folder, "Folder of the images; by default, this one")
                ->type_name("FOLDER");
            parser.add_option("--port", o.port, "Port to listen on; 0: a free one")
                ->check(host::wholeFrom(0, 65535))
                ->capture_default_str();
            parser
                .add_option("--out", o.out,
                            "Folder for what is saved; by default, 'results' in FOLDER")
                ->type_name("FOLDER");
            parser.add_flag("--no-open", o.noOpen, "Print the address, and open no browser");
        },
        [](const WorkbenchOptions& o, host::Output& output) {
            runWorkbench(o, output);
            return host::Result{};
        });
    row.family = "workbench";
    return row;
}

} // namespace workbench
