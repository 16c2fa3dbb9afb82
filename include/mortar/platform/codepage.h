// The current multi-byte code page of the process, and conversion of UTF-16 text to it.
//
// Text in Mortar is a sequence of bytes in the current code page. Two code pages are known:
//   - 1252 (Windows-1252), the default: one byte is one character;
//   - 932 (Japanese, double-byte): bytes 0x81-0x9F and 0xE0-0xFC are lead bytes, each
//     followed by one trail byte; together they are one character.
// Nothing in the library changes the code page; a client sets it once, before it hands text
// to the library, and the setting holds for the whole process.
#ifndef MORTAR_PLATFORM_CODEPAGE_H
#define MORTAR_PLATFORM_CODEPAGE_H

#include <mortar/export.h>

#include <string>

namespace mortar {

constexpr int CodePageWestern = 1252;  ///< Windows-1252, single-byte
constexpr int CodePageJapanese = 932;  ///< Shift-JIS as Windows has it, double-byte

/// The current code page, 1252 until a client sets another.
MORTAR_API int GetCodePage();

/// Makes `codePage` current. Returns 1 when it is one of the code pages above, otherwise
/// 0 and the current code page stays.
MORTAR_API int SetCodePage(int codePage);

/// 1 when the current code page has double-byte characters.
MORTAR_API int IsDoubleByteCodePage();

/// Converts the NUL-terminated UTF-16 text `text` to the current code page.
/// A character that the code page cannot hold, and a lone surrogate, become '?'.
/// A null `text` gives an empty result.
MORTAR_API std::string WideToMultiByte(unsigned short const* text);

} // namespace mortar

#endif
