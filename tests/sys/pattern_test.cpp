#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include <gtest/gtest.h>

#include <string>

namespace {

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

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

TEST(StrPattern, CompilesToTheByteProgram) {
    struct Case {
        char const* pattern;
        std::string program;
    } const cases[] = {
        {"abc", "cacbcce"},
        {"a|b", "|caecbe"},
        {"a|b|c", "|cae|cbecce"},
        {"(a|b)c", ")|caecbecce"},
        {"((a))", "))caeee"},
        {"(ab)*", std::string("*\x06)cacbee")},
        {"^a$", "^ca$e"},
        {"x|^y", "|cxe^cye"},
        {".", ".e"},
        {"[a-c]", std::string("[\x03" "abce")},
        {"[^a]", std::string("]\x01" "ae")},
        {"[z-a]", std::string("[\x01" "ze")},
        {"[a-]", std::string("[\x02" "a-e")},
        {"[-a]", std::string("[\x02-ae")},
        {"[^-a]", std::string("]\x02-ae")},
        {"[a-c-e]", std::string("[\x05" "abcdee")},
        {"[\\]\\x41-C]", std::string("[\x04]ABCe")},
        {"[\\t-\\n]", std::string("[\x02\t\ne")},
        {":d+", std::string("+\x02:de")},
        {":q", "c:cqe"},
        {"a:", "cac:e"},
        {"\\x41", "cAe"},
        {"\\x4a", "cJe"},
        {"\\x4g", std::string("c\x04" "cge")},
        {"\\b\\f\\n\\r\\t", "c\bc\fc\nc\rc\te"},
        {"\\.\\*\\\\", "c.c*c\\e"},
        {"a?", std::string("?\x02" "cae")},
        {"a@b#", std::string("@\x02" "ca#\x02" "cbe")},
        {"$*", std::string("*\x01$e")},
        {"(a|bc)+d", std::string("+\x0a)|caecbccecde")},
        {"\xe9+", std::string("+\x02" "c\xe9" "e")},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.pattern);
        EXPECT_EQ(ProgramOf(c.pattern), c.program);
    }
}

TEST(StrPattern, DoubleByteCharactersCompileWhole) {
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(ProgramOf("\x82\xa0*"), "*\x03" "c\x82\xa0" "e") << "the trail byte belongs to the atom";
    EXPECT_EQ(ProgramOf("\x82|"), "c\x82|e") << "a lead byte takes any trail byte along";
    EXPECT_EQ(ProgramOf("\\\x82\xa0"), "c\x82\xa0" "e");
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
        "a^b", "*a", "(a", "a)", "[a", "a**", "()", "a||b", "a|", "|a", "\\xg", "\\x00", "\\x0",
        "[]", "[^]", "[]a]", "\\", "a\\", "^", "^^a", "a+?", "[a-", "a]", "@", "#", "?", "+",
        "(|a)", "(a|)", "(*)", "[\\x00]", "[a-\\", longBody.c_str(), longSet.c_str(),
    };
    for (char const* pattern : invalid) {
        SCOPED_TRACE(pattern);
        SYS_StrPattern p(pattern);
        EXPECT_STREQ(static_cast<char const*>(p), "");
        int length = 5;
        EXPECT_EQ(p.Match("a*ab()[]^|\\x00 any text", &length), -1);
        EXPECT_EQ(length, 0);
    }
    EXPECT_STRNE(static_cast<char const*>(SYS_StrPattern(longestBody.c_str())), "");
    EXPECT_STRNE(static_cast<char const*>(SYS_StrPattern("[\\x01-\\xff]")), "") << "255 set bytes fit";
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern(static_cast<char const*>(nullptr))), "");
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern("")), "");
    EXPECT_STREQ(static_cast<char const*>(SYS_StrPattern()), "");
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
        {"empty text, end anchor", "$", "", None},
        {"empty match at the first position", "b*", "aab", {0, 0}},
        {"a set run", "[a-c]+", "xxabcy", {2, 3}},
        {"start anchor tests the attempt's origin", "^a", "ba", None},
        {"end anchor", "a$", "aa", {1, 1}},
        {"end anchor alone never matches", "$", "abc", None},
        {"the longer alternative wins", "cat|category", "category x", {0, 8}},
        {"the farther alternative wins though listed first", "ab|a", "abc", {0, 2}},
        {"farthest counts what follows the alternatives", "(a|ab)c", "abc", {0, 3}},
        {"farthest, nested", "(a|ab)(c|bcd)", "abcd", {0, 4}},
        {"alternative reaching the end stops the search", "(a|ab)b*", "ab", {0, 2}},
        {"anchor inside an alternative", "b|^a", "ba", {0, 1}},
        {"anchor inside an alternative, later attempt", "b|^a", "ca", None},
        {"greedy keeps its first iteration", "a*a", "a", None},
        {"greedy gives back later iterations", "a*a", "aa", {0, 2}},
        {"greedy backs off to an earlier iteration", "a*ab", "aab", {0, 3}},
        {"one or more", "a+", "baa", {1, 2}},
        {"minimal does not try zero after a first iteration", "a@a", "a", None},
        {"minimal grows until the rest fits", "a@b", "aab", {0, 3}},
        {"minimal with zero iterations", "a@b", "b", {0, 1}},
        {"one or more, minimal, needs one", "a#b", "b", None},
        {"one or more, minimal", "a#b", "xaab", {1, 3}},
        {"minimal stops at the first fit", "a#", "aaa", {0, 1}},
        {"optional taken", "a?b", "ab", {0, 2}},
        {"optional skipped", "a?b", "b", {0, 1}},
        {"optional tried with the rest, then without", "a?a", "a", {0, 1}},
        {"repeated group", "(ab)*c", "ababc", {0, 5}},
        {"alternatives in a repetition take the farthest", "(a|aa)*c", "aaac", {0, 4}},
        {"number without exponent", ":n", "1.5e3", {0, 3}},
        {"signed integer", ":z", "-12x", {0, 3}},
        {"signs anywhere in an integer", ":z", "x+-1-2", {1, 5}},
        {"hexadecimal integer", ":h", "x-ff!", {1, 3}},
        {"digit run", ":d+", "ab123c", {2, 3}},
        {"upper then lower", ":u:l", "aBc", {1, 2}},
        {"alphanumeric and space", ":a:b:c", "1 x", {0, 3}},
        {"hexadecimal digit", ":x+", "zzCafe!", {2, 4}},
        {"descending range holds its start alone", "[z-a]", "az", {1, 1}},
        {"descending range", "[z-a]", "a", None},
        {"dash last", "[a-]", "-", {0, 1}},
        {"dash first", "[-a]", "x-", {1, 1}},
        {"negated set fails at the terminator", "[^a]", "a", None},
        {"negated set", "[^a]", "ab", {1, 1}},
        {"hexadecimal escape", "\\x41", "zA", {1, 1}},
        {"hexadecimal escape, lower case", "\\x4a", "J", {0, 1}},
        {"colon before another letter", ":q", "a:q", {1, 2}},
        {"any character", "a.c", "abc", {0, 3}},
        {"empty iteration ends a greedy repetition", "(a*)*b", "aaab", {0, 4}},
        {"empty first iteration goes on with the rest", "(a*)+b", "b", {0, 1}},
        {"empty iterations everywhere", "(x*)*", "abc", {0, 0}},
        {"minimal repetition of a run", "(a*)#b", "aab", {0, 3}},
        {"empty iteration ends a minimal repetition", "(x*)#b", "ab", {1, 1}},
        {"optional inside a repetition", "(a?)*b", "aab", {0, 3}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(MatchOf(c.pattern, c.text), c.expected) << c.pattern << " on \"" << c.text << "\"";
    }
}

TEST(StrPattern, MatchWalksCharactersOfTheCodePage) {
    // Under 1252 every byte is a character; under 932 a lead byte and its trail byte are one.
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), (Found{1, 1}));
    EXPECT_EQ(MatchOf(".", "\x82\xa0"), (Found{0, 1}));
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_EQ(MatchOf("\xa0", "\x82\xa0"), None) << "a trail byte is never an attempt's start";
    EXPECT_EQ(MatchOf(".", "\x82\xa0x"), (Found{0, 2}));
    EXPECT_EQ(MatchOf("..", "\x82\xa0x"), (Found{0, 3}));
    EXPECT_EQ(MatchOf("x", "\x82xx"), (Found{2, 1})) << "\\x82 x is one character";
    EXPECT_EQ(MatchOf("\x82\xa0", "a\x82\xa1"), (Found{1, 2})) << "a literal compares its first byte";
    EXPECT_EQ(MatchOf("[\x82\xa0]", "\x82\xa5"), (Found{0, 2})) << "so does a set";
    EXPECT_EQ(MatchOf("[^\x82\xa0]", "\x82\xa5z"), (Found{2, 1}));
    EXPECT_EQ(MatchOf(":d", "\x82\x31" "1"), (Found{2, 1})) << "a double-byte character is in no class";
    EXPECT_EQ(MatchOf("\x82", "\x82"), (Found{0, 1})) << "a lead byte before the terminator stands alone";
}

TEST(StrPattern, MatchArguments) {
    SYS_StrPattern p("b+");
    int length = 9;
    EXPECT_EQ(p.Match(nullptr, &length), -1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(p.Match("abbc", nullptr), 1) << "the length is optional";
    length = 9;
    EXPECT_EQ(SYS_StrPattern().Match("abc", &length), -1);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(p.Match("abbc", &length), 1);
    EXPECT_EQ(length, 2);
}

TEST(StrPattern, CopiesShareNothingAndAssignmentsCompile) {
    SYS_StrPattern original("a+");
    SYS_StrPattern copy(original);
    EXPECT_STREQ(static_cast<char const*>(copy), static_cast<char const*>(original));
    original = "b";
    EXPECT_STREQ(static_cast<char const*>(copy), "+\x02" "cae");
    EXPECT_STREQ(static_cast<char const*>(original), "cbe");
    copy = original;
    EXPECT_STREQ(static_cast<char const*>(copy), "cbe");
    copy = SYS_StringBase("x|y");
    EXPECT_STREQ(static_cast<char const*>(copy), "|cxecye");
    SYS_StrPattern fromString(SYS_StringBase("x*"));
    EXPECT_STREQ(static_cast<char const*>(fromString), "*\x02" "cxe");
    copy = "((";
    EXPECT_STREQ(static_cast<char const*>(copy), "") << "an invalid pattern replaces a valid one";

    // A program text is itself a pattern; compiling an object's own text must not trip on it.
    SYS_StrPattern self("ab");
    self = static_cast<char const*>(self);
    EXPECT_STREQ(static_cast<char const*>(self), "cccacccbcee");
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
        {"more allowed than found", ":d+", "a1b22", "x", 5, "axbx", 2},
        {"each search is a new text", "^a", "aaa", "b", 0, "bbb", 3},
        {"inserted text is not searched", "a", "aa", "aa", 0, "aaaa", 2},
        {"empty replacement", "b+", "abbcb", "", 0, "ac", 2},
        {"no match", "z", "abc", "x", 0, "abc", 0},
        {"empty matches move on by one character", "b*", "aab", "x", 0, "xaxax", 3},
        {"empty matches with a count stay in place", "b*", "aab", "x", 2, "xxaab", 2},
        {"a negative count is no limit", "b*", "aab", "x", -1, "xaxax", 3},
        {"whole text", ".*", "abc", "-", 0, "-", 1},
        {"invalid pattern", "(", "abc", "x", 0, "abc", 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        SYS_StringBase target(c.text);
        EXPECT_EQ(SYS_StrPattern(c.pattern).Substitute(target, c.replacement, c.maxCount), c.count);
        EXPECT_STREQ(target.GetString(), c.result);
    }
}

TEST(StrPattern, SubstituteEdges) {
    // The replacement may be the target itself.
    SYS_StringBase text("a1b");
    EXPECT_EQ(SYS_StrPattern(":d").Substitute(text, text, 0), 1);
    EXPECT_STREQ(text.GetString(), "aa1bb");

    // Bytes behind an embedded NUL are kept and never searched.
    SYS_StringBase withNul("a1\0" "2", 4);
    EXPECT_EQ(SYS_StrPattern(":d").Substitute(withNul, "x", 0), 1);
    EXPECT_EQ(withNul.GetLength(), 4);
    EXPECT_EQ(std::string(withNul.GetString(), 4), std::string("ax\0" "2", 4));

    // The replacement is taken up to its first NUL, and literally.
    SYS_StringBase target("ab");
    EXPECT_EQ(SYS_StrPattern("b").Substitute(target, SYS_StringBase("x\0y", 3), 0), 1);
    EXPECT_STREQ(target.GetString(), "ax");
    EXPECT_EQ(SYS_StrPattern("x").Substitute(target, "\\0$1", 0), 1);
    EXPECT_STREQ(target.GetString(), "a\\0$1");

    // An empty match at a double-byte character steps over the whole character.
    CodePageScope japanese(mortar::CodePageJapanese);
    SYS_StringBase wide("\x82\xa0z");
    EXPECT_EQ(SYS_StrPattern("y*").Substitute(wide, "-", 0), 2);
    EXPECT_STREQ(wide.GetString(), "-\x82\xa0-z");
}

} // namespace
