#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace sorttest {

// An element with a key and an identity: elements with equal keys compare equal but can be told
// apart, so the order in which a sort leaves them is visible.
struct Item {
    int key = 0;
    int id = 0;
    bool operator==(Item const& o) const { return key == o.key && id == o.id; }
};

// The default comparison of Item, found by the sort object through argument-dependent lookup.
inline int SCC_Compare(Item const& a, Item const& b) { return (a.key > b.key) - (a.key < b.key); }

} // namespace sorttest

namespace {

using scctest::Content;
using scctest::FailureLog;
using scctest::Fill;
using scctest::kNoMessage;
using sorttest::Item;
using V = std::vector<int>;
using Range = std::pair<int32_t, int32_t>;
using Calls = std::vector<std::pair<int, int>>;

// The sort written out plainly, recursive, on a vector from index 0, recording its comparisons,
// swaps and short sorts by index. A range of up to 8 goes to a selection sort; a longer one is
// partitioned around its middle element; the smaller part is sorted before the larger one.
struct Reference {
    std::vector<Item> v;
    int order;
    Calls comps, swaps, shortSorts;

    int Comp(int i, int j) {
        comps.push_back({i, j});
        return sorttest::SCC_Compare(v[i], v[j]) * order;
    }
    void Swap(int i, int j) {
        swaps.push_back({i, j});
        std::swap(v[i], v[j]);
    }
    void Sort(int lo, int hi) {
        if (hi - lo + 1 <= 8) {
            shortSorts.push_back({lo, hi});
            for (int top = hi; top > lo; --top) {
                int greatest = lo;
                for (int i = lo + 1; i <= top; ++i)
                    if (Comp(i, greatest) > 0) greatest = i;
                Swap(greatest, top);
            }
            return;
        }
        Swap(lo + (hi - lo + 1) / 2, lo);
        int up = lo;
        int down = hi + 1;
        for (;;) {
            do ++up;
            while (up <= hi && Comp(up, lo) <= 0);
            do --down;
            while (down > lo && Comp(down, lo) >= 0);
            if (down < up) break;
            Swap(up, down);
        }
        Swap(lo, down);
        bool const leftLarger = down - 1 - lo >= hi - up;
        if (leftLarger && up < hi) Sort(up, hi);
        if (lo + 1 < down) Sort(lo, down - 1);
        if (!leftLarger && up < hi) Sort(up, hi);
    }
};

std::vector<Item> Pattern(std::string const& name, int n, std::mt19937& rng) {
    std::vector<Item> v(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        int key = 7; // all equal
        if (name == "random") key = static_cast<int>(rng() % 1000);
        else if (name == "sorted") key = i;
        else if (name == "reversed") key = n - i;
        else if (name == "organ pipe") key = i < n / 2 ? i : n - i;
        else if (name == "few distinct") key = static_cast<int>(rng() % 4);
        v[static_cast<size_t>(i)] = Item{key, i};
    }
    return v;
}

Calls g_functionCalls; // (id, id) of every call of ByKey

int ByKey(Item const& a, Item const& b) {
    g_functionCalls.push_back({a.id, b.id});
    return sorttest::SCC_Compare(a, b);
}

// A sort object of a derived class: by key, through its own Compare.
class KeySort : public SCC_Sort<Item> {
public:
    int Compare(Item const& a, Item const& b) override { return sorttest::SCC_Compare(a, b); }
};

// A sortable array of a derived class: it sorts through the virtual slots, and records them.
template <class T>
class Recording : public SCC_SortableArray<T> {
public:
    using Base = SCC_SortableArray<T>;
    using Base::Base;
    Calls comps, swaps, shortSorts;

    _SCC_ArrayBuffer* Buf() { return this->GetData(); }
    // The array's own Comp and Swap are private: these do the same through the public interface.
    int Comp(int32_t a, int32_t b) override {
        comps.push_back({a, b});
        T& x = (*this)[a];
        return this->GetSort()->Compare(x, (*this)[b]) * this->GetData()->SortOrder;
    }
    void Swap(int32_t a, int32_t b) override {
        swaps.push_back({a, b});
        T const temp = (*this)[a];
        (*this)[a] = (*this)[b];
        (*this)[b] = temp;
    }
    void ShortSort(int32_t first, int32_t last, int order) override {
        shortSorts.push_back({first, last});
        Base::ShortSort(first, last, order);
    }
};

template <class T>
_SCC_ArrayBuffer* BufferOf(SCC_SortableArray<T> const& a) {
    Recording<T> probe;
    probe.SCC_SortableArray<T>::operator=(a);
    return probe.Buf();
}

Calls Shifted(Calls calls, int by) {
    for (auto& c : calls) c = {c.first + by, c.second + by};
    return calls;
}

V Keys(std::vector<Item> const& items) {
    V keys;
    for (Item const& it : items) keys.push_back(it.key);
    return keys;
}

TEST(Sort, LeavesTheExactOrderOfTheAlgorithmOnEveryRoad) {
    std::mt19937 rng(2024);
    for (char const* pattern : {"random", "sorted", "reversed", "all equal", "organ pipe", "few distinct"}) {
        for (int n = 0; n <= 100; ++n) {
            for (int order : {1, -1, 3}) {
                SCOPED_TRACE(std::string(pattern) + " n=" + std::to_string(n) + " order=" + std::to_string(order));
                std::vector<Item> const input = Pattern(pattern, n, rng);
                int const lower = n % 3 == 0 ? -5 : 0; // some arrays start below 0
                Reference ref{input, order, {}, {}, {}};
                if (n >= 2) ref.Sort(0, n - 1);

                // The default comparison on the array's own storage, a comparison function (called
                // exactly as often), and a derived sort object.
                SCC_SortableArray<Item> plain, withFunction, withObject;
                withFunction.SetSortFunction(ByKey);
                withObject.SetSort(new KeySort);
                g_functionCalls.clear();
                for (SCC_SortableArray<Item>* a : {&plain, &withFunction, &withObject}) {
                    Fill(*a, lower, input);
                    a->Sort(lower, n, order);
                    ASSERT_EQ(Content(*a), ref.v);
                }
                ASSERT_EQ(g_functionCalls.size(), ref.comps.size());

                // A derived array: every Comp, Swap and ShortSort goes through its slots.
                Recording<Item> recording;
                Fill(recording, lower, input);
                recording.Sort(lower, n, order);
                ASSERT_EQ(Content(recording), ref.v);
                ASSERT_EQ(recording.swaps, Shifted(ref.swaps, lower));
                ASSERT_EQ(recording.shortSorts, Shifted(ref.shortSorts, lower));
                ASSERT_EQ(recording.comps, Shifted(ref.comps, lower));

                // Integers with the default comparison: the same ordered permutation.
                SCC_SortableArray<int> ints;
                V sortedKeys = Keys(input);
                Fill(ints, lower, sortedKeys);
                ints.Sort(lower, n, order);
                std::sort(sortedKeys.begin(), sortedKeys.end());
                if (order < 0) std::reverse(sortedKeys.begin(), sortedKeys.end());
                ASSERT_EQ(Content(ints), sortedKeys);
                ASSERT_EQ(Keys(ref.v), sortedKeys);
            }
        }
    }
}

TEST(Sort, RangesStoredOrderAndChecks) {
    FailureLog failures;
    // Only the range is sorted; the rest stays as it was.
    SCC_SortableArray<int> part;
    Fill(part, 10, {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 99, 98});
    part.Sort(12, 9, 1);
    EXPECT_EQ(Content(part), (V{9, 8, 0, 1, 2, 3, 4, 5, 6, 7, 99, 98}));

    // No buffer: nothing at all; a count below 2 only stores the order.
    Recording<int> r;
    r.Sort(0, 5, -1);
    EXPECT_EQ(r.Buf(), nullptr);
    Fill(r, 0, {3, 1, 2});
    r.Sort(0, 0, -1);
    EXPECT_EQ(r.Buf()->SortOrder, -1);
    r.Sort(1, 1, 2);
    EXPECT_EQ(r.Buf()->SortOrder, 2);
    EXPECT_EQ(Content(r), (V{3, 1, 2}));
    EXPECT_TRUE(r.comps.empty() && r.swaps.empty());
    EXPECT_EQ(failures.Count(), 0u);

    // Order 0 fails the check after it has been stored; the sort runs with every comparison 0.
    std::vector<Item> items;
    for (int i = 0; i < 12; ++i) items.push_back(Item{i % 3, i});
    SCC_SortableArray<Item> zero;
    Fill(zero, 0, items);
    Reference ref{items, 0, {}, {}, {}};
    ref.Sort(0, 11);
    zero.Sort(0, 12, 0);
    EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});
    EXPECT_EQ(BufferOf(zero)->SortOrder, 0);
    EXPECT_EQ(Content(zero), ref.v);

    // A range outside the bounds fails its checks.
    SCC_SortableArray<Item> outside;
    Fill(outside, 0, items);
    outside.Sort(-1, 3, 1);
    outside.Sort(10, 5, 1);
    EXPECT_EQ(failures.Take().size(), 2u);
}

// The codes of the notifications an array sent.
struct CodeLog : SCC_EventHook<SCC_ArrayParam> {
    V codes;
    int OnNotification(int code, SCC_ArrayParam*) override {
        codes.push_back(code);
        return 0;
    }
};

TEST(Sort, SharedBuffersAndTheDirectionOfNewBuffers) {
    SCC_SortableArray<int> a;
    Fill(a, 0, {5, 3, 9, 1, 7});
    SCC_SortableArray<int> b(a);
    CodeLog log;
    b.RegisterIterator(log);
    b.Sort(0, 5, -1);
    EXPECT_EQ(log.codes, V{3}); // b got a buffer of its own, and nothing else was told
    EXPECT_EQ(Content(b), (V{9, 7, 5, 3, 1}));
    EXPECT_EQ(Content(a), (V{5, 3, 9, 1, 7}));
    EXPECT_EQ(BufferOf(a)->SortOrder, 1); // the other sharer keeps its direction

    // A descending array stays descending through growth: new buffers take the direction over.
    for (int i = 0; i < 200; ++i) b.InsertSorted(i % 17);
    V const content = Content(b);
    EXPECT_TRUE(std::is_sorted(content.rbegin(), content.rend()));
    int32_t first = 0, last = 0;
    b.FindItemPosition(16, first, last);
    EXPECT_EQ(Range(first, last), Range(0, 11));

    // Searching a shared buffer makes it the searcher's own first.
    SCC_SortableArray<int> c(b);
    CodeLog clog;
    c.RegisterIterator(clog);
    c.FindItemPosition(3, first, last);
    EXPECT_EQ(clog.codes, V{3});
    EXPECT_NE(BufferOf(c), BufferOf(b));
}

TEST(Sort, FindItemPositionOnEveryRoad) {
    // Integers under the default comparison take a search of their own; it must find the same as
    // the bisection through the virtual slots with any content (on an unsorted array the answer
    // is whatever the bisection finds), bounds and direction, and on a sorted array the range of
    // the equal items.
    std::mt19937 rng(7);
    for (int n = 0; n <= 70; ++n) {
        for (int lower : {0, -9, 4, -1000000}) {
            for (bool sorted : {false, true}) {
                V values;
                for (int i = 0; i < n; ++i) values.push_back(static_cast<int>(rng() % 12) * 2);
                SCC_SortableArray<int> quick;
                Fill(quick, lower, values);
                Recording<int> slow;
                Fill(slow, lower, values);
                for (int order : {1, -1, 0}) {
                    SCOPED_TRACE(std::to_string(n) + " " + std::to_string(lower) + " " + std::to_string(order));
                    int const count = sorted && order ? n : 0; // 0: stores the direction, sorts nothing
                    quick.Sort(lower, count, order);
                    slow.Sort(lower, count, order);
                    V const now = Content(quick);
                    ASSERT_EQ(Content(slow), now);
                    for (int probe = -2; probe <= 25; ++probe) {
                        Range q, s;
                        quick.FindItemPosition(probe, q.first, q.second);
                        slow.FindItemPosition(probe, s.first, s.second);
                        ASSERT_EQ(q, s) << probe;
                        ASSERT_TRUE(n ? lower <= q.first && q.first <= q.second && q.second <= lower + n : q == Range(0, 0));
                        if (!count) continue;
                        auto range = order > 0 ? std::equal_range(now.begin(), now.end(), probe)
                                               : std::equal_range(now.begin(), now.end(), probe, std::greater<int>());
                        ASSERT_EQ(q, Range(lower + static_cast<int32_t>(range.first - now.begin()),
                                           lower + static_cast<int32_t>(range.second - now.begin())))
                            << probe;
                    }
                }
            }
        }
    }

    // Comparisons of any magnitude: only their signs count, also under a descending order.
    SCC_SortableArray<int> wide;
    wide.SetSortFunction([](int const& a, int const& b) { return a == b ? 0 : (a < b ? INT_MIN : INT_MAX); });
    Fill(wide, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    for (int order : {1, -1}) {
        wide.Sort(0, 11, order);
        for (int v = 0; v <= 12; ++v) {
            int32_t first = 0, last = 0;
            wide.FindItemPosition(v, first, last);
            int expectedFirst = ((v < 1) == (order > 0)) ? 0 : 11;
            if (v >= 1 && v <= 11) expectedFirst = order > 0 ? v - 1 : 11 - v;
            EXPECT_EQ(first, expectedFirst) << order << " " << v;
            EXPECT_EQ(last - first, (v >= 1 && v <= 11) ? 1 : 0);
        }
    }
}

TEST(Sort, InsertSortedFindAndValidPlaces) {
    SCC_SortableArray<Item> a;
    EXPECT_EQ(a.InsertSorted(Item{5, 1}), 0);
    for (Item const& item : {Item{5, 2}, Item{5, 3}, Item{1, 4}, Item{9, 5}}) a.InsertSorted(item);
    // A fourth item equal to three others lands behind them.
    EXPECT_EQ(a.InsertSorted(Item{5, 6}), 4);
    V ids;
    for (Item const& it : Content(a)) ids.push_back(it.id);
    EXPECT_EQ(ids, (V{4, 1, 2, 3, 6, 5}));
    EXPECT_EQ(a.InsertSorted(a[0]), 1); // one of its own elements

    int32_t position = -1;
    EXPECT_EQ(a.Find(Item{5, 3}, position), 1);
    EXPECT_EQ(position, 4);
    EXPECT_EQ(a.Find(Item{5, 99}, position), 0); // equal by the sort, another item
    EXPECT_EQ(position, 6);                      // the end of the equal range
    EXPECT_EQ(a.Find(Item{0, 1}, position), 0);
    EXPECT_EQ(position, 0);

    // The hooks hear of sorted insertions as of any other.
    Recording<int> r;
    CodeLog hook;
    r.RegisterIterator(hook);
    r.InsertSorted(3);
    r.InsertSorted(1);
    EXPECT_EQ(hook.codes, (V{1, 1}));
    EXPECT_EQ(Content(r), (V{1, 3}));

    // Whether an element still fits between its neighbours; equal neighbours are fine.
    SCC_SortableArray<int> v;
    Fill(v, 0, {3, 3, 5, 7});
    for (int i = 0; i < 4; ++i) EXPECT_EQ(v.ItemInValidPlace(i), 1) << i;
    v[0] = 4; // above its upper neighbour
    EXPECT_EQ(v.ItemInValidPlace(0), 0);
    v[3] = 4; // below its lower one
    EXPECT_EQ(v.ItemInValidPlace(3), 0);
    v[2] = 2;
    EXPECT_EQ(v.ItemInValidPlace(2), 0);
    EXPECT_EQ(v.ItemInValidPlace(9), 0); // outside: nothing touched
    EXPECT_EQ(v.GetUpperBound(), 4);
    SCC_SortableArray<int> one;
    one.Append(1);
    EXPECT_EQ(one.ItemInValidPlace(5), 1); // one element: 1 for any index
    SCC_SortableArray<int> none;
    EXPECT_EQ(none.ItemInValidPlace(0), 0);
    EXPECT_EQ(none.GetUpperBound(), 0);
}

// A sort object that owns a member and can be switched between directions from outside.
class Switchable : public SCC_Sort<int> {
public:
    explicit Switchable(int* deaths) : m_Member{deaths} {}
    int Compare(int const& a, int const& b) override { return descending ? SCC_Compare(b, a) : SCC_Compare(a, b); }
    bool descending = false;

private:
    struct Member {
        int* deaths;
        ~Member() { ++*deaths; }
    } m_Member;
};

TEST(Sort, SortObjectsAreSharedAndDestroyedFully) {
    int deaths = 0;
    {
        SCC_SortableArray<int> a;
        Switchable* sort = new Switchable(&deaths);
        a.SetSort(sort);
        Fill(a, 0, {3, 1, 2});
        SCC_SortableArray<int> b(a);
        sort->descending = true; // a change inside the shared object reaches both
        a.Sort(0, 3, 1);
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(a), (V{3, 2, 1}));
        EXPECT_EQ(Content(b), (V{3, 2, 1}));
        b.SetSortFunction(nullptr); // replaces b's field only, and does not re-sort
        EXPECT_EQ(a.GetSort(), static_cast<SCC_Sort<int>*>(sort));
        EXPECT_EQ(Content(b), (V{3, 2, 1}));
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(b), (V{1, 2, 3}));
        SCC_SortableArray<int> c;
        c = a;
        EXPECT_EQ(c.GetSort(), a.GetSort());
        c.SetSort(nullptr); // a null sort object compares as the default one
        c.Sort(0, 3, 1);
        EXPECT_EQ(Content(c), (V{1, 2, 3}));
        EXPECT_EQ(deaths, 0);
    }
    EXPECT_EQ(deaths, 1); // through SCC_SharedPointer<SCC_Sort<int>>, the member went too
}

TEST(Sort, CountedElementsAreNeitherLostNorLeaked) {
    using scctest::Counted;
    Counted::live = 0;
    {
        SCC_SortableArray<Counted> a;
        std::mt19937 rng(3);
        for (int i = 0; i < 300; ++i) a.Append(Counted(static_cast<int>(rng() % 50)));
        a.Sort(0, 300, 1);
        for (int i = 0; i + 1 < 300; ++i) ASSERT_LE(a[i].value, a[i + 1].value);
        int32_t position = 0;
        EXPECT_EQ(a.Find(Counted(a[150].value), position), 1);
    }
    EXPECT_EQ(Counted::live, 0);
}

} // namespace
