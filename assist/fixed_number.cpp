#include "fixed_number.h"

#include <locale>
#include <sstream>

namespace tarvix {

std::string fixedNumber(double value, int decimals) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.setf(std::ios::fixed);
    text.precision(decimals);
    text << value;
    return text.str();
}

} // namespace tarvix
