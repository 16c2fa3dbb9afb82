// Pattern matching: SYS_StrPattern::Match beside std::regex_search and PCRE2's interpreter (no
// JIT), each given a pattern of the same meaning. Four patterns: a literal word, a class run, an
// alternation of four words and a digit run. Two loads: every match in 1 MiB of text (MB/s), and
// the first match in each of a set of 32-byte names (ns per call). Before timing, the three
// engines must agree on every match, or the program stops. After the runs, a table gives the
// figures and the ratios.
#include <mortar/sys/SYS_StrPattern.h>

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

namespace {

struct Case {
    char const* name;
    char const* ours;   // our dialect
    char const* theirs; // std::regex (ECMAScript) and PCRE2
};

Case const cases[] = {
    {"Literal", "footprint", "footprint"},
    {"ClassRun", "[a-z]+ing", "[a-z]+ing"},
    {"Alternation", "copper|ground|signal|thermal", "copper|ground|signal|thermal"},
    {"DigitRun", ":d+", "[0-9]+"},
};

char const* const words[] = {
    "the", "of", "board", "routing", "net", "signal", "layer", "copper", "drilling", "via", "trace", "pad",
    "placement", "component", "ground", "power", "clock", "testing", "spacing", "width", "design", "rule",
    "check", "footprint", "package", "pin", "bus", "shielding", "thermal", "relief", "outline", "silk",
    "mask", "paste", "and", "to", "a", "is", "for", "on", "with", "between", "plane", "keepout",
};

std::mt19937& Random() {
    static std::mt19937 rng(12345);
    return rng;
}

std::string Word() {
    auto& rng = Random();
    std::string w = words[rng() % (sizeof words / sizeof *words)];
    if (rng() % 8 == 0) w = std::string(1, static_cast<char>('A' + rng() % 26)) + std::to_string(rng() % 1000);
    if (rng() % 13 == 0) w = std::to_string(rng() % 100000);
    return w;
}

// Words, numbers and reference designators, in lines of about 70 bytes: 1 MiB.
std::string const& Text() {
    static std::string const text = [] {
        std::string t;
        std::size_t line = 0;
        while (t.size() < (std::size_t(1) << 20)) {
            std::string w = Word();
            t += w;
            line += w.size() + 1;
            if (line > 70) {
                t += '\n';
                line = 0;
            } else {
                t += Random()() % 11 == 0 ? ", " : " ";
            }
        }
        t.resize(std::size_t(1) << 20);
        return t;
    }();
    return text;
}

// Names of exactly 32 bytes: words and numbers joined by '_'.
std::vector<std::string> const& Names() {
    static std::vector<std::string> const names = [] {
        std::vector<std::string> n;
        for (int i = 0; i < 1024; ++i) {
            std::string s;
            while (s.size() < 32) s += (s.empty() ? "" : "_") + Word();
            s.resize(32);
            n.push_back(s);
        }
        return n;
    }();
    return names;
}

struct Found {
    int position, length;
};

class Ours {
public:
    explicit Ours(Case const& c) : m_pattern(c.ours) {}
    Found First(char const* text, std::size_t) {
        int length = 0;
        int position = m_pattern.Match(text, &length);
        return {position, length};
    }

private:
    SYS_StrPattern m_pattern;
};

class StdRegex {
public:
    explicit StdRegex(Case const& c) : m_regex(c.theirs) {}
    Found First(char const* text, std::size_t size) {
        std::cmatch m;
        if (!std::regex_search(text, text + size, m, m_regex)) return {-1, 0};
        return {static_cast<int>(m.position(0)), static_cast<int>(m.length(0))};
    }

private:
    std::regex m_regex;
};

class Pcre2 {
public:
    explicit Pcre2(Case const& c) {
        int error;
        PCRE2_SIZE offset;
        m_code = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(c.theirs), PCRE2_ZERO_TERMINATED, 0, &error, &offset, nullptr);
        if (m_code == nullptr) std::abort();
        m_data = pcre2_match_data_create_from_pattern(m_code, nullptr);
    }
    ~Pcre2() {
        pcre2_match_data_free(m_data);
        pcre2_code_free(m_code);
    }
    Pcre2(Pcre2 const&) = delete;
    Pcre2& operator=(Pcre2 const&) = delete;
    Found First(char const* text, std::size_t size) {
        int rc = pcre2_match(m_code, reinterpret_cast<PCRE2_SPTR>(text), size, 0, 0, m_data, nullptr);
        if (rc < 0) return {-1, 0};
        PCRE2_SIZE* v = pcre2_get_ovector_pointer(m_data);
        return {static_cast<int>(v[0]), static_cast<int>(v[1] - v[0])};
    }

private:
    pcre2_code* m_code;
    pcre2_match_data* m_data;
};

// Every match in the text, each search starting behind the last match; a checksum of them.
template <class Engine>
long AllMatches(Engine& engine, std::string const& text) {
    long sum = 0;
    std::size_t offset = 0;
    while (offset < text.size()) {
        Found f = engine.First(text.c_str() + offset, text.size() - offset);
        if (f.position < 0) break;
        sum += static_cast<long>(offset) + f.position + 7L * f.length;
        offset += static_cast<std::size_t>(f.position) + static_cast<std::size_t>(f.length > 0 ? f.length : 1);
    }
    return sum;
}

template <class Engine>
long EachName(Engine& engine, std::vector<std::string> const& names) {
    long sum = 0;
    for (std::string const& n : names) {
        Found f = engine.First(n.c_str(), n.size());
        sum += f.position * 64L + f.length;
    }
    return sum;
}

template <class Engine>
void TextRun(benchmark::State& state, Case const& c) {
    Engine engine(c);
    std::string const& text = Text();
    for (auto _ : state) benchmark::DoNotOptimize(AllMatches(engine, text));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

template <class Engine>
void NamesRun(benchmark::State& state, Case const& c) {
    Engine engine(c);
    std::vector<std::string> const& names = Names();
    for (auto _ : state) benchmark::DoNotOptimize(EachName(engine, names));
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(names.size()));
}

// The engines must find the same matches before their speed means anything.
void CheckAgreement() {
    for (Case const& c : cases) {
        Ours ours(c);
        StdRegex regex(c);
        Pcre2 pcre(c);
        long a = AllMatches(ours, Text()), b = AllMatches(regex, Text()), p = AllMatches(pcre, Text());
        long na = EachName(ours, Names()), nb = EachName(regex, Names()), np = EachName(pcre, Names());
        if (a != b || a != p || na != nb || na != np) {
            std::fprintf(stderr, "%s: the engines disagree (%ld %ld %ld, %ld %ld %ld)\n", c.name, a, b, p, na, nb, np);
            std::exit(1);
        }
    }
}

// The console report, then a table of MB/s, ns per call and ratios.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(std::vector<Run> const& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (Run const& r : runs) {
            // One figure per benchmark: the median when the runs are repeated.
            bool const median = r.run_type == Run::RT_Aggregate && r.aggregate_name == "median";
            if (r.error_occurred || (r.run_type != Run::RT_Iteration && !median)) continue;
            auto bytes = r.counters.find("bytes_per_second");
            auto items = r.counters.find("items_per_second");
            std::string const name = r.run_name.function_name;
            if (bytes != r.counters.end()) m_figures[name] = bytes->second.value / 1e6;
            if (items != r.counters.end()) m_figures[name] = 1e9 / items->second.value;
        }
    }

    void Finalize() override {
        ConsoleReporter::Finalize();
        std::printf("\n%-12s %14s %14s %14s %12s %12s\n", "1 MiB text", "Mortar MB/s", "std MB/s", "PCRE2 MB/s",
                    "vs std", "vs PCRE2");
        for (Case const& c : cases) {
            double m = Get("Text", c, "Mortar"), s = Get("Text", c, "StdRegex"), p = Get("Text", c, "Pcre2");
            std::printf("%-12s %14.1f %14.1f %14.1f %11.2fx %11.2fx\n", c.name, m, s, p, m / s, m / p);
        }
        std::printf("\n%-12s %14s %14s %14s %12s %12s\n", "32-byte name", "Mortar ns", "std ns", "PCRE2 ns",
                    "vs std", "vs PCRE2");
        for (Case const& c : cases) {
            double m = Get("Names", c, "Mortar"), s = Get("Names", c, "StdRegex"), p = Get("Names", c, "Pcre2");
            std::printf("%-12s %14.1f %14.1f %14.1f %11.2fx %11.2fx\n", c.name, m, s, p, m / s, m / p);
        }
        std::printf("(text: throughput ratios, higher is better; names: time ratios, lower is better)\n");
    }

private:
    double Get(char const* load, Case const& c, char const* engine) const {
        auto it = m_figures.find(std::string(load) + "/" + c.name + "/" + engine);
        return it == m_figures.end() ? 0.0 : it->second;
    }

    std::map<std::string, double> m_figures;
};

} // namespace

int main(int argc, char** argv) {
    CheckAgreement();
    for (Case const& c : cases) {
        std::string const name = c.name;
        benchmark::RegisterBenchmark(("Text/" + name + "/Mortar").c_str(), TextRun<Ours>, c);
        benchmark::RegisterBenchmark(("Text/" + name + "/StdRegex").c_str(), TextRun<StdRegex>, c);
        benchmark::RegisterBenchmark(("Text/" + name + "/Pcre2").c_str(), TextRun<Pcre2>, c);
        benchmark::RegisterBenchmark(("Names/" + name + "/Mortar").c_str(), NamesRun<Ours>, c);
        benchmark::RegisterBenchmark(("Names/" + name + "/StdRegex").c_str(), NamesRun<StdRegex>, c);
        benchmark::RegisterBenchmark(("Names/" + name + "/Pcre2").c_str(), NamesRun<Pcre2>, c);
    }
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
