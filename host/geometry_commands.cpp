#include "host/arguments.h"
#include "host/commands.h"
#include "host/host.h"
#include "host/pictures.h"

#include <tarvix/tarvix.h>

#include <memory>

namespace host {

namespace {

// warp and mask take the same arguments.
void addWarp(CLI::App& app, const std::string& name, const std::string& help,
             CDib* (*operation)(CDib&, double*, double*)) {
    struct Options {
        std::string in, out;
        bool gray = false;
        std::array<double, 8> from{}, to{};
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(name, help);
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    addCorners(*command, "--from", o->from, "Four points in the picture")->required();
    addCorners(*command, "--to", o->to, "Where they go, in the same order")->required();
    command->callback([o, operation] {
        const Picture in = loadPicture(o->in, o->gray);
        const Picture out = take(operation(*in, o->from.data(), o->to.data()),
                                 "the corners give no canvas that a bitmap can hold");
        savePicture(*out, o->out);
    });
}

} // namespace

void addGeometryCommands(CLI::App& app) {
    addWarp(app, "warp", "Warp four points of a picture onto four others, on a fitted canvas",
            tx_Projective);
    addWarp(app, "mask", "The coverage mask of 'warp' for the same arguments",
            tx_GetProjectiveMask);
}

std::vector<GalleryEntry> geometryGallery() {
    return {
        {"Projective warp",
         "Four marked corners of a printed grid become a square.",
         {"warp", "PHOTOS/sudoku.png", "-o", "OUT/warp.png", "--from", "73,88", "492,72", "521,525",
          "35,518", "--to", "0,0", "450,0", "450,450", "0,450"},
         {"PHOTOS/sudoku.png"},
         {"OUT/warp.png"},
         {}},
        {"Coverage mask",
         "Which pixels of its canvas a warped photograph covers; here its corners go to a kite.",
         {"mask", "PHOTOS/home.jpg", "-o", "OUT/mask.png", "--from", "0,0", "512,0", "512,384",
          "0,384", "--to", "90,0", "470,60", "400,330", "0,250"},
         {"OUT/mask-warp.png"},
         {"OUT/mask.png"},
         {{"warp", "PHOTOS/home.jpg", "-o", "OUT/mask-warp.png", "--from", "0,0", "512,0",
           "512,384", "0,384", "--to", "90,0", "470,60", "400,330", "0,250"}}},
    };
}

} // namespace host
