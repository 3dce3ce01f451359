// The failure convention of the exports, written once. Its variants are visible at the call:
//
//     showCvSwallowRest   a cv::Exception's text is shown, everything else ends silently
//     showCvPassRest      a cv::Exception's text is shown, everything else propagates to the host
//     swallowAll          everything ends silently
//     no guard            every exception propagates to the host
//
// Operations say "nothing" in their type; orFail turns that into the silent failure. The module
// shows no text of its own, only OpenCV's.
#pragma once

#include <afxwin.h>
#include <opencv2/core.hpp>

#include <optional>
#include <type_traits>
#include <utility>

namespace tarvix {

// Ends an export silently: throws an int of value 0, which the guards swallow.
[[noreturn]] inline void failSilently() {
    throw 0;
}

// Pass a result on. A null pointer, no value or an empty matrix fails silently.
template <class T>
T* orFail(T* result) {
    if (result == nullptr) {
        failSilently();
    }
    return result;
}
template <class T>
T orFail(std::optional<T> result) {
    if (!result) {
        failSilently();
    }
    return *std::move(result);
}
inline cv::Mat orFail(cv::Mat result) {
    if (result.empty()) {
        failSilently();
    }
    return result;
}

// Shows e.what() in a modal message box.
inline void showException(const cv::Exception& e) {
    AfxMessageBox(e.what(), 0, 0);
}

// Runs body(). Shows a cv::Exception and returns onCvException. Returns onOther() after any other
// exception, without a message.
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

// The convention of most exports: both kinds of failure return onFailure.
template <class Result, class Body>
Result showCvSwallowRest(std::type_identity_t<Result> onFailure, Body&& body) {
    return showCvSwallowRest<Result>(onFailure, std::forward<Body>(body),
                                     [&] { return onFailure; });
}

// Shows a cv::Exception and returns onCvException. Any other exception propagates to the host.
template <class Result, class Body>
Result showCvPassRest(std::type_identity_t<Result> onCvException, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (const cv::Exception& e) {
        showException(e);
        return onCvException;
    }
}

// Returns onFailure after any exception, silently.
template <class Result, class Body>
Result swallowAll(std::type_identity_t<Result> onFailure, Body&& body) {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return onFailure;
    }
}

} // namespace tarvix
