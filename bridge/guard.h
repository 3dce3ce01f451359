// The failure convention of the exports, written once; its variants are visible at the call:
//
// - showCvSwallowRest: a cv::Exception's text is shown, everything else ends silently.
// - showCvPassRest: a cv::Exception's text is shown, everything else passes out to the host.
// - swallowAll: everything ends silently.
// - no guard: every exception passes out to the host.
//
// An expected failure (empty input, board not found, no result bitmap) is raised by failSilently().
// The module shows no text of its own, only OpenCV's.
#pragma once

#include <opencv2/core.hpp>

#include <type_traits>
#include <utility>

namespace tarvix {

// Raises an expected failure: an int of value 0, which the guards end silently.
[[noreturn]] inline void failSilently() {
    throw 0;
}

// Passes a result on; a null result is an expected failure.
template <class T>
T* orFail(T* result) {
    if (result == nullptr) {
        failSilently();
    }
    return result;
}

// Shows e.what() in a modal message box: AfxMessageBox(text, 0, 0).
void showException(const cv::Exception& e);

// Runs body(). A cv::Exception is shown and gives onCvException; any other exception gives the
// result of onOther(), without a message.
template <class Result, class Body, class OnOther>
Result showCvSwallowRest(std::type_identity_t<Result> onCvException, Body&& body,
                         OnOther&& onOther) {
    try {
        return std::forward<Body>(body)();
    } catch (const cv::Exception& e) {
        showException(e);
        return onCvException;
    } catch (...) {
        return std::forward<OnOther>(onOther)();
    }
}

// The convention of most exports: both kinds of failure give onFailure.
template <class Result, class Body>
Result showCvSwallowRest(std::type_identity_t<Result> onFailure, Body&& body) {
    return showCvSwallowRest<Result>(onFailure, std::forward<Body>(body),
                                     [&] { return onFailure; });
}

// A cv::Exception is shown and gives onCvException; any other exception leaves the export.
template <class Result, class Body>
Result showCvPassRest(std::type_identity_t<Result> onCvException, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const cv::Exception& e) {
        showException(e);
        return onCvException;
    }
}

// Every exception gives onFailure, silently.
template <class Result, class Body>
Result swallowAll(std::type_identity_t<Result> onFailure, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return onFailure;
    }
}

} // namespace tarvix
