#include "host/camera_exchange.h"

#include "host/failure.h"
#include "platform/system/paths.h"

#include <opencv2/core.hpp>
#include <opencv2/core/persistence.hpp>

#include <array>
#include <charconv>

namespace host {

namespace {

// As many digits as it takes, without an exponent: some readers of YAML take "1e-05" for a word.
std::string digits(double value) {
    std::array<char, 400> text{};
    const auto [end, error] =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    return error == std::errc{} ? std::string(text.data(), end) : "0";
}

std::string list(const cv::Mat_<double>& m, const std::string& separator) {
    std::string text;
    for (const double value : m) {
        text += (text.empty() ? "" : separator) + digits(value);
    }
    return text;
}

std::string asOpenCv(const ExchangedCamera& camera) {
    cv::FileStorage storage(".yml", cv::FileStorage::WRITE | cv::FileStorage::MEMORY |
                                        cv::FileStorage::FORMAT_YAML);
    storage << "image_width" << camera.imageSize.width << "image_height" << camera.imageSize.height
            << "camera_matrix" << camera.matrix << "distortion_coefficients" << camera.distortion;
    return storage.releaseAndGetString();
}

std::string rosMatrix(const std::string& name, const cv::Mat_<double>& m) {
    return name + ":\n  rows: " + std::to_string(m.rows) + "\n  cols: " + std::to_string(m.cols) +
           "\n  data: [" + list(m, ", ") + "]\n";
}

std::string asRos(const ExchangedCamera& camera) {
    const int count = static_cast<int>(camera.distortion.total());
    if (count != 5 && count != 8) {
        throw Failure("camera_info has no name for " + std::to_string(count) +
                      " distortion coefficients");
    }
    cv::Mat_<double> projection(3, 4, 0.0);
    camera.matrix.copyTo(projection.colRange(0, 3));
    return "image_width: " + std::to_string(camera.imageSize.width) +
           "\nimage_height: " + std::to_string(camera.imageSize.height) +
           "\ncamera_name: camera\n" + rosMatrix("camera_matrix", camera.matrix) +
           "distortion_model: " + (count == 5 ? "plumb_bob" : "rational_polynomial") + "\n" +
           rosMatrix("distortion_coefficients", camera.distortion) +
           rosMatrix("rectification_matrix", cv::Mat_<double>(cv::Mat::eye(3, 3, CV_64F))) +
           rosMatrix("projection_matrix", projection);
}

std::string asColmap(const ExchangedCamera& camera) {
    constexpr double firstPixel = 0.5; // where COLMAP has its centre
    const cv::Mat_<double> m = camera.matrix;
    cv::Mat_<double> distortion(1, 8, 0.0);
    if (camera.distortion.total() > distortion.total()) {
        throw Failure("COLMAP has no model for so many distortion coefficients");
    }
    for (std::size_t i = 0; i < camera.distortion.total(); ++i) {
        distortion(static_cast<int>(i)) = camera.distortion.at<double>(static_cast<int>(i));
    }
    return "# CAMERA_ID, MODEL, WIDTH, HEIGHT, PARAMS[]\n1 FULL_OPENCV " +
           std::to_string(camera.imageSize.width) + " " + std::to_string(camera.imageSize.height) +
           " " + digits(m(0, 0)) + " " + digits(m(1, 1)) + " " + digits(m(0, 2) + firstPixel) +
           " " + digits(m(1, 2) + firstPixel) + " " + list(distortion, " ") + "\n";
}

} // namespace

CameraFormat formatOf(const std::string& path) {
    const std::string extension = tarvix::nameOf(tarvix::pathOf(path).extension());
    if (extension == ".yml") {
        return CameraFormat::OpenCv;
    }
    if (extension == ".yaml") {
        return CameraFormat::Ros;
    }
    if (extension == ".txt") {
        return CameraFormat::Colmap;
    }
    throw BadUsage("'" + path +
                   "' names no format: .yml is OpenCV's, .yaml ROS's camera_info, .txt COLMAP's");
}

std::string cameraFileText(const ExchangedCamera& camera, CameraFormat format) {
    switch (format) {
    case CameraFormat::OpenCv:
        return asOpenCv(camera);
    case CameraFormat::Ros:
        return asRos(camera);
    default:
        return asColmap(camera);
    }
}

} // namespace host
