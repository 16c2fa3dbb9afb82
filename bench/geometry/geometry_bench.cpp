// SYS_Transform::Transform over a million points, side by side with hand-written loops of the
// same affine arithmetic and half-away rounding (a plain cast, without the saturation that the
// library adds): one with the rounding written as a test of the sign, one branch-free; and
// one rounded by the library's conversion, which gives the library's results exactly.
// SYS_Box::Clip and SYS_Arc::GetBox per call.
#include <mortar/sys/SYS_Geom_Inline.h>

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

constexpr size_t kPoints = 1 << 20;

std::vector<SYS_Point> RandomPoints(size_t n) {
    std::mt19937 rng(1);
    std::uniform_int_distribution<int32_t> coord(-SYS_COORD_LIMIT / 2, SYS_COORD_LIMIT / 2);
    std::vector<SYS_Point> points(n);
    for (auto& p : points) p.Set(coord(rng), coord(rng));
    return points;
}

// A placement: turned by 30 degrees about a pivot and mirrored, so every matrix entry counts.
SYS_Transform Placement() { return SYS_Transform(SYS_Point(12345, -6789), 54000000, 1); }

// Runs one way of transforming over the million points, from a source array into another.
template <typename Map>
void TransformAll(benchmark::State& state, Map map) {
    std::vector<SYS_Point> const source = RandomPoints(kPoints);
    std::vector<SYS_Point> out(kPoints);
    for (auto _ : state) {
        for (size_t i = 0; i < kPoints; ++i) out[i] = map(source[i]);
        benchmark::DoNotOptimize(out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kPoints));
}

// The matrix of the placement in locals, as a hand-written loop holds it; round is applied to
// each coordinate.
template <typename Round>
auto ByHand(Round round) {
    SYS_Transform const t = Placement();
    return [=, m00 = t.m00, m01 = t.m01, m02 = t.m02, m10 = t.m10, m11 = t.m11, m12 = t.m12](SYS_Point p) {
        double const x = p.x, y = p.y;
        return SYS_Point(round((m01 * y + m00 * x) + m02), round((m10 * x + m11 * y) + m12));
    };
}

void BM_Transform_Library(benchmark::State& state) {
    SYS_Transform const t = Placement();
    TransformAll(state, [&t](SYS_Point p) { return t.Transform(p); });
}
BENCHMARK(BM_Transform_Library);

// Half-away rounding as the rule reads: a test of the sign, then a plain cast.
void BM_Transform_HandWritten(benchmark::State& state) {
    TransformAll(state, ByHand([](double v) { return static_cast<int32_t>(v >= 0.0 ? v + 0.5 : v - 0.5); }));
}
BENCHMARK(BM_Transform_HandWritten);

// The same as a careful user would write it: the half takes the sign of the value, which
// rounds alike and lets the compiler drop the branch. Still a plain cast.
void BM_Transform_HandWrittenBranchFree(benchmark::State& state) {
    TransformAll(state, ByHand([](double v) { return static_cast<int32_t>(v + std::copysign(0.5, v)); }));
}
BENCHMARK(BM_Transform_HandWrittenBranchFree);

// Rounded by the library's own conversion: the library's results exactly, so the difference
// is what the abstraction costs.
void BM_Transform_HandWrittenSameRounding(benchmark::State& state) {
    TransformAll(state, ByHand([](double v) { return mortar::RoundHalfAway(v); }));
}
BENCHMARK(BM_Transform_HandWrittenSameRounding);

// 1024 pairs of boxes on a small grid, so that every overlap pattern occurs, inverted and
// empty boxes included.
void BM_BoxClip(benchmark::State& state) {
    std::mt19937 rng(2);
    std::uniform_int_distribution<int32_t> coord(0, 12);
    std::vector<SYS_Box> boxes(2048);
    for (auto& b : boxes) b.Set(coord(rng), coord(rng), coord(rng), coord(rng));
    SYS_Box out[4];
    size_t i = 0;
    for (auto _ : state) {
        int const n = boxes[i].Clip(boxes[i + 1], out);
        benchmark::DoNotOptimize(n);
        benchmark::DoNotOptimize(out);
        i = (i + 2) & 2047;
    }
}
BENCHMARK(BM_BoxClip);

// 1024 arcs of radius 1105 (which has many lattice points) between random lattice points,
// both directions.
void BM_ArcGetBox(benchmark::State& state) {
    std::vector<SYS_Point> lattice;
    int32_t const r = 1105;
    for (int32_t x = -r; x <= r; ++x) {
        int32_t const y = static_cast<int32_t>(std::lround(std::sqrt(double(r) * r - double(x) * x)));
        if (y * y + x * x == r * r) lattice.emplace_back(x, y), lattice.emplace_back(x, -y);
    }
    std::mt19937 rng(3);
    std::uniform_int_distribution<size_t> pick(0, lattice.size() - 1);
    std::vector<SYS_Arc> arcs(1024);
    for (size_t i = 0; i < arcs.size(); ++i) {
        SYS_Point const c(static_cast<int32_t>(i) * 1000, -static_cast<int32_t>(i) * 700);
        arcs[i].Set(lattice[pick(rng)] + c, lattice[pick(rng)] + c, c, i % 2 ? r : -r);
    }
    size_t i = 0;
    for (auto _ : state) {
        SYS_Box const box = arcs[i].GetBox();
        benchmark::DoNotOptimize(box);
        i = (i + 1) & 1023;
    }
}
BENCHMARK(BM_ArcGetBox);

} // namespace

BENCHMARK_MAIN();
