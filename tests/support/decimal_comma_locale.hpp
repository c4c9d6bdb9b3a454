// A locale in which numbers look different, to test that text does not follow the user's region.
#pragma once

#include <locale>
#include <string>

namespace tolvaran::tests {

/// For its lifetime, numbers have a decimal comma and dots between thousands: in C++ streams
/// always, through a facet of its own; in C functions if a common locale of such a region is
/// installed. Prints a note if none is, since then only the streams are tested.
class DecimalCommaLocale {
  public:
    DecimalCommaLocale();
    ~DecimalCommaLocale();
    DecimalCommaLocale(const DecimalCommaLocale&) = delete;
    DecimalCommaLocale& operator=(const DecimalCommaLocale&) = delete;

    /// Whether a stream created now writes 1234.5 as "1.234,5".
    bool changesStreams() const;

  private:
    std::locale before_;
    std::string cLocaleBefore_;
};

}  // namespace tolvaran::tests
