// SYS_Convert::Base2Str against snprintf("%.*f") followed by trimming of trailing zeros, and
// SYS_Convert::Str2Base against strtod with a test of the end pointer, per call, over 4096
// coordinates of the working range. Two data sets: random coordinates in mils (2 decimals) and
// in inches (5 decimals); and coordinates on a 1-mil grid in mils, whose text trims to whole
// numbers. The peers do only the formatting or parsing, without the unit arithmetic, range
// test and errno handling that the library adds.
#include <mortar/sys/SYS_Convert.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t kValues = 4096;

enum Data { kRandomMils, kRandomInches, kGridMils };

SYS_UnitType UnitOf(int64_t data) {
    return data == kRandomInches ? SYS_UnitInches : SYS_UnitMils;
}

std::vector<int32_t> Coordinates(int64_t data) {
    std::mt19937 rng(3);
    std::uniform_int_distribution<int32_t> coord(-SYS_COORD_LIMIT, SYS_COORD_LIMIT);
    std::vector<int32_t> values(kValues);
    for (auto& v : values)
        v = data == kGridMils ? coord(rng) / 19050 * 19050 : coord(rng);
    return values;
}

std::vector<std::string> Texts(int64_t data) {
    SYS_Convert const conv(UnitOf(data));
    std::vector<std::string> texts;
    for (int32_t v : Coordinates(data))
        texts.emplace_back(conv.Base2Str(v).GetString());
    return texts;
}

// Trimming as a user writes it: trailing zeros of a text with a point, and a bare point.
void TrimByHand(char* s) {
    char* point = std::strchr(s, '.');
    if (point == nullptr) return;
    char* end = s + std::strlen(s);
    while (end > point + 1 && end[-1] == '0')
        --end;
    if (end == point + 1) end = point;
    *end = '\0';
}

void SetLabel(benchmark::State& state) {
    static char const* const names[] = {"random mils", "random inches", "1-mil grid"};
    state.SetLabel(names[state.range(0)]);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kValues));
}

// Each coordinate of the data set through `format`, which writes into a 512-byte buffer.
template <typename Format>
void FormatAll(benchmark::State& state, Format format) {
    SYS_Convert const conv(UnitOf(state.range(0)));
    std::vector<int32_t> const values = Coordinates(state.range(0));
    char buf[512];
    for (auto _ : state) {
        for (int32_t v : values)
            format(conv, buf, v);
    }
    SetLabel(state);
}

// What a user writes by hand: "%.*f" of the value in user units, then trimming.
void ByHand(SYS_Convert const& conv, char* buf, int32_t v) {
    std::snprintf(buf, 512, "%.*f", conv.GetUnitPrecision(), v / conv.User2BaseDouble(1.0));
    TrimByHand(buf);
}

void BM_Base2Str_Library(benchmark::State& state) {
    FormatAll(state, [](SYS_Convert const& conv, char* buf, int32_t v) {
        benchmark::DoNotOptimize(conv.Base2Str(buf, 512, v));
    });
}

void BM_Base2Str_Snprintf(benchmark::State& state) {
    FormatAll(state, [](SYS_Convert const& conv, char* buf, int32_t v) {
        ByHand(conv, buf, v);
        benchmark::DoNotOptimize(buf);
    });
}

// The string form, which adds the string's allocation, against snprintf into a std::string.
void BM_Base2String_Library(benchmark::State& state) {
    FormatAll(state,
              [](SYS_Convert const& conv, char*, int32_t v) { benchmark::DoNotOptimize(conv.Base2Str(v)); });
}

void BM_Base2String_Snprintf(benchmark::State& state) {
    FormatAll(state, [](SYS_Convert const& conv, char* buf, int32_t v) {
        ByHand(conv, buf, v);
        benchmark::DoNotOptimize(std::string(buf));
    });
}

void BM_Str2Base_Library(benchmark::State& state) {
    SYS_Convert const conv(UnitOf(state.range(0)));
    std::vector<std::string> const texts = Texts(state.range(0));
    for (auto _ : state) {
        for (auto const& text : texts) {
            int32_t v;
            benchmark::DoNotOptimize(conv.Str2Base(text.c_str(), &v));
            benchmark::DoNotOptimize(v);
        }
    }
    SetLabel(state);
}

void BM_Str2Base_Strtod(benchmark::State& state) {
    std::vector<std::string> const texts = Texts(state.range(0));
    for (auto _ : state) {
        for (auto const& text : texts) {
            char* end;
            double v = std::strtod(text.c_str(), &end);
            benchmark::DoNotOptimize(*end == '\0');
            benchmark::DoNotOptimize(v);
        }
    }
    SetLabel(state);
}

BENCHMARK(BM_Base2Str_Library)->DenseRange(0, 2);
BENCHMARK(BM_Base2Str_Snprintf)->DenseRange(0, 2);
BENCHMARK(BM_Base2String_Library)->DenseRange(0, 2);
BENCHMARK(BM_Base2String_Snprintf)->DenseRange(0, 2);
BENCHMARK(BM_Str2Base_Library)->DenseRange(0, 2);
BENCHMARK(BM_Str2Base_Strtod)->DenseRange(0, 2);

} // namespace

BENCHMARK_MAIN();
