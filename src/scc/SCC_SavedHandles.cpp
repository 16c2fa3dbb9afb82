// Remembered handles (see SCC_SavedHandles.h).
#include <mortar/scc/SCC_SavedHandles.h>

#include <utility>

// SCC_HandleWithEvent -------------------------------------------------------------------------

SCC_HandleWithEvent::SCC_HandleWithEvent(int handle, int32_t type, SCC_SavedHandles* owner)
    : m_Type(type), m_Handle(handle), m_Owner(owner) {}

SCC_HandleWithEvent::SCC_HandleWithEvent(SCC_HandleWithEvent const& source)
    : SCC_SharedBuffer(source), SCC_EventNode<int>(source), m_Type(source.m_Type), m_Handle(source.m_Handle),
      m_Owner(source.m_Owner) {}

SCC_HandleWithEvent& SCC_HandleWithEvent::operator=(SCC_HandleWithEvent& source) {
    m_Type = source.m_Type;
    m_Handle = source.m_Handle;
    m_Owner = source.m_Owner;
    SCC_EventNode<int>::operator=(source);
    return *this;
}

SCC_HandleWithEvent::~SCC_HandleWithEvent() = default;

int SCC_HandleWithEvent::OnNotification(int code, int* data) {
    if (code == CN_HandlesChanged) OnUpdatePointers();
    // The pair is read before the call: the owner may destroy this entry.
    SCC_SavedHandles* const owner = m_Owner;
    if (!owner) return 0;
    return owner->HandleNotification(m_Handle, m_Type, code, data);
}

SCC_Notifier* SCC_HandleWithEvent::GetChangeEvent() { return nullptr; }

void SCC_HandleWithEvent::OnUpdatePointers() {}

int SCC_Compare(SCC_SharedPointer<SCC_HandleWithEvent> const& a, SCC_SharedPointer<SCC_HandleWithEvent> const& b) {
    if (!a || !b) return a ? 1 : (b ? -1 : 0);
    int const byType = SCC_Compare(a->GetType(), b->GetType());
    return byType ? byType : SCC_Compare(a->GetHandle(), b->GetHandle());
}

// SCC_SavedHandles ----------------------------------------------------------------------------

SCC_SavedHandles::SCC_SavedHandles() : m_NeedsSorting(false) {}

SCC_SavedHandles::SCC_SavedHandles(SCC_SavedHandles& source) : Base(source), m_NeedsSorting(source.m_NeedsSorting) {}

SCC_SavedHandles& SCC_SavedHandles::operator=(SCC_SavedHandles& source) {
    Base::operator=(source);
    m_NeedsSorting = source.m_NeedsSorting;
    return *this;
}

SCC_SavedHandles::~SCC_SavedHandles() = default;

SCC_SharedPointer<SCC_HandleWithEvent> SCC_SavedHandles::CreateByType(int, int32_t) { return nullptr; }

int SCC_SavedHandles::HandleNotification(int, int32_t type, int code, int* data) {
    switch (code) {
    case CN_ItemRemoved:
        Delete(mortar::DataToHandle(data), type);
        break;
    case CN_AllRemoved:
        Clear();
        break;
    case CN_HandlesChanged:
        m_NeedsSorting = true;
        break;
    default:
        break;
    }
    return 0;
}

SCC_SharedPointer<SCC_HandleWithEvent> SCC_SavedHandles::Find(int handle, int32_t type, int32_t* position) {
    if (m_NeedsSorting) {
        m_NeedsSorting = false;
        Sort(0, GetCount(), 1);
    }
    // A probe on the stack: its count marks it as no heap object, so the pointer never frees it.
    SCC_HandleWithEvent probe(handle, type, this);
    SCC_SharedPointer<SCC_HandleWithEvent> const key(&probe);
    int32_t first = 0;
    int32_t last = 0;
    FindItemPosition(key, first, last);
    if (position) *position = first;
    if (last > first) return FastGetAt(first);
    return nullptr;
}

int SCC_SavedHandles::Save(int handle, int32_t type) {
    int32_t position = 0;
    if (Find(handle, type, &position)) return 0;
    SCC_SharedPointer<SCC_HandleWithEvent> const entry = CreateByType(handle, type);
    if (!entry) return 0;
    if (SCC_Notifier* const event = entry->GetChangeEvent()) event->Add(entry);
    Insert(position, 1);
    (*this)[position] = entry;
    return 1;
}

int SCC_SavedHandles::Delete(int handle, int32_t type) {
    int32_t position = 0;
    if (!Find(handle, type, &position)) return 0;
    // The array leaves a deleted element's value in the slot past the new end until the slot is
    // overwritten; that slot is released here, so the entry goes (and leaves its notifier's chain)
    // as soon as nobody else holds it.
    _SCC_ArrayBuffer* const before = GetData();
    int32_t const oldUpper = GetUpperBound();
    _SCC_Array::Delete(position, 1);
    if (GetData() == before && before && oldUpper - 1 >= GetUpperBound()) {
        SCC_SharedPointer<SCC_HandleWithEvent> released;
        std::swap(released, Slot(oldUpper - 1));
    }
    return 1;
}
