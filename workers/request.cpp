// What goes to `tarvix worker`.
#include "workers/worker.h"

#include <algorithm>
#include <stdexcept>

namespace tarvix {

bool isUtf8(const std::string& bytes) {
    if (std::all_of(bytes.begin(), bytes.end(), [](char c) { return c > 0; })) {
        return true;
    }
    try {
        static_cast<void>(Json(bytes).dump());
        return true;
    } catch (const Json::type_error&) {
        return false;
    }
}

std::string toHex(const std::string& bytes) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += digits[byte / 16U];
        text += digits[byte % 16U];
    }
    return text;
}

std::string fromHex(const std::string& digits) {
    const auto value = [](char c) {
        if (c >= '0' && c <= '9') {
            return c - '0';
        }
        if (c >= 'a' && c <= 'f') {
            return c - 'a' + 10;
        }
        throw std::invalid_argument("not hexadecimal digits");
    };
    if (digits.size() % 2 != 0) {
        throw std::invalid_argument("not hexadecimal digits");
    }
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes += static_cast<char>(value(digits[i]) * 16 + value(digits[i + 1]));
    }
    return bytes;
}

Json requestOf(const std::vector<std::string>& words) {
    if (std::all_of(words.begin(), words.end(), isUtf8)) {
        return {{"words", words}};
    }
    std::vector<std::string> hex(words.size());
    std::transform(words.begin(), words.end(), hex.begin(), toHex);
    return {{"hexWords", hex}};
}

std::vector<std::string> wordsOf(const Json& request) {
    const bool hex = request.is_object() && request.contains("hexWords");
    const char* const name = hex ? "hexWords" : "words";
    if (!request.is_object() || !request.contains(name) || !request[name].is_array()) {
        throw std::invalid_argument("a request is an object with the words of a command line");
    }
    std::vector<std::string> words;
    for (const Json& word : request[name]) {
        if (!word.is_string()) {
            throw std::invalid_argument("the words of a request are texts");
        }
        const auto& text = word.get_ref<const std::string&>();
        words.push_back(hex ? fromHex(text) : text);
    }
    return words;
}

} // namespace tarvix
