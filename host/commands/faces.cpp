#include "faces/live/live.h"
#include "host/application.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/options.h"

#include <tarvix/tarvix.h>

#include <CLI/App.hpp>

#include <sstream>

namespace host {

namespace {

std::string facesAsText(const Json& data) {
    std::ostringstream text;
    for (const Json& face : data.at("faces")) {
        text << face.at("left") << ',' << face.at("top") << ' ' << face.at("right") << ','
             << face.at("bottom") << '\n';
    }
    return text.str();
}

Command faces() {
    return imageCommand<CommonOptions>(
        {.name = "faces",
         .help = "Find frontal faces and print them, one left,top right,bottom a line (pixels; "
                 "right and bottom lie one beyond)",
         .makes = Makes::Data,
         .text = facesAsText,
         .example = {"IN"},
         .gallery = {{.title = "Faces",
                      .text = "Frontal faces, found by their light and dark regions, as "
                              "rectangles.",
                      .lookFor = "A frame around the face, and none elsewhere.",
                      .command = {"faces", "PHOTOS/messi5.jpg", "-o", "OUT/faces.png"},
                      .before = {"PHOTOS/messi5.jpg"},
                      .after = {"OUT/faces.png"}}}},
        [](CLI::App& parser, CommonOptions& o) {
            addIn(parser, o);
            addDrawing(parser, o, "-o,--out,--draw", "Write the image with the faces framed");
            addJson(parser, o);
        },
        [](const CommonOptions& o, CDib& in) {
            const Bitmap gray = toGray(in); // the export searches 8-bit bitmaps
            CArray<RECT, RECT&> found;
            tx_FindFaces(*gray, found);
            if (application().messageShown()) {
                throw Failure(alreadyShown);
            }
            std::vector<cv::Rect> frames;
            Result result{.data = {{"faces", Json::array()}}};
            for (INT_PTR i = 0; i < found.GetSize(); ++i) {
                const RECT& face = found[i];
                frames.emplace_back(cv::Point(face.left, face.top),
                                    cv::Point(face.right, face.bottom));
                result.data["faces"].push_back({{"bottom", face.bottom},
                                                {"left", face.left},
                                                {"right", face.right},
                                                {"top", face.top}});
            }
            if (frames.empty()) {
                result.warnings.push_back("no faces were found in '" + o.in + "'");
            }
            if (!o.out.empty()) {
                result.image = withFrames(toMatrix(in), frames);
            }
            return result;
        });
}

Command track() {
    return command<CommonOptions>(
        {.name = "track",
         .help = "Show camera 0 with the largest face framed, until a key is pressed in the "
                 "window"},
        [](CLI::App&, CommonOptions&) {},
        [](const CommonOptions&, Output&) {
            // The export ends at once without a camera, and does not tell.
            if (!tarvix::hasCamera()) {
                throw Failure("there is no camera 0, or it cannot be opened");
            }
            if (tx_TrackFace(nullptr) == 0) {
                throw Failure(alreadyShown);
            }
            return Result{};
        });
}

} // namespace

std::vector<Command> faceCommands() {
    return {faces(), track()};
}

} // namespace host
