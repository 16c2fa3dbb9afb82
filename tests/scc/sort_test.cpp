#include "scc/scc_test_support.h"

#include <mortar/scc/scc_arr.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
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

using scctest::FailureLog;
using scctest::kNoMessage;
using sorttest::Item;

using Calls = std::vector<std::pair<int, int>>;

// The sort written out plainly, recursive, on a vector from index 0. It records its comparisons
// and swaps by index. A range of up to 8 goes to a selection sort; a longer one is partitioned
// around its middle element; the smaller part is sorted before the larger one.
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
    void ShortSort(int lo, int hi) {
        shortSorts.push_back({lo, hi});
        for (int top = hi; top > lo; --top) {
            int greatest = lo;
            for (int i = lo + 1; i <= top; ++i)
                if (Comp(i, greatest) > 0) greatest = i;
            Swap(greatest, top);
        }
    }
    void Sort(int lo, int hi) {
        int const n = hi - lo + 1;
        if (n <= 8) {
            ShortSort(lo, hi);
            return;
        }
        Swap(lo + n / 2, lo);
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
        bool const left = lo + 1 < down;
        bool const right = up < hi;
        if (leftLarger) {
            if (right) Sort(up, hi);
            if (left) Sort(lo, down - 1);
        } else {
            if (left) Sort(lo, down - 1);
            if (right) Sort(up, hi);
        }
    }
};

std::vector<Item> Pattern(std::string const& name, int n, std::mt19937& rng) {
    std::vector<Item> v(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        int key = 0;
        if (name == "random") key = static_cast<int>(rng() % 1000);
        else if (name == "sorted") key = i;
        else if (name == "reversed") key = n - i;
        else if (name == "all equal") key = 7;
        else if (name == "organ pipe") key = i < n / 2 ? i : n - i;
        else if (name == "few distinct") key = static_cast<int>(rng() % 4);
        v[static_cast<size_t>(i)] = Item{key, i};
    }
    return v;
}

// The search for the range of items equal to `item`, written out plainly step by step, with the
// middle rounded down: c(i) is the comparison of element i with the item.
template <class C>
std::pair<int, int> ReferenceRange(int lower, int upper, C c) {
    if (upper <= lower) return {0, 0};
    int first = lower;
    int last = upper - 1;
    int c1 = c(first);
    int c2 = c(last);
    auto same = [](int a, int b) { return static_cast<long long>(a) * b > 0; };
    if (c1 >= 0) {
        last = first;
    } else if (c2 < 0) {
        last = last + 1;
        first = last;
    } else if (c2 == 0) {
        first = last;
        last = last + 1;
    } else {
        while (last - first > 0) {
            int mid = static_cast<int>(std::floor((static_cast<double>(first) + last) / 2));
            int const cm = c(mid);
            if (!same(cm, c1)) {
                c2 = cm;
                if (last == mid && cm != 0) mid = mid - 1;
                last = mid;
            }
            if (!same(cm, c2)) {
                c1 = cm;
                if (first == mid && cm != 0) mid = mid + 1;
                first = mid;
            }
        }
    }
    while (first > lower && c(first - 1) == 0) --first;
    while (last < upper && c(last) == 0) ++last;
    return {first, last};
}

char const* const kPatterns[] = {"random", "sorted", "reversed", "all equal", "organ pipe", "few distinct"};

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

template <class T>
std::vector<T> Content(SCC_Array<T> const& a) {
    std::vector<T> v;
    for (int i = a.GetLowerBound(); i < a.GetUpperBound(); ++i) v.push_back(a[i]);
    return v;
}

template <class T>
void Load(SCC_Array<T>& a, int lower, std::vector<T> const& values) {
    a.Insert(lower, static_cast<int>(values.size()));
    for (size_t i = 0; i < values.size(); ++i) a[lower + static_cast<int>(i)] = values[i];
}

Calls Shifted(Calls calls, int by) {
    for (auto& c : calls) c = {c.first + by, c.second + by};
    return calls;
}

TEST(Sort, LeavesTheExactOrderOfTheAlgorithmOnEveryRoad) {
    std::mt19937 rng(2024);
    for (char const* pattern : kPatterns) {
        for (int n = 0; n <= 100; ++n) {
            for (int order : {1, -1, 3}) {
                SCOPED_TRACE(std::string(pattern) + " n=" + std::to_string(n) + " order=" + std::to_string(order));
                std::vector<Item> const input = Pattern(pattern, n, rng);
                int const lower = n % 3 == 0 ? -5 : 0; // some arrays start below 0
                Reference ref{input, order, {}, {}, {}};
                if (n >= 2) ref.Sort(0, n - 1);

                // The default comparison, on the array's own storage.
                SCC_SortableArray<Item> plain;
                Load(plain, lower, input);
                plain.Sort(lower, n, order);
                ASSERT_EQ(Content(plain), ref.v);

                // A comparison function: called exactly as often and on the same pairs.
                SCC_SortableArray<Item> withFunction;
                withFunction.SetSortFunction(ByKey);
                Load(withFunction, lower, input);
                g_functionCalls.clear();
                withFunction.Sort(lower, n, order);
                ASSERT_EQ(Content(withFunction), ref.v);
                ASSERT_EQ(g_functionCalls.size(), ref.comps.size());

                // A derived sort object.
                SCC_SortableArray<Item> withObject;
                withObject.SetSort(new KeySort);
                Load(withObject, lower, input);
                withObject.Sort(lower, n, order);
                ASSERT_EQ(Content(withObject), ref.v);

                // A derived array: every Comp, Swap and ShortSort goes through its slots.
                Recording<Item> recording;
                Load(recording, lower, input);
                recording.Sort(lower, n, order);
                ASSERT_EQ(Content(recording), ref.v);
                ASSERT_EQ(recording.swaps, Shifted(ref.swaps, lower));
                ASSERT_EQ(recording.shortSorts, Shifted(ref.shortSorts, lower));
                ASSERT_EQ(recording.comps, Shifted(ref.comps, lower));

                // Integers with the default comparison: an ordered permutation, the same as the
                // algorithm's.
                SCC_SortableArray<int> ints;
                std::vector<int> keys;
                for (Item const& it : input) keys.push_back(it.key);
                Load(ints, lower, keys);
                ints.Sort(lower, n, order);
                std::vector<int> expected;
                for (Item const& it : ref.v) expected.push_back(it.key);
                ASSERT_EQ(Content(ints), expected);
                std::vector<int> sortedKeys = keys;
                if (order > 0) std::sort(sortedKeys.begin(), sortedKeys.end());
                else std::sort(sortedKeys.begin(), sortedKeys.end(), std::greater<int>());
                ASSERT_EQ(Content(ints), sortedKeys);
                for (int i = lower; i + 1 < lower + n; ++i) ASSERT_LE(withFunction.ItemInValidPlace(i), 1);
            }
        }
    }
}

TEST(Sort, SubRangesShortSortsAndStoredOrder) {
    FailureLog failures;
    // Exactly 8 elements: one selection sort; 9: one partition, then the parts.
    for (int n : {8, 9}) {
        Recording<int> a;
        std::vector<int> values;
        for (int i = 0; i < n; ++i) values.push_back((i * 5) % n);
        Load(a, 0, values);
        a.Sort(0, n, 1);
        if (n == 8) EXPECT_EQ(a.shortSorts, (Calls{{0, 7}}));
        else EXPECT_EQ(a.shortSorts.size(), 2u);
        std::vector<int> const sorted = Content(a);
        EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
    }

    // Only the range is sorted; the rest stays as it was.
    SCC_SortableArray<int> part;
    Load(part, 10, {9, 8, 7, 6, 5, 4, 3, 2, 1, 0, 99, 98});
    part.Sort(12, 9, 1);
    EXPECT_EQ(Content(part), (std::vector<int>{9, 8, 0, 1, 2, 3, 4, 5, 6, 7, 99, 98}));

    // A count below 2 only stores the order; no buffer: nothing at all.
    Recording<int> r;
    r.Sort(0, 5, -1);
    EXPECT_EQ(r.Buf(), nullptr);
    Load(r, 0, {3, 1, 2});
    r.Sort(0, 0, -1);
    EXPECT_EQ(r.Buf()->SortOrder, -1);
    r.Sort(1, 1, 2);
    EXPECT_EQ(r.Buf()->SortOrder, 2);
    EXPECT_EQ(Content(r), (std::vector<int>{3, 1, 2}));
    EXPECT_TRUE(r.comps.empty() && r.swaps.empty());
    EXPECT_EQ(failures.Count(), 0u);

    // Order 0 fails the check after it has been stored; the sort runs with every comparison 0.
    SCC_SortableArray<Item> zero;
    std::vector<Item> items;
    for (int i = 0; i < 12; ++i) items.push_back(Item{i % 3, i});
    Load(zero, 0, items);
    Reference ref{items, 0, {}, {}, {}};
    ref.Sort(0, 11);
    zero.Sort(0, 12, 0);
    EXPECT_EQ(failures.Take(), std::vector<std::string>{kNoMessage});
    EXPECT_EQ(BufferOf(zero)->SortOrder, 0);
    EXPECT_EQ(Content(zero), ref.v);

    // A range outside the bounds fails its checks.
    SCC_SortableArray<Item> outside;
    Load(outside, 0, items);
    outside.Sort(-1, 3, 1);
    outside.Sort(10, 5, 1);
    EXPECT_EQ(failures.Take().size(), 2u);
}

// The codes of the notifications an array sent.
struct CodeLog : SCC_EventHook<SCC_ArrayParam> {
    std::vector<int> codes;
    int OnNotification(int code, SCC_ArrayParam*) override {
        codes.push_back(code);
        return 0;
    }
};

TEST(Sort, SharedBuffersAndTheDirectionOfNewBuffers) {
    SCC_SortableArray<int> a;
    Load(a, 0, {5, 3, 9, 1, 7});
    SCC_SortableArray<int> b(a);
    CodeLog log;
    b.RegisterIterator(log);
    b.Sort(0, 5, -1);
    EXPECT_EQ(log.codes, std::vector<int>{3}); // b got a buffer of its own, and nothing else was told
    EXPECT_EQ(Content(b), (std::vector<int>{9, 7, 5, 3, 1}));
    EXPECT_EQ(Content(a), (std::vector<int>{5, 3, 9, 1, 7}));
    EXPECT_EQ(BufferOf(a)->SortOrder, 1); // the other sharer keeps its direction
    EXPECT_EQ(BufferOf(b)->SortOrder, -1);

    // A descending array stays descending through growth: new buffers take the direction over.
    for (int i = 0; i < 200; ++i) b.InsertSorted(i % 17);
    std::vector<int> content = Content(b);
    EXPECT_TRUE(std::is_sorted(content.rbegin(), content.rend()));
    int32_t first = 0, last = 0;
    b.FindItemPosition(16, first, last);
    EXPECT_EQ(content.at(static_cast<size_t>(first)), 16);
    EXPECT_EQ(last - first, 11);

    // Searching a shared buffer makes it the searcher's own first.
    SCC_SortableArray<int> c(b);
    CodeLog clog;
    c.RegisterIterator(clog);
    c.FindItemPosition(3, first, last);
    EXPECT_EQ(clog.codes, std::vector<int>{3});
    EXPECT_NE(BufferOf(c), BufferOf(b));
}

TEST(Sort, FindItemPosition) {
    SCC_SortableArray<int> empty;
    int32_t first = -1, last = -1;
    empty.FindItemPosition(5, first, last);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(last, 0);

    // Against std::equal_range, for both directions and for lower bounds below 0.
    std::mt19937 rng(7);
    for (int n = 1; n <= 60; ++n) {
        for (int order : {1, -1}) {
            for (int lower : {0, -7, 5}) {
                std::vector<int> values;
                for (int i = 0; i < n; ++i) values.push_back(static_cast<int>(rng() % 20) * 2);
                if (order > 0) std::sort(values.begin(), values.end());
                else std::sort(values.begin(), values.end(), std::greater<int>());
                SCC_SortableArray<int> a;
                Load(a, lower, values);
                a.Sort(lower, n, order);
                Recording<int> derived;
                Load(derived, lower, values);
                derived.Sort(lower, n, order);
                for (int probe = -2; probe <= 42; ++probe) {
                    auto range = order > 0 ? std::equal_range(values.begin(), values.end(), probe)
                                           : std::equal_range(values.begin(), values.end(), probe, std::greater<int>());
                    int32_t const f = lower + static_cast<int32_t>(range.first - values.begin());
                    int32_t const l = lower + static_cast<int32_t>(range.second - values.begin());
                    a.FindItemPosition(probe, first, last);
                    ASSERT_EQ(first, f) << n << " " << order << " " << lower << " " << probe;
                    ASSERT_EQ(last, l) << n << " " << order << " " << lower << " " << probe;
                    derived.FindItemPosition(probe, first, last);
                    ASSERT_EQ(first, f);
                    ASSERT_EQ(last, l);
                }
            }
        }
    }

    // Below all, above all, equal to all.
    SCC_SortableArray<int> same;
    Load(same, 3, {4, 4, 4, 4});
    same.FindItemPosition(1, first, last);
    EXPECT_EQ(std::make_pair(first, last), std::make_pair(3, 3));
    same.FindItemPosition(9, first, last);
    EXPECT_EQ(std::make_pair(first, last), std::make_pair(7, 7));
    same.FindItemPosition(4, first, last);
    EXPECT_EQ(std::make_pair(first, last), std::make_pair(3, 7));

    // Comparisons of any magnitude: only their signs count.
    SCC_SortableArray<int> wide;
    wide.SetSortFunction([](int const& a, int const& b) { return a == b ? 0 : (a < b ? INT_MIN : INT_MAX); });
    Load(wide, 0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11});
    for (int order : {1, -1}) {
        wide.Sort(0, 11, order);
        for (int v = 0; v <= 12; ++v) {
            wide.FindItemPosition(v, first, last);
            bool const inside = v >= 1 && v <= 11;
            int expectedFirst = ((v < 1) == (order > 0)) ? 0 : 11;
            if (inside) expectedFirst = order > 0 ? v - 1 : 11 - v;
            EXPECT_EQ(first, expectedFirst) << order << " " << v;
            EXPECT_EQ(last - first, (v >= 1 && v <= 11) ? 1 : 0);
        }
    }

    // An unsorted array doesn't fail: the answer is whatever the bisection finds. Integers under
    // the default comparison take a search of their own, which must find the same as the
    // bisection through the virtual slots, with any content, bounds and direction.
    for (int n = 1; n <= 70; ++n) {
        for (int lower : {0, -9, 4, -1000000}) {
            std::vector<int> values;
            for (int i = 0; i < n; ++i) values.push_back(static_cast<int>(rng() % 12));
            SCC_SortableArray<int> quick;
            Load(quick, lower, values);
            Recording<int> slow;
            Load(slow, lower, values);
            for (int order : {1, -1, 0}) {
                quick.Sort(lower, 0, order); // stores the direction, sorts nothing
                slow.Sort(lower, 0, order);
                for (int probe = -1; probe <= 12; ++probe) {
                    int32_t f1 = 0, l1 = 0, f2 = 0, l2 = 0;
                    quick.FindItemPosition(probe, f1, l1);
                    slow.FindItemPosition(probe, f2, l2);
                    ASSERT_EQ(std::make_pair(f1, l1), std::make_pair(f2, l2)) << n << " " << lower << " " << order;
                    auto const expected = ReferenceRange(lower, lower + n, [&](int i) {
                        int const v = values[static_cast<size_t>(i - lower)];
                        return ((v > probe) - (v < probe)) * order;
                    });
                    ASSERT_EQ(std::make_pair(f1, l1), expected) << n << " " << lower << " " << order;
                    ASSERT_TRUE(f1 >= lower && f1 <= l1 && l1 <= lower + n);
                }
            }
        }
    }
}

TEST(Sort, InsertSortedFindAndValidPlaces) {
    SCC_SortableArray<Item> a;
    EXPECT_EQ(a.InsertSorted(Item{5, 1}), 0);
    EXPECT_EQ(a.GetLowerBound(), 0);
    EXPECT_EQ(a.GetUpperBound(), 1);
    a.InsertSorted(Item{5, 2});
    a.InsertSorted(Item{5, 3});
    a.InsertSorted(Item{1, 4});
    a.InsertSorted(Item{9, 5});
    // A fourth item equal to three others lands behind them.
    EXPECT_EQ(a.InsertSorted(Item{5, 6}), 4);
    std::vector<int> ids;
    for (Item const& it : Content(a)) ids.push_back(it.id);
    EXPECT_EQ(ids, (std::vector<int>{4, 1, 2, 3, 6, 5}));
    // Inserting one of its own elements works too.
    EXPECT_EQ(a.InsertSorted(a[0]), 1);

    int32_t position = -1;
    EXPECT_EQ(a.Find(Item{5, 3}, position), 1);
    EXPECT_EQ(position, 4);
    EXPECT_EQ(a.Find(Item{5, 99}, position), 0); // equal by the sort, another item
    EXPECT_EQ(position, 6);                      // the end of the equal range
    EXPECT_EQ(a.Find(Item{7, 1}, position), 0);
    EXPECT_EQ(position, 6);
    EXPECT_EQ(a.Find(Item{0, 1}, position), 0);
    EXPECT_EQ(position, 0);

    // The hooks hear of sorted insertions as of any other.
    Recording<int> r;
    CodeLog hook;
    r.RegisterIterator(hook);
    r.InsertSorted(3);
    r.InsertSorted(1);
    EXPECT_EQ(hook.codes, (std::vector<int>{1, 1}));
    EXPECT_EQ(Content(r), (std::vector<int>{1, 3}));

    // Whether an element still fits between its neighbours.
    SCC_SortableArray<int> v;
    Load(v, 0, {1, 3, 5, 7});
    for (int i = 0; i < 4; ++i) EXPECT_EQ(v.ItemInValidPlace(i), 1) << i;
    v[0] = 4; // above its upper neighbour
    EXPECT_EQ(v.ItemInValidPlace(0), 0);
    v[0] = 3; // equal is fine
    EXPECT_EQ(v.ItemInValidPlace(0), 1);
    v[3] = 4;
    EXPECT_EQ(v.ItemInValidPlace(3), 0);
    v[3] = 7;
    v[2] = 8;
    EXPECT_EQ(v.ItemInValidPlace(2), 0);
    v[2] = 2;
    EXPECT_EQ(v.ItemInValidPlace(2), 0);
    EXPECT_EQ(v.ItemInValidPlace(9), 0); // outside: nothing touched
    EXPECT_EQ(v.GetUpperBound(), 4);
    SCC_SortableArray<int> one;
    one.Append(1);
    EXPECT_EQ(one.ItemInValidPlace(0), 1);
    EXPECT_EQ(one.ItemInValidPlace(5), 1);
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
        Load(a, 0, {3, 1, 2});
        SCC_SortableArray<int> b(a);
        EXPECT_EQ(a.GetSort(), b.GetSort());
        sort->descending = true; // a change inside the shared object reaches both
        a.Sort(0, 3, 1);
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(a), (std::vector<int>{3, 2, 1}));
        EXPECT_EQ(Content(b), (std::vector<int>{3, 2, 1}));
        b.SetSortFunction(nullptr); // replaces b's field only
        EXPECT_EQ(a.GetSort(), static_cast<SCC_Sort<int>*>(sort));
        EXPECT_NE(b.GetSort(), a.GetSort());
        // Setting the sort does not re-sort.
        EXPECT_EQ(Content(b), (std::vector<int>{3, 2, 1}));
        b.Sort(0, 3, 1);
        EXPECT_EQ(Content(b), (std::vector<int>{1, 2, 3}));
        SCC_SortableArray<int> c;
        c = a;
        EXPECT_EQ(c.GetSort(), a.GetSort());
        EXPECT_EQ(deaths, 0);
        // A null sort object compares as the default one.
        c.SetSort(nullptr);
        c.Sort(0, 3, 1);
        EXPECT_EQ(Content(c), (std::vector<int>{1, 2, 3}));
    }
    EXPECT_EQ(deaths, 1); // through SCC_SharedPointer<SCC_Sort<int>>, the member went too
}

TEST(Sort, CountedElementsAndSharedPointers) {
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

    // Shared pointers: swaps count references correctly; Find tells objects apart.
    struct Node : SCC_SharedBuffer {
        int key;
        explicit Node(int k) : key(k) {}
    };
    SCC_SortableArray<SCC_SharedPointer<Node>> nodes;
    nodes.SetSortFunction([](SCC_SharedPointer<Node> const& a, SCC_SharedPointer<Node> const& b) {
        return SCC_Compare(a->key, b->key);
    });
    std::vector<Node*> raw;
    for (int i = 0; i < 40; ++i) {
        raw.push_back(new Node(i % 7));
        nodes.Append(raw.back());
    }
    nodes.Sort(0, 40, -1);
    for (Node* n : raw) EXPECT_EQ(n->GetRefCount(), 1);
    for (int i = 0; i + 1 < 40; ++i) ASSERT_GE(nodes[i]->key, nodes[i + 1]->key);
    int32_t position = 0;
    EXPECT_EQ(nodes.Find(raw[3], position), 1);
    EXPECT_EQ(nodes[position], raw[3]);
    SCC_SharedPointer<Node> stranger(new Node(3));
    EXPECT_EQ(nodes.Find(stranger, position), 0);
    EXPECT_EQ(nodes[position - 1]->key, 3);
}

} // namespace
