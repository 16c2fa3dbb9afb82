#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_TextScanners.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <tuple>

namespace {

// Where a scanner stopped: the offset behind the number, or -1 for none.
int Stop(char const* text, char* end) {
    return end != nullptr ? static_cast<int>(end - text) : -1;
}
// What the is... forms answer for a scan that stopped at `stop`.
int Whole(char const* text, int stop) {
    return stop == static_cast<int>(std::strlen(text)) ? 1 : 0;
}

TEST(Scanners, NumbersEndWhereTheirDigitsEnd) {
    // getdouble in mode 0 (with exponent) and mode 7 (without, as any mode but 0).
    std::tuple<char const*, int, int> const doubles[] = {
        {".5", 2, 2}, {"+-5", 3, 3}, {"1-2", 3, 3}, {"1.5e3", 5, 3}, {"1e-3", 4, 1},
        {"", -1, -1}, {".", -1, -1}, {"1e+", -1, 1}, {" 5", -1, -1}, {"1.2.3", 3, 3},
    };
    for (auto [text, exponent, plain] : doubles) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Stop(text, getdouble(text, 0)), exponent);
        EXPECT_EQ(Stop(text, getdouble(text, 7)), plain);
        EXPECT_EQ(isdouble(text, 0), Whole(text, exponent));
        EXPECT_EQ(isdecdouble(text), Whole(text, plain));
    }
    // getinteger in mode 0 (acts as decimal), 2 and 3; no mode takes a prefix.
    std::tuple<char const*, int, int, int> const integers[] = {
        {"5-", 2, 2, 2},   {"-", -1, -1, -1}, {"18", 2, 1, 2},
        {"FF", -1, -1, 2}, {"0x1F", 1, 1, 1}, {"8", 1, -1, 1},
    };
    for (auto [text, decimal, octal, hexadecimal] : integers) {
        SCOPED_TRACE(text);
        EXPECT_EQ(Stop(text, getinteger(text, 0)), decimal);
        EXPECT_EQ(Stop(text, getinteger(text, 2)), octal);
        EXPECT_EQ(Stop(text, getinteger(text, 3)), hexadecimal);
        EXPECT_EQ(isdecinteger(text) * 4 + isoctinteger(text) * 2 + ishexinteger(text),
                  Whole(text, decimal) * 4 + Whole(text, octal) * 2 + Whole(text, hexadecimal));
    }
}

TEST(Scanners, NaturalOrder) {
    // The last two rows: a run above 2^31 - 1 counts as 2^31 - 1, as a 32-bit atoi gives it.
    std::tuple<char const*, char const*, int> const cases[] = {
        {"R2", "R10", -1},  {"a007b", "a7b", 0},       {"A$", "AB", 1},     {"A$", "A", 1},
        {"A", "A1", -1},    {"", "", 0},               {"x10y2", "x10y10", -1}, {"a\xE9", "az", 1},
        {"4294967296", "4294967297", 0},               {"2147483646", "99999999999", -1},
    };
    for (auto [a, b, sign] : cases) {
        SCOPED_TRACE(std::string(a) + " vs " + b);
        int forward = _tcsnumcmp(a, b), backward = _tcsnumcmp(b, a);
        EXPECT_EQ((forward > 0) - (forward < 0), sign);
        EXPECT_EQ((backward > 0) - (backward < 0), -sign) << "the order is antisymmetric";
        EXPECT_EQ(SYS_StringBase(a).CompareAlNum(b), forward);
    }
}

TEST(Scanners, ExtractFieldsOfAList) {
    SYS_StringBase out("untouched");
    EXPECT_EQ(SysExtractSubString(out, nullptr, 0, ';'), 0);
    EXPECT_EQ(out, "untouched");
    std::tuple<char const*, int, char, int, char const*> const cases[] = {
        {"a;b", 1, ';', 1, "b"}, {"a;b", 2, ';', 0, ""},  {"a;b", -1, ';', 0, ""},
        {"", 0, ';', 1, ""},     {"a;;c", 1, ';', 1, ""}, {"a;b", 0, '\0', 1, "a;b"},
    };
    for (auto [text, index, separator, result, field] : cases) {
        SCOPED_TRACE(std::string(text) + " #" + std::to_string(index));
        out = "previous";
        EXPECT_EQ(SysExtractSubString(out, text, index, separator), result);
        EXPECT_EQ(out, field);
    }
    out = "x,yy,zzz";
    EXPECT_EQ(SysExtractSubString(out, out.GetString(), 1, ','), 1) << "the list may be the output itself";
    EXPECT_EQ(out, "yy");
}

TEST(Scanners, ValuesBehaveAsWith32BitLong) {
    // text, value, where the conversion ends, whether it sets ERANGE
    std::tuple<char const*, int32_t, int, bool> const signedCases[] = {
        {"  -17x", -17, 5, false},           {"2147483647", INT32_MAX, 10, false},
        {"2147483648", INT32_MAX, 10, true}, {"-2147483649", INT32_MIN, 11, true},
        {"abc", 0, 0, false},                {"0x10", 0, 1, false},
    };
    for (auto [text, expected, stop, range] : signedCases) {
        SCOPED_TRACE(text);
        SYS_StringBase s(text);
        int32_t value = -1;
        char const* end = nullptr;
        errno = 0;
        EXPECT_EQ(s.Value(&value, &end), expected);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(end - s.GetString(), stop);
        EXPECT_EQ(errno == ERANGE, range);
    }
    std::tuple<char const*, uint32_t, bool> const unsignedCases[] = {
        {"4294967295", UINT32_MAX, false}, {"4294967296", UINT32_MAX, true},
        {"-1", UINT32_MAX, false},         {"-4294967296", UINT32_MAX, true},
    };
    for (auto [text, expected, range] : unsignedCases) {
        SCOPED_TRACE(text);
        uint32_t value = 5;
        errno = EDOM; // a conversion in range leaves errno alone
        EXPECT_EQ(SYS_StringBase(text).Value(&value), expected);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(errno, range ? ERANGE : EDOM);
    }
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

    mortar::SetCodePage(mortar::CodePageJapanese);
    EXPECT_EQ(Stop(digitTrail + 1, getdouble(digitTrail + 1, 0)), -1);
    EXPECT_EQ(_tcsnumcmp(digitTrail, withZero), 0);
    EXPECT_GT(_tcsnumcmp("a\x82\x31", "a\xA0"), 0);
    EXPECT_EQ(SysExtractSubString(out, "\x95\x5C\\b", 1, '\\'), 1) << "a trail byte is no separator";
    EXPECT_EQ(out, "b");
    mortar::SetCodePage(mortar::CodePageWestern);
}

} // namespace
