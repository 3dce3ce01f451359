#include "tests/support/decimal_comma.h"

#include <clocale>
#include <stdexcept>
#include <string_view>

namespace test {

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

} // namespace test
