#include "bridge/decimal_point.h"

#include "platform/system/decimal_point.h"

#include <array>
#include <cstdio>
#include <string_view>

namespace tarvix {

DecimalPoint::DecimalPoint() {
    std::array<char, 32> text{};
    (void)std::snprintf(text.data(), text.size(), "%.1f", 1.5);
    const std::string_view number(text.data());
    if (number != "1.5" && number != "1,5") { // OpenCV itself sees to these
        m_numbers = std::make_unique<ClassicNumbers>();
    }
}

DecimalPoint::~DecimalPoint() = default;

} // namespace tarvix
