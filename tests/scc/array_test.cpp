#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <climits>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace scctest;
using V = std::vector<int>;
using Strings = std::vector<std::string>;
using Bounds = std::pair<int, int>;
using Iter = SCC_Array<int>::Iterator;
int const kNowhere = 0x7FFFFFFF;

// A derived array: it takes the virtual slots everywhere, and shows the protected parts.
template <class T>
struct Probe : SCC_Array<T> {
    using _SCC_Array::ChangeBounds;
    using _SCC_Array::CheckArray;
    using _SCC_Array::Sort;
    _SCC_ArrayBuffer* Buf() { return this->m_Buffer; }
    void BaseCopyData() { _SCC_Array::CopyData(nullptr, 0, 0, 1); }
    int granularity = 0; // 0: the array's own
    int Granularity() override { return granularity ? granularity : SCC_Array<T>::Granularity(); }
};

// The buffer of any array, seen through a probe that shares it for a moment.
_SCC_ArrayBuffer* BufferOf(SCC_Array<int> const& array) {
    Probe<int> probe;
    probe.SCC_Array<int>::operator=(array);
    return probe.Buf();
}

Bounds BoundsOf(SCC_Array<int> const& a) { return {a.GetLowerBound(), a.GetUpperBound()}; }
V AllocationOf(_SCC_ArrayBuffer* b) { return {b->AllocLower, b->Lower, b->Upper, b->AllocUpper}; }
// pos, count, forward block (from, to, count), backward block (from, to, count), deletion (from, count).
V FieldsOf(SCC_ArrayParam const& p) {
    return {p.nPos, p.nCount, p.nFwdFrom, p.nFwdTo, p.nFwdCount, p.nBackFrom, p.nBackTo, p.nBackCount,
            p.nDelFrom, p.nDelCount};
}

// Records every notification, with the array's content at that moment.
struct Recorder : SCC_EventHook<SCC_ArrayParam> {
    explicit Recorder(SCC_Array<int>* a) : array(a) { a->RegisterIterator(*this); }
    int OnNotification(int code, SCC_ArrayParam* param) override {
        EXPECT_EQ(param->pArray, static_cast<_SCC_Array*>(array));
        codes.push_back(code);
        fields.push_back(FieldsOf(*param));
        contents.push_back(Content(*array));
        return 0;
    }
    SCC_Array<int>* array;
    V codes;
    std::vector<V> fields, contents;
};

TEST(Array, BoundsSizingAndFailedChecks) {
    FailureLog failures;
    SCC_Array<int> a;
    EXPECT_EQ(BoundsOf(a), Bounds(0, 0));
    EXPECT_EQ(a.IsValid(), 0); // no buffer reports invalid
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    EXPECT_EQ(BoundsOf(SCC_Array<int>(-3, 2)), Bounds(-3, 2));
    EXPECT_EQ(BufferOf(SCC_Array<int>(-1)), nullptr); // an empty range leaves no buffer
    EXPECT_EQ(BufferOf(SCC_Array<int>(4, 4)), nullptr);

    // Reads out of bounds fail a check each and change nothing.
    SCC_Array<int> const& ca = a;
    (void)ca[0]; // no buffer
    Fill(a, 0, {7, 8});
    (void)ca[2];
    (void)ca[-1];
    a.FastGetAt(2) = 99;
    EXPECT_EQ(failures.Take(), Strings(4, kNoMessage));
    EXPECT_EQ(BoundsOf(a), Bounds(0, 2));

    // The untyped bodies: copying data, and sorting without a comparison.
    Probe<int> p;
    p.ChangeBounds(0, 4);
    p.BaseCopyData();
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    p.Sort(0, 2, 1);
    EXPECT_EQ(failures.Take(), (Strings{"_SCC_Array::Comp is called.", "_SCC_Array::Swap is called."}));

    // Bounds that would leave the int range throw before anything changes.
    EXPECT_THROW(a[INT_MAX] = 1, std::bad_alloc);
    EXPECT_EQ(BoundsOf(a), Bounds(0, 2));
    Probe<int> high;
    high.ChangeBounds(INT_MAX - 10, INT_MAX - 4); // a quantum of 6 would reach past INT_MAX
    EXPECT_EQ(AllocationOf(high.Buf())[3], INT_MAX); // the reserve is cut at the end
    high[INT_MAX - 1] = 2;
    EXPECT_THROW(high.Insert(INT_MAX - 2, 5), std::bad_alloc);
    EXPECT_EQ(high.GetUpperBound(), INT_MAX);
    Probe<int> low;
    low.ChangeBounds(INT_MIN + 2, INT_MIN + 5);
    EXPECT_EQ(AllocationOf(low.Buf())[0], INT_MIN);
    EXPECT_THROW(low.Insert(INT_MIN + 1, -5), std::bad_alloc);
    EXPECT_EQ(low.GetLowerBound(), INT_MIN + 2);
    EXPECT_EQ(failures.Count(), 0u);

    // Each violated condition of the buffer fails a check of its own, then the array's.
    EXPECT_EQ(a.IsValid(), 1);
    BufferOf(a)->AllocLower = 1;
    BufferOf(a)->AllocUpper = 1;
    EXPECT_EQ(a.IsValid(), 0);
    EXPECT_EQ(failures.Take().size(), 3u);
}

TEST(Array, GrowthRuleReserveAndAppendingItsOwnElement) {
    Probe<int> a;
    a.Append(10); // 0 to 1 from nothing: a quantum of 1 on both sides
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, 0, 1, 2}));
    a.Append(11); // in place
    a.Append(12); // upper 3 with count 2: quantum 4, at the end that overflowed
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, 0, 3, 7}));
    a[-1] = 9; // in the reserve below
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-1, -1, 3, 7}));
    a[-2] = 8; // quantum max(2 * 4, 5) = 8 below, the upper allocation stays
    EXPECT_EQ(AllocationOf(a.Buf()), (V{-10, -2, 3, 7}));
    EXPECT_EQ(Content(a), (V{8, 9, 10, 11, 12}));

    // Granularity: twice the count, limited to 1..10000, or the class's own; the new size beats it.
    Probe<int> g;
    EXPECT_EQ(g.Granularity(), 1);
    g.ChangeBounds(0, 3);
    EXPECT_EQ(g.Granularity(), 6);
    g.ChangeBounds(0, 6000);
    EXPECT_EQ(AllocationOf(g.Buf()), (V{-3, 0, 6000, 12000}));
    EXPECT_EQ(g.Granularity(), 10000);
    Probe<int> coarse;
    coarse.granularity = 50;
    coarse.ChangeBounds(0, 3);
    EXPECT_EQ(AllocationOf(coarse.Buf()), (V{-50, 0, 3, 53}));

    // Appending an element of the array itself survives the reallocations, inline and virtual.
    SCC_Array<int> plain;
    Probe<int> probe;
    for (SCC_Array<int>* x : {&plain, static_cast<SCC_Array<int>*>(&probe)}) {
        x->Append(42);
        for (int i = 0; i < 100; ++i) x->Append((*x)[0]);
        EXPECT_EQ(Content(*x), V(101, 42));
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

void CheckInsert(InsertCase const& c) {
    SCOPED_TRACE(c.name);
    V const values{100, 101, 102, 103, 104};
    SCC_Array<int> a;
    Fill(a, 10, values);
    Iter its[6]; // one on every element, one at the upper bound
    for (int i = 0; i < 6; ++i) its[i].SetArray(&a, 10 + i);
    Recorder rec(&a);
    a.Insert(c.pos, c.count);

    EXPECT_EQ(BoundsOf(a), c.after);
    ASSERT_EQ(rec.codes, V{1});
    EXPECT_EQ(rec.fields[0],
              (V{c.pos, c.count, c.fwdFrom, c.fwdTo, c.fwdCount, c.backFrom, c.backTo, c.backCount, 0, 0}));
    EXPECT_EQ(rec.contents[0].size(), size_t(c.after.second - c.after.first)); // told after the change
    for (int i = 0; i < 5; ++i) EXPECT_EQ(a[its[i].GetIndex()], values[i]) << "element " << i;
    // The position past the end moves with the forward block if that block reaches it.
    int const endShift = (15 >= c.fwdFrom && 15 <= c.fwdFrom + c.fwdCount) ? c.fwdTo - c.fwdFrom : 0;
    EXPECT_EQ(its[5].GetIndex(), 15 + endShift);
}

TEST(Array, InsertFollowsEveryRowOfItsTable) {
    for (InsertCase const& c : kInsertCases) CheckInsert(c);

    // Without a buffer all blocks are 0; a count of 0 makes no buffer but is still told.
    SCC_Array<int> empty;
    Recorder rec(&empty);
    empty.Insert(3, 0);
    EXPECT_EQ(BufferOf(empty), nullptr);
    empty.Insert(-4, 2);
    EXPECT_EQ(BoundsOf(empty), Bounds(-4, -2));
    EXPECT_EQ(rec.fields, (std::vector<V>{{3, 0, 0, 0, 0, 0, 0, 0, 0, 0}, {-4, 2, 0, 0, 0, 0, 0, 0, 0, 0}}));
}

TEST(Array, DeleteAndClear) {
    FailureLog failures;
    SCC_Array<int> a;
    Fill(a, 0, {0, 1, 2, 3, 4});
    Iter at[6];
    for (int i = 0; i < 6; ++i) at[i].SetArray(&a, i);
    auto indices = [&at] { return V{at[0].GetIndex(), at[1].GetIndex(), at[2].GetIndex(), at[3].GetIndex(),
                                    at[4].GetIndex(), at[5].GetIndex()}; };
    Recorder rec(&a);
    a.Delete(1, 2); // told before the change
    EXPECT_EQ(Content(a), (V{0, 3, 4}));
    ASSERT_EQ(rec.codes, V{2});
    EXPECT_EQ(rec.contents[0], (V{0, 1, 2, 3, 4}));
    EXPECT_EQ(rec.fields[0], (V{1, 2, 3, 1, 2, 0, 0, 1, 1, 2}));
    EXPECT_EQ(indices(), (V{0, kNowhere, kNowhere, 1, 2, 3}));

    // Ranges out of bounds do nothing and say nothing.
    for (Bounds r : {Bounds(3, 5), Bounds(-1, 1), Bounds(1, 5), Bounds(0, -1), Bounds(3, 0), Bounds(3, -1)})
        a.Delete(r.first, r.second);
    EXPECT_EQ(Content(a), (V{0, 3, 4}));
    EXPECT_EQ(rec.codes.size(), 1u);

    // A negative count deletes the elements directly below pos; those below them move up.
    a.Delete(2, -1);
    EXPECT_EQ(BoundsOf(a), Bounds(1, 3));
    EXPECT_EQ(Content(a), (V{0, 4}));
    EXPECT_EQ(rec.fields.at(1), (V{2, -1, 2, 2, 1, 0, 1, 1, 1, 1}));
    EXPECT_EQ(indices(), (V{1, kNowhere, kNowhere, kNowhere, 2, 3}));

    // Clear: told after the content is gone, with the old bounds; without a buffer nothing.
    a.Clear();
    a.Clear();
    ASSERT_EQ(rec.codes, (V{2, 2, 2}));
    EXPECT_TRUE(rec.contents[2].empty());
    EXPECT_EQ(rec.fields[2], (V{1, 2, 0, 0, 0, 0, 0, 0, 1, 2}));
    EXPECT_EQ(failures.Count(), 0u);
}

TEST(Array, CopyOnWriteAndNewBuffers) {
    SCC_Array<int> a;
    Fill(a, 0, {1, 2, 3});
    Recorder ra(&a);
    SCC_Array<int> b(a);
    Recorder rb(&b);
    b[0] = 10; // b's hooks hear of its new buffer (only pArray set), a's hear nothing
    EXPECT_TRUE(ra.codes.empty());
    EXPECT_EQ(rb.codes, V{3});
    EXPECT_EQ(rb.fields.at(0), V(10, 0));

    // Reads through const access or FastGetAt don't unshare, nor does self-assignment.
    SCC_Array<int> c;
    c = a;
    EXPECT_EQ((V{c.FastGetAt(1), std::as_const(c)[2]}), (V{2, 3}));
    c = c;
    EXPECT_EQ(BufferOf(c), BufferOf(a));
    c.Insert(0, 1); // the hooks of the source stay there
    EXPECT_TRUE(ra.codes.empty());

    // ChangeBounds: in place when the buffer can take the bounds (nothing told), else a new
    // buffer with the overlap; an empty range empties the array; without a buffer nothing.
    Probe<int> p;
    Recorder rec(&p);
    p.ChangeBounds(-3, 3);
    for (int i = -3; i < 3; ++i) p[i] = i * 10;
    p.ChangeBounds(-1, 2);
    EXPECT_EQ(Content(p), (V{-10, 0, 10}));
    EXPECT_EQ(rec.codes, V{3});
    SCC_Array<int> sharer(p);
    V const alloc = AllocationOf(p.Buf());
    p.CheckArray(1); // a copy for a sharer keeps the allocated bounds while the new ones fit
    EXPECT_EQ(AllocationOf(p.Buf()), alloc);
    EXPECT_NE(p.Buf(), BufferOf(sharer));
    p.ChangeBounds(-20, 1);
    EXPECT_EQ((V{p[-1], p[0]}), (V{-10, 0}));
    p.ChangeBounds(5, 5);
    EXPECT_EQ(p.Buf(), nullptr);
    EXPECT_EQ(BoundsOf(p), Bounds(0, 0));
    p.ChangeBounds(4, 2);
    EXPECT_EQ(rec.codes, (V{3, 3, 3, 3}));
}

TEST(Array, IteratorOperations) {
    FailureLog failures;
    SCC_Array<int> a;
    Fill(a, 3, {30, 40, 50});
    Iter it;
    EXPECT_EQ((V{it.GetIndex(), it.IsDone()}), (V{kNowhere, 1}));
    *it = 5; // no array: a check, and a scratch element
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    it.SetArray(&a); // 0x7FFFFFFF stands for the lower bound
    EXPECT_EQ(*it, 30);
    EXPECT_EQ((V{it++, ++it, ++it, it.IsDone(), --it}), (V{3, 5, 6, 1, 5})); // in this order
    *it = 55;
    EXPECT_EQ(a[5], 55);
    it.SetIndex(kNowhere);
    EXPECT_EQ(++it, INT_MIN); // no check: the position wraps

    // Copies follow the same array from the same place; a reset iterator follows nothing.
    it.SetIndex(4);
    Iter copy(it), assigned;
    assigned = it;
    a.Insert(3, 1);
    EXPECT_EQ((V{copy.GetIndex(), assigned.GetIndex()}), (V{5, 5}));
    EXPECT_EQ(copy.GetArray(), &a);
    it.Reset();
    EXPECT_EQ(it.GetIndex(), kNowhere);
    EXPECT_EQ(it.GetRoot(), nullptr);

    // A null record fails a check; codes other than 1 and 2 are ignored.
    copy.OnNotification(1, nullptr);
    EXPECT_EQ(failures.Take(), Strings{kNoMessage});
    SCC_ArrayParam moveAll{}; // positions 0 to 1000 move up by 100
    moveAll.nFwdTo = 100;
    moveAll.nFwdCount = 1000;
    copy.SetIndex(5);
    copy.OnNotification(3, &moveAll);
    copy.OnNotification(1, &moveAll);
    EXPECT_EQ(copy.GetIndex(), 105);

    // A null array detaches; the array's end disconnects its iterators.
    copy.SetArray(nullptr, 3);
    a.Insert(3, 1);
    EXPECT_EQ((V{copy.GetIndex(), copy.IsDone()}), (V{3, 1}));
    Iter survivor;
    {
        SCC_Array<int> temporary;
        survivor.SetArray(&temporary, 0);
    }
    EXPECT_EQ(survivor.GetRoot(), nullptr);

    // The copy constructor of the untyped array moves the hooks.
    struct Moving : _SCC_Array {
        Moving() = default;
        Moving(Moving& source) : _SCC_Array(source) {}
        SCC_EventNode<SCC_ArrayParam>* Event() { return &m_Event; }
    };
    Moving source;
    SCC_EventHook<SCC_ArrayParam> hook;
    source.RegisterIterator(hook);
    Moving target(source);
    EXPECT_EQ(hook.GetRoot(), target.Event());
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
            SCC_Array<Counted> b(a), c;
            c = a;
            EXPECT_EQ(Counted::copies, 0); // sharing copies nothing
            EXPECT_EQ(Counted::live, liveWithA);
            if (n > 0) {
                b[0] = Counted(-1); // detaches b: each element copied once into the new buffer
                EXPECT_EQ(Counted::copies, n + 1);
                EXPECT_EQ((V{a[0].value, c[0].value, b[0].value}), (V{0, 0, -1}));
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
        EXPECT_EQ(last->GetRefCount(), 1); // the slot above the new upper bound is not cleared
        a.Append(nullptr);                 // until it is overwritten
        EXPECT_EQ(deaths, 1);
        a.Delete(0, 1); // the rest moves down over the first, which dies; the old top keeps a copy
        EXPECT_EQ(deaths, 2);
    }
    EXPECT_EQ(deaths, 4);

    struct Plain { int v; }; // no comparison or equality: enough for a plain array
    SCC_Array<Plain> plain;
    plain.Append(Plain{3});
    plain.Insert(0, 1);
    EXPECT_EQ(plain[1].v, 3);
}

} // namespace
