// The platform's last-error value and its error texts.
//
// The library keeps the operating system's last error in the C library's errno, so a
// failed open leaves its reason where the file layer looks for it (EMFILE, 24, is the
// "too many open files" that the file manager reacts to).
#ifndef MORTAR_PLATFORM_SYSTEM_H
#define MORTAR_PLATFORM_SYSTEM_H

#include <mortar/export.h>

#include <cstdint>
#include <string>

namespace mortar {

/// The calling thread's last error (errno).
MORTAR_API uint32_t GetLastError();

/// Sets the calling thread's last error (errno).
MORTAR_API void SetLastError(uint32_t error);

/// The system's description of an error number, without a trailing line break.
/// Returns false and leaves `text` empty for a number that the system does not know,
/// so that a caller can fall back to a text of its own.
MORTAR_API bool SystemErrorText(uint32_t error, std::string& text);

} // namespace mortar

#endif
