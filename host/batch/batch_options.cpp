#include "host/batch/batch.h"
#include "host/batch/places.h"
#include "host/failure.h"
#include "host/saving.h"

namespace host {

void requireSense(const BatchOptions& options, const Operation& operation) {
    requireKnownPlaceholders(options.pattern);
    if (operation.mustWriteImage() && options.pattern.empty()) {
        throw BadUsage("'" + operation.name() + "' writes images: --out says where to");
    }
    if (!operation.mayWriteImage() && !options.pattern.empty()) {
        throw BadUsage("'" + operation.name() + "' writes no images: leave --out out");
    }
    if (const std::string option = operation.optionWithoutImage();
        !option.empty() && !options.pattern.empty()) {
        throw BadUsage("with " + option + ", '" + operation.name() +
                       "' writes no images: leave --out out");
    }
    if ((options.resume || options.retryFailed) && options.manifest.empty()) {
        throw BadUsage("--resume and --retry-failed need --manifest, which says what is done");
    }
    if (!options.pattern.empty()) {
        requireImageFormat(fillIn(options.pattern, {"image.png", 1, 1}));
    }
}

std::string batchAsText(const Json& data) {
    const auto number = [&data](const char* member) {
        return std::to_string(data.at(member).get<std::size_t>());
    };
    std::string text = number("done") + " of " + number("images") + " images done";
    for (const char* member : {"failed", "skipped", "left"}) {
        if (data.at(member) != 0) {
            text.append(", ").append(number(member)).append(" ").append(member);
        }
    }
    if (data.at("failedBefore") != 0) {
        text.append("; ").append(number("failedBefore"));
        text.append(" of the skipped ones failed before: --retry-failed runs them again");
    }
    return text + "\n";
}

} // namespace host
