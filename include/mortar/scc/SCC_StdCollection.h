// SCC_StdCollection: a live, filtered and sorted view of a set of items that live elsewhere.
//
// Items are known by integer handles (0 is no item); the collection never learns what a handle
// stands for. A derived class teaches it to walk the source through the protected slots
// _GetFirst, _GetNext, _GetSlider and _SetSlider (and the parent-restricted walk), and the
// base class keeps:
//   - the items: the handles that passed the filter, in sort order, from index 0;
//   - the position, a cursor over the items, kept on the same handle as the derived class's
//     own cursor (the slider);
//   - the focus: a multiple selection, ordered by handle value;
//   - a small integer per handle (the handle data);
//   - the connections that keep all of this right while the source changes.
//
// Notifications. A notification is a code (SCC_NotificationCode, 1 to 8) and a handle, which
// travels in the int* argument itself and is never dereferenced (mortar::HandleToData and
// mortar::DataToHandle convert). The collection hears its source as a node of the source's
// notifier (SetEvent), the notifiers of single items through one EventHook each (ConnectEvent),
// and its parent through the parent hook. It tells its own listeners through the change
// notifier (GetChangeEvent, SetNotificationHandler):
//
//   cause                                   heard on the change notifier
//   item added                              (1, h) after the insertion, standing on the item
//   item removed                            (2, h) after the removal from the focus, before the
//                                           removal from the items
//   item changed, still in its place        (3, h)
//   item changed, out of order              (2, h), then (1, h) once it stands in its new place
//   item changed, now fails the filter      (2, h)
//   item changed, now passes the filter     (1, h)
//   code 4                                  (4, h)
//   Reload with a different result          (6, 0)
//   Reload while not loaded, presence flips (3, 0)
//   SetFocus without add                    (3, h)
//   code 7                                  (7, h), before anything is emptied
//   code 8                                  (8, 0), after the renumbering
//
// During (1, h), (2, h), (3, h) and (4, h) the collection stands on h: GetSlider() is h and
// GetPosition() is its index. After OnNotification the cursors stand where they stood; the
// position follows its item through insertions and removals before it, and when that item
// went away the position is not valid and the slider is 0.
//
// Re-entrancy. Notifications are synchronous and nest. A listener on the change notifier may
// read the collection, move its cursors, change the source and notify again: the inner
// OnNotification runs to its end inside the outer one, and the outer one's kept position
// follows the items meanwhile. A listener may disconnect itself or other listeners (the
// chain rules of SCC_Event). It must not destroy the collection that is notifying.
//
// Suspension. Between Suspend(1) and Suspend(0) notifications about items that the collection
// shows or would show are queued (a repeat of the newest entry is not stored again); codes 6
// and 7 empty the queue and take effect at once. Suspend(0) delivers only the newest entry of
// each handle, newest first. Notifications about items that neither pass the filter nor are
// shown are dropped, suspended or not. What a source should know when it suspends:
//   - a later notification of a handle replaces an earlier one, so a notice (4, h) queued after
//     (1, h) or (3, h) swallows the addition or the change;
//   - code 1 does not look for the handle among the items, so a reload (SetFilter, SetSort)
//     while an addition is queued enters that handle twice when the addition is delivered;
//   - a shown item whose key changed stands out of order until its change is delivered, and
//     items placed meanwhile (other changes, additions) are placed by bisection over items
//     that are not all in order. A source that changes the keys of several shown items while
//     suspended should end with (6, 0) instead.
//
// Choices made here where a collection could act otherwise:
//   - Codes 1 and 3 with handle 0 are ignored entirely (not even queued): they name no item.
//     A collection whose source is another collection's change notifier meets (3, 0), which
//     that collection fires when it is not loaded and its presence flips.
//   - The sort direction given to SetSort is kept by the collection and applied to every new
//     buffer of the items, so it survives Reload, Clear and the removal of the last item.
//   - SetPosition with an index outside the items clears the position and puts the slider
//     on 0; nothing grows. GetFocus with a negative index gives 0.
//   - SetHandleData on a collection that is not connected to a source stores the data and
//     notifies nobody.
//   - SetParent(nullptr) disconnects the parent hook, so a former parent is not heard any
//     more.
//   - A removal takes the item out where it stands after the listeners of (2, h) have run,
//     so a listener may move the cursor meanwhile.
//   - Suspend(0) keeps the notifications that a listener queues by suspending again during
//     the delivery; they wait for the next Suspend(0).
//   - The hook table counts one connection per item that was entered or walked and takes one
//     off per item that left. An item that only moves keeps its connection, so the hook it
//     came through is never destroyed and made again inside the walk of its own notifier
//     (where the new hook would hear the same notification twice).
//   - A collection can't be copied (the copy operations are deleted): a copy would share
//     hooks and arrays with its source and could not outlive it safely.
//
// Reload and the derived class. Reload walks the source first and enters the passing handles
// afterwards, by a stable sort in walk order (one entry per handle), which gives exactly the
// items, the notifications and the cursor moves of entering them one by one behind their
// equals, for any comparison that is a consistent order (the sort object's Compare must give
// the same answer for the same pair, and opposite signs for swapped ones). The slots that the
// walk calls (_GetNext, GetSlider, Filter, GetEvent) must not read the items; a notification
// that enters items during the walk makes the rest of the walk go in one by one.
//
// Lifetime. A collection owns its hook table and its arrays; it owns neither its filter, nor
// its parent, nor its source notifier, which must outlive it or be disconnected first. The
// destructor disconnects the parent hook, the position and the table hooks, the listeners of
// the change notifier and the collection itself from its source; it does not touch the parent
// or the children beyond that, so a child must not use a destroyed parent.
//
// Virtual slots, in order: destructor, OnNotification, OnRemoveNode, GetPriority, GetRoot,
// Reload, _GetSlider, _SetSlider, _GetFirst, _GetNext, _GetPrev, _GetFirstByParentSlider,
// _GetNextByParentSlider, SetParent, AllowReload, IsReloadAllowed, FindNextTempItem, Clear,
// GetEvent, SetEvent, SetNotificationHandler, OnParentNotification, EnableNotifications,
// HandleNotificationsAllowed, Suspend, IsEmpty, HasFocus, Filter, GetFocus, SetFocus,
// IsInFocus, GetSlider, SetSlider, GetPosition, SetPosition, GetAt, GetPositionByHandle,
// GetHandleData, SetHandleData, GetFirst, GetNext, GetPrev, UpdateHandle. The operations call
// each other through these slots, so that a derived class's versions take part.
//
// Costs. Insertion is one bisection and one array insertion. Operations by handle over the
// items (SetSlider, GetPositionByHandle, the lookup of a notified handle) are linear scans,
// since the items are ordered by the client's order; operations over the focus bisect. A
// change that leaves its item in place costs the scan, two comparisons and no memory move.
//
// Nothing here is thread-safe.
#ifndef MORTAR_SCC_SCC_STDCOLLECTION_H
#define MORTAR_SCC_SCC_STDCOLLECTION_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/scc/scc_arr.h>
#include <mortar/sys/SYS_Filter.h>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

/// The codes of the notifications of collections and handle sources. The same numbers travel
/// on a source's notifier, on the notifiers of single items and on a collection's change
/// notifier.
enum SCC_NotificationCode {
    CN_ItemAdded = 1,      ///< the handle is new in the source
    CN_ItemRemoved = 2,    ///< the handle has left the source
    CN_ItemChanged = 3,    ///< the item changed: it may stay, move, arrive or leave
    CN_ItemNotice = 4,     ///< nothing changed; passed on to listeners
    CN_Ignored = 5,        ///< nothing happens and nothing is passed on
    CN_AllChanged = 6,     ///< the whole source changed: reload
    CN_AllRemoved = 7,     ///< everything is gone: passed on, then everything is emptied
    CN_HandlesChanged = 8, ///< every handle has a new value (see UpdateHandle)
};

namespace mortar {

/// The int* argument of a notification that carries `handle` (the pointer is never followed).
inline int* HandleToData(int handle) { return reinterpret_cast<int*>(static_cast<intptr_t>(handle)); }

/// The handle that the int* argument of a notification carries.
inline int DataToHandle(int const* data) {
    return static_cast<int>(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(data)));
}

} // namespace mortar

class MORTAR_API SCC_StdCollection : public SCC_EventNode<int> {
public:
    /// A cursor over the items that follows its element while the items change, with a data
    /// field. Valid when it has an array with storage and its index lies in the bounds (the
    /// iterator's IsDone is 0); cleared it has no array and the index 0x7FFFFFFF (Reset).
    /// The deletion of its element sends the index to 0x7FFFFFFF.
    ///
    /// Virtual slots: those of the iterator (destructor, OnNotification, OnRemoveNode,
    /// GetPriority, GetRoot, SetArray).
    class MORTAR_API Position : public SCC_Array<int>::Iterator {
    public:
        /// The handle data; 0 at construction.
        int Data;

        /// Cleared, data 0.
        Position();
        /// Cleared and out of any chain; copies only the data.
        Position(Position const& source);
        /// Leaves its own chain and joins the chain of `source` directly before it, taking
        /// over root, index, array and data: a position assigned from one that follows an
        /// array follows the same array. The source is not const.
        Position& operator=(Position& source);
        /// Leaves its chain.
        ~Position() override;

        /// 1 when the position stands on an element (IsDone is 0).
        int IsValid() const { return IsDone() ? 0 : 1; }
    };

    /// The hook through which a collection listens to the notifier of items of its source. It
    /// calls OnNotification of its collection through the virtual slot, and counts the
    /// connections made through it (see ConnectEvent). Built unconnected, priority 0, count 0.
    /// Virtual slots: those of SCC_ObjectEventHook.
    class MORTAR_API EventHook : public SCC_ObjectEventHook<SCC_StdCollection, int> {
    public:
        EventHook(SCC_StdCollection* object = nullptr, Member member = nullptr);
        EventHook(EventHook const&) = delete;
        EventHook& operator=(EventHook const&) = delete;
        ~EventHook() override;

        /// The number of connections made through this hook and not yet undone.
        int GetConnectionCount() const { return m_ConnectionCount; }

    private:
        friend class SCC_StdCollection;
        int m_ConnectionCount;
    };

    /// A new collection, unloaded, with `parent` set through SetParent (which reloads; at that
    /// moment the object is still a base class object and finds nothing). A derived class that
    /// has its data only after its own construction calls AllowReload or Reload itself.
    explicit SCC_StdCollection(SCC_StdCollection* parent = nullptr);
    SCC_StdCollection(SCC_StdCollection const&) = delete;
    SCC_StdCollection& operator=(SCC_StdCollection const&) = delete;
    ~SCC_StdCollection() override;

    /// Receives a notification (code, handle) from the source or from an item's notifier, and
    /// brings the items, the focus and the cursors up to date, telling the change notifier's
    /// listeners what changed (see the header comment). Always returns 0.
    int OnNotification(int code, int* data) override;

protected:
    /// Reloads the items from the source when reload is allowed, else only probes whether the
    /// source holds anything (see the .cpp for the steps).
    virtual void Reload();

    // What a derived class supplies. The base versions stand on an empty source.

    /// The handle under the derived class's cursor, 0 when it stands on nothing. Base: 0.
    virtual int _GetSlider();
    /// Moves that cursor onto `handle`; 0 puts it before the first item. Base: nothing.
    virtual void _SetSlider(int handle);
    /// Moves to the first item of the source; non-zero if there is one. Base: 0.
    virtual int _GetFirst();
    /// Moves to the next item; non-zero if there is one. From a cursor of 0 it moves to the
    /// first item; after the last item the cursor is 0. Base: 0.
    virtual int _GetNext();
    /// Moves to the previous item in the same manner; the library does not call it. Base: 0.
    virtual int _GetPrev();
    /// The walk restricted to the items that hang on the parent's slider. Base: _GetFirst.
    virtual int _GetFirstByParentSlider();
    /// The same, next item. Base: _GetNext.
    virtual int _GetNextByParentSlider();

public:
    /// Stores `parent`. When it is not null: parent->AllowReload(1) and the parent hook joins
    /// the parent's change notifier; when it is null the parent hook is disconnected. Reload
    /// comes last in every case.
    virtual void SetParent(SCC_StdCollection* parent);
    /// Stores the reload allowed flag; when it was 0, Reload follows.
    virtual void AllowReload(int allow);
    /// The reload allowed flag.
    virtual int IsReloadAllowed();
    /// The next handle after `handle` in the source's walk that passes the filter, or 0. Walks
    /// the source directly, so it works on an unloaded collection; the slider is set back to
    /// what it was, through SetSlider (which gives 0 for a handle that is not in the items).
    virtual int FindNextTempItem(int handle);
    /// Empties the handle data, the hook table (disconnecting its hooks), the items and the
    /// focus, then AllowReload(0). Parent, filter and sort stay; the position becomes invalid.
    /// Notifies no listener.
    virtual void Clear();
    /// The notifier through which the item under the cursor reports changes, or null. Base:
    /// null.
    virtual SCC_Notifier* GetEvent();
    /// With a notifier: the collection, as a node, moves to the tail of its chain, and it is
    /// stored as the source notifier. Null does nothing.
    virtual void SetEvent(SCC_Notifier* notifier);
    /// With a node: it moves to the tail of the change notifier's chain, so that it hears this
    /// collection. Null does nothing.
    virtual void SetNotificationHandler(SCC_EventNode<int>* node);
    /// Receives a notification of the parent's change notifier: codes 1, 3, 4 and 6 reload,
    /// code 2 takes out the items that hang on the parent's item, code 7 empties. Only for a
    /// handle that HandleNotificationsAllowed accepts. Always returns 0.
    virtual int OnParentNotification(int code, int* data);
    /// Sets the change notifier's Enabled and returns the old value. With 0 listeners hear
    /// nothing while the collection goes on changing.
    virtual int EnableNotifications(int enable);
    /// 1 for handle 0; 0 without a parent; else 1 when the parent has `handle` in its focus.
    virtual int HandleNotificationsAllowed(int handle);
    /// Non-zero sets the suspended flag (a flag, not a counter). 0 with the flag set clears it
    /// and delivers the newest queued notification of each handle, newest first.
    virtual void Suspend(int suspend);
    /// 1 when the position is not valid. A test of the cursor, not of the count.
    virtual int IsEmpty();
    /// 1 when the focus has entries.
    virtual int HasFocus();
    /// 1 without a filter, else the filter's IsTrue(handle).
    virtual int Filter(int handle);
    /// The focus entry at `index`, or 0 when `index` is negative or not below the count.
    virtual int GetFocus(int32_t index);
    /// Sets the focus. A handle that is not in the items counts as 0. Without `add`, or with
    /// handle 0, the focus is emptied first; handle 0 then ends the call. The handle is then
    /// inserted behind its equals (with `add` the same handle can stand twice). Without `add`,
    /// (3, handle) is fired with the collection standing on the handle, and the cursors are
    /// put back afterwards. With `add` nothing is fired.
    virtual void SetFocus(int handle, bool add);
    /// Whether `handle` is in the focus, by bisection; `where` (may be null) receives the index
    /// where the search ended.
    virtual bool IsInFocus(int handle, int32_t* where);
    /// _GetSlider().
    virtual int GetSlider();
    /// Puts both cursors on `handle` when it is in the items (first occurrence, linear search);
    /// otherwise clears the position and puts the slider on 0.
    virtual void SetSlider(int handle);
    /// The position's index (0x7FFFFFFF when cleared).
    virtual int32_t GetPosition();
    /// Attaches the position at `index` and puts the slider on the handle there. An index
    /// outside the items clears the position and puts the slider on 0.
    virtual void SetPosition(int32_t index);
    /// The handle at `index`, or 0 outside the items.
    virtual int GetAt(int32_t index);
    /// The index of `handle` in the items (first occurrence, linear search); -1 for handle 0 or
    /// a handle that is not there.
    virtual int32_t GetPositionByHandle(int handle);
    /// The data stored for `handle`, 0 when there is none.
    virtual int GetHandleData(int handle);
    /// Stores `data` for `handle`, then fires (3, handle) on the source's notifier (GetRoot),
    /// so that every collection over the source, this one included, examines the handle again.
    virtual void SetHandleData(int handle, int data);
    /// Moves to the first item: 1 if there is one, else 0 with the position cleared and the
    /// slider on 0.
    virtual int GetFirst();
    /// Moves to the next item: 1 while the position stays valid. A walk that ran off the end
    /// leaves the slider on the last handle reached and changes nothing more.
    virtual int GetNext();
    /// The same backwards.
    virtual int GetPrev();
    /// The new value of an old handle, for code 8. Base: 0 (a derived class that raises code 8
    /// must override it).
    virtual int UpdateHandle(int handle);

    /// Stores the filter (not owned; it must stay alive while set) and reloads.
    void SetFilter(SYS_Filter* filter);
    /// SetSort with a new SCC_Sort<int> holding `compare` (null: by handle value).
    void SetSort(int (*compare)(int const&, int const&), int descending);
    /// `sort` (shared by reference count) becomes the items' sort object, the items are emptied,
    /// the direction becomes -1 for a non-zero `descending`, else 1, and stays in force through
    /// every later reload; then Reload.
    void SetSort(SCC_Sort<int>* sort, int descending);
    /// The change notifier: the listeners of this collection.
    SCC_Notifier* GetChangeEvent() { return &m_ChangeEvent; }

protected:
    /// Keeps one EventHook per foreign notifier, counting the connections made through it.
    /// `notifier` and `hook` may both be null; given, they are a cache of the last notifier
    /// and hook. With the notifier of the item under the cursor (GetEvent; nothing without
    /// one): a hook is made and connected when there is none, `connect` is not 0 and the
    /// notifier is not this collection's root; then the count goes up by one for `connect`
    /// non-zero, else down by one, and a hook whose count reaches 0 is removed and destroyed.
    void ConnectEvent(int connect, SCC_Notifier** notifier, EventHook** hook);

private:
    // Index of the first item equal to `handle`, by a linear scan from the lower bound; -1.
    int32_t FindItem(int handle);
    // Inserts `handle` behind the items that compare equal to it and returns its index; a new
    // buffer gets the collection's direction.
    int32_t InsertItem(int handle);
    // Fires (code, handle) on the change notifier.
    void Fire(int code, int handle);
    // Steps of OnNotification for codes 1, 2 and 3.
    void ItemAdded(int handle);
    void ItemRemoved(int handle);
    void ItemChanged(int handle, int passes, int32_t index);
    void AllRemoved(int handle);
    void HandlesChanged();
    // Reload when allowed: the walk, the new items, the focus.
    void Rebuild();
    // Enters the passing handles of a walk (in walk order) as the items.
    void FillItems(std::vector<int>& passing);

    SCC_SortableArray<int> m_Focus;
    std::map<SCC_Notifier*, EventHook> m_Hooks;
    SCC_Notifier* m_SourceEvent;
    SCC_Notifier m_ChangeEvent;
    SYS_Filter* m_Filter;
    std::vector<std::pair<int, int>> m_Pending;
    SCC_SortableArray<int> m_Items;
    std::map<int, Position> m_HandleData;
    Position m_Position;
    SCC_StdCollection* m_Parent;
    int32_t m_Suspended;
    int32_t m_ReloadAllowed;
    int32_t m_Presence;
    SCC_ObjectEventHook<SCC_StdCollection, int> m_ParentHook;
    int32_t m_Direction;
};

#endif
