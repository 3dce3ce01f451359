#include "tests/support/foreign_locale.h"

#include <clocale>
#include <stdexcept>
#include <string_view>

namespace test {

namespace {

bool switchToAnotherPoint() {
    for (const char* name :
         {"Persian_Iran", "Persian", "Pashto_Afghanistan", "Pashto", "fa-IR", "ps-AF"}) {
        if (std::setlocale(LC_ALL, name) != nullptr) {
            const std::string_view point = std::localeconv()->decimal_point;
            if (point != "." && point != ",") {
                return true;
            }
        }
    }
    return false;
}

} // namespace

DecimalComma::DecimalComma() : m_before(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"German_Germany.1252", "German"}) {
        if (std::setlocale(LC_ALL, name) != nullptr &&
            std::string_view(std::localeconv()->decimal_point) == ",") {
            return;
        }
    }
    std::setlocale(LC_ALL, m_before.c_str());
    throw std::runtime_error("no locale with a decimal comma");
}

DecimalComma::~DecimalComma() {
    std::setlocale(LC_ALL, m_before.c_str());
}

bool DecimalOther::exists() {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    const bool result = switchToAnotherPoint();
    std::setlocale(LC_ALL, before.c_str());
    return result;
}

DecimalOther::DecimalOther() : m_before(std::setlocale(LC_ALL, nullptr)) {
    if (!switchToAnotherPoint()) {
        std::setlocale(LC_ALL, m_before.c_str());
        throw std::runtime_error("no locale with another decimal point");
    }
}

DecimalOther::~DecimalOther() {
    std::setlocale(LC_ALL, m_before.c_str());
}

} // namespace test
