// SYS_Filter: a yes-or-no test on a handle; filters combine with |, & and ! into a tree.
#ifndef MORTAR_SYS_SYS_FILTER_H
#define MORTAR_SYS_SYS_FILTER_H

#include <mortar/export.h>

#include <cstdint>

/// A test on a handle: IsTrue(handle) is Function(this, handle), or 0 without a Function.
///
/// Combining. `a | b`, `a & b` and `!a` build a new filter whose Left is `a`, whose Right is
/// the other operand (null for `!`) and whose Function is Or_F, And_F or Not_F; they do not
/// change what `a` itself tests. The new filter is kept in `a.Combined` and a reference to
/// it is returned, so `(a | b) & c` hangs the second filter on the first and the caller
/// passes the result on. Operands are held by address, not owned: they must outlive the
/// result. The result lives until `a` is destroyed.
///
/// Ownership. A filter owns its Combined, and with it every filter that an earlier operator
/// on the same object put in Combined and a later one replaced: replaced filters stay alive
/// (a caller may still hold the reference an operator returned) and are freed with their
/// owner. Freeing a filter frees what it owns, so a tree goes from its first object.
///
/// Copying. The copy constructor copies all four members and shares Combined with its
/// source: a shared Combined is freed when the last of its owners is destroyed, never twice.
/// Assignment copies Function, Left and Right; the target keeps its own Combined.
/// Combined may also be set by hand, to null (the caller then takes the filter over and
/// must delete it) or to a filter made with `new SYS_Filter` that nobody else owns (the
/// filter it held before is then the caller's); anything else in it must not be freed here.
///
/// A null Left or Right counts as a filter that answers 0.
///
/// The destructor is not virtual: delete a derived filter through its own type.
class MORTAR_API SYS_Filter {
public:
    /// The test; null for a filter that is always false.
    int (*Function)(SYS_Filter const* filter, int handle);
    /// First operand, not owned.
    SYS_Filter const* Left;
    /// Second operand, not owned.
    SYS_Filter const* Right;
    /// The filter that the last operator used on this object made; owned.
    SYS_Filter* Combined;

    /// A filter that answers 0 to every handle: all four members null.
    SYS_Filter();
    /// A filter with these operands and test; Combined null.
    SYS_Filter(SYS_Filter const* left, SYS_Filter const* right, int (*function)(SYS_Filter const*, int));
    /// Copies all four members; Combined is then shared (see above).
    SYS_Filter(SYS_Filter const& source);
    /// Copies Function, Left and Right; Combined stays.
    SYS_Filter& operator=(SYS_Filter const& source);
    /// Frees Combined (when this is its last owner) and the filters it replaced.
    ~SYS_Filter();

    /// 0 without Function, otherwise Function(this, handle).
    virtual int IsTrue(int handle) const;

    /// IsTrue of Right, then of Left, both always evaluated, combined by a bitwise and.
    static int And_F(SYS_Filter const* filter, int handle);
    /// IsTrue of Right, then of Left, both always evaluated, combined by a bitwise or.
    static int Or_F(SYS_Filter const* filter, int handle);
    /// 1 when IsTrue of Left is 0, otherwise 0.
    static int Not_F(SYS_Filter const* filter, int handle);

    /// A new filter `*this | other` (Or_F), kept in Combined.
    SYS_Filter& operator|(SYS_Filter const& other);
    /// A new filter `*this & other` (And_F), kept in Combined.
    SYS_Filter& operator&(SYS_Filter const& other);
    /// A new filter `!*this` (Not_F, no Right), kept in Combined.
    SYS_Filter& operator!();

private:
    // Puts a new filter in Combined; the one it replaces stays owned through the new one.
    SYS_Filter& Combine(SYS_Filter const* right, int (*function)(SYS_Filter const*, int));
    // Gives up one ownership of `filter` and of the filters it replaced.
    static void Release(SYS_Filter* filter);

    // Owners of this filter beyond the first (copies of the filter that made it).
    int32_t m_Shares;
    // The filter that this one replaced in its owner's Combined, owned by this one.
    SYS_Filter* m_Replaced;
};

#endif
