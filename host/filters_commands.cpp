#include "host/arguments.h"
#include "host/commands.h"
#include "host/drawing.h"
#include "host/images.h"
#include "host/print_json.h"
#include "host/saving.h"

#include <tarvix/tarvix.h>

#include <array>
#include <charconv>
#include <iostream>
#include <memory>

namespace host {

namespace {

void addLoad(CLI::App& app) {
    struct Options {
        std::string in, out;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("load", "Load a picture file into a bitmap and write it");
    addInOut(*command, o->in, o->out);
    command->callback([o] { saveImage(toMatrix(*loadImage(o->in, false)), o->out); });
}

void addCanny(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool gray = false, l2 = false;
        double low = 50, high = 150;
        int aperture = 3;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command =
        app.add_subcommand("canny", "Edges by Canny's method, as a black and white picture");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    command->add_option("--low", o->low, "Lower hysteresis threshold (gradient units)")
        ->capture_default_str();
    command->add_option("--high", o->high, "Upper hysteresis threshold (gradient units)")
        ->capture_default_str();
    command->add_option("--aperture", o->aperture, "Sobel aperture: 3, 5 or 7")
        ->capture_default_str();
    command->add_flag("--l2", o->l2, "Measure the gradient by the L2 norm instead of L1");
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(tx_Canny(*in, o->low, o->high, o->aperture, o->l2 ? 1 : 0),
                                 "no bitmap could be made for the edges");
        saveImage(out, o->out);
    });
}

void addDenoise(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool gray = false;
        float h = 3, hColor = 3;
        int templateWindow = 7, searchWindow = 21;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("denoise", "Remove colour noise by non-local means");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    command->add_option("--strength", o->h, "Luminance strength (grey levels, 0 and up)")
        ->capture_default_str();
    command->add_option("--color-strength", o->hColor, "Colour strength (0 and up)")
        ->capture_default_str();
    command->add_option("--template", o->templateWindow, "Template window (pixels, odd)")
        ->capture_default_str();
    command
        ->add_option("--search", o->searchWindow,
                     "Search window (pixels, odd; time grows with its square)")
        ->capture_default_str();
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out =
            take(tx_Denoise(*in, o->h, o->hColor, o->templateWindow, o->searchWindow),
                 "the picture cannot be denoised");
        saveImage(out, o->out);
    });
}

void addPatch(CLI::App& app) {
    struct Options {
        std::string in, out, center;
        bool gray = false;
        int width = 0, height = 0;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "patch", "Cut out a patch around a centre given to a fraction of a pixel");
    addInOut(*command, o->in, o->out);
    addGray(*command, o->gray);
    command->add_option("--width", o->width, "Patch width (pixels, 1 and up)")->required();
    command->add_option("--height", o->height, "Patch height (pixels, 1 and up)")->required();
    command->add_option("--center", o->center, "Centre x,y (pixels, origin top left)")->required();
    command->callback([o] {
        const auto [x, y] = parsePoint(o->center);
        const Bitmap in = loadImage(o->in, o->gray);
        const cv::Mat out = take(tx_getRectSubPix(*in, o->width, o->height, static_cast<float>(x),
                                                  static_cast<float>(y)),
                                 "a patch of that size cannot be made");
        saveImage(out, o->out);
    });
}

void addOptionalOut(CLI::App& command, std::string& out, const std::string& help) {
    command.add_option("-o,--out", out, help);
}

void addLines(CLI::App& app) {
    struct Options {
        std::string in, out;
        bool json = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "lines", "Find straight segments and print them, one x1,y1 x2,y2 a line (pixels)");
    command->add_option("IN", o->in, "Picture file to read")->required();
    addOptionalOut(*command, o->out, "Write the picture with the segments drawn");
    command->add_flag("--json", o->json, "Print one JSON object instead of lines of text");
    command->callback([o] {
        const Bitmap in = loadImage(o->in, false);
        POINT* found = nullptr;
        const int count = tx_FindLines(*in, found);
        const std::unique_ptr<POINT[]> points(found);
        const std::size_t ends = 2 * static_cast<std::size_t>(count);
        if (!o->out.empty()) {
            std::vector<cv::Vec4i> segments;
            for (std::size_t i = 0; i < ends; i += 2) {
                segments.emplace_back(points[i].x, points[i].y, points[i + 1].x, points[i + 1].y);
            }
            saveImage(withSegments(toMatrix(*in), segments), o->out);
        }
        if (o->json) {
            nlohmann::json segments = nlohmann::json::array();
            for (std::size_t i = 0; i < ends; i += 2) {
                segments.push_back({points[i].x, points[i].y, points[i + 1].x, points[i + 1].y});
            }
            printJson(nlohmann::json{{"segments", std::move(segments)}});
            return;
        }
        for (std::size_t i = 0; i < ends; i += 2) {
            std::cout << points[i].x << ',' << points[i].y << ' ' << points[i + 1].x << ','
                      << points[i + 1].y << '\n';
        }
    });
}

// "x,y;x,y;..." as an array of [x, y].
nlohmann::json cornersAsJson(const std::string& text) {
    nlohmann::json corners = nlohmann::json::array();
    const char* next = text.data();
    const char* const end = text.data() + text.size();
    while (next < end) {
        std::array<double, 2> point{};
        for (double& coordinate : point) {
            next = std::from_chars(next, end, coordinate).ptr;
            if (next < end) {
                ++next; // the comma or the semicolon
            }
        }
        corners.push_back(point);
    }
    return corners;
}

void addChessboard(CLI::App& app) {
    struct Options {
        std::string in, out;
        std::array<int, 2> board{};
        bool gray = false, json = false;
    };
    auto o = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(
        "chessboard", "Find a chessboard's inner corners and print them, one x,y a line (pixels)");
    command->add_option("IN", o->in, "Picture file to read")->required();
    addBoard(*command, o->board);
    addOptionalOut(*command, o->out, "Write the picture with the corners drawn");
    addGray(*command, o->gray);
    command->add_flag("--json", o->json, "Print one JSON object instead of lines of text");
    command->callback([o] {
        const Bitmap in = loadImage(o->in, o->gray);
        CString corners;
        const cv::Mat drawn =
            take(tx_FindChessboard(*in, o->board[0], o->board[1], corners),
                 "no chessboard of " + std::to_string(o->board[0]) + " x " +
                     std::to_string(o->board[1]) + " inner corners in '" + o->in + "'");
        if (!o->out.empty()) {
            saveImage(drawn, o->out);
        }
        std::string text(corners.GetString());
        if (o->json) {
            printJson(nlohmann::json{{"board", o->board}, {"corners", cornersAsJson(text)}});
            return;
        }
        for (char& c : text) {
            c = c == ';' ? '\n' : c;
        }
        std::cout << text << '\n';
    });
}

} // namespace

void addFilterCommands(CLI::App& app) {
    addLoad(app);
    addCanny(app);
    addDenoise(app);
    addPatch(app);
    addLines(app);
    addChessboard(app);
}

std::vector<GalleryEntry> filterGallery() {
    return {
        {"Edges",
         "Canny's edges of a house front.",
         {"canny", "PHOTOS/home.jpg", "-o", "OUT/canny.png", "--low", "80", "--high", "200"},
         {"PHOTOS/home.jpg"},
         {"OUT/canny.png"},
         {}},
        {"Colour denoising",
         "Non-local means take the grain out and leave the edges.",
         {"denoise", "PHOTOS/fruits.jpg", "-o", "OUT/denoise.png", "--strength", "8",
          "--color-strength", "10"},
         {"PHOTOS/fruits.jpg"},
         {"OUT/denoise.png"},
         {}},
        {"Sub-pixel patch",
         "A face cut out around a centre that lies between pixels.",
         {"patch", "PHOTOS/messi5.jpg", "-o", "OUT/patch.png", "--width", "160", "--height", "160",
          "--center", "245.5,110.25"},
         {"PHOTOS/messi5.jpg"},
         {"OUT/patch.png"},
         {}},
        {"Straight lines",
         "Segments along the edges of a building; the thresholds come from the picture itself.",
         {"lines", "PHOTOS/building.jpg", "-o", "OUT/lines.png"},
         {"PHOTOS/building.jpg"},
         {"OUT/lines.png"},
         {}},
        {"Chessboard",
         "The inner corners of a calibration board, refined to a fraction of a pixel.",
         {"chessboard", "PHOTOS/left01.jpg", "--board", "9x6", "-o", "OUT/chessboard.png"},
         {"PHOTOS/left01.jpg"},
         {"OUT/chessboard.png"},
         {}},
    };
}

} // namespace host
