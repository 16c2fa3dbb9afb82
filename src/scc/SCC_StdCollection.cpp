// The live collection of handles (see SCC_StdCollection.h).
#include <mortar/scc/SCC_StdCollection.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <typeinfo>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

// The index of the first element of p[0..n) equal to `value`, or -1. The scan runs in blocks
// without an early exit inside a block, which the compiler turns into vector compares: the
// lookup of a notified handle is the linear part of every notification.
int32_t ScanFor(int const* p, int32_t n, int value) {
    int32_t i = 0;
    constexpr int32_t kBlock = 32;
    for (; i + kBlock <= n; i += kBlock) {
        int hit = 0;
        for (int32_t j = 0; j < kBlock; ++j) hit |= p[i + j] == value ? 1 : 0;
        if (hit) break;
    }
    for (; i < n; ++i)
        if (p[i] == value) return i;
    return -1;
}

// Removes every repeated handle from `handles`, keeping the first occurrence of each in place.
// A bit set covers handles that lie close together; scattered ones go through a hash set.
void KeepFirstOccurrences(std::vector<int>& handles) {
    if (handles.size() < 2) return;
    auto const bounds = std::minmax_element(handles.begin(), handles.end());
    int64_t const low = *bounds.first;
    uint64_t const span = static_cast<uint64_t>(static_cast<int64_t>(*bounds.second) - low) + 1;
    size_t kept = 0;
    if (span <= 8 * static_cast<uint64_t>(handles.size()) + 4096) {
        std::vector<uint64_t> seen(static_cast<size_t>((span + 63) / 64));
        for (int const handle : handles) {
            uint64_t const bit = static_cast<uint64_t>(handle - low);
            uint64_t& word = seen[static_cast<size_t>(bit >> 6)];
            uint64_t const mask = uint64_t{1} << (bit & 63);
            if (word & mask) continue;
            word |= mask;
            handles[kept++] = handle;
        }
    } else {
        std::unordered_set<int> seen;
        seen.reserve(handles.size());
        for (int const handle : handles)
            if (seen.insert(handle).second) handles[kept++] = handle;
    }
    handles.resize(kept);
}

// Sorts distinct handles stably in the order that the items' sort object and direction give:
// the order that entering them one by one behind their equals produces. A plain sort object
// is called directly (its function, or the comparison of values, under which distinct handles
// never tie); a derived one through its virtual Compare.
void SortHandles(std::vector<int>& handles, SCC_Sort<int>* sort, int direction) {
    if (!sort || typeid(*sort) == typeid(SCC_Sort<int>)) {
        SCC_Sort<int>::Function const function = sort ? sort->GetFunction() : nullptr;
        if (!function) {
            if (direction > 0) std::sort(handles.begin(), handles.end());
            else std::sort(handles.begin(), handles.end(), std::greater<int>());
        } else if (direction > 0) {
            std::stable_sort(handles.begin(), handles.end(), [function](int a, int b) { return function(a, b) < 0; });
        } else {
            std::stable_sort(handles.begin(), handles.end(), [function](int a, int b) { return function(a, b) > 0; });
        }
        return;
    }
    if (direction > 0)
        std::stable_sort(handles.begin(), handles.end(), [sort](int a, int b) { return sort->Compare(a, b) < 0; });
    else
        std::stable_sort(handles.begin(), handles.end(), [sort](int a, int b) { return sort->Compare(a, b) > 0; });
}

} // namespace

// Position ------------------------------------------------------------------------------------

SCC_StdCollection::Position::Position() : Data(0) {}

SCC_StdCollection::Position::Position(Position const& source) : SCC_Array<int>::Iterator(), Data(source.Data) {}

SCC_StdCollection::Position& SCC_StdCollection::Position::operator=(Position& source) {
    SCC_Array<int>::Iterator::operator=(source);
    Data = source.Data;
    return *this;
}

SCC_StdCollection::Position::~Position() = default;

// EventHook -----------------------------------------------------------------------------------

SCC_StdCollection::EventHook::EventHook(SCC_StdCollection* object, Member member)
    : SCC_ObjectEventHook<SCC_StdCollection, int>(object, member, 0), m_ConnectionCount(0) {}

SCC_StdCollection::EventHook::~EventHook() = default;

// Construction --------------------------------------------------------------------------------

SCC_StdCollection::SCC_StdCollection(SCC_StdCollection* parent)
    : m_SourceEvent(nullptr),
      m_Filter(nullptr),
      m_Parent(nullptr),
      m_Suspended(0),
      m_ReloadAllowed(0),
      m_Presence(0),
      m_ParentHook(this, &SCC_StdCollection::OnParentNotification, 0),
      m_Direction(1) {
    SetParent(parent);
}

// The members take themselves apart in reverse order: the parent hook and the position leave
// their chains first, the items and the change notifier disconnect what still hangs on them, the
// table hooks leave the items' notifiers, and the node base leaves the source's chain last.
SCC_StdCollection::~SCC_StdCollection() = default;

// What a derived class supplies ----------------------------------------------------------------

int SCC_StdCollection::_GetSlider() { return 0; }
void SCC_StdCollection::_SetSlider(int) {}
int SCC_StdCollection::_GetFirst() { return 0; }
int SCC_StdCollection::_GetNext() { return 0; }
int SCC_StdCollection::_GetPrev() { return 0; }
int SCC_StdCollection::_GetFirstByParentSlider() { return _GetFirst(); }
int SCC_StdCollection::_GetNextByParentSlider() { return _GetNext(); }
SCC_Notifier* SCC_StdCollection::GetEvent() { return nullptr; }
int SCC_StdCollection::UpdateHandle(int) { return 0; }

// Connections ---------------------------------------------------------------------------------

void SCC_StdCollection::SetParent(SCC_StdCollection* parent) {
    m_Parent = parent;
    if (parent) {
        parent->AllowReload(1);
        parent->SetNotificationHandler(&m_ParentHook);
    } else {
        m_ParentHook.Remove();
    }
    Reload();
}

void SCC_StdCollection::SetEvent(SCC_Notifier* notifier) {
    if (!notifier) return;
    notifier->Add(this);
    m_SourceEvent = notifier;
}

void SCC_StdCollection::SetNotificationHandler(SCC_EventNode<int>* node) {
    if (node) m_ChangeEvent.Add(node);
}

int SCC_StdCollection::EnableNotifications(int enable) {
    int const old = m_ChangeEvent.Enabled;
    m_ChangeEvent.Enabled = enable;
    return old;
}

void SCC_StdCollection::ConnectEvent(int connect, SCC_Notifier** notifier, EventHook** hook) {
    SCC_Notifier* const event = GetEvent();
    if (!event) return;
    bool const cached = notifier && hook;
    EventHook* found = nullptr;
    if (cached && *notifier == event) {
        found = *hook;
    } else {
        auto const entry = m_Hooks.find(event);
        if (entry != m_Hooks.end()) {
            found = &entry->second;
        } else if (connect && static_cast<SCC_EventNode<int>*>(event) != GetRoot()) {
            auto const made = m_Hooks.emplace(std::piecewise_construct, std::forward_as_tuple(event),
                                              std::forward_as_tuple(this, &SCC_StdCollection::OnNotification));
            found = &made.first->second;
            found->Connect(event);
        }
        if (cached) {
            *notifier = event;
            *hook = found;
        }
    }
    if (!found) return;
    if (connect) {
        ++found->m_ConnectionCount;
    } else if (--found->m_ConnectionCount == 0) {
        if (cached && *hook == found) {
            *notifier = nullptr;
            *hook = nullptr;
        }
        m_Hooks.erase(event);
    }
}

// Loading -------------------------------------------------------------------------------------

void SCC_StdCollection::AllowReload(int allow) {
    int32_t const old = m_ReloadAllowed;
    m_ReloadAllowed = allow;
    if (!old) Reload();
}

int SCC_StdCollection::IsReloadAllowed() { return m_ReloadAllowed; }

void SCC_StdCollection::Reload() {
    if (m_ReloadAllowed) {
        Rebuild();
        return;
    }
    // Not loaded: only whether the source holds anything, told when that flips.
    int32_t const old = m_Presence;
    m_Presence = FindNextTempItem(0) ? 1 : 0;
    if (m_Presence != old) Fire(CN_ItemChanged, 0);
}

void SCC_StdCollection::Rebuild() {
    SCC_Array<int> snapshot;
    snapshot = m_Items;
    m_Items.Clear();
    int parentSlider = 0;
    if (m_Parent) {
        m_Parent->AllowReload(1);
        parentSlider = m_Parent->GetSlider();
    }
    SetSlider(0);
    SCC_Notifier* cachedNotifier = nullptr;
    EventHook* cachedHook = nullptr;
    ConnectEvent(1, &cachedNotifier, &cachedHook);
    // Rejected items are listened to as well: a later change can let them in.
    std::vector<int> passing;
    for (int more = _GetFirst(); more; more = _GetNext()) {
        int const handle = GetSlider();
        if (Filter(handle)) passing.push_back(handle);
        ConnectEvent(1, &cachedNotifier, &cachedHook);
    }
    if (m_Parent) m_Parent->SetSlider(parentSlider);
    FillItems(passing);

    int32_t const count = m_Items.GetCount();
    bool same = count == snapshot.GetCount();
    for (int32_t i = 0; same && i < count; ++i)
        same = m_Items.FastGetAt(m_Items.GetLowerBound() + i) == snapshot.FastGetAt(snapshot.GetLowerBound() + i);
    if (same) return;

    m_Presence = m_Focus.GetCount() > 0 ? 1 : 0;
    SCC_SortableArray<int> focus;
    for (int32_t i = m_Focus.GetLowerBound(); i < m_Focus.GetUpperBound(); ++i) {
        int const handle = m_Focus.FastGetAt(i);
        int32_t where = 0;
        if (handle && m_Items.Find(handle, where)) focus.Append(handle);
    }
    m_Focus = focus;
    m_Focus.Sort(m_Focus.GetLowerBound(), m_Focus.GetCount(), 1);
    Fire(CN_AllChanged, 0);
}

// Entering the handles one by one behind their equals gives the stable sort of the distinct
// handles in walk order; this does the same in O(n log n). The array notifications are those
// that matter of the one-by-one insertion: after Clear only a position at index 0 still stands
// anywhere, and it follows the first element entered. So that element goes in first, then the
// block that sorts before it and the block that sorts after it.
void SCC_StdCollection::FillItems(std::vector<int>& passing) {
    if (m_Items.GetCount() != 0) {
        // Something entered the items during the walk (a notification from inside a slot):
        // the handles go in one by one, each once, as the walk gave them.
        for (int const handle : passing) {
            int32_t where = 0;
            if (!m_Items.Find(handle, where)) InsertItem(handle);
        }
        return;
    }
    KeepFirstOccurrences(passing);
    if (passing.empty()) return;
    int const first = passing.front();
    SCC_SharedPointer<SCC_Sort<int>> const sort(m_Items.GetSort());
    SortHandles(passing, sort, m_Direction);
    int32_t const count = static_cast<int32_t>(passing.size());
    int32_t const at = static_cast<int32_t>(std::find(passing.begin(), passing.end(), first) - passing.begin());
    InsertItem(first);
    if (at > 0) {
        m_Items.Insert(0, at);
        std::copy(passing.begin(), passing.begin() + at, &m_Items.FastGetAt(0));
    }
    if (count - at - 1 > 0) {
        m_Items.Insert(at + 1, count - at - 1);
        std::copy(passing.begin() + at + 1, passing.end(), &m_Items.FastGetAt(at + 1));
    }
}

int SCC_StdCollection::FindNextTempItem(int handle) {
    int const noted = GetSlider();
    SetSlider(handle);
    int found = 0;
    for (;;) {
        _GetNext();
        found = GetSlider();
        if (!found || Filter(found)) break;
    }
    SetSlider(noted);
    return found;
}

void SCC_StdCollection::Clear() {
    m_HandleData.clear();
    m_Hooks.clear();
    m_Items.Clear();
    m_Focus.Clear();
    AllowReload(0);
}

void SCC_StdCollection::SetFilter(SYS_Filter* filter) {
    m_Filter = filter;
    Reload();
}

void SCC_StdCollection::SetSort(int (*compare)(int const&, int const&), int descending) {
    SetSort(new SCC_Sort<int>(compare), descending);
}

void SCC_StdCollection::SetSort(SCC_Sort<int>* sort, int descending) {
    m_Items.SetSort(sort);
    m_Items.Clear();
    m_Direction = descending ? -1 : 1;
    Reload();
}

// Notifications -------------------------------------------------------------------------------

void SCC_StdCollection::Fire(int code, int handle) { m_ChangeEvent.Notify(code, mortar::HandleToData(handle)); }

int SCC_StdCollection::OnNotification(int code, int* data) {
    int const handle = mortar::DataToHandle(data);
    // An addition or change without a handle names no item.
    if (handle == 0 && (code == CN_ItemAdded || code == CN_ItemChanged)) return 0;
    int passes = 1;
    int32_t index = -1;
    if (handle != 0) {
        passes = Filter(handle);
        index = FindItem(handle);
        // About something this collection neither shows nor would show.
        if (!passes && index < 0) return 0;
    }
    if (m_Suspended) {
        if (code == CN_AllChanged || code == CN_AllRemoved) {
            m_Pending.clear();
        } else {
            std::pair<int, int> const entry(code, handle);
            if (m_Pending.empty() || m_Pending.back() != entry) m_Pending.push_back(entry);
            return 0;
        }
    }
    // Assigned, not copied: the kept position follows the items while they change.
    Position kept;
    kept = m_Position;
    if (code != CN_ItemAdded && code != CN_ItemChanged) SetSlider(handle);
    switch (code) {
    case CN_ItemAdded:
        ItemAdded(handle);
        break;
    case CN_ItemRemoved:
        ItemRemoved(handle);
        break;
    case CN_ItemChanged:
        ItemChanged(handle, passes, index);
        break;
    case CN_ItemNotice:
        Fire(CN_ItemNotice, handle);
        break;
    case CN_AllChanged:
        Reload();
        break;
    case CN_AllRemoved:
        AllRemoved(handle);
        break;
    case CN_HandlesChanged:
        HandlesChanged();
        break;
    default:
        break;
    }
    m_Position = kept;
    SetSlider(m_Position.IsValid() ? m_Items.FastGetAt(m_Position.GetIndex()) : 0);
    return 0;
}

void SCC_StdCollection::ItemAdded(int handle) {
    int32_t const index = InsertItem(handle);
    m_Position.SetArray(&m_Items, index);
    _SetSlider(handle);
    ConnectEvent(1, nullptr, nullptr);
    Fire(CN_ItemAdded, handle);
}

void SCC_StdCollection::ItemRemoved(int handle) {
    int32_t where = 0;
    if (IsInFocus(handle, &where)) m_Focus.Delete(where, 1);
    if (!m_Position.IsValid()) return;
    ConnectEvent(0, nullptr, nullptr);
    // The entry is taken out where it stands after the listeners, who may move the cursor.
    Position target;
    target = m_Position;
    Fire(CN_ItemRemoved, handle);
    if (target.IsValid()) m_Items.Delete(target.GetIndex(), 1);
    m_HandleData.erase(handle);
}

void SCC_StdCollection::ItemChanged(int handle, int passes, int32_t index) {
    if (index < 0) {
        // Not shown, and it passes now: it arrives.
        ItemAdded(handle);
        return;
    }
    m_Position.SetArray(&m_Items, index);
    _SetSlider(handle);
    if (passes && m_Items.ItemInValidPlace(index)) {
        Fire(CN_ItemChanged, handle);
        return;
    }
    int32_t where = 0;
    bool const inFocus = IsInFocus(handle, &where);
    if (inFocus) m_Focus.Delete(where, 1);
    Position target;
    target = m_Position;
    Fire(CN_ItemRemoved, handle);
    // A move takes one connection and gives it back. Leaving the count alone keeps the hook
    // alive: one destroyed and made again inside the walk of its own notifier would be
    // connected ahead of the walk and hear the same notification a second time.
    if (!passes) ConnectEvent(0, nullptr, nullptr);
    if (target.IsValid()) m_Items.Delete(target.GetIndex(), 1);
    if (!passes) return;
    int32_t const placed = InsertItem(handle);
    m_Position.SetArray(&m_Items, placed);
    if (inFocus) m_Focus.InsertSorted(handle);
    _SetSlider(handle);
    Fire(CN_ItemAdded, handle);
}

void SCC_StdCollection::AllRemoved(int handle) {
    Fire(CN_AllRemoved, handle);
    m_HandleData.clear();
    m_Hooks.clear();
    m_Items.Clear();
    m_Focus.Clear();
}

void SCC_StdCollection::HandlesChanged() {
    for (int32_t i = m_Items.GetLowerBound(); i < m_Items.GetUpperBound(); ++i)
        m_Items[i] = UpdateHandle(m_Items.FastGetAt(i));
    for (int32_t i = m_Focus.GetLowerBound(); i < m_Focus.GetUpperBound(); ++i)
        m_Focus[i] = UpdateHandle(m_Focus.FastGetAt(i));
    for (auto& entry : m_Pending) entry.second = UpdateHandle(entry.second);
    m_Focus.Sort(m_Focus.GetLowerBound(), m_Focus.GetCount(), 1);
    Fire(CN_HandlesChanged, 0);
}

int SCC_StdCollection::OnParentNotification(int code, int* data) {
    int const handle = mortar::DataToHandle(data);
    if (!HandleNotificationsAllowed(handle)) return 0;
    switch (code) {
    case CN_ItemAdded:
    case CN_ItemChanged:
    case CN_ItemNotice:
    case CN_AllChanged:
        Reload();
        break;
    case CN_ItemRemoved:
        SetSlider(0);
        while (_GetNextByParentSlider()) {
            int const child = GetSlider();
            if (!Filter(child)) continue;
            OnNotification(CN_ItemRemoved, mortar::HandleToData(child));
            // The notification leaves the slider elsewhere; the walk goes on from this child.
            _SetSlider(child);
        }
        break;
    case CN_AllRemoved:
        OnNotification(CN_AllRemoved, data);
        break;
    default:
        break;
    }
    return 0;
}

int SCC_StdCollection::HandleNotificationsAllowed(int handle) {
    if (handle == 0) return 1;
    if (!m_Parent) return 0;
    return m_Parent->IsInFocus(handle, nullptr) ? 1 : 0;
}

void SCC_StdCollection::Suspend(int suspend) {
    if (suspend) {
        m_Suspended = 1;
        return;
    }
    if (!m_Suspended) return;
    m_Suspended = 0;
    // The queue is walked in place, newest first, so that a code 8 among the entries renumbers
    // the older ones before they are delivered. Entries that a listener queues by suspending
    // again during the delivery stand behind the walked ones and stay for the next Suspend(0).
    size_t const queued = m_Pending.size();
    std::unordered_set<int> delivered;
    for (size_t i = queued; i-- > 0;) {
        if (i >= m_Pending.size()) continue;
        std::pair<int, int> const entry = m_Pending[i];
        if (delivered.insert(entry.second).second) OnNotification(entry.first, mortar::HandleToData(entry.second));
    }
    m_Pending.erase(m_Pending.begin(), m_Pending.begin() + static_cast<std::ptrdiff_t>(std::min(queued, m_Pending.size())));
}

void SCC_StdCollection::SetHandleData(int handle, int data) {
    m_HandleData[handle].Data = data;
    if (SCC_EventNode<int>* const root = GetRoot())
        static_cast<SCC_Event<int>*>(root)->Notify(CN_ItemChanged, mortar::HandleToData(handle));
}

int SCC_StdCollection::GetHandleData(int handle) {
    auto const entry = m_HandleData.find(handle);
    return entry == m_HandleData.end() ? 0 : entry->second.Data;
}

// Items, cursors and focus --------------------------------------------------------------------

int32_t SCC_StdCollection::FindItem(int handle) {
    int32_t const count = m_Items.GetCount();
    if (count <= 0) return -1;
    int32_t const lower = m_Items.GetLowerBound();
    int32_t const found = ScanFor(&m_Items.FastGetAt(lower), count, handle);
    return found < 0 ? -1 : lower + found;
}

int32_t SCC_StdCollection::InsertItem(int handle) {
    int32_t const index = m_Items.InsertSorted(handle);
    // A buffer made where there was none starts in ascending order.
    if (m_Items.GetCount() == 1) m_Items.Sort(m_Items.GetLowerBound(), 0, m_Direction);
    return index;
}

int SCC_StdCollection::IsEmpty() { return m_Position.IsValid() ? 0 : 1; }

int SCC_StdCollection::HasFocus() { return m_Focus.GetCount() > 0 ? 1 : 0; }

int SCC_StdCollection::Filter(int handle) { return m_Filter ? m_Filter->IsTrue(handle) : 1; }

int SCC_StdCollection::GetFocus(int32_t index) {
    if (index < 0 || index >= m_Focus.GetCount()) return 0;
    return m_Focus.FastGetAt(m_Focus.GetLowerBound() + index);
}

bool SCC_StdCollection::IsInFocus(int handle, int32_t* where) {
    int32_t position = 0;
    int const found = m_Focus.Find(handle, position);
    if (where) *where = position;
    return found != 0;
}

void SCC_StdCollection::SetFocus(int handle, bool add) {
    int32_t const index = handle ? FindItem(handle) : -1;
    if (index < 0) handle = 0;
    if (!add || !handle) m_Focus.Clear();
    if (!handle) return;
    m_Focus.InsertSorted(handle);
    if (add) return;
    Position kept;
    kept = m_Position;
    int const slider = GetSlider();
    m_Position.SetArray(&m_Items, index);
    SetSlider(handle);
    Fire(CN_ItemChanged, handle);
    SetSlider(slider);
    m_Position = kept;
}

int SCC_StdCollection::GetSlider() { return _GetSlider(); }

void SCC_StdCollection::SetSlider(int handle) {
    int32_t const index = handle ? FindItem(handle) : -1;
    if (index < 0) {
        m_Position.Reset();
        _SetSlider(0);
        return;
    }
    m_Position.SetArray(&m_Items, index);
    _SetSlider(handle);
}

int32_t SCC_StdCollection::GetPosition() { return m_Position.GetIndex(); }

void SCC_StdCollection::SetPosition(int32_t index) {
    if (!m_Items.InBounds(index)) {
        m_Position.Reset();
        _SetSlider(0);
        return;
    }
    m_Position.SetArray(&m_Items, index);
    _SetSlider(m_Items.FastGetAt(index));
}

int SCC_StdCollection::GetAt(int32_t index) { return m_Items.InBounds(index) ? m_Items.FastGetAt(index) : 0; }

int32_t SCC_StdCollection::GetPositionByHandle(int handle) { return handle ? FindItem(handle) : -1; }

int SCC_StdCollection::GetFirst() {
    if (m_Items.GetCount() == 0) {
        m_Position.Reset();
        SetSlider(0);
    } else {
        SetPosition(m_Items.GetLowerBound());
    }
    return m_Position.IsValid();
}

int SCC_StdCollection::GetNext() {
    if (m_Position.IsValid()) ++m_Position;
    if (!m_Position.IsValid()) return 0;
    _SetSlider(m_Items.FastGetAt(m_Position.GetIndex()));
    return 1;
}

int SCC_StdCollection::GetPrev() {
    if (m_Position.IsValid()) --m_Position;
    if (!m_Position.IsValid()) return 0;
    _SetSlider(m_Items.FastGetAt(m_Position.GetIndex()));
    return 1;
}
