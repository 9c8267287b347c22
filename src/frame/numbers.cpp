#include <vfile/halt.h>
#include <vfile/numbers.h>

namespace vfile {

std::int16_t Short(std::int32_t x) {
    if (x >= 0 && HI(x) != 0) Fatal(u"HSys", 1);
    if (x < 0 && HI(x) != 0xFFFF) Fatal(u"HSys", 2);
    return static_cast<std::int16_t>(LO(x));
}

std::uint16_t ShortC(std::int32_t x) {
    if (HI(x) != 0) Fatal(u"HSys", 3);
    return LO(x);
}

std::int32_t LongTrunc(double x) {
    if (x < 0) return -LongTrunc(-x);  // so the lower bound is -MaxLen too
    if (x > MaxLen) return MaxLen;
    return x == x ? static_cast<std::int32_t>(x) : 0;  // a NaN is the one value that differs from itself
}

}  // namespace vfile
