#include "host/application.h"
#include "host/arguments.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/failure.h"
#include "host/images.h"
#include "host/print_json.h"
#include "host/saving.h"

#include <tarvix/tarvix.h>

#include <iostream>
#include <memory>

namespace host {

namespace {

void print(const CArray<RECT, RECT&>& faces, bool asJson) {
    nlohmann::json list = nlohmann::json::array();
    for (INT_PTR i = 0; i < faces.GetSize(); ++i) {
        const RECT& face = faces[i];
        if (asJson) {
            list.push_back({{"left", face.left},
                            {"top", face.top},
                            {"right", face.right},
                            {"bottom", face.bottom}});
        } else {
            std::cout << face.left << ',' << face.top << ' ' << face.right << ',' << face.bottom
                      << '\n';
        }
    }
    if (asJson) {
        printJson(nlohmann::json{{"faces", std::move(list)}});
    }
}

void addFaces(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool json = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "faces", "Find frontal faces and print them, one left,top right,bottom a line (pixels; "
                 "right and bottom lie one beyond)");
    command->add_option("IN", o->in, "Picture file to read")->required();
    command->add_option("-o,--out,--draw", o->out, "Write the picture with the faces framed");
    command->add_flag("--json", o->json, "Print one JSON object instead of lines of text");
    command->callback([o] {
        const Bitmap grey = loadImage(o->in, true); // the export searches 8-bit bitmaps
        CArray<RECT, RECT&> faces;
        tx_FindFaces(*grey, faces);
        if (application().messageShown()) {
            throw Failure::alreadyShown();
        }
        if (!o->out.empty()) {
            std::vector<cv::Rect> frames;
            for (INT_PTR i = 0; i < faces.GetSize(); ++i) {
                const RECT& face = faces[i];
                frames.emplace_back(cv::Point(face.left, face.top),
                                    cv::Point(face.right, face.bottom));
            }
            saveImage(withFrames(toMatrix(*loadImage(o->in, false)), frames), o->out);
        }
        print(faces, o->json);
    });
}

void addTrack(CLI::App& app) {
    CLI::App* command = app.add_subcommand(
        "track", "Show camera 0 with the largest face framed, until a key is pressed in the "
                 "window; ends at once when there is no camera");
    command->callback([] {
        if (tx_TrackFace(nullptr) == 0) {
            throw Failure::alreadyShown();
        }
    });
}

} // namespace

void addFacesCommands(CLI::App& app) {
    addFaces(app);
    addTrack(app);
}

std::vector<GalleryEntry> facesGallery() {
    return {
        {"Faces",
         "A frontal face found by its light and dark regions.",
         {"faces", "PHOTOS/messi5.jpg", "-o", "OUT/faces.png"},
         {"PHOTOS/messi5.jpg"},
         {"OUT/faces.png"},
         {}},
    };
}

} // namespace host
