#include <mortar/sys/SYS_Text.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>
#include <utility>

namespace {

std::string S(SYS_StringBase const& s) {
    return std::string(s.GetString(), size_t(s.GetLength()));
}

// Whether SetStyle accepts an argument of type A.
template <class A, class = void>
struct TakesStyle : std::false_type {};
template <class A>
struct TakesStyle<A, std::void_t<decltype(std::declval<SYS_TextAttributes&>().SetStyle(std::declval<A>()))>>
    : std::true_type {};

TEST(TextStyle, StoresWhatItIsGivenAndCopiesDeep) {
    SYS_TextStyle style;
    EXPECT_TRUE(style.GetFont().IsEmpty());
    EXPECT_EQ(style.GetHeight(), 0);
    EXPECT_EQ(style.GetWidth(), 0);

    EXPECT_EQ(style.SetFont("Stroke"), 1);
    EXPECT_EQ(style.SetHeight(-1), 1);
    EXPECT_EQ(style.SetWidth(INT32_MIN), 1);
    EXPECT_EQ(S(style.GetFont()), "Stroke");
    EXPECT_EQ(style.GetHeight(), -1);
    EXPECT_EQ(style.GetWidth(), INT32_MIN);

    SYS_TextStyle copy(style);
    style.SetFont("Vector");
    style.SetHeight(5);
    EXPECT_EQ(S(copy.GetFont()), "Stroke");
    EXPECT_EQ(copy.GetHeight(), -1);
    copy = style;
    EXPECT_EQ(S(copy.GetFont()), "Vector");
    EXPECT_EQ(copy.GetHeight(), 5);
    EXPECT_EQ(copy.GetWidth(), INT32_MIN);
}

TEST(TextAttributes, HoldTheStyleByAddress) {
    SYS_TextAttributes attributes;
    EXPECT_EQ(attributes.GetStyle(), nullptr);
    EXPECT_EQ(attributes.GetPosition(), SYS_Position());

    SYS_TextStyle style;
    EXPECT_EQ(attributes.SetStyle(style), 1);
    EXPECT_EQ(attributes.GetStyle(), &style);
    style.SetHeight(19050);
    EXPECT_EQ(attributes.GetStyle()->GetHeight(), 19050) << "a later change shows through";

    SYS_Position const at(100, -200, 162000000, 1);
    EXPECT_EQ(attributes.SetPosition(at), 1);
    EXPECT_EQ(attributes.GetPosition(), at);

    SYS_TextAttributes copy(attributes);
    EXPECT_EQ(copy.GetStyle(), &style);
    EXPECT_EQ(copy.GetPosition(), at);
    SYS_TextStyle other;
    copy.SetStyle(other);
    copy.SetPosition(SYS_Position(1, 2, 0, 0));
    EXPECT_EQ(attributes.GetStyle(), &style);
    EXPECT_EQ(attributes.GetPosition(), at);
    attributes = copy;
    EXPECT_EQ(attributes.GetStyle(), &other);

    // A temporary style would dangle at once: SetStyle does not take one.
    static_assert(TakesStyle<SYS_TextStyle&>::value && TakesStyle<SYS_TextStyle const&>::value);
    static_assert(!TakesStyle<SYS_TextStyle>::value && !TakesStyle<SYS_TextStyle const>::value);
}

TEST(Text, CopiesTheStringAndSharesTheStyle) {
    SYS_Text text;
    EXPECT_TRUE(text.GetString().IsEmpty());
    EXPECT_EQ(text.GetStyle(), nullptr);
    EXPECT_EQ(text.GetPosition(), SYS_Position());

    SYS_TextStyle style;
    style.SetFont("Stroke");
    text.SetStyle(style);
    text.SetPosition(SYS_Position(7, 8, 0, 1));
    EXPECT_EQ(text.SetString("R12"), 1);
    EXPECT_EQ(S(text.GetString()), "R12");

    SYS_Text copy(text);
    EXPECT_EQ(S(copy.GetString()), "R12");
    EXPECT_EQ(copy.GetStyle(), &style);
    EXPECT_EQ(copy.GetPosition(), text.GetPosition());
    copy.SetString("C3");
    EXPECT_EQ(S(text.GetString()), "R12") << "the copy has a string of its own";
    style.SetFont("Vector");
    EXPECT_EQ(S(copy.GetStyle()->GetFont()), "Vector") << "and shares the style";

    SYS_Text assigned;
    assigned = copy;
    EXPECT_EQ(S(assigned.GetString()), "C3");
    EXPECT_EQ(assigned.GetStyle(), &style);
}

} // namespace
