// The pattern matcher checked against the plain recursive procedure, and at its limits: long
// texts on a bounded machine stack, and patterns on which the plain procedure takes exponential time.
#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include "support/pattern_reference.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using mortar::test::PatternReference;

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

using Found = std::pair<int, int>; // position and length of a match
Found const None{-1, 0};

Found MatchOf(SYS_StrPattern const& pattern, std::string const& text) {
    int length = -7;
    int position = pattern.Match(text.c_str(), &length);
    return {position, length};
}
Found Expected(PatternReference::Result const& r) {
    return {r.position, r.length};
}
std::string ProgramOf(char const* pattern) {
    return std::string(SYS_StrPattern(pattern));
}

// Random patterns of the dialect, mostly valid, built from a few letters so that matches happen,
// and texts of the same letters (with `doubleByte`, also characters of code page 932).
struct PatternMaker {
    std::mt19937& rng;
    bool doubleByte;

    std::size_t Pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng); }
    bool Chance(std::size_t oneIn) { return Pick(oneIn) == 0; }

    std::string Pattern() {
        std::string p = Alternatives(0);
        if (Chance(8)) p.insert(Pick(p.size() + 1), 1, "()|*+?@#^[]\\-:"[Pick(14)]); // often invalid
        return p;
    }
    std::string Text(std::size_t longest) {
        static char const* const pieces[] = {"a", "a", "b", "c", "1", "2", "-", ".", "f", " ", "x"};
        std::string t;
        for (std::size_t n = Pick(longest + 1); t.size() < n;)
            t += doubleByte && Chance(5) ? (Chance(2) ? "\x82\xa0" : "\x82\x61") : pieces[Pick(11)];
        if (doubleByte && Chance(6)) t += '\x82'; // a lead byte before the terminator
        return t;
    }
    std::string Alternatives(int depth) {
        std::string p = Sequence(depth);
        while (Chance(depth == 0 ? 4 : 3)) p += "|" + Sequence(depth);
        return p;
    }
    std::string Sequence(int depth) {
        std::string p = Chance(10) ? "^" : "";
        for (std::size_t n = 1 + Pick(3); n > 0; --n) {
            p += Atom(depth);
            if (Chance(2)) p += "*+@#?"[Pick(5)];
        }
        return p;
    }
    std::string Atom(int depth) {
        static char const* const atoms[] = {"a",  "a",  "b",  "c",  ".",  "[ab]",  "[^a]", "[a-c]",
                                            "[-1]", ":d", ":z", ":n", ":h", ":a",    ":x",   ":b",
                                            ":l",   "$",  "1",  "-",  "f",  "\\x61", "\\.",  "x"};
        if (depth < 3 && Chance(4)) return "(" + Alternatives(depth + 1) + ")";
        if (doubleByte && Chance(6)) return Chance(2) ? "\x82\xa0" : "[\x82\xa0-\x82\xa2]";
        return atoms[Pick(sizeof atoms / sizeof *atoms)];
    }
};

// Compares the library with the reference on random patterns and texts: Match on each text,
// Substitute on every fourth. Counts the comparisons that the reference answered.
void CompareWithReference(bool doubleByte, unsigned seed, int patterns, int& compared) {
    std::mt19937 rng(seed);
    PatternMaker maker{rng, doubleByte};
    PatternReference reference(20000);
    for (int i = 0; i < patterns; ++i) {
        std::string const pattern = maker.Pattern();
        SYS_StrPattern compiled(pattern.c_str());
        std::string const program(compiled);
        for (int j = 0; j < 8; ++j) {
            std::string const text = maker.Text(12);
            PatternReference::Result expected = reference.Match(program, text.c_str());
            if (!expected.answered) continue;
            ++compared;
            ASSERT_EQ(MatchOf(compiled, text), Expected(expected)) << pattern << " on " << text;
            std::string want = text;
            if (j % 4 != 0 || reference.Substitute(program, want, "<>", j % 3) < 0) continue;
            SYS_StringBase got(text.c_str());
            compiled.Substitute(got, "<>", j % 3);
            ASSERT_EQ(want, got.GetString()) << "Substitute " << pattern << " on " << text;
        }
    }
}

TEST(StrPatternEngine, AgreesWithThePlainProcedure) {
    int compared = 0;
    CompareWithReference(false, 1, 3000, compared);
    EXPECT_GT(compared, 20000);
    CodePageScope japanese(mortar::CodePageJapanese);
    compared = 0;
    CompareWithReference(true, 2, 2000, compared);
    EXPECT_GT(compared, 12000);
}

TEST(StrPatternEngine, AgreesWhereItRemembersResults) {
    // Chains of optional and alternative pieces over runs of one letter make the matcher switch to
    // remembering results; the answers must not change.
    std::mt19937 rng(3);
    auto pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng); };
    static char const* const pieces[] = {"a?",       "(a|aa)", "(a?|b)",  "(aa?)?", "a*",
                                         "(a|a?a)*", "(a@)?",  "(a?a?)+", "(.|a)#", ":x?"};
    static char const* const tails[] = {"b", "$", "", "a", "(b|$)", "^"};
    PatternReference reference(2000000);
    int compared = 0;
    for (int i = 0; i < 150; ++i) {
        std::string pattern = i % 7 == 0 ? "^" : "";
        for (std::size_t n = 8 + pick(10); n > 0; --n) pattern += pieces[pick(10)];
        pattern += tails[pick(6)];
        std::string text(14 + pick(14), 'a');
        if (pick(3) == 0) text += 'b';
        if (pick(3) == 0) text.insert(0, "c");
        PatternReference::Result expected = reference.Match(ProgramOf(pattern.c_str()), text.c_str());
        if (!expected.answered) continue;
        ++compared;
        EXPECT_EQ(MatchOf(pattern.c_str(), text), Expected(expected)) << pattern << " on " << text;
    }
    EXPECT_GT(compared, 75);
}

// Runs `work` on a thread whose machine stack has `bytes`.
void OnStack(std::size_t bytes, std::function<void()> work) {
    pthread_attr_t attributes;
    pthread_t thread;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    auto run = [](void* arg) -> void* { return (*static_cast<std::function<void()>*>(arg))(), nullptr; };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(StrPatternEngine, LongTextsAndPatternsNeedNoDeepStack) {
    int const mebibyte = 1 << 20;
    std::string const as(mebibyte, 'a');
    std::string ab;
    for (int i = 0; i < mebibyte / 2; ++i) ab += "ab";
    // Thousands of items in sequence and in alternation, and groups nested to the bound.
    std::string optional, words;
    for (int i = 0; i < 20000; ++i) {
        optional += "a?";
        words += (i == 0 ? "w" : "|w") + std::to_string(i);
    }
    std::string const nested = std::string(1000, '(') + "ab|b*a" + std::string(1000, ')') + "c";
    std::tuple<char const*, std::string, int, int> const cases[] = {
        {"a*b", as + "b", 0, mebibyte + 1},         {"a*b", as, -1, 0},
        {".*x", as + "x", 0, mebibyte + 1},         {".*x", as, -1, 0},
        {"(ab)*c", ab + "c", 0, mebibyte + 1},      {"(ab)*c", ab, -1, 0},
        {"a@b", as + "b", 0, mebibyte + 1},         {"a@b", as, -1, 0},
        {"(a|aa)*c", "x" + as + "c", 1, mebibyte + 1}, {"(a*)*b", as, -1, 0},
        {"(a|b)+$", "c" + ab, 1, mebibyte},         {optional.c_str(), "aaab", 0, 3},
        {words.c_str(), "x w19999 w7", 2, 6},       {nested.c_str(), "xabbac", 2, 4},
    };
    OnStack(std::size_t(8) << 20, [&] {
        for (auto const& [pattern, text, position, length] : cases)
            EXPECT_EQ(MatchOf(pattern, text), Found(position, length)) << std::string(pattern).substr(0, 12);
        SYS_StringBase target((as + "b" + as).c_str());
        EXPECT_EQ(SYS_StrPattern("a*b").Substitute(target, "x", 0), 1);
        EXPECT_EQ(target.GetLength(), mebibyte + 1);
    });
}

TEST(StrPatternEngine, NestedRepetitionsDoNotExplode) {
    std::string const forty(40, 'a');
    PatternReference reference(5000000);
    for (char const* pattern : {"(a|aa)*c", "(a*)*b", "(a@)*b", "((a|aa)*)+c"}) {
        PatternReference::Result expected = reference.Match(ProgramOf(pattern), forty.c_str());
        ASSERT_TRUE(expected.answered) << pattern;
        EXPECT_EQ(MatchOf(pattern, forty), Expected(expected)) << pattern;
    }
    // Each '?' and each '|' runs both ways with everything behind it: 2^40 runs of the plain procedure.
    auto chain = [](char const* piece, int n) {
        std::string p;
        while (n-- > 0) p += piece;
        return p;
    };
    std::pair<std::string, Found> const cases[] = {
        {chain("a?", 40) + forty, {0, 40}}, {chain("(a|a)", 40), {0, 40}}, {chain("(a?|b)", 40) + "c", None},
        {chain(".*", 40) + "c", None},      {chain("a*a", 20) + "c", None},
    };
    for (auto const& [pattern, expected] : cases)
        EXPECT_EQ(MatchOf(pattern.c_str(), forty + "b"), expected) << pattern;
}

TEST(StrPatternEngine, ThreadsShareOnePatternObject) {
    // Threads match with one object at once, the last time from a thread's own destructors, after
    // its working memory is gone.
    std::vector<SYS_StrPattern> const patterns = {"[a-z]+ing", "cat|category", ":d+",
                                                  "(a|aa)*c",  "a?a?a?aaa",    "x@y"};
    std::mt19937 rng(5);
    PatternMaker maker{rng, false};
    std::vector<std::string> texts(200);
    for (std::string& text : texts) text = maker.Text(40) + "category testing 123 aaaac xxy";
    auto results = [&] {
        std::vector<Found> out;
        for (SYS_StrPattern const& p : patterns)
            for (std::string const& t : texts) out.push_back(MatchOf(p, t));
        return out;
    };
    std::vector<Found> expected = results();
    expected.push_back({5, 0}); // the match made while the thread ends
    struct AtExit {
        std::function<void()> work;
        ~AtExit() { work(); }
    };
    std::vector<std::vector<Found>> got(4);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < got.size(); ++i)
        threads.emplace_back([&, i] {
            thread_local AtExit late; // made before the thread's first match, so destroyed after its memory
            late.work = [&, i] { got[i].push_back({patterns[0].Match("late testing", nullptr), 0}); };
            for (int round = 0; round < 3; ++round) got[i] = results();
        });
    for (std::thread& thread : threads) thread.join();
    for (std::vector<Found> const& g : got) EXPECT_EQ(g, expected);
}

TEST(StrPatternEngine, ProgramsRunUnderAnotherCodePageStaySafe) {
    // Compiled under 1252 and run under 932, the bytes of a program decode differently: the result
    // is not specified, but the run must stay inside the text and the program, and end.
    std::mt19937 rng(4);
    PatternMaker maker{rng, true};
    for (int i = 0; i < 2000; ++i) {
        std::string pattern = maker.Pattern();
        for (char& ch : pattern)
            if (ch == 'a' && rng() % 3 == 0) ch = '\xe9';
        SYS_StrPattern compiled(pattern.c_str());
        CodePageScope japanese(mortar::CodePageJapanese);
        std::string const text = maker.Text(16);
        auto [position, length] = MatchOf(compiled, text);
        EXPECT_TRUE(position >= 0 ? std::size_t(position + length) <= text.size() : length == 0) << pattern;
    }
}

} // namespace
