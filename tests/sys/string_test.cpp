#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StringBase.h>

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <stdexcept>
#include <string>

namespace {

// The whole text of a string, embedded NUL bytes included.
std::string Bytes(SYS_StringBase const& s) {
    return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength()));
}

// `statement` must throw `type` with the message `text`.
#define EXPECT_THROW_TEXT(statement, type, text)                                                             \
    EXPECT_THROW(try { statement; } catch (type const& e) {                                                  \
        EXPECT_STREQ(e.what(), text);                                                                        \
        throw;                                                                                               \
    }, type)
#define EXPECT_BAD_POSITION(s) EXPECT_THROW_TEXT(s, std::out_of_range, "invalid string position")
#define EXPECT_TOO_LONG(s) EXPECT_THROW_TEXT(s, std::length_error, "string too long")

TEST(StringBase, ConstructionAndAssignmentKeepEveryByte) {
    EXPECT_EQ(Bytes(SYS_StringBase(static_cast<char const*>(nullptr), 5)), "");
    SYS_StringBase source("a\0bc", 4), copy(source);
    copy.SetAt(0, 'z');
    EXPECT_EQ(Bytes(source), std::string("a\0bc", 4)) << "copies are deep";
    EXPECT_EQ(Bytes(SYS_StringBase(std::move(copy))), std::string("z\0bc", 4));
    EXPECT_TOO_LONG(SYS_StringBase('x', -1));
    EXPECT_TOO_LONG(SYS_StringBase("abc", -1));

    SYS_StringBase s("abcdef");
    s = s.GetString() + 3;
    s = static_cast<SYS_StringBase const&>(s);
    EXPECT_EQ(Bytes(s), "def") << "own text and self-assignment";
    s = '\0';
    EXPECT_EQ(s.GetLength(), 1);
    EXPECT_EQ(s.Compare(""), 0) << "comparison stops at the NUL";

    unsigned short const wide[] = {'R', 0x20AC, 0x3042, 0}; // the euro sign is 0x80 in 1252
    EXPECT_EQ(Bytes(SYS_StringBase(wide)), "R\x80?");
    EXPECT_TRUE(wide == SYS_StringBase("R\x80?"));
    EXPECT_TRUE("abd" > SYS_StringBase("abc") && "" < SYS_StringBase("a")) << "a text on the left";
    EXPECT_TRUE(SYS_StringBase("\xE9") > "z") << "bytes compare unsigned";
}

TEST(StringBase, ConcatenationStopsAtNulAndNumbersAppendInFull) {
    SYS_StringBase s("0123456789");
    s.ConcatCopy(3, s.GetString() + 7, -1, "ab\0c");
    EXPECT_EQ(Bytes(s), "789ab") << "sources inside the own text; a negative count runs to the NUL";
    s << '\0' << s << 'c';
    EXPECT_EQ(Bytes(s), "789ab789abc") << "a NUL char adds nothing";
    SYS_StringBase n("a\0b", 3);
    n += n;
    EXPECT_EQ(Bytes(n), std::string("a\0ba", 4)) << "+= appends up to the NUL";
    n.Append(n);
    EXPECT_EQ(Bytes(n), std::string("a\0baa\0ba", 8)) << "Append takes every byte";
    EXPECT_TOO_LONG(n.Append("x", -1));
    EXPECT_EQ(Bytes('c' + n + '\0' + "x"), "cax");

    s.Empty();
    s << INT32_MIN << ' ' << UINT32_MAX << ' ' << 0.1f << ' ' << 1e20 << ' ' << -7L << ' ' << (1ULL << 40);
    EXPECT_EQ(Bytes(s), "-2147483648 4294967295 0.100000 100000000000000000000.000000 -7 1099511627776");
    s.Empty();
    s << -1.7976931348623157e308;
    EXPECT_EQ(s.GetLength(), 317) << "\"%f\" of the largest double";
}

TEST(StringBase, ExtractionEndsAtNulAndChecksPositions) {
    SYS_StringBase s("abc");
    EXPECT_EQ(Bytes(s.Right(100)) + Bytes(s.Left(-1)) + Bytes(s.Mid(1, -1)) + Bytes(s.Mid(3)), "abcabcbc");
    EXPECT_BAD_POSITION(s.Right(-1));
    EXPECT_BAD_POSITION(s.Mid(4));
    EXPECT_BAD_POSITION(s.Mid(INT_MIN));
    EXPECT_EQ(Bytes(SYS_StringBase("ab\0cd", 5).Mid(1)), "b");

    SYS_StringBase t(",,a,b");
    int pos = 0;
    std::string walk;
    for (SYS_StringBase token = t.Tokenize(",", pos); pos != -1; token = t.Tokenize(",", pos))
        walk += Bytes(token) + "@" + std::to_string(pos) + " ";
    EXPECT_EQ(walk, "a@4 b@6 ");
    EXPECT_EQ(Bytes(t.Tokenize(",", pos)), "");
    EXPECT_EQ(pos, -1) << "a negative position stays";
    pos = 2;
    EXPECT_EQ(Bytes(t.Tokenize("", pos)), "a,b") << "without delimiters the rest comes back every time";
    EXPECT_EQ(pos, 2);
    pos = 5;
    EXPECT_EQ(Bytes(t.Tokenize(nullptr, pos)), "");
    EXPECT_EQ(pos, -1);
}

TEST(StringBase, SearchesAnswerPositionsOutsideTheText) {
    SYS_StringBase s("abcabc");
    EXPECT_EQ(SYS_StringBase("ab").Find("", 2), 2);
    EXPECT_EQ(SYS_StringBase("a").Find("", 2), -1);
    EXPECT_EQ(s.Find("bc", -1), -1) << "a negative start is a huge one";
    EXPECT_EQ(SYS_StringBase("a\0bc", 4).Find("bc"), 2) << "Find sees every byte";
    EXPECT_EQ(s.FindOneOf("cx", 3), 5);
    EXPECT_EQ(s.FindOneOf("a", -1), -1);
    EXPECT_EQ(s.ReverseFind('a', -2), 3);
    EXPECT_EQ(s.ReverseFind('c', 6), -1);
    EXPECT_EQ(s.ReverseFind('\0', -2), 6);
    EXPECT_EQ(s.ReverseFind('\0', 3), -1);
    EXPECT_EQ(SYS_StringBase("ab\0b", 4).ReverseFind('b'), 1) << "the search ends at the NUL";
    EXPECT_EQ(s.ReverseFindOneOf("ab", 3), 3);
    EXPECT_EQ(s.ReverseFindOneOf("a", 2), -1) << "position 0 is not looked at";
}

TEST(StringBase, ReplaceAndEdits) {
    SYS_StringBase s("aa");
    EXPECT_EQ(s.Replace("", "x") + s.Replace("a", "a") + s.Replace('a', 'a'), 0);
    s = "a.b.c";
    EXPECT_EQ(s.Replace(s.GetString() + 3, "-"), 1) << "a pattern inside the own text";
    EXPECT_EQ(Bytes(s), "a.b-");

    // Against the in-place procedure: replace, then search on behind the inserted text.
    std::mt19937 random(7);
    std::uniform_int_distribution<int> letter(0, 2), length(0, 12);
    auto text = [&](std::size_t limit) {
        std::string t;
        for (int n = length(random); n > 0; --n) t.push_back(static_cast<char>('a' + letter(random)));
        return t.substr(0, limit);
    };
    for (int round = 0; round < 2000; ++round) {
        std::string subject = text(12), from = text(3), to = text(4), model = subject;
        if (from.empty() || from == to) continue;
        int expected = 0;
        for (std::size_t pos = model.find(from); pos != std::string::npos; ++expected) {
            model.replace(pos, from.size(), to);
            pos = model.find(from, pos + to.size());
        }
        SYS_StringBase r(subject.c_str());
        ASSERT_EQ(r.Replace(from.c_str(), to.c_str()), expected) << subject << " " << from << " " << to;
        ASSERT_EQ(Bytes(r), model);
    }

    s = "abcdef";
    s.Delete(1, 2);
    s.Delete(2, 100);
    s.Insert(0, '\0');
    s.Replace(2, -1, "!");
    s.Replace(0, 1, s.GetString() + 2);
    EXPECT_EQ(Bytes(s), "!a!") << "the inserted text may come from the string itself";
    EXPECT_BAD_POSITION(s.Insert(4, 'a'));
    EXPECT_BAD_POSITION(s.Delete(-1, 1));
    EXPECT_BAD_POSITION(s.Replace(4, 0, "a"));
    EXPECT_EQ(s.Remove('!'), 2);
}

TEST(StringBase, CaseTrimBufferAndFormat) {
    EXPECT_EQ(Bytes(SYS_StringBase("MiXed\xE9").MakeUpper()), "MIXED\xE9");
    EXPECT_EQ(Bytes(SYS_StringBase(" \t x y \f").TrimLeft().TrimRight("")), "x y");
    EXPECT_EQ(Bytes(SYS_StringBase("xa\0", 3).TrimRight("a")), std::string("xa\0", 3)) << "NUL stays";

    SYS_StringBase s;
    std::snprintf(s.GetBuffer(10), 11, "%s", "written");
    EXPECT_EQ(s.GetLength(), 11);
    s.ReleaseBuffer();
    s.GetBuffer(3);
    EXPECT_EQ(Bytes(s), "written") << "a long enough text is not cut";
    s.GetBufferSetLength(3)[1] = '\0';
    s.ReleaseBufferSetLength(4);
    EXPECT_EQ(Bytes(s), std::string("w\0i\0", 4));
    EXPECT_TOO_LONG(s.Reserve(-1));
    EXPECT_TOO_LONG(s.GetBuffer(INT_MAX));
    EXPECT_EQ(s.GetLength(), 4);

    // Format sees its own text as empty.
    s = "own %d";
    s.Format(s.GetString(), 1);
    EXPECT_EQ(Bytes(s), "");
    s = "argument";
    s.Format("[%s]%05.1f", s.GetString(), 2.25);
    EXPECT_EQ(Bytes(s), "[]002.2");
    std::string wide(1000, 'w');
    s = std::string(600, 'z').c_str();
    s.Format("%s%s", s.GetString(), wide.c_str());
    EXPECT_EQ(Bytes(s), wide) << "a long result with an argument in the old text";
    EXPECT_EQ(Bytes(FormattedString("%u-%s", 7u, "x")), "7-x");
}

// Under code page 932 the character-wise operations take a lead byte and its trail byte as one
// character, while the byte-wise ones see two bytes. 0x95 0x5C is one character whose trail byte
// is a backslash; 0x82 0x61 and 0x82 0x41 are characters whose trail bytes are letters.
TEST(StringBase, DoubleByteTextSeparatesByteAndCharacterOperations) {
    char const* const bs = "\x95\x5C";       // one double-byte character ending in '\'
    SYS_StringBase s("\x95\x5C\\x\x95\x5C"); // character, '\', 'x', character
    SYS_StringBase lead("\x82\x61"), upper("\x82\x41"), kana("\xA0");
    EXPECT_EQ(s.FindOneOf("\\"), 1) << "1252 is byte-wise";
    EXPECT_EQ(lead.CompareNoCase(upper), 0);
    EXPECT_LT(lead.Compare(kana), 0);

    mortar::SetCodePage(mortar::CodePageJapanese);
    EXPECT_EQ(s.FindOneOf("\\"), 2);
    EXPECT_EQ(s.ReverseFind('\\'), 2);
    EXPECT_EQ(s.ReverseFind('\x95', 5), -1) << "a lead byte is part of its character";
    EXPECT_EQ(s.ReverseFind('\x95', 4), 4) << "a lead byte cut off by start is one byte";
    EXPECT_EQ(SYS_StringBase("a\x95\x5C").ReverseFindOneOf("\\"), -1);
    EXPECT_EQ(SYS_StringBase(bs).ReverseFindOneOf("\\"), 1) << "the walk begins at byte 1";
    EXPECT_EQ(Bytes(s.SpanExcluding("\\")), bs);
    EXPECT_EQ(Bytes(s.SpanIncluding(bs)), bs);
    int pos = 0;
    EXPECT_EQ(Bytes(s.Tokenize("\\", pos)), bs);
    EXPECT_NE(lead.CompareNoCase(upper), 0) << "a letter as trail byte is not folded";
    EXPECT_TRUE(lead > kana) << "a double-byte character sorts above every single byte";

    EXPECT_EQ(s.Find("\\"), 1) << "byte-wise whatever the code page";
    EXPECT_EQ(Bytes(SYS_StringBase(bs).TrimRight("\\")), "\x95");
    EXPECT_EQ(SYS_StringBase(s).Replace('\\', '/'), 3);
    EXPECT_EQ(Bytes(lead.MakeUpper()), "\x82\x41");
    mortar::SetCodePage(mortar::CodePageWestern);
}

} // namespace
