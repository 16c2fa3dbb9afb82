// SYS_Memory: a marker type that the library only passes along.
#ifndef MORTAR_SYS_SYS_MEMORY_H
#define MORTAR_SYS_SYS_MEMORY_H

#include <mortar/export.h>

/// A marker type with no data; assigning one does nothing.
class MORTAR_API SYS_Memory {
public:
    SYS_Memory() = default;
    SYS_Memory(SYS_Memory const&) = default;
    SYS_Memory& operator=(SYS_Memory const& source);
};

#endif
