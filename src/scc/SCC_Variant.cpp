// The variant's conversions, comparison and validation.
//
// Numbers are read and written through the locale-independent helpers of the unit conversion
// (strtod and printf of the C locale), and the two forms that a validation text is read with
// ("%c %lf , %lf %c" and "%d") are read here by the rules of sscanf rather than by sscanf, which
// would follow the decimal point of the process's locale.
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/sfm/SFM_StringTable.h>
#include <mortar/sys/SYS_Exception.h>

#include "../sys/internal/NumericText.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <string>

namespace {

// The string table's texts of the variant.
constexpr int kInvalidFloat = 45062;
constexpr int kOutOfRange = 45063;
constexpr int kRangeMessage = 45064;

[[noreturn]] void Throw(int id) {
    throw SYS_Exception("%s", TR(id).GetString());
}

// Keeps errno as the caller left it: reading a number is no system call, and a range error of
// strtod on the way is not the caller's business.
class KeepErrno {
public:
    KeepErrno() : m_Saved(errno) {}
    ~KeepErrno() { errno = m_Saved; }
    KeepErrno(KeepErrno const&) = delete;
    KeepErrno& operator=(KeepErrno const&) = delete;

private:
    int m_Saved;
};

// Character classes of the C locale, as sscanf has them there.
bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}
bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}
bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}
char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

char const* SkipSpace(char const* p) {
    while (IsSpace(*p))
        ++p;
    return p;
}

// The number of bytes at `p` that spell `word` (lower case) without regard to case, or 0 when
// they don't.
std::size_t MatchWord(char const* p, char const* word) {
    std::size_t n = 0;
    for (; word[n]; ++n)
        if (Lower(p[n]) != word[n]) return 0;
    return n;
}

// Reads a number at `p` as sscanf's "%lf" does once it has skipped the white space in front:
// bytes are taken one by one while they can still continue a number (a sign, "nan", "inf" or
// "infinity", "0x" and hexadecimal digits, digits, one point, an exponent mark after a digit
// and a sign right behind it), then strtod converts what was taken, and the value is what it
// makes of the longest number at the front ("1e" is 1). Returns the end of the bytes taken, or
// null when they hold no number: a sign alone, "0x" alone, an unfinished "nan" or "infinity".
char const* ScanDouble(char const* p, double* value) {
    char const* const start = p;
    if (*p == '-' || *p == '+') ++p;
    char const* const body = p;
    if (Lower(*p) == 'n') {
        std::size_t const n = MatchWord(p, "nan");
        if (n == 0) return nullptr;
        p += n;
    } else if (Lower(*p) == 'i') {
        std::size_t const n = MatchWord(p, "inf");
        if (n == 0) return nullptr;
        p += n;
        if (Lower(*p) == 'i') { // once "infi" is read, nothing short of "infinity" will do
            std::size_t const rest = MatchWord(p, "inity");
            if (rest == 0) return nullptr;
            p += rest;
        }
    } else {
        bool hex = false, digit = false, point = false, exponent = false;
        char mark = 'e';
        if (*p == '0') {
            ++p;
            if (Lower(*p) == 'x') {
                hex = true;
                mark = 'p';
                ++p;
            } else {
                digit = true;
            }
        }
        for (;; ++p) {
            char const c = *p;
            if (IsDigit(c) || (hex && !exponent && IsHexDigit(c))) {
                digit = true;
            } else if (exponent && Lower(p[-1]) == mark && (c == '-' || c == '+')) {
                // the sign of the exponent, right behind its mark
            } else if (digit && !exponent && Lower(c) == mark) {
                exponent = point = true; // no point behind the exponent mark
            } else if (!point && c == '.') {
                point = true;
            } else {
                break;
            }
        }
        if (p == body || (hex && p == body + 2)) return nullptr;
    }
    std::string const taken(start, p);
    char const* end;
    *value = mortar::ParseDouble(taken.c_str(), &end);
    return end == taken.c_str() ? nullptr : p;
}

// Reads `text` as sscanf(text, "%c %lf , %lf %c", ...) does; true when all four items are read.
bool ReadInterval(char const* p, char* open, double* lower, double* upper, char* close) {
    if (*p == '\0') return false;
    *open = *p++;
    p = ScanDouble(SkipSpace(p), lower);
    if (!p) return false;
    p = SkipSpace(p);
    if (*p != ',') return false;
    p = ScanDouble(SkipSpace(p + 1), upper);
    if (!p) return false;
    p = SkipSpace(p);
    if (*p == '\0') return false;
    *close = *p;
    return true;
}

// Reads `text` as sscanf(text, "%d", limit) does; a value beyond the 32-bit range saturates.
bool ReadLimit(char const* text, int32_t* limit) {
    char const* end;
    *limit = mortar::ParseLong32(text, &end);
    return end != text;
}

// "%f": six decimals, as printf has it in the C locale.
SYS_StringBase FixedText(double value) {
    char text[400]; // a sign, 309 integer digits, the point and six decimals, and the end
    mortar::FormatFixed(text, sizeof text, value, 6);
    return text;
}

// The text of the string table's range message, its directives filled in order with the opening
// byte, the two limits and the closing byte. A directive (%c, %f or %lf) takes the next argument
// and writes it in the argument's own form: a byte as %c, a limit as %f. "%%" is a percent sign;
// anything else is copied as it stands.
SYS_StringBase RangeMessage(char open, double lower, double upper, char close) {
    struct Argument {
        bool isByte;
        char byte;
        double number;
    };
    Argument const arguments[] = {{true, open, 0.0}, {false, 0, lower}, {false, 0, upper}, {true, close, 0.0}};
    std::size_t next = 0;
    SYS_StringBase const format = TR(kRangeMessage);
    SYS_StringBase message;
    for (char const* p = format.GetString(); *p; ++p) {
        std::size_t directive = 0;
        if (*p == '%') {
            if (p[1] == 'c' || p[1] == 'f') directive = 2;
            else if (p[1] == 'l' && p[2] == 'f') directive = 3;
            else if (p[1] == '%') directive = 1;
        }
        if (directive == 0 || (directive > 1 && next == std::size_t{4})) {
            message += *p;
            continue;
        }
        if (directive == 1) message += '%';
        else if (arguments[next].isByte) message += arguments[next++].byte;
        else message += FixedText(arguments[next++].number);
        p += directive - 1;
    }
    return message;
}

int32_t DoubleToInteger(double value) {
    if (!(value <= 2147483647.0 && value >= -2147483648.0)) Throw(kOutOfRange); // NaN fails too
    return static_cast<int32_t>(value);
}

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

double TextToDouble(SYS_StringBase const& text) {
    KeepErrno keep;
    char const* const begin = text.GetString();
    char const* p = begin;
    while (IsBlank(*p))
        ++p;
    char const* end;
    double const value = mortar::ParseDouble(p, &end);
    while (IsBlank(*end))
        ++end;
    if (end != begin + text.GetLength()) Throw(kInvalidFloat);
    return value;
}

} // namespace

void SCC_Variant::ThrowOutOfRange() { Throw(kOutOfRange); }

SCC_Variant::SCC_Variant() : m_Type(ValueEmpty), m_Integer(0), m_Real(0.0) {}

SCC_Variant::SCC_Variant(int32_t value) : m_Type(ValueInteger), m_Integer(value), m_Real(0.0) {}

SCC_Variant::SCC_Variant(double value) : m_Type(ValueDouble), m_Integer(0), m_Real(value) {}

SCC_Variant::SCC_Variant(SYS_StringBase const& value)
    : m_Type(ValueString), m_Integer(0), m_Real(0.0), m_Text(value) {}

SCC_Variant::SCC_Variant(char const* value) : m_Type(ValueString), m_Integer(0), m_Real(0.0), m_Text(value) {}

SCC_Variant::SCC_Variant(SCC_Variant const& other)
    : m_Type(other.m_Type), m_Integer(other.m_Integer), m_Real(other.m_Real), m_Text(other.m_Text) {}

SCC_Variant::~SCC_Variant() = default;

void SCC_Variant::operator=(SCC_Variant const& other) {
    if (&other == this) return;
    ValueType const type = other.m_Type;
    // The text is fetched before anything changes, so that running out of memory leaves this
    // variant as it was.
    SYS_StringBase text = type == ValueString ? other.operator SYS_StringBase() : SYS_StringBase();
    Clear();
    m_Type = type;
    if (type == ValueInteger) m_Integer = other.operator int32_t();
    else if (type == ValueDouble) m_Real = other.operator double();
    else if (type == ValueString) m_Text = std::move(text);
}

void SCC_Variant::Clear() {
    m_Text.Empty();
    m_Integer = 0;
    m_Real = 0.0;
    m_Type = ValueEmpty;
}

SCC_Variant::operator int32_t() const {
    switch (m_Type) {
    case ValueInteger: return m_Integer;
    case ValueDouble: return DoubleToInteger(m_Real);
    case ValueString: return DoubleToInteger(TextToDouble(m_Text));
    default: return 0;
    }
}

SCC_Variant::operator double() const {
    switch (m_Type) {
    case ValueInteger: return m_Integer;
    case ValueDouble: return m_Real;
    case ValueString: return TextToDouble(m_Text);
    default: return 0.0;
    }
}

SCC_Variant::operator SYS_StringBase() const {
    switch (m_Type) {
    case ValueInteger: {
        char text[12];
        return SYS_StringBase(text, static_cast<int>(std::to_chars(text, text + sizeof text, m_Integer).ptr - text));
    }
    case ValueDouble: return FixedText(m_Real);
    case ValueString: return m_Text;
    default: return SYS_StringBase();
    }
}

int SCC_Variant::operator==(SCC_Variant const& other) const {
    switch (GetSuperiorType(other.m_Type)) {
    case ValueInteger: return m_Integer == other.m_Integer ? 1 : 0;
    case ValueDouble: return operator double() == other.operator double() ? 1 : 0;
    case ValueString: return operator SYS_StringBase() == other.operator SYS_StringBase() ? 1 : 0;
    default: return 0;
    }
}

int SCC_Variant::operator!=(SCC_Variant const& other) const {
    return operator==(other) ? 0 : 1;
}

int SCC_Variant::Validate(SYS_StringBase validation, SCC_Convertor* convertor) {
    if (validation.IsEmpty() || IsEmpty()) return 1;
    bool const inConvertedUnits = validation.GetAt(0) == '#';
    if (inConvertedUnits) validation.Delete(0, 1);
    SCC_Convertor* const through = inConvertedUnits ? convertor : nullptr;
    SCC_Variant value(*this);
    if (through) value = through->Convert(SCC_Variant(*this), 1);

    char open = 0, close = 0;
    double lower = 0.0, upper = 0.0;
    bool interval;
    {
        KeepErrno keep;
        interval = ReadInterval(validation.GetString(), &open, &lower, &upper, &close);
    }
    if (interval) {
        double const v = value.operator double();
        bool pass = open == '[' ? v >= lower : v > lower;
        if (pass) pass = close == ']' ? v <= upper : v < upper;
        if (pass) return 1;
        if (through) {
            lower = through->Convert(SCC_Variant(lower), 0).operator double();
            upper = through->Convert(SCC_Variant(upper), 0).operator double();
        }
        *this = SCC_Variant(RangeMessage(open, lower, upper, close));
        return 0;
    }

    int32_t limit = 0;
    bool hasLimit;
    {
        KeepErrno keep;
        hasLimit = ReadLimit(validation.GetString(), &limit);
    }
    if (hasLimit) return m_Text.GetLength() <= limit ? 1 : 0;
    return 1; // neither an interval nor a length limit: nothing to check against
}
