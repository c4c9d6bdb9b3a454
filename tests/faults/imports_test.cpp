// Every outside function that the product calls can be made to fail; all other fault tests rest on
// that. The functions are read from the libraries, so a new call is included automatically.
#include <cxxabi.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "simulator/faults/outside_calls.hpp"
#include "tests/faults/fault_run.hpp"
#include "tests/faults/torture.hpp"

namespace tolvaran::tests {
namespace {

using Names = std::set<std::string>;

/// The first word of every line that a command prints.
Names firstWords(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.c_str(), "r"), pclose);
    Names words;
    std::array<char, 4096> line;
    while (output && std::fgets(line.data(), line.size(), output.get()) != nullptr) {
        const std::string text(line.data());
        words.insert(text.substr(0, text.find_first_of(" \n")));
    }
    return words;
}

Names symbols(const std::string& which, const std::string& libraries) {
    return firstWords(std::string(TOLVARAN_NM) + " -P " + which + " " + libraries +
                      " 2>/dev/null | grep -v ':$'");
}

std::string readable(const std::string& symbol) {
    int status = 0;
    const std::unique_ptr<char, void (*)(void*)> text(
        abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status), std::free);
    return text ? text.get() : symbol;
}

bool startsWithOneOf(const std::string& text, const std::vector<std::string>& beginnings) {
    return std::ranges::any_of(beginnings,
                               [&](const std::string& start) { return text.starts_with(start); });
}

/// In the C++ library only files, time and threads reach the outside.
bool isPlainCxx(const std::string& text) {
    static const std::vector<std::string> outside{
        "filesystem", "filebuf", "fstream", "thread", "chrono", "random_device", "system("};
    const bool isLibrary =
        startsWithOneOf(text,
                        {"std::", "operator new", "operator delete", "typeinfo for ", "vtable for ",
                         "VTT for ", "__cxxabiv1::", "__gnu_cxx::", "construction vtable"}) ||
        text.find(" std::") != std::string::npos;
    return isLibrary && std::ranges::none_of(outside, [&](const std::string& word) {
               return text.find(word) != std::string::npos;
           });
}

/// Functions that cannot fail, or fail only because of their arguments, by reason.
const std::map<std::string, Names>& harmless() {
    static const std::map<std::string, Names> table{
        {"works on memory and numbers alone",
         {"bcmp",   "floor",   "ldexp",  "llround", "lround",   "localeconv", "memchr", "memcmp",
          "memcpy", "memmove", "memset", "round",   "roundf",   "snprintf",   "strcmp", "strftime",
          "strlen", "strtod",  "strtol", "strtoll", "strtoull", "trunc"}},
        {"describes the process itself, and cannot fail",
         {"_NSGetArgc", "_NSGetArgv", "__errno_location", "getenv", "getuid"}},
        {"ends the program", {"abort", "__assert_fail"}},
        {"is the process's own, and never destroyed while in use",
         {"pthread_mutex_lock", "pthread_mutex_unlock"}},
        {"reads an object at hand; whether it fails depends on the object",
         {"CFArrayGetCount", "CFArrayGetTypeID", "CFArrayGetValueAtIndex", "CFBooleanGetTypeID",
          "CFBooleanGetValue", "CFDictionaryGetCount", "CFDictionaryGetKeysAndValues",
          "CFDictionaryGetTypeID", "CFDictionaryGetValue", "CFGetTypeID", "CFNumberGetTypeID",
          "CFNumberGetValue", "CFNumberIsFloatType", "CFStringGetBytes", "CFStringGetLength",
          "CFStringGetTypeID"}},
        {"calculates",
         {"CGPointEqualToPoint", "CGRectGetMaxX", "CGRectGetMaxY", "CGRectGetMinX", "CGRectGetMinY",
          "CGRectGetWidth", "CGRectIsEmpty", "dispatch_time"}},
        {"changes or releases an object at hand, and returns no failure",
         {"CFRelease", "CFRetain", "dispatch_release", "dispatch_resume", "dispatch_set_context",
          "dispatch_set_finalizer_f", "dispatch_source_cancel",
          "dispatch_source_set_event_handler_f"}},
        {"is always there: the one notification center, the one main queue",
         {"CFNotificationCenterGetDistributedCenter", "dispatch_get_main_queue"}},
        {"is a constant",
         {"CGPointZero", "__CFStringMakeConstantString", "_dispatch_source_type_proc",
          "_dispatch_source_type_timer", "kCFAbsoluteTimeIntervalSince1970", "kCFAllocatorDefault",
          "kCFBooleanFalse", "kCFBooleanTrue", "kCFPreferencesAnyApplication",
          "kCFPreferencesAnyHost", "kCFPreferencesCurrentUser", "kCFTypeDictionaryKeyCallBacks",
          "kCFTypeDictionaryValueCallBacks", "kIOMainPortDefault"}},
        {"performs the product's own code",
         {"tolvaran::workspace::runEventLoop", "tolvaran::workspace::withAutoreleasePool"}},
    };
    return table;
}

bool isHarmless(const std::string& name) {
    return std::ranges::any_of(harmless(),
                               [&](const auto& row) { return row.second.contains(name); });
}

bool belongsToTheToolchain(const std::string& symbol) {
    return startsWithOneOf(
        symbol, {"__asan_", "__ubsan_", "__sanitizer_", "__lsan_", "__cxa_", "__gxx_", "_Unwind_",
                 "__gcov_", "__llvm_", "__stack_chk", "__dso_handle", "__libc_single_threaded",
                 "_GLOBAL_OFFSET_TABLE_", "__start___", "__stop___"});
}

/// The functions that the product calls but does not define, except those that cannot fail. C++
/// functions are named without their arguments.
Names outsideFunctions() {
    const Names own = symbols("--defined-only", TOLVARAN_PRODUCT_LIBRARIES);
    Names functions;
    for (const std::string& symbol : symbols("-u", TOLVARAN_PRODUCT_LIBRARIES)) {
        if (own.contains(symbol) || belongsToTheToolchain(symbol)) {
            continue;
        }
        const std::string text = readable(symbol);
        const std::string name = text.substr(0, text.find('('));
        if (!isHarmless(name) && !(text != symbol && isPlainCxx(text))) {
            functions.insert(name);
        }
    }
    return functions;
}

/// The function's name in faults; the workspace's functions stand for Apple's own.
std::string plainName(const std::string& function) {
    const std::string workspace = "tolvaran::workspace::";
    if (function == workspace + "prohibitActivation") {
        return "setActivationPolicy";
    }
    return function.starts_with(workspace) ? function.substr(workspace.size()) : function;
}

TEST(Imports, AreFound) {
    const Names found = outsideFunctions();
    for (const char* const name :
         {"open", "rename", "CGGetActiveDisplayList", "tolvaran::workspace::observeWakes"}) {
        EXPECT_TRUE(found.contains(name)) << name;
    }
}

TEST(Imports, CanAllBeMadeToFail) {
    for (const std::string& function : outsideFunctions()) {
        EXPECT_TRUE(simulator::canFail(plainName(function)))
            << function << " is called, but nothing says how it fails, or that it cannot";
    }
}

TEST(Imports, EveryHarmlessFunctionIsStillCalled) {
    Names called;
    for (const std::string& symbol : symbols("-u", TOLVARAN_PRODUCT_LIBRARIES)) {
        const std::string text = readable(symbol);
        called.insert(text.substr(0, text.find('(')));
    }
    // These depend on the compiler and its settings.
    const Names optional{"memchr",  "memcmp",   "memmove",    "memset", "strlen",        "strcmp",
                         "floor",   "trunc",    "roundf",     "round",  "__assert_fail", "ldexp",
                         "memcpy",  "snprintf", "localeconv", "strtod", "strtoll",       "strtoull",
                         "llround", "lround",   "bcmp"};
    for (const auto& [reason, names] : harmless()) {
        for (const std::string& name : names) {
            EXPECT_TRUE(called.contains(name) || optional.contains(name)) << name << " " << reason;
        }
    }
}

/// Functions that are known although no story calls them: the tests on a real Mac do.
const Names uncalled{"CFArrayCreate", "CGCancelDisplayConfiguration", "CGDisplayIsActive",
                     "CGDisplayRemoveReconfigurationCallback"};

TEST(Imports, EveryKnownFunctionIsCalledInSomeStory) {
    Names called;
    for (const Story& story : stories()) {
        const Trial trial(story);
        for (const Call& call : trial.calm().calls) {
            called.insert(call.function);
        }
    }
    const std::vector<std::string> known = simulator::outsideFunctions();
    for (const std::string& function : known) {
        EXPECT_NE(called.contains(function), uncalled.contains(function)) << function;
    }
    addStatistics({{"outside calls known", known.size() - uncalled.size()}});
}

}  // namespace
}  // namespace tolvaran::tests
