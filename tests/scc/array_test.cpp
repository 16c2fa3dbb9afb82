#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <climits>
#include <deque>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

using scctest::Counted;
using scctest::FailureLog;
using scctest::kNoMessage;

int const kNowhere = 0x7FFFFFFF;

// An array of a derived class: it takes the road through the virtual slots everywhere, and
// shows the protected operations and the buffer.
template <class T>
class Probe : public SCC_Array<T> {
public:
    using Buffer = typename SCC_Array<T>::Buffer;
    using SCC_Array<T>::SCC_Array;
    using _SCC_Array::ChangeBounds;
    using _SCC_Array::CheckArray;

    Buffer* Buf() { return this->m_Buffer; }
    void SortRange(int32_t first, int32_t count, int order) { this->Sort(first, count, order); }
    int CallGranularity() { return this->Granularity(); }
    void CallCopyData() { _SCC_Array::CopyData(nullptr, 0, 0, 1); }

    int granularity = 0; // 0: the array's own
    int Granularity() override { return granularity ? granularity : SCC_Array<T>::Granularity(); }
};

// The buffer of any array, seen through a probe that shares it for a moment.
template <class T>
_SCC_ArrayBuffer* BufferOf(SCC_Array<T> const& array) {
    Probe<T> probe;
    probe.SCC_Array<T>::operator=(array);
    return probe.Buf();
}

struct Bounds {
    int lower, upper;
    bool operator==(Bounds const& o) const { return lower == o.lower && upper == o.upper; }
};
std::ostream& operator<<(std::ostream& os, Bounds const& b) { return os << "[" << b.lower << "," << b.upper << ")"; }

template <class T>
Bounds BoundsOf(SCC_Array<T> const& a) {
    return {a.GetLowerBound(), a.GetUpperBound()};
}

struct Allocation {
    int allocLower, lower, upper, allocUpper;
    bool operator==(Allocation const& o) const {
        return allocLower == o.allocLower && lower == o.lower && upper == o.upper && allocUpper == o.allocUpper;
    }
};
std::ostream& operator<<(std::ostream& os, Allocation const& a) {
    return os << a.allocLower << "<=[" << a.lower << "," << a.upper << ")<=" << a.allocUpper;
}
Allocation AllocationOf(_SCC_ArrayBuffer* b) { return {b->AllocLower, b->Lower, b->Upper, b->AllocUpper}; }

std::vector<int> Content(SCC_Array<int> const& a) {
    std::vector<int> v;
    for (int i = a.GetLowerBound(); i < a.GetUpperBound(); ++i) v.push_back(a[i]);
    return v;
}

// Makes the empty array `a` hold `values` from index `lower`.
void Fill(SCC_Array<int>& a, int lower, std::vector<int> const& values) {
    a.Insert(lower, static_cast<int>(values.size()));
    for (size_t i = 0; i < values.size(); ++i) a[lower + static_cast<int>(i)] = values[i];
}

// A hook that records every notification, with the array's state at that moment.
class Recorder : public SCC_EventHook<SCC_ArrayParam> {
public:
    struct Entry {
        int code;
        SCC_ArrayParam param;
        int count;         // GetCount of the array during the notification
        std::vector<int> content;
    };

    explicit Recorder(SCC_Array<int>* array = nullptr) : m_Array(array) {
        if (array) array->RegisterIterator(*this);
    }

    int OnNotification(int code, SCC_ArrayParam* param) override {
        Entry e{code, param ? *param : SCC_ArrayParam{}, 0, {}};
        if (m_Array) {
            e.count = m_Array->GetCount();
            e.content = Content(*m_Array);
        }
        entries.push_back(e);
        return 0;
    }

    std::vector<int> Codes() const {
        std::vector<int> codes;
        for (Entry const& e : entries) codes.push_back(e.code);
        return codes;
    }

    std::vector<Entry> entries;

private:
    SCC_Array<int>* m_Array;
};

using Iter = SCC_Array<int>::Iterator;

// The ten numbers of a record, in their order: pos, count, the forward block (from, to, count),
// the backward block (from, to, count), the deletion (from, count).
using Fields = std::vector<int>;
Fields FieldsOf(SCC_ArrayParam const& p) {
    return {p.nPos,      p.nCount,    p.nFwdFrom,   p.nFwdTo,   p.nFwdCount,
            p.nBackFrom, p.nBackTo,   p.nBackCount, p.nDelFrom, p.nDelCount};
}

TEST(Array, DefaultStateAndExtensionByWriting) {
    FailureLog failures;
    SCC_Array<int> a;
    EXPECT_EQ(a.GetCount(), 0);
    EXPECT_EQ(BoundsOf(a), (Bounds{0, 0}));
    EXPECT_EQ(a.IsEmpty(), 1);
    EXPECT_EQ(a.InBounds(0), 0);
    EXPECT_EQ(a.IsValid(), 0);
    EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});

    SCC_Array<int> b;
    b[5] = 1;
    EXPECT_EQ(BoundsOf(b), (Bounds{0, 6}));
    EXPECT_EQ(b.GetCount(), 6);
    EXPECT_EQ(b.IsValid(), 1);
    EXPECT_EQ(b.IsEmpty(), 0);

    SCC_Array<int> c;
    c[-2] = 1;
    EXPECT_EQ(BoundsOf(c), (Bounds{-2, 0}));
    c[3] = 2; // grows upward from a negative start
    EXPECT_EQ(BoundsOf(c), (Bounds{-2, 4}));
    EXPECT_EQ(c[-2], 1);
    EXPECT_EQ(c[3], 2);

    SCC_Array<int> d;
    d.Insert(5, 3);
    EXPECT_EQ(BoundsOf(d), (Bounds{5, 8}));
    SCC_Array<int> e;
    e.Insert(5, -3); // the mirror: three slots directly below 5
    EXPECT_EQ(BoundsOf(e), (Bounds{2, 5}));

    // Sizing constructors; an empty range leaves no buffer.
    EXPECT_EQ(BoundsOf(SCC_Array<int>(4)), (Bounds{0, 4}));
    EXPECT_EQ(BoundsOf(SCC_Array<int>(-3, 2)), (Bounds{-3, 2}));
    EXPECT_EQ(BufferOf(SCC_Array<int>(0)), nullptr);
    EXPECT_EQ(BufferOf(SCC_Array<int>(-1)), nullptr);
    EXPECT_EQ(BufferOf(SCC_Array<int>(4, 4)), nullptr);
    EXPECT_EQ(failures.Count(), 0u);
}

TEST(Array, ReadsOutOfBoundsFailAChecksAndTouchNothing) {
    FailureLog failures;
    SCC_Array<int> a;
    SCC_Array<int> const& ca = a;
    (void)ca[0]; // no buffer
    a[0] = 7;
    a[1] = 8;
    EXPECT_EQ(ca[1], 8);
    EXPECT_EQ(a.FastGetAt(0), 7);
    (void)ca[2];
    (void)ca[-1];
    a.FastGetAt(2) = 99; // lands in a scratch element, not in the reserve
    EXPECT_EQ(failures.Take(), std::vector<std::string>(4, kNoMessage));
    EXPECT_EQ(BoundsOf(a), (Bounds{0, 2}));
    a[2] = 5;
    EXPECT_EQ(Content(a), (std::vector<int>{7, 8, 5}));
}

TEST(Array, GrowthRuleAndReserve) {
    Probe<int> a;
    a.Append(10);
    // The first append asks for 0 to 1: quantum 1, three slots for indices -1 to 1.
    EXPECT_EQ(AllocationOf(a.Buf()), (Allocation{-1, 0, 1, 2}));
    _SCC_ArrayBuffer* first = a.Buf();
    a.Append(11); // fits in place
    EXPECT_EQ(a.Buf(), first);
    EXPECT_EQ(AllocationOf(a.Buf()), (Allocation{-1, 0, 2, 2}));
    a.Append(12); // upper 3 with count 2: quantum 4, allocated upper 7, eight slots
    EXPECT_EQ(AllocationOf(a.Buf()), (Allocation{-1, 0, 3, 7}));
    EXPECT_EQ(Content(a), (std::vector<int>{10, 11, 12}));
    a[-1] = 9; // the reserve below takes it in place
    EXPECT_EQ(AllocationOf(a.Buf()), (Allocation{-1, -1, 3, 7}));
    a[-2] = 8; // below the allocation: quantum max(2 * 4, 5) = 8, the upper allocation stays
    EXPECT_EQ(AllocationOf(a.Buf()), (Allocation{-10, -2, 3, 7}));
    EXPECT_EQ(Content(a), (std::vector<int>{8, 9, 10, 11, 12}));

    // The same growth for an array of the plain type.
    SCC_Array<int> plain;
    plain.Append(10);
    plain.Append(11);
    plain.Append(12);
    EXPECT_EQ(AllocationOf(BufferOf(plain)), (Allocation{-1, 0, 3, 7}));

    // Granularity: twice the count, limited to 1..10000; a class can set its own.
    Probe<int> g;
    EXPECT_EQ(g.CallGranularity(), 1);
    g.ChangeBounds(0, 3);
    EXPECT_EQ(g.CallGranularity(), 6);
    g.ChangeBounds(0, 6000); // quantum: the new size, 6000
    EXPECT_EQ(AllocationOf(g.Buf()), (Allocation{-3, 0, 6000, 12000}));
    EXPECT_EQ(g.CallGranularity(), 10000);
    g.granularity = 100;
    g.ChangeBounds(0, 12001); // the new size beats the class's 100
    EXPECT_EQ(AllocationOf(g.Buf()).allocUpper, 24002);
    Probe<int> coarse;
    coarse.granularity = 50;
    coarse.ChangeBounds(0, 3); // the class's 50 beats the size
    EXPECT_EQ(AllocationOf(coarse.Buf()), (Allocation{-50, 0, 3, 53}));

    // Appending a million elements reallocates only logarithmically often.
    SCC_Array<int> big;
    Recorder rec(&big);
    for (int i = 0; i < 1000000; ++i) big.Append(i);
    EXPECT_EQ(big.GetCount(), 1000000);
    EXPECT_LT(rec.entries.size(), 40u);
    for (Recorder::Entry const& e : rec.entries) EXPECT_EQ(e.code, 3);
    EXPECT_EQ(big.FastGetAt(999999), 999999);
}

TEST(Array, AppendOfItsOwnElementSurvivesReallocation) {
    for (int round = 0; round < 2; ++round) {
        SCC_Array<int> plain;
        Probe<int> probe;
        SCC_Array<int>& a = round ? static_cast<SCC_Array<int>&>(probe) : plain;
        a.Append(42);
        for (int i = 0; i < 100; ++i) a.Append(a[a.GetLowerBound()]);
        EXPECT_EQ(a.GetCount(), 101);
        for (int i = 0; i < 101; ++i) EXPECT_EQ(a[i], 42);
    }
    SCC_Array<SCC_SharedPointer<_SCC_ArrayBuffer>> pointers;
    pointers.Append(new _SCC_ArrayBuffer);
    for (int i = 0; i < 20; ++i) pointers.Append(pointers[0]);
    EXPECT_EQ(pointers[0]->GetRefCount(), 21);
}

// One row of the Insert table, on bounds [10, 15) holding 100..104.
struct InsertCase {
    char const* name;
    int pos, count;
    Bounds after;
    int fwdFrom, fwdTo, fwdCount, backFrom, backTo, backCount;
};

InsertCase const kInsertCases[] = {
    {"before the start, gap below the elements", 3, 4, {3, 15}, 10, 10, 0, 14, 14, 5},
    {"before the start, negative count", 3, -2, {1, 15}, 10, 10, 0, 14, 14, 5},
    {"before the start, gap up to the lower bound", 6, 4, {6, 15}, 10, 10, 0, 14, 14, 5},
    {"before the start, gap reaching into the elements", 8, 4, {8, 17}, 10, 10, 0, 14, 16, 5},
    {"inside, positive count", 12, 3, {10, 18}, 10, 10, 2, 14, 17, 3},
    {"at the lower bound, positive count", 10, 2, {10, 17}, 10, 10, 0, 14, 16, 5},
    {"inside, negative count", 12, -3, {7, 15}, 10, 7, 2, 14, 14, 3},
    {"inside, count 0", 12, 0, {10, 15}, 10, 10, 2, 14, 14, 3},
    {"at the last element, negative count", 14, -1, {9, 15}, 10, 9, 4, 14, 14, 1},
    {"at the upper bound", 15, 1, {10, 16}, 10, 10, 5, 14, 14, 0},
    {"past the end", 20, 2, {10, 22}, 10, 10, 5, 14, 14, 0},
    {"past the end, negative count above the end", 20, -3, {10, 20}, 10, 10, 5, 14, 14, 0},
    {"past the end, gap reaching down into the elements", 16, -4, {7, 16}, 10, 7, 5, 14, 14, 0},
};

// Runs one Insert on a fresh array and checks bounds, record, content and iterators. With
// `shared`, another array shares the buffer first and must keep it unchanged; with `probe`, the
// array is of a derived class.
void CheckInsert(InsertCase const& c, bool shared, bool probe) {
    SCOPED_TRACE(std::string(c.name) + (shared ? ", shared" : "") + (probe ? ", derived class" : ""));
    std::vector<int> const values{100, 101, 102, 103, 104};
    Probe<int> probeArray;
    SCC_Array<int> plainArray;
    SCC_Array<int>& a = probe ? static_cast<SCC_Array<int>&>(probeArray) : plainArray;
    Fill(a, 10, values);
    SCC_Array<int> other;
    if (shared) other = a;
    _SCC_ArrayBuffer* before = BufferOf(a);

    // An iterator on every element, and one at the upper bound.
    std::vector<std::unique_ptr<Iter>> its;
    for (int i = 10; i <= 15; ++i) {
        its.push_back(std::make_unique<Iter>());
        its.back()->SetArray(&a, i);
    }
    Recorder rec(&a);
    a.Insert(c.pos, c.count);

    EXPECT_EQ(BoundsOf(a), c.after);
    ASSERT_EQ(rec.Codes(), std::vector<int>{1});
    SCC_ArrayParam const& p = rec.entries[0].param;
    EXPECT_EQ(p.pArray, static_cast<_SCC_Array*>(&a));
    EXPECT_EQ(FieldsOf(p), (Fields{c.pos, c.count, c.fwdFrom, c.fwdTo, c.fwdCount, c.backFrom, c.backTo,
                                   c.backCount, 0, 0}));
    EXPECT_EQ(rec.entries[0].count, c.after.upper - c.after.lower); // told after the change

    // Every iterator stands on its element; the one at the old upper bound moved with the
    // forward block if that block reached it.
    for (int i = 0; i < 5; ++i) EXPECT_EQ(a[its[i]->GetIndex()], values[i]) << "element " << i;
    int const endShift = (15 >= c.fwdFrom && 15 <= c.fwdFrom + c.fwdCount) ? c.fwdTo - c.fwdFrom : 0;
    EXPECT_EQ(its[5]->GetIndex(), 15 + endShift);
    if (shared) {
        EXPECT_EQ(Content(other), values);
        EXPECT_EQ(BufferOf(other), before);
        EXPECT_NE(BufferOf(a), before);
    }
}

TEST(Array, InsertFollowsEveryRowOfItsTable) {
    for (InsertCase const& c : kInsertCases)
        for (bool shared : {false, true})
            for (bool probe : {false, true}) CheckInsert(c, shared, probe);

    // An array without a buffer: all blocks 0.
    SCC_Array<int> empty;
    Recorder rec(&empty);
    empty.Insert(-4, 2);
    EXPECT_EQ(BoundsOf(empty), (Bounds{-4, -2}));
    ASSERT_EQ(rec.entries.size(), 1u);
    SCC_ArrayParam const& p = rec.entries[0].param;
    EXPECT_EQ(FieldsOf(p), (Fields{-4, 2, 0, 0, 0, 0, 0, 0, 0, 0}));
    empty.Clear();
    rec.entries.clear();
    empty.Insert(3, 0); // no buffer needed, none made; the hooks still hear of it
    EXPECT_EQ(BufferOf(empty), nullptr);
    EXPECT_EQ(rec.Codes(), std::vector<int>{1});

    // The example: Insert(2, 1) on 0..5.
    SCC_Array<int> a;
    Fill(a, 0, {0, 1, 2, 3, 4});
    Iter at1, at2, at5;
    at1.SetArray(&a, 1);
    at2.SetArray(&a, 2);
    at5.SetArray(&a, 5);
    a.Insert(2, 1);
    EXPECT_EQ(at1.GetIndex(), 1);
    EXPECT_EQ(at2.GetIndex(), 3);
    EXPECT_EQ(at5.GetIndex(), 5);
}

TEST(Array, DeleteAndClear) {
    FailureLog failures;
    SCC_Array<int> a;
    Fill(a, 0, {0, 1, 2, 3, 4});
    Iter at[6];
    for (int i = 0; i < 6; ++i) at[i].SetArray(&a, i);
    Recorder rec(&a);
    a.Delete(1, 2);
    EXPECT_EQ(Content(a), (std::vector<int>{0, 3, 4}));
    int const expected[6] = {0, kNowhere, kNowhere, 1, 2, 3};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(at[i].GetIndex(), expected[i]) << i;
    ASSERT_EQ(rec.entries.size(), 1u);
    Recorder::Entry const& e = rec.entries[0];
    EXPECT_EQ(e.code, 2);
    EXPECT_EQ(e.content, (std::vector<int>{0, 1, 2, 3, 4})); // told before the change
    EXPECT_EQ(FieldsOf(e.param), (Fields{1, 2, 3, 1, 2, 0, 0, 1, 1, 2}));

    // Ranges out of bounds do nothing and say nothing.
    rec.entries.clear();
    a.Delete(3, 5);
    a.Delete(-1, 1);
    a.Delete(1, 5);
    a.Delete(0, -1);
    a.Delete(3, 0); // pos at the upper bound
    EXPECT_EQ(Content(a), (std::vector<int>{0, 3, 4}));
    EXPECT_TRUE(rec.entries.empty());
    SCC_Array<int> none;
    none.Delete(0, 1);
    EXPECT_EQ(BufferOf(none), nullptr);

    // A negative count deletes the elements directly below pos; those below them move up.
    SCC_Array<int> n;
    Fill(n, 0, {0, 1, 2, 3, 4});
    Iter nat[6];
    for (int i = 0; i < 6; ++i) nat[i].SetArray(&n, i);
    Recorder nrec(&n);
    n.Delete(3, -2);
    EXPECT_EQ(BoundsOf(n), (Bounds{2, 5}));
    EXPECT_EQ(Content(n), (std::vector<int>{0, 3, 4}));
    int const nexpected[6] = {2, kNowhere, kNowhere, 3, 4, 5};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(nat[i].GetIndex(), nexpected[i]) << i;
    EXPECT_EQ(FieldsOf(nrec.entries.at(0).param), (Fields{3, -2, 3, 3, 2, 0, 2, 1, 1, 2}));
    n.Delete(5, -1); // pos must lie below the upper bound, as for a positive count
    EXPECT_EQ(Content(n), (std::vector<int>{0, 3, 4}));

    // Deleting everything leaves no buffer and bounds 0, whatever the lower bound was.
    SCC_Array<int> b;
    Fill(b, 7, {1, 2, 3});
    SCC_Array<int> keeper(b); // shares the buffer and must keep it
    b.Delete(7, 3);
    EXPECT_EQ(BoundsOf(b), (Bounds{0, 0}));
    EXPECT_EQ(BufferOf(b), nullptr);
    EXPECT_EQ(Content(keeper), (std::vector<int>{1, 2, 3}));
    b.Append(9);
    EXPECT_EQ(BoundsOf(b), (Bounds{0, 1}));

    // With a buffer shared, Delete leaves the other array's content untouched.
    SCC_Array<int> s1;
    Fill(s1, 0, {5, 6, 7});
    SCC_Array<int> s2;
    s2 = s1;
    s2.Delete(0, 1);
    EXPECT_EQ(Content(s1), (std::vector<int>{5, 6, 7}));
    EXPECT_EQ(Content(s2), (std::vector<int>{6, 7}));

    // Clear: told after the content is gone; an iterator at index 0 keeps it, others go.
    SCC_Array<int> c;
    Fill(c, -2, {1, 2, 3, 4});
    Iter c0, c1, cm2;
    c0.SetArray(&c, 0);
    c1.SetArray(&c, 1);
    cm2.SetArray(&c, -2);
    Recorder crec(&c);
    c.Clear();
    ASSERT_EQ(crec.entries.size(), 1u);
    EXPECT_EQ(crec.entries[0].code, 2);
    EXPECT_EQ(crec.entries[0].count, 0);
    EXPECT_EQ(FieldsOf(crec.entries[0].param), (Fields{-2, 4, 0, 0, 0, 0, 0, 0, -2, 4}));
    EXPECT_EQ(c0.GetIndex(), 0);
    EXPECT_EQ(c1.GetIndex(), kNowhere);
    EXPECT_EQ(cm2.GetIndex(), kNowhere);
    EXPECT_EQ(BoundsOf(c), (Bounds{0, 0}));
    c.Clear(); // without a buffer: nothing
    EXPECT_EQ(crec.entries.size(), 1u);
    EXPECT_EQ(failures.Count(), 0u);
}

TEST(Array, CopyOnWriteAndNotificationsOfNewBuffers) {
    SCC_Array<int> a;
    Fill(a, 0, {1, 2, 3});
    Recorder ra(&a);
    SCC_Array<int> b(a);
    Recorder rb(&b);
    EXPECT_EQ(BufferOf(a), BufferOf(b));
    EXPECT_EQ(BufferOf(a)->GetRefCount(), 2);
    b[0] = 10;
    EXPECT_EQ(Content(a), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(Content(b), (std::vector<int>{10, 2, 3}));
    EXPECT_TRUE(ra.entries.empty()); // a's hooks are told nothing
    ASSERT_EQ(rb.Codes(), std::vector<int>{3});
    EXPECT_EQ(rb.entries[0].param.pArray, static_cast<_SCC_Array*>(&b));
    EXPECT_EQ(FieldsOf(rb.entries[0].param), Fields(10, 0));
    EXPECT_EQ(BufferOf(a)->GetRefCount(), 1);

    // A read through const access or FastGetAt does not unshare.
    SCC_Array<int> c;
    c = a;
    EXPECT_EQ(c.FastGetAt(1), 2);
    EXPECT_EQ(static_cast<SCC_Array<int> const&>(c)[2], 3);
    EXPECT_EQ(BufferOf(c), BufferOf(a));
    c = c; // self-assignment keeps the buffer
    EXPECT_EQ(BufferOf(c), BufferOf(a));

    // The copy of a shared buffer keeps its allocated bounds while the new bounds fit.
    Probe<int> p;
    Fill(p, 0, {1, 2, 3});
    Allocation const before = AllocationOf(p.Buf());
    SCC_Array<int> sharer(p);
    p.CheckArray(1);
    EXPECT_EQ(AllocationOf(p.Buf()), before);
    EXPECT_NE(static_cast<_SCC_ArrayBuffer*>(p.Buf()), BufferOf(sharer));

    // The hooks of the source stay there; those of a copy are its own.
    SCC_Array<int> d;
    Fill(d, 0, {1});
    Recorder rd(&d);
    SCC_Array<int> e(d);
    e.Insert(0, 1);
    EXPECT_TRUE(rd.entries.empty());
}

TEST(Array, ChangeBoundsAndValidity) {
    FailureLog failures;
    Probe<int> a;
    Recorder rec(&a);
    a.ChangeBounds(-3, 3);
    EXPECT_EQ(BoundsOf(a), (Bounds{-3, 3}));
    EXPECT_EQ(rec.Codes(), std::vector<int>{3});
    for (int i = -3; i < 3; ++i) a[i] = i * 10;
    a.ChangeBounds(-1, 2); // in place: nothing told
    EXPECT_EQ(rec.Codes(), std::vector<int>{3});
    EXPECT_EQ(Content(a), (std::vector<int>{-10, 0, 10}));
    a.ChangeBounds(-20, 1); // a new buffer with the overlap
    EXPECT_EQ(rec.Codes(), (std::vector<int>{3, 3}));
    EXPECT_EQ(a[-1], -10);
    EXPECT_EQ(a[0], 0);
    // An empty range on an array with a buffer empties it.
    a.ChangeBounds(5, 5);
    EXPECT_EQ(a.Buf(), nullptr);
    EXPECT_EQ(BoundsOf(a), (Bounds{0, 0}));
    EXPECT_EQ(rec.Codes(), (std::vector<int>{3, 3, 3}));
    a.ChangeBounds(4, 2); // without a buffer: nothing at all
    EXPECT_EQ(rec.Codes(), (std::vector<int>{3, 3, 3}));

    // Validity of the buffer, condition by condition.
    a.ChangeBounds(0, 4);
    EXPECT_EQ(a.IsValid(), 1);
    EXPECT_EQ(failures.Count(), 0u);
    _SCC_ArrayBuffer* b = a.Buf();
    int32_t const allocLower = b->AllocLower;
    b->AllocLower = 1;
    EXPECT_EQ(b->IsValid(), 0);
    EXPECT_EQ(failures.Take().size(), 1u);
    b->AllocUpper = 3;
    EXPECT_EQ(a.IsValid(), 0); // two conditions, then the array's own check
    EXPECT_EQ(failures.Take().size(), 3u);
    b->AllocLower = allocLower;
    b->AllocUpper = 4;

    // The untyped bodies: CopyData, and sorting an array that has no comparison.
    a.CallCopyData();
    EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});
    a.SortRange(0, 2, 1);
    std::vector<std::string> const messages = failures.Take();
    EXPECT_FALSE(messages.empty());
    for (std::string const& m : messages)
        EXPECT_TRUE(m == "_SCC_Array::Comp is called." || m == "_SCC_Array::Swap is called.") << m;
}

TEST(Array, BoundsAtTheEndsOfTheIntRange) {
    SCC_Array<int> a;
    EXPECT_THROW(a[INT_MAX] = 1, std::bad_alloc);
    EXPECT_EQ(BufferOf(a), nullptr);

    Probe<int> high;
    high.ChangeBounds(INT_MAX - 10, INT_MAX - 5);
    EXPECT_EQ(AllocationOf(high.Buf()).allocUpper, INT_MAX); // the reserve is cut at the end
    high.Append(1);
    high[INT_MAX - 1] = 2;
    EXPECT_EQ(high.GetUpperBound(), INT_MAX);
    EXPECT_THROW(high.Insert(INT_MAX - 2, 5), std::bad_alloc);
    EXPECT_EQ(high.GetUpperBound(), INT_MAX); // nothing changed
    Probe<int> low;
    low.ChangeBounds(INT_MIN + 2, INT_MIN + 5);
    EXPECT_EQ(AllocationOf(low.Buf()).allocLower, INT_MIN);
    EXPECT_THROW(low.Insert(INT_MIN + 1, -5), std::bad_alloc);
    EXPECT_EQ(low.GetLowerBound(), INT_MIN + 2);
}

TEST(Array, IteratorOperations) {
    SCC_Array<int> a;
    Fill(a, 3, {30, 40, 50});
    Iter it;
    EXPECT_EQ(it.GetIndex(), kNowhere);
    EXPECT_EQ(it.GetArray(), nullptr);
    EXPECT_EQ(it.GetPriority(), 0);
    EXPECT_EQ(it.GetRoot(), nullptr);
    EXPECT_EQ(it.IsDone(), 1);

    it.SetArray(&a); // 0x7FFFFFFF stands for the lower bound
    EXPECT_EQ(it.GetIndex(), 3);
    EXPECT_EQ(*it, 30);
    EXPECT_EQ(++it, 4);
    EXPECT_EQ(*it, 40);
    EXPECT_EQ(it++, 4);
    EXPECT_EQ(it.GetIndex(), 5);
    EXPECT_EQ(++it, 6);
    EXPECT_EQ(it.IsDone(), 1);
    EXPECT_EQ(--it, 5);
    EXPECT_EQ(it.IsDone(), 0);
    *it = 55;
    EXPECT_EQ(a[5], 55);
    it.SetIndex(kNowhere);
    EXPECT_EQ(++it, INT_MIN); // no check: the position wraps
    it.SetIndex(4);

    // A copy follows the same array from the same place.
    Iter copy(it);
    EXPECT_EQ(copy.GetIndex(), 4);
    EXPECT_EQ(copy.GetArray(), &a);
    a.Insert(3, 1);
    EXPECT_EQ(it.GetIndex(), 5);
    EXPECT_EQ(copy.GetIndex(), 5);
    Iter assigned;
    assigned = it;
    a.Delete(3, 1);
    EXPECT_EQ(assigned.GetIndex(), 4);

    {
        FailureLog failures;
        Iter lone;
        *lone = 5; // no array: a check, and a scratch element
        EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});
    }

    it.Reset();
    EXPECT_EQ(it.GetIndex(), kNowhere);
    EXPECT_EQ(it.GetArray(), nullptr);
    EXPECT_EQ(it.GetRoot(), nullptr);
    a.Insert(3, 1);
    EXPECT_EQ(it.GetIndex(), kNowhere);

    // A null record fails a check; other codes are ignored.
    {
        FailureLog failures;
        copy.OnNotification(1, nullptr);
        EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});
        SCC_ArrayParam moveAll{};
        moveAll.nFwdFrom = 0;
        moveAll.nFwdTo = 100;
        moveAll.nFwdCount = 1000;
        int const before = copy.GetIndex();
        copy.OnNotification(3, &moveAll);
        EXPECT_EQ(copy.GetIndex(), before);
        copy.OnNotification(1, &moveAll);
        EXPECT_EQ(copy.GetIndex(), before + 100);
    }

    // The array's end disconnects its iterators, which keep the array pointer.
    Iter survivor;
    {
        SCC_Array<int> temporary;
        temporary[0] = 1;
        survivor.SetArray(&temporary, 0);
        EXPECT_NE(survivor.GetRoot(), nullptr);
    }
    EXPECT_EQ(survivor.GetRoot(), nullptr);
    survivor.SetArray(nullptr, 3);
    EXPECT_EQ(survivor.GetArray(), nullptr);
    EXPECT_EQ(survivor.GetIndex(), 3);
    EXPECT_EQ(survivor.IsDone(), 1);

    // The copy constructor of the untyped array moves the hooks.
    struct Moving : _SCC_Array {
        Moving() = default;
        Moving(Moving& source) : _SCC_Array(source) {}
    };
    Moving source;
    SCC_EventHook<SCC_ArrayParam> hook;
    source.RegisterIterator(hook);
    Moving target(source);
    EXPECT_NE(hook.GetRoot(), nullptr);
    target.Insert(0, 0);
}

// Random operations against a plain model: content, iterators and copies checked after each step.
TEST(Array, RandomOperationsAgainstAModel) {
    std::mt19937 rng(12345);
    for (int round = 0; round < 2; ++round) {
        Probe<int> probe;
        SCC_Array<int> plain;
        SCC_Array<int>& a = round ? static_cast<SCC_Array<int>&>(probe) : plain;
        int lower = 0;
        std::deque<int> model; // element ids
        int nextId = 1;
        std::vector<std::unique_ptr<Iter>> its;
        std::vector<int> itIds; // the id each iterator stands on, 0 for nowhere
        SCC_Array<int> snapshot;
        std::vector<int> snapshotContent;

        auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
        for (int step = 0; step < 3000; ++step) {
            int const n = static_cast<int>(model.size());
            int const op = pick(0, 9);
            if (op <= 2) { // Insert anywhere near the bounds, with either sign
                int const pos = pick(lower - 3, lower + n + 3);
                int count = pick(-3, 3);
                if (n == 0 && count <= 0) count = 1;
                // Helpers on every element show where the old elements went.
                std::vector<std::unique_ptr<Iter>> helpers;
                for (int i = 0; i < n; ++i) {
                    helpers.push_back(std::make_unique<Iter>());
                    helpers.back()->SetArray(&a, lower + i);
                }
                a.Insert(pos, count);
                int const newLower = a.GetLowerBound();
                int const newUpper = a.GetUpperBound();
                std::vector<bool> kept(static_cast<size_t>(newUpper - newLower), false);
                int previous = INT_MIN;
                for (int i = 0; i < n; ++i) {
                    int const at = helpers[static_cast<size_t>(i)]->GetIndex();
                    ASSERT_TRUE(at >= newLower && at < newUpper) << "step " << step;
                    ASSERT_GT(at, previous) << "step " << step; // the order is kept
                    ASSERT_EQ(a[at], model[static_cast<size_t>(i)]) << "step " << step;
                    kept[static_cast<size_t>(at - newLower)] = true;
                    previous = at;
                }
                // The gap and any slots between it and the old bounds get identities of their own.
                for (int i = newLower; i < newUpper; ++i)
                    if (!kept[static_cast<size_t>(i - newLower)]) a[i] = nextId++;
                std::vector<int> const now = Content(a);
                model.assign(now.begin(), now.end());
                lower = newLower;
            } else if (op <= 4 && n > 0) { // Delete a range, either sign
                int const pos = pick(lower, lower + n - 1);
                int const count = pick(-3, 3);
                int64_t const end = static_cast<int64_t>(pos) + count;
                a.Delete(pos, count);
                if (end >= lower && end <= lower + n) {
                    int const from = std::min<int>(pos, static_cast<int>(end)) - lower;
                    int const len = std::abs(count);
                    model.erase(model.begin() + from, model.begin() + from + len);
                    if (count < 0) lower += len;
                    if (model.empty()) lower = 0;
                }
            } else if (op == 5) { // Append
                a.Append(nextId);
                if (model.empty()) lower = a.GetLowerBound();
                model.push_back(nextId++);
            } else if (op == 6 && n > 0) { // write inside
                int const i = pick(lower, lower + n - 1);
                int& id = model[static_cast<size_t>(i - lower)];
                for (int& itId : itIds)
                    if (itId == id) itId = nextId; // an iterator stays on its slot
                a[i] = nextId;
                id = nextId++;
            } else if (op == 7) { // put an iterator on an element
                if (n > 0) {
                    int const i = pick(lower, lower + n - 1);
                    its.push_back(std::make_unique<Iter>());
                    its.back()->SetArray(&a, i);
                    itIds.push_back(model[static_cast<size_t>(i - lower)]);
                }
            } else if (op == 8) { // share the buffer with a snapshot
                snapshot = a;
                snapshotContent = Content(a);
            } else if (pick(0, 20) == 0) {
                a.Clear();
                model.clear();
                lower = 0;
                for (size_t k = 0; k < its.size(); ++k) {
                    if (itIds[k] != 0) {
                        ASSERT_TRUE(its[k]->GetIndex() == 0 || its[k]->GetIndex() == kNowhere);
                    }
                    itIds[k] = 0;
                }
            }
            ASSERT_EQ(a.GetLowerBound(), model.empty() ? 0 : lower) << "step " << step;
            ASSERT_EQ(a.GetCount(), static_cast<int>(model.size())) << "step " << step;
            ASSERT_EQ(Content(a), std::vector<int>(model.begin(), model.end())) << "step " << step;
            ASSERT_EQ(Content(snapshot), snapshotContent) << "step " << step;
            for (size_t k = 0; k < its.size(); ++k) {
                if (itIds[k] == 0) continue;
                bool alive = false;
                for (int id : model) alive = alive || id == itIds[k];
                if (!alive) {
                    ASSERT_EQ(its[k]->GetIndex(), kNowhere) << "step " << step;
                    itIds[k] = 0;
                } else {
                    ASSERT_EQ(a[its[k]->GetIndex()], itIds[k]) << "step " << step;
                }
            }
        }
    }
}

TEST(Array, CountedElementsAreSharedDetachedAndFreed) {
    for (int n : {0, 1, 50}) {
        SCOPED_TRACE(n);
        Counted::live = 0;
        {
            SCC_Array<Counted> a;
            for (int i = 0; i < n; ++i) a.Append(Counted(i));
            int const liveWithA = Counted::live;
            Counted::copies = 0;
            SCC_Array<Counted> b(a);
            SCC_Array<Counted> c;
            c = a;
            EXPECT_EQ(Counted::copies, 0); // sharing copies nothing
            EXPECT_EQ(Counted::live, liveWithA);
            if (n > 0) {
                b[0] = Counted(-1); // detaches b: each element copied once into the new buffer
                EXPECT_EQ(Counted::copies, n + 1);
                EXPECT_EQ(a[0].value, 0);
                EXPECT_EQ(c[0].value, 0);
                EXPECT_EQ(b[0].value, -1);
                a.Delete(0, 1);
                EXPECT_EQ(c.GetCount(), n);
            }
            a.Clear();
        }
        EXPECT_EQ(Counted::live, 0);
    }
}

TEST(Array, SharedPointerElements) {
    struct Object : SCC_SharedBuffer {
        explicit Object(int* deaths) : deaths(deaths) {}
        ~Object() { ++*deaths; }
        int* deaths;
    };
    int deaths = 0;
    {
        SCC_Array<SCC_SharedPointer<Object>> a;
        a.Insert(0, 4);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(a[i], nullptr); // new slots hold null pointers
        for (int i = 0; i < 4; ++i) a[i] = new Object(&deaths);
        Object* last = a[3];
        a.Delete(3, 1);
        // The slot above the new upper bound is not cleared: the object stays referenced.
        EXPECT_EQ(deaths, 0);
        EXPECT_EQ(last->GetRefCount(), 1);
        a.Append(nullptr); // overwrites that slot
        EXPECT_EQ(deaths, 1);
        a.Delete(0, 1); // moves the rest down over the first, which dies; the old top keeps a copy
        EXPECT_EQ(deaths, 2);
        EXPECT_EQ(a.GetCount(), 3);
    }
    EXPECT_EQ(deaths, 4);
}

TEST(Array, AnElementTypeWithoutComparisonOrEquality) {
    struct Plain {
        int v = 0;
    };
    SCC_Array<Plain> a;
    a.Append(Plain{3});
    a.Insert(0, 1);
    a[0].v = 1;
    EXPECT_EQ(a[1].v, 3);
}

} // namespace
