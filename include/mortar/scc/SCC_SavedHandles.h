// Remembered handles: a table of (type, handle) pairs that stays true by itself.
//
// An application refers to its objects by a type and a handle. Such a pair goes stale when the
// object is deleted, when the whole data set is cleared, or when objects move in memory. Each
// entry of an SCC_SavedHandles is an SCC_HandleWithEvent: a small shared object that listens on
// the change notifier of the thing it stands for and reports what it hears to its table. A
// code 2 (CN_ItemRemoved) takes the removed pair out of the table, a code 7 (CN_AllRemoved)
// empties it, and a code 8 (CN_HandlesChanged) lets the entry bring its pair up to date and
// marks the table for sorting again at its next lookup.
//
// Ownership. The table holds one reference on each entry through its array slot; a notifier
// holds none, the entry is merely linked in its chain. An entry is destroyed, and so leaves its
// chain, when its last reference goes: when the table lets go of it (Delete, Clear, the
// destruction of the table) and no caller holds a pointer from Find any more. Delete releases
// the slot of the removed entry at once.
//
// Re-entrancy. HandleNotification runs inside the Notify walk of an entry's notifier. It may
// take out the very entry that is being notified, or all of them (code 7): the chain goes on
// with the node that followed, and the entry that called it is not touched after the call.
//
// Both classes are meant to be derived from: an entry class gives GetChangeEvent and
// OnUpdatePointers meaning, a table class gives CreateByType meaning. The base table creates
// nothing, so without a derived class Save never adds anything.
//
// Nothing here is thread-safe.
#ifndef MORTAR_SCC_SCC_SAVEDHANDLES_H
#define MORTAR_SCC_SCC_SAVEDHANDLES_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/scc/SCC_SharedBuffer.h>
#include <mortar/scc/SCC_StdCollection.h>
#include <mortar/scc/scc_arr.h>

#include <cstdint>

class SCC_SavedHandles;

/// One remembered pair: a node on the notifier of the object it stands for, and a shared
/// object held by its table.
///
/// Virtual slots, in order: destructor, OnNotification, OnRemoveNode, GetPriority, GetRoot
/// (those of SCC_EventNode<int>), GetChangeEvent, OnUpdatePointers.
class MORTAR_API SCC_HandleWithEvent : public SCC_SharedBuffer, public SCC_EventNode<int> {
public:
    /// Out of any chain.
    SCC_HandleWithEvent(int handle, int32_t type, SCC_SavedHandles* owner);
    /// Copies type, handle and owner; out of any chain, with a reference count of its own.
    SCC_HandleWithEvent(SCC_HandleWithEvent const& source);
    /// Copies type, handle and owner and joins the chain of `source` directly ahead of it.
    /// The argument is not const; the reference count stays this object's own.
    SCC_HandleWithEvent& operator=(SCC_HandleWithEvent& source);
    /// Leaves the chain.
    ~SCC_HandleWithEvent() override;

    /// Code 8 first calls OnUpdatePointers; then every code goes to the owner's
    /// HandleNotification with this entry's pair. Without an owner nothing is reported. The
    /// entry may be destroyed by the owner during the call.
    int OnNotification(int code, int* data) override;

    /// The notifier that tells about the object behind the handle; null here.
    virtual SCC_Notifier* GetChangeEvent();
    /// Called on code 8 before the table hears of it: a derived class refreshes its pair and
    /// whatever it keeps about the object. Nothing here.
    virtual void OnUpdatePointers();

    int GetHandle() const { return m_Handle; }
    int32_t GetType() const { return m_Type; }
    SCC_SavedHandles* GetOwner() const { return m_Owner; }

protected:
    int32_t m_Type;
    int m_Handle;
    SCC_SavedHandles* m_Owner;
};

/// The order of entries: by type, then by handle, each signed, giving -1, 0 or 1. A null
/// pointer orders before every entry.
MORTAR_API int SCC_Compare(SCC_SharedPointer<SCC_HandleWithEvent> const& a,
                           SCC_SharedPointer<SCC_HandleWithEvent> const& b);

/// The table of remembered pairs, kept sorted by type, then handle, through the default sort
/// object. After a code 8 it sorts itself again at the next Find (and so at the next Save or
/// Delete); in between, direct access to the array sees the old order.
///
/// Copies share the buffer and the sort object, as sorted arrays do, and copy the needs
/// sorting flag.
///
/// Virtual slots: those of the sorted array, then CreateByType, HandleNotification, Save,
/// Delete, Find, and the destructor last. Save, Delete and Find hide the array's operations of those names, which stay
/// reachable through the base class.
class MORTAR_API SCC_SavedHandles : public SCC_SortableArray<SCC_SharedPointer<SCC_HandleWithEvent>> {
    using Base = SCC_SortableArray<SCC_SharedPointer<SCC_HandleWithEvent>>;

public:
    /// Empty, no buffer, sorted.
    SCC_SavedHandles();
    SCC_SavedHandles(SCC_SavedHandles& source);
    SCC_SavedHandles& operator=(SCC_SavedHandles& source);

protected:
    /// The factory of entries; null here. A derived class returns a new entry for the pair,
    /// with this table as its owner.
    virtual SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type);

public:
    /// What an entry heard: code 2 deletes the pair (`data` carrying the handle of the removed
    /// object, `type` the entry's type; the entry removed need not be the one that heard it),
    /// code 7 empties the table, code 8 marks it for sorting. Other codes do nothing. Returns 0.
    virtual int HandleNotification(int handle, int32_t type, int code, int* data);
    /// Remembers the pair: 1 when a new entry was made (linked at the tail of its change
    /// event's chain, if it has one, and inserted in order), 0 when the pair is saved already
    /// or the factory gave nothing.
    virtual int Save(int handle, int32_t type);
    /// Forgets the pair: 1 when it was there, else 0.
    virtual int Delete(int handle, int32_t type);
    /// The entry of the pair (a new reference), or null. `position` (may be null) receives the
    /// index of the entry, or where the pair belongs. Sorts first when a code 8 asked for it.
    virtual SCC_SharedPointer<SCC_HandleWithEvent> Find(int handle, int32_t type, int32_t* position);
    /// Releases the entries. Virtual, after the slots above, so that a derived table is
    /// destroyed fully through a pointer to this class.
    virtual ~SCC_SavedHandles();

    /// Whether a code 8 has left the table to be sorted at the next lookup.
    bool NeedsSorting() const { return m_NeedsSorting; }

private:
    bool m_NeedsSorting;
};

#endif
