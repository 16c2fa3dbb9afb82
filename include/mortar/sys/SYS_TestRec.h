// Records of a test harness that lives outside this library.
//
// Their data is defined by the callers that use them; the library reads none of it and
// gives these classes no field. What it does give is the assignment, which copies the whole
// record.
#ifndef MORTAR_SYS_SYS_TESTREC_H
#define MORTAR_SYS_SYS_TESTREC_H

#include <mortar/export.h>

/// Identifies a function under test.
class MORTAR_API SYS_TestFncID {
public:
    SYS_TestFncID() = default;
    SYS_TestFncID(SYS_TestFncID const&) = default;
    SYS_TestFncID& operator=(SYS_TestFncID const& source);
};

/// One record of a test run.
class MORTAR_API SYS_TestRec {
public:
    SYS_TestRec() = default;
    SYS_TestRec(SYS_TestRec const&) = default;
    SYS_TestRec& operator=(SYS_TestRec const& source);
};

/// Repeats a test.
class MORTAR_API SYS_TestRepeater {
public:
    SYS_TestRepeater() = default;
    SYS_TestRepeater(SYS_TestRepeater const&) = default;
    SYS_TestRepeater& operator=(SYS_TestRepeater const& source);
};

#endif
