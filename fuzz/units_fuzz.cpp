// Unit conversion: every text-to-number form on the input, checked against strtod and strtol
// of the C locale; the formatter checked against snprintf("%.*f"); and the round trip: base units
// written by Base2Str with enough decimals and read back by Str2Base give the same base units.
//
// Input: byte 0 the unit, byte 1 the decimals and trimming, bytes 2 to 5 a coordinate, bytes 6
// and 7 a buffer size, the rest the text.
#include <mortar/sys/SYS_Convert.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

bool SameDouble(double a, double b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// Base2Str into `size` bytes against snprintf of the same value, trimmed as the object does.
void CheckFormat(SYS_Convert const& conv, double base, unsigned size) {
    std::vector<char> ours(size + 8, 'X'), theirs(size + 8, 'X');
    conv.Base2Str(ours.data(), size, base);
    std::snprintf(theirs.data(), size, "%.*f", conv.GetUnitPrecision(), conv.Base2User(base));
    if (size != 0 && conv.IsZeroTrimMode()) SYS_Convert::TrimStrNumber(theirs.data());
    Check(size == 0 ? ours[0] == 'X' : std::strcmp(ours.data(), theirs.data()) == 0);
    Check(std::all_of(ours.begin() + size, ours.end(), [](char c) { return c == 'X'; }));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size < 8) return 0;
    auto const unit = static_cast<SYS_UnitType>(data[0] % 9); // 7 and 8 read the fallback row
    int32_t const precision = static_cast<int32_t>(data[1] % 32) - 2;
    bool const trim = (data[1] & 0x80) != 0;
    uint32_t raw;
    std::memcpy(&raw, data + 2, sizeof raw);
    unsigned const bufferSize = (data[6] | data[7] << 8) % 600;
    std::string const text(reinterpret_cast<char const*>(data) + 8, size - 8);
    char const* const s = text.c_str(); // up to the first NUL, as a C caller would pass it

    SYS_Convert conv(unit);
    conv.SetZeroTrimMode(trim ? 1 : 0);

    // Text to number, against the C library in the C locale (the fuzzer's locale).
    errno = 0;
    char* end;
    double const expected = std::strtod(s, &end);
    bool const parses = *end == '\0' && errno != ERANGE;
    double v = 0;
    Check(SYS_Convert::Str2Double(s, &v) == (parses ? 1 : 0) && SameDouble(v, expected));

    errno = 0;
    long const wide = std::strtol(s, &end, 10);
    bool const inRange = wide >= INT32_MIN && wide <= INT32_MAX && errno != ERANGE;
    int32_t n = 0;
    Check(SYS_Convert::Str2Long(s, &n) == (*end == '\0' && inRange ? 1 : 0));
    Check(n == (wide > INT32_MAX ? INT32_MAX : wide < INT32_MIN ? INT32_MIN : static_cast<int32_t>(wide)));

    int32_t base = 7, measure = 7, angle = 7;
    double baseDouble = 7;
    int const okBase = conv.Str2Base(s, &base);
    Check(okBase == (parses && std::abs(static_cast<int64_t>(conv.User2Base(v))) <= SYS_COORD_LIMIT ? 1 : 0));
    Check(okBase ? base == conv.User2Base(v) : base == 7);
    Check(conv.Str2Base(s, &baseDouble) == (parses ? 1 : 0));
    Check(parses ? SameDouble(baseDouble, conv.User2BaseDouble(v)) : baseDouble == 7);
    Check(conv.Str2Measure(s, &measure) == (parses && !(v < 0) ? 1 : 0));
    Check(conv.Str2Angle(s, &angle) == (parses ? 1 : 0));

    // Number to text, against snprintf, into a buffer of any size.
    conv.SetUnitPrecision(precision);
    CheckFormat(conv, static_cast<int32_t>(raw), bufferSize);
    if (parses) CheckFormat(conv, v, bufferSize);

    // The round trip at full precision: enough decimals that the text lies well within half a
    // base unit of the coordinate.
    int32_t const coordinate = static_cast<int32_t>(raw % (2u * SYS_COORD_LIMIT + 1)) - SYS_COORD_LIMIT;
    conv.SetUnitPrecision(8 + static_cast<int32_t>(data[1] % 12));
    int32_t back = 0;
    Check(conv.Str2Base(conv.Base2Str(coordinate), &back) == 1 && back == coordinate);
    return 0;
}
