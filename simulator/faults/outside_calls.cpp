#include "simulator/faults/outside_calls.hpp"

#include <cerrno>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <stdexcept>

#include "simulator/core_foundation/uuid.hpp"
#include "simulator/host/errno_names.hpp"
#include "simulator/machine/mac_json.hpp"

namespace simulator {
namespace {

using nlohmann::json;
using Read = json (*)(const JsonReader& result);

namespace readers {

template <typename Integer>
json integer(const JsonReader& result) {
    return result.value().is_boolean() ? json(result.boolean() ? 1 : 0)
                                       : json(result.integer<Integer>());
}

json int32(const JsonReader& result) {
    return integer<std::int32_t>(result);
}

json uint32(const JsonReader& result) {
    return integer<std::uint32_t>(result);
}

json seconds(const JsonReader& result) {
    return result.number();
}

json boolean(const JsonReader& result) {
    if (result.value() == 0 || result.value() == 1) {
        return result.value() == 1;
    }
    return result.boolean();
}

json nothing(const JsonReader& result) {
    result.fail("must be left out: the function returns nothing that a fault can choose");
}

/// For a function whose other results cannot be written down.
json null(const JsonReader& result) {
    if (!result.isNull() && result.value() != 0 && result.value() != false) {
        result.fail("must be null");
    }
    return nullptr;
}

json textOrNull(const JsonReader& result) {
    return result.isNull() ? json(nullptr) : json(result.text());
}

json uuidOrNull(const JsonReader& result) {
    if (!result.isNull() && !cf::isUUID(result.text())) {
        result.fail("must be a UUID in the form 8-4-4-4-12, or null");
    }
    return result.value();
}

json propertyListOrNull(const JsonReader& result) {
    if (!result.isNull()) {
        requirePropertyList(result);
    }
    return result.value();
}

json noBundlesOrNull(const JsonReader& result) {
    if (!result.isNull() && result.value() != json::array()) {
        result.fail("must be an empty list, or null");
    }
    return result.value();
}

json rectangle(const JsonReader& result) {
    for (const JsonReader& element : result.elements(4)) {
        element.number();
    }
    return result.value();
}

json error(const JsonReader& result) {
    if (result.value().is_number()) {
        return result.integer<int>(1);
    }
    const auto code = errorCode(result.text());
    if (!code) {
        result.fail("is not the name of an error that the simulator knows");
    }
    return *code;
}

json errorOrNull(const JsonReader& result) {
    return result.isNull() ? json(EIO) : error(result);
}

json errorOrBytes(const JsonReader& result) {
    if (!result.value().is_object()) {
        return error(result);
    }
    result.requireKeys({"bytes"});
    return {{"bytes", result.at("bytes").integer<std::int64_t>(0)}};
}

}  // namespace readers

namespace forms {

using Forms = std::vector<json>;

Forms operator+(Forms first, const Forms& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Forms results(const Forms& values) {
    Forms all;
    for (const json& value : values) {
        all.push_back({{"result", value}});
    }
    return all;
}

/// Failures that are reported although the call has had its effect.
Forms resultsAfterEffect(const Forms& values) {
    Forms all;
    for (const json& value : values) {
        all.push_back({{"result", value}, {"effect", true}});
    }
    return all;
}

Forms errors(std::initializer_list<const char*> names) {
    return results(Forms(names.begin(), names.end()));
}

Forms errorsAfterEffect(std::initializer_list<const char*> names) {
    return resultsAfterEffect(Forms(names.begin(), names.end()));
}

/// A read or write that moves only this many bytes.
Forms shortTransfers(std::initializer_list<int> sizes) {
    Forms all;
    for (const int size : sizes) {
        all.push_back({{"result", {{"bytes", size}}}});
    }
    return all;
}

const Forms alwaysSucceeds;
const Forms looking = errors({"ENOENT", "EACCES", "EIO", "EMFILE", "ENFILE", "EINTR", "ELOOP"});
const Forms changing = errors({"ENOENT", "EACCES", "EIO", "ENOSPC", "EINTR", "EROFS", "EDQUOT"});
const Forms displayErrors = results({1000, 1001, 1004});
const Forms registryErrors = results({-536870212, -536870208});
const Forms returnsNull = results({nullptr});
// The call reports success, or has no way to report anything, and does nothing.
const Forms withoutEffect{json{{"effect", false}}};

}  // namespace forms

struct OutsideCall {
    Read readResult;
    std::vector<json> failures;
};

using Table = std::map<std::string, OutsideCall>;

// Not written out in readTable(): a hundred inlined insertions take seconds to compile.
void add(Table& table, const char* function, Read readResult, const forms::Forms& failures) {
    table[function] = {readResult, failures};
}

Table readTable() {
    using namespace forms;
    Table table;
#define APPLE_CALL(function, result, ...) add(table, #function, readers::result, __VA_ARGS__);
#define HOST_CALL APPLE_CALL
#include "simulator/faults/outside_calls.def"
#undef HOST_CALL
#undef APPLE_CALL
    return table;
}

const Table& table() {
    static const auto& all = *new std::map(readTable());
    return all;
}

}  // namespace

bool canFail(const std::string& function) {
    return table().contains(function);
}

json readFaultResult(const std::string& function, const JsonReader& result) {
    return table().at(function).readResult(result);
}

const std::vector<json>& failureForms(const std::string& function) {
    const auto call = table().find(function);
    if (call == table().end()) {
        throw std::out_of_range("the table of outside calls has no " + function);
    }
    return call->second.failures;
}

std::vector<std::string> outsideFunctions() {
    std::vector<std::string> names;
    for (const auto& [name, call] : table()) {
        names.push_back(name);
    }
    return names;
}

}  // namespace simulator
