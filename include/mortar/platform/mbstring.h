// Multi-byte string operations over the current code page (see codepage.h).
//
// A character is one byte, or, under a double-byte code page, a lead byte with its trail
// byte. A character's code is its byte for a single byte, and lead * 256 + trail for a
// double-byte character. Under a single-byte code page every operation here equals the
// plain byte operation of the C locale.
//
// Rules that hold for every operation:
//   - A lead byte directly followed by the terminating NUL is one single-byte character
//     (code = the lead byte), so no walk ever steps over the end of a text.
//   - Character classes are those of the C locale and hold for single-byte characters only:
//     a double-byte character is in no class (not a digit, letter, space, upper or lower).
//   - Case folding (mbsicmp) folds the ASCII letters only.
//   - Comparisons compare character codes as unsigned numbers and return -1, 0 or 1.
// Pointers must not be null.
#ifndef MORTAR_PLATFORM_MBSTRING_H
#define MORTAR_PLATFORM_MBSTRING_H

#include <mortar/export.h>

#include <cstddef>

namespace mortar {

/// 1 when `byte` is a lead byte of the current code page.
MORTAR_API int ismbblead(unsigned int byte);

/// Length in bytes (1 or 2) of the character at `s`; 1 at the terminator.
MORTAR_API int mbclen(char const* s);

/// The character after the one at `s`. At the terminator, `s + 1`, as the byte step would.
MORTAR_API char const* mbsinc(char const* s);

/// The code of the character at `s` (0 at the terminator).
MORTAR_API unsigned int mbsnextc(char const* s);

/// Compares two texts character by character.
MORTAR_API int mbscmp(char const* a, char const* b);

/// Like mbscmp, with ASCII letters folded to lower case.
MORTAR_API int mbsicmp(char const* a, char const* b);

/// Compares at most `count` characters of two texts.
MORTAR_API int mbsncmp(char const* a, char const* b, std::size_t count);

/// Bytes at the start of `s` made of characters that occur in `set`.
MORTAR_API std::size_t mbsspn(char const* s, char const* set);

/// Bytes at the start of `s` before the first character that occurs in `set`.
MORTAR_API std::size_t mbscspn(char const* s, char const* set);

/// First character of `s` that occurs in `set`, or null.
MORTAR_API char const* mbspbrk(char const* s, char const* set);

/// First character of `s` whose code is `c`, or null. A `c` of 0 finds the terminator.
MORTAR_API char const* mbschr(char const* s, unsigned int c);

/// Last character of `s` whose code is `c`, or null. A `c` of 0 finds the terminator.
MORTAR_API char const* mbsrchr(char const* s, unsigned int c);

/// Character classes of a character code (see the rules above).
MORTAR_API int ismbcdigit(unsigned int c);
MORTAR_API int ismbcalnum(unsigned int c);
MORTAR_API int ismbcalpha(unsigned int c);
MORTAR_API int ismbcspace(unsigned int c);
MORTAR_API int ismbclower(unsigned int c);
MORTAR_API int ismbcupper(unsigned int c);

} // namespace mortar

#endif
