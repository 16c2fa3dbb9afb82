// SCC_Convertor: the conversion between the value that a property stores and the value it shows.
//
// A property holds at most one convertor, through SCC_SharedPointer<SCC_Convertor>, and calls it
// when it reads a value (flag 0: stored to shown) and when it writes one (flag non-zero: shown to
// stored); SCC_Variant::Validate calls it for a validation text that begins with '#'. This class
// hands every value through unchanged; derived classes do the work, and may implement only one
// direction and pass the other through.
//
// Lifetime. A convertor is a shared object (see SCC_SharedBuffer): made by `new`, it dies with its
// last reference; on the stack or as a member it is never deleted by a release. The destructor is
// virtual, so a derived convertor released through SCC_SharedPointer<SCC_Convertor> is destroyed
// as a whole, members included (a hook leaves its chain, a buffer is freed).
#ifndef MORTAR_SCC_SCC_CONVERTOR_H
#define MORTAR_SCC_SCC_CONVERTOR_H

#include <mortar/export.h>
#include <mortar/scc/SCC_SharedBuffer.h>
#include <mortar/scc/SCC_Variant.h>

class MORTAR_API SCC_Convertor : public SCC_SharedBuffer {
public:
    SCC_Convertor() = default;
    /// A copy starts without references, as every shared object does.
    SCC_Convertor(SCC_Convertor const&) = default;
    /// Leaves the reference count of this convertor alone.
    SCC_Convertor& operator=(SCC_Convertor const&) = default;
    virtual ~SCC_Convertor();

    /// Converts `value` in the direction `flag` gives: 0 from the stored value to the value
    /// shown, non-zero from the shown value to the stored one. Here: `value` unchanged.
    /// A derived convertor may throw SYS_Exception, as the variant's conversions do.
    virtual SCC_Variant Convert(SCC_Variant value, int flag);
};

#endif
