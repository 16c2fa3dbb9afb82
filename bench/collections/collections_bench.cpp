// Live collections of handles, side by side with what a user would pick otherwise.
//
// Reload. A collection over a source of n handles in random walk order, sorted by a key through
// a comparison function, reloads all of them; beside it the handles are copied and sorted by
// std::stable_sort with the same comparison function called through a pointer, which is the
// least a caller who wants the same stable order has to do. (The same sort with the key
// comparison inlined is listed as well, for reference.)
//
// Sorted view. The same work for the collection and for Qt's QSortFilterProxyModel over a
// QStandardItemModel (one column, the key as display role, sorting on it):
//   - load and sort: a new view over a source of 100k rows, until its first row can be read;
//   - changes: 10k single-item changes of the key, every other one moving the item, told to
//     the view (Notify(3, handle), and setData on the item); each iteration also takes them
//     back in reverse order, so an iteration is 20k changes from and to the same state.
//
// In place. A change that keeps its item where it stands, with a comparison function that
// counts: the counters give comparisons and item moves per change.
#include <mortar/scc/SCC_StdCollection.h>

#include <QSortFilterProxyModel>
#include <QStandardItem>
#include <QStandardItemModel>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <numeric>
#include <random>
#include <vector>

namespace {

constexpr int kRows = 100000;
constexpr int kChanges = 10000;

// The key of each handle (handles are 1..n, index 0 unused). Keys are distinct even numbers, so a
// change to key ^ 1 keeps an item between its neighbours.
std::vector<int> g_Key;
int64_t g_Comparisons = 0;

int ByKey(int const& a, int const& b) {
    int const ka = g_Key[static_cast<size_t>(a)];
    int const kb = g_Key[static_cast<size_t>(b)];
    return (ka > kb) - (ka < kb);
}

int ByKeyCounted(int const& a, int const& b) {
    ++g_Comparisons;
    return ByKey(a, b);
}

// The client's data: handles in a walk order and where each one stands in it.
struct Source {
    std::vector<int> order;
    std::vector<size_t> place;
    SCC_Notifier notifier;
};

// n handles in random walk order with random distinct even keys.
std::unique_ptr<Source> MakeSource(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<int> values(static_cast<size_t>(2 * n));
    std::iota(values.begin(), values.end(), 0);
    std::shuffle(values.begin(), values.end(), rng);
    g_Key.assign(static_cast<size_t>(n) + 1, 0);
    for (int h = 1; h <= n; ++h) g_Key[static_cast<size_t>(h)] = 2 * values[static_cast<size_t>(h - 1)];
    auto source = std::make_unique<Source>();
    source->order.resize(static_cast<size_t>(n));
    std::iota(source->order.begin(), source->order.end(), 1);
    std::shuffle(source->order.begin(), source->order.end(), rng);
    source->place.assign(static_cast<size_t>(n) + 1, 0);
    for (size_t i = 0; i < source->order.size(); ++i) source->place[static_cast<size_t>(source->order[i])] = i;
    return source;
}

// The collection a client writes over Source: its slider is a place in the walk.
class VectorCollection : public SCC_StdCollection {
public:
    explicit VectorCollection(Source* source) : m_Source(source) { SetEvent(&source->notifier); }
    using SCC_StdCollection::Reload;

protected:
    int _GetSlider() override { return m_At ? m_Source->order[m_At - 1] : 0; }
    void _SetSlider(int handle) override { m_At = handle ? m_Source->place[static_cast<size_t>(handle)] + 1 : 0; }
    int _GetFirst() override { return (m_At = m_Source->order.empty() ? 0 : 1) != 0; }
    int _GetNext() override { return (m_At = m_At < m_Source->order.size() ? m_At + 1 : 0) != 0; }

private:
    Source* m_Source;
    size_t m_At = 0;
};

// Counts what a collection tells: a change that moves its item is told as (2, h) and (1, h).
class MoveCounter : public SCC_EventNode<int> {
public:
    int OnNotification(int code, int*) override {
        if (code == CN_ItemRemoved) ++moves;
        return 0;
    }
    int64_t moves = 0;
};

// Reload --------------------------------------------------------------------------------------

void BM_Reload(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    auto const source = MakeSource(n, 1);
    VectorCollection collection(source.get());
    collection.SetSort(ByKey, 0);
    collection.AllowReload(1);
    for (auto _ : state) {
        collection.Reload();
        benchmark::DoNotOptimize(collection.GetAt(0));
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_Reload)->Arg(1000)->Arg(3000)->Arg(10000)->Arg(30000)->Arg(100000)->Arg(300000)->Unit(benchmark::kMillisecond);

void BM_CopyStableSort(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    auto const source = MakeSource(n, 1);
    int (*compare)(int const&, int const&) = ByKey;
    benchmark::DoNotOptimize(compare);
    for (auto _ : state) {
        std::vector<int> handles(source->order);
        std::stable_sort(handles.begin(), handles.end(), [compare](int a, int b) { return compare(a, b) < 0; });
        benchmark::DoNotOptimize(handles.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_CopyStableSort)->Arg(1000)->Arg(3000)->Arg(10000)->Arg(30000)->Arg(100000)->Arg(300000)->Unit(benchmark::kMillisecond);

void BM_CopyStableSortInlined(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    auto const source = MakeSource(n, 1);
    for (auto _ : state) {
        std::vector<int> handles(source->order);
        std::stable_sort(handles.begin(), handles.end(),
                         [](int a, int b) { return g_Key[static_cast<size_t>(a)] < g_Key[static_cast<size_t>(b)]; });
        benchmark::DoNotOptimize(handles.data());
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_CopyStableSortInlined)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Sorted view: load and sort ------------------------------------------------------------------

// The Qt source: one row per handle, row h - 1 holding the key of handle h.
std::unique_ptr<QStandardItemModel> MakeQtModel(int n) {
    auto model = std::make_unique<QStandardItemModel>(n, 1);
    for (int h = 1; h <= n; ++h) {
        auto* item = new QStandardItem;
        item->setData(g_Key[static_cast<size_t>(h)], Qt::DisplayRole);
        model->setItem(h - 1, 0, item);
    }
    return model;
}

void BM_LoadSort_Mortar(benchmark::State& state) {
    auto const source = MakeSource(kRows, 2);
    for (auto _ : state) {
        VectorCollection collection(source.get());
        collection.SetSort(ByKey, 0);
        collection.AllowReload(1);
        benchmark::DoNotOptimize(collection.GetAt(0));
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_LoadSort_Mortar)->Unit(benchmark::kMillisecond);

void BM_LoadSort_Qt(benchmark::State& state) {
    auto const source = MakeSource(kRows, 2);
    auto const model = MakeQtModel(kRows);
    for (auto _ : state) {
        QSortFilterProxyModel proxy;
        proxy.setSourceModel(model.get());
        proxy.sort(0, Qt::AscendingOrder);
        // The proxy builds and sorts its mapping when it is first read.
        benchmark::DoNotOptimize(proxy.index(0, 0).data().toInt());
    }
    state.SetItemsProcessed(state.iterations() * kRows);
}
BENCHMARK(BM_LoadSort_Qt)->Unit(benchmark::kMillisecond);

// Sorted view: changes ------------------------------------------------------------------------

struct Change {
    int handle;
    int from;
    int to;
};

// kChanges changes from the keys as they are: the even ones toggle the lowest bit (the item
// stays), the odd ones give a fresh even key (the item moves). The keys are left as they were.
std::vector<Change> MakeChanges(int n, unsigned seed) {
    std::mt19937 rng(seed);
    std::vector<bool> used(static_cast<size_t>(4 * n), false);
    for (int h = 1; h <= n; ++h) used[static_cast<size_t>(g_Key[static_cast<size_t>(h)] / 2)] = true;
    std::vector<int> fresh;
    for (size_t v = 0; v < used.size(); ++v)
        if (!used[v]) fresh.push_back(static_cast<int>(v));
    std::shuffle(fresh.begin(), fresh.end(), rng);
    std::vector<int> keys(g_Key);
    std::vector<Change> changes;
    for (int i = 0; i < kChanges; ++i) {
        int const handle = 1 + static_cast<int>(rng() % static_cast<unsigned>(n));
        int const from = keys[static_cast<size_t>(handle)];
        int const to = i % 2 == 0 ? (from ^ 1) : 2 * fresh[static_cast<size_t>(i / 2)];
        keys[static_cast<size_t>(handle)] = to;
        changes.push_back({handle, from, to});
    }
    return changes;
}

void BM_Changes_Mortar(benchmark::State& state) {
    auto const source = MakeSource(kRows, 3);
    std::vector<Change> const changes = MakeChanges(kRows, 4);
    VectorCollection collection(source.get());
    collection.SetSort(ByKey, 0);
    collection.AllowReload(1);
    MoveCounter counter;
    collection.SetNotificationHandler(&counter);
    auto tell = [&](int handle, int key) {
        g_Key[static_cast<size_t>(handle)] = key;
        source->notifier.Notify(CN_ItemChanged, mortar::HandleToData(handle));
    };
    for (auto _ : state) {
        for (Change const& c : changes) tell(c.handle, c.to);
        for (auto c = changes.rbegin(); c != changes.rend(); ++c) tell(c->handle, c->from);
    }
    int64_t const told = state.iterations() * 2 * kChanges;
    state.SetItemsProcessed(told);
    state.counters["moved"] = static_cast<double>(counter.moves) / static_cast<double>(told);
}
BENCHMARK(BM_Changes_Mortar)->Unit(benchmark::kMillisecond);

void BM_Changes_Qt(benchmark::State& state) {
    auto const source = MakeSource(kRows, 3);
    std::vector<Change> const changes = MakeChanges(kRows, 4);
    auto const model = MakeQtModel(kRows);
    QSortFilterProxyModel proxy;
    proxy.setSourceModel(model.get());
    proxy.sort(0, Qt::AscendingOrder);
    benchmark::DoNotOptimize(proxy.index(0, 0).data().toInt());
    auto tell = [&](int handle, int key) { model->item(handle - 1, 0)->setData(key, Qt::DisplayRole); };
    for (auto _ : state) {
        for (Change const& c : changes) tell(c.handle, c.to);
        for (auto c = changes.rbegin(); c != changes.rend(); ++c) tell(c->handle, c->from);
    }
    state.SetItemsProcessed(state.iterations() * 2 * kChanges);
}
BENCHMARK(BM_Changes_Qt)->Unit(benchmark::kMillisecond);

// In place ------------------------------------------------------------------------------------

void BM_InPlaceChange(benchmark::State& state) {
    auto const source = MakeSource(kRows, 5);
    VectorCollection collection(source.get());
    collection.SetSort(ByKeyCounted, 0);
    collection.AllowReload(1);
    MoveCounter counter;
    collection.SetNotificationHandler(&counter);
    std::mt19937 rng(6);
    std::vector<int> handles(4096);
    for (int& h : handles) h = 1 + static_cast<int>(rng() % static_cast<unsigned>(kRows));
    g_Comparisons = 0;
    size_t next = 0;
    for (auto _ : state) {
        int const handle = handles[next++ % handles.size()];
        g_Key[static_cast<size_t>(handle)] ^= 1;
        source->notifier.Notify(CN_ItemChanged, mortar::HandleToData(handle));
    }
    double const told = static_cast<double>(state.iterations());
    state.counters["comparisons"] = static_cast<double>(g_Comparisons) / told;
    state.counters["moved"] = static_cast<double>(counter.moves) / told;
}
BENCHMARK(BM_InPlaceChange);

} // namespace

BENCHMARK_MAIN();
