#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace sorttest {

// Equal keys compare equal but keep their identities, so the order a sort leaves them in shows.
struct Item {
    int key = 0, id = 0;
    bool operator==(Item const& o) const { return key == o.key && id == o.id; }
};

// The default comparison of Item, found by the sort object through argument-dependent lookup.
inline int SCC_Compare(Item const& a, Item const& b) { return (a.key > b.key) - (a.key < b.key); }

} // namespace sorttest

namespace {

using namespace scctest;
using sorttest::Item;
using V = std::vector<int>;
using Range = std::pair<int32_t, int32_t>;
using Calls = std::vector<std::pair<int, int>>;

// The sort written out plainly and recursively on `v`, recording its calls by index as if `v`
// started at `base`: up to 8 elements a selection sort, else a partition around the middle
// element, the smaller part sorted first.
struct Reference {
    std::vector<Item> v;
    int order, base;
    Calls comps, swaps, shortSorts;

    int Comp(int i, int j) {
        comps.push_back({i + base, j + base});
        return sorttest::SCC_Compare(v[i], v[j]) * order;
    }
    void Swap(int i, int j) {
        swaps.push_back({i + base, j + base});
        std::swap(v[i], v[j]);
    }
    void Sort(int lo, int hi) {
        if (hi - lo + 1 <= 8) {
            shortSorts.push_back({lo + base, hi + base});
            for (int top = hi; top > lo; --top) {
                int greatest = lo;
                for (int i = lo + 1; i <= top; ++i)
                    if (Comp(i, greatest) > 0) greatest = i;
                Swap(greatest, top);
            }
            return;
        }
        Swap(lo + (hi - lo + 1) / 2, lo);
        int up = lo, down = hi + 1;
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

int g_byKeyCalls = 0;
int ByKey(Item const& a, Item const& b) {
    ++g_byKeyCalls;
    return sorttest::SCC_Compare(a, b);
}

struct KeySort : SCC_Sort<Item> {
    int Compare(Item const& a, Item const& b) override { return sorttest::SCC_Compare(a, b); }
};

// A sortable array of a derived class: it sorts through the virtual slots, and records them.
template <class T>
struct Recording : SCC_SortableArray<T> {
    using Base = SCC_SortableArray<T>;
    Calls comps, swaps, shortSorts;

    _SCC_ArrayBuffer* Buf() { return this->GetData(); }
    // The array's own Comp and Swap are private: these do the same through the public interface
    // (the sort reads only the sign of a comparison).
    int Comp(int32_t a, int32_t b) override {
        comps.push_back({a, b});
        T& x = (*this)[a];
        int const c = this->GetSort()->Compare(x, (*this)[b]);
        return ((c > 0) - (c < 0)) * this->GetData()->SortOrder;
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

// Where `probe` belongs in `sorted` (ascending for a positive order, else descending) from `lower`.
Range EqualRange(V const& sorted, int32_t lower, int probe, int order) {
    auto r = order > 0 ? std::equal_range(sorted.begin(), sorted.end(), probe)
                       : std::equal_range(sorted.begin(), sorted.end(), probe, std::greater<int>());
    return {lower + int32_t(r.first - sorted.begin()), lower + int32_t(r.second - sorted.begin())};
}

TEST(Sort, LeavesTheExactOrderOfTheAlgorithmOnEveryRoad) {
    FailureLog failures;
    std::mt19937 rng(2024);
    char const* const kPatterns[] = {"random", "sorted", "reversed", "all equal", "organ pipe", "few distinct"};
    for (int pattern = 0; pattern < 6; ++pattern) {
        for (int n = 0; n <= 100; ++n) {
            for (int order : {1, -1, 3, 0}) { // order 0 fails its check, then sorts with every comparison 0
                SCOPED_TRACE(std::string(kPatterns[pattern]) + " n=" + std::to_string(n) + " order=" +
                             std::to_string(order));
                std::vector<Item> input;
                for (int i = 0; i < n; ++i) {
                    int const keys[] = {int(rng() % 1000), i, n - i, 7, i < n / 2 ? i : n - i, int(rng() % 4)};
                    input.push_back(Item{keys[pattern], i});
                }
                int const lower = n % 3 == 0 ? -5 : 0; // some arrays start below 0
                Reference ref{input, order, lower, {}, {}, {}};
                if (n >= 2) ref.Sort(0, n - 1);

                // The default comparison on the raw storage, a function (called exactly as often)
                // and a derived sort object.
                SCC_SortableArray<Item> plain, withFunction, withObject;
                withFunction.SetSortFunction(ByKey);
                withObject.SetSort(new KeySort);
                g_byKeyCalls = 0;
                for (SCC_SortableArray<Item>* a : {&plain, &withFunction, &withObject}) {
                    Fill(*a, lower, input);
                    a->Sort(lower, n, order);
                    ASSERT_EQ(Content(*a), ref.v);
                }
                ASSERT_EQ(g_byKeyCalls, int(ref.comps.size()));

                // A derived array: every Comp, Swap and ShortSort goes through its slots.
                Recording<Item> recording;
                Fill(recording, lower, input);
                recording.Sort(lower, n, order);
                ASSERT_EQ(Content(recording), ref.v);
                ASSERT_EQ(recording.swaps, ref.swaps);
                ASSERT_EQ(recording.shortSorts, ref.shortSorts);
                ASSERT_EQ(recording.comps, ref.comps);

                // Integers with the default comparison: the same keys, an ordered permutation.
                SCC_SortableArray<int> ints;
                V keys, refKeys;
                for (Item const& it : input) keys.push_back(it.key);
                for (Item const& it : ref.v) refKeys.push_back(it.key);
                Fill(ints, lower, keys);
                ints.Sort(lower, n, order);
                ASSERT_EQ(Content(ints), refKeys);
                std::sort(keys.begin(), keys.end(), [order](int x, int y) { return x * order < y * order; });
                ASSERT_EQ(refKeys, order ? keys : refKeys);
            }
        }
    }
    EXPECT_EQ(failures.Take(), std::vector<std::string>(6 * 100 * 5, kNoMessage)); // each of n > 0 in order 0
}

// The codes of the notifications an array sent.
struct CodeLog : SCC_EventHook<SCC_ArrayParam> {
    V codes;
    int OnNotification(int code, SCC_ArrayParam*) override {
        codes.push_back(code);
        return 0;
    }
};

TEST(Sort, RangesStoredOrderSharingAndChecks) {
    FailureLog failures;
    SCC_SortableArray<int> part; // only the range is sorted
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
    EXPECT_TRUE(r.comps.empty() && r.swaps.empty());
    part.Sort(9, 3, 1); // ranges outside the bounds fail their checks
    part.Sort(20, 5, 1);
    EXPECT_EQ(failures.Take().size(), 2u);

    // Sorting a shared buffer makes it the sorter's own first; the other sharer keeps its order.
    SCC_SortableArray<int> a;
    Fill(a, 0, {5, 3, 9, 1, 7});
    SCC_SortableArray<int> b(a);
    CodeLog log;
    b.RegisterIterator(log);
    b.Sort(0, 5, -1);
    EXPECT_EQ(log.codes, V{3});
    EXPECT_EQ(Content(b), (V{9, 7, 5, 3, 1}));
    EXPECT_EQ(Content(a), (V{5, 3, 9, 1, 7}));
    EXPECT_EQ(BufferOf(a)->SortOrder, 1);

    // A descending array stays descending through growth: new buffers take the direction over.
    for (int i = 0; i < 200; ++i) b.InsertSorted(i % 17);
    V const content = Content(b);
    EXPECT_TRUE(std::is_sorted(content.rbegin(), content.rend()));
    EXPECT_EQ(std::count(log.codes.begin(), log.codes.end(), 1), 200); // each insertion told as such

    // So does searching.
    SCC_SortableArray<int> c(b);
    CodeLog clog;
    c.RegisterIterator(clog);
    Range found;
    c.FindItemPosition(3, found.first, found.second);
    EXPECT_EQ(clog.codes, V{3});
    EXPECT_NE(BufferOf(c), BufferOf(b));
}

TEST(Sort, FindItemPositionOnEveryRoad) {
    // Integers under the default comparison take a search of their own: it must find what the
    // bisection finds through a comparison function on the raw storage and through the virtual
    // slots, with any content, bounds and direction (on an unsorted array whatever the bisection
    // finds), and on a sorted array the equal range. The function returns the extremes of int:
    // only the signs may count, also times a descending order.
    auto wide = [](int const& a, int const& b) { return a == b ? 0 : (a < b ? INT_MIN : INT_MAX); };
    std::mt19937 rng(7);
    for (int n = 0; n <= 70; ++n) {
        for (int lower : {0, -9, 4, -1000000}) {
            for (bool sorted : {false, true}) {
                V values;
                for (int i = 0; i < n; ++i) values.push_back(static_cast<int>(rng() % 12) * 2);
                SCC_SortableArray<int> quick, function;
                Recording<int> slow;
                function.SetSortFunction(wide);
                slow.SetSortFunction(wide);
                for (SCC_SortableArray<int>* a : {&quick, &function, static_cast<SCC_SortableArray<int>*>(&slow)})
                    Fill(*a, lower, values);
                for (int order : {1, -1, 0}) {
                    SCOPED_TRACE(std::to_string(n) + " " + std::to_string(lower) + " " + std::to_string(order));
                    int const count = sorted && order ? n : 0; // 0: stores the direction, sorts nothing
                    quick.Sort(lower, count, order);
                    function.Sort(lower, count, order);
                    slow.Sort(lower, count, order);
                    V const now = Content(quick);
                    ASSERT_EQ(Content(function), now);
                    ASSERT_EQ(Content(slow), now);
                    for (int probe = -2; probe <= 25; ++probe) {
                        Range q, f, s;
                        quick.FindItemPosition(probe, q.first, q.second);
                        function.FindItemPosition(probe, f.first, f.second);
                        slow.FindItemPosition(probe, s.first, s.second);
                        ASSERT_EQ(q, s) << probe;
                        ASSERT_EQ(f, s) << probe;
                        ASSERT_TRUE(n ? lower <= q.first && q.first <= q.second && q.second <= lower + n
                                      : q == Range(0, 0));
                        ASSERT_EQ(q, count ? EqualRange(now, lower, probe, order) : s) << probe;
                    }
                }
            }
        }
    }
}

TEST(Sort, InsertSortedFindAndValidPlaces) {
    SCC_SortableArray<Item> a;
    EXPECT_EQ(a.InsertSorted(Item{5, 1}), 0);
    for (Item const& item : {Item{5, 2}, Item{5, 3}, Item{1, 4}, Item{9, 5}}) a.InsertSorted(item);
    EXPECT_EQ(a.InsertSorted(Item{5, 6}), 4); // behind the items equal to it
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

    // Whether an element still fits between its neighbours; equal neighbours are fine, an index
    // outside the bounds touches nothing, one element fits at any index.
    auto places = [](SCC_SortableArray<int>& array, V const& values) {
        Fill(array, 0, values);
        V result;
        for (int i = -1; i <= int(values.size()); ++i) result.push_back(array.ItemInValidPlace(i));
        EXPECT_EQ(array.GetUpperBound(), int(values.size()));
        return result;
    };
    SCC_SortableArray<int> fits, misfits, one, none;
    EXPECT_EQ(places(fits, {3, 3, 5, 7, 7}), (V{0, 1, 1, 1, 1, 1, 0}));
    EXPECT_EQ(places(misfits, {5, 1, 4, 2, 2, 9, 3}), (V{0, 0, 0, 0, 0, 1, 0, 0, 0}));
    EXPECT_EQ(places(one, {1}), (V{1, 1, 1}));
    EXPECT_EQ(places(none, {}), (V{0, 0}));
}

TEST(Sort, SortObjectsAreSharedAndDestroyedFully) {
    // A sort object that owns a member and can be switched between directions from outside.
    struct Switchable : SCC_Sort<int> {
        int sign = 1;
        std::shared_ptr<int> member = std::make_shared<int>();
        int Compare(int const& a, int const& b) override { return sign * SCC_Compare(a, b); }
    };
    std::weak_ptr<int> member;
    {
        SCC_SortableArray<int> a;
        Switchable* sort = new Switchable;
        member = sort->member;
        a.SetSort(sort);
        Fill(a, 0, {3, 1, 2});
        SCC_SortableArray<int> b(a), c;
        sort->sign = -1; // a change inside the shared object reaches both
        a.Sort(0, 3, 1);
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(a), (V{3, 2, 1}));
        EXPECT_EQ(Content(b), (V{3, 2, 1}));
        b.SetSortFunction(nullptr); // replaces b's field only, and does not re-sort
        EXPECT_EQ(a.GetSort(), static_cast<SCC_Sort<int>*>(sort));
        EXPECT_EQ(Content(b), (V{3, 2, 1}));
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(b), (V{1, 2, 3}));
        c = a;
        EXPECT_EQ(c.GetSort(), a.GetSort());
        c.SetSort(nullptr); // a null sort object compares as the default one, on either road
        c.Sort(0, 3, 1);
        EXPECT_EQ(Content(c), (V{1, 2, 3}));
        Recording<int> r;
        Fill(r, 0, {1, 2, 3});
        r.SetSort(nullptr);
        Range found;
        r.FindItemPosition(3, found.first, found.second);
        EXPECT_EQ(found, Range(2, 3));
        EXPECT_FALSE(member.expired());
    }
    EXPECT_TRUE(member.expired()); // through SCC_SharedPointer<SCC_Sort<int>>, the member went too
}

TEST(Sort, CountedElementsAreNeitherLostNorLeaked) {
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
