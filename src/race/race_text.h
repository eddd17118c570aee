// Fixed text fields of a frame as views: cut at the terminator, and at the field's end where a
// frame brings none.
#pragma once
#include <cstddef>
#include <cstring>
#include <string_view>

namespace vt {

template <size_t N>
std::string_view textOf(const char (&field)[N]) {
    return {field, strnlen(field, N - 1)};
}

} // namespace vt
