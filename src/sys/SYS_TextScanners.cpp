#include <mortar/sys/SYS_TextScanners.h>

#include <mortar/platform/mbstring.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace {

// The character at `p` and its length in bytes. ASCII bytes are never lead bytes, so they are
// read here directly; anything else is left to the code page.
inline unsigned int CharAt(char const* p, int& length) {
    unsigned char b = static_cast<unsigned char>(*p);
    if (b < 0x80) {
        length = 1;
        return b;
    }
    length = mortar::mbclen(p);
    return mortar::mbsnextc(p);
}

inline bool IsDigit(unsigned int c) {
    return c < 0x80 ? c - '0' < 10u : mortar::ismbcdigit(c) != 0;
}

inline bool IsHexDigit(unsigned int c) {
    return c - '0' < 10u || (c | 0x20u) - 'a' < 6u;
}

inline bool IsSign(unsigned int c) {
    return c == '-' || c == '+';
}

// The value of the run of decimal digits at `p`, saturated at INT32_MAX as a 32-bit atoi
// does; moves `p` behind the run.
int32_t DigitRun(char const*& p) {
    int64_t value = 0;
    int length;
    for (unsigned int c = CharAt(p, length); IsDigit(c); c = CharAt(p, length)) {
        if (c < 0x80 && value < INT32_MAX) value = std::min<int64_t>(value * 10 + (c - '0'), INT32_MAX);
        p += length;
    }
    return static_cast<int32_t>(value);
}

// One character of each text: -1, 0 or 1, as mbsncmp with count 1.
inline int CompareChar(char const* p, char const* q) {
    unsigned char a = static_cast<unsigned char>(*p);
    unsigned char b = static_cast<unsigned char>(*q);
    if (a < 0x80 && b < 0x80) return a < b ? -1 : (a > b ? 1 : 0);
    return mortar::mbsncmp(p, q, 1);
}

// strtol as a platform with a 32-bit long has it: saturated, with ERANGE on overflow.
int32_t StrToLong32(char const* text, char const** end) {
    char* stop;
    long value = std::strtol(text, &stop, 10);
    if (end != nullptr) *end = stop;
    if (value > INT32_MAX || value < INT32_MIN) {
        errno = ERANGE;
        return value > 0 ? INT32_MAX : INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

// strtoul as a platform with a 32-bit unsigned long has it: a magnitude above UINT32_MAX
// saturates with ERANGE, whatever the sign; otherwise a leading minus negates modulo 2^32.
uint32_t StrToULong32(char const* text, char const** end) {
    int saved = errno;
    errno = 0;
    char* stop;
    unsigned long value = std::strtoul(text, &stop, 10);
    bool overflow = errno == ERANGE;
    errno = saved;
    if (end != nullptr) *end = stop;
    if (stop == text) return 0;

    char const* p = text;
    while (std::isspace(static_cast<unsigned char>(*p)))
        ++p;
    bool negative = *p == '-';
    unsigned long magnitude = negative ? 0ul - value : value;
    if (overflow || magnitude > UINT32_MAX) {
        errno = ERANGE;
        return UINT32_MAX;
    }
    uint32_t result = static_cast<uint32_t>(magnitude);
    return negative ? 0u - result : result;
}

// A double narrowed to float with IEEE rounding, without the undefined behaviour of converting a
// value beyond the float range: such a value becomes FLT_MAX or infinity, as rounding gives it.
float NarrowToFloat(double value) {
    // FLT_MAX plus half its last unit, the first value that rounds to infinity.
    const double limit = static_cast<double>(FLT_MAX) + std::ldexp(1.0, 103);
    if (std::isfinite(value) && std::fabs(value) > static_cast<double>(FLT_MAX)) {
        float magnitude = std::fabs(value) >= limit ? std::numeric_limits<float>::infinity() : FLT_MAX;
        return value < 0 ? -magnitude : magnitude;
    }
    return static_cast<float>(value);
}

} // namespace

char* getdouble(char const* s, int mode) {
    if (*s == '\0') return nullptr;
    bool mantissa = false; // a mantissa digit was read
    bool point = false;
    int exponent = 0; // 0: none yet; 1: letter read, no digit after it; 2: digits read
    char const* p = s;
    int length;
    for (;; p += length) {
        unsigned int c = CharAt(p, length);
        if (IsSign(c)) continue;
        if (c == '.') {
            if (exponent != 0 || point) break;
            point = true;
        } else if ((c == 'e' || c == 'E') && exponent == 0) {
            if (mode != 0) break;
            exponent = 1;
        } else if (IsDigit(c)) {
            if (exponent != 0)
                exponent = 2;
            else
                mantissa = true;
        } else {
            break;
        }
    }
    if (exponent == 1 || !mantissa) return nullptr;
    return const_cast<char*>(p);
}

int isdouble(char const* s, int mode) {
    char const* end = getdouble(s, mode);
    return end != nullptr && *end == '\0' ? 1 : 0;
}

char* getinteger(char const* s, int mode) {
    if (*s == '\0') return nullptr;
    bool digit = false;
    char const* p = s;
    int length;
    for (;; p += length) {
        unsigned int c = CharAt(p, length);
        if (IsSign(c)) continue;
        bool accepted = mode == 3 ? IsHexDigit(c) : IsDigit(c) && !(mode == 2 && c > '7');
        if (!accepted) break;
        digit = true;
    }
    return digit ? const_cast<char*>(p) : nullptr;
}

int isinteger(char const* s, int mode) {
    char const* end = getinteger(s, mode);
    return end != nullptr && *end == '\0' ? 1 : 0;
}

int isdecdouble(char const* s) {
    return isdouble(s, 1);
}
int isdecinteger(char const* s) {
    return isinteger(s, 1);
}
int isoctinteger(char const* s) {
    return isinteger(s, 2);
}
int ishexinteger(char const* s) {
    return isinteger(s, 3);
}

int _tcsnumcmp(char const* a, char const* b) {
    char const* p = a;
    char const* q = b;
    while (*p != '\0' && *q != '\0') {
        int lp, lq;
        unsigned int cp = CharAt(p, lp);
        unsigned int cq = CharAt(q, lq);
        if (IsDigit(cp) && IsDigit(cq)) {
            int32_t vp = DigitRun(p);
            int32_t vq = DigitRun(q);
            if (vp != vq) return vp > vq ? 1 : -1;
            continue;
        }
        if (CompareChar(p, q) != 0) break;
        p += lp;
        q += lq;
    }
    if (*p == '$' && *q != '$') return 1;
    if (*q == '$' && *p != '$') return -1;
    return CompareChar(p, q);
}

int SysExtractSubString(SYS_StringBase& out, char const* text, int index, char separator) {
    if (text == nullptr) return 0;
    unsigned int code = static_cast<unsigned char>(separator);
    char const* field = text;
    for (int skipped = 0; skipped < index; ++skipped) {
        // mbschr would find the terminator for a NUL separator; there is no field behind it.
        char const* found = code != 0 ? mortar::mbschr(field, code) : nullptr;
        if (found == nullptr) {
            out.Empty();
            return 0;
        }
        field = mortar::mbsinc(found);
    }
    if (index < 0) {
        out.Empty();
        return 0;
    }
    char const* end = code != 0 ? mortar::mbschr(field, code) : nullptr;
    int length = end != nullptr ? static_cast<int>(end - field) : -1;
    out.ConcatCopy(length, field, 0, ""); // copes with `field` inside `out`
    return 1;
}

// SYS_StringBase members that belong with the scanners ------------------------------------------

int SYS_StringBase::CompareAlNum(char const* s) const {
    return _tcsnumcmp(GetString(), s);
}

int16_t SYS_StringBase::Value(int16_t* out, char const** end) const {
    uint32_t value = static_cast<uint32_t>(StrToLong32(GetString(), end));
    *out = static_cast<int16_t>(static_cast<uint16_t>(value)); // modulo 2^16, no range check
    return *out;
}

int32_t SYS_StringBase::Value(int32_t* out, char const** end) const {
    *out = StrToLong32(GetString(), end);
    return *out;
}

uint32_t SYS_StringBase::Value(uint32_t* out, char const** end) const {
    *out = StrToULong32(GetString(), end);
    return *out;
}

float SYS_StringBase::Value(float* out, char const** end) const {
    double value;
    Value(&value, end);
    *out = NarrowToFloat(value);
    return *out;
}

double SYS_StringBase::Value(double* out, char const** end) const {
    char* stop;
    *out = std::strtod(GetString(), &stop);
    if (end != nullptr) *end = stop;
    return *out;
}
