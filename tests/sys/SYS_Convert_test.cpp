#include <mortar/sys/SYS_Convert.h>

#include <support/comma_locale.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

namespace {

constexpr int32_t kMin = INT32_MIN, kMax = INT32_MAX;
constexpr double kInf = std::numeric_limits<double>::infinity();
SYS_UnitType const kFallback = static_cast<SYS_UnitType>(7);

TEST(Convert, EachUnitHasItsNameDecimalsAndFactor) {
    // name, decimals, User2Base(1.0), Base2Str(1234567) untrimmed
    std::tuple<SYS_UnitType, char const*, int32_t, int32_t, char const*> const cases[] = {
        {SYS_UnitMils, "Mils", 2, 19050, "64.81"},
        {SYS_UnitMetric, "Metric", 5, 750000, "1.64609"},
        {SYS_UnitInches, "Inches", 5, 19050000, "0.06481"},
        {SYS_UnitMicron, "Micron", 2, 750, "1646.09"},
        {SYS_UnitPdf, "PDF units", 0, 264583, "5"},
        {SYS_UnitBasicAscii, "Basic ASCII PCB units", 2, 1, "2469134.00"},
        {SYS_UnitCentimeter, "", 5, 7500000, "0.16461"},
        {kFallback, "", 1, 1, "1234567.0"},
        {static_cast<SYS_UnitType>(-1), "", 1, 1, "1234567.0"},
    };
    for (auto [type, name, precision, oneUnit, text] : cases) {
        SCOPED_TRACE(type);
        SYS_Convert conv(type);
        EXPECT_STREQ(SYS_Convert::GetUnitName(type), name);
        EXPECT_EQ(conv.GetUnitPrecision(), precision);
        EXPECT_EQ(conv.User2Base(1.0), oneUnit);
        conv.SetZeroTrimMode(0);
        EXPECT_EQ(conv.Base2Str(1234567), text);
    }
    SYS_Convert outside(kFallback);
    outside.SetUnitPrecision(4);
    EXPECT_EQ(outside.GetUnitPrecision(), 1) << "outside 0 to 6 the decimals cannot be set";
}

TEST(Convert, SetDataResetsEverySetting) {
    SYS_Convert conv(SYS_UnitInches);
    conv.SetUnitPrecision(1);
    conv.SetUnitType(SYS_UnitMils);
    conv.SetUnitPrecision(4);
    conv.SetAnglePrecision(0);
    conv.SetZeroTrimMode(0);
    conv.SetUnitType(SYS_UnitInches);
    EXPECT_EQ(conv.Base2Str(19050000 / 4), "0.2") << "each unit keeps its decimals; 0.25 ties to even";
    EXPECT_EQ(conv.Angle2Str(2700000), "2") << "1.5 degrees, no decimals";
    conv.SetData(SYS_UnitMicron, SYS_Point(0, 0));
    conv.SetUnitType(SYS_UnitInches);
    EXPECT_EQ(conv.Base2Str(19050000 / 4), "0.25") << "SetData drops every precision set, trims again";
    EXPECT_EQ(conv.Angle2Str(2700000), "1.5");
}

TEST(Convert, User2BaseRoundsHalvesAwayAndReportsOverflow) {
    // A Basic ASCII unit is half a base unit; past INT32_MAX, infinity and NaN give INT32_MIN.
    std::tuple<SYS_UnitType, double, int32_t> const cases[] = {
        {SYS_UnitMils, -0.00001, 0},      {SYS_UnitBasicAscii, 3.0, 2},   {SYS_UnitBasicAscii, -3.0, -2},
        {SYS_UnitMils, 200000.0, kMin},   {SYS_UnitMils, 112728.0, 2147468400},
        {kFallback, 2147483647.0, kMax},  {kFallback, 2147483647.25, kMin},
        {SYS_UnitInches, kInf, kMin},     {SYS_UnitInches, std::nan(""), kMin},
    };
    for (auto [type, v, base] : cases)
        EXPECT_EQ(SYS_Convert(type).User2Base(v), base) << v << " in unit " << type;
}

TEST(Convert, TextToNumberTakesTheWholeTextInTheCGrammar) {
    // Plain decimals take a short way; every text must agree with strtod to the bit.
    std::mt19937 rng(11);
    double v;
    for (int i = 0; i < 50000; ++i) {
        std::string text;
        for (int n = static_cast<int>(rng() % 26); n > 0; --n) {
            unsigned const r = rng() % 100;
            text += r < 85 ? static_cast<char>('0' + rng() % 10) : r < 93 ? '.' : "+-.eEx "[rng() % 7];
        }
        errno = 0;
        char* end;
        double const expected = std::strtod(text.c_str(), &end);
        int const ok = *end == '\0' && errno != ERANGE ? 1 : 0;
        ASSERT_EQ(SYS_Convert::Str2Double(text.c_str(), &v), ok) << text;
        ASSERT_EQ(std::memcmp(&v, &expected, sizeof v), 0) << text;
    }
    // The rest of the grammar; a unit name or a comma is no part of a number.
    std::tuple<char const*, int, double> const doubles[] = {
        {"0x1.8p3", 1, 12.0}, {"-inf", 1, -kInf}, {"Infinity", 1, kInf}, {"1,5", 0, 1.0}, {"10mil", 0, 10.0},
        {"1e400", 0, kInf},   {"1e-400", 0, 0.0}, {" \t\n-2.25", 1, -2.25}, {nullptr, 0, 0.0},
    };
    for (auto [text, ok, value] : doubles) {
        v = 99.0;
        EXPECT_EQ(SYS_Convert::Str2Double(text, &v), ok) << (text ? text : "null");
        EXPECT_EQ(v, value) << (text ? text : "null");
    }
    // text, result, value, whether ERANGE is left behind
    std::tuple<char const*, int, int32_t, bool> const longs[] = {
        {"", 1, 0, false},             {"2147483647", 1, kMax, false}, {"-2147483648", 1, kMin, false},
        {"2147483648", 0, kMax, true}, {"-2147483649", 0, kMin, true}, {"1.5", 0, 1, false},
        {"0x10", 0, 0, false},         {"9999999999x", 0, kMax, true},
    };
    for (auto [text, ok, value, range] : longs) {
        errno = 0;
        int32_t n = 99;
        EXPECT_EQ(SYS_Convert::Str2Long(text, &n), ok) << '"' << text << '"';
        EXPECT_EQ(n, value) << '"' << text << '"';
        EXPECT_EQ(errno == ERANGE, range) << '"' << text << '"';
    }
    // errno: an ERANGE is cleared first, any other value stays, and overflow leaves ERANGE behind.
    errno = 0;
    EXPECT_EQ(SYS_Convert::Str2Double("1e999", &v), 0);
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(SYS_Convert::Str2Double("2", &v), 1);
    EXPECT_EQ(errno, 0);
    errno = EINVAL;
    EXPECT_EQ(SYS_Convert::Str2Double("2", &v), 1);
    EXPECT_EQ(errno, EINVAL);
    errno = ERANGE;
    int32_t base;
    EXPECT_EQ(SYS_Convert(SYS_UnitInches).Str2Base("1", &base), 1);
}

TEST(Convert, LengthsAnglesAndMeasuresFromText) {
    // Str2Base, Str2Measure, Str2Angle: 1 for success, then the values stored (7: nothing stored)
    std::tuple<char const*, int, int, int, int32_t, int32_t, int32_t> const cases[] = {
        {"56", 1, 1, 1, SYS_COORD_LIMIT, SYS_COORD_LIMIT, 100800000},
        {"-56", 1, 0, 1, -SYS_COORD_LIMIT, 7, -100800000},
        {"56.01", 0, 1, 1, 7, 1066990500, 100818000},
        {"-1", 1, 0, 1, -19050000, 7, -1800000},
        {"1.0000005", 1, 1, 1, 19050010, 19050010, 1800000}, // angles are cut toward zero, not rounded
        {"-0.0000005", 1, 0, 1, -10, 7, 0},
        {"1e10", 0, 1, 1, 7, kMin, kMax},
        {"10mil", 0, 0, 0, 7, 7, 7},
        {"inf", 0, 1, 1, 7, kMin, kMax},
        {"nan", 0, 1, 1, 7, kMin, 0},
    };
    SYS_Convert inches(SYS_UnitInches, SYS_Point(1000, 1000)); // the origin plays no part in input
    for (auto [text, baseOk, measureOk, angleOk, baseValue, measureValue, angleValue] : cases) {
        SCOPED_TRACE(text);
        int32_t base = 7, measure = 7, angle = 7;
        EXPECT_EQ(inches.Str2Base(text, &base), baseOk);
        EXPECT_EQ(inches.Str2Measure(text, &measure), measureOk);
        EXPECT_EQ(inches.Str2Angle(text, &angle), angleOk);
        EXPECT_EQ(std::tie(base, measure, angle), std::tie(baseValue, measureValue, angleValue));
    }
    double d = 7;
    EXPECT_EQ(inches.Str2Base("100", &d), 1) << "no range test in doubles";
    EXPECT_EQ(inches.Str2Base("x", &d), 0);
    EXPECT_EQ(d, 1905000000.0);
}

TEST(Convert, NumbersToTextAsPrintfFormatsThem) {
    std::pair<std::string, std::string> const trims[] = {
        {"2.000", "2"}, {"-0.00", "-0"}, {"100", "100"}, {".000", ""}, {"10.050", "10.05"}, {"-nan", "-nan"},
    };
    for (auto [text, trimmed] : trims) {
        SYS_Convert::TrimStrNumber(text.data());
        EXPECT_STREQ(text.c_str(), trimmed.c_str());
    }
    SYS_Convert angles;
    EXPECT_EQ(angles.Base2Str(-kInf), "-inf");
    EXPECT_EQ(angles.Angle2Str(162000000), "90");
    angles.SetZeroTrimMode(0);
    EXPECT_EQ(angles.Angle2Str(-1), "-0.000") << "a value that rounds to zero keeps its sign";

    // Against snprintf and TrimStrNumber: coordinates in every unit, and every kind of double
    // (Base2User only doubles a value in Basic ASCII units).
    std::mt19937_64 rng(7);
    for (int i = 0; i < 40000; ++i) {
        uint64_t const bits = rng();
        bool const any = i % 2 != 0;
        SYS_Convert conv(any ? SYS_UnitBasicAscii : static_cast<SYS_UnitType>(i / 2 % 7));
        conv.SetUnitPrecision(static_cast<int32_t>(rng() % 14) - 1);
        conv.SetZeroTrimMode(i / 7 % 2);
        double v = static_cast<int32_t>(bits);
        if (any) std::memcpy(&v, &bits, sizeof v);
        if (any && i % 3 == 0)
            v = std::ldexp(static_cast<double>(bits >> 11), static_cast<int>(bits % 90) - 110);
        char text[512];
        std::snprintf(text, sizeof text, "%.*f", conv.GetUnitPrecision(), conv.Base2User(v));
        if (i / 7 % 2) SYS_Convert::TrimStrNumber(text);
        ASSERT_STREQ(conv.Base2Str(v).GetString(), text) << std::hexfloat << v << ' ' << conv.GetUnitType();
    }
}

TEST(Convert, BufferFormsStayWithinTheirSize) {
    SYS_Convert mils;
    char buf[16];
    // size, trimming, text
    std::tuple<unsigned, int, char const*> const cases[] = {
        {7, 0, "123.00"}, {6, 0, "123.0"}, {6, 1, "123"}, {3, 1, "12"}, {1, 0, ""}, {0, 0, "XXXXXXXXXXXXXXX"},
    };
    for (auto [size, trim, text] : cases) {
        std::memset(buf, 'X', sizeof buf - 1);
        buf[sizeof buf - 1] = '\0';
        mils.SetZeroTrimMode(trim);
        EXPECT_EQ(mils.Base2Str(buf, size, 19050 * 123), buf);
        EXPECT_STREQ(buf, text) << "size " << size;
        EXPECT_EQ(std::strspn(buf + size, "X"), sizeof buf - 1 - size) << "size " << size;
    }
    EXPECT_EQ(mils.Angle2Str(nullptr, 0, 5), nullptr);
    EXPECT_STREQ(mils.Angle2Str(buf, 5, 162000000), "90.0");

    // The string forms hold 511 bytes; a double's expansion ends after 1074 decimals, then zeros.
    for (int32_t precision : {600, 1100, 100000}) {
        mils.SetUnitPrecision(precision);
        std::string expected(100200, '\0');
        expected.resize(std::snprintf(expected.data(), expected.size(), "%.*f", precision, kMin / 19050.0));
        EXPECT_EQ(mils.Base2Str(kMin), expected.substr(0, 511).c_str()) << precision;
        std::vector<char> big(2000);
        mils.Base2Str(big.data(), static_cast<unsigned>(big.size()), kMin);
        EXPECT_EQ(std::string(big.data()), expected.substr(0, 1999));
    }
}

TEST(Convert, CoordinatesAreTakenFromTheOriginAndAlignToTheGrid) {
    SYS_Convert conv(SYS_UnitMils, SYS_Point(19050, -19050));
    EXPECT_EQ(conv.CoordY2String(0), "1");
    EXPECT_EQ(conv.Measure2String(38100), "2") << "a measure ignores the origin";
    EXPECT_EQ(conv.Point2String(SYS_StringBase("at "), SYS_Point(28575, 0)), "at (0.5,1)");
    EXPECT_EQ(conv.CoordX2String(SYS_StringBase("at "), 38100), "at 1");
    SYS_Convert raw(kFallback, SYS_Point(1, -1));
    EXPECT_EQ(raw.Point2String(SYS_Point(kMin, kMax)), "(2147483647,-2147483648)") << "the difference wraps";
    EXPECT_EQ(conv.AlignToMinRoutingGrid(kMin), kMin);
    EXPECT_EQ(conv.AlignToMinRoutingGrid(kMax), kMax);
}

TEST(Convert, TextUsesAPointWhateverTheLocale) {
    mortar_test::CommaLocale comma;
    if (!comma.Active()) GTEST_SKIP() << "no locale with a decimal comma, and localedef could not build one";
    SYS_Convert mils;
    EXPECT_EQ(mils.Base2Str(28575), "1.5");
    EXPECT_EQ(mils.Angle2Str(2700000), "1.5");
    EXPECT_EQ(mils.Point2String(SYS_Point(28575, -28575)), "(1.5,-1.5)");
    mils.SetUnitPrecision(12);
    EXPECT_EQ(mils.Base2Str(1), "0.000052493438") << "the long way too";
    int32_t base = 0;
    EXPECT_EQ(mils.Str2Base("1.5", &base), 1);
    EXPECT_EQ(base, 28575);
    EXPECT_EQ(mils.Str2Base("1,5", &base), 0);
    double d = 0;
    EXPECT_EQ(SYS_Convert::Str2Double(" -2.25e1", &d), 1) << "the long way too";
    EXPECT_EQ(d, -22.5);
}

} // namespace
