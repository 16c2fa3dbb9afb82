#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>
#include <mortar/platform/system.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>

namespace {

using namespace mortar;

// Sets a code page for the life of a test and puts the default back afterwards.
struct CodePageScope {
    explicit CodePageScope(int cp) { SetCodePage(cp); }
    ~CodePageScope() { SetCodePage(CodePageWestern); }
};

TEST(Platform, LastErrorIsErrno) {
    SetLastError(24);
    EXPECT_EQ(errno, 24);
    errno = 2;
    EXPECT_EQ(GetLastError(), 2u);
}

TEST(Platform, SystemErrorTextKnowsOnlyRealNumbers) {
    std::string text;
    EXPECT_TRUE(SystemErrorText(24, text));
    EXPECT_EQ(text, "Too many open files");
    EXPECT_FALSE(SystemErrorText(99999, text));
    EXPECT_TRUE(text.empty());
    EXPECT_FALSE(SystemErrorText(0xFFFFFFFFu, text));
}

TEST(Platform, CodePageSelection) {
    EXPECT_EQ(GetCodePage(), 1252);
    EXPECT_EQ(SetCodePage(437), 0);
    EXPECT_EQ(GetCodePage(), 1252);
    {
        CodePageScope scope(932);
        EXPECT_EQ(GetCodePage(), 932);
        EXPECT_EQ(IsDoubleByteCodePage(), 1);
    }
    EXPECT_EQ(IsDoubleByteCodePage(), 0);
}

TEST(Platform, WideTextConvertsToTheCurrentCodePage) {
    unsigned short const euro[] = {'a', 0x20AC, 'b', 0};      // the euro sign is 0x80 in 1252
    unsigned short const kana[] = {0x30A2, 'x', 0};             // KATAKANA A: 0x83 0x41 in 932
    unsigned short const lone[] = {0xD800, 'z', 0};             // a lone surrogate
    EXPECT_EQ(WideToMultiByte(euro), std::string("a\x80" "b"));
    EXPECT_EQ(WideToMultiByte(kana), std::string("?x"));        // not in 1252
    EXPECT_EQ(WideToMultiByte(lone), std::string("?z"));
    EXPECT_EQ(WideToMultiByte(nullptr), std::string());
    CodePageScope scope(932);
    EXPECT_EQ(WideToMultiByte(kana), std::string("\x83\x41x"));
}

TEST(Platform, SingleByteCodePageIsByteWise) {
    EXPECT_EQ(ismbblead(0x83), 0);
    EXPECT_EQ(mbclen("\x83\x41"), 1);
    EXPECT_LT(mbscmp("\x81\x40", "\xA0"), 0);
    EXPECT_EQ(mbsspn("\x83\x41\x83", "\x83"), 1u);
    EXPECT_EQ(mbsicmp("ABC", "abc"), 0);
    EXPECT_GT(mbscmp("abd", "abc"), 0);
    EXPECT_EQ(mbsncmp("abX", "abY", 2), 0);
}

TEST(Platform, DoubleByteCodePageKeepsCharactersWhole) {
    CodePageScope scope(932);
    // 0x83 0x5C is one character whose trail byte is the backslash.
    char const text[] = "a\x83\x5C" "b\\";
    EXPECT_EQ(mbclen(text + 1), 2);
    EXPECT_EQ(mbsinc(text + 1), text + 3);
    EXPECT_EQ(mbschr(text, '\\'), text + 4);       // the trail byte is not a backslash
    EXPECT_EQ(mbsrchr(text, '\\'), text + 4);
    EXPECT_EQ(mbsrchr(text, 0x835C), text + 1);
    EXPECT_EQ(mbscspn(text, "\\"), 4u);
    EXPECT_EQ(mbspbrk(text, "\\b"), text + 3);
    EXPECT_EQ(mbschr(text, 0), text + 5);
    // Characters compare by code: a double-byte character sorts after every single byte.
    EXPECT_GT(mbscmp("\x81\x40", "\xA0"), 0);
    EXPECT_EQ(mbsncmp("\x83\x41z", "\x83\x41y", 1), 0);
    // A lead byte at the end of the text is a character of its own.
    EXPECT_EQ(mbclen("\x83"), 1);
    EXPECT_EQ(mbsnextc("\x83"), 0x83u);
    // Double-byte characters are in no class; case folding leaves them alone.
    EXPECT_EQ(ismbcalpha(0x8260), 0);   // FULLWIDTH A
    EXPECT_EQ(ismbcdigit(0x824F), 0);   // FULLWIDTH 0
    EXPECT_NE(mbsicmp("\x82\x60", "\x82\x81"), 0);
}

TEST(Platform, CharacterClassesAreThoseOfTheCLocale) {
    EXPECT_TRUE(ismbcdigit('7'));
    EXPECT_FALSE(ismbcdigit(0xB2));  // superscript two in 1252
    EXPECT_TRUE(ismbcalnum('z'));
    EXPECT_FALSE(ismbcalpha(0xE9));  // e acute in 1252
    EXPECT_TRUE(ismbcspace('\v'));
    EXPECT_FALSE(ismbcspace(0xA0));
    EXPECT_TRUE(ismbcupper('Q'));
    EXPECT_FALSE(ismbclower('Q'));
}

} // namespace
