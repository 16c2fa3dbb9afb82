// SFM_File and SFM_MessageDB beside the C library.
//
//   Get/int32        SFM_File::Get(int32_t&) over 1M values of a 4 MB file, against the same
//                    fread(&x, 4, 1, f) calls on a FILE*; and, for reference, fread_unlocked,
//                    the call that SFM_File makes (a file belongs to one thread).
//   OpenClose        SFM_File::Open plus Close, with their events (a manager with one listener),
//                    against fopen plus fclose of the same file.
//   getTxt           SFM_MessageDB::getTxt on a compiled database of 20,000 messages against
//                    catgets on a catalog of the same messages, built by gencat in the setup.
//                    Two orders: every message in key order (a section read through), and the
//                    same messages shuffled. getTxt reads every text from the file, as catgets
//                    reads its mapped catalog; it returns a string of its own, catgets a pointer.
//
// Files live in a temporary directory made by mkdtemp and removed at the end.
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sfm/sfmmsgdb.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <nl_types.h>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kValues = 1 << 20;
constexpr int kSections = 20;
constexpr int kPerSection = 1000;

// The working directory and the files in it, made once for the whole program.
class Fixture {
public:
    Fixture() {
        char const* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/mortar-bench-XXXXXX";
        if (!mkdtemp(&pattern[0])) throw std::runtime_error("mkdtemp failed");
        dir = pattern;
        numbers = dir + "/numbers.bin";
        FILE* f = std::fopen(numbers.c_str(), "wb");
        for (int32_t i = 0; i < kValues; ++i) std::fwrite(&i, 4, 1, f);
        std::fclose(f);
        MakeMessages();
    }
    ~Fixture() {
        nftw(dir.c_str(), [](char const* p, struct stat const*, int, struct FTW*) { return std::remove(p); }, 8,
             FTW_DEPTH | FTW_PHYS);
    }

    std::string dir, numbers, compiled, catalog;
    // (set, number) of every message, in key order.
    std::vector<std::pair<int, int>> messages;

private:
    // The same texts as a text-form database (saved in the compiled form) and as a gencat source.
    void MakeMessages() {
        std::mt19937 rng(1);
        std::string text = dir + "/messages.txt", source = dir + "/messages.msg";
        FILE* t = std::fopen(text.c_str(), "w");
        FILE* m = std::fopen(source.c_str(), "w");
        for (int s = 1; s <= kSections; ++s) {
            std::fprintf(t, "[Section%d]\n", s);
            std::fprintf(m, "$set %d\n", s);
            for (int n = 1; n <= kPerSection; ++n) {
                std::string words;
                int const length = 10 + static_cast<int>(rng() % 60);
                for (int i = 0; i < length; ++i) words += static_cast<char>(i % 7 == 6 ? ' ' : 'a' + rng() % 26);
                std::fprintf(t, "%d:%s\n", n, words.c_str());
                std::fprintf(m, "%d %s\n", n, words.c_str());
                messages.emplace_back(s, n);
            }
        }
        std::fclose(t);
        std::fclose(m);
        compiled = dir + "/messages.mdb";
        catalog = dir + "/messages.cat";
        {
            SFM manager;
            SFM_MessageDB(SYS_StringBase(text.c_str()), 0).Save(compiled.c_str());
        }
        std::string const command = "gencat '" + catalog + "' '" + source + "'";
        if (std::system(command.c_str()) != 0) throw std::runtime_error("gencat failed");
    }
};

Fixture& Files() {
    static Fixture fixture;
    return fixture;
}

// A listener, as an application would have one on the manager.
struct Listener : SCC_EventHook<SFM_EventData> {
    int seen = 0;
    int OnNotification(int, SFM_EventData*) override { return ++seen; }
};

void BM_Get_SFM_File(benchmark::State& state) {
    SFM manager;
    SFM_File file(Files().numbers.c_str(), "rb");
    int64_t sum = 0;
    for (auto _ : state) {
        file.Rewind();
        for (int i = 0; i < kValues; ++i) {
            int32_t x;
            sum += file.Get(x);
        }
    }
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * kValues);
}
BENCHMARK(BM_Get_SFM_File)->Unit(benchmark::kMillisecond);

// The peer: fread(&x, 4, 1, f) on a FILE*; with `unlocked`, fread_unlocked, the call that
// SFM_File makes (a file belongs to one thread), for reference.
template <bool unlocked>
void BM_Get_stdio(benchmark::State& state) {
    FILE* f = std::fopen(Files().numbers.c_str(), "rb");
    int64_t sum = 0;
    for (auto _ : state) {
        std::rewind(f);
        for (int i = 0; i < kValues; ++i) {
            int32_t x;
            if ((unlocked ? fread_unlocked(&x, 4, 1, f) : std::fread(&x, 4, 1, f)) == 1) sum += x;
        }
    }
    std::fclose(f);
    benchmark::DoNotOptimize(sum);
    state.SetItemsProcessed(state.iterations() * kValues);
}
void BM_Get_fread(benchmark::State& state) { BM_Get_stdio<false>(state); }
void BM_Get_fread_unlocked(benchmark::State& state) { BM_Get_stdio<true>(state); }
BENCHMARK(BM_Get_fread)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Get_fread_unlocked)->Unit(benchmark::kMillisecond);

void BM_OpenClose_SFM_File(benchmark::State& state) {
    SFM manager;
    Listener listener;
    listener.Connect(&manager.FileEvent);
    SFM_File file(Files().numbers.c_str());
    SFM_File others[8]; // a list of some length, as in an application
    SYS_StringBase const mode("rb");
    for (auto _ : state) {
        file.Open(mode);
        file.Close();
    }
    benchmark::DoNotOptimize(listener.seen);
}
BENCHMARK(BM_OpenClose_SFM_File);

void BM_OpenClose_fopen(benchmark::State& state) {
    char const* name = Files().numbers.c_str();
    for (auto _ : state) {
        FILE* f = std::fopen(name, "rb");
        benchmark::DoNotOptimize(f);
        std::fclose(f);
    }
}
BENCHMARK(BM_OpenClose_fopen);

// Message order: 0 in key order, 1 shuffled.
std::vector<std::pair<int, int>> Order(int64_t shuffled) {
    std::vector<std::pair<int, int>> order = Files().messages;
    if (shuffled) std::shuffle(order.begin(), order.end(), std::mt19937(2));
    return order;
}

void BM_getTxt_SFM_MessageDB(benchmark::State& state) {
    SFM manager;
    SFM_MessageDB db(SYS_StringBase(Files().compiled.c_str()));
    std::vector<int32_t> keys;
    for (auto const& m : Order(state.range(0))) {
        std::string const section = "Section" + std::to_string(m.first);
        keys.push_back(db.GetSectionBase(section.c_str()) + m.second);
    }
    std::size_t bytes = 0;
    for (auto _ : state)
        for (int32_t key : keys) bytes += static_cast<std::size_t>(db.getTxt(key).GetLength());
    benchmark::DoNotOptimize(bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(keys.size()));
    state.SetLabel(state.range(0) ? "shuffled" : "key order");
}
BENCHMARK(BM_getTxt_SFM_MessageDB)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_getTxt_catgets(benchmark::State& state) {
    nl_catd catalog = catopen(Files().catalog.c_str(), 0);
    if (catalog == reinterpret_cast<nl_catd>(-1)) {
        state.SkipWithError("catopen failed");
        return;
    }
    auto const order = Order(state.range(0));
    std::size_t bytes = 0;
    for (auto _ : state)
        for (auto const& m : order) bytes += std::strlen(catgets(catalog, m.first, m.second, ""));
    catclose(catalog);
    benchmark::DoNotOptimize(bytes);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(order.size()));
    state.SetLabel(state.range(0) ? "shuffled" : "key order");
}
BENCHMARK(BM_getTxt_catgets)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
