// The pattern matcher checked against the plain recursive procedure, and at its limits: long
// texts on a bounded machine stack, and patterns on which the plain procedure takes exponential time.
#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include "support/pattern_reference.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <algorithm>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

using mortar::test::PatternReference;

struct CodePageScope {
    explicit CodePageScope(int cp) { mortar::SetCodePage(cp); }
    ~CodePageScope() { mortar::SetCodePage(mortar::CodePageWestern); }
};

// Random patterns of the dialect, mostly valid, built from a few letters so that matches happen.
class PatternMaker {
public:
    PatternMaker(std::mt19937& rng, bool doubleByte) : m_rng(rng), m_doubleByte(doubleByte) {}

    std::string Pattern() {
        std::string p = Alternatives(0);
        if (Chance(8)) p.insert(Pick(p.size() + 1), 1, "()|*+?@#^[]\\-:"[Pick(14)]); // often invalid
        return p;
    }

    std::string Text(std::size_t longest) {
        static char const* const pieces[] = {"a", "a", "b", "c", "1", "2", "-", ".", "f", " ", "x"};
        std::string t;
        for (std::size_t n = Pick(longest + 1); t.size() < n;) {
            if (m_doubleByte && Chance(5)) {
                t += Chance(2) ? "\x82\xa0" : "\x82\x61";
            } else {
                t += pieces[Pick(sizeof pieces / sizeof *pieces)];
            }
        }
        if (m_doubleByte && Chance(6)) t += '\x82'; // a lead byte before the terminator
        return t;
    }

private:
    std::size_t Pick(std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(m_rng); }
    bool Chance(std::size_t oneIn) { return Pick(oneIn) == 0; }

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
        static char const* const atoms[] = {
            "a", "a", "b", "c", ".", "[ab]", "[^a]", "[a-c]", "[-1]", ":d", ":z", ":n", ":h", ":a", ":x",
            ":b", ":l", "$", "\\x61", "1", "-", "\\.", "f", "x",
        };
        if (depth < 3 && Chance(4)) return "(" + Alternatives(depth + 1) + ")";
        if (m_doubleByte && Chance(6)) return Chance(2) ? "\x82\xa0" : "[\x82\xa0-\x82\xa2]";
        return atoms[Pick(sizeof atoms / sizeof *atoms)];
    }

    std::mt19937& m_rng;
    bool m_doubleByte;
};

// Compares the library with the reference on random patterns and texts; returns how many
// comparisons the reference answered.
int CompareWithReference(bool doubleByte, unsigned seed, int patterns, int textsEach, std::size_t longest, long budget) {
    std::mt19937 rng(seed);
    PatternMaker maker(rng, doubleByte);
    PatternReference reference(budget);
    int compared = 0;
    for (int i = 0; i < patterns; ++i) {
        std::string const pattern = maker.Pattern();
        SYS_StrPattern compiled(pattern.c_str());
        std::string const program(compiled);
        for (int j = 0; j < textsEach; ++j) {
            std::string const text = maker.Text(longest);
            PatternReference::Result expected = reference.Match(program, text.c_str());
            if (!expected.answered) continue;
            ++compared;
            int length = -1;
            int position = compiled.Match(text.c_str(), &length);
            if (position != expected.position || length != expected.length) {
                ADD_FAILURE() << "pattern \"" << pattern << "\" on \"" << text << "\": " << position << "," << length
                              << " instead of " << expected.position << "," << expected.length;
                return compared;
            }
            if (j % 4 != 0) continue;
            int const maxCount = int(j % 3);
            std::string want = text;
            if (reference.Substitute(program, want, "<>", maxCount) < 0) continue;
            SYS_StringBase got(text.c_str());
            compiled.Substitute(got, "<>", maxCount);
            if (want != got.GetString()) {
                ADD_FAILURE() << "Substitute \"" << pattern << "\" on \"" << text << "\": \"" << got.GetString()
                              << "\" instead of \"" << want << "\"";
                return compared;
            }
        }
    }
    return compared;
}

TEST(StrPatternEngine, AgreesWithThePlainProcedure) {
    EXPECT_GT(CompareWithReference(false, 1, 3000, 8, 12, 20000), 20000);
}

TEST(StrPatternEngine, AgreesWithThePlainProcedureOnDoubleByteText) {
    CodePageScope japanese(mortar::CodePageJapanese);
    EXPECT_GT(CompareWithReference(true, 2, 2000, 8, 12, 20000), 12000);
}

TEST(StrPatternEngine, AgreesWhereItRemembersResults) {
    // Chains of optional and alternative pieces over runs of one letter cost the plain procedure
    // exponential time, enough that the matcher switches to remembering results; the answers
    // must not change.
    std::mt19937 rng(3);
    auto pick = [&](std::size_t n) { return std::uniform_int_distribution<std::size_t>(0, n - 1)(rng); };
    static char const* const pieces[] = {"a?", "(a|aa)", "(a?|b)", "(aa?)?", "a*", "(a|a?a)*", "(a@)?", "(a?a?)+", "(.|a)#", ":x?"};
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
        SYS_StrPattern compiled(pattern.c_str());
        PatternReference::Result expected = reference.Match(std::string(compiled), text.c_str());
        if (!expected.answered) continue;
        ++compared;
        int length = -1;
        EXPECT_EQ(compiled.Match(text.c_str(), &length), expected.position) << pattern << " on " << text;
        EXPECT_EQ(length, expected.length) << pattern << " on " << text;
    }
    EXPECT_GT(compared, 75);
}

// Runs `work` on a thread whose machine stack has `bytes`.
void OnStack(std::size_t bytes, std::function<void()> work) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, bytes), 0);
    pthread_t thread;
    auto run = [](void* arg) -> void* {
        (*static_cast<std::function<void()>*>(arg))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST(StrPatternEngine, LongTextsNeedNoDeepStack) {
    std::size_t const mebibyte = std::size_t(1) << 20;
    std::string const as(mebibyte, 'a');
    std::string ab;
    for (std::size_t i = 0; i < mebibyte / 2; ++i) ab += "ab";
    struct Case {
        char const* pattern;
        std::string text;
        int position, length;
    } const cases[] = {
        {"a*b", as + "b", 0, int(mebibyte) + 1},
        {"a*b", as, -1, 0},
        {".*x", as + "x", 0, int(mebibyte) + 1},
        {".*x", as, -1, 0},
        {"(ab)*c", ab + "c", 0, int(mebibyte) + 1},
        {"(ab)*c", ab, -1, 0},
        {"a@b", as + "b", 0, int(mebibyte) + 1},
        {"a@b", as, -1, 0},
        {"(a*)*b", as, -1, 0},
        {"(a|aa)*c", "x" + as + "c", 1, int(mebibyte) + 1},
        {"(a|b)+$", "c" + ab, 1, int(mebibyte)},
    };
    OnStack(std::size_t(8) << 20, [&] {
        for (Case const& c : cases) {
            SCOPED_TRACE(c.pattern);
            int length = -1;
            EXPECT_EQ(SYS_StrPattern(c.pattern).Match(c.text.c_str(), &length), c.position);
            EXPECT_EQ(length, c.length);
        }
        SYS_StringBase target((as + "b" + as).c_str());
        EXPECT_EQ(SYS_StrPattern("a*b").Substitute(target, "x", 0), 1);
        EXPECT_EQ(target.GetLength(), int(mebibyte) + 1);
    });
}

TEST(StrPatternEngine, NestedRepetitionsDoNotExplode) {
    std::string const forty(40, 'a');
    PatternReference reference(5000000);
    for (char const* pattern : {"(a|aa)*c", "(a*)*b", "(a|aa)*", "(a*)*", "(a@)*b", "(a?)*b", "((a|aa)*)+c"}) {
        SCOPED_TRACE(pattern);
        SYS_StrPattern compiled(pattern);
        PatternReference::Result expected = reference.Match(std::string(compiled), forty.c_str());
        ASSERT_TRUE(expected.answered);
        int length = -1;
        EXPECT_EQ(compiled.Match(forty.c_str(), &length), expected.position);
        EXPECT_EQ(length, expected.length);
    }

    // Each '?' and each '|' runs both ways with everything behind it: 2^n runs of the plain
    // procedure. Small n checks the answers against it, large n that they come at all.
    auto chain = [](char const* piece, int n, char const* tail) {
        std::string p;
        for (int i = 0; i < n; ++i) p += piece;
        return p + tail;
    };
    for (int n : {8, 40}) {
        std::string const text = std::string(std::size_t(n), 'a') + "b";
        struct Case {
            std::string pattern;
            int position, length;
        } const cases[] = {
            {chain("a?", n, "") + std::string(std::size_t(n), 'a'), 0, n},
            {chain("(a|a)", n, ""), 0, n},
            {chain("(a|aa)", n / 2, "c"), -1, 0},
            {chain("(a?|b)", n, "c"), -1, 0},
            {chain("(a*|b)", n, "c"), -1, 0},
            {chain(".*", n, "c"), -1, 0},
            {chain("a*a", n / 2, "c"), -1, 0},
        };
        for (Case const& c : cases) {
            SCOPED_TRACE(c.pattern);
            SYS_StrPattern compiled(c.pattern.c_str());
            int length = -1;
            EXPECT_EQ(compiled.Match(text.c_str(), &length), c.position);
            EXPECT_EQ(length, c.length);
            if (n > 8) continue;
            PatternReference::Result expected = reference.Match(std::string(compiled), text.c_str());
            ASSERT_TRUE(expected.answered);
            EXPECT_EQ(expected.position, c.position);
            EXPECT_EQ(expected.length, c.length);
        }
    }
}

TEST(StrPatternEngine, LongPatternsNeedNoDeepStack) {
    // Thousands of items in sequence and in alternation, and groups nested to the bound.
    std::string optional;
    std::string words;
    for (int i = 0; i < 20000; ++i) {
        optional += "a?";
        words += i == 0 ? "w" : "|w";
        words += std::to_string(i);
    }
    std::string const nested = std::string(1000, '(') + "ab|b*a" + std::string(1000, ')') + "c";
    OnStack(std::size_t(8) << 20, [&] {
        int length = -1;
        EXPECT_EQ(SYS_StrPattern(optional.c_str()).Match("aaab", &length), 0);
        EXPECT_EQ(length, 3);
        EXPECT_EQ(SYS_StrPattern(words.c_str()).Match("x w19999 w7", &length), 2);
        EXPECT_EQ(length, 6);
        EXPECT_EQ(SYS_StrPattern(nested.c_str()).Match("xabbac", &length), 2);
        EXPECT_EQ(length, 4);
    });
}

TEST(StrPatternEngine, ThreadsShareOnePatternObject) {
    // Match leaves the object alone and keeps its working memory per thread, so threads may match
    // with one object at once, also from a thread's own destructors after its memory is gone.
    std::vector<SYS_StrPattern> const patterns = {"[a-z]+ing", "cat|category", ":d+", "(a|aa)*c", "a?a?a?aaa", "x@y"};
    std::vector<std::string> texts;
    std::mt19937 rng(5);
    PatternMaker maker(rng, false);
    for (int i = 0; i < 200; ++i) texts.push_back(maker.Text(40) + "category testing 123 aaaac xxy");
    auto results = [&] {
        std::vector<int> out;
        for (SYS_StrPattern const& p : patterns) {
            for (std::string const& t : texts) {
                int length = 0;
                out.push_back(p.Match(t.c_str(), &length) * 1000 + length);
            }
        }
        return out;
    };
    std::vector<int> const expected = results();
    struct AtExit {
        std::function<void()> work;
        ~AtExit() { work(); }
    };
    std::vector<std::vector<int>> got(4);
    std::vector<pthread_t> threads(4);
    std::vector<std::function<void()>> bodies;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        bodies.push_back([&, i] {
            thread_local AtExit late; // made before the thread's first match, so destroyed after its memory
            late.work = [&, i] { got[i].push_back(patterns[0].Match("late testing", nullptr)); };
            for (int round = 0; round < 3; ++round) got[i] = results();
        });
    }
    for (std::size_t i = 0; i < threads.size(); ++i) {
        auto run = [](void* arg) -> void* {
            (*static_cast<std::function<void()>*>(arg))();
            return nullptr;
        };
        ASSERT_EQ(pthread_create(&threads[i], nullptr, run, &bodies[i]), 0);
    }
    for (pthread_t thread : threads) pthread_join(thread, nullptr);
    for (std::vector<int> const& g : got) {
        ASSERT_EQ(g.size(), expected.size() + 1);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), g.begin()));
        EXPECT_EQ(g.back(), 5) << "the match made while the thread ends";
    }
}

TEST(StrPatternEngine, ProgramsRunUnderAnotherCodePageStaySafe) {
    // Compiled under 1252 and run under 932, the bytes of a program decode differently: the result
    // is not specified, but the run must stay inside the text and the program, and end.
    std::mt19937 rng(4);
    PatternMaker maker(rng, true);
    for (int i = 0; i < 2000; ++i) {
        std::string pattern = maker.Pattern();
        for (char& ch : pattern) {
            if (ch == 'a' && rng() % 3 == 0) ch = '\xe9';
        }
        SYS_StrPattern compiled(pattern.c_str());
        CodePageScope japanese(mortar::CodePageJapanese);
        std::string const text = maker.Text(16);
        int length = -1;
        int position = compiled.Match(text.c_str(), &length);
        if (position >= 0) {
            EXPECT_LE(std::size_t(position + length), text.size());
        } else {
            EXPECT_EQ(length, 0);
        }
    }
}

} // namespace
