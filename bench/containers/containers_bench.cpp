// Arrays and sorted arrays side by side with the standard library.
//
//   Append       1M ints appended one by one to an empty SCC_Array<int>, against
//                std::vector::push_back without reserve.
//   Read         a loop over 1M elements through FastGetAt, against vector indexing: a running
//                hash of the elements (Hash), each element handed to DoNotOptimize (Escape), and
//                a plain sum (Sum), which the compiler turns into vector code for the vector but
//                can't for FastGetAt, whose every access may report to the assertion manager.
//   InsertFront  Insert(lower bound, 1) and an assignment on an array of 100K ints with 8 live
//                iterators, against vector::insert(begin()); each iteration also removes the last
//                element (Delete / pop_back), so the size stays at 100K.
//   Sort         SCC_SortableArray<int>::Sort of 1M ints against std::sort and qsort, on random,
//                sorted, reversed, all-equal, organ-pipe and 16-distinct input. SortExact runs the
//                library's quicksort itself on the raw storage (elements of a key type with an
//                SCC_Compare of its own), where integers take the standard sort.
//   Find         FindItemPosition against std::equal_range on 1K and 1M sorted distinct ints,
//                1024 lookups of present and absent keys per iteration.
//
// main() warms the allocator first, so that the first benchmark does not pay for growing the
// heap.
#include <mortar/scc/scc_arr.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace benchkeys {

// A key type of its own: its sort runs the library's quicksort, not the standard one.
struct Key {
    int v;
};
inline int SCC_Compare(Key const& a, Key const& b) { return (a.v > b.v) - (a.v < b.v); }

} // namespace benchkeys

namespace {

using benchkeys::Key;

int const kMillion = 1000000;

enum Pattern { Random, Sorted, Reversed, AllEqual, OrganPipe, Distinct16 };
char const* const kPatternNames[] = {"random", "sorted", "reversed", "all-equal", "organ-pipe", "16-distinct"};

std::vector<int> Input(Pattern pattern, int n) {
    std::vector<int> v(static_cast<size_t>(n));
    std::mt19937 rng(42);
    for (int i = 0; i < n; ++i) {
        int x = 0;
        switch (pattern) {
        case Random: x = static_cast<int>(rng()); break;
        case Sorted: x = i; break;
        case Reversed: x = n - i; break;
        case AllEqual: x = 7; break;
        case OrganPipe: x = i < n / 2 ? i : n - i; break;
        case Distinct16: x = static_cast<int>(rng() % 16); break;
        }
        v[static_cast<size_t>(i)] = x;
    }
    return v;
}

// The numbers 0 to n - 1, appended one by one.
SCC_Array<int> ArrayOfCount(int n) {
    SCC_Array<int> a;
    for (int i = 0; i < n; ++i) a.Append(i);
    return a;
}

std::vector<int> VectorOfCount(int n) {
    std::vector<int> v;
    for (int i = 0; i < n; ++i) v.push_back(i);
    return v;
}

// ---- Append -------------------------------------------------------------------------------------

void BM_Append_Array(benchmark::State& state) {
    for (auto _ : state) {
        SCC_Array<int> a = ArrayOfCount(kMillion);
        benchmark::DoNotOptimize(a.FastGetAt(kMillion - 1));
    }
}

void BM_Append_VectorPushBack(benchmark::State& state) {
    for (auto _ : state) {
        std::vector<int> v = VectorOfCount(kMillion);
        benchmark::DoNotOptimize(v.back());
    }
}

// ---- Read ---------------------------------------------------------------------------------------

// What a read loop does with each element: hands it to DoNotOptimize (a compiler barrier per
// element), folds it into a running hash (no vector code on either side), or sums it up (which
// the compiler may turn into vector code where it can prove every access safe).
enum ReadWork { Escape, Hash, Sum };

template <int Work, class Get>
unsigned ReadAll(int lower, int upper, Get&& get) {
    unsigned acc = 0;
    for (int i = lower; i < upper; ++i) {
        if constexpr (Work == Escape) benchmark::DoNotOptimize(get(i));
        else if constexpr (Work == Hash) acc = acc * 31 + static_cast<unsigned>(get(i));
        else acc += static_cast<unsigned>(get(i));
    }
    return acc;
}

template <int Work>
void BM_Read_ArrayFastGetAt(benchmark::State& state) {
    SCC_Array<int> a = ArrayOfCount(kMillion);
    for (auto _ : state) {
        unsigned const acc =
            ReadAll<Work>(a.GetLowerBound(), a.GetUpperBound(), [&](int i) -> int& { return a.FastGetAt(i); });
        benchmark::DoNotOptimize(acc);
    }
}

template <int Work>
void BM_Read_VectorIndex(benchmark::State& state) {
    std::vector<int> v = VectorOfCount(kMillion);
    for (auto _ : state) {
        unsigned const acc = ReadAll<Work>(0, static_cast<int>(v.size()),
                                           [&](int i) -> int& { return v[static_cast<size_t>(i)]; });
        benchmark::DoNotOptimize(acc);
    }
}

// ---- InsertFront --------------------------------------------------------------------------------

int const kInsertSize = 100000;

void BM_InsertFront_Array8Iterators(benchmark::State& state) {
    SCC_Array<int> a = ArrayOfCount(kInsertSize);
    SCC_Array<int>::Iterator iterators[8];
    for (int k = 0; k < 8; ++k) iterators[k].SetArray(&a, k * (kInsertSize / 8));
    int x = 0;
    for (auto _ : state) {
        int const lower = a.GetLowerBound();
        a.Insert(lower, 1);
        a[lower] = ++x;
        a.Delete(a.GetUpperBound() - 1, 1);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(iterators[3].GetIndex());
}

void BM_InsertFront_Vector(benchmark::State& state) {
    std::vector<int> v = VectorOfCount(kInsertSize);
    int x = 0;
    for (auto _ : state) {
        v.insert(v.begin(), ++x);
        v.pop_back();
        benchmark::ClobberMemory();
    }
}

// ---- Sort ---------------------------------------------------------------------------------------

Pattern PatternOf(benchmark::State const& state) { return static_cast<Pattern>(state.range(0)); }

// Times `sortOnce` (which returns its first element), with `refill` restoring the input untimed
// before each run.
template <class Refill, class SortOnce>
void RunSorts(benchmark::State& state, Refill&& refill, SortOnce&& sortOnce) {
    for (auto _ : state) {
        state.PauseTiming();
        refill();
        state.ResumeTiming();
        benchmark::DoNotOptimize(sortOnce());
    }
    state.SetLabel(kPatternNames[state.range(0)]);
}

// The input of a benchmark: its pattern (first argument) and its size (second argument).
std::vector<int> InputOf(benchmark::State const& state) {
    return Input(PatternOf(state), static_cast<int>(state.range(1)));
}

void BM_Sort_Array(benchmark::State& state) {
    std::vector<int> const input = InputOf(state);
    int const n = static_cast<int>(input.size());
    SCC_SortableArray<int> a;
    for (int x : input) a.Append(x);
    RunSorts(
        state, [&] { std::copy(input.begin(), input.end(), &a.FastGetAt(0)); },
        [&] {
            a.Sort(0, n, 1);
            return a.FastGetAt(0);
        });
}

void BM_Sort_StdSort(benchmark::State& state) {
    std::vector<int> const input = InputOf(state);
    std::vector<int> v = input;
    RunSorts(
        state, [&] { v = input; },
        [&] {
            std::sort(v.begin(), v.end());
            return v[0];
        });
}

int CompareInts(void const* a, void const* b) {
    int const x = *static_cast<int const*>(a);
    int const y = *static_cast<int const*>(b);
    return (x > y) - (x < y);
}

void BM_Sort_Qsort(benchmark::State& state) {
    std::vector<int> const input = InputOf(state);
    std::vector<int> v = input;
    RunSorts(
        state, [&] { v = input; },
        [&] {
            std::qsort(v.data(), v.size(), sizeof(int), CompareInts);
            return v[0];
        });
}

// The library's own quicksort on the raw storage, for a key type.
void BM_SortExact_Array(benchmark::State& state) {
    std::vector<int> const input = InputOf(state);
    int const n = static_cast<int>(input.size());
    SCC_SortableArray<Key> a;
    for (int x : input) a.Append(Key{x});
    RunSorts(
        state, [&] { std::transform(input.begin(), input.end(), &a.FastGetAt(0), [](int x) { return Key{x}; }); },
        [&] {
            a.Sort(0, n, 1);
            return a.FastGetAt(0).v;
        });
}

void BM_SortExact_StdSort(benchmark::State& state) {
    std::vector<int> const input = InputOf(state);
    std::vector<Key> v(input.size());
    RunSorts(
        state, [&] { std::transform(input.begin(), input.end(), v.begin(), [](int x) { return Key{x}; }); },
        [&] {
            std::sort(v.begin(), v.end(), [](Key const& x, Key const& y) { return x.v < y.v; });
            return v[0].v;
        });
}

// Every pattern at 1M elements.
void SortArgs(benchmark::internal::Benchmark* b) {
    for (int p = Random; p <= Distinct16; ++p) b->Args({p, kMillion});
}

// The inputs of the exact sort: 1M elements where it is n log n, 64K where it is not.
void ExactSortArgs(benchmark::internal::Benchmark* b) {
    for (Pattern p : {Random, Sorted, Reversed, AllEqual}) b->Args({p, kMillion});
    for (Pattern p : {OrganPipe, Distinct16}) b->Args({p, 65536});
}

// ---- Find ---------------------------------------------------------------------------------------

std::vector<int> Probes(int n) {
    std::mt19937 rng(7);
    std::vector<int> probes(65536);
    for (int& p : probes) p = static_cast<int>(rng() % static_cast<unsigned>(2 * n)); // half absent
    return probes;
}

void BM_Find_ArrayFindItemPosition(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    SCC_SortableArray<int> a;
    for (int i = 0; i < n; ++i) a.Append(2 * i);
    std::vector<int> const probes = Probes(n);
    for (auto _ : state) {
        int32_t total = 0;
        for (int p : probes) {
            int32_t first = 0, last = 0;
            a.FindItemPosition(p, first, last);
            total += first + last;
        }
        benchmark::DoNotOptimize(total);
    }
}

void BM_Find_StdEqualRange(benchmark::State& state) {
    int const n = static_cast<int>(state.range(0));
    std::vector<int> v;
    for (int i = 0; i < n; ++i) v.push_back(2 * i);
    std::vector<int> const probes = Probes(n);
    for (auto _ : state) {
        int32_t total = 0;
        for (int p : probes) {
            auto range = std::equal_range(v.begin(), v.end(), p);
            total += static_cast<int32_t>((range.first - v.begin()) + (range.second - v.begin()));
        }
        benchmark::DoNotOptimize(total);
    }
}

} // namespace

BENCHMARK(BM_Append_Array)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Append_VectorPushBack)->Unit(benchmark::kMillisecond);
BENCHMARK_TEMPLATE(BM_Read_ArrayFastGetAt, Hash)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Read_VectorIndex, Hash)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Read_ArrayFastGetAt, Escape)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Read_VectorIndex, Escape)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Read_ArrayFastGetAt, Sum)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Read_VectorIndex, Sum)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_InsertFront_Array8Iterators)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_InsertFront_Vector)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Sort_Array)->Apply(SortArgs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sort_StdSort)->Apply(SortArgs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Sort_Qsort)->Args({Random, kMillion})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortExact_Array)->Apply(ExactSortArgs)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortExact_StdSort)->Apply(ExactSortArgs)->Unit(benchmark::kMillisecond);

// How the sorts scale: random ints from 1K to 1M (for the plot of bench/report).
void ScalingArgs(benchmark::internal::Benchmark* b) {
    for (int64_t n = 1024; n <= kMillion; n *= 4) b->Args({Random, n});
}
BENCHMARK(BM_SortExact_Array)->Name("BM_SortScaling_Array")->Apply(ScalingArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_SortExact_StdSort)->Name("BM_SortScaling_StdSort")->Apply(ScalingArgs)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Find_ArrayFindItemPosition)->Arg(1000)->Arg(kMillion)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Find_StdEqualRange)->Arg(1000)->Arg(kMillion)->Unit(benchmark::kMicrosecond);

int main(int argc, char** argv) {
    // Warm the allocator: grow the heap once to the largest size the benchmarks use, so that no
    // benchmark pays for the first growth and the dynamic mmap threshold has settled.
    for (int round = 0; round < 3; ++round) {
        std::vector<std::unique_ptr<char[]>> blocks;
        for (size_t size = 1024; size <= (size_t{32} << 20); size *= 2) {
            blocks.emplace_back(new char[size]);
            std::fill(blocks.back().get(), blocks.back().get() + size, static_cast<char>(round));
        }
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
