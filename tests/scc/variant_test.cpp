#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/sfm/SFM_StringTable.h>
#include <mortar/sys/SYS_Exception.h>

#include <support/comma_locale.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

void PrintTo(SCC_Variant const& v, std::ostream* os) {
    *os << "variant(type " << v.GetType() << ", \"" << static_cast<SYS_StringBase>(v).GetString() << "\")";
}

namespace {

std::string const kInvalid = "Invalid floating point format.";
std::string const kRange = "Value out of range.";

// The text of the exception that `f` throws, or "no exception".
template <class F>
std::string Thrown(F f) {
    try {
        f();
    } catch (SYS_Exception const& e) {
        return e.GetText().GetString();
    }
    return "no exception";
}

std::string Text(SCC_Variant const& v) {
    return static_cast<SYS_StringBase>(v).GetString();
}

int32_t Integer(SCC_Variant const& v) {
    return static_cast<int32_t>(v);
}

double Real(SCC_Variant const& v) {
    return static_cast<double>(v);
}

// The message that a failed interval leaves, as printf makes it in the C locale.
std::string Message(char open, double lower, double upper, char close) {
    char text[1024];
    std::snprintf(text, sizeof text, "Please enter a value within the %c%f,%f%c range.", open, lower, upper, close);
    return text;
}

// Exposes the protected ordering of the forms.
struct OpenVariant : SCC_Variant {
    using SCC_Variant::GetSuperiorType;
    using SCC_Variant::SCC_Variant;
};

TEST(Variant, ConstructorsGiveTheirFormAndConvertByTheTable) {
    SCC_Variant const empty;
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.GetType(), SCC_Variant::ValueEmpty);
    EXPECT_EQ(Integer(empty), 0);
    EXPECT_EQ(Real(empty), 0.0);
    EXPECT_EQ(Text(empty), "");

    SCC_Variant const integer(-42);
    EXPECT_EQ(integer.GetType(), SCC_Variant::ValueInteger);
    EXPECT_FALSE(integer.IsEmpty());
    EXPECT_EQ(Real(integer), -42.0);
    EXPECT_EQ(Text(integer), "-42");
    EXPECT_EQ(Text(SCC_Variant(INT32_MIN)), "-2147483648");
    EXPECT_EQ(SCC_Variant(int16_t{7}).GetType(), SCC_Variant::ValueInteger) << "narrow integers widen";
    EXPECT_EQ(SCC_Variant('A').GetType(), SCC_Variant::ValueInteger);

    EXPECT_EQ(SCC_Variant(2.5).GetType(), SCC_Variant::ValueDouble);
    EXPECT_EQ(SCC_Variant(2.5f).GetType(), SCC_Variant::ValueDouble);
    EXPECT_EQ(SCC_Variant("x").GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(SCC_Variant(SYS_StringBase("x")).GetType(), SCC_Variant::ValueString);
    SCC_Variant const null(static_cast<char const*>(nullptr));
    EXPECT_EQ(null.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(Text(null), "") << "a null text is the empty text";
    EXPECT_EQ(Text(SCC_Variant(SYS_StringBase("a b", 3))), "a b");

    OpenVariant const text("t");
    EXPECT_EQ(text.GetSuperiorType(SCC_Variant::ValueInteger), SCC_Variant::ValueString);
    EXPECT_EQ(text.GetSuperiorType(SCC_Variant::ValueEmpty), SCC_Variant::ValueEmpty);
    EXPECT_EQ(OpenVariant(1).GetSuperiorType(SCC_Variant::ValueDouble), SCC_Variant::ValueDouble);
}

TEST(Variant, DoublesTruncateToIntegersWithinTheInclusiveRange) {
    EXPECT_EQ(Integer(SCC_Variant(2.9)), 2);
    EXPECT_EQ(Integer(SCC_Variant(-2.9)), -2);
    EXPECT_EQ(Integer(SCC_Variant(-0.5)), 0);
    EXPECT_EQ(Integer(SCC_Variant(2147483647.0)), INT32_MAX) << "the limits pass";
    EXPECT_EQ(Integer(SCC_Variant(-2147483648.0)), INT32_MIN);
    for (double d : {2147483647.5, -2147483648.5, 1e10, -1e10, std::numeric_limits<double>::infinity(),
                     -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Thrown([&] { Integer(SCC_Variant(d)); }), kRange) << d;
    }
    EXPECT_EQ(Thrown([] { Integer(SCC_Variant("3000000000")); }), kRange) << "a text goes through the double";
    EXPECT_EQ(Thrown([] { Integer(SCC_Variant("nan")); }), kRange);
    EXPECT_EQ(TR(45063).GetString(), kRange);
}

TEST(Variant, TextsScanAsNumbersWithBlanksAroundThem) {
    struct Case {
        char const* name;
        SYS_StringBase text;
        double value;
    };
    std::vector<Case> const good = {
        {"blanks and tabs around", " \t7.5\t ", 7.5},
        {"empty text", "", 0.0},
        {"only blanks", " \t ", 0.0},
        {"exponent", "-2.5e2", -250.0},
        {"hexadecimal", "0x10", 16.0},
        {"other white space in front is strtod's", " \n\v5", 5.0},
        {"overflow is infinity", "1e999", std::numeric_limits<double>::infinity()},
        {"underflow is zero", "1e-999", 0.0},
    };
    for (Case const& c : good) {
        EXPECT_EQ(Real(SCC_Variant(c.text)), c.value) << c.name;
    }
    EXPECT_EQ(Integer(SCC_Variant("12.9")), 12);
    EXPECT_EQ(Integer(SCC_Variant(" -12.9 ")), -12);

    std::vector<Case> const bad = {
        {"decimal comma", "7,5", 0},
        {"words behind", "12 apples", 0},
        {"a newline behind", "5\n", 0},
        {"a newline alone", "\n", 0},
        {"no number", "abc", 0},
        {"two numbers", "1 2", 0},
        {"a NUL byte inside", SYS_StringBase("5\0x", 3), 0},
        {"a NUL byte behind", SYS_StringBase("5\0", 2), 0},
    };
    for (Case const& c : bad) {
        EXPECT_EQ(Thrown([&] { Real(SCC_Variant(c.text)); }), kInvalid) << c.name;
        EXPECT_EQ(Thrown([&] { Integer(SCC_Variant(c.text)); }), kInvalid) << c.name;
    }
}

TEST(Variant, NumbersWriteAsPrintfDoes) {
    EXPECT_EQ(Text(SCC_Variant(2.5)), "2.500000");
    for (double d : {0.0, -0.0, 1.0 / 3, -2.0000005, 0.0000005, 1e300, -1e-300, 123456789.987654321,
                     std::numeric_limits<double>::max(), std::numeric_limits<double>::infinity(),
                     -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        char expected[400];
        std::snprintf(expected, sizeof expected, "%f", d);
        EXPECT_EQ(Text(SCC_Variant(d)), expected) << d;
    }
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
    struct Case {
        char const* name;
        SCC_Variant a, b;
        int equal;
    };
    SCC_Variant const empty;
    std::vector<Case> const cases = {
        {"integer and double", SCC_Variant(1), SCC_Variant(1.0), 1},
        {"integer and its text", SCC_Variant(1), SCC_Variant("1"), 1},
        {"double and a short text", SCC_Variant(1.0), SCC_Variant("1"), 0},
        {"double and its %f text", SCC_Variant(1.5), SCC_Variant("1.500000"), 1},
        {"double and a text that scans equal", SCC_Variant(1.5), SCC_Variant("1.5"), 0},
        {"integers", SCC_Variant(-7), SCC_Variant(-7), 1},
        {"different integers", SCC_Variant(7), SCC_Variant(8), 0},
        {"integer against a fraction", SCC_Variant(2), SCC_Variant(2.5), 0},
        {"no tolerance", SCC_Variant(0.1 + 0.2), SCC_Variant(0.3), 0},
        {"texts", SCC_Variant("abc"), SCC_Variant("abc"), 1},
        {"texts differ in case", SCC_Variant("abc"), SCC_Variant("ABC"), 0},
        {"text that is no number, against an integer", SCC_Variant("abc"), SCC_Variant(3), 0},
        {"two empties", empty, empty, 0},
        {"empty and 0", empty, SCC_Variant(0), 0},
        {"empty and the empty text", empty, SCC_Variant(""), 0},
        {"NaN and itself", SCC_Variant(std::nan("")), SCC_Variant(std::nan("")), 0},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(c.a == c.b, c.equal) << c.name;
        EXPECT_EQ(c.b == c.a, c.equal) << c.name << ", reversed";
        EXPECT_EQ(c.a != c.b, 1 - c.equal) << c.name;
    }
    EXPECT_EQ(empty != empty, 1);
}

TEST(Variant, CopiesAndAssignmentsKeepOnlyTheValueOfTheirForm) {
    SCC_Variant v("hello");
    SCC_Variant const copy(v);
    EXPECT_EQ(copy.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(Text(copy), "hello");

    // An integer or double variant has an empty text field: it passes the length limit 0.
    v = SCC_Variant(3);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(Integer(v), 3);
    EXPECT_EQ(v.Validate("0", nullptr), 1) << "the old text went with the assignment";
    v = SCC_Variant(2.5);
    EXPECT_EQ(Real(v), 2.5);
    v = SCC_Variant();
    EXPECT_TRUE(v.IsEmpty());
    EXPECT_EQ(Text(v), "");
    v = copy;
    EXPECT_EQ(Text(v), "hello");

    SCC_Variant& same = v;
    v = same;
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueString) << "assignment to itself keeps the value";
    EXPECT_EQ(Text(v), "hello");
    SCC_Variant n(7);
    n = *&n;
    EXPECT_EQ(Integer(n), 7);

    v.Clear();
    EXPECT_TRUE(v.IsEmpty());
    EXPECT_EQ(v.Validate("0", nullptr), 1);
    v = SCC_Variant(1);
    EXPECT_EQ(v.Validate("0", nullptr), 1) << "Clear emptied the text field";
}

// Interval checks: the value, the text, the verdict.
TEST(Variant, IntervalsIncludeTheirEndsByBracket) {
    struct Case {
        char const* validation;
        SCC_Variant value;
        int pass;
    };
    std::vector<Case> const cases = {
        {"[0,10]", SCC_Variant(0), 1},          {"(0,10]", SCC_Variant(0), 0},
        {"[0,10]", SCC_Variant(10), 1},         {"[0,10)", SCC_Variant(10), 0},
        {"]0,10[", SCC_Variant(5), 1},          {"]0,10[", SCC_Variant(0), 0},
        {"(0,10)", SCC_Variant(10.0), 0},       {"x0,10x", SCC_Variant(0.001), 1},
        {"[0,10]", SCC_Variant(10.0000001), 0}, {"[0,10]", SCC_Variant("  3 "), 1},
        {"[10,0]", SCC_Variant(5), 0},          {"[0,1]", SCC_Variant("nan"), 0},
    };
    for (Case const& c : cases) {
        SCC_Variant v(c.value);
        EXPECT_EQ(v.Validate(c.validation, nullptr), c.pass) << c.validation << " with " << Text(c.value);
        if (c.pass) {
            EXPECT_EQ(v.GetType(), c.value.GetType()) << c.validation;
            EXPECT_EQ(Text(v), Text(c.value)) << c.validation;
        } else {
            EXPECT_EQ(v.GetType(), SCC_Variant::ValueString) << c.validation;
            EXPECT_EQ(Text(v).rfind("Please enter a value within the ", 0), 0u) << Text(v);
        }
    }
}

TEST(Variant, FailedIntervalLeavesTheMessage) {
    SCC_Variant v(3);
    EXPECT_EQ(v.Validate("[1,2]", nullptr), 0);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(Text(v), "Please enter a value within the [1.000000,2.000000] range.");
}

TEST(Variant, MessagesCarryTheBracketsAndLimitsAsRead) {
    struct Case {
        char const* validation;
        SCC_Variant value;
        std::string message;
    };
    std::vector<Case> const cases = {
        {"(0.25,1e3[", SCC_Variant(0), Message('(', 0.25, 1000, '[')},
        {"%1,2%", SCC_Variant(9), Message('%', 1, 2, '%')},
        {"[-inf,-1]", SCC_Variant(0), Message('[', -HUGE_VAL, -1, ']')},
    };
    for (Case const& c : cases) {
        SCC_Variant v(c.value);
        EXPECT_EQ(v.Validate(c.validation, nullptr), 0) << c.validation;
        EXPECT_EQ(Text(v), c.message) << c.validation;
    }
}

TEST(Variant, TextsThatAreNoNumbersThrowAgainstAnInterval) {
    SCC_Variant v("abc");
    EXPECT_EQ(Thrown([&] { v.Validate("[0,10]", nullptr); }), kInvalid);
    EXPECT_EQ(Text(v), "abc") << "unchanged";
    SCC_Variant message(3);
    message.Validate("[1,2]", nullptr);
    EXPECT_EQ(Thrown([&] { message.Validate("[1,2]", nullptr); }), kInvalid)
        << "a failed variant holds a message, which is no number";
}

TEST(Variant, LengthLimitsCountTheTextField) {
    struct Case {
        char const* validation;
        SCC_Variant value;
        int pass;
    };
    std::vector<Case> const cases = {
        {"4", SCC_Variant("abcde"), 0},
        {"5", SCC_Variant("abcde"), 1},
        {" +5 characters", SCC_Variant("abcde"), 1},
        {"0", SCC_Variant(""), 1},
        {"0", SCC_Variant(123456), 1},
        {"0", SCC_Variant(1.5), 1},
        {"-1", SCC_Variant(7), 0},
        {"\n\t-0", SCC_Variant(7), 1},
        {"5", SCC_Variant(SYS_StringBase("ab\0cdef", 7)), 0},
        {"99999999999", SCC_Variant("abc"), 1},
        {"-99999999999", SCC_Variant(1), 0},
        {"1,2", SCC_Variant("ab"), 0},
        {"32", SCC_Variant("thirty-two characters are enough"), 1},
    };
    for (Case const& c : cases) {
        SCC_Variant v(c.value);
        EXPECT_EQ(v.Validate(c.validation, nullptr), c.pass) << c.validation;
        EXPECT_EQ(Text(v), Text(c.value)) << c.validation << ": unchanged";
    }
}

TEST(Variant, EmptyTextsAndTextsOfNoFormPass) {
    SCC_Variant const empty;
    for (char const* validation : {"", "[0,1]", "0", "-1", "#[0,1]"}) {
        SCC_Variant v;
        EXPECT_EQ(v.Validate(validation, nullptr), 1) << validation;
        EXPECT_TRUE(v.IsEmpty());
    }
    for (char const* validation : {"abc", "#", "[0,10", "(0;10)", " [0,10]", "[,10]", "+"}) {
        SCC_Variant v("a text of some length");
        EXPECT_EQ(v.Validate(validation, nullptr), 1) << validation;
        EXPECT_EQ(Text(v), "a text of some length") << validation;
        SCC_Variant n(1000);
        EXPECT_EQ(n.Validate(validation, nullptr), 1) << validation;
        EXPECT_EQ(Integer(n), 1000);
    }
    SCC_Variant v(5);
    EXPECT_EQ(v.Validate(SYS_StringBase("\0[0,1]", 6), nullptr), 1) << "a text that ends at once";
}

// The interval and the limit against sscanf itself, in the C locale of the test.
TEST(Variant, ValidationTextsReadAsSscanfReadsThem) {
    char const* const texts[] = {
        "[1,2]",       "[1e,2]",     "[1e+,3]",     "[1ex,2]",    "[0x1p,2]",   "[0x.p1,2]",   "[1.2.3,4]",
        "[1..2,4]",    "[1e5.5,1]",  "[inf,2]",     "[infinity,2]", "[infinit,2]", "[-nan,2]",   "[nan(1),2]",
        "[NaN,2]",     "[InFiNiTy ,3]", "[0x1.8p1,4]", "[0xep1,30]", "[00x1,2]",   "[0e,1]",     "[+-1,2]",
        "[1e-5e,2]",   "[.e1,2]",    "[0.e1,2]",    "[ \t\n\v\f\r1 \r, \f2\v]", "[1,2\0]", "[1,\x80",
        "\x81" "1,2\x82", "[-,2]",   "[-.,2]",      "[.,2]",      "[1,2 ",       "[1,2",       "[1 ,",
        "1",           "-12x",       "+",           "- 1",        " 42",        "\t-7",        "0x10",
        "2147483647",  "-2147483648", "[0x,2]",     "[0X1P3,9]",  "[1e+5,1e-5]", "[9e999,1]",  "[1,1e-999]",
        "[1.5,2.5]",   "[2.5,3.5]",  "(2,3)",       "[2,2]",      "[3,3)",      "[0 10]",      "[0,]",
    };
    for (double value : {0.0, 1.0, 2.0, 2.5, 3.0, 8.0, 16.0, 30.0, 1e6, -1.0}) {
        for (char const* text : texts) {
            char open = 0, close = 0;
            double lower = 0, upper = 0;
            int limit = 0;
            int expected;
            std::string message = "(unchanged)";
            if (std::sscanf(text, "%c %lf , %lf %c", &open, &lower, &upper, &close) == 4) {
                bool pass = open == '[' ? value >= lower : value > lower;
                if (pass) pass = close == ']' ? value <= upper : value < upper;
                expected = pass ? 1 : 0;
                if (!pass) message = Message(open, lower, upper, close);
            } else if (std::sscanf(text, "%d", &limit) == 1) {
                expected = limit >= 0 ? 1 : 0;
            } else {
                expected = 1;
            }
            SCC_Variant v(value);
            EXPECT_EQ(v.Validate(text, nullptr), expected) << '"' << text << "\" with " << value;
            EXPECT_EQ(v.GetType() == SCC_Variant::ValueString ? Text(v) : "(unchanged)", message) << text;
        }
    }
}

// A convertor that shows tenths as units, and records what it was asked.
class Tenths : public SCC_Convertor {
public:
    std::vector<int> flags;

    SCC_Variant Convert(SCC_Variant value, int flag) override {
        flags.push_back(flag);
        double const v = value;
        return SCC_Variant(flag ? v * 10 : v / 10);
    }
};

TEST(Variant, HashMeansLimitsInConvertedUnits) {
    Tenths tenths;
    SCC_Variant v(1.5); // shown as 1.5, stored as 15
    EXPECT_EQ(v.Validate("#[10,20]", &tenths), 1);
    EXPECT_EQ(tenths.flags, std::vector<int>{1}) << "the value is converted once, towards storage";
    EXPECT_EQ(Real(v), 1.5) << "the variant itself is not converted";

    tenths.flags.clear();
    EXPECT_EQ(v.Validate("#[20,30]", &tenths), 0);
    EXPECT_EQ((tenths.flags), (std::vector<int>{1, 0, 0})) << "then each limit back for the user";
    EXPECT_EQ(Text(v), Message('[', 2, 3, ']')) << "the limits in the user's units";

    tenths.flags.clear();
    SCC_Variant plain(25);
    EXPECT_EQ(plain.Validate("[20,30]", &tenths), 1) << "without '#' the convertor plays no part";
    EXPECT_TRUE(tenths.flags.empty());
    EXPECT_EQ(plain.Validate("[0,10]", &tenths), 0);
    EXPECT_EQ(Text(plain), Message('[', 0, 10, ']'));
    EXPECT_TRUE(tenths.flags.empty());

    SCC_Variant text("abcdef");
    EXPECT_EQ(text.Validate("#3", nullptr), 0) << "'#' without a convertor is dropped, and a limit stays a limit";
    EXPECT_EQ(SCC_Variant(0.5).Validate("#[1,2]", nullptr), 0) << "no conversion without a convertor";
    SCC_Variant number(12.5);
    EXPECT_EQ(number.Validate("#[0,2]", nullptr), 0);
    EXPECT_EQ(Text(number), Message('[', 0, 2, ']'));
    EXPECT_EQ(SCC_Variant(7).Validate("#", &tenths), 1) << "nothing left to read";
}

// A convertor that refuses everything, to show that its exceptions pass through Validate.
class Refusing : public SCC_Convertor {
public:
    SCC_Variant Convert(SCC_Variant, int) override { throw SYS_Exception("%s", "refused"); }
};

TEST(Variant, ConvertorExceptionsPassThroughAndLeaveTheVariant) {
    Refusing refusing;
    SCC_Variant v(3);
    EXPECT_EQ(Thrown([&] { v.Validate("#[0,10]", &refusing); }), "refused");
    EXPECT_EQ(Integer(v), 3);
    EXPECT_EQ(v.Validate("[0,10]", &refusing), 1);
}

struct LifeLog {
    int destroyed = 0;
};

// A convertor that owns something: its destructor must run when the last pointer lets go.
class Owning : public SCC_Convertor {
public:
    explicit Owning(LifeLog* log) : m_Log(log), m_Owned("owned memory that must be freed") {}
    ~Owning() override { ++m_Log->destroyed; }

private:
    LifeLog* m_Log;
    std::string m_Owned;
};

TEST(Convertor, HandsValuesThroughInBothDirections) {
    SCC_Convertor none;
    for (int flag : {0, 1, -1}) {
        SCC_Variant const out = none.Convert(SCC_Variant("text"), flag);
        EXPECT_EQ(out.GetType(), SCC_Variant::ValueString);
        EXPECT_EQ(Text(out), "text");
        EXPECT_EQ(none.Convert(SCC_Variant(2.5), flag).GetType(), SCC_Variant::ValueDouble);
        EXPECT_TRUE(none.Convert(SCC_Variant(), flag).IsEmpty());
    }
}

TEST(Convertor, DerivedConvertorDiesWholeWithItsLastReference) {
    LifeLog log;
    {
        SCC_SharedPointer<SCC_Convertor> first(new Owning(&log));
        SCC_SharedPointer<SCC_Convertor> second = first;
        first = nullptr;
        EXPECT_EQ(log.destroyed, 0) << "one reference is left";
        EXPECT_EQ(second->GetRefCount(), 1);
    }
    EXPECT_EQ(log.destroyed, 1) << "the derived destructor ran through the base pointer";

    {
        Owning onStack(&log);
        SCC_SharedPointer<SCC_Convertor> p(&onStack);
        p = nullptr;
        EXPECT_EQ(log.destroyed, 1) << "an object not made by new is never deleted by a release";
        SCC_Convertor copy(onStack);
        EXPECT_EQ(copy.GetRefCount(), 0) << "a copy starts without references";
    }
    EXPECT_EQ(log.destroyed, 2);
}

} // namespace

namespace {

// Callers whose `long` is wider than the family's 32 bits still write longs.
TEST(Variant, WideIntegerTypesAreThe32BitForm) {
    SCC_Variant a(3L), b(3), c(static_cast<unsigned char>(3)), d(uint64_t{3});
    EXPECT_EQ(a.GetType(), b.GetType());
    EXPECT_EQ(c.GetType(), SCC_Variant::ValueInteger);
    EXPECT_TRUE(a == b && c == d);
    long l = SCC_Variant(-7);
    EXPECT_EQ(l, -7L);
    long long big = 1LL << 40;
    EXPECT_THROW(SCC_Variant{big}, SYS_Exception);
    EXPECT_THROW(SCC_Variant{uint32_t{0x80000000u}}, SYS_Exception);
    EXPECT_EQ(static_cast<int32_t>(SCC_Variant(int64_t{INT32_MIN})), INT32_MIN);
}

} // namespace
