#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

namespace {

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

// The compiled program, which the reference matcher of the engine tests reads.
std::string ProgramOf(char const* pattern) {
    return std::string(static_cast<char const*>(SYS_StrPattern(pattern)));
}

using Found = std::pair<int, int>; // position and length of a match
Found const None{-1, 0};

Found MatchOf(char const* pattern, char const* text) {
    int length = -7;
    int position = SYS_StrPattern(pattern).Match(text, &length);
    return {position, length};
}

TEST(StrPattern, DoubleByteCharactersCompileWhole) {
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(ProgramOf("\x82\xa0*"), "*\x03" "c\x82\xa0" "e") << "the trail byte belongs to the atom";
    EXPECT_EQ(ProgramOf("\x82|"), "c\x82|e") << "a lead byte takes any trail byte along";
    EXPECT_EQ(ProgramOf("[\x82\xa0-\x82\xa2]"), std::string("[\x06\x82\xa0\x82\xa1\x82\xa2" "e"));
    EXPECT_EQ(ProgramOf("[\x82\xa0-\x83\x40]"), std::string("[\x02\x82\xa0" "e")) << "different lead bytes";
    EXPECT_EQ(ProgramOf("[\\x82]"), "[\x01\x82" "e") << "a lone lead byte may stand in a set";
    EXPECT_EQ(ProgramOf("\\x82"), "") << "but not as a character of its own";
    EXPECT_EQ(ProgramOf("a\x82"), "ca" "c\x82" "e") << "a lead byte at the very end stands alone";
}

TEST(StrPattern, InvalidPatternsLeaveAnEmptyProgram) {
    std::string const longBody = "(" + std::string(127, 'a') + ")*";   // 1 + 254 + 1 bytes of body
    std::string const longestBody = "(" + std::string(126, 'a') + ".)*"; // 255 bytes of body
    std::string const longSet = "[\\x01-\\xff0]";                      // 256 set bytes
    char const* const invalid[] = {
        "a^b", "*a", "(a", "a)", "[a", "a**", "()", "a||b", "a|", "|a", "\\xg", "\\x00", "[]", "[^]", "[]a]",
        "\\", "a\\", "^", "^^a", "a+?", "[a-", "a]", "@", "(|a)", "(*)", "[\\x00]", "[a-\\",
        longBody.c_str(), longSet.c_str(),
    };
    for (char const* pattern : invalid) {
        EXPECT_EQ(ProgramOf(pattern), "") << pattern;
        EXPECT_EQ(MatchOf(pattern, "a*ab()[]^|\\x00 any text"), None) << pattern;
    }
    EXPECT_NE(ProgramOf(longestBody.c_str()), "");
    EXPECT_NE(ProgramOf("[\\x01-\\xff]"), "") << "255 set bytes fit";
    EXPECT_EQ(ProgramOf(nullptr), "");
}

TEST(StrPattern, GroupNestingIsBounded) {
    auto nested = [](int depth) { return std::string(depth, '(') + "a" + std::string(depth, ')'); };
    EXPECT_EQ(ProgramOf(nested(1000).c_str()), std::string(1000, ')') + "ca" + std::string(1001, 'e'));
    EXPECT_EQ(MatchOf(nested(1000).c_str(), "xa"), Found(1, 1));
    EXPECT_EQ(ProgramOf(nested(1001).c_str()), "");
    EXPECT_EQ(ProgramOf(std::string(200000, '(').c_str()), "");
}

TEST(StrPattern, MatchFollowsTheDialect) {
    std::tuple<char const*, char const*, char const*, Found> const cases[] = {
        {"empty text", "a*", "", None},
        {"a byte above 127", "\xe9+", "a\xe9\xe9", {1, 2}},
        {"escaped specials", "\\.\\*\\\\", "a.*\\", {1, 3}},
        {"control escapes", "\\b\\f\\n\\r\\t", "x\b\f\n\r\t", {1, 5}},
        {"one hexadecimal digit", "\\x4g", "\x04g", {0, 2}},
        {"hexadecimal escape, lower case", "\\x4a", "J", {0, 1}},
        {"a colon at the end", "a:", "a:", {0, 2}},
        {"colon before another letter", ":q", "a:q", {1, 2}},
        {"a range behind a range", "[a-c-e]", "xd", {1, 1}},
        {"escapes in a set", "[\\]\\x41-C]", "xB]", {1, 1}},
        {"descending range holds its start alone", "[z-a]", "az", {1, 1}},
        {"dash last", "[a-]", "-", {0, 1}},
        {"dash first", "[-a]", "x-", {1, 1}},
        {"negated set fails at the terminator", "[^a]", "a", None},
        {"start anchor tests the attempt's origin", "^a", "ba", None},
        {"anchor inside an alternative", "b|^a", "ba", {0, 1}},
        {"end anchor", "a$", "aa", {1, 1}},
        {"end anchor alone never matches", "$", "abc", None},
        {"the longer alternative wins", "cat|category", "category x", {0, 8}},
        {"the farther alternative wins though listed first", "ab|a", "abc", {0, 2}},
        {"farthest counts what follows the alternatives", "(a|ab)c", "abc", {0, 3}},
        {"greedy keeps its first iteration", "a*a", "a", None},
        {"greedy backs off to an earlier iteration", "a*ab", "aab", {0, 3}},
        {"minimal does not try zero after a first iteration", "a@a", "a", None},
        {"minimal grows until the rest fits", "a@b", "aab", {0, 3}},
        {"minimal stops at the first fit", "a@", "aaa", {0, 1}},
        {"one or more, minimal", "a#", "baa", {1, 1}},
        {"optional tried with the rest, then without", "a?a", "a", {0, 1}},
        {"number without exponent", ":n", "1.5e3", {0, 3}},
        {"signs anywhere in an integer", ":z", "x+-1-2", {1, 5}},
        {"hexadecimal integer", ":h", "x-ff!", {1, 3}},
        {"alphanumeric, space, alphabetic", ":a:b:c", "1 x", {0, 3}},
        {"hexadecimal digit", ":x+", "zzCafe!", {2, 4}},
        {"repeated end anchor", "$*", "ab", {0, 0}},
        {"empty iteration ends a greedy repetition", "(a*)*b", "aaab", {0, 4}},
        {"empty first iteration goes on with the rest", "(a*)+b", "b", {0, 1}},
        {"empty iteration ends a minimal repetition", "(x*)#b", "ab", {1, 1}},
    };
    for (auto [name, pattern, text, expected] : cases)
        EXPECT_EQ(MatchOf(pattern, text), expected) << name << ": " << pattern << " on \"" << text << "\"";
    EXPECT_EQ(MatchOf("b+", nullptr), None);
    EXPECT_EQ(SYS_StrPattern("b+").Match("abbc", nullptr), 1) << "the length is optional";
}

TEST(StrPattern, MatchWalksCharactersOfTheCodePage) {
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), Found(1, 1)) << "under 1252 every byte is a character";
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), None) << "a trail byte is never an attempt's start";
    EXPECT_EQ(MatchOf("..", "\x82\xa0x"), Found(0, 3));
    EXPECT_EQ(MatchOf("x", "\x82xx"), Found(2, 1)) << "\\x82 x is one character";
    EXPECT_EQ(MatchOf("\x82\xa0", "a\x82\xa1"), Found(1, 2)) << "a literal compares its first byte";
    EXPECT_EQ(MatchOf("[\x82\xa0]", "\x82\xa5"), Found(0, 2)) << "so does a set";
    EXPECT_EQ(MatchOf("[^\x82\xa0]", "\x82\xa5z"), Found(2, 1));
    EXPECT_EQ(MatchOf(":d", "\x82\x31" "1"), Found(2, 1)) << "a double-byte character is in no class";
    EXPECT_EQ(MatchOf("\x82", "\x82"), Found(0, 1)) << "a lead byte before the terminator stands alone";
}

TEST(StrPattern, CopiesShareNothingAndAssignmentsCompile) {
    SYS_StrPattern original("a+"), copy(original);
    original = SYS_StringBase("b");
    EXPECT_STREQ(static_cast<char const*>(copy), "+\x02" "cae");
    EXPECT_STREQ(static_cast<char const*>(original), "cbe");
    copy = "((";
    EXPECT_STREQ(static_cast<char const*>(copy), "") << "an invalid pattern replaces a valid one";
    // A program text is itself a pattern; compiling an object's own text must not trip on it.
    SYS_StrPattern self("ab");
    self = static_cast<char const*>(self);
    self = static_cast<SYS_StrPattern const&>(self);
    EXPECT_STREQ(static_cast<char const*>(self), "cccacccbcee");
}

TEST(StrPattern, SubstituteReplacesLeftToRight) {
    // pattern, text, replacement, maxCount, result, count; inserted text is not searched again, and
    // without a limit an empty match moves on by one character
    std::tuple<char const*, char const*, char const*, int, char const*, int> const cases[] = {
        {":d+", "a1b22", "x", 0, "axbx", 2},  {":d+", "a1b22", "x", 1, "axb22", 1},
        {"^a", "aaa", "b", 0, "bbb", 3},      {"a", "aa", "aa", 0, "aaaa", 2},
        {"z", "abc", "x", 0, "abc", 0},       {"b*", "aab", "x", 0, "xaxax", 3},
        {"b*", "aab", "x", 2, "xxaab", 2},    {"b*", "aab", "x", -1, "xaxax", 3},
    };
    for (auto [pattern, text, replacement, maxCount, result, count] : cases) {
        SYS_StringBase target(text);
        EXPECT_EQ(SYS_StrPattern(pattern).Substitute(target, replacement, maxCount), count) << pattern;
        EXPECT_STREQ(target.GetString(), result) << pattern << " on " << text << ", at most " << maxCount;
    }
    SYS_StringBase text("a1b");
    EXPECT_EQ(SYS_StrPattern(":d").Substitute(text, text, 0), 1) << "the replacement may be the target";
    EXPECT_STREQ(text.GetString(), "aa1bb");
    SYS_StringBase withNul("a1\0" "2", 4);
    EXPECT_EQ(SYS_StrPattern(":d").Substitute(withNul, SYS_StringBase("x\0y", 3), 0), 1);
    EXPECT_EQ(std::string(withNul.GetString(), 4), std::string("ax\0" "2", 4))
        << "the replacement ends at its NUL; bytes behind the target's NUL are kept and not searched";
    EXPECT_EQ(SYS_StrPattern("x").Substitute(withNul, "\\0$1", 0), 1);
    EXPECT_STREQ(withNul.GetString(), "a\\0$1") << "the replacement is taken literally";
    CodePageScope japanese(mortar::CodePageJapanese);
    SYS_StringBase wide("\x82\xa0z");
    EXPECT_EQ(SYS_StrPattern("y*").Substitute(wide, "-", 0), 2) << "an empty match steps a whole character";
    EXPECT_STREQ(wide.GetString(), "-\x82\xa0-z");
}

} // namespace
