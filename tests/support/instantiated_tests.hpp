// Spares every test the instantiation of the templates that nearly all of them use: the comparisons
// and matchers of GoogleTest, and JSON made of literals. Only the precompiled header includes it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// Nothing here is ever called.
namespace tolvaran::tests::instantiated {

using nlohmann::json;

/// Every length of a literal is a type of its own.
template <std::size_t size>
void useLiteral(json& value, const char (&text)[size]) {
    static_assert(std::is_constructible_v<json, const char(&)[size]>);
    value = {text, {text, value}};
}

template <std::size_t... lengths>
void useLiterals(json& value, std::index_sequence<lengths...> /*lengths*/) {
    (useLiteral<lengths + 1>(value, {}), ...);
}

inline void useJson(json& value, const json& other, const std::string& text, const char* literal) {
    useLiterals(value, std::make_index_sequence<28>());
    value = json::parse(literal);
    value = json::parse(text);
    value = json::diff(value, other);
    value = {{text, text}, {"", 1}, {"", 1U}, {"", 1.0}, {"", true}, {"", nullptr}, {"", other}};
    value = std::vector{text};
    value = value.dump();
    value.push_back(other);
    value.update(other);
    value.erase(text);
    value.erase("");
    for (const auto& [key, element] : other.items()) {
        value[key] = element;
    }
    value = {value.value("", 1), value.value("", true), value.value("", text)};
    value = {value.get<int>(), value.get<bool>(), value.get<double>(), value.get<std::string>()};
    EXPECT_EQ(value, other) << value << text;
    EXPECT_NE(value, other);
    EXPECT_EQ(value, true);
    EXPECT_EQ(value, 1);
    EXPECT_EQ(value, 1U);
    EXPECT_EQ(value, nullptr);
}

inline void useMatchers(const std::string& text, const std::vector<std::string>& lines) {
    using namespace testing;
    EXPECT_THAT(text, HasSubstr(""));
    EXPECT_THAT(text, AllOf(HasSubstr(text), Not(HasSubstr(""))));
    EXPECT_THAT(lines, IsEmpty());
    EXPECT_THAT(lines, SizeIs(1));
    EXPECT_THAT(lines, Contains(text));
    EXPECT_THAT(lines, Contains(HasSubstr("")));
    EXPECT_THAT(lines, Not(Contains(HasSubstr(""))));
    EXPECT_THAT(lines, Each(HasSubstr("")));
    EXPECT_THAT(lines, ElementsAre(text));
}

inline void useComparisons(const std::string& text, std::vector<std::string>& lines) {
    lines.insert(lines.end(), lines.begin(), lines.end());
    EXPECT_EQ(lines, lines) << text << lines.size();
    EXPECT_EQ(lines.size(), 1) << "";
    EXPECT_EQ(lines.size(), 1U);
    EXPECT_EQ(text, text);
    EXPECT_EQ(1, 1);
    EXPECT_EQ(1U, 1U);
    EXPECT_EQ(1.0, 1.0);
    EXPECT_EQ(true, false);
    EXPECT_EQ(std::int64_t{1}, 1);
    EXPECT_EQ(std::optional<std::string>(), text);
    EXPECT_EQ(std::optional<std::string>(), std::nullopt);
    EXPECT_EQ(std::optional<int>(), 1);
    EXPECT_EQ(std::optional<int>(), std::nullopt);
    EXPECT_EQ(std::set{text}, std::set{text});
    EXPECT_EQ((std::map<std::string, std::string>()), (std::map<std::string, std::string>()));
    const std::function<void()> nothing = [] {};
    const std::function<void(const std::string&)> print = [](const std::string& /*line*/) {};
    EXPECT_TRUE(nothing && print);
}

}  // namespace tolvaran::tests::instantiated
