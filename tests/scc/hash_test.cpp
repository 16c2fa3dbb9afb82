#include <mortar/platform/codepage.h>
#include <mortar/scc/SCC_Hash.h>

#include <gtest/gtest.h>

#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

using V = std::vector<int>;

// The text hash written out plainly, in 64-bit arithmetic reduced to 32 bits at each step.
uint32_t ReferenceHash(std::string const& text) {
    uint64_t h = 0, m = 6293815, i = 1;
    for (unsigned char c : text) {
        if (!c) break;
        h = (h + c * i % 0x100000000u * m) % 0x100000000u;
        m = m * 6293815 % 0x100000000u;
        ++i;
    }
    return static_cast<uint32_t>(h);
}

TEST(Hash, TableSizes) {
    // The first size strictly greater than the count; 3 below 0, 0 at the top of the ladder.
    for (auto [count, size] : std::vector<std::pair<int32_t, int32_t>>{
             {0, 3}, {3, 5}, {4, 5}, {-1, 3}, {INT_MIN, 3}, {805306356, 805306357}, {805306357, 0}, {INT_MAX, 0}})
        EXPECT_EQ(SCC_GetNewTableSize(count), size) << count;

    // The ladder: primes, ascending, each about twice the one before.
    int32_t previous = 0;
    for (int32_t size = SCC_GetNewTableSize(0); size != 0; previous = size, size = SCC_GetNewTableSize(size)) {
        for (int32_t d = 2; static_cast<int64_t>(d) * d <= size; ++d) ASSERT_NE(size % d, 0) << size;
        EXPECT_TRUE(!previous || (size > 1.6 * previous && size <= 2.2 * previous)) << size;
    }
    EXPECT_EQ(previous, 805306357);
}

TEST(Hash, Texts) {
    EXPECT_EQ(SCC_Hash("", 1000), 0);
    EXPECT_EQ(SCC_Hash(SYS_StringBase("a"), 1000), 55); // 97 * 6293815 = 610500055

    // Long texts wrap in 32 bits; the forms agree with the reference, case-blind keys after
    // tolower, and a bad size gives 0 rather than a division by zero.
    for (std::string text : {std::string("pAd"), std::string("The quick brown fox jumps over the lazy dog"),
                             std::string(300, '\xE9'), std::string("aB\0cd", 5)}) {
        std::string lower = text;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        char const* p = text.c_str();
        for (int32_t size : {1, 2, 97, 1000, 805306357, INT_MAX, 0, -1, INT_MIN}) {
            SCOPED_TRACE(text + " " + std::to_string(size));
            uint32_t const modulus = static_cast<uint32_t>(size);
            EXPECT_EQ(static_cast<uint32_t>(SCC_Hash(p, size)), size < 1 ? 0 : ReferenceHash(text) % modulus);
            EXPECT_EQ(SCC_Hash(SYS_StringBase(p), size), SCC_Hash(p, size));
            EXPECT_EQ(static_cast<uint32_t>(SCC_Hash(SCC_StrNoCase(p), size)),
                      size < 1 ? 0 : ReferenceHash(lower) % modulus);
        }
    }
    EXPECT_EQ(SCC_Compare(SCC_StrNoCase("Ab"), SCC_StrNoCase(SYS_StringBase("aB"))), 0);
    EXPECT_NE(SCC_Compare(SYS_StringBase("Ab"), SYS_StringBase("aB")), 0);
}

TEST(Hash, PointsAndAddresses) {
    EXPECT_EQ(SCC_Hash(SYS_Point(3, -4), 1000), 12);
    EXPECT_EQ(SCC_Hash(SYS_Point(-3, -4), 7), 5);
    // Products that wrap: 100000 * 100000 = 10^10 = 1410065408 modulo 2^32.
    EXPECT_EQ(SCC_Hash(SYS_Point(100000, 100000), INT_MAX), 1410065408);
    // A product of exactly -2^31 still lands in the table, as 2^31.
    for (SYS_Point p :
         {SYS_Point(65536, -32768), SYS_Point(INT_MIN, 1), SYS_Point(INT_MIN, -1), SYS_Point(-2, 1 << 30)})
        for (int32_t size : {1, 1000, 97, INT_MAX})
            EXPECT_EQ(static_cast<uint32_t>(SCC_Hash(p, size)), 2147483648u % static_cast<uint32_t>(size)) << p.x;
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
    int object[2] = {};
    void* lo = &object[0];
    void const* chi = &object[1];
    void const* clo = lo;
    EXPECT_EQ((V{SCC_Compare(2.0, 1.0), SCC_Compare(-0.0, 0.0), SCC_Compare(NAN, 1.0), SCC_Compare(1.0, NAN),
                 SCC_Compare(INT_MIN, INT_MAX), SCC_Compare(0xFFFFFFFFu, 1u), SCC_Compare(lo, lo),
                 SCC_Compare(chi, clo)}),
              (V{1, 0, -1, -1, -1, 1, 0, 1}));

    // Points: the difference of x, else of y; across the whole coordinate range it keeps its sign.
    EXPECT_EQ(SCC_Compare(SYS_Point(5, 1), SYS_Point(2, 9)), 3);
    EXPECT_EQ(SCC_Compare(SYS_Point(5, 1), SYS_Point(5, 9)), -8);
    EXPECT_GT(SCC_Compare(SYS_Point(1066800000, 0), SYS_Point(-1066800000, 0)), 0);
    EXPECT_LT(SCC_Compare(SYS_Point(0, -1066800000), SYS_Point(0, 1066800000)), 0);

    // Texts by characters of the current code page: under 932 a double-byte character is one
    // character with the code lead * 256 + trail.
    EXPECT_LT(SCC_Compare("apple", "apply"), 0);
    EXPECT_GT(SCC_Compare(SYS_StringBase("b"), SYS_StringBase("a")), 0);
    EXPECT_LT(SCC_Compare(SCC_StrNoCase("APPLE"), SCC_StrNoCase("apply")), 0);
    int const previous = mortar::GetCodePage();
    mortar::SetCodePage(932);
    EXPECT_GT(SCC_Compare("\x88\x9F", "\xA1"), 0); // 0x889F against 0xA1, though 0x88 < 0xA1
    mortar::SetCodePage(previous);
}

} // namespace
