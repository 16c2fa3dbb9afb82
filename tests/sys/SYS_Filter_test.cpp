#include <mortar/sys/SYS_Filter.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

namespace {

// Every test call is logged, so that the order of evaluation shows.
std::string g_calls;
int Log(char call, bool result) { return g_calls += call, result ? 1 : 0; }
int Even(SYS_Filter const*, int handle) { return Log('e', handle % 2 == 0); }
int Positive(SYS_Filter const*, int handle) { return Log('p', handle > 0); }
// Answers the handle itself, so that results other than 0 and 1 reach the combinators.
int Identity(SYS_Filter const*, int handle) { return handle; }

TEST(Filter, CombinatorsAreBitwiseAndEvaluateRightThenLeft) {
    SYS_Filter none, even(nullptr, nullptr, &Even), positive(nullptr, nullptr, &Positive);
    SYS_Filter identity(nullptr, nullptr, &Identity);
    SYS_Filter& notIdentity = !identity;
    EXPECT_TRUE(notIdentity.Left == &identity && !notIdentity.Right && identity.Combined == &notIdentity);
    SYS_Filter &both = even & positive, &either = even | positive;
    EXPECT_EQ(even.Combined, &either) << "only the later result stays in Combined";
    SYS_Filter &masked = identity & positive, &merged = identity | positive;
    for (int h : {INT_MIN, -7, -2, -1, 0, 1, 2, 3, 6, 12, INT_MAX}) {
        // An operator does not change what its object tests; any result but 0 is true; & and | are
        // bitwise.
        int const p = h > 0;
        EXPECT_TRUE(none.IsTrue(h) == 0 && identity.IsTrue(h) == h && notIdentity.IsTrue(h) == (h == 0) &&
                    masked.IsTrue(h) == (h & p) && merged.IsTrue(h) == (h | p))
            << h;
    }
    g_calls.clear();
    EXPECT_TRUE(both.IsTrue(-4) == 0 && either.IsTrue(3) == 1 && both.IsTrue(2) == 1 &&
                either.IsTrue(-1) == 0);
    EXPECT_EQ(g_calls, "pepepepe") << "the right operand first, and the left one even after a 0";

    // Null operands count as filters that answer 0.
    EXPECT_TRUE(SYS_Filter(nullptr, nullptr, &SYS_Filter::And_F).IsTrue(5) == 0 &&
                SYS_Filter(&identity, nullptr, &SYS_Filter::Or_F).IsTrue(5) == 5 &&
                SYS_Filter(nullptr, nullptr, &SYS_Filter::Not_F).IsTrue(5) == 1);

    // A tree hangs on the first object; a derived filter takes part through its virtual IsTrue.
    struct Multiple : SYS_Filter {
        int IsTrue(int handle) const override { return handle % 3 == 0 ? 1 : 0; }
    } three;
    SYS_Filter& tree = (even | positive) & !three;
    EXPECT_EQ(even.Combined->Combined, &tree);
    EXPECT_TRUE(tree.IsTrue(4) == 1 && tree.IsTrue(-2) == 1 && tree.IsTrue(6) == 0 && tree.IsTrue(-3) == 0);
}

// Run under the sanitizers: every result must be readable while its owner lives, and nothing
// may leak or be freed twice.
TEST(Filter, ReplacedResultsLiveUntilTheirOwnerGoes) {
    auto owner = std::make_unique<SYS_Filter>(nullptr, nullptr, &Even);
    SYS_Filter positive(nullptr, nullptr, &Positive);
    SYS_Filter* first = &(*owner & positive);
    for (int i = 0; i < 4; ++i) i % 2 ? *owner & positive : *owner | positive;
    SYS_Filter& notFirst = !*first;
    EXPECT_TRUE(first->IsTrue(2) == 1 && notFirst.IsTrue(2) == 0) << "a replaced result is still alive";
    owner.reset();

    // A long line of replacements goes without deep recursion.
    SYS_Filter busy(nullptr, nullptr, &Even);
    for (int i = 0; i < 200000; ++i) busy | positive;
    EXPECT_EQ(busy.Combined->Right, &positive);
}

TEST(Filter, CopiesShareCombinedAndAssignmentKeepsIt) {
    SYS_Filter positive(nullptr, nullptr, &Positive), even(nullptr, nullptr, &Even);
    SYS_Filter& sourceResult = even | positive;
    {
        SYS_Filter copy(even);
        EXPECT_TRUE(copy.Function == &Even && copy.Combined == &sourceResult) << "all four members copied";
        // The copy's own operator replaces its Combined; the shared one stays the source's.
        SYS_Filter& copyResult = copy & positive;
        EXPECT_TRUE(copy.Combined == &copyResult && copyResult.Left == &copy);
    }
    EXPECT_EQ(sourceResult.IsTrue(4), 1) << "destroying the copies left the source's result alive";

    // The source goes first, its copies later.
    auto source = std::make_unique<SYS_Filter>(nullptr, nullptr, &Even);
    SYS_Filter& shared = *source | positive;
    SYS_Filter survivor(*source);
    source.reset();
    EXPECT_TRUE(survivor.Combined == &shared && shared.Right == &positive);

    // Assignment copies the test and the operands; each side keeps its own Combined.
    SYS_Filter target;
    SYS_Filter& targetResult = !target;
    target = even;
    EXPECT_TRUE(target.Function == &Even && target.Combined == &targetResult);
    EXPECT_EQ(targetResult.IsTrue(4), 0) << "!target now tests against the assigned test";

    // Combined set by hand: taken out (the caller then owns it), or given a new filter.
    SYS_Filter holder;
    std::unique_ptr<SYS_Filter> taken(&(holder | positive));
    holder.Combined = nullptr;
    EXPECT_EQ(taken->IsTrue(1), 1);
    holder.Combined = new SYS_Filter(nullptr, nullptr, &Positive);
}

} // namespace
