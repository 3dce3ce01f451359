#include "host/commands.h"

#include "host/application.h"
#include "host/failure.h"

#include <opencv2/core.hpp>

#include <algorithm>
#include <iostream>

namespace host {

namespace {

int report(const std::string& text) {
    if (!text.empty()) {
        std::cerr << "tarvix: " << oneLine(text) << '\n';
    }
    return 1;
}

// Text that a full disk did not take is only missed when it is flushed.
int flushed(int status) {
    return status == 0 && !std::cout.flush() ? report("standard output cannot be written") : status;
}

} // namespace

int runCommand(std::vector<std::string> arguments) {
    CLI::App app("Tarvix's sample host: one sub-command for each operation of the module.",
                 "tarvix");
    app.allow_windows_style_options(false); // a path may begin with a slash
    app.require_subcommand(1);
    app.set_version_flag("--version", std::string("Tarvix " TARVIX_VERSION ", OpenCV ") +
                                          cv::getVersionString() + "\n" TARVIX_BUILD);
    app.footer("Exit status: 0 done, 1 the operation failed (one line says why), 2 bad usage.");
    addFilterCommands(app);
    addFacesCommands(app);
    addGeometryCommands(app);
    addCalibCommands(app);
    addFeatureCommands(app);
    addGalleryCommand(app);

    application().forgetMessages();
    try {
        std::reverse(arguments.begin(), arguments.end()); // CLI11 takes the last argument first
        app.parse(std::move(arguments));
        return flushed(application().messageShown() ? 1 : 0);
    } catch (const CLI::Success& e) {
        return flushed(app.exit(e));
    } catch (const CLI::ParseError& e) {
        std::cerr << "tarvix: " << oneLine(e.what()) << " (--help shows the usage)\n";
        return 2;
    } catch (const Failure& e) {
        return report(e.what());
    } catch (const cv::Exception& e) {
        return report(e.what());
    } catch (CException*) {
        // The class library's exceptions are pointers to objects it keeps.
        return report("the module refused an index or an argument");
    } catch (const std::exception& e) {
        return report(e.what());
    }
}

} // namespace host
