// CFDictionary, immutable and mutable. It is small and searched from the front, so its order is the
// order of insertion and every run is the same.

#include <algorithm>
#include <vector>

#include "simulator/core_foundation/containers.hpp"
#include "simulator/core_foundation/object.hpp"
#include "simulator/faults/faults.hpp"

namespace simulator::cf {
namespace {

struct Entry {
    const void* key;
    const void* value;
};

struct Dictionary final : Value {
    Dictionary(bool canChange, const CFDictionaryKeyCallBacks* keyCallBacks,
               const CFDictionaryValueCallBacks* valueCallBacks)
        : isMutable(canChange),
          keys(keyCallBacks != nullptr ? *keyCallBacks : CFDictionaryKeyCallBacks{}),
          values(valueCallBacks != nullptr ? *valueCallBacks : CFDictionaryValueCallBacks{}) {}
    ~Dictionary() override {
        for (const Entry& entry : entries) {
            drop(keys, entry.key);
            drop(values, entry.value);
        }
    }

    bool equals(const Value& other) const override {
        const auto& dictionary = static_cast<const Dictionary&>(other);
        if (entries.size() != dictionary.entries.size()) {
            return false;
        }
        return std::all_of(entries.begin(), entries.end(), [&](const Entry& entry) {
            const Entry* const match = dictionary.find(entry.key);
            return match != nullptr && same(values.equal, entry.value, match->value);
        });
    }
    CFHashCode hash() const override { return entries.size(); }

    const Entry* find(const void* key) const {
        for (const Entry& entry : entries) {
            if (same(keys.equal, entry.key, key)) {
                return &entry;
            }
        }
        return nullptr;
    }

    void add(const void* key, const void* value) {
        entries.push_back({keep(keys, key), keep(values, value)});
    }

    void replace(const Entry& entry, const void* value) {
        const void* const kept = keep(values, value);
        drop(values, entry.value);
        entries[static_cast<std::size_t>(&entry - entries.data())].value = kept;
    }

    bool isMutable;
    CFDictionaryKeyCallBacks keys;
    CFDictionaryValueCallBacks values;
    std::vector<Entry> entries;

  private:
    static bool same(CFDictionaryEqualCallBack equal, const void* a, const void* b) {
        return a == b || (equal != nullptr && equal(a, b) != 0);
    }
    template <typename CallBacks>
    static const void* keep(const CallBacks& callBacks, const void* object) {
        return callBacks.retain != nullptr ? callBacks.retain(kCFAllocatorDefault, object) : object;
    }
    template <typename CallBacks>
    static void drop(const CallBacks& callBacks, const void* object) {
        if (callBacks.release != nullptr) {
            callBacks.release(kCFAllocatorDefault, object);
        }
    }
};

Dictionary& dictionaryOf(CFDictionaryRef dictionary, std::string_view function) {
    return static_cast<Dictionary&>(valueOf(dictionary, CFDictionaryGetTypeID(), function));
}

CFMutableDictionaryRef createMutable(const CFDictionaryKeyCallBacks* keyCallBacks,
                                     const CFDictionaryValueCallBacks* valueCallBacks) {
    return static_cast<CFMutableDictionaryRef>(const_cast<void*>(
        create(CFDictionaryGetTypeID(),
               std::make_unique<Dictionary>(true, keyCallBacks, valueCallBacks))));
}

}  // namespace

CFMutableDictionaryRef createDictionary() {
    return createMutable(&kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
}

}  // namespace simulator::cf

namespace cf = simulator::cf;

const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks{
    0,
    [](CFAllocatorRef, const void* key) { return CFRetain(key); },
    [](CFAllocatorRef, const void* key) { CFRelease(key); },
    nullptr,
    CFEqual,
    CFHash};
const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks{
    0, [](CFAllocatorRef, const void* value) { return CFRetain(value); },
    [](CFAllocatorRef, const void* value) { CFRelease(value); }, nullptr, CFEqual};

CFTypeID CFDictionaryGetTypeID() {
    static const CFTypeID type = cf::newType("CFDictionary");
    return type;
}

CFDictionaryRef CFDictionaryCreate(CFAllocatorRef, const void** keys, const void** values,
                                   CFIndex numValues, const CFDictionaryKeyCallBacks* keyCallBacks,
                                   const CFDictionaryValueCallBacks* valueCallBacks) {
    if (simulator::beginCall("CFDictionaryCreate").isNull()) {
        return nullptr;
    }
    auto dictionary = std::make_unique<cf::Dictionary>(false, keyCallBacks, valueCallBacks);
    for (CFIndex i = 0; i < numValues; ++i) {
        if (dictionary->find(keys[i]) == nullptr) {
            dictionary->add(keys[i], values[i]);
        }
    }
    return static_cast<CFDictionaryRef>(cf::create(CFDictionaryGetTypeID(), std::move(dictionary)));
}

void CFDictionarySetValue(CFMutableDictionaryRef theDict, const void* key, const void* value) {
    constexpr std::string_view function = "CFDictionarySetValue";
    cf::Dictionary& dictionary = cf::dictionaryOf(theDict, function);
    if (!dictionary.isMutable) {
        cf::misuse(function, "the dictionary is immutable");
    }
    if (const cf::Entry* const entry = dictionary.find(key)) {
        dictionary.replace(*entry, value);
    } else {
        dictionary.add(key, value);
    }
}

CFIndex CFDictionaryGetCount(CFDictionaryRef theDict) {
    return static_cast<CFIndex>(cf::dictionaryOf(theDict, "CFDictionaryGetCount").entries.size());
}

const void* CFDictionaryGetValue(CFDictionaryRef theDict, const void* key) {
    const cf::Entry* const entry = cf::dictionaryOf(theDict, "CFDictionaryGetValue").find(key);
    return entry != nullptr ? entry->value : nullptr;
}

Boolean CFDictionaryGetValueIfPresent(CFDictionaryRef theDict, const void* key,
                                      const void** value) {
    const cf::Entry* const entry =
        cf::dictionaryOf(theDict, "CFDictionaryGetValueIfPresent").find(key);
    if (entry != nullptr && value != nullptr) {
        *value = entry->value;
    }
    return entry != nullptr;
}

void CFDictionaryGetKeysAndValues(CFDictionaryRef theDict, const void** keys, const void** values) {
    CFIndex i = 0;
    for (const cf::Entry& entry :
         cf::dictionaryOf(theDict, "CFDictionaryGetKeysAndValues").entries) {
        if (keys != nullptr) {
            keys[i] = entry.key;
        }
        if (values != nullptr) {
            values[i] = entry.value;
        }
        ++i;
    }
}
