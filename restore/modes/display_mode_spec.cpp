#include "restore/modes/display_mode_spec.hpp"

#include <cmath>
#include <numeric>

#include "restore/support/text.hpp"

namespace tolvaran {
namespace {

// Written as bytes, so that the log does not depend on the compiler's source character set.
constexpr const char* multiplicationSign = "\xC3\x97";   // U+00D7
constexpr const char* almostEqualSign = "\xE2\x89\x88";  // U+2248

constexpr double wideRatio = 16.0 / 9.0;
constexpr double wideTolerance = 0.005;  // relative; lets 1366 × 768 in, the usual "16:9" panel
constexpr double ultraWideMinimum = 2.3;
constexpr double ultraWideMaximum = 2.42;
constexpr std::int64_t greatestReadableTerm = 99;

}  // namespace

bool DisplayModeSpec::isValid() const {
    return width > 0 && height > 0 && hz >= 0;
}

std::string DisplayModeSpec::displayString() const {
    const std::string size =
        std::to_string(width) + " " + multiplicationSign + " " + std::to_string(height);
    return hz >= 1 ? size + " @ " + std::to_string(hz) + " Hz" : size;
}

std::string DisplayModeSpec::logDescription() const {
    return displayString() + (scaled ? " HiDPI" : "");
}

std::string DisplayModeSpec::aspectRatioString() const {
    if (width < 1 || height < 1) {
        return "";
    }
    const std::int64_t divisor = std::gcd(width, height);
    const std::int64_t w = width / divisor;
    const std::int64_t h = height / divisor;
    const double ratio = static_cast<double>(width) / static_cast<double>(height);
    if (w == 8 && h == 5) {
        return "16:10";
    }
    if (std::fabs(ratio - wideRatio) / wideRatio <= wideTolerance) {
        return std::string(w == 16 && h == 9 ? "" : almostEqualSign) + "16:9";
    }
    if (ratio >= ultraWideMinimum && ratio <= ultraWideMaximum) {
        return std::string(almostEqualSign) + "21:9";
    }
    if (w > greatestReadableTerm || h > greatestReadableTerm) {
        return text::fixed(ratio, 2) + ":1";
    }
    return std::to_string(w) + ":" + std::to_string(h);
}

}  // namespace tolvaran

std::size_t std::hash<tolvaran::DisplayModeSpec>::operator()(
    const tolvaran::DisplayModeSpec& spec) const noexcept {
    std::size_t seed = 0;
    for (const std::int64_t field : {spec.width, spec.height, std::int64_t{spec.scaled}, spec.hz}) {
        // The golden ratio's bits spread small numbers, such as sizes, over the whole word.
        seed ^= std::hash<std::int64_t>{}(field) + 0x9E3779B9U + (seed << 6U) + (seed >> 2U);
    }
    return seed;
}
