#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include <gtest/gtest.h>

#include <string>

namespace {

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

// The compiled program, which the reference matcher of the engine tests reads.
std::string ProgramOf(char const* pattern) {
    return std::string(static_cast<char const*>(SYS_StrPattern(pattern)));
}

struct Found {
    int position;
    int length;
    bool operator==(Found const& o) const { return position == o.position && length == o.length; }
};

std::ostream& operator<<(std::ostream& out, Found const& f) {
    return out << "{" << f.position << ", " << f.length << "}";
}

Found MatchOf(char const* pattern, char const* text) {
    int length = -7;
    int position = SYS_StrPattern(pattern).Match(text, &length);
    return {position, length};
}

constexpr Found None{-1, 0};

TEST(StrPattern, DoubleByteCharactersCompileWhole) {
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(ProgramOf("\x82\xa0*"), "*\x03" "c\x82\xa0" "e") << "the trail byte belongs to the atom";
    EXPECT_EQ(ProgramOf("\x82|"), "c\x82|e") << "a lead byte takes any trail byte along";
    EXPECT_EQ(ProgramOf("[\x82\xa0-\x82\xa2]"), std::string("[\x06\x82\xa0\x82\xa1\x82\xa2" "e"));
    EXPECT_EQ(ProgramOf("[\x82\xa0-\x83\x40]"), std::string("[\x02\x82\xa0" "e")) << "different lead bytes";
    EXPECT_EQ(ProgramOf("[a-\x82\xa0]"), "[\x01" "ae") << "a single-byte and a double-byte end";
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
        SCOPED_TRACE(pattern);
        SYS_StrPattern p(pattern);
        EXPECT_STREQ(static_cast<char const*>(p), "");
        EXPECT_EQ(MatchOf(pattern, "a*ab()[]^|\\x00 any text"), None);
    }
    EXPECT_STRNE(static_cast<char const*>(SYS_StrPattern(longestBody.c_str())), "");
    EXPECT_STRNE(static_cast<char const*>(SYS_StrPattern("[\\x01-\\xff]")), "") << "255 set bytes fit";
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern(static_cast<char const*>(nullptr))), "");
}

TEST(StrPattern, GroupNestingIsBounded) {
    auto nested = [](int depth) { return std::string(depth, '(') + "a" + std::string(depth, ')'); };
    SYS_StrPattern deepest(nested(1000).c_str());
    EXPECT_EQ(std::string(deepest), std::string(1000, ')') + "ca" + std::string(1001, 'e'));
    int length = 0;
    EXPECT_EQ(deepest.Match("xa", &length), 1);
    EXPECT_EQ(length, 1);
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern(nested(1001).c_str())), "");
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern(std::string(200000, '(').c_str())), "");
}

TEST(StrPattern, MatchFollowsTheDialect) {
    struct Case {
        char const* name;
        char const* pattern;
        char const* text;
        Found expected;
    } const cases[] = {
        {"empty text", "a*", "", None},
        {"sequence of alternatives", "a|b|c", "xc", {1, 1}},
        {"repeated group", "(ab)*", "ababa", {0, 4}},
        {"group of alternatives repeated", "(a|bc)+d", "abcad", {0, 5}},
        {"a byte above 127", "\xe9+", "a\xe9\xe9", {1, 2}},
        {"escaped specials", "\\.\\*\\\\", "a.*\\", {1, 3}},
        {"control escapes", "\\b\\f\\n\\r\\t", "x\b\f\n\r\t", {1, 5}},
        {"one hexadecimal digit", "\\x4g", "\x04g", {0, 2}},
        {"a colon at the end", "a:", "a:", {0, 2}},
        {"repeated end anchor", "$*", "ab", {0, 0}},
        {"a range behind a range", "[a-c-e]", "xd", {1, 1}},
        {"escapes in a set", "[\\]\\x41-C]", "xB]", {1, 1}},
        {"start anchor tests the attempt's origin", "^a", "ba", None},
        {"end anchor", "a$", "aa", {1, 1}},
        {"end anchor alone never matches", "$", "abc", None},
        {"the longer alternative wins", "cat|category", "category x", {0, 8}},
        {"the farther alternative wins though listed first", "ab|a", "abc", {0, 2}},
        {"farthest counts what follows the alternatives", "(a|ab)c", "abc", {0, 3}},
        {"anchor inside an alternative", "b|^a", "ba", {0, 1}},
        {"greedy keeps its first iteration", "a*a", "a", None},
        {"greedy backs off to an earlier iteration", "a*ab", "aab", {0, 3}},
        {"minimal does not try zero after a first iteration", "a@a", "a", None},
        {"minimal grows until the rest fits", "a@b", "aab", {0, 3}},
        {"one or more, minimal", "a#b", "xaab", {1, 3}},
        {"minimal stops at the first fit", "a#", "aaa", {0, 1}},
        {"optional tried with the rest, then without", "a?a", "a", {0, 1}},
        {"alternatives in a repetition take the farthest", "(a|aa)*c", "aaac", {0, 4}},
        {"number without exponent", ":n", "1.5e3", {0, 3}},
        {"signs anywhere in an integer", ":z", "x+-1-2", {1, 5}},
        {"hexadecimal integer", ":h", "x-ff!", {1, 3}},
        {"alphanumeric, space, alphabetic", ":a:b:c", "1 x", {0, 3}},
        {"hexadecimal digit", ":x+", "zzCafe!", {2, 4}},
        {"descending range holds its start alone", "[z-a]", "az", {1, 1}},
        {"dash last", "[a-]", "-", {0, 1}},
        {"dash first", "[-a]", "x-", {1, 1}},
        {"negated set fails at the terminator", "[^a]", "a", None},
        {"hexadecimal escape, lower case", "\\x4a", "J", {0, 1}},
        {"colon before another letter", ":q", "a:q", {1, 2}},
        {"empty iteration ends a greedy repetition", "(a*)*b", "aaab", {0, 4}},
        {"empty first iteration goes on with the rest", "(a*)+b", "b", {0, 1}},
        {"empty iterations everywhere", "(x*)*", "abc", {0, 0}},
        {"empty iteration ends a minimal repetition", "(x*)#b", "ab", {1, 1}},
        {"optional inside a repetition", "(a?)*b", "aab", {0, 3}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(MatchOf(c.pattern, c.text), c.expected) << c.pattern << " on \"" << c.text << "\"";
    }
    int length = 9;
    EXPECT_EQ(SYS_StrPattern("b+").Match(nullptr, &length), -1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(SYS_StrPattern("b+").Match("abbc", nullptr), 1) << "the length is optional";
}

TEST(StrPattern, MatchWalksCharactersOfTheCodePage) {
    // Under 1252 every byte is a character; under 932 a lead byte and its trail byte are one.
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), (Found{1, 1}));
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), None) << "a trail byte is never an attempt's start";
    EXPECT_EQ(MatchOf("..", "\x82\xa0x"), (Found{0, 3}));
    EXPECT_EQ(MatchOf("x", "\x82xx"), (Found{2, 1})) << "\\x82 x is one character";
    EXPECT_EQ(MatchOf("\x82\xa0", "a\x82\xa1"), (Found{1, 2})) << "a literal compares its first byte";
    EXPECT_EQ(MatchOf("[\x82\xa0]", "\x82\xa5"), (Found{0, 2})) << "so does a set";
    EXPECT_EQ(MatchOf("[^\x82\xa0]", "\x82\xa5z"), (Found{2, 1}));
    EXPECT_EQ(MatchOf(":d", "\x82\x31" "1"), (Found{2, 1})) << "a double-byte character is in no class";
    EXPECT_EQ(MatchOf("\x82", "\x82"), (Found{0, 1})) << "a lead byte before the terminator stands alone";
}

TEST(StrPattern, CopiesShareNothingAndAssignmentsCompile) {
    SYS_StrPattern original("a+");
    SYS_StrPattern copy(original);
    original = SYS_StringBase("b");
    EXPECT_STREQ(static_cast<char const*>(copy), "+\x02" "cae");
    EXPECT_STREQ(static_cast<char const*>(original), "cbe");
    copy = "((";
    EXPECT_STREQ(static_cast<char const*>(copy), "") << "an invalid pattern replaces a valid one";

    // A program text is itself a pattern; compiling an object's own text must not trip on it.
    SYS_StrPattern self("ab");
    self = static_cast<char const*>(self);
    SYS_StrPattern& alias = self;
    self = alias;
    EXPECT_STREQ(static_cast<char const*>(self), "cccacccbcee");
}

TEST(StrPattern, SubstituteReplacesLeftToRight) {
    struct Case {
        char const* name;
        char const* pattern;
        char const* text;
        char const* replacement;
        int maxCount;
        char const* result;
        int count;
    } const cases[] = {
        {"all digit runs", ":d+", "a1b22", "x", 0, "axbx", 2},
        {"at most one", ":d+", "a1b22", "x", 1, "axb22", 1},
        {"each search is a new text", "^a", "aaa", "b", 0, "bbb", 3},
        {"inserted text is not searched", "a", "aa", "aa", 0, "aaaa", 2},
        {"no match", "z", "abc", "x", 0, "abc", 0},
        {"empty matches move on by one character", "b*", "aab", "x", 0, "xaxax", 3},
        {"empty matches with a count stay in place", "b*", "aab", "x", 2, "xxaab", 2},
        {"a negative count is no limit", "b*", "aab", "x", -1, "xaxax", 3},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        SYS_StringBase target(c.text);
        EXPECT_EQ(SYS_StrPattern(c.pattern).Substitute(target, c.replacement, c.maxCount), c.count);
        EXPECT_STREQ(target.GetString(), c.result);
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
