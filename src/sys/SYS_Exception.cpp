#include <mortar/sys/SYS_Exception.h>

#include <cstdarg>

SYS_Exception::SYS_Exception(char const* format, ...) {
    if (format == nullptr) return;
    va_list args;
    va_start(args, format);
    m_Text.FormatV(format, args);
    va_end(args);
}

SYS_Exception::SYS_Exception(int, ...) {}
