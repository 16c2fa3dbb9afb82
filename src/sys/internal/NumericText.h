// Numbers as text in the C locale, whatever locale the process or the thread has set: the
// parsers and the formatter that unit conversion builds on.
#ifndef MORTAR_SRC_SYS_INTERNAL_NUMERICTEXT_H
#define MORTAR_SRC_SYS_INTERNAL_NUMERICTEXT_H

#include <cstdint>

namespace mortar {

/// strtod of the C locale: the same grammar, result, end pointer and errno.
double ParseDouble(char const* text, char const** end);

/// strtol of the C locale, radix 10, as a platform with a 32-bit long has it: a value outside
/// the int32_t range saturates to INT32_MIN or INT32_MAX and sets errno to ERANGE.
int32_t ParseLong32(char const* text, char const** end);

/// snprintf(buf, size, "%.*f", precision, value) of the C locale, to the byte: a negative
/// precision means 6, a text that does not fit is cut to size - 1 bytes and terminated. `size`
/// must not be 0.
void FormatFixed(char* buf, unsigned size, double value, int32_t precision);

} // namespace mortar

#endif
