// Text scanners: where a number ends in a text, natural ordering of names that hold numbers, and
// fields of separated lists.
//
// The recognisers are tolerant scanners, not parsers: they say where a number ends and produce no
// value (SYS_StringBase::Value converts). They skip no white space, and they skip a '+' or '-' at
// any place and any number of times, so "+-5", "1-2" and "5-" count as numbers. The pattern
// engine's number classes are built on them. They walk the text by characters of the current
// code page; a double-byte character is never a digit, sign or point, so it ends a number.
// Nothing here allocates, and no text pointer may be null unless a comment says so.
#ifndef MORTAR_SYS_SYS_TEXTSCANNERS_H
#define MORTAR_SYS_SYS_TEXTSCANNERS_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

/// Scans a floating-point number at the start of `s`: digits with at most one '.', then, when
/// `mode` is 0, an optional exponent ('e' or 'E' and at least one digit, signs allowed). With any
/// other `mode` the scan stops at an 'e' or 'E'. Returns the first byte behind the number, or null
/// when there is none: no mantissa digit, an exponent letter without digits, or an empty text.
MORTAR_API char* getdouble(char const* s, int mode);

/// 1 when getdouble(s, mode) finds a number that ends at the terminator, else 0.
MORTAR_API int isdouble(char const* s, int mode);

/// Scans an integer at the start of `s`. `mode` selects the digits: 2 octal ('0' to '7'),
/// 3 hexadecimal ('0' to '9', 'a' to 'f', 'A' to 'F'), any other value decimal. No prefix is
/// taken ("0x1F" is not a hexadecimal integer; a leading '0' is just a digit). Returns the first
/// byte behind the digits, or null when there is no digit.
MORTAR_API char* getinteger(char const* s, int mode);

/// 1 when getinteger(s, mode) finds an integer that ends at the terminator, else 0.
MORTAR_API int isinteger(char const* s, int mode);

/// isdouble(s, 1): a decimal number without exponent.
MORTAR_API int isdecdouble(char const* s);
/// isinteger(s, 1).
MORTAR_API int isdecinteger(char const* s);
/// isinteger(s, 2).
MORTAR_API int isoctinteger(char const* s);
/// isinteger(s, 3).
MORTAR_API int ishexinteger(char const* s);

/// Natural comparison of two names: negative, 0 or positive. Where both texts have a run of
/// digits they compare by its value ("R2" before "R10"; "a007b" equals "a7b"); a value above
/// 2^31 - 1 counts as 2^31 - 1. Other characters compare by code in the current code page, the
/// end of a text sorts before any character, and a '$' sorts behind every other character and
/// behind the end of the text ("A" < "A1", "AB" < "A$", "A" < "A$").
MORTAR_API int _tcsnumcmp(char const* a, char const* b);

/// Extracts field `index` (from 0) of the `separator`-separated list `text` into `out` and returns
/// 1. When the field does not exist (a negative `index`, or fewer separators than `index`), empties
/// `out` and returns 0. A null `text` returns 0 and leaves `out` alone. An empty field gives 1 and
/// an empty `out`. A NUL `separator` never occurs in a text: index 0 gives the whole text. `text`
/// may point into `out`.
MORTAR_API int SysExtractSubString(SYS_StringBase& out, char const* text, int index, char separator);

#endif
