#include "tests/support/decimal_comma_locale.hpp"

#include <clocale>
#include <cstdio>
#include <iostream>
#include <sstream>

namespace tolvaran::tests {
namespace {

class DecimalComma : public std::numpunct<char> {
  protected:
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

bool useCLocaleWithComma() {
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8", "de_DE"}) {
        char text[16] = "";
        if (std::setlocale(LC_ALL, name) != nullptr &&
            std::snprintf(text, sizeof text, "%.1f", 1.5) > 0 && std::string(text) == "1,5") {
            return true;
        }
    }
    return false;
}

}  // namespace

DecimalCommaLocale::DecimalCommaLocale()
    : before_(std::locale::global(std::locale(std::locale::classic(), new DecimalComma))),
      cLocaleBefore_(std::setlocale(LC_ALL, nullptr)) {
    if (!useCLocaleWithComma()) {
        std::cout << "[   NOTE   ] No installed C locale has a decimal comma: only the C++ locale "
                     "has one in this test."
                  << std::endl;
    }
}

DecimalCommaLocale::~DecimalCommaLocale() {
    std::locale::global(before_);
    std::setlocale(LC_ALL, cLocaleBefore_.c_str());
}

bool DecimalCommaLocale::changesStreams() const {
    std::ostringstream out;
    out << 1234.5;
    return out.str() == "1.234,5";
}

}  // namespace tolvaran::tests
