// JSON (RFC 8259) from files and helpers that anybody may have written to.
#pragma once

#include <json/json.h>

#include <optional>
#include <string_view>

namespace kinora::system {

// The value, or nothing when the text is anything but one value: comments, duplicate keys and what follows
// the value are refused, and so is what is nested deeper than `deepest`. An array or object has to be the
// outermost value.
std::optional<Json::Value> ParseStrictJson(std::string_view text, int deepest);

}  // namespace kinora::system
