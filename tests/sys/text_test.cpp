#include <mortar/sys/SYS_Text.h>

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <type_traits>
#include <utility>

namespace {

std::string S(SYS_StringBase const& s) { return std::string(s.GetString(), size_t(s.GetLength())); }

// Whether SetStyle accepts an argument of type A: a temporary style would dangle at once.
template <class A, class = void>
struct TakesStyle : std::false_type {};
template <class A>
struct TakesStyle<A, std::void_t<decltype(std::declval<SYS_TextAttributes&>().SetStyle(std::declval<A>()))>>
    : std::true_type {};
static_assert(TakesStyle<SYS_TextStyle&>::value && TakesStyle<SYS_TextStyle const&>::value &&
              !TakesStyle<SYS_TextStyle>::value && !TakesStyle<SYS_TextStyle const>::value);

TEST(Text, StylesCopyDeepAndAreHeldByAddress) {
    SYS_TextStyle style;
    EXPECT_EQ(style.SetFont("Stroke") + style.SetHeight(-1) + style.SetWidth(INT32_MIN), 3);
    SYS_TextStyle copy(style);
    style.SetFont("Vector");
    EXPECT_TRUE(S(copy.GetFont()) == "Stroke" && copy.GetHeight() == -1 && copy.GetWidth() == INT32_MIN);
    copy = style;
    EXPECT_EQ(S(copy.GetFont()), "Vector");

    SYS_Text text;
    EXPECT_TRUE(text.GetString().IsEmpty() && !text.GetStyle() && text.GetPosition() == SYS_Position());
    SYS_Position const at(100, -200, 162000000, 1);
    EXPECT_EQ(text.SetStyle(style) + text.SetPosition(at) + text.SetString("R12"), 3);
    style.SetHeight(19050);
    EXPECT_EQ(text.GetStyle()->GetHeight(), 19050) << "a later change shows through";

    SYS_Text other(text);
    EXPECT_TRUE(S(other.GetString()) == "R12" && other.GetStyle() == &style && other.GetPosition() == at);
    other.SetString("C3");
    other.SetStyle(copy);
    EXPECT_TRUE(S(text.GetString()) == "R12" && text.GetStyle() == &style) << "the copy has its own string";
}

} // namespace
