// The untyped array logic (see scc.h).
#include <mortar/scc/scc.h>

#include <mortar/ssm/ssmimpl.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <new>

template class SCC_EventNode<SCC_ArrayParam>;
template class SCC_Event<SCC_ArrayParam>;
template class SCC_EventHook<SCC_ArrayParam>;

namespace {

// Bounds are ints; a change that would take one outside fails like an oversized allocation,
// before anything has changed.
int32_t CheckedBound(int64_t value) {
    if (value < INT32_MIN || value > INT32_MAX) throw std::bad_alloc();
    return static_cast<int32_t>(value);
}

// Holds a buffer that CreateBuffer returned while elements are copied into it, so that it is
// released if a copy throws, and freed if the array's SetData doesn't keep it.
using BufferHold = SCC_SharedPointer<_SCC_ArrayBuffer>;

} // namespace

// _SCC_ArrayBuffer -----------------------------------------------------------------------------

_SCC_ArrayBuffer::~_SCC_ArrayBuffer() = default;

int _SCC_ArrayBuffer::IsValid() {
    int valid = 1;
    if (!(AllocLower <= Lower)) {
        MORTAR_CHECK(false, "");
        valid = 0;
    }
    if (!(Upper <= AllocUpper)) {
        MORTAR_CHECK(false, "");
        valid = 0;
    }
    return valid;
}

// _SCC_Array: construction ---------------------------------------------------------------------

// The sizing constructors can't reach the storage of the typed class (its virtual slots are not
// in place yet); SCC_Array<T> sets the bounds in its own constructors.
_SCC_Array::_SCC_Array() = default;
_SCC_Array::_SCC_Array(int32_t) {}
_SCC_Array::_SCC_Array(int32_t, int32_t) {}
_SCC_Array::_SCC_Array(_SCC_Array& source) : m_Event(source.m_Event) {}
_SCC_Array::~_SCC_Array() = default;

_SCC_Array& _SCC_Array::operator=(_SCC_Array& source) {
    SetData(source.GetData());
    return *this;
}

void _SCC_Array::RegisterIterator(SCC_EventHook<SCC_ArrayParam>& hook) { hook.Connect(&m_Event); }

// _SCC_Array: the virtual slots of an array without storage ------------------------------------

_SCC_ArrayBuffer* _SCC_Array::GetData() { return nullptr; }
int _SCC_Array::GetUpperBound() const { return 0; }
int _SCC_Array::GetLowerBound() const { return 0; }
void _SCC_Array::SetData(_SCC_ArrayBuffer*) {}
_SCC_ArrayBuffer* _SCC_Array::AllocData(int) { return new _SCC_ArrayBuffer; }

void _SCC_Array::CopyData(_SCC_ArrayBuffer*, int, int, int) { MORTAR_CHECK(false, ""); }

int _SCC_Array::Comp(int32_t, int32_t) {
    MORTAR_CHECK(false, "_SCC_Array::Comp is called.");
    return 0;
}

void _SCC_Array::Swap(int32_t, int32_t) { MORTAR_CHECK(false, "_SCC_Array::Swap is called."); }

int _SCC_Array::Granularity() {
    int64_t const g = 2 * static_cast<int64_t>(GetCount());
    return static_cast<int>(std::min<int64_t>(std::max<int64_t>(g, 1), 10000));
}

int _SCC_Array::GetCount() const { return 0; }
int _SCC_Array::IsEmpty() const { return GetCount() > 0 ? 0 : 1; }

int _SCC_Array::IsValid() {
    _SCC_ArrayBuffer* buffer = GetData();
    int const valid = buffer && buffer->IsValid() ? 1 : 0;
    MORTAR_CHECK(valid, "");
    return valid;
}

// _SCC_Array: buffers and bounds ---------------------------------------------------------------

_SCC_ArrayBuffer* _SCC_Array::CreateBuffer(int32_t lower, int32_t upper) {
    if (upper <= lower) return nullptr;
    int64_t const size = static_cast<int64_t>(upper) - lower;
    if (size > INT32_MAX) throw std::bad_alloc();
    int64_t const quantum = std::max<int64_t>(Granularity(), size);
    MORTAR_CHECK(quantum > 0, "In SCC_Array, Granularity should be > 0");

    _SCC_ArrayBuffer* present = GetData();
    int64_t allocLower = present ? present->AllocLower : 0;
    int64_t allocUpper = present ? present->AllocUpper : 0;
    bool fresh = !present || present->IsShared();
    if (!present || upper > allocUpper) {
        allocUpper = upper + quantum;
        fresh = true;
    }
    if (!present || lower < allocLower) {
        allocLower = lower - quantum;
        fresh = true;
    }
    // Near the ends of the int range the reserve is cut so that every slot has an index and
    // the slot count fits an int; the top reserve goes first.
    allocUpper = std::min<int64_t>(allocUpper, INT32_MAX);
    allocLower = std::max<int64_t>(allocLower, INT32_MIN);
    int64_t excess = allocUpper - allocLower - INT32_MAX;
    if (excess > 0) {
        int64_t const cut = std::min(excess, allocUpper - upper);
        allocUpper -= cut;
        allocLower += excess - cut;
    }

    _SCC_ArrayBuffer* buffer = present;
    if (fresh) {
        buffer = AllocData(static_cast<int>(allocUpper - allocLower));
        if (!buffer) return nullptr;
        // A replacement keeps the direction in which its predecessor was sorted.
        if (present) buffer->SortOrder = present->SortOrder;
    }
    buffer->Lower = lower;
    buffer->Upper = upper;
    buffer->AllocLower = static_cast<int32_t>(allocLower);
    buffer->AllocUpper = static_cast<int32_t>(allocUpper);
    return buffer;
}

void _SCC_Array::MoveBlock(_SCC_ArrayBuffer* dest, _SCC_ArrayBuffer* cur, int32_t to, int32_t from, int32_t count) {
    if (!dest || !cur || count == 0) return;
    CopyData(dest, to - dest->AllocLower, from - cur->AllocLower, count);
}

void _SCC_Array::ChangeBounds(int32_t lower, int32_t upper) {
    _SCC_ArrayBuffer* present = GetData();
    int32_t const oldLower = GetLowerBound();
    int32_t const oldUpper = GetUpperBound();
    BufferHold created(CreateBuffer(lower, upper));
    if (created == present) return;
    int32_t const from = std::max(oldLower, lower);
    int32_t const to = std::min(oldUpper, upper);
    if (to > from) MoveBlock(created, present, from, from, to - from);
    SetData(created);
    created = nullptr;
    SCC_ArrayParam param{};
    param.pArray = this;
    m_Event.Notify(3, &param);
}

void _SCC_Array::CheckArray(int32_t index) {
    int32_t const lower = GetLowerBound();
    int32_t const upper = GetUpperBound();
    if (index >= upper) {
        ChangeBounds(lower, CheckedBound(static_cast<int64_t>(index) + 1));
    } else if (index < lower) {
        ChangeBounds(index, upper);
    } else {
        _SCC_ArrayBuffer* present = GetData();
        if (present && present->IsShared()) ChangeBounds(lower, upper);
    }
}

// _SCC_Array: insertion and deletion -----------------------------------------------------------

void _SCC_Array::Insert(int32_t pos, int32_t count) {
    _SCC_ArrayBuffer* present = GetData();
    SCC_ArrayParam param{};
    param.nPos = pos;
    param.nCount = count;
    param.pArray = this;
    int64_t const p = pos;
    int64_t const end = p + count;
    int64_t newLower = 0;
    int64_t newUpper = 0;
    bool forwardMoves = false;
    bool backwardMoves = false;
    if (!present) {
        newLower = std::min(p, end);
        newUpper = std::max(p, end);
    } else {
        int64_t const lower = GetLowerBound();
        int64_t const upper = GetUpperBound();
        int32_t const n = static_cast<int32_t>(upper - lower);
        param.nFwdFrom = param.nFwdTo = static_cast<int32_t>(lower);
        param.nBackFrom = param.nBackTo = static_cast<int32_t>(upper - 1);
        if (p < lower && end <= lower) {
            newLower = std::min(p, end);
            newUpper = upper;
            param.nBackCount = n;
        } else if (p < lower) {
            // The gap reaches into the elements: all of them move up to start at pos + count.
            newLower = p;
            newUpper = n + end;
            param.nBackCount = n;
            param.nBackTo = CheckedBound(newUpper - 1);
            backwardMoves = true;
        } else if (p < upper && count > 0) {
            newLower = lower;
            newUpper = upper + count;
            param.nFwdCount = static_cast<int32_t>(p - lower);
            param.nBackCount = static_cast<int32_t>(upper - p);
            param.nBackTo = CheckedBound(upper - 1 + count);
            backwardMoves = true;
        } else if (p < upper) {
            newLower = lower + count;
            newUpper = upper;
            param.nFwdCount = static_cast<int32_t>(p - lower);
            param.nBackCount = static_cast<int32_t>(upper - p);
            param.nFwdTo = CheckedBound(lower + count);
            forwardMoves = true;
        } else if (end >= upper) {
            newLower = lower;
            newUpper = std::max(p, end);
            param.nFwdCount = n;
        } else {
            // The gap reaches down into the elements: all of them move down to end below it.
            newLower = p - n + count;
            newUpper = p;
            param.nFwdCount = n;
            param.nFwdTo = CheckedBound(newLower);
            forwardMoves = true;
        }
    }
    BufferHold created(CreateBuffer(CheckedBound(newLower), CheckedBound(newUpper)));
    bool const replaced = created != present;
    if (forwardMoves || replaced) MoveBlock(created, present, param.nFwdTo, param.nFwdFrom, param.nFwdCount);
    if (backwardMoves || replaced) MoveBlock(created, present, param.nBackTo, param.nBackFrom, -param.nBackCount);
    if (replaced) SetData(created);
    created = nullptr;
    m_Event.Notify(1, &param);
}

void _SCC_Array::Delete(int32_t pos, int32_t count) {
    int64_t const lower = GetLowerBound();
    int64_t const upper = GetUpperBound();
    int64_t const end = static_cast<int64_t>(pos) + count;
    if (pos < lower || pos >= upper || end < lower || end > upper) return;

    SCC_ArrayParam param{};
    param.nPos = pos;
    param.nCount = count;
    param.pArray = this;
    int64_t newLower = lower;
    int64_t newUpper = upper;
    bool const upward = count >= 0;
    if (upward) {
        // The elements above the deleted ones move down; those below stay.
        param.nFwdFrom = static_cast<int32_t>(end);
        param.nFwdTo = pos;
        param.nFwdCount = static_cast<int32_t>(upper - end);
        param.nBackFrom = param.nBackTo = pos - 1;
        param.nBackCount = static_cast<int32_t>(pos - lower);
        param.nDelFrom = pos;
        param.nDelCount = count;
        newUpper = upper - count;
    } else {
        // The mirror: the elements below the deleted ones move up; those above stay.
        param.nFwdFrom = param.nFwdTo = pos;
        param.nFwdCount = static_cast<int32_t>(upper - pos);
        param.nBackFrom = static_cast<int32_t>(end - 1);
        param.nBackTo = pos - 1;
        param.nBackCount = static_cast<int32_t>(end - lower);
        param.nDelFrom = static_cast<int32_t>(end);
        param.nDelCount = -count;
        newLower = lower - count;
    }
    m_Event.Notify(2, &param);

    _SCC_ArrayBuffer* present = GetData();
    BufferHold created(CreateBuffer(static_cast<int32_t>(newLower), static_cast<int32_t>(newUpper)));
    bool const replaced = created != present;
    if (created) {
        if (upward || replaced) MoveBlock(created, present, param.nFwdTo, param.nFwdFrom, param.nFwdCount);
        if (!upward || replaced) MoveBlock(created, present, param.nBackTo, param.nBackFrom, -param.nBackCount);
    }
    if (replaced) SetData(created);
}

void _SCC_Array::Clear() {
    if (!GetData()) return;
    SCC_ArrayParam param{};
    param.nPos = param.nDelFrom = GetLowerBound();
    param.nCount = param.nDelCount = GetCount();
    param.pArray = this;
    SetData(nullptr);
    m_Event.Notify(2, &param);
}

// _SCC_Array: sorting --------------------------------------------------------------------------

int _SCC_Array::PrepareSort(int32_t first, int32_t count, int order) {
    _SCC_ArrayBuffer* buffer = GetData();
    if (!buffer) return 0;
    int32_t const lower = GetLowerBound();
    int32_t const upper = GetUpperBound();
    int64_t const end = static_cast<int64_t>(first) + count;
    if (count >= 2 && buffer->IsShared() && first >= lower && end <= upper) {
        ChangeBounds(lower, upper);
        buffer = GetData();
    }
    buffer->SortOrder = order;
    if (count <= 0) return 0;
    MORTAR_CHECK(order != 0, "");
    MORTAR_CHECK(first >= lower, "");
    MORTAR_CHECK(end <= upper, "");
    // A range that reaches past the largest int can't be walked, whatever the checks let pass.
    return count >= 2 && end - 1 <= INT32_MAX ? 1 : 0;
}

void _SCC_Array::QuickSort(int32_t first, int32_t last, int order) {
    struct Ops {
        _SCC_Array* array;
        int order;
        int Comp(int32_t a, int32_t b) { return array->Comp(a, b); }
        void Swap(int32_t a, int32_t b) { array->Swap(a, b); }
        void ShortSort(int32_t lo, int32_t hi) { array->ShortSort(lo, hi, order); }
    } ops{this, order};
    mortar::scc_detail::QuickSort(first, last, ops);
}

void _SCC_Array::Sort(int32_t first, int32_t count, int order) {
    if (PrepareSort(first, count, order)) QuickSort(first, first + count - 1, order);
}

void _SCC_Array::ShortSort(int32_t first, int32_t last, int) {
    struct Ops {
        _SCC_Array* array;
        int Comp(int32_t a, int32_t b) { return array->Comp(a, b); }
        void Swap(int32_t a, int32_t b) { array->Swap(a, b); }
    } ops{this};
    mortar::scc_detail::SelectionSort(first, last, ops);
}
