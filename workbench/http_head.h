// The head of a request as the library reads it, as ours.
#pragma once

#include "workbench/http.h"
#include "workbench/lower_case.h"

#include <string>

namespace workbench {

template <class View> // differs between versions of Boost
std::string stringOf(const View& text) {
    return {text.data(), text.size()};
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
