// The schema, step by step: the files in migrations/, built into the program.
#pragma once

#include <span>
#include <string_view>

namespace kinora::media {

// In their order; the first brings an empty database to schema 1. Each is statements that end with a
// semicolon at the end of a line.
std::span<const std::string_view> Migrations();

}  // namespace kinora::media
