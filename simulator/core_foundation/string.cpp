// CFString: text as UTF-16, which is what its lengths and ranges count.

#include <map>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/core_foundation/unicode.hpp"
#include "simulator/faults/faults.hpp"

namespace simulator::cf {
namespace {

struct String final : Value {
    explicit String(std::u16string text) : units(std::move(text)) {}
    bool equals(const Value& other) const override {
        return units == static_cast<const String&>(other).units;
    }
    CFHashCode hash() const override { return std::hash<std::u16string>()(units); }

    std::u16string units;
};

const std::u16string& units(CFStringRef string, std::string_view function) {
    return static_cast<String&>(valueOf(string, CFStringGetTypeID(), function)).units;
}

CFStringRef createFromUnits(std::u16string units) {
    return static_cast<CFStringRef>(
        create(CFStringGetTypeID(), std::make_unique<String>(std::move(units))));
}

void requireEncoding(CFStringEncoding encoding, std::string_view function) {
    if (encoding != kCFStringEncodingUTF8 && encoding != kCFStringEncodingASCII) {
        misuse(function, "the simulator converts UTF-8 and ASCII only");
    }
}

/// Null if the bytes are invalid in the encoding.
CFStringRef createFromBytes(std::string_view function, std::string_view bytes,
                            CFStringEncoding encoding) {
    requireEncoding(encoding, function);
    if (beginCall(function).isNull()) {
        return nullptr;
    }
    if (encoding == kCFStringEncodingASCII) {
        // Bytes above 0x7F stand for the code points with the same values.
        std::u16string text;
        for (const char byte : bytes) {
            text.push_back(static_cast<unsigned char>(byte));
        }
        return createFromUnits(std::move(text));
    }
    // A leading byte order mark is dropped, in an external representation or not.
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (bytes.starts_with(byteOrderMark)) {
        bytes.remove_prefix(byteOrderMark.size());
    }
    std::optional<std::u16string> text = utf16(bytes);
    return text ? createFromUnits(std::move(*text)) : nullptr;
}

/// One code point in the encoding; empty if it cannot be encoded.
std::string encode(const std::optional<CodePoint>& point, CFStringEncoding encoding) {
    if (!point || (encoding == kCFStringEncodingASCII && point->value > 0x7F)) {
        return {};
    }
    return utf8(point->value);
}

struct Conversion {
    std::size_t unitsConverted = 0;
    std::string bytes;
};

/// Converts until the text ends, `limit` bytes are full, or something cannot be encoded.
Conversion convert(std::u16string_view text, CFStringEncoding encoding, std::size_t limit) {
    Conversion result;
    while (result.unitsConverted < text.size()) {
        const char16_t unit = text[result.unitsConverted];
        if (unit <= 0x7F && result.bytes.size() < limit) {  // nearly always, so worth a shorter way
            result.bytes += static_cast<char>(unit);
            ++result.unitsConverted;
            continue;
        }
        const std::optional<CodePoint> point = codePoint(text, result.unitsConverted);
        const std::string bytes = encode(point, encoding);
        if (bytes.empty() || result.bytes.size() + bytes.size() > limit) {
            break;
        }
        result.bytes += bytes;
        result.unitsConverted += point ? point->units : 1;
    }
    return result;
}

}  // namespace

CFStringRef createString(std::string_view utf8) {
    std::optional<std::u16string> text = utf16(utf8);
    if (!text) {
        misuse("createString", "the text is not valid UTF-8");
    }
    return createFromUnits(std::move(*text));
}

std::string text(CFStringRef string) {
    const std::u16string& all = units(string, "text");
    Conversion converted = convert(all, kCFStringEncodingUTF8, std::string::npos);
    std::string bytes = std::move(converted.bytes);
    for (std::size_t at = converted.unitsConverted; at < all.size();) {
        const CodePoint point = codePoint(all, at).value_or(CodePoint{0xFFFD, 1});
        bytes += utf8(point.value);
        at += point.units;
    }
    return bytes;
}

}  // namespace simulator::cf

namespace cf = simulator::cf;

CFTypeID CFStringGetTypeID() {
    static const CFTypeID type = cf::newType("CFString");
    return type;
}

CFStringRef __CFStringMakeConstantString(const char* cStr) {
    static auto& constants = *new std::map<std::string, CFStringRef>;
    CFStringRef& constant = constants[cStr];
    if (constant == nullptr) {
        constant = static_cast<CFStringRef>(cf::createConstant(
            CFStringGetTypeID(), std::make_unique<cf::String>(cf::utf16(cStr).value())));
    }
    return constant;
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean) {
    const std::string_view text(reinterpret_cast<const char*>(bytes),
                                static_cast<std::size_t>(numBytes));
    return cf::createFromBytes("CFStringCreateWithBytes", text, encoding);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef, const UniChar* chars, CFIndex numChars) {
    return cf::createFromUnits(std::u16string(chars, chars + numChars));
}

CFIndex CFStringGetLength(CFStringRef theString) {
    return static_cast<CFIndex>(cf::units(theString, "CFStringGetLength").size());
}

CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding,
                         UInt8 lossByte, Boolean, UInt8* buffer, CFIndex maxBufLen,
                         CFIndex* usedBufLen) {
    constexpr std::string_view function = "CFStringGetBytes";
    const std::u16string_view all = cf::units(theString, function);
    cf::requireEncoding(encoding, function);
    // In UTF-8 only a lone surrogate cannot be encoded, and Apple's loss byte does not replace it.
    if (lossByte != 0 && encoding != kCFStringEncodingUTF8) {
        cf::misuse(function, "the simulator does not support loss bytes");
    }
    const auto start = static_cast<std::size_t>(range.location);
    const auto length = static_cast<std::size_t>(range.length);
    if (range.location < 0 || range.length < 0 || start > all.size() ||
        length > all.size() - start) {
        cf::misuse(function, "the range is outside the string");
    }
    const std::size_t limit =
        buffer == nullptr ? std::string::npos : static_cast<std::size_t>(maxBufLen);
    const cf::Conversion result = cf::convert(all.substr(start, length), encoding, limit);
    if (buffer != nullptr) {
        result.bytes.copy(reinterpret_cast<char*>(buffer), result.bytes.size());
    }
    if (usedBufLen != nullptr) {
        *usedBufLen = static_cast<CFIndex>(result.bytes.size());
    }
    return static_cast<CFIndex>(result.unitsConverted);
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
    constexpr std::string_view function = "CFStringGetCString";
    const std::u16string& all = cf::units(theString, function);
    cf::requireEncoding(encoding, function);
    const cf::Conversion result = cf::convert(all, encoding, std::string::npos);
    if (result.unitsConverted != all.size() ||
        static_cast<CFIndex>(result.bytes.size()) >= bufferSize) {
        return false;
    }
    result.bytes.copy(buffer, result.bytes.size());
    buffer[result.bytes.size()] = '\0';
    return true;
}
