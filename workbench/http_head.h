// The head of a request as the library reads it, as ours.
#pragma once

#include "workbench/http.h"

#include <algorithm>
#include <string>

namespace workbench {

template <class View> // differs between versions of Boost
std::string stringOf(const View& text) {
    return {text.data(), text.size()};
}

inline std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return text;
}

template <class Head>
HttpRequest requestOf(const Head& head) {
    HttpRequest request{.method = stringOf(head.method_string()),
                        .target = stringOf(head.target())};
    for (const auto& field : head) {
        request.fields.emplace_back(lowerCase(stringOf(field.name_string())),
                                    stringOf(field.value()));
    }
    return request;
}

} // namespace workbench
