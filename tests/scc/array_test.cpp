#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using scctest::Content;
using scctest::Counted;
using scctest::Fill;
using scctest::FailureLog;
using scctest::kNoMessage;
using V = std::vector<int>;
using Strings = std::vector<std::string>;
using Bounds = std::pair<int, int>;
using Iter = SCC_Array<int>::Iterator;

int const kNowhere = 0x7FFFFFFF;

// An array of a derived class: it takes the road through the virtual slots everywhere, and
// shows the protected operations and the buffer.
template <class T>
class Probe : public SCC_Array<T> {
public:
    using SCC_Array<T>::SCC_Array;
    using _SCC_Array::ChangeBounds;
    using _SCC_Array::CheckArray;

    _SCC_ArrayBuffer* Buf() { return this->m_Buffer; }
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

template <class T>
Bounds BoundsOf(SCC_Array<T> const& a) {
    return {a.GetLowerBound(), a.GetUpperBound()};
}

// AllocLower, Lower, Upper, AllocUpper.
V AllocationOf(_SCC_ArrayBuffer* b) { return {b->AllocLower, b->Lower, b->Upper, b->AllocUpper}; }

// The ten numbers of a record: pos, count, the forward block (from, to, count), the backward
// block (from, to, count), the deletion (from, count).
V FieldsOf(SCC_ArrayParam const& p) {
    return {p.nPos,      p.nCount,  p.nFwdFrom,   p.nFwdTo,   p.nFwdCount,
            p.nBackFrom, p.nBackTo, p.nBackCount, p.nDelFrom, p.nDelCount};
}

// A hook that records every notification, with the array's content at that moment.
struct Recorder : SCC_EventHook<SCC_ArrayParam> {
    struct Entry {
        int code;
        SCC_ArrayParam param;
        V content;
    };

    explicit Recorder(SCC_Array<int>* a) : array(a) { a->RegisterIterator(*this); }

    int OnNotification(int code, SCC_ArrayParam* param) override {
        entries.push_back({code, *param, Content(*array)});
        return 0;
    }

    V Codes() const {
        V codes;
        for (Entry const& e : entries) codes.push_back(e.code);
        return codes;
    }

    SCC_Array<int>* array;
    std::vector<Entry> entries;
};

TEST(Array, EmptyArraysSizingAndReadsOutOfBounds) {
    FailureLog failures;
    SCC_Array<int> a;
    EXPECT_EQ(BoundsOf(a), Bounds(0, 0));
    EXPECT_EQ(a.IsValid(), 0); // no buffer reports invalid
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});

    // Sizing constructors; an empty range leaves no buffer.
    EXPECT_EQ(BoundsOf(SCC_Array<int>(-3, 2)), Bounds(-3, 2));
    EXPECT_EQ(BufferOf(SCC_Array<int>(-1)), nullptr);
    EXPECT_EQ(BufferOf(SCC_Array<int>(4, 4)), nullptr);

    // Reads out of bounds fail a check each and land in a scratch element outside the buffer.
    SCC_Array<int> const& ca = a;
    (void)ca[0]; // no buffer
    a[0] = 7;
    a[1] = 8;
    (void)ca[2];
    (void)ca[-1];
    a.FastGetAt(2) = 99; // not into the reserve
    EXPECT_EQ(failures.Take(), Strings(4, kNoMessage));
    EXPECT_EQ(BoundsOf(a), Bounds(0, 2));
    a[2] = 5;
    EXPECT_EQ(Content(a), (V{7, 8, 5}));
}

TEST(Array, GrowthRuleAndReserve) {
    Probe<int> a;
    a.Append(10);
    // The first append asks for 0 to 1: quantum 1, three slots for indices -1 to 1.
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, 0, 1, 2}));
    _SCC_ArrayBuffer* first = a.Buf();
    a.Append(11); // fits in place
    EXPECT_EQ(a.Buf(), first);
    a.Append(12); // upper 3 with count 2: quantum 4, allocated upper 7
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, 0, 3, 7}));
    a[-1] = 9; // the reserve below takes it in place
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, -1, 3, 7}));
    a[-2] = 8; // below the allocation: quantum max(2 * 4, 5) = 8, the upper allocation stays
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-10, -2, 3, 7}));
    EXPECT_EQ(Content(a), (V{8, 9, 10, 11, 12}));

    // Granularity: twice the count, limited to 1..10000; a class can set its own.
    Probe<int> g;
    EXPECT_EQ(g.CallGranularity(), 1);
    g.ChangeBounds(0, 3);
    EXPECT_EQ(g.CallGranularity(), 6);
    g.ChangeBounds(0, 6000); // quantum: the new size
    EXPECT_EQ(AllocationOf(g.Buf()), (V{-3, 0, 6000, 12000}));
    EXPECT_EQ(g.CallGranularity(), 10000);
    g.granularity = 100;
    g.ChangeBounds(0, 12001); // the new size beats the class's 100
    EXPECT_EQ(AllocationOf(g.Buf())[3], 24002);
    Probe<int> coarse;
    coarse.granularity = 50;
    coarse.ChangeBounds(0, 3); // the class's 50 beats the size
    EXPECT_EQ(AllocationOf(coarse.Buf()), (V{-50, 0, 3, 53}));
}

TEST(Array, AppendOfItsOwnElementSurvivesReallocation) {
    SCC_Array<int> plain;
    Probe<int> probe;
    for (SCC_Array<int>* a : {&plain, static_cast<SCC_Array<int>*>(&probe)}) {
        a->Append(42);
        for (int i = 0; i < 100; ++i) a->Append((*a)[0]);
        EXPECT_EQ(Content(*a), V(101, 42));
    }
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
// `shared`, another array shares the buffer first (so the Insert makes a new one) and must keep
// it unchanged.
void CheckInsert(InsertCase const& c, bool shared) {
    SCOPED_TRACE(std::string(c.name) + (shared ? ", shared" : ""));
    V const values{100, 101, 102, 103, 104};
    SCC_Array<int> a;
    Fill(a, 10, values);
    SCC_Array<int> other;
    if (shared) other = a;
    _SCC_ArrayBuffer* before = BufferOf(a);

    // An iterator on every element, and one at the upper bound.
    Iter its[6];
    for (int i = 0; i < 6; ++i) its[i].SetArray(&a, 10 + i);
    Recorder rec(&a);
    a.Insert(c.pos, c.count);

    EXPECT_EQ(BoundsOf(a), c.after);
    ASSERT_EQ(rec.Codes(), V{1});
    SCC_ArrayParam const& p = rec.entries[0].param;
    EXPECT_EQ(p.pArray, static_cast<_SCC_Array*>(&a));
    EXPECT_EQ(FieldsOf(p),
              (V{c.pos, c.count, c.fwdFrom, c.fwdTo, c.fwdCount, c.backFrom, c.backTo, c.backCount, 0, 0}));
    EXPECT_EQ(rec.entries[0].content.size(), size_t(c.after.second - c.after.first)); // told after the change

    // Every iterator stands on its element; the one at the old upper bound moved with the
    // forward block if that block reached it.
    for (int i = 0; i < 5; ++i) EXPECT_EQ(a[its[i].GetIndex()], values[i]) << "element " << i;
    int const endShift = (15 >= c.fwdFrom && 15 <= c.fwdFrom + c.fwdCount) ? c.fwdTo - c.fwdFrom : 0;
    EXPECT_EQ(its[5].GetIndex(), 15 + endShift);
    if (shared) {
        EXPECT_EQ(Content(other), values);
        EXPECT_EQ(BufferOf(other), before);
        EXPECT_NE(BufferOf(a), before);
    }
}

TEST(Array, InsertFollowsEveryRowOfItsTable) {
    for (InsertCase const& c : kInsertCases)
        for (bool shared : {false, true}) CheckInsert(c, shared);

    // An array without a buffer: all blocks 0; a count of 0 makes no buffer but is still told.
    SCC_Array<int> empty;
    Recorder rec(&empty);
    empty.Insert(-4, 2);
    EXPECT_EQ(BoundsOf(empty), Bounds(-4, -2));
    EXPECT_EQ(FieldsOf(rec.entries.at(0).param), (V{-4, 2, 0, 0, 0, 0, 0, 0, 0, 0}));
    empty.Clear();
    empty.Insert(3, 0);
    EXPECT_EQ(BufferOf(empty), nullptr);
    EXPECT_EQ(rec.Codes(), (V{1, 2, 1}));
}

TEST(Array, DeleteAndClear) {
    FailureLog failures;
    // A positive count: told before the change, iterators on deleted elements go nowhere.
    SCC_Array<int> a;
    Fill(a, 0, {0, 1, 2, 3, 4});
    Iter at[6];
    for (int i = 0; i < 6; ++i) at[i].SetArray(&a, i);
    Recorder rec(&a);
    a.Delete(1, 2);
    EXPECT_EQ(Content(a), (V{0, 3, 4}));
    int const expected[6] = {0, kNowhere, kNowhere, 1, 2, 3};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(at[i].GetIndex(), expected[i]) << i;
    ASSERT_EQ(rec.Codes(), V{2});
    EXPECT_EQ(rec.entries[0].content, (V{0, 1, 2, 3, 4}));
    EXPECT_EQ(FieldsOf(rec.entries[0].param), (V{1, 2, 3, 1, 2, 0, 0, 1, 1, 2}));

    // Ranges out of bounds do nothing and say nothing.
    for (Bounds r : {Bounds(3, 5), Bounds(-1, 1), Bounds(1, 5), Bounds(0, -1), Bounds(3, 0), Bounds(3, -1)})
        a.Delete(r.first, r.second);
    EXPECT_EQ(Content(a), (V{0, 3, 4}));
    EXPECT_EQ(rec.entries.size(), 1u);

    // A negative count deletes the elements directly below pos; those below them move up.
    SCC_Array<int> n;
    Fill(n, 0, {0, 1, 2, 3, 4});
    Recorder nrec(&n);
    n.Delete(3, -2);
    EXPECT_EQ(BoundsOf(n), Bounds(2, 5));
    EXPECT_EQ(Content(n), (V{0, 3, 4}));
    EXPECT_EQ(FieldsOf(nrec.entries.at(0).param), (V{3, -2, 3, 3, 2, 0, 2, 1, 1, 2}));

    // Deleting everything leaves no buffer and bounds 0; a sharer keeps its content.
    SCC_Array<int> b;
    Fill(b, 7, {1, 2, 3});
    SCC_Array<int> keeper(b);
    b.Delete(7, 3);
    EXPECT_EQ(BoundsOf(b), Bounds(0, 0));
    EXPECT_EQ(BufferOf(b), nullptr);
    EXPECT_EQ(Content(keeper), (V{1, 2, 3}));

    // Clear: told after the content is gone; an iterator at index 0 keeps it, others go.
    SCC_Array<int> c;
    Fill(c, -2, {1, 2, 3, 4});
    Iter c0, c1;
    c0.SetArray(&c, 0);
    c1.SetArray(&c, 1);
    Recorder crec(&c);
    c.Clear();
    ASSERT_EQ(crec.Codes(), V{2});
    EXPECT_TRUE(crec.entries[0].content.empty());
    EXPECT_EQ(FieldsOf(crec.entries[0].param), (V{-2, 4, 0, 0, 0, 0, 0, 0, -2, 4}));
    EXPECT_EQ(c0.GetIndex(), 0);
    EXPECT_EQ(c1.GetIndex(), kNowhere);
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
    EXPECT_EQ(BufferOf(a)->GetRefCount(), 2);
    b[0] = 10;
    EXPECT_EQ(Content(a), (V{1, 2, 3}));
    EXPECT_EQ(Content(b), (V{10, 2, 3}));
    EXPECT_TRUE(ra.entries.empty()); // a's hooks are told nothing
    ASSERT_EQ(rb.Codes(), V{3});
    EXPECT_EQ(rb.entries[0].param.pArray, static_cast<_SCC_Array*>(&b));
    EXPECT_EQ(FieldsOf(rb.entries[0].param), V(10, 0));
    EXPECT_EQ(BufferOf(a)->GetRefCount(), 1);

    // Reads through const access or FastGetAt don't unshare, nor does self-assignment.
    SCC_Array<int> c;
    c = a;
    EXPECT_EQ(c.FastGetAt(1), 2);
    EXPECT_EQ(static_cast<SCC_Array<int> const&>(c)[2], 3);
    c = c;
    EXPECT_EQ(BufferOf(c), BufferOf(a));
    c.Insert(0, 1); // the hooks of the source stay there
    EXPECT_TRUE(ra.entries.empty());

    // The copy of a shared buffer keeps its allocated bounds while the new bounds fit.
    Probe<int> p;
    Fill(p, 0, {1, 2, 3});
    V const before = AllocationOf(p.Buf());
    SCC_Array<int> sharer(p);
    p.CheckArray(1);
    EXPECT_EQ(AllocationOf(p.Buf()), before);
    EXPECT_NE(static_cast<_SCC_ArrayBuffer*>(p.Buf()), BufferOf(sharer));
}

TEST(Array, ChangeBoundsValidityAndTheUntypedBodies) {
    FailureLog failures;
    Probe<int> a;
    Recorder rec(&a);
    a.ChangeBounds(-3, 3);
    for (int i = -3; i < 3; ++i) a[i] = i * 10;
    a.ChangeBounds(-1, 2); // in place: nothing told
    EXPECT_EQ(Content(a), (V{-10, 0, 10}));
    a.ChangeBounds(-20, 1); // a new buffer with the overlap
    EXPECT_EQ(rec.Codes(), (V{3, 3}));
    EXPECT_EQ(a[-1], -10);
    EXPECT_EQ(a[0], 0);
    a.ChangeBounds(5, 5); // an empty range empties the array
    EXPECT_EQ(a.Buf(), nullptr);
    EXPECT_EQ(BoundsOf(a), Bounds(0, 0));
    EXPECT_EQ(rec.Codes(), (V{3, 3, 3}));
    a.ChangeBounds(4, 2); // without a buffer: nothing at all
    EXPECT_EQ(rec.Codes(), (V{3, 3, 3}));

    // Each violated condition of the buffer fails a check of its own.
    a.ChangeBounds(0, 4);
    EXPECT_EQ(a.IsValid(), 1);
    EXPECT_EQ(failures.Count(), 0u);
    _SCC_ArrayBuffer* b = a.Buf();
    V const saved = AllocationOf(b);
    b->AllocLower = 1;
    b->AllocUpper = 3;
    EXPECT_EQ(a.IsValid(), 0); // two conditions, then the array's own check
    EXPECT_EQ(failures.Take().size(), 3u);
    b->AllocLower = saved[0];
    b->AllocUpper = saved[3];

    // CopyData, and sorting an array that has no comparison.
    a.CallCopyData();
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    a.SortRange(0, 2, 1);
    Strings const messages = failures.Take();
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
    EXPECT_EQ(AllocationOf(high.Buf())[3], INT_MAX); // the reserve is cut at the end
    high[INT_MAX - 1] = 2;
    EXPECT_THROW(high.Insert(INT_MAX - 2, 5), std::bad_alloc);
    EXPECT_EQ(high.GetUpperBound(), INT_MAX); // nothing changed
    Probe<int> low;
    low.ChangeBounds(INT_MIN + 2, INT_MIN + 5);
    EXPECT_EQ(AllocationOf(low.Buf())[0], INT_MIN);
    EXPECT_THROW(low.Insert(INT_MIN + 1, -5), std::bad_alloc);
    EXPECT_EQ(low.GetLowerBound(), INT_MIN + 2);
}

TEST(Array, IteratorOperations) {
    FailureLog failures;
    SCC_Array<int> a;
    Fill(a, 3, {30, 40, 50});
    Iter it;
    EXPECT_EQ(it.GetIndex(), kNowhere);
    EXPECT_EQ(it.IsDone(), 1);
    *it = 5; // no array: a check, and a scratch element
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});

    it.SetArray(&a); // 0x7FFFFFFF stands for the lower bound
    EXPECT_EQ(*it, 30);
    EXPECT_EQ(it++, 3);
    EXPECT_EQ(++it, 5);
    EXPECT_EQ(++it, 6);
    EXPECT_EQ(it.IsDone(), 1);
    EXPECT_EQ(--it, 5);
    *it = 55;
    EXPECT_EQ(a[5], 55);
    it.SetIndex(kNowhere);
    EXPECT_EQ(++it, INT_MIN); // no check: the position wraps
    it.SetIndex(4);

    // Copies follow the same array from the same place.
    Iter copy(it);
    Iter assigned;
    assigned = it;
    a.Insert(3, 1);
    EXPECT_EQ(copy.GetIndex(), 5);
    EXPECT_EQ(assigned.GetIndex(), 5);
    EXPECT_EQ(copy.GetArray(), &a);

    it.Reset();
    a.Insert(3, 1);
    EXPECT_EQ(it.GetIndex(), kNowhere);
    EXPECT_EQ(it.GetRoot(), nullptr);

    // A null record fails a check; codes other than 1 and 2 are ignored.
    copy.OnNotification(1, nullptr);
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    SCC_ArrayParam moveAll{};
    moveAll.nFwdTo = 100;
    moveAll.nFwdCount = 1000;
    int const before = copy.GetIndex();
    copy.OnNotification(3, &moveAll);
    EXPECT_EQ(copy.GetIndex(), before);
    copy.OnNotification(1, &moveAll);
    EXPECT_EQ(copy.GetIndex(), before + 100);

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

TEST(Array, SharedPointerElementsAndSlotsAboveTheBound) {
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
        EXPECT_EQ(last->GetRefCount(), 1);
        a.Append(nullptr); // overwrites that slot
        EXPECT_EQ(deaths, 1);
        a.Delete(0, 1); // moves the rest down over the first, which dies; the old top keeps a copy
        EXPECT_EQ(deaths, 2);
    }
    EXPECT_EQ(deaths, 4);

    // An element type without comparison or equality is enough for a plain array.
    struct Plain {
        int v = 0;
    };
    SCC_Array<Plain> plain;
    plain.Append(Plain{3});
    plain.Insert(0, 1);
    EXPECT_EQ(plain[1].v, 3);
}

} // namespace
