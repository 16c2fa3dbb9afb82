#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_TextScanners.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <string>

namespace {

// Where a scanner stopped: the offset behind the number, or -1 for none.
int Stop(char const* text, char* end) {
    return end != nullptr ? static_cast<int>(end - text) : -1;
}

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

TEST(Scanners, NumbersEndWhereTheirDigitsEnd) {
    struct Double {
        char const* text;
        int withExponent;    // getdouble(text, 0)
        int withoutExponent; // getdouble(text, 1), and any other mode but 0
    } const doubles[] = {
        {".5", 2, 2},  {"+-5", 3, 3}, {"1-2", 3, 3},   {"1.5e3", 5, 3}, {"1e-3", 4, 1}, {"", -1, -1},
        {".", -1, -1}, {"e5", -1, -1}, {"1e+", -1, 1}, {" 5", -1, -1},  {"1.2.3", 3, 3}, {"1e2e3", 3, 1},
    };
    for (Double const& c : doubles) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Stop(c.text, getdouble(c.text, 0)), c.withExponent);
        EXPECT_EQ(Stop(c.text, getdouble(c.text, 7)), c.withoutExponent);
        int length = static_cast<int>(std::string(c.text).size());
        EXPECT_EQ(isdouble(c.text, 0), c.withExponent == length ? 1 : 0);
        EXPECT_EQ(isdecdouble(c.text), c.withoutExponent == length ? 1 : 0);
    }

    struct Integer {
        char const* text;
        int decimal, octal, hexadecimal;
    } const integers[] = {
        {"5-", 2, 2, 2},     {"-", -1, -1, -1}, {"18", 2, 1, 2},
        {"FF", -1, -1, 2},   {"0x1F", 1, 1, 1}, {"8", 1, -1, 1},
    };
    for (Integer const& c : integers) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(Stop(c.text, getinteger(c.text, 0)), c.decimal) << "other modes act as decimal";
        EXPECT_EQ(Stop(c.text, getinteger(c.text, 2)), c.octal);
        EXPECT_EQ(Stop(c.text, getinteger(c.text, 3)), c.hexadecimal);
        int length = static_cast<int>(std::string(c.text).size());
        EXPECT_EQ(isdecinteger(c.text), c.decimal == length ? 1 : 0);
        EXPECT_EQ(isoctinteger(c.text), c.octal == length ? 1 : 0);
        EXPECT_EQ(ishexinteger(c.text), c.hexadecimal == length ? 1 : 0);
    }
}

TEST(Scanners, NaturalOrder) {
    // The last two cases: a run above 2^31 - 1 counts as 2^31 - 1, as a 32-bit atoi gives it.
    struct Case {
        char const* a;
        char const* b;
        int sign;
    } const cases[] = {
        {"R2", "R10", -1}, {"a007b", "a7b", 0}, {"A$", "AB", 1},       {"A$", "A", 1},
        {"A", "A1", -1},   {"", "", 0},         {"x10y2", "x10y10", -1}, {"a\xE9", "az", 1},
        {"4294967296", "4294967297", 0},        {"2147483646", "99999999999", -1},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b);
        int forward = _tcsnumcmp(c.a, c.b);
        int backward = _tcsnumcmp(c.b, c.a);
        EXPECT_EQ((forward > 0) - (forward < 0), c.sign);
        EXPECT_EQ((backward > 0) - (backward < 0), -c.sign) << "the order is antisymmetric";
        EXPECT_EQ(SYS_StringBase(c.a).CompareAlNum(c.b), forward);
    }
}

TEST(Scanners, ExtractFieldsOfAList) {
    SYS_StringBase out("untouched");
    EXPECT_EQ(SysExtractSubString(out, nullptr, 0, ';'), 0);
    EXPECT_EQ(out, "untouched");
    struct Case {
        char const* text;
        int index;
        int result;
        char const* field;
    } const cases[] = {
        {"a;b", 1, 1, "b"}, {"a;b", 2, 0, ""}, {"a;b", -1, 0, ""}, {"", 0, 1, ""}, {"a;;c", 1, 1, ""},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.text) + " #" + std::to_string(c.index));
        out = "previous";
        EXPECT_EQ(SysExtractSubString(out, c.text, c.index, ';'), c.result);
        EXPECT_EQ(out, c.field);
    }
    out = "x,yy,zzz";
    EXPECT_EQ(SysExtractSubString(out, out.GetString(), 1, ','), 1) << "the list may be the output itself";
    EXPECT_EQ(out, "yy");
    EXPECT_EQ(SysExtractSubString(out, "a;b", 0, '\0'), 1);
    EXPECT_EQ(out, "a;b");
}

TEST(Scanners, ValuesBehaveAsWith32BitLong) {
    struct Case {
        char const* text;
        int32_t expected;
        int stop;
        bool range;
    } const signedCases[] = {
        {"  -17x", -17, 5, false},            {"2147483647", INT32_MAX, 10, false},
        {"2147483648", INT32_MAX, 10, true},  {"-2147483649", INT32_MIN, 11, true},
        {"abc", 0, 0, false},                 {"0x10", 0, 1, false},
    };
    for (Case const& c : signedCases) {
        SCOPED_TRACE(c.text);
        SYS_StringBase s(c.text);
        int32_t value = -1;
        char const* end = nullptr;
        errno = 0;
        EXPECT_EQ(s.Value(&value, &end), c.expected);
        EXPECT_EQ(value, c.expected);
        EXPECT_EQ(end - s.GetString(), c.stop);
        EXPECT_EQ(errno == ERANGE, c.range);
    }
    struct UnsignedCase {
        char const* text;
        uint32_t expected;
        bool range;
    } const unsignedCases[] = {
        {"4294967295", UINT32_MAX, false}, {"4294967296", UINT32_MAX, true},  {"-1", UINT32_MAX, false},
        {"-4294967295", 1u, false},        {"-4294967296", UINT32_MAX, true},
    };
    for (UnsignedCase const& c : unsignedCases) {
        SCOPED_TRACE(c.text);
        uint32_t value = 5;
        errno = 0;
        EXPECT_EQ(SYS_StringBase(c.text).Value(&value), c.expected);
        EXPECT_EQ(value, c.expected);
        EXPECT_EQ(errno == ERANGE, c.range);
    }
    errno = EDOM;
    uint32_t ok;
    SYS_StringBase("12").Value(&ok);
    EXPECT_EQ(errno, EDOM) << "a conversion in range leaves errno alone";

    int16_t narrow;
    EXPECT_EQ(SYS_StringBase("40000").Value(&narrow), -25536);
    EXPECT_EQ(SYS_StringBase("99999999999").Value(&narrow), -1) << "saturated to 2^31 - 1, then narrowed";
    double d;
    char const* end;
    SYS_StringBase number(" 1.5e3xyz");
    EXPECT_EQ(number.Value(&d, &end), 1500.0);
    EXPECT_STREQ(end, "xyz");
    float f;
    EXPECT_EQ(SYS_StringBase("3.40282356e38").Value(&f), FLT_MAX) << "below the rounding limit";
    EXPECT_EQ(SYS_StringBase("3.4028236e38").Value(&f), HUGE_VALF);
}

// Under code page 932 a double-byte character is one character: it ends a number, compares
// above every single byte, and its trail byte is never a digit or a separator.
TEST(Scanners, DoubleByteCharactersAreWhole) {
    char const* const digitTrail = "x\x82\x31" "5"; // a double-byte character whose trail byte is '1'
    char const* const withZero = "x\x82\x31" "05";
    EXPECT_LT(_tcsnumcmp(digitTrail, withZero), 0) << "1252: the numbers 15 and 105";
    EXPECT_LT(_tcsnumcmp("a\x82\x31", "a\xA0"), 0);
    SYS_StringBase out;
    EXPECT_EQ(SysExtractSubString(out, "\x95\x5C\\b", 1, '\\'), 1);
    EXPECT_EQ(out, "");

    CodePageScope scope(932);
    EXPECT_EQ(Stop(digitTrail + 1, getdouble(digitTrail + 1, 0)), -1);
    EXPECT_EQ(_tcsnumcmp(digitTrail, withZero), 0);
    EXPECT_GT(_tcsnumcmp("a\x82\x31", "a\xA0"), 0);
    EXPECT_EQ(SysExtractSubString(out, "\x95\x5C\\b", 1, '\\'), 1) << "a trail byte is no separator";
    EXPECT_EQ(out, "b");
}

} // namespace
