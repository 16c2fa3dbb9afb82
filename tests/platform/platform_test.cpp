#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>
#include <mortar/platform/system.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using namespace mortar;

TEST(Platform, LastErrorIsErrnoAndUnknownNumbersHaveNoText) {
    SetLastError(24);
    EXPECT_EQ(errno, 24);
    errno = 2;
    EXPECT_EQ(GetLastError(), 2u);
    std::string text;
    EXPECT_TRUE(SystemErrorText(24, text));
    EXPECT_EQ(text, "Too many open files");
    EXPECT_FALSE(SystemErrorText(99999, text));
    EXPECT_TRUE(text.empty());
}

// The same texts under 1252, byte by byte, and under 932, where 0x83 0x5C is one character
// whose trail byte is the backslash.
TEST(Platform, CodePage932KeepsCharactersWhole) {
    unsigned short const euro[] = {'a', 0x20AC, 'b', 0};            // the euro sign is 0x80 in 1252
    unsigned short const kana[] = {0x30A2, 'x', 0};                 // KATAKANA A: 0x83 0x41 in 932
    unsigned short const lone[] = {0xD800, 'z', 0xD83D, 0xDE00, 0}; // a lone surrogate, then a pair
    char const text[] = {'a', '\x83', '\x5C', 'b', '\\', 0};
    EXPECT_EQ(WideToMultiByte(euro), std::string("a\x80") + "b");
    EXPECT_EQ(WideToMultiByte(kana), "?x") << "not in 1252";
    EXPECT_EQ(WideToMultiByte(lone), "?z?") << "one character each";
    EXPECT_EQ(WideToMultiByte(nullptr), "");
    EXPECT_TRUE(mbschr(text, '\\') == text + 2 && mbsrchr(text, '\\') == text + 4);
    EXPECT_LT(mbscmp("\x81\x40", "\xA0"), 0);
    EXPECT_EQ(mbsspn("\x83\x41\x83", "\x83"), 1u);
    EXPECT_EQ(mbsicmp("ABC", "abc"), 0);
    EXPECT_TRUE(ismbcspace('\v') && ismbcupper('Q') && !ismbclower('Q'));
    EXPECT_FALSE(ismbcdigit(0xB2) || ismbcalpha(0xE9) || ismbcspace(0xA0)) << "C locale classes, not 1252";

    ASSERT_EQ(SetCodePage(932), 1);
    EXPECT_EQ(SetCodePage(437), 0);
    EXPECT_EQ(GetCodePage(), 932) << "an unknown code page leaves the current one";
    EXPECT_EQ(IsDoubleByteCodePage(), 1);
    EXPECT_TRUE(ismbblead(0x81) && ismbblead(0x9F) && ismbblead(0xE0) && ismbblead(0xFC));
    EXPECT_FALSE(ismbblead(0x80) || ismbblead(0xA0) || ismbblead(0xDF) || ismbblead(0xFD) ||
                 ismbblead(0x8100));
    EXPECT_EQ(WideToMultiByte(kana), "\x83\x41x");
    EXPECT_EQ(mbsinc(text + 1), text + 3);
    EXPECT_EQ(mbschr(text, '\\'), text + 4) << "the trail byte is not a backslash";
    EXPECT_EQ(mbsrchr(text, 0x835C), text + 1);
    EXPECT_TRUE(mbspbrk(text, "\\b") == text + 3 && mbspbrk(text, "\x83") == nullptr);
    EXPECT_TRUE(mbschr(text, 0) == text + 5 && mbsinc(text + 5) == text + 6) << "the terminator";
    EXPECT_GT(mbscmp("\x81\x40", "\xA0"), 0) << "a double-byte code sorts after every single byte";
    EXPECT_EQ(mbsncmp("\x83\x41z", "\x83\x41y", 1), 0);
    EXPECT_EQ(mbsnextc("\x83"), 0x83u) << "a lead byte before the end is a character of its own";
    EXPECT_EQ(ismbcalpha(0x8260) + ismbcdigit(0x824F), 0) << "FULLWIDTH A and 0 are in no class";
    EXPECT_NE(mbsicmp("\x82\x60", "\x82\x81"), 0) << "and are not folded";
    SetCodePage(CodePageWestern);
}

} // namespace
