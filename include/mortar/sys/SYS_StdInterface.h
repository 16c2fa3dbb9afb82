// SYS_StdInterface: the common shape of an object that stands for one element of a numbered
// set, and walks the elements.
#ifndef MORTAR_SYS_SYS_STDINTERFACE_H
#define MORTAR_SYS_SYS_STDINTERFACE_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>

/// An object that stands for one element, its `Handle`, out of the handles 1 to `MaxHandle`,
/// and walks them: GetFirst, then GetNext until IsValid gives 0. Handle 0 means no element.
///
/// Derived classes give the handles a meaning (and usually a change event); this base class
/// knows nothing of the elements. The pointer arguments of GetChangeEvent, SetHandle and
/// GetFirst carry context for derived classes; the base class does not use them.
///
/// The virtual slots, in order: GetChangeEvent, SetMaxHandle, IsValid, SetHandle, GetHandle,
/// GetFirst, GetNext, OnUpdatePointers, then the destructor, so that a derived object can be
/// deleted through this class.
class MORTAR_API SYS_StdInterface {
public:
    /// The element the object stands for; 0 for none.
    int Handle;
    /// The largest handle of the walk.
    int MaxHandle;

    /// An empty set: MaxHandle 0, Handle 0.
    SYS_StdInterface() : Handle(0), MaxHandle(0) {}
    /// Sets MaxHandle; Handle starts at 0 (no element) until SetHandle or GetFirst.
    explicit SYS_StdInterface(int maxHandle) : Handle(0), MaxHandle(maxHandle) {}
    SYS_StdInterface(SYS_StdInterface const&) = default;
    SYS_StdInterface& operator=(SYS_StdInterface const&) = default;

    /// The event that reports changes of the elements; null here: the base has none.
    virtual SCC_Notifier* GetChangeEvent(void* context);
    /// Sets MaxHandle.
    virtual void SetMaxHandle(int maxHandle);
    /// 1 when Handle is not 0.
    virtual int IsValid() const;
    /// Sets Handle.
    virtual void SetHandle(int handle, void* context);
    /// Returns Handle.
    virtual int GetHandle() const;
    /// Handle becomes 1 when MaxHandle is above 0, otherwise 0.
    virtual void GetFirst(void* context);
    /// Handle goes up by 1; past MaxHandle it becomes 0. From 0 the walk starts again at 1.
    virtual void GetNext();
    /// Called when the storage behind the handles has moved; nothing to do here.
    virtual void OnUpdatePointers();

    virtual ~SYS_StdInterface();

    /// The default order of handles: a - b, wrapping in 32 bits.
    static int DefaultSort(int const& a, int const& b);
};

#endif
