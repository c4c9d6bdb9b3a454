#include "simulator/core_foundation/object.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <vector>

namespace simulator::cf {
namespace {

constexpr std::uint64_t aliveMark = 0x5461726765743f21;
constexpr std::uint64_t deadMark = 0x476f6e6547306e65;

// What a reference points to. It outlives its value, so that a reference used too late is detected.
struct Object {
    std::uint64_t mark = aliveMark;
    CFTypeID type = 0;
    CFIndex references = 1;
    bool constant = false;
    std::unique_ptr<Value> value;
};

// How many of the most recently freed objects are remembered.
constexpr std::size_t graveyardLimit = 65536;

struct Heap {
    std::vector<std::string> typeNames{"nothing"};  // no object has type 0
    std::size_t live = 0;
    std::deque<std::unique_ptr<Object>> graveyard;
};

Heap& heap() {
    static Heap& instance = *new Heap;  // never destroyed: objects may be released at exit
    return instance;
}

std::string nameOf(CFTypeID type) {
    return type < heap().typeNames.size() ? heap().typeNames[type] : "an unknown type";
}

Object& objectOf(CFTypeRef reference, std::string_view function) {
    if (reference == nullptr) {
        misuse(function, "the reference is null");
    }
    if (reinterpret_cast<std::uintptr_t>(reference) % alignof(Object) != 0) {
        misuse(function, "the reference is not to a Core Foundation object");
    }
    auto* const object = static_cast<Object*>(const_cast<void*>(reference));
    if (object->mark == deadMark) {
        misuse(function,
               "the " + nameOf(object->type) + " is gone: its last reference was released");
    }
    if (object->mark != aliveMark) {
        misuse(function, "the reference is not to a Core Foundation object");
    }
    return *object;
}

void bury(Object& object) {
    object.mark = deadMark;
    object.value.reset();
    Heap& all = heap();
    --all.live;
    all.graveyard.emplace_back(&object);
    if (all.graveyard.size() > graveyardLimit) {
        all.graveyard.pop_front();
    }
}

CFTypeRef add(CFTypeID type, std::unique_ptr<Value> value, bool constant) {
    auto object = std::make_unique<Object>();
    object->type = type;
    object->constant = constant;
    object->value = std::move(value);
    return object.release();
}

}  // namespace

CFTypeID newType(std::string name) {
    heap().typeNames.push_back(std::move(name));
    return heap().typeNames.size() - 1;
}

CFTypeRef create(CFTypeID type, std::unique_ptr<Value> value) {
    ++heap().live;
    return add(type, std::move(value), false);
}

CFTypeRef createConstant(CFTypeID type, std::unique_ptr<Value> value) {
    return add(type, std::move(value), true);
}

void makeConstant(CFTypeRef object) {
    Object& found = objectOf(object, "makeConstant");
    heap().live -= found.constant ? 0 : 1;
    found.constant = true;
}

Value& valueOf(CFTypeRef object, CFTypeID type, std::string_view function) {
    Object& found = objectOf(object, function);
    if (found.type != type) {
        misuse(function, "the object is a " + nameOf(found.type) + ", not a " + nameOf(type));
    }
    return *found.value;
}

std::size_t liveObjects() {
    return heap().live;
}

void misuse(std::string_view function, std::string_view what) {
    std::fprintf(stderr, "simulator: %.*s: %.*s\n", static_cast<int>(function.size()),
                 function.data(), static_cast<int>(what.size()), what.data());
    std::abort();
}

}  // namespace simulator::cf

using simulator::cf::objectOf;

const CFAllocatorRef kCFAllocatorDefault = nullptr;

CFTypeRef CFRetain(CFTypeRef cf) {
    auto& object = objectOf(cf, "CFRetain");
    object.references += object.constant ? 0 : 1;
    return cf;
}

void CFRelease(CFTypeRef cf) {
    auto& object = objectOf(cf, "CFRelease");
    if (!object.constant && --object.references == 0) {
        simulator::cf::bury(object);
    }
}

CFIndex CFGetRetainCount(CFTypeRef cf) {
    return objectOf(cf, "CFGetRetainCount").references;
}

CFTypeID CFGetTypeID(CFTypeRef cf) {
    return objectOf(cf, "CFGetTypeID").type;
}

Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2) {
    const auto& first = objectOf(cf1, "CFEqual");
    const auto& second = objectOf(cf2, "CFEqual");
    return &first == &second || (first.type == second.type && first.value->equals(*second.value));
}

CFHashCode CFHash(CFTypeRef cf) {
    return objectOf(cf, "CFHash").value->hash();
}
