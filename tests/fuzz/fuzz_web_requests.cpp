// What a browser, or a stranger, sends to the workbench: heads of requests, targets, and bodies
// that ask for a run.
#include "tests/fuzz/fuzzing.h"
#include "tests/fuzz/made_operations.h"
#include "tests/fuzz/request_head.h"
#include "tests/fuzz/web_request_rules.h"
#include "tests/support/files.h"
#include "workbench/names.h"
#include "workbench/session.h"

#include <filesystem>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using workbench::Json;

// A folder of images with what must not be reached beside it, and a session.
struct Place {
    static constexpr unsigned short port = 4711;

    test::TempFolder base;
    workbench::Session session{port};
    std::string token, cookie;

    Place() {
        for (const char* folder : {"images", "images/sub", "uploads", "run"}) {
            fs::create_directory(base / folder);
        }
        for (const char* file : {"images/a.jpg", "images/sub/b c.png", "images/-dash.jpg",
                                 "images/.jpg", "images/it's.tif", "uploads/u.png", "secret.jpg"}) {
            test::writeBytes(base / file, "an image, perhaps");
        }
        std::error_code ignored; // where links cannot be made
        fs::create_symlink(base / "secret.jpg", base / "images/link.jpg", ignored);
        fs::create_directory_symlink(base.path(), base / "images/out", ignored);
        const std::string address = session.address();
        token = address.substr(address.rfind('=') + 1);
        const std::string set =
            session.entry({.method = "GET", .target = "/"}).fields.front().second;
        cookie = set.substr(0, set.find(';'));
    }
};

const Place& place() {
    static const Place made;
    return made;
}

const workbench::ImageFolder& images() {
    static const workbench::ImageFolder made(place().base / "images", place().base / "uploads");
    return made;
}

void replaceAll(std::string& text, const std::string& word, const std::string& by) {
    for (std::size_t at = text.find(word); at != std::string::npos;
         at = text.find(word, at + by.size())) {
        text.replace(at, word.size(), by);
    }
}

void checkFound(const std::string& name, const std::optional<fs::path>& found) {
    if (found && (!workbench::isBelow(*found, images().folder()) &&
                  !workbench::isBelow(*found, images().uploads()))) {
        throw std::logic_error("'" + name + "' leads out of the folder");
    }
}

void readTarget(const std::string& text) {
    const auto target = workbench::readTarget(text);
    if (!target) {
        return;
    }
    fuzz::checkTarget(*target);
    for (const auto& [name, value] : target->parameters) {
        checkFound(value, images().find(value));
        checkFound(value, images().findFolder(value));
        if (workbench::isNewName(value)) {
            fuzz::checkNewName(value);
        }
        const auto count = workbench::readCount(value, 1000);
        if (count && std::stoull(value) != *count) {
            throw std::logic_error("a number is read as another one");
        }
    }
}

// The words TOKEN and COOKIE stand for the secrets.
void readHead(std::string text) {
    replaceAll(text, "TOKEN", place().token);
    replaceAll(text, "COOKIE", place().cookie);
    const auto request = fuzz::readRequestHead(text);
    if (!request) {
        return;
    }
    readTarget(request->target);
    const auto target = workbench::readTarget(request->target);
    if (target && !place().session.refusal(*request, *target)) {
        fuzz::checkLetIn(*request, std::to_string(Place::port), place().token, place().cookie);
    }
}

void readBody(const std::string& text) {
    const fs::path run = place().base / "run";
    const workbench::Surroundings surroundings{
        .image = [](const std::string& name) { return images().find(name); },
        .folder = [](const std::string& name) { return images().findFolder(name); },
        .earlier = [](const std::string& id) -> std::optional<workbench::Surroundings::Earlier> {
            const workbench::Surroundings::Earlier earlier{place().base / "earlier", "calib"};
            return id == "r1" ? std::optional(earlier) : std::nullopt;
        },
        .copy =
            [](const fs::path& image, std::uint64_t pixels) {
                const double part = pixels < 1000 ? 0.5 : 1;
                return workbench::Surroundings::Copy{image, {part, part}};
            },
        .freeName = [](const std::string& wish) { return wish; },
        .runFolder = run,
        .saveFolder = "results"};
    try {
        const workbench::RunRequest request = workbench::readRequest(text, fuzz::madeOperations());
        const workbench::Plan plan = workbench::planOf(request, surroundings);
        for (const std::string& name : request.images) {
            checkFound(name, images().find(name));
        }
        fuzz::checkPlan(plan, request, run);
    } catch (const workbench::BadRequest&) { // a sentence for the page
    }
}

// Of that kind, or nearly.
Json oddValue(fuzz::Bytes& in, host::Kind kind) {
    using host::Kind;
    constexpr std::array<Kind, 13> kinds = {Kind::Flag,  Kind::Integer, Kind::Number, Kind::Choice,
                                            Kind::Point, Kind::Corners, Kind::Board,  Kind::Colour,
                                            Kind::Image, Kind::Images,  Kind::Folder, Kind::File,
                                            Kind::Text};
    if (in.byte() % 8 == 0) {
        kind = kinds[in.byte() % kinds.size()];
    }
    const auto points = [&in](int count) {
        Json list = Json::array();
        for (; count > 0; --count) {
            list.push_back(Json{fuzz::oddDouble(in), fuzz::oddDouble(in)});
        }
        return list;
    };
    constexpr std::array names{"a.jpg",         "sub/b c.png", "-dash.jpg",    "it's.tif",
                               "uploads/u.png", "sub",         "../secret.jpg"};
    switch (kind) {
    case Kind::Flag:
    case Kind::File:
        return in.byte() % 4 > 0;
    case Kind::Integer:
        return fuzz::oddInt(in);
    case Kind::Number:
        return fuzz::oddDouble(in);
    case Kind::Point:
        return points(1).front();
    case Kind::Corners:
        return points(in.byte() % 8 == 0 ? in.byte() % 6 : 4);
    case Kind::Board:
        return std::to_string(fuzz::oddInt(in)) + "x" + std::to_string(in.byte());
    case Kind::Colour:
        return Json{in.byte(), in.byte(), fuzz::oddInt(in)};
    case Kind::Image:
        return names[in.byte() % names.size()];
    case Kind::Images:
        return Json{names[in.byte() % names.size()], names[in.byte() % names.size()]};
    case Kind::Folder:
        return in.byte() % 2 == 0 ? Json{{"result", "r1"}} : Json("sub");
    default:
        return in.text();
    }
}

// A body that a page might send: a command with some of its own options.
std::string likelyBody(fuzz::Bytes& in) {
    constexpr std::array names{"a.jpg",         "sub/b c.png", "-dash.jpg",  "it's.tif",
                               "uploads/u.png", ".jpg",        "missing.jpg"};
    const std::vector<workbench::Operation>& operations = fuzz::madeOperations();
    const workbench::Operation& operation = operations[in.byte() % operations.size()];
    Json body = {
        {"command", operation.name}, {"images", Json::array()}, {"options", Json::object()}};
    constexpr std::array<int, 4> counts = {0, 1, 2, 3};
    int count = counts[static_cast<std::size_t>(operation.takes)];
    if (const int odd = in.byte(); odd < 16) {
        count = odd;
    }
    for (; count > 0; --count) {
        body["images"].push_back(names[in.byte() % names.size()]);
    }
    if (in.byte() % 2 == 0) {
        body["pixels"] = in.take<std::uint16_t>();
    }
    if (in.byte() % 4 == 0) {
        body["name"] = in.text();
    }
    for (const host::OptionRow& row : operation.options) {
        if (in.byte() % 2 == 1) {
            Json value = oddValue(in, row.kind);
            if (!row.choices.empty() && in.byte() % 8 > 0) {
                value = row.choices[in.byte() % row.choices.size()];
            }
            body["options"][row.name] = std::move(value);
        }
    }
    return body.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

// The first byte says what the rest is: a head, a target, a body, or what a body is made from.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Bytes in(data, size);
    switch (in.byte() % 4) {
    case 0:
        readHead(in.rest());
        break;
    case 1:
        readTarget(in.rest());
        break;
    case 2:
        readBody(in.rest());
        break;
    default:
        readBody(likelyBody(in));
    }
    return 0;
}
