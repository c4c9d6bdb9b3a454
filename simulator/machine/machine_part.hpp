// How a device gives the machine a part of its own: the state under one key of `mac`, how it is
// read and how it is written. So a new part needs no change outside the device's source.
#pragma once

#include <any>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "simulator/machine/json_reader.hpp"
#include "simulator/machine/machine.hpp"

namespace simulator {

struct PartFormat {
    std::string key;
    std::any initial;  // the state if `mac` does not have the key
    std::function<void(const JsonReader&, std::any& state)> read;
    std::function<nlohmann::json(const std::any& state)> write;
};

/// Adds a part to the present machine and to all later ones.
void addPart(PartFormat format);

const std::vector<PartFormat>& partFormats();

/// Defined once at namespace scope, in the source of the device that has the state.
template <typename State>
class MachinePart {
  public:
    /// @param read  changes the state by what is given, as in "set"; throws what JsonReader throws
    /// @param write gives the state in the form that `read` takes
    MachinePart(const char* key, void (*read)(const JsonReader&, State&),
                nlohmann::json (*write)(const State&))
        : key_(key) {
        addPart({.key = key,
                 .initial = State{},
                 .read = [read](const JsonReader& value,
                                std::any& state) { read(value, std::any_cast<State&>(state)); },
                 .write =
                     [write](const std::any& state) {
                         return write(std::any_cast<const State&>(state));
                     }});
    }

    /// The present machine's.
    State& state() const { return std::any_cast<State&>(mac().parts.at(key_)); }

  private:
    std::string key_;
};

}  // namespace simulator
