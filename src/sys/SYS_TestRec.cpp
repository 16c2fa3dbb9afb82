#include <mortar/sys/SYS_TestRec.h>

// Member by member: the whole record, whatever it holds.
SYS_TestFncID& SYS_TestFncID::operator=(SYS_TestFncID const&) = default;

SYS_TestRec& SYS_TestRec::operator=(SYS_TestRec const&) = default;

SYS_TestRepeater& SYS_TestRepeater::operator=(SYS_TestRepeater const&) = default;
