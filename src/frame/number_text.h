// Whole numbers as text in any base, as the stream operators of files write them.
#pragma once

#include <vfile/types.h>

#include <charconv>
#include <string_view>
#include <type_traits>

namespace vfile {

constexpr bool IsRadix(std::int32_t radix) { return 2 <= radix && radix <= 36; }

// Room for the longest of them: 64 digits of base 2. A sign comes in base 10 alone.
struct NumberScratch {
    char digits[64];
};

// The digits of `value` to the base `radix`, 2 to 36, in `scratch`. Lower-case letters above 9; a minus sign
// in base 10 alone, in any other base a negative value shows as the two's complement of its type.
template <class T>
requires(WholeNumber<T, 4> || WholeNumber<T, 8>) std::string_view
    NumberText(NumberScratch& scratch, T value, std::int32_t radix) {
    char* const start = scratch.digits;
    char* const end = start + sizeof scratch.digits;
    auto const written = radix == 10
                             ? std::to_chars(start, end, value)
                             : std::to_chars(start, end, static_cast<std::make_unsigned_t<T>>(value), radix);
    return {start, static_cast<std::size_t>(written.ptr - start)};
}

}  // namespace vfile
