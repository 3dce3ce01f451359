#include "workbench/workbench.h"

#include "host/failure.h"
#include "host/page.h"
#include "host/photographs.h"
#include "host/saving.h"
#include "platform/system/browser.h"
#include "platform/system/child_process.h"
#include "platform/system/interrupts.h"
#include "platform/system/paths.h"
#include "workbench/http_server.h"
#include "workbench/new_files.h"
#include "workbench/service.h"

#include <cstdlib>

namespace workbench {

namespace fs = std::filesystem;

namespace {

// Other users of the machine see the words of all programs: the address, with its token, is in a
// file that only this user can read.
void openPage(const std::string& address, const fs::path& folder, host::Output& output) {
    const fs::path file = folder / "open.html";
    host::saveText("<!doctype html><html lang=\"en\"><meta charset=\"utf-8\">"
                   "<title>Tarvix</title><meta http-equiv=\"refresh\" content=\"0;url=" +
                       host::escapeHtml(address) + "\"></html>\n",
                   tarvix::nameOf(file));
    if (!tarvix::openInBrowser(file)) {
        output.warn("no browser could be opened; open the address yourself");
    }
}

// Ends the engine's runs before what they report to ends, whatever happens.
struct Closing {
    Engine& engine;
    ~Closing() { engine.close(); }
};

} // namespace

void runWorkbench(const WorkbenchOptions& options, host::Output& output) {
    if (!host::isFolder(options.folder)) {
        throw host::Failure("there is no folder '" + options.folder + "'");
    }
    const TemporaryFolder temporary;
    const ImageFolder images(tarvix::pathOf(options.folder), temporary.part("uploads"));
    const fs::path out = options.out.empty()
                             ? images.folder() / "results"
                             : fs::absolute(tarvix::pathOf(options.out)).lexically_normal();
    ImageList list(images);
    Engine engine(tarvix::ownProgram());
    Previews previews(engine, temporary.part("previews"));
    Runner runner(engine, previews, images, temporary.part("results"), out);
    Uploads uploads(previews, images.uploads(), temporary.part("unfinished"));
    Service service({images, list, previews, runner, uploads});
    HttpServer server(service, static_cast<unsigned short>(options.port));
    const Closing closing{engine};
    const Session session(server.port());
    service.open(session);
    const tarvix::Interrupts interrupts([&server] { server.stop(); });
    output.say(session.address() + "\n");
    if (!options.noOpen) {
        openPage(session.address(), temporary.path(), output);
    }
    server.run();
}

} // namespace workbench
