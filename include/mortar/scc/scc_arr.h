// The array templates: SCC_Array<T>, its iterator, SCC_Sort<T> and SCC_SortableArray<T>.
//
// SCC_Array<T> is the growable array with a free lower bound, copy on write and change
// notifications described in scc.h; this file supplies its storage. T needs a default
// constructor and copy assignment. New slots hold what `new T[n]` gives them: default
// constructed objects, so indeterminate values for int and null for shared pointers.
//
// Access:
//   operator[]        the write access: extends the array to the index and unshares the buffer.
//   const operator[]  reads; changes nothing.
//   FastGetAt         reads without the virtual calls and without unsharing; the caller
//                     guarantees that the buffer is not shared or that it only reads.
// An index out of bounds on the const operator[] or FastGetAt fails a check (empty message); if
// the application lets the check pass, the result is a scratch element that belongs to no array,
// so nothing outside the buffer is touched.
//
// Sharing: copies of an array share its buffer; the first write through any of them makes a
// copy of its own (hooks of that array get code 3), the others keep the old buffer. Each array
// keeps its own event and hooks.
//
// Fast paths. Writing within the allocation of an unshared buffer (operator[], Append) is done
// inline, and SCC_SortableArray<T> sorts and searches its raw storage; these skip only calls of
// virtual slots that an SCC_Array<T> or SCC_SortableArray<T> doesn't override, so they are taken
// only when the array is of exactly one of these two types. An array of a further derived class
// goes through its virtual slots throughout. Every result, and every call of a comparison
// function or of a derived sort object's Compare, is the same on both roads; where no call can
// be observed (integers under the default comparison) the roads may differ in what they probe:
// Sort then uses the standard sort, which leaves the same sequence since equal integers are
// indistinguishable, and FindItemPosition probes ahead without branching on the elements.
#ifndef MORTAR_SCC_SCC_ARR_H
#define MORTAR_SCC_SCC_ARR_H

#include <mortar/scc/scc.h>
#include <mortar/ssm/ssmimpl.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <type_traits>
#include <typeinfo>

template <class T>
class SCC_SortableArray;

/// The growable array with a free lower bound and a shared, copy-on-write buffer.
template <class T>
class SCC_Array : public _SCC_Array {
public:
    /// The storage: the untyped bounds plus `data`, which points at the slot of index
    /// AllocLower, so the slot of index i is data[i - AllocLower]. The destructor deletes the
    /// data as an array of T (element destructors run).
    class Buffer : public _SCC_ArrayBuffer {
    public:
        /// `size` default-constructed slots. The byte count is computed by the new-expression,
        /// which fails with std::bad_alloc rather than wrap around for an oversized request.
        explicit Buffer(int size) : data(new T[static_cast<std::size_t>(size)]) {}
        Buffer(Buffer const&) = delete;
        Buffer& operator=(Buffer const&) = delete;
        ~Buffer() override { delete[] data; }

        T* data;
    };

    class Iterator;

    /// No buffer: bounds 0 and 0.
    SCC_Array() = default;
    /// ChangeBounds(0, size); a size of 0 or less leaves the array without a buffer.
    explicit SCC_Array(int32_t size) { ChangeBounds(0, size); }
    /// ChangeBounds(lower, upper); an empty range leaves the array without a buffer.
    SCC_Array(int32_t lower, int32_t upper) { ChangeBounds(lower, upper); }
    /// Shares the source's buffer; this array's event is its own, no hook is transferred.
    SCC_Array(SCC_Array<T> const& source) : _SCC_Array() { m_Buffer = source.m_Buffer; }
    /// Shares the source's buffer (through SetData); the hooks stay where they are.
    SCC_Array<T>& operator=(SCC_Array<T> const& source) {
        _SCC_Array::operator=(const_cast<SCC_Array<T>&>(source));
        return *this;
    }
    ~SCC_Array() = default;

    int GetUpperBound() const override {
        Buffer const* b = m_Buffer;
        return b ? b->Upper : 0;
    }
    int GetLowerBound() const override {
        Buffer const* b = m_Buffer;
        return b ? b->Lower : 0;
    }
    int GetCount() const override {
        Buffer const* b = m_Buffer;
        return b ? b->Upper - b->Lower : 0;
    }

    /// 0 without a buffer; 1 when lower <= index < upper.
    int InBounds(int32_t index) const {
        Buffer const* b = m_Buffer;
        return b && b->Lower <= index && index < b->Upper ? 1 : 0;
    }

    /// CheckArray(index), then the slot: extends the array to `index` and unshares the buffer.
    T& operator[](int32_t index) {
        Buffer* b = m_Buffer;
        if (b && b->Lower <= index && index < b->Upper && !b->IsShared() && IsPlainArray())
            return b->data[index - b->AllocLower];
        CheckArray(index);
        return Slot(index);
    }

    /// The element at `index`; changes nothing. Out of bounds fails a check.
    T const& operator[](int32_t index) const { return const_cast<SCC_Array<T>*>(this)->FastGetAt(index); }

    /// The slot at `index` without unsharing: the caller guarantees that the buffer is not
    /// shared or that it only reads. Out of bounds fails a check.
    T& FastGetAt(int32_t index) {
        Buffer* b = m_Buffer;
        // One unsigned comparison tells lower <= index < upper.
        if (b && static_cast<uint32_t>(index) - static_cast<uint32_t>(b->Lower) <
                     static_cast<uint32_t>(b->Upper) - static_cast<uint32_t>(b->Lower))
            return b->data[index - b->AllocLower];
        MORTAR_CHECK(false, "");
        return Scratch();
    }

    /// CheckArray(GetUpperBound()), then assigns `item` to that slot: the element lands at the
    /// old upper bound. `item` may be an element of this array.
    void Append(T const& item) {
        Buffer* b = m_Buffer;
        if (b && b->Upper < b->AllocUpper && !b->IsShared() && IsPlainArray()) {
            int32_t const index = b->Upper++;
            b->data[index - b->AllocLower] = item;
            return;
        }
        if (InBuffer(&item)) {
            T const copy(item);
            AppendSlow(copy);
        } else {
            AppendSlow(item);
        }
    }

protected:
    _SCC_ArrayBuffer* GetData() override { return m_Buffer; }

    /// Installs `data`, which must be a Buffer of this class or null: the new buffer is
    /// referenced before the old one is released.
    void SetData(_SCC_ArrayBuffer* data) override { m_Buffer = static_cast<Buffer*>(data); }

    /// Null for a size below 1, else a new Buffer of `size` slots.
    _SCC_ArrayBuffer* AllocData(int size) override { return size < 1 ? nullptr : new Buffer(size); }

    /// Assigns `count` elements of the present buffer, from slot `srcSlot`, to the slots of
    /// `dest` from `destSlot` (slots count from the start of each buffer's data). A positive
    /// count gives the low ends of the blocks and goes upward, a negative one gives their high
    /// ends and -count elements downward. Within one buffer the copy runs in the direction that
    /// doesn't overwrite what is still to be read. This is assignment, not a move: a source slot
    /// keeps its value until something overwrites it. Nothing happens when `dest` is null, there
    /// is no present buffer or `count` is 0.
    void CopyData(_SCC_ArrayBuffer* dest, int destSlot, int srcSlot, int count) override {
        Buffer* from = m_Buffer;
        if (!dest || !from || count == 0) return;
        Buffer* to = static_cast<Buffer*>(dest);
        std::ptrdiff_t const n = count > 0 ? count : -static_cast<std::ptrdiff_t>(count);
        std::ptrdiff_t const shift = count > 0 ? 0 : n - 1;
        T* src = from->data + (srcSlot - shift);
        T* dst = to->data + (destSlot - shift);
        if (src == dst) return;
        if (to == from && dst > src) std::copy_backward(src, src + n, dst + n);
        else std::copy(src, src + n, dst);
    }

    /// The slot of `index`, which must be within the allocation of the present buffer.
    T& Slot(int32_t index) {
        Buffer* b = m_Buffer;
        return b->data[index - b->AllocLower];
    }

    /// True when this object is exactly an SCC_Array<T> or an SCC_SortableArray<T>, whose
    /// storage slots are known, so that a fast path may bypass them. The test compares the
    /// addresses of the type information: when two binaries each carry a copy of it for the same
    /// type, the answer is false, which costs only the fast path.
    bool IsPlainArray() const {
        std::type_info const* type = &typeid(*this);
        return type == &typeid(SCC_Array<T>) || type == &typeid(SCC_SortableArray<T>);
    }

    /// True when `p` points into the present buffer's slots.
    bool InBuffer(T const* p) const {
        Buffer const* b = m_Buffer;
        if (!b) return false;
        std::less<T const*> const less;
        T const* begin = b->data;
        return !less(p, begin) && less(p, begin + (static_cast<std::ptrdiff_t>(b->AllocUpper) - b->AllocLower));
    }

    /// The current buffer, null while the array has never had content or has been emptied.
    SCC_SharedPointer<Buffer> m_Buffer;

private:
    void AppendSlow(T const& item) {
        int32_t const index = GetUpperBound();
        CheckArray(index);
        Slot(index) = item;
    }

    // Where an access out of bounds lands when the application lets its check pass.
    static T& Scratch() {
        static T scratch{};
        return scratch;
    }
};

/// A position in an SCC_Array<T> that follows its element through insertions and deletions.
///
/// It is a hook on the array's event: after an Insert it stands on the same element; when its
/// element is deleted it goes to 0x7FFFFFFF (nowhere); a position just past a moved block moves
/// with it, so an iterator at the upper bound stays at the upper bound. After Clear all blocks
/// are 0: an iterator at index 0 keeps it, every other one goes to 0x7FFFFFFF. Code 3 (a new
/// buffer) changes nothing, since indices stay.
///
/// A copy follows the same array at the same position, linked in the array's chain directly
/// ahead of its source. When the array is destroyed the iterator is disconnected but keeps its
/// array pointer: it must not be used on that array any more.
///
/// Virtual slots: those of SCC_EventHook (destructor, OnNotification, OnRemoveNode,
/// GetPriority, GetRoot), then SetArray.
template <class T>
class SCC_Array<T>::Iterator : public SCC_EventHook<SCC_ArrayParam> {
public:
    /// Position 0x7FFFFFFF, no array, priority 0, connected to nothing.
    Iterator() : m_Position(0x7FFFFFFF), m_Array(nullptr) {}
    Iterator(Iterator const&) = default;
    Iterator& operator=(Iterator const&) = default;
    ~Iterator() override = default;

    /// Moves the position along with its element (codes 1 and 2); other codes are ignored.
    /// A null record fails a check (empty message). Returns 0.
    int OnNotification(int code, SCC_ArrayParam* param) override {
        MORTAR_CHECK(param, "");
        if (!param || (code != 1 && code != 2)) return 0;
        int64_t const p = m_Position;
        if (p <= param->nBackFrom && p > static_cast<int64_t>(param->nBackFrom) - param->nBackCount) {
            m_Position = Shift(m_Position, param->nBackTo, param->nBackFrom);
        } else if (p >= param->nFwdFrom && p <= static_cast<int64_t>(param->nFwdFrom) + param->nFwdCount) {
            m_Position = Shift(m_Position, param->nFwdTo, param->nFwdFrom);
        } else if (code == 2) {
            m_Position = 0x7FFFFFFF;
        }
        return 0;
    }

    /// Attaches the iterator to `array` at `index` (0x7FFFFFFF stands for the array's lower
    /// bound) and connects it to the array's event. A null `array` detaches it: no array,
    /// position `index`, disconnected.
    virtual void SetArray(SCC_Array<T>* array, int32_t index = 0x7FFFFFFF) {
        m_Array = array;
        if (array) {
            if (index == 0x7FFFFFFF) index = array->GetLowerBound();
            m_Position = index;
            array->RegisterIterator(*this);
        } else {
            m_Position = index;
            this->Remove();
        }
    }

    /// No array, position 0x7FFFFFFF, disconnected.
    void Reset() {
        m_Array = nullptr;
        m_Position = 0x7FFFFFFF;
        this->Remove();
    }

    int32_t GetIndex() const { return m_Position; }
    void SetIndex(int32_t index) { m_Position = index; }
    SCC_Array<T>* GetArray() const { return m_Array; }

    /// Position plus (minus) one, without any check; returns the new position.
    int32_t operator++() { return m_Position = Shift(m_Position, 1, 0); }
    int32_t operator--() { return m_Position = Shift(m_Position, 0, 1); }
    /// The same, returning the old position.
    int32_t operator++(int) {
        int32_t const old = m_Position;
        ++*this;
        return old;
    }
    int32_t operator--(int) {
        int32_t const old = m_Position;
        --*this;
        return old;
    }

    /// The element through the array's non-const operator[] (which extends the array when the
    /// position is outside it). Without an array a check fails (empty message) and the result is
    /// a scratch element that belongs to no array.
    T& operator*() {
        MORTAR_CHECK(m_Array, "");
        return m_Array ? (*m_Array)[m_Position] : SCC_Array<T>::Scratch();
    }

    /// 1 when there is no array, the array has no buffer, or the position is outside the bounds.
    int IsDone() const { return !m_Array || !m_Array->InBounds(m_Position) ? 1 : 0; }

protected:
    // position + to - from, wrapped to 32 bits.
    static int32_t Shift(int32_t position, int32_t to, int32_t from) {
        return static_cast<int32_t>(static_cast<uint32_t>(position) + static_cast<uint32_t>(to) -
                                    static_cast<uint32_t>(from));
    }

    int32_t m_Position;      ///< 0x7FFFFFFF when it stands nowhere
    SCC_Array<T>* m_Array;   ///< null when detached
};

/// The ordering of a sorted array: a small shared object that compares two elements.
///
/// Compare calls the function if there is one; with a null function it applies the default
/// comparison of T, SCC_Compare(a, b) (SCC_Hash.h; a type of the application brings its own
/// overload). Derive and override Compare to order by anything else. The destructor is virtual,
/// so that a derived sort object that owns members is destroyed fully when its last
/// SCC_SharedPointer goes. Compare must not change the array being sorted.
///
/// Virtual slots: Compare, then the destructor.
template <class T>
class SCC_Sort : public SCC_SharedBuffer {
public:
    typedef int (*Function)(T const& a, T const& b);

    explicit SCC_Sort(Function function = nullptr) : m_Function(function) {}

    /// Negative, zero or positive for a less than, equal to or greater than b.
    virtual int Compare(T const& a, T const& b) { return m_Function ? m_Function(a, b) : SCC_Compare(a, b); }

    virtual ~SCC_Sort() = default;

    /// The comparison function; null for the default comparison.
    Function GetFunction() const { return m_Function; }

protected:
    Function m_Function;
};

/// An array that sorts itself through a replaceable SCC_Sort<T> and searches by bisection.
///
/// Order. Every comparison through the array is Compare of the sort object times the sort order
/// of the buffer (the direction given to the last Sort; 1 for a new array), saturated to the
/// range of int. Nothing re-sorts by itself: after operator[] or Append the elements keep their
/// order until Sort is called, and InsertSorted, Find and FindItemPosition assume a sorted array
/// (on an unsorted one they report what the bisection finds; they don't fail). A null sort
/// object (SetSort(nullptr)) compares as the default one.
///
/// Element accesses of Comp, Swap, CompItem and the searches go through CheckArray, so they
/// unshare a shared buffer (code 3 to the hooks) before touching an element.
///
/// Copies share the buffer and the sort object: SetSort on one array replaces the field of that
/// array only, while a change inside the shared object reaches both.
///
/// Virtual slots: those of _SCC_Array (Comp, Swap and Sort overridden), then CompItems.
template <class T>
class SCC_SortableArray : public SCC_Array<T> {
    using Array = SCC_Array<T>;
    using Buffer = typename Array::Buffer;

public:
    typedef typename SCC_Sort<T>::Function Function;

    /// As SCC_Array<T>(size), with the default sort object.
    explicit SCC_SortableArray(int32_t size = 0) : Array(size) { SetSortFunction(nullptr); }
    /// As SCC_Array<T>(lower, upper), with the default sort object.
    SCC_SortableArray(int32_t lower, int32_t upper) : Array(lower, upper) { SetSortFunction(nullptr); }
    /// Shares the buffer and the sort object; the hooks stay where they are.
    SCC_SortableArray(SCC_SortableArray<T> const& source) : Array(source), m_Sort(source.m_Sort) {}
    SCC_SortableArray<T>& operator=(SCC_SortableArray<T> const& source) {
        Array::operator=(source);
        m_Sort = source.m_Sort;
        return *this;
    }
    ~SCC_SortableArray() = default;

    /// A new SCC_Sort<T> holding `function` (null: the default comparison) becomes the sort
    /// object. The elements are not re-sorted.
    void SetSortFunction(Function function) { m_Sort = new SCC_Sort<T>(function); }

    /// `sort` becomes the sort object, so a class derived from SCC_Sort<T> can bring its own
    /// Compare. The elements are not re-sorted.
    void SetSort(SCC_Sort<T>* sort) { m_Sort = sort; }

    SCC_SharedPointer<SCC_Sort<T>> GetSort() { return m_Sort; }

    /// Sorts `count` elements from `first` in the direction `order` (see _SCC_Array::Sort).
    /// The order of equal elements afterwards is that of the algorithm described there, also
    /// when the array takes a faster road to it.
    void Sort(int32_t first, int32_t count, int order) override {
        if (!this->IsPlainArray()) {
            _SCC_Array::Sort(first, count, order);
            return;
        }
        if (!this->PrepareSort(first, count, order)) return;
        int32_t const last = first + count - 1;
        Buffer* b = this->m_Buffer;
        if (first < b->Lower || last >= b->Upper) {
            // Only after a failed check: the slots take part in the extension of the array.
            this->QuickSort(first, last, order);
            return;
        }
        SortSlots(first - b->AllocLower, last - b->AllocLower, order, m_Sort);
    }

    /// Inserts `item` at the end of the range of items that compare equal to it
    /// (FindItemPosition, then Insert(last, 1), then element last := item) and returns that
    /// index. The hooks get code 1 as for any Insert. `item` may be an element of this array.
    int32_t InsertSorted(T const& item) {
        if (this->InBuffer(&item)) {
            T const copy(item);
            return InsertSortedItem(copy);
        }
        return InsertSortedItem(item);
    }

    /// 1 if this very item (by operator== of T) is in the range of items that compare equal to
    /// it, with `position` at its index. Otherwise 0, with `position` at the end of that range
    /// (where the item belongs when the range is empty).
    int Find(T const& item, int32_t& position) {
        int32_t first = 0;
        int32_t last = 0;
        FindItemPosition(item, first, last);
        for (int32_t i = first; i < last; ++i) {
            if (this->Slot(i) == item) {
                position = i;
                return 1;
            }
        }
        position = last;
        return 0;
    }

    /// The half-open range [first, last) of the items that compare equal to `item`; when there
    /// are none, first equals last and is where the item belongs. For an empty array both are 0.
    /// Bisection, then a linear widening over the equal items; only the signs of the
    /// comparisons count, so a comparison may return any magnitude.
    void FindItemPosition(T const& item, int32_t& first, int32_t& last) {
        Buffer* b = this->m_Buffer;
        if (!b || b->Upper <= b->Lower || !this->IsPlainArray()) {
            mortar::scc_detail::FindEqualRange(
                this->GetLowerBound(), this->GetUpperBound(), [&](int32_t i) { return CompItem(i, item); }, first,
                last);
            return;
        }
        // All indices of the search lie in the bounds: the first access would unshare.
        if (b->IsShared()) {
            this->ChangeBounds(b->Lower, b->Upper);
            b = this->m_Buffer;
        }
        // The search runs on slot numbers (index - AllocLower), which are never negative: its
        // middles are the same elements, since both ends are shifted alike.
        T const* data = b->data;
        int32_t const base = b->AllocLower;
        int32_t slotFirst = 0;
        int32_t slotLast = 0;
        bool quiet = false;
        if constexpr (std::is_integral<T>::value) {
            // Comparisons of integers by value can't be observed: the search may probe freely.
            SCC_Sort<T>* sort = m_Sort;
            quiet = !sort || (&typeid(*sort) == &typeid(SCC_Sort<T>) && !sort->GetFunction());
        }
        ForOrderSign(b->SortOrder, [&](auto sign) {
            constexpr int S = decltype(sign)::value;
            if constexpr (std::is_integral<T>::value) {
                if (quiet) {
                    T const key = item;
                    mortar::scc_detail::SearchEqualRange<true>(
                        b->Lower - base, b->Upper - base,
                        [&](int32_t i) { return WithSign<S>(SCC_Compare(data[i], key)); },
                        [&](int32_t i) { mortar::scc_detail::Prefetch(data + i); }, slotFirst, slotLast);
                    return;
                }
            }
            WithComparison(m_Sort, [&](auto& compare) {
                mortar::scc_detail::FindEqualRange(
                    b->Lower - base, b->Upper - base, [&](int32_t i) { return WithSign<S>(compare(data[i], item)); },
                    slotFirst, slotLast);
            });
        });
        first = slotFirst + base;
        last = slotLast + base;
    }

    /// Whether the item at `index` still fits between its neighbours (after its key changed):
    /// Comp with the neighbour below is not negative and Comp with the one above is not
    /// positive, where there are such neighbours. 1 for an array of one element; 0 for an
    /// index outside the bounds (no element is touched).
    int ItemInValidPlace(int32_t index) {
        int32_t const low = this->GetLowerBound();
        int32_t const high = this->GetUpperBound() - 1;
        if (low == high) return 1;
        if (index < low || index > high) return 0;
        if (index == low) return Comp(index, low + 1) <= 0 ? 1 : 0;
        if (index == high) return Comp(index, high - 1) >= 0 ? 1 : 0;
        return Comp(index, index - 1) >= 0 && Comp(index, index + 1) <= 0 ? 1 : 0;
    }

private:
    /// Compare of the sort object on the elements at `a` and `b`, times the sort order.
    int Comp(int32_t a, int32_t b) override {
        this->CheckArray(a);
        this->CheckArray(b);
        return Ordered(Compare(this->Slot(a), this->Slot(b)));
    }

    /// Exchanges the elements at `a` and `b` through a temporary copy.
    void Swap(int32_t a, int32_t b) override {
        this->CheckArray(a);
        this->CheckArray(b);
        T& x = this->Slot(a);
        T& y = this->Slot(b);
        T const temp(x);
        x = y;
        y = temp;
    }

    /// Compare of the sort object on `a` and `b`, times the sort order (1 without a buffer).
    virtual int CompItems(T const& a, T const& b) { return Ordered(Compare(a, b)); }

    /// Compare of the sort object on the element at `index` and `item`, times the sort order.
    int CompItem(int32_t index, T const& item) {
        this->CheckArray(index);
        return Ordered(Compare(this->Slot(index), item));
    }

    int Compare(T const& a, T const& b) {
        SCC_Sort<T>* sort = m_Sort;
        return sort ? sort->Compare(a, b) : SCC_Compare(a, b);
    }

    int Ordered(int comparison) const {
        Buffer const* b = this->m_Buffer;
        return mortar::scc_detail::ApplyOrder(comparison, b ? b->SortOrder : 1);
    }

    int32_t InsertSortedItem(T const& item) {
        int32_t first = 0;
        int32_t last = 0;
        FindItemPosition(item, first, last);
        this->Insert(last, 1);
        (*this)[last] = item;
        return last;
    }

    // Calls `body` with the comparison of `sort` as a callable (T const&, T const&) -> int:
    // the default comparison inline when `sort` is null or a plain SCC_Sort<T> without a
    // function, the function itself for a plain one with a function, and the virtual Compare
    // of any derived sort object. Every call that Compare would make is made. Where code of the
    // application runs, the sort object is held for the duration, so that it survives a SetSort.
    template <class Body>
    static void WithComparison(SCC_Sort<T>* sort, Body&& body) {
        if (!sort || &typeid(*sort) == &typeid(SCC_Sort<T>)) {
            Function const function = sort ? sort->GetFunction() : nullptr;
            if (!function) {
                auto compare = [](T const& a, T const& b) { return SCC_Compare(a, b); };
                body(compare);
                return;
            }
            SCC_SharedPointer<SCC_Sort<T>> const hold(sort);
            body(function);
        } else {
            SCC_SharedPointer<SCC_Sort<T>> const hold(sort);
            auto compare = [sort](T const& a, T const& b) { return sort->Compare(a, b); };
            body(compare);
        }
    }

    // Calls `body` with the sign of `order` as a std::integral_constant: 1, -1 or 0.
    template <class Body>
    static void ForOrderSign(int order, Body&& body) {
        if (order > 0) body(std::integral_constant<int, 1>());
        else if (order < 0) body(std::integral_constant<int, -1>());
        else body(std::integral_constant<int, 0>());
    }

    // A comparison times the sign of the order, as far as its own sign goes.
    template <int Sign>
    static int WithSign(int comparison) {
        if (Sign > 0) return comparison;
        if (Sign < 0) return static_cast<int>(comparison < 0) - static_cast<int>(comparison > 0);
        return 0;
    }

    // The comparisons and swaps of Comp and Swap on the raw slots, with only the sign of the
    // order applied (the algorithm reads nothing else of a comparison).
    template <class Compare, int Sign>
    struct SlotOps {
        T* data;
        Compare& compare;
        int Comp(int32_t a, int32_t b) { return WithSign<Sign>(compare(data[a], data[b])); }
        void Swap(int32_t a, int32_t b) {
            T& x = data[a];
            T& y = data[b];
            T const temp(x);
            x = y;
            y = temp;
        }
        void ShortSort(int32_t lo, int32_t hi) { mortar::scc_detail::SelectionSort(lo, hi, *this); }
    };

    // The sort of step 6 on the slots `lo` to `hi` of the present buffer.
    void SortSlots(int32_t lo, int32_t hi, int order, SCC_Sort<T>* sort) {
        T* data = this->m_Buffer->data;
        if constexpr (std::is_integral<T>::value) {
            bool const plainDefault = !sort || (&typeid(*sort) == &typeid(SCC_Sort<T>) && !sort->GetFunction());
            if (plainDefault && order != 0) {
                // Integers that compare equal under the default comparison are the same value,
                // so every correct sort leaves the same sequence: the standard one is used.
                if (order > 0) std::sort(data + lo, data + hi + 1);
                else std::sort(data + lo, data + hi + 1, std::greater<T>());
                return;
            }
        }
        WithComparison(sort, [&](auto& compare) {
            ForOrderSign(order, [&](auto sign) {
                SlotOps<std::remove_reference_t<decltype(compare)>, decltype(sign)::value> ops{data, compare};
                mortar::scc_detail::QuickSort(lo, hi, ops);
            });
        });
    }

    SCC_SharedPointer<SCC_Sort<T>> m_Sort;
};

#endif
