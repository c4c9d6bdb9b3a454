// CFUUID. With the virtual clock new UUIDs come from a fixed sequence that reset() starts again;
// with the real clock they are random.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <random>
#include <string>

#include "simulator/core_foundation/json.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/core_foundation/uuid.hpp"
#include "simulator/faults/faults.hpp"
#include "simulator/loop/clock.hpp"
#include "simulator/on_reset.hpp"

namespace simulator::cf {
namespace {

using Bytes = std::array<std::uint8_t, 16>;

constexpr std::string_view form = "XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX";

struct UUID final : Value {
    explicit UUID(const Bytes& content) : bytes(content) {}
    bool equals(const Value& other) const override {
        return bytes == static_cast<const UUID&>(other).bytes;
    }
    CFHashCode hash() const override { return bytes[0]; }

    Bytes bytes;
};

std::mt19937_64& fixedSequence() {
    static std::mt19937_64 generator;
    return generator;
}

Bytes newBytes() {
    static std::random_device device;
    Bytes bytes;
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(clock::isVirtual() ? fixedSequence()() : device());
    }
    bytes[6] = static_cast<std::uint8_t>(0x40 | (bytes[6] & 0x0F));  // version 4: random
    bytes[8] = static_cast<std::uint8_t>(0x80 | (bytes[8] & 0x3F));
    return bytes;
}

CFUUIDRef createFromBytes(const Bytes& bytes) {
    return static_cast<CFUUIDRef>(create(CFUUIDGetTypeID(), std::make_unique<UUID>(bytes)));
}

constexpr std::string_view hexadecimalDigits = "0123456789ABCDEFabcdef";

int digit(char c) {
    return c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
}

/// The byte that two digits give; 0 if either is not a digit.
std::uint8_t pair(char high, char low) {
    const bool areDigits = hexadecimalDigits.find(high) != std::string_view::npos &&
                           hexadecimalDigits.find(low) != std::string_view::npos;
    return areDigits ? static_cast<std::uint8_t>(digit(high) * 16 + digit(low)) : 0;
}

/// Reads as a Mac does, which refuses nothing: it skips what comes before the first digit, and a
/// byte that is not written as two digits is 0.
CFUUIDRef createFromText(std::string_view text) {
    constexpr std::size_t mostRead = 100;
    text = text.substr(0, mostRead);
    std::size_t at = std::min(text.find_first_of(hexadecimalDigits), text.size());
    Bytes bytes{};
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        if (at + 1 < text.size()) {
            bytes[index] = pair(text[at], text[at + 1]);
            at += 2;
        }
        // Any one character separates two groups.
        at += index == 3 || index == 5 || index == 7 || index == 9 ? 1 : 0;
    }
    return createFromBytes(bytes);
}

}  // namespace

bool isUUID(std::string_view text) {
    if (text.size() != form.size()) {
        return false;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool fits = form[i] == 'X' ? std::isxdigit(static_cast<unsigned char>(text[i])) != 0
                                         : text[i] == form[i];
        if (!fits) {
            return false;
        }
    }
    return true;
}

static const OnReset restartUUIDs([] { fixedSequence().seed(); });

}  // namespace simulator::cf

namespace cf = simulator::cf;

CFTypeID CFUUIDGetTypeID() {
    static const CFTypeID type = cf::newType("CFUUID");
    return type;
}

CFUUIDRef CFUUIDCreate(CFAllocatorRef) {
    if (simulator::beginCall("CFUUIDCreate").isNull()) {
        return nullptr;
    }
    return cf::createFromBytes(cf::newBytes());
}

CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef, CFStringRef uuidStr) {
    if (uuidStr == nullptr || simulator::beginCall("CFUUIDCreateFromString").isNull() ||
        CFStringGetLength(uuidStr) == 0) {
        return nullptr;
    }
    return cf::createFromText(cf::text(uuidStr));
}

CFStringRef CFUUIDCreateString(CFAllocatorRef, CFUUIDRef uuid) {
    constexpr std::string_view function = "CFUUIDCreateString";
    if (simulator::beginCall(function).isNull()) {
        return nullptr;
    }
    const cf::Bytes& bytes =
        static_cast<cf::UUID&>(cf::valueOf(uuid, CFUUIDGetTypeID(), function)).bytes;
    std::string text(cf::form);
    std::size_t digits = 0;
    for (char& c : text) {
        if (c == 'X') {
            const int byte = bytes[digits / 2];
            c = "0123456789ABCDEF"[digits++ % 2 == 0 ? byte / 16 : byte % 16];
        }
    }
    return cf::createString(text);
}
