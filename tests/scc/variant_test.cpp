// SCC_Variant: conversions, comparison and Validate, whose reading of interval and length texts is
// checked against sscanf itself.
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/sys/SYS_Exception.h>

#include <support/comma_locale.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string const kInvalid = "Invalid floating point format.";
std::string const kRange = "Value out of range.";
char const kMessage[] = "Please enter a value within the %c%f,%f%c range."; // as printf in the C locale
double const kInf = std::numeric_limits<double>::infinity();
double const kNaN = std::numeric_limits<double>::quiet_NaN();
using S = SYS_StringBase;

// The text of the SYS_Exception that `f` throws, or "no exception".
template <class F>
std::string Thrown(F f) {
    try { f(); } catch (SYS_Exception const& e) { return e.GetText().GetString(); }
    return "no exception";
}

std::string Text(SCC_Variant const& v) { return static_cast<SYS_StringBase>(v).GetString(); }
int32_t Integer(SCC_Variant const& v) { return static_cast<int32_t>(v); }
double Real(SCC_Variant const& v) { return static_cast<double>(v); }

// What printf makes of `format`, in the C locale of the test.
template <class... A>
std::string Printf(char const* format, A... arguments) {
    char text[1024];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

TEST(Variant, ConstructionAssignmentAndIntegerForms) {
    SCC_Variant const empty, null(static_cast<char const*>(nullptr));
    EXPECT_EQ(Integer(empty), 0);
    EXPECT_EQ(Real(empty), 0.0);
    EXPECT_EQ(Text(empty), "");
    EXPECT_EQ(null.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(Text(null), "") << "a null text is the empty text";
    EXPECT_EQ(Text(SCC_Variant(INT32_MIN)), "-2147483648");

    // Every other integer type is the 32-bit form, and must fit it.
    EXPECT_EQ(SCC_Variant(uint64_t{3}).GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(static_cast<long>(SCC_Variant(-7)), -7L);
    EXPECT_EQ(Integer(SCC_Variant(int64_t{INT32_MIN})), INT32_MIN);
    EXPECT_EQ(Thrown([] { SCC_Variant{1LL << 40}; }), kRange);
    EXPECT_EQ(Thrown([] { SCC_Variant{uint32_t{0x80000000u}}; }), kRange);

    // A double truncates towards zero, within the range with its limits.
    EXPECT_EQ(Integer(SCC_Variant(-2.9)), -2);
    EXPECT_EQ(Integer(SCC_Variant(2147483647.0)), INT32_MAX);
    EXPECT_EQ(Integer(SCC_Variant(-2147483648.0)), INT32_MIN);
    for (double d : {2147483647.5, -2147483648.5, kInf, -kInf, kNaN})
        EXPECT_EQ(Thrown([&] { Integer(SCC_Variant(d)); }), kRange) << d;
    EXPECT_EQ(Thrown([] { Integer(SCC_Variant("3000000000")); }), kRange) << "a text goes through the double";

    SCC_Variant v("hello");
    v = SCC_Variant(3);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(v.Validate("0", nullptr), 1) << "the old text field went with the assignment";
    v = SCC_Variant("hello");
    v = static_cast<SCC_Variant const&>(v);
    EXPECT_EQ(Text(v), "hello") << "assignment to itself keeps the value";
}

TEST(Variant, TextsScanAndNumbersWriteAsTheCLibraryDoes) {
    // Blanks and tabs around, none at all, a hexadecimal form, other white space in front
    // (strtod's), overflow to infinity, underflow to 0.
    std::pair<char const*, double> const good[] = {{" \t7.5\t ", 7.5}, {"", 0.0},       {" \t ", 0.0},
                                                   {"0x10", 16.0},     {" \n\v5", 5.0}, {"1e999", kInf},
                                                   {"1e-999", 0.0}};
    for (auto const& [text, value] : good)
        EXPECT_EQ(Real(SCC_Variant(text)), value) << text;
    EXPECT_EQ(Integer(SCC_Variant(" -12.9 ")), -12);
    for (S const& text : {S("7,5"), S("12 apples"), S("5\n"), S("\n"), S("1 2"), S("5\0", 2)}) {
        EXPECT_EQ(Thrown([&] { Real(SCC_Variant(text)); }), kInvalid) << text.GetString();
        EXPECT_EQ(Thrown([&] { Integer(SCC_Variant(text)); }), kInvalid) << text.GetString();
    }

    EXPECT_EQ(Text(SCC_Variant(2.5)), "2.500000");
    for (double d : {-0.0, 1.0 / 3, -2.0000005, 0.0000005, 1e300, DBL_MAX, -kInf, kNaN})
        EXPECT_EQ(Text(SCC_Variant(d)), Printf("%f", d)) << d;
}

TEST(Variant, NumericTextIgnoresTheLocale) {
    mortar_test::CommaLocale comma;
    if (!comma.Active()) GTEST_SKIP() << "no locale with a decimal comma could be set";
    EXPECT_EQ(Text(SCC_Variant(1.5)), "1.500000");
    EXPECT_EQ(Real(SCC_Variant(" 2.25\t")), 2.25);
    EXPECT_EQ(Real(SCC_Variant("2.25e-1 ")), 0.225) << "the long way too";
    EXPECT_EQ(Thrown([] { Real(SCC_Variant("1,5")); }), kInvalid);
    SCC_Variant v(3);
    EXPECT_EQ(v.Validate("[0.5,2.5]", nullptr), 0);
    EXPECT_EQ(Text(v), "Please enter a value within the [0.500000,2.500000] range.");
    EXPECT_EQ(SCC_Variant(2).Validate("[1,5 , 2]", nullptr), 1) << "a comma is no decimal point";
}

TEST(Variant, ComparisonTakesTheSuperiorForm) {
    SCC_Variant const empty;
    struct { SCC_Variant a, b; int equal; } const cases[] = {
        {SCC_Variant(1), SCC_Variant(1.0), 1},       {SCC_Variant(1), SCC_Variant("1"), 1},
        {SCC_Variant(1.5), SCC_Variant("1.5"), 0},   {SCC_Variant(1.5), SCC_Variant("1.500000"), 1},
        {SCC_Variant(2), SCC_Variant(2.5), 0},       {SCC_Variant(0.1 + 0.2), SCC_Variant(0.3), 0},
        {SCC_Variant("abc"), SCC_Variant("ABC"), 0}, {SCC_Variant("abc"), SCC_Variant(3), 0},
        {empty, empty, 0},                           {empty, SCC_Variant(""), 0},
        {SCC_Variant(kNaN), SCC_Variant(kNaN), 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(Text(c.a) + " against " + Text(c.b));
        EXPECT_EQ(c.a == c.b, c.equal);
        EXPECT_EQ(c.b == c.a, c.equal) << "reversed";
        EXPECT_EQ(c.a != c.b, 1 - c.equal);
    }
}

TEST(Variant, LengthLimitsTextsOfNoFormAndEmptyVariants) {
    // A length limit counts the text field; beyond 32 bits it counts as INT32_MAX or INT32_MIN. A
    // text that is neither interval nor limit passes.
    struct { char const* validation; S text; int pass; } const cases[] = {
        {"4", "abcde", 0},         {" +5 characters", "abcde", 1}, {"5", S("ab\0cdef", 7), 0},
        {"99999999999", "abc", 1}, {"-99999999999", "", 0},        {"1,2", "ab", 0},
        {"abc", "abcde", 1},       {"#", "abcde", 1},              {"[0,10", "abcde", 1},
        {" [0,10]", "abcde", 1}};
    for (auto const& c : cases) {
        SCC_Variant t(c.text);
        EXPECT_EQ(t.Validate(c.validation, nullptr), c.pass) << c.validation;
        EXPECT_EQ(Text(t), Text(SCC_Variant(c.text))) << c.validation << ": unchanged";
    }
    for (char const* validation : {"", "[0,1]", "-1", "#[0,1]"})
        EXPECT_EQ(SCC_Variant().Validate(validation, nullptr), 1) << "an empty variant passes " << validation;
    EXPECT_EQ(SCC_Variant(5).Validate(S("\0[0,1]", 6), nullptr), 1) << "a text ending at once";
    EXPECT_EQ(SCC_Variant("nan").Validate("[0,1]", nullptr), 0) << "NaN passes neither limit";
}

// The interval and the limit against sscanf itself, in the C locale of the test.
TEST(Variant, ValidationTextsReadAsSscanfReadsThem) {
    // clang-format off
    char const* const texts[] = {
        "[1,2]",       "[1e,2]",     "[1e+,3]",     "[1ex,2]",    "[0x1p,2]",   "[0x.p1,2]",   "[1.2.3,4]",
        "[1..2,4]",    "[1e5.5,1]",  "[inf,2]",     "[infinity,2]", "[infinit,2]", "[-nan,2]",   "[nan(1),2]",
        "[NaN,2]",     "[InFiNiTy ,3]", "[0x1.8p1,4]", "[0xep1,30]", "[00x1,2]",   "[0e,1]",     "[+-1,2]",
        "[1e-5e,2]",   "[.e1,2]",    "[0.e1,2]",    "[ \t\n\v\f\r1 \r, \f2\v]", "[1,2\0]", "[1,\x80",
        "\x81" "1,2\x82", "[-,2]",   "[-.,2]",      "[.,2]",      "[1,2 ",       "[1,2",       "[1 ,",
        "1",           "-12x",       "+",           "- 1",        " 42",        "\t-7",        "0x10",
        "2147483647",  "-2147483648", "[0x,2]",     "[0X1P3,9]",  "[1e+5,1e-5]", "[9e999,1]",  "[1,1e-999]",
        "[1.5,2.5]",   "[2.5,3.5]",  "(2,3)",       "[2,2]",      "[3,3)",      "[0 10]",      "[0,]",
        "]0,10[",      "%1,2%",      "(0.25,1e3[",  "[-inf,-1]",  "[10,0]",     "(0;10)",      "[,10]",
    };
    // clang-format on
    for (double value : {0.0, 1.0, 2.0, 2.5, 3.0, 8.0, 10.0, 16.0, 30.0, 1e6, -1.0}) {
        for (char const* text : texts) {
            char open = 0, close = 0;
            double lower = 0, upper = 0;
            int limit = 0, expected = 1;
            std::string message = "(unchanged)";
            if (std::sscanf(text, "%c %lf , %lf %c", &open, &lower, &upper, &close) == 4) {
                expected = (open == '[' ? value >= lower : value > lower) &&
                           (close == ']' ? value <= upper : value < upper);
                if (!expected) message = Printf(kMessage, open, lower, upper, close);
            } else if (std::sscanf(text, "%d", &limit) == 1) {
                expected = limit >= 0;
            }
            SCC_Variant v(value);
            EXPECT_EQ(v.Validate(text, nullptr), expected) << '"' << text << "\" with " << value;
            EXPECT_EQ(v.GetType() == SCC_Variant::ValueString ? Text(v) : "(unchanged)", message) << text;
        }
    }
}

// Shows tenths as units and records the direction of every call; refuses everything when asked.
struct Tenths : SCC_Convertor {
    std::vector<int> flags;
    bool refuse = false;
    SCC_Variant Convert(SCC_Variant value, int flag) override {
        if (refuse) throw SYS_Exception("%s", "refused");
        flags.push_back(flag);
        return SCC_Variant(flag ? static_cast<double>(value) * 10 : static_cast<double>(value) / 10);
    }
};

TEST(Variant, HashMeansLimitsInConvertedUnits) {
    Tenths tenths;
    SCC_Variant v(1.5); // shown as 1.5, stored as 15
    EXPECT_EQ(v.Validate("#[10,20]", &tenths), 1);
    EXPECT_EQ(Real(v), 1.5) << "the variant itself is not converted";
    EXPECT_EQ(v.Validate("#[20,30]", &tenths), 0);
    EXPECT_EQ(Text(v), "Please enter a value within the [2.000000,3.000000] range.");
    EXPECT_EQ(Thrown([&] { v.Validate("[1,2]", nullptr); }), kInvalid) << "a message is no number";
    EXPECT_EQ(Text(v), "Please enter a value within the [2.000000,3.000000] range.") << "unchanged";
    EXPECT_EQ(SCC_Variant(7).Validate("#", &tenths), 1) << "nothing left to read";
    EXPECT_EQ(SCC_Variant(25).Validate("[0,10]", &tenths), 0) << "without '#' the convertor plays no part";
    // The value is converted once towards storage, the limits of a failure each back for the user.
    EXPECT_EQ(tenths.flags, (std::vector<int>{1, 1, 0, 0, 1}));
    EXPECT_EQ(SCC_Variant(12.5).Validate("#[0,2]", nullptr), 0) << "'#' without a convertor is dropped";
    EXPECT_EQ(SCC_Variant("abcdef").Validate("#3", nullptr), 0) << "a limit after '#' stays a limit";

    tenths.refuse = true;
    SCC_Variant three(3);
    EXPECT_EQ(Thrown([&] { three.Validate("#[0,10]", &tenths); }), "refused");
    EXPECT_EQ(Integer(three), 3) << "the convertor's exception passed and left the variant";
    SCC_Convertor none;
    for (int flag : {0, 1})
        EXPECT_EQ(Text(none.Convert(SCC_Variant("text"), flag)), "text") << "the base hands through";
}

} // namespace
