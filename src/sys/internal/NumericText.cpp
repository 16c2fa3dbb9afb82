#include "NumericText.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <locale.h>

namespace mortar {
namespace {

// The C locale as an object, made once and kept for the life of the process; the "_l" forms of
// the C library take it in place of the thread's locale.
locale_t CLocale() {
    static locale_t const c = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return c;
}

// The exact decimal expansion of every double ends within this many decimals (2^-1074 has
// 1074), so "%.*f" with more decimals only appends zeros.
constexpr int kExactDecimals = 1074;

// Room for the longest such expansion: a sign, 309 integer digits, the point, the decimals.
constexpr int kLongestFixed = 1 + 309 + 1 + kExactDecimals;

// The short form: values below 2^33 in magnitude with at most 9 decimals, which covers every
// coordinate in every unit at the usual precisions. Such a value is m * 2^e with a 53-bit m, so
// value * 10^decimals is m * 10^decimals (below 2^83) shifted right by -e: its integer part and
// the remainder decide the rounding exactly, an exact tie going to even as in "%.*f". Writes
// the text with its terminator into `out` (at least kShortRoom bytes) and returns its length;
// returns -1 when the value is outside the short form.
constexpr int kShortDecimals = 9;
constexpr int kShortRoom = 1 + 20 + 1 + kShortDecimals + 1;
constexpr uint64_t kPowers10[kShortDecimals + 1] = {1,      10,      100,      1000,      10000,
                                                    100000, 1000000, 10000000, 100000000, 1000000000};

int FormatShortFixed(char* out, double value, int decimals) {
    __extension__ typedef unsigned __int128 Wide;
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    int const biased = static_cast<int>(bits >> 52 & 0x7FF);
    uint64_t const fraction = bits & ((uint64_t{1} << 52) - 1);
    if (biased >= 1023 + 33 || (biased == 0 && fraction != 0)) return -1; // large, inf, NaN, subnormal
    uint64_t n = 0; // the value times 10^decimals, rounded
    if (biased != 0) {
        int const shift = 1075 - biased; // value = (fraction + 2^52) * 2^-shift, shift >= 20
        Wide const scaled = static_cast<Wide>(fraction | uint64_t{1} << 52) * kPowers10[decimals];
        if (shift < 84) { // otherwise scaled < 2^83 <= half: rounds to 0
            n = static_cast<uint64_t>(scaled >> shift);
            Wide const rest = scaled & ((Wide{1} << shift) - 1);
            Wide const half = Wide{1} << (shift - 1);
            if (rest > half || (rest == half && (n & 1) != 0)) ++n;
        }
    }
    char* p = out;
    if (bits >> 63 != 0) *p++ = '-'; // as printf: -0.0 and values that round to 0 keep the sign
    p = std::to_chars(p, out + kShortRoom, n / kPowers10[decimals]).ptr;
    if (decimals > 0) {
        *p++ = '.';
        uint64_t rest = n % kPowers10[decimals];
        for (int i = decimals - 1; i >= 0; --i, rest /= 10)
            p[i] = static_cast<char>('0' + rest % 10);
        p += decimals;
    }
    *p = '\0';
    return static_cast<int>(p - out);
}

// Powers of ten that a double holds exactly.
constexpr double kExactPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                   1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// The plain decimal texts that numbers are usually typed and written in: an optional sign, digits
// and at most one point, nothing else, up to the terminator. When the digits form an integer of
// at most 2^53 and at most 22 of them follow the point, the value is that integer divided by a
// power of ten; both are exact doubles, so the one correctly rounded division gives exactly what
// strtod gives. Returns false for every other text, which then goes to strtod.
bool ParsePlainDecimal(char const* text, char const** end, double* value) {
    char const* p = text;
    bool const negative = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    uint64_t digits = 0;
    int count = 0;     // digits read, leading zeros included
    int decimals = -1; // digits behind the point; -1 before the point
    for (;; ++p) {
        unsigned const d = static_cast<unsigned char>(*p) - '0';
        if (d < 10) {
            if (++count > 19) return false;
            digits = digits * 10 + d;
            if (decimals >= 0) ++decimals;
        } else if (*p == '.' && decimals < 0) {
            decimals = 0;
        } else {
            break;
        }
    }
    if (*p != '\0' || count == 0 || digits > (uint64_t{1} << 53) || decimals > 22) return false;
    double const v =
        decimals > 0 ? static_cast<double>(digits) / kExactPowers[decimals] : static_cast<double>(digits);
    *value = negative ? -v : v;
    *end = p;
    return true;
}

} // namespace

double ParseDouble(char const* text, char const** end) {
    double value;
    if (ParsePlainDecimal(text, end, &value)) return value;
    char* stop;
    value = strtod_l(text, &stop, CLocale());
    *end = stop;
    return value;
}

int32_t ParseLong32(char const* text, char const** end) {
    char* stop;
    long long const value = strtoll_l(text, &stop, 10, CLocale());
    *end = stop;
    if (value > INT32_MAX || value < INT32_MIN) {
        errno = ERANGE;
        return value > 0 ? INT32_MAX : INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

void FormatFixed(char* buf, unsigned size, double value, int32_t precision) {
    if (precision < 0) precision = 6;
    std::size_t const room = size - 1;
    if (precision <= kShortDecimals) {
        char text[kShortRoom];
        int const length = FormatShortFixed(text, value, precision);
        if (length >= 0) {
            std::size_t const n = std::min(room, static_cast<std::size_t>(length));
            std::memcpy(buf, text, n);
            buf[n] = '\0';
            return;
        }
    }
    char* const last = buf + room;
    // std::to_chars gives the exact, correctly rounded expansion that "%.*f" gives, without
    // looking at the locale. Most texts fit the caller's buffer at once.
    if (precision <= kExactDecimals) {
        std::to_chars_result const r = std::to_chars(buf, last, value, std::chars_format::fixed, precision);
        if (r.ec == std::errc()) {
            *r.ptr = '\0';
            return;
        }
    }
    // Too long for the buffer, or more decimals than any double has: the whole expansion aside,
    // then what fits of it and of the zeros behind it.
    char full[kLongestFixed + 1];
    int const decimals = std::min(precision, kExactDecimals);
    std::to_chars_result const r =
        std::to_chars(full, full + sizeof full, value, std::chars_format::fixed, decimals);
    std::size_t n = std::min(room, static_cast<std::size_t>(r.ptr - full));
    std::memcpy(buf, full, n);
    if (std::isfinite(value) && precision > decimals) {
        std::size_t const zeros = std::min(room - n, static_cast<std::size_t>(precision - decimals));
        std::memset(buf + n, '0', zeros);
        n += zeros;
    }
    buf[n] = '\0';
}

} // namespace mortar
