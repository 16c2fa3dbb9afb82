#include <mortar/platform/codepage.h>
#include <mortar/scc/SCC_Hash.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <string>

namespace {

// The text hash written out plainly, in 64-bit arithmetic reduced to 32 bits at each step.
uint32_t ReferenceHash(std::string const& text) {
    uint64_t h = 0;
    uint64_t m = 6293815;
    uint64_t i = 1;
    for (unsigned char c : text) {
        if (!c) break;
        h = (h + c * i % 0x100000000u * m) % 0x100000000u;
        m = m * 6293815 % 0x100000000u;
        ++i;
    }
    return static_cast<uint32_t>(h);
}

TEST(Hash, TableSizes) {
    struct Case {
        int32_t count, size;
    } const cases[] = {{0, 3},          {2, 3},         {3, 5},          {4, 5},         {5, 11},
                       {-1, 3},         {INT_MIN, 3},   {96, 97},        {97, 193},      {805306356, 805306357},
                       {805306357, 0},  {INT_MAX, 0}};
    for (Case const& c : cases) EXPECT_EQ(SCC_GetNewTableSize(c.count), c.size) << c.count;

    // The ladder: primes, ascending, each about twice the one before.
    int32_t previous = 0;
    for (int32_t size = SCC_GetNewTableSize(0); size != 0; size = SCC_GetNewTableSize(size)) {
        for (int32_t d = 2; static_cast<int64_t>(d) * d <= size; ++d) ASSERT_NE(size % d, 0) << size;
        if (previous) {
            double const ratio = static_cast<double>(size) / previous;
            EXPECT_GT(ratio, 1.6) << size;
            EXPECT_LE(ratio, 2.2) << size;
        }
        previous = size;
    }
    EXPECT_EQ(previous, 805306357);
}

TEST(Hash, Texts) {
    char const* empty = "";
    EXPECT_EQ(SCC_Hash(empty, 1000), 0);
    EXPECT_EQ(SCC_Hash(SYS_StringBase("a"), 1000), 55); // 97 * 6293815 = 610500055

    // Long texts wrap in 32 bits; the forms agree with each other and with the reference.
    for (std::string text : {std::string("pad"), std::string("The quick brown fox jumps over the lazy dog"),
                             std::string(300, '\xE9'), std::string("ab\0cd", 5)}) {
        char const* p = text.c_str();
        uint32_t const expected = ReferenceHash(text);
        for (int32_t size : {1, 2, 97, 1000, 805306357, INT_MAX}) {
            int32_t const h = SCC_Hash(p, size);
            EXPECT_EQ(static_cast<uint32_t>(h), expected % static_cast<uint32_t>(size)) << text << " " << size;
            EXPECT_EQ(SCC_Hash(SYS_StringBase(p), size), h);
        }
    }

    // Bad sizes give 0 rather than a division by zero.
    char const* t = "text";
    for (int32_t size : {0, -1, INT_MIN}) {
        EXPECT_EQ(SCC_Hash(SYS_StringBase(t), size), 0);
        EXPECT_EQ(SCC_Hash(SCC_StrNoCase(t), size), 0);
        EXPECT_EQ(SCC_Hash(t, size), 0);
    }

    // Case-blind keys hash and compare alike; plain strings do not.
    SCC_StrNoCase const ab("Ab");
    SCC_StrNoCase const aB(SYS_StringBase("aB"));
    EXPECT_EQ(SCC_Hash(ab, 1000003), SCC_Hash(aB, 1000003));
    EXPECT_EQ(SCC_Hash(ab, 1000003), SCC_Hash(SYS_StringBase("ab"), 1000003));
    EXPECT_NE(SCC_Hash(SYS_StringBase("Ab"), 1000003), SCC_Hash(SYS_StringBase("aB"), 1000003));
    EXPECT_EQ(SCC_Compare(ab, aB), 0);
    EXPECT_NE(SCC_Compare(SYS_StringBase("Ab"), SYS_StringBase("aB")), 0);
}

TEST(Hash, PointsAndAddresses) {
    EXPECT_EQ(SCC_Hash(SYS_Point(3, -4), 1000), 12);
    EXPECT_EQ(SCC_Hash(SYS_Point(-3, -4), 7), 5);
    // Products that wrap: 100000 * 100000 = 10^10 = 1410065408 modulo 2^32.
    EXPECT_EQ(SCC_Hash(SYS_Point(100000, 100000), INT_MAX), 1410065408);
    // A product of exactly -2^31 still lands in the table, as 2^31.
    for (SYS_Point p : {SYS_Point(65536, -32768), SYS_Point(INT_MIN, 1), SYS_Point(INT_MIN, -1), SYS_Point(-2, 1 << 30)}) {
        for (int32_t size : {1, 1000, 97, INT_MAX}) {
            int32_t const h = SCC_Hash(p, size);
            EXPECT_EQ(static_cast<uint32_t>(h), 2147483648u % static_cast<uint32_t>(size)) << p.x << "," << p.y;
        }
    }
    EXPECT_EQ(SCC_Hash(SYS_Point(5, 5), 0), 0);

    int object[4] = {};
    void* p = &object[1];
    void const* cp = &object[3];
    EXPECT_EQ(SCC_Hash(p, 1000003), static_cast<int32_t>(reinterpret_cast<uintptr_t>(p) % 1000003));
    EXPECT_EQ(SCC_Hash(cp, 13), static_cast<int32_t>(reinterpret_cast<uintptr_t>(cp) % 13));
    EXPECT_EQ(SCC_Hash(p, -5), 0);
}

TEST(Hash, Comparisons) {
    // Numbers and addresses give exactly -1, 0 or 1; a NaN on either side gives -1.
    EXPECT_EQ(SCC_Compare(2.0, 1.0), 1);
    EXPECT_EQ(SCC_Compare(-0.0, 0.0), 0);
    EXPECT_EQ(SCC_Compare(NAN, 1.0), -1);
    EXPECT_EQ(SCC_Compare(1.0, NAN), -1);
    EXPECT_EQ(SCC_Compare(INT_MIN, INT_MAX), -1);
    EXPECT_EQ(SCC_Compare(0xFFFFFFFFu, 1u), 1);
    int object[2] = {};
    void* lo = &object[0];
    void const* chi = &object[1];
    void const* clo = lo;
    EXPECT_EQ(SCC_Compare(lo, lo), 0);
    EXPECT_EQ(SCC_Compare(chi, clo), 1);

    // Points: the difference of x, else of y.
    EXPECT_EQ(SCC_Compare(SYS_Point(5, 1), SYS_Point(2, 9)), 3);
    EXPECT_EQ(SCC_Compare(SYS_Point(5, 1), SYS_Point(5, 9)), -8);
    // Across the whole coordinate range the difference keeps its sign.
    EXPECT_GT(SCC_Compare(SYS_Point(1066800000, 0), SYS_Point(-1066800000, 0)), 0);
    EXPECT_LT(SCC_Compare(SYS_Point(0, -1066800000), SYS_Point(0, 1066800000)), 0);

    // Texts by characters of the current code page: under 932 a double-byte character is one
    // character with the code lead * 256 + trail.
    char const* apple = "apple";
    char const* apply = "apply";
    EXPECT_LT(SCC_Compare(apple, apply), 0);
    EXPECT_GT(SCC_Compare(SYS_StringBase("b"), SYS_StringBase("a")), 0);
    EXPECT_LT(SCC_Compare(SCC_StrNoCase("APPLE"), SCC_StrNoCase("apply")), 0);
    int const previous = mortar::GetCodePage();
    mortar::SetCodePage(932);
    char const* kanji = "\x88\x9F";  // one character, code 0x889F
    char const* mixed = "\x88" "A";  // a lead byte followed by a trail byte 'A': code 0x8841
    EXPECT_GT(SCC_Compare(kanji, mixed), 0);
    mortar::SetCodePage(previous);
}

} // namespace
