// Spares every source the instantiation of the JSON library's templates, which is in
// instantiated_json.cpp. Only precompiled headers include it.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// The templates that nearly everything uses, each behind `how`: "extern template" or "template".
// Not nlohmann::json itself: most of its members are never used, and instantiating them all takes
// as long as instantiating the others wherever they are used. Some are the library's own, in its
// namespace `detail`: what parses strings and literals.
#define TOLVARAN_INSTANTIATE_JSON(how)                                                    \
    how class std::basic_string<char>;                                                    \
    how class std::vector<nlohmann::json>;                                                \
    how class std::map<std::string, nlohmann::json, nlohmann::json::object_comparator_t>; \
    how class nlohmann::detail::json_sax_dom_parser<nlohmann::json>;                      \
    how class nlohmann::detail::json_sax_dom_callback_parser<nlohmann::json>;             \
    TOLVARAN_INSTANTIATE_JSON_PARSER(how, std::string::const_iterator)                    \
    TOLVARAN_INSTANTIATE_JSON_PARSER(how, const char*)

#define TOLVARAN_INSTANTIATE_JSON_PARSER(how, Iterator)                                    \
    how class nlohmann::detail::iterator_input_adapter<Iterator>;                          \
    how class nlohmann::detail::lexer<nlohmann::json,                                      \
                                      nlohmann::detail::iterator_input_adapter<Iterator>>; \
    how class nlohmann::detail::parser<nlohmann::json,                                     \
                                       nlohmann::detail::iterator_input_adapter<Iterator>>;

TOLVARAN_INSTANTIATE_JSON(extern template)
