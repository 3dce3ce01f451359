// Reads cameras from YAML with yaml-cpp: OpenCV's own reader trusts what it reads.
#include "host/camera_exchange.h"
#include "host/failure.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <yaml-cpp/yaml.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <vector>

namespace host {

namespace {

constexpr std::uintmax_t largestFile = std::uintmax_t{1}
                                       << 20; // bytes; a camera has a few thousand

std::string textOf(const std::string& path) {
    namespace fs = std::filesystem;
    const fs::path file = tarvix::pathOf(path);
    std::error_code error;
    if (!fs::exists(file, error)) {
        throw Failure("no such file: '" + path + "'");
    }
    if (!fs::is_regular_file(file, error) || fs::file_size(file, error) > largestFile || error) {
        throw Failure("not a YAML file of a camera: '" + path + "'");
    }
    std::ifstream stream(file, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    // OpenCV's first line is not YAML's own directive.
    return text.rfind("%YAML:", 0) == 0 ? text.substr(std::min(text.find('\n'), text.size()))
                                        : text;
}

// The numbers of the first of the keys that is there; empty if none is.
std::vector<double> numbersOf(const YAML::Node& document, const std::vector<const char*>& keys) {
    for (const char* key : keys) {
        const YAML::Node matrix = document[key];
        if (!matrix) {
            continue;
        }
        const YAML::Node data = matrix.IsMap() ? matrix["data"] : matrix;
        std::vector<double> numbers;
        for (const YAML::Node& number : data) {
            numbers.push_back(number.as<double>());
        }
        return numbers;
    }
    return {};
}

std::string otherModel(const std::string& name, const std::string& path) {
    return "the lens model '" + name + "' of '" + path +
           "' cannot be used; plumb_bob and rational_polynomial can";
}

ExchangedCamera cameraOf(const YAML::Node& document, const std::string& path) {
    if (!document.IsMap()) {
        throw Failure("not a YAML file of a camera: '" + path + "'");
    }
    if (const YAML::Node model = document["distortion_model"]) {
        const auto name = model.as<std::string>();
        if (name != "plumb_bob" && name != "rational_polynomial") {
            throw Failure(otherModel(name, path));
        }
    }
    for (const char* key : {"fisheye_model", "fisheye"}) { // flags that calibration programs write
        if (const YAML::Node flag = document[key]; flag && flag.as<int>(1) != 0) {
            throw Failure(otherModel("fisheye", path));
        }
    }
    if (const YAML::Node model = document["camera_model"]) {
        const auto name = model.as<std::string>();
        if (name != "pinhole") {
            throw Failure(otherModel(name, path));
        }
    }
    const auto matrix = numbersOf(
        document, {"camera_matrix", "Camera_Matrix", "cameraMatrix", "CameraMatrix", "K"});
    const auto distortion =
        numbersOf(document, {"distortion_coefficients", "Distortion_Coefficients", "distCoeffs",
                             "dist_coeffs", "DistCoeffs", "D"});
    const auto isFinite = [](double value) { return std::isfinite(value); };
    const std::set<std::size_t> counts{4, 5, 8, 12, 14};
    if (matrix.size() != 9 || !counts.contains(distortion.size()) ||
        !std::all_of(matrix.begin(), matrix.end(), isFinite) ||
        !std::all_of(distortion.begin(), distortion.end(), isFinite) || matrix[0] <= 0 ||
        matrix[4] <= 0 || matrix[1] != 0 || matrix[3] != 0 || matrix[6] != 0 || matrix[7] != 0 ||
        matrix[8] != 1) {
        throw Failure("no camera in '" + path +
                      "': a camera_matrix of nine numbers (fx 0 cx 0 fy cy 0 0 1) and "
                      "distortion_coefficients (4, 5, 8, 12 "
                      "or 14) are needed");
    }
    ExchangedCamera camera;
    if (document["image_width"] && document["image_height"]) {
        camera.imageSize = {document["image_width"].as<int>(), document["image_height"].as<int>()};
    }
    camera.matrix = cv::Mat(matrix, true).reshape(1, 3);
    camera.distortion = cv::Mat(distortion, true).reshape(1, 1);
    return camera;
}

} // namespace

ExchangedCamera readCameraFile(const std::string& path) {
    try {
        return cameraOf(YAML::Load(textOf(path)), path);
    } catch (const YAML::Exception& e) {
        throw Failure("not a YAML file of a camera: '" + path + "' (" + e.what() + ")");
    }
}

} // namespace host
