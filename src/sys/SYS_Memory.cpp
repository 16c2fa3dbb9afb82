#include <mortar/sys/SYS_Memory.h>

SYS_Memory& SYS_Memory::operator=(SYS_Memory const&) {
    return *this;
}
