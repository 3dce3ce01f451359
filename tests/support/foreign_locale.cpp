#include "tests/support/foreign_locale.h"

#include "tests/support/program.h"

#include <clocale>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace test {

namespace {

void restore(const std::string& name) {
    [[maybe_unused]] const char* now = std::setlocale(LC_ALL, name.c_str());
}

// Switches to the first of the locales whose decimal point is good. The language is compiled into
// the folder if there is none. Returns the locale from before.
template <class IsGood>
std::string switchTo(const std::vector<const char*>& installed, const std::string& language,
                     const TempFolder& compiled, IsGood isGood) {
    std::string before = std::setlocale(LC_ALL, nullptr);
    const auto select = [&](const std::string& name) {
        return std::setlocale(LC_ALL, name.c_str()) != nullptr &&
               isGood(std::string_view(std::localeconv()->decimal_point));
    };
    for (const char* name : installed) {
        if (select(name)) {
            return before;
        }
    }
    const std::string name = language + ".UTF-8";
    runProgram("localedef", {"-i", language, "-f", "UTF-8", compiled / name});
    setenv("LOCPATH", compiled.path().c_str(), 1);
    const bool isSelected = select(name);
    unsetenv("LOCPATH");
    if (!isSelected) {
        restore(before);
        throw std::runtime_error("no locale for " + language + " (package locales)");
    }
    return before;
}

} // namespace

DecimalComma::DecimalComma()
    : m_before(switchTo({"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany"}, "de_DE",
                        m_compiled, [](std::string_view point) { return point == ","; })) {}

DecimalComma::~DecimalComma() {
    restore(m_before);
}

bool DecimalOther::exists() {
    return true; // or it is made
}

DecimalOther::DecimalOther()
    : m_before(switchTo({"ps_AF.UTF-8", "ps_AF"}, "ps_AF", m_compiled,
                        [](std::string_view point) { return point != "." && point != ","; })) {}

DecimalOther::~DecimalOther() {
    restore(m_before);
}

} // namespace test
