// Builds the parts of a description: a value that could not be read leaves a note instead.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tolvaran::describe {

using Notes = std::vector<std::string>;

/// One object of the description.
class Section {
  public:
    /// @param path the object's place, "" for the whole description
    /// @param notes takes a line for each key left out; must outlive the section
    Section(std::string path, Notes& notes) : path_(std::move(path)), notes_(notes) {}

    /// Sets the key, or notes why it is left out.
    template <typename T>
    void put(const std::string& key, const std::optional<T>& value, const std::string& why) {
        if (value) {
            object_[key] = *value;
        } else {
            leaveOut(key, why);
        }
    }
    void put(const std::string& key, nlohmann::json value) { object_[key] = std::move(value); }

    void leaveOut(const std::string& key, const std::string& why) {
        note(key, "is left out: " + why);
    }
    void note(const std::string& key, const std::string& what) {
        notes_.push_back(pathOf(key) + " " + what);
    }

    /// The section for `key`.
    Section below(const std::string& key) { return Section(pathOf(key), notes_); }

    /// The object so far.
    const nlohmann::json& object() const { return object_; }

  private:
    std::string pathOf(const std::string& key) const {
        return path_.empty() ? key : path_ + "." + key;
    }

    std::string path_;
    Notes& notes_;
    nlohmann::json object_ = nlohmann::json::object();
};

}  // namespace tolvaran::describe
