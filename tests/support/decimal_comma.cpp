#include "tests/support/decimal_comma.h"

#include "tests/support/program.h"

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

namespace test {

namespace {

bool selectDecimalComma(const char* name) {
    return std::setlocale(LC_ALL, name) != nullptr &&
           std::string_view(std::localeconv()->decimal_point) == ",";
}

void restore(const std::string& name) {
    [[maybe_unused]] const char* now = std::setlocale(LC_ALL, name.c_str());
}

} // namespace

DecimalComma::DecimalComma() : m_before(std::setlocale(LC_ALL, nullptr)) {
    for (const char* installed : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany"}) {
        if (selectDecimalComma(installed)) {
            return;
        }
    }
    runProgram("localedef", {"-i", "de_DE", "-f", "UTF-8", m_compiled / "de_DE.UTF-8"});
    setenv("LOCPATH", m_compiled.path().c_str(), 1);
    const bool selected = selectDecimalComma("de_DE.UTF-8");
    unsetenv("LOCPATH");
    if (!selected) {
        restore(m_before);
        throw std::runtime_error("no locale with a decimal comma (package locales)");
    }
}

DecimalComma::~DecimalComma() {
    restore(m_before);
}

} // namespace test
