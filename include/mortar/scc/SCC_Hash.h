// Three-way comparison and hashing of key types, by overload.
//
// Templates call SCC_Compare(a, b) and SCC_Hash(key, size) without knowing the key type:
//   - SCC_Compare gives a negative, zero or positive result for less, equal, greater. For
//     numbers and addresses it is -1, 0 or 1; for text and points only the sign is fixed.
//   - SCC_Hash gives an index from 0 to size - 1. Every form answers 0 for a size below 1, so
//     that a bad size gives a clear result rather than a division by zero.
//   - SCC_GetNewTableSize gives the next size of a growing table, from a ladder of primes that
//     roughly double.
// SCC_StrNoCase is the key type for text that compares and hashes without regard to case.
//
// The text hash works in unsigned 32-bit arithmetic with wrap-around: h := 0, m := 6293815,
// and for the byte c at position i (from 1) h := h + c * i * m, then m := m * 6293815. A byte's
// weight thus depends on its position twice, through i and through the power of the constant.
// The result is h modulo size, an unsigned division. The empty text hashes to 0; a text is read
// up to its first NUL byte.
//
// Case. SCC_StrNoCase compares with mortar::mbsicmp, which folds the ASCII letters, and hashes
// each byte through tolower of the C runtime in the current locale; equal keys hash equally as
// far as the two agree, which in the C locale is everywhere.
//
// All functions are pure apart from the code page and locale that they read; none reports.
#ifndef MORTAR_SCC_SCC_HASH_H
#define MORTAR_SCC_SCC_HASH_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Point.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <type_traits>

/// A text key that compares and hashes without regard to case. It is a SYS_StringBase in all
/// but its type, which steers overload resolution to the case-blind functions.
class MORTAR_API SCC_StrNoCase : public SYS_StringBase {
public:
    /// The empty text.
    SCC_StrNoCase() = default;
    /// A copy of `text`; null gives the empty text.
    SCC_StrNoCase(char const* text) : SYS_StringBase(text) {}
    /// A copy of `text`.
    SCC_StrNoCase(SYS_StringBase const& text) : SYS_StringBase(text) {}
    SCC_StrNoCase(SCC_StrNoCase const&) = default;
    SCC_StrNoCase& operator=(SCC_StrNoCase const&) = default;
    ~SCC_StrNoCase() override;
};

// Comparison ---------------------------------------------------------------------------------

/// Integers of any width and signedness, by value: 0 if equal, 1 if a > b, else -1.
template <class I, typename std::enable_if<std::is_integral<I>::value, int>::type = 0>
inline int SCC_Compare(I const& a, I const& b) {
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

/// 0 if equal, 1 if a > b, else -1 (so a NaN on either side gives -1).
MORTAR_API int SCC_Compare(double const& a, double const& b);
/// Addresses as unsigned numbers: 0 if equal, 1 if a > b, else -1.
MORTAR_API int SCC_Compare(void* const& a, void* const& b);
MORTAR_API int SCC_Compare(void const* const& a, void const* const& b);
/// mortar::mbscmp of the texts (character codes of the current code page); neither may be null.
MORTAR_API int SCC_Compare(char const* const& a, char const* const& b);
/// mortar::mbscmp of the two texts.
MORTAR_API int SCC_Compare(SYS_StringBase const& a, SYS_StringBase const& b);
/// mortar::mbsicmp of the two texts.
MORTAR_API int SCC_Compare(SCC_StrNoCase const& a, SCC_StrNoCase const& b);
/// a.x - b.x if that is not 0, else a.y - b.y, each difference wrapped to 32 bits. Only the sign
/// is meaningful, and only while the coordinates stay within SYS_COORD_LIMIT.
MORTAR_API int SCC_Compare(SYS_Point const& a, SYS_Point const& b);

// Hashing ------------------------------------------------------------------------------------

/// The text hash of `key` (not null) modulo `size`.
MORTAR_API int32_t SCC_Hash(char const* const& key, int32_t size);
/// The text hash of `key` modulo `size`.
MORTAR_API int32_t SCC_Hash(SYS_StringBase const& key, int32_t size);
/// The text hash of `key` with every byte through tolower, modulo `size`.
MORTAR_API int32_t SCC_Hash(SCC_StrNoCase const& key, int32_t size);
/// The address as an unsigned number, modulo `size`.
MORTAR_API int32_t SCC_Hash(void* const& key, int32_t size);
MORTAR_API int32_t SCC_Hash(void const* const& key, int32_t size);
/// |x * y|, the product wrapped to 32 bits, modulo `size`. The absolute value is taken as an
/// unsigned number, so a product of -2147483648 counts as 2147483648 and lands in the table.
MORTAR_API int32_t SCC_Hash(SYS_Point const& key, int32_t size);

/// The first size of the ladder 3, 5, 11, 23, ..., 805306357 that is strictly greater than
/// `count`; 0 from 805306357 up. A negative count gives 3.
MORTAR_API int32_t SCC_GetNewTableSize(int32_t count);

#endif
