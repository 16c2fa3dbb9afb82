// The untyped half of the containers: the array logic that does not depend on the element
// type, its buffer, and the record of its notifications. SCC_Array<T> (scc_arr.h) supplies the
// storage. This header also brings in the rest of the untyped container code: shared buffers,
// event chains, comparison and hashing, and the pointer lists.
//
// Bounds. An array's index range has a free lower bound: it may start anywhere, negative
// numbers included, and grows at both ends. Bounds are lower inclusive, upper exclusive; an
// array without a buffer has bounds 0 and 0. A position that stands nowhere is 0x7FFFFFFF.
//
// Buffers. The storage is a reference counted _SCC_ArrayBuffer, shared between copies of an
// array and copied at the first write (CheckArray, Insert, Delete, ChangeBounds): a sharer that
// writes becomes the sole owner of a fresh copy and the other sharers keep the old buffer. A
// buffer has reserve slots at both ends; CreateBuffer decides when a new one is needed:
//   - the quantum is the greater of Granularity() (twice the count, limited to 1..10000) and
//     the new size, so the size at least doubles at each reallocation and appending is
//     amortised constant, also above the limit of Granularity;
//   - a first buffer gets a quantum of reserve on both sides; a replacement gets it at the end
//     that overflowed and keeps the allocated bounds of the present buffer elsewhere.
// A replacement buffer takes over the sort order of the buffer it replaces, so that an array
// sorted in descending order stays so when it grows or stops sharing; a buffer made where there
// was none starts with sort order 1. Bounds that would leave the range of a 32-bit int (an
// index of 0x7FFFFFFF written through operator[], or more than 2^31 - 1 elements) fail like an
// allocation that is too large: std::bad_alloc, thrown before anything changes.
//
// Notifications. Every array is the head of an SCC_Event<SCC_ArrayParam>; hooks join it through
// RegisterIterator. The record tells where everything that keeps existing moved, as two blocks:
// the forward block told from its low end (nFwdFrom, nFwdTo, nFwdCount) and the backward block
// told from its high end (nBackFrom, nBackTo, nBackCount); fields that an operation does not
// set are 0.
//   code 1  Insert, after the change
//   code 2  Delete, before the change (listeners see the old content and must not change the
//           array: the record has been computed); Clear, after the content is gone
//   code 3  ChangeBounds, after a new buffer is installed; only pArray is set
// Notifications are synchronous calls of the hooks, in the order of the chain, and a hook may do
// to the chain what SCC_Event allows (leave it, add hooks, fire again). A hook of code 1, 3, or
// of code 2 from Clear, may also change the array: the operation has finished by then, and the
// hooks after it get the same record, which then describes the earlier change. A hook of code 2
// from Delete must not change the array, whose change is still to come.
//
// Checks. Failures of contract go to the assertion manager (SSM_FailureThrow, id 0) and the code
// goes on; a check stops nothing by itself. The messages are "_SCC_Array::Comp is called.",
// "_SCC_Array::Swap is called.", "In SCC_Array, Granularity should be > 0" and the empty one.
//
// Nothing here is thread-safe.
#ifndef MORTAR_SCC_SCC_H
#define MORTAR_SCC_SCC_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/scc/SCC_Hash.h>
#include <mortar/scc/SCC_List.h>
#include <mortar/scc/SCC_SharedBuffer.h>

#include <climits>
#include <cstdint>

class _SCC_Array;

/// The record of one array notification: where the elements moved.
struct SCC_ArrayParam {
    int32_t nPos;        ///< the position argument of the operation
    int32_t nCount;      ///< the count argument of the operation
    _SCC_Array* pArray;  ///< the array
    int32_t nFwdFrom;    ///< forward block: first index before the change
    int32_t nFwdTo;      ///< forward block: first index after the change
    int32_t nFwdCount;   ///< forward block: length
    int32_t nBackFrom;   ///< backward block: last index before the change
    int32_t nBackTo;     ///< backward block: last index after the change
    int32_t nBackCount;  ///< backward block: length
    int32_t nDelFrom;    ///< first deleted index, in a deletion
    int32_t nDelCount;   ///< number of deleted elements, in a deletion
};

// The array chain is built into the library, so that every module and every client shares one
// copy of its code, virtual tables and type information.
extern template class MORTAR_API SCC_EventNode<SCC_ArrayParam>;
extern template class MORTAR_API SCC_Event<SCC_ArrayParam>;
extern template class MORTAR_API SCC_EventHook<SCC_ArrayParam>;

/// The untyped part of an array buffer: its bounds and its sort order.
///
/// Invariant: AllocLower <= Lower <= Upper <= AllocUpper. The slots between the allocated and
/// the valid bounds are reserve for growth at that end. A fresh buffer has all four bounds 0 and
/// sort order 1; a copy takes the sort order and the bounds and has a reference count of its
/// own. The one virtual operation is the destructor, so that a buffer is released fully
/// through a pointer of this type.
class MORTAR_API _SCC_ArrayBuffer : public SCC_SharedBuffer {
public:
    _SCC_ArrayBuffer() = default;
    _SCC_ArrayBuffer(_SCC_ArrayBuffer const&) = default;
    _SCC_ArrayBuffer& operator=(_SCC_ArrayBuffer const&) = default;
    virtual ~_SCC_ArrayBuffer();

    /// 1 when AllocLower <= Lower and Upper <= AllocUpper; each violated condition fails a
    /// check of its own (empty message) and the result is 0.
    int IsValid();

    int32_t SortOrder = 1;   ///< set by Sort, read by the comparisons of sorted arrays
    int32_t Lower = 0;       ///< first valid index, inclusive
    int32_t AllocLower = 0;  ///< index of the first allocated slot
    int32_t Upper = 0;       ///< one past the last valid index
    int32_t AllocUpper = 0;  ///< one past the last allocated slot
};

/// The logic of SCC_Array<T> that does not depend on the element type. It works through
/// virtual operations on an untyped buffer; the typed class supplies the storage.
///
/// Virtual slots, in order: GetData, GetUpperBound, GetLowerBound, SetData, AllocData,
/// CopyData, Comp, Swap, Sort, ShortSort, Granularity, GetCount, IsEmpty, IsValid. There is no
/// destructor among them: an array is not destroyed through a pointer to this class.
class MORTAR_API _SCC_Array {
public:
    /// Builds the event by transferring the source's chain: its hooks move to the new array. No
    /// buffer is shared; SCC_Array<T> does not use this constructor.
    _SCC_Array(_SCC_Array& source);

    /// Not virtual. Disconnects the hooks (the destructor of the event); an iterator keeps its
    /// array pointer and must not be used on that array any more.
    ~_SCC_Array();

    /// Opens a gap. A positive `count` opens it from `pos` upward; a negative one opens -count
    /// slots directly below `pos`. Elements move on one side only, chosen by the sign of
    /// `count`: from `pos` upward for a positive count, below `pos` downward for a negative one.
    /// Before the start or past the end the bounds grow to include the gap, and the slots between
    /// the old bound and the gap are unspecified, as are the slots of the gap: the caller assigns
    /// them next. On an array without a buffer the bounds become `pos` to `pos + count` (or
    /// `pos + count` to `pos` for a negative count; a count of 0 changes nothing). Hooks get
    /// code 1 after the change.
    void Insert(int32_t pos, int32_t count);

    /// Removes `count` elements from `pos` upward; a negative `count` removes the -count
    /// elements directly below `pos`, and the elements below them move up (the mirror of a
    /// negative Insert; nDelFrom and nDelCount then give the low end and the positive length).
    /// Both `pos` and `pos + count` must lie in the bounds (`pos` below the upper bound,
    /// `pos + count` up to it), otherwise nothing happens and nothing is said. Hooks get code 2
    /// before the change. Deleting the last element leaves the array without a buffer, with
    /// bounds 0 and 0. Slots above the new upper bound are not cleared: a deleted or moved
    /// element keeps its old value there until the slot is overwritten or the buffer goes.
    void Delete(int32_t pos, int32_t count);

    /// Releases the buffer (bounds read 0 afterwards) and sends code 2 with nPos and nDelFrom
    /// the old lower bound, nCount and nDelCount the old count. Unlike Delete, the notification
    /// comes after the content is gone. Without a buffer nothing happens.
    void Clear();

    /// hook.Connect(&event): the hook joins this array's event by priority.
    void RegisterIterator(SCC_EventHook<SCC_ArrayParam>& hook);

protected:
    _SCC_Array();
    explicit _SCC_Array(int32_t size);
    _SCC_Array(int32_t lower, int32_t upper);

    /// SetData(source.GetData()): the buffer is shared, nothing is copied or notified.
    _SCC_Array& operator=(_SCC_Array& source);

    /// The present buffer; null here.
    virtual _SCC_ArrayBuffer* GetData();
    /// The upper bound; 0 here.
    virtual int GetUpperBound() const;
    /// The lower bound; 0 here.
    virtual int GetLowerBound() const;
    /// Installs `data` as the present buffer; nothing here.
    virtual void SetData(_SCC_ArrayBuffer* data);
    /// A new buffer of `size` slots; a bare _SCC_ArrayBuffer here.
    virtual _SCC_ArrayBuffer* AllocData(int size);
    /// Copies `count` elements of the present buffer from slot `srcSlot` to slot `destSlot` of
    /// `dest` (see SCC_Array<T>); fails a check here.
    virtual void CopyData(_SCC_ArrayBuffer* dest, int destSlot, int srcSlot, int count);
    /// The comparison of the elements at `a` and `b`; fails the check "_SCC_Array::Comp is
    /// called." here and returns 0.
    virtual int Comp(int32_t a, int32_t b);
    /// Exchanges the elements at `a` and `b`; fails the check "_SCC_Array::Swap is called." here.
    virtual void Swap(int32_t a, int32_t b);

    /// Sorts `count` elements from `first` by Comp and Swap, in the direction `order` (its sign
    /// is the direction; every comparison is multiplied by it). In this order:
    ///   1. with no buffer, returns at once;
    ///   2. stores `order` in the buffer (for 2 or more elements a shared buffer is first
    ///      replaced by a copy of its own, as the first element access would do anyway, so that
    ///      the other sharers keep their order);
    ///   3. returns if `count` is not positive;
    ///   4. checks (empty message) that `order` is not 0, that `first` is not below the lower
    ///      bound and that `first + count` is not above the upper bound;
    ///   5. returns if `count` is below 2;
    ///   6. runs an iterative quicksort with the middle element as pivot, handing ranges of up
    ///      to 8 elements to ShortSort. It allocates nothing, sends no notification, and is not
    ///      stable; after it, Comp(i, i + 1) is not positive for neighbours in the range.
    virtual void Sort(int32_t first, int32_t count, int order);

    /// A selection sort of the inclusive range `first` to `last`: for each top from `last` down,
    /// the greatest element by Comp (the lowest index among equals) is swapped to the top, also
    /// when it is there already. `order` is not consulted: the sign comes with Comp.
    virtual void ShortSort(int32_t first, int32_t last, int order);

    /// The reserve that a new buffer gets: twice GetCount(), limited to 1..10000.
    virtual int Granularity();

public:
    /// The number of elements; 0 here.
    virtual int GetCount() const;
    /// 1 unless GetCount() is positive.
    virtual int IsEmpty() const;
    /// 1 for a present buffer that is valid; with no buffer or an invalid one a check fails and
    /// the result is 0. An array without a buffer reports invalid.
    virtual int IsValid();

protected:
    /// Gives the array the bounds `lower` to `upper`. When the present buffer can take them it
    /// is changed in place and nothing is notified; otherwise the elements of the overlap go
    /// into a new buffer (or none, for an empty range, which empties the array), the new one is
    /// installed and hooks get code 3.
    void ChangeBounds(int32_t lower, int32_t upper);

    /// Makes `index` valid for writing: extends the bounds to it, or, when it is inside and the
    /// buffer is shared, makes this array the sole owner of a copy.
    void CheckArray(int32_t index);

    /// The buffer for the bounds `lower` to `upper`: the present one when it is not shared and
    /// its allocation holds them, else a new one (see the header comment); null for an empty
    /// range. Writes the bounds into the buffer it returns; copies and installs nothing.
    _SCC_ArrayBuffer* CreateBuffer(int32_t lower, int32_t upper);

    /// Steps 1 to 5 of Sort; 1 when the quicksort is to run.
    int PrepareSort(int32_t first, int32_t count, int order);

    /// Step 6 of Sort over the inclusive range `first` to `last`, through the virtual slots.
    void QuickSort(int32_t first, int32_t last, int order);

    /// The array's event source.
    SCC_Event<SCC_ArrayParam> m_Event;

private:
    // Copies a block of `count` elements given by its first (count > 0) or last (count < 0)
    // index, from the present buffer to `dest`, between the indices `from` and `to`.
    void MoveBlock(_SCC_ArrayBuffer* dest, _SCC_ArrayBuffer* cur, int32_t to, int32_t from, int32_t count);
};

namespace mortar {
namespace scc_detail {

// The sorting and searching algorithms of the arrays, written once over an "ops" object so
// that the untyped array runs them through its virtual slots and a typed array on its raw
// storage, with the same results and the same calls. `ops` gives int Comp(i, j),
// void Swap(i, j) and void ShortSort(lo, hi).

/// Selection sort of the inclusive range `first` to `last` (see _SCC_Array::ShortSort).
template <class Ops>
void SelectionSort(int32_t first, int32_t last, Ops& ops) {
    for (int32_t top = last; top > first; --top) {
        int32_t greatest = first;
        for (int32_t i = first + 1; i <= top; ++i)
            if (ops.Comp(i, greatest) > 0) greatest = i;
        ops.Swap(greatest, top);
    }
}

/// Iterative quicksort of the inclusive range `first` to `last` (see _SCC_Array::Sort). The
/// larger part is always the one pushed, so 30 entries are enough for any range an int indexes.
template <class Ops>
void QuickSort(int32_t first, int32_t last, Ops& ops) {
    int32_t lowStack[30];
    int32_t highStack[30];
    int depth = 0;
    int32_t lo = first;
    int32_t hi = last;
    for (;;) {
        int32_t const n = hi - lo + 1;
        bool goOn = false;
        if (n <= 8) {
            ops.ShortSort(lo, hi);
        } else {
            ops.Swap(lo + n / 2, lo);
            int32_t up = lo;
            int32_t down = hi + 1;
            for (;;) {
                do ++up;
                while (up <= hi && ops.Comp(up, lo) <= 0);
                do --down;
                while (down > lo && ops.Comp(down, lo) >= 0);
                if (down < up) break;
                ops.Swap(up, down);
            }
            ops.Swap(lo, down);
            if (down - 1 - lo >= hi - up) {
                if (lo + 1 < down) {
                    lowStack[depth] = lo;
                    highStack[depth] = down - 1;
                    ++depth;
                }
                if (up < hi) {
                    lo = up;
                    goOn = true;
                }
            } else {
                if (up < hi) {
                    lowStack[depth] = up;
                    highStack[depth] = hi;
                    ++depth;
                }
                if (lo + 1 < down) {
                    hi = down - 1;
                    goOn = true;
                }
            }
        }
        if (goOn) continue;
        if (depth == 0) return;
        --depth;
        lo = lowStack[depth];
        hi = highStack[depth];
    }
}

/// The half-open range [first, last) of the indices in [lower, upper) whose comparison `c(i)`
/// with the item is 0, by bisection over a sorted range; when there are none, first equals last
/// and is where the item belongs. Only the signs of the comparisons count.
///
/// With `Quiet` the comparisons must have no effects and can't be observed (the default
/// comparison of integers): the result is the same for every content, sorted or not, since the
/// bisection probes the same middles in the same order, but its loop runs a number of rounds
/// fixed by the size of the range, rounds after the two ends have met changing nothing (and
/// probing within the bounds), and it chooses without branches, so that the processor can run
/// successive searches side by side. `prefetch(i)` is then told of both middles that the next
/// round may probe, so that a large array is read ahead while a comparison is pending.
template <bool Quiet, class C, class P>
void SearchEqualRange(int32_t lower, int32_t upper, C&& c, P&& prefetch, int32_t& outFirst, int32_t& outLast) {
    if (upper <= lower) {
        outFirst = outLast = 0;
        return;
    }
    // Locals, not the out-parameters: those may alias the elements that c reads.
    int32_t first = lower;
    int32_t last = upper - 1;
    int const c1 = c(first);
    int const c2 = c(last);
    if (c1 >= 0) {
        last = first;
    } else if (c2 < 0) {
        last = last + 1;
        first = last;
    } else if (c2 == 0) {
        first = last;
        last = last + 1;
    } else {
        // Bisection between c1 < 0 at first and c2 > 0 at last. A comparison below 0 moves
        // first to the middle (past it when first is the middle already), one above 0 moves last
        // to it, and 0 makes the middle both ends. Since c1 stays negative and c2 positive
        // throughout, these are the only cases: a comparison has the sign of c1 exactly when it
        // is negative, that of c2 exactly when it is positive.
        //
        // The middle is rounded down. For indices from 0 that is the truncating division of the
        // sum; below 0 truncation would round up, and could leave the search one short of the
        // place where an item belongs.
        auto middle = [&]() {
            int64_t const sum = static_cast<int64_t>(first) + last;
            return static_cast<int32_t>((sum - (sum < 0 ? 1 : 0)) / 2);
        };
        if constexpr (!Quiet) {
            (void)prefetch;
            while (first < last) {
                int32_t const mid = middle();
                int const cm = c(mid);
                if (cm == 0) {
                    first = last = mid;
                } else if (cm < 0) {
                    first = mid == first ? mid + 1 : mid;
                } else {
                    last = mid;
                }
            }
        } else {
            // Each round at least halves last - first (rounding up); a distance of 1 ends in one.
            int rounds = 1;
            for (uint32_t d = static_cast<uint32_t>(last) - static_cast<uint32_t>(first); d; d >>= 1) ++rounds;
            for (int k = 0; k < rounds; ++k) {
                int32_t const mid = first >= 0 ? static_cast<int32_t>(
                                                     (static_cast<uint32_t>(first) + static_cast<uint32_t>(last)) >> 1)
                                               : middle();
                prefetch(first + ((mid - first) >> 1));
                prefetch(mid + ((last - mid) >> 1));
                int const cm = c(mid);
                // The choices as masks rather than conditions, so that no branch depends on data.
                uint32_t const active = 0u - static_cast<uint32_t>(first < last);
                uint32_t const below = 0u - static_cast<uint32_t>(cm < 0);
                uint32_t const above = 0u - static_cast<uint32_t>(cm > 0);
                uint32_t const f = static_cast<uint32_t>(first);
                uint32_t const l = static_cast<uint32_t>(last);
                uint32_t const m = static_cast<uint32_t>(mid);
                uint32_t const step = below & static_cast<uint32_t>(mid == first);
                uint32_t const nextFirst = f ^ ((f ^ (m + step)) & ~above);
                uint32_t const nextLast = l ^ ((l ^ m) & ~below);
                first = static_cast<int32_t>(f ^ ((f ^ nextFirst) & active));
                last = static_cast<int32_t>(l ^ ((l ^ nextLast) & active));
            }
        }
    }
    while (first > lower && c(first - 1) == 0) --first;
    while (last < upper && c(last) == 0) ++last;
    outFirst = first;
    outLast = last;
}

/// SearchEqualRange for any comparison: every probe is a comparison that the algorithm makes.
template <class C>
void FindEqualRange(int32_t lower, int32_t upper, C&& c, int32_t& first, int32_t& last) {
    SearchEqualRange<false>(lower, upper, c, [](int32_t) {}, first, last);
}

/// Asks the processor to read the line at `p` ahead; it changes nothing that a program sees.
inline void Prefetch(void const* p) {
#if defined(__GNUC__) || defined(__clang__)
    __builtin_prefetch(p);
#else
    (void)p;
#endif
}

/// comparison * order without overflow: the product saturated to the range of int.
inline int ApplyOrder(int comparison, int order) {
    int64_t const p = static_cast<int64_t>(comparison) * order;
    return p > INT_MAX ? INT_MAX : (p < INT_MIN ? INT_MIN : static_cast<int>(p));
}

} // namespace scc_detail
} // namespace mortar

#endif
