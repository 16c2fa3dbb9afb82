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

TEST(TextStyle, StoresAnyValueAndCopiesDeep) {
    SYS_TextStyle style;
    EXPECT_EQ(style.SetFont("Stroke") + style.SetHeight(-1) + style.SetWidth(INT32_MIN), 3);
    SYS_TextStyle copy(style);
    style.SetFont("Vector");
    style.SetHeight(5);
    EXPECT_TRUE(S(copy.GetFont()) == "Stroke" && copy.GetHeight() == -1 && copy.GetWidth() == INT32_MIN);
    copy = style;
    EXPECT_TRUE(S(copy.GetFont()) == "Vector" && copy.GetHeight() == 5);
}

TEST(Text, HoldsTheStyleByAddressAndCopiesTheString) {
    SYS_Text text;
    EXPECT_TRUE(text.GetString().IsEmpty() && text.GetStyle() == nullptr &&
                text.GetPosition() == SYS_Position());

    SYS_TextStyle style;
    EXPECT_EQ(text.SetStyle(style), 1);
    style.SetHeight(19050);
    EXPECT_EQ(text.GetStyle()->GetHeight(), 19050) << "a later change shows through";
    SYS_Position const at(100, -200, 162000000, 1);
    EXPECT_EQ(text.SetPosition(at) + text.SetString("R12"), 2);

    SYS_Text copy(text);
    EXPECT_TRUE(S(copy.GetString()) == "R12" && copy.GetStyle() == &style && copy.GetPosition() == at);
    SYS_TextStyle other;
    copy.SetString("C3");
    copy.SetStyle(other);
    EXPECT_TRUE(S(text.GetString()) == "R12" && text.GetStyle() == &style) << "the copy has its own string";

    SYS_TextAttributes attributes;
    attributes = copy;
    EXPECT_TRUE(attributes.GetStyle() == &other && attributes.GetPosition() == at);

    // A temporary style would dangle at once: SetStyle does not take one.
    static_assert(TakesStyle<SYS_TextStyle&>::value && TakesStyle<SYS_TextStyle const&>::value);
    static_assert(!TakesStyle<SYS_TextStyle>::value && !TakesStyle<SYS_TextStyle const>::value);
}

} // namespace
