// Comparison and hashing of key types (see SCC_Hash.h).
#include <mortar/scc/SCC_Hash.h>

#include <mortar/platform/mbstring.h>
#include <mortar/sys/SYS_GeomArith.h>

#include <cctype>
#include <cstdint>
#include <iterator>

namespace {

uint32_t const kHashFactor = 6293815; // 0x600937

// The text hash with each byte passed through `fold` (see SCC_Hash.h).
template <class Fold>
int32_t HashText(char const* text, int32_t size, Fold fold) {
    if (size < 1) return 0;
    uint32_t h = 0;
    uint32_t m = kHashFactor;
    uint32_t i = 1;
    for (unsigned char const* p = reinterpret_cast<unsigned char const*>(text); *p; ++p, ++i) {
        h += fold(*p) * i * m;
        m *= kHashFactor;
    }
    return static_cast<int32_t>(h % static_cast<uint32_t>(size));
}

uint32_t Plain(unsigned char c) { return c; }
uint32_t Lower(unsigned char c) { return static_cast<unsigned char>(std::tolower(c)); }

int32_t HashAddress(void const* key, int32_t size) {
    if (size < 1) return 0;
    return static_cast<int32_t>(reinterpret_cast<uintptr_t>(key) % static_cast<uintptr_t>(size));
}

int CompareAddress(void const* a, void const* b) {
    uintptr_t const x = reinterpret_cast<uintptr_t>(a);
    uintptr_t const y = reinterpret_cast<uintptr_t>(b);
    return x == y ? 0 : (x > y ? 1 : -1);
}

// Primes, each about twice the one before.
int32_t const kTableSizes[] = {3,        5,        11,       23,        47,        97,       193,      383,
                               769,      1531,     3067,     6143,      12289,     24571,    49157,    98299,
                               196613,   393209,   786431,   1572869,   3145721,   6291449,  12582917, 25165813,
                               50331653, 100663291, 201326611, 402653189, 805306357};

} // namespace

SCC_StrNoCase::~SCC_StrNoCase() = default;

int SCC_Compare(double const& a, double const& b) { return a == b ? 0 : (a > b ? 1 : -1); }
int SCC_Compare(void* const& a, void* const& b) { return CompareAddress(a, b); }
int SCC_Compare(void const* const& a, void const* const& b) { return CompareAddress(a, b); }
int SCC_Compare(char const* const& a, char const* const& b) { return mortar::mbscmp(a, b); }
int SCC_Compare(SYS_StringBase const& a, SYS_StringBase const& b) { return mortar::mbscmp(a, b); }
int SCC_Compare(SCC_StrNoCase const& a, SCC_StrNoCase const& b) { return mortar::mbsicmp(a, b); }

int SCC_Compare(SYS_Point const& a, SYS_Point const& b) {
    int32_t const dx = mortar::WrapSub(a.x, b.x);
    return dx != 0 ? dx : mortar::WrapSub(a.y, b.y);
}

int32_t SCC_Hash(char const* const& key, int32_t size) { return HashText(key, size, Plain); }
int32_t SCC_Hash(SYS_StringBase const& key, int32_t size) { return HashText(key, size, Plain); }
int32_t SCC_Hash(SCC_StrNoCase const& key, int32_t size) { return HashText(key, size, Lower); }
int32_t SCC_Hash(void* const& key, int32_t size) { return HashAddress(key, size); }
int32_t SCC_Hash(void const* const& key, int32_t size) { return HashAddress(key, size); }

int32_t SCC_Hash(SYS_Point const& key, int32_t size) {
    if (size < 1) return 0;
    uint32_t const product = mortar::UnsignedAbs(mortar::WrapMul(key.x, key.y));
    return static_cast<int32_t>(product % static_cast<uint32_t>(size));
}

int32_t SCC_GetNewTableSize(int32_t count) {
    for (int32_t size : kTableSizes)
        if (size > count) return size;
    return 0;
}
