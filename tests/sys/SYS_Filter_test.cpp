#include <mortar/sys/SYS_Filter.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

namespace {

// Every test call is written into this log, so that the order of evaluation shows.
std::string g_calls;

int Even(SYS_Filter const*, int handle) {
    g_calls += 'e';
    return handle % 2 == 0 ? 1 : 0;
}

int Positive(SYS_Filter const*, int handle) {
    g_calls += 'p';
    return handle > 0 ? 1 : 0;
}

// Answers the handle itself, so that results other than 0 and 1 reach the combinators.
int Identity(SYS_Filter const*, int handle) {
    g_calls += 'i';
    return handle;
}

std::vector<int> const kHandles = {INT_MIN, -7, -2, -1, 0, 1, 2, 3, 6, 12, INT_MAX};

TEST(Filter, PlainFiltersAndNot) {
    SYS_Filter none;
    EXPECT_EQ(none.Function, nullptr);
    EXPECT_EQ(none.Left, nullptr);
    EXPECT_EQ(none.Right, nullptr);
    EXPECT_EQ(none.Combined, nullptr);
    SYS_Filter identity(nullptr, nullptr, &Identity);
    SYS_Filter& notIdentity = !identity;
    EXPECT_EQ(notIdentity.Left, &identity);
    EXPECT_EQ(notIdentity.Right, nullptr);
    EXPECT_EQ(notIdentity.Function, &SYS_Filter::Not_F);
    EXPECT_EQ(identity.Combined, &notIdentity);
    for (int h : kHandles) {
        SCOPED_TRACE(h);
        EXPECT_EQ(none.IsTrue(h), 0);
        EXPECT_EQ(identity.IsTrue(h), h) << "an operator does not change what its object tests";
        EXPECT_EQ(notIdentity.IsTrue(h), h == 0 ? 1 : 0) << "any result but 0 is true, negative ones too";
    }
}

TEST(Filter, AndAndOrEvaluateRightThenLeftAlways) {
    SYS_Filter even(nullptr, nullptr, &Even), positive(nullptr, nullptr, &Positive);
    SYS_Filter identity(nullptr, nullptr, &Identity);
    SYS_Filter& both = even & positive;
    SYS_Filter& either = even | positive;
    EXPECT_EQ(even.Combined, &either) << "only the later result stays in Combined";
    EXPECT_EQ(both.Function, &SYS_Filter::And_F);
    EXPECT_EQ(either.Function, &SYS_Filter::Or_F);

    g_calls.clear();
    EXPECT_EQ(both.IsTrue(-4), 0);
    EXPECT_EQ(g_calls, "pe") << "the right operand first, and the left one even after a 0";
    g_calls.clear();
    EXPECT_EQ(either.IsTrue(3), 1);
    EXPECT_EQ(g_calls, "pe");

    // The combination is bitwise, on whatever the operands answer.
    SYS_Filter& masked = identity & positive;
    SYS_Filter& merged = identity | positive;
    for (int h : kHandles) {
        SCOPED_TRACE(h);
        EXPECT_EQ(both.IsTrue(h), (h % 2 == 0) & (h > 0));
        EXPECT_EQ(either.IsTrue(h), (h % 2 == 0) | (h > 0));
        EXPECT_EQ(masked.IsTrue(h), h & (h > 0 ? 1 : 0));
        EXPECT_EQ(merged.IsTrue(h), h | (h > 0 ? 1 : 0));
    }

    // Null operands count as filters that answer 0.
    SYS_Filter lonelyAnd(nullptr, nullptr, &SYS_Filter::And_F),
        lonelyOr(&identity, nullptr, &SYS_Filter::Or_F);
    SYS_Filter lonelyNot(nullptr, nullptr, &SYS_Filter::Not_F);
    EXPECT_EQ(lonelyAnd.IsTrue(5), 0);
    EXPECT_EQ(lonelyOr.IsTrue(5), 5);
    EXPECT_EQ(lonelyNot.IsTrue(5), 1);
}

TEST(Filter, ExpressionTreesMatchTheirLogic) {
    SYS_Filter even(nullptr, nullptr, &Even), positive(nullptr, nullptr, &Positive);
    SYS_Filter small(nullptr, nullptr, [](SYS_Filter const*, int h) { return h < 5 ? 1 : 0; });
    // (even | positive) & !small, the result owned by even's chain.
    SYS_Filter& tree = (even | positive) & !small;
    EXPECT_EQ(even.Combined->Combined, &tree);
    for (int h : kHandles) {
        SCOPED_TRACE(h);
        bool const expected = (h % 2 == 0 || h > 0) && !(h < 5);
        EXPECT_EQ(tree.IsTrue(h), expected ? 1 : 0);
    }

    // A derived filter takes part through its virtual IsTrue.
    struct Multiple : SYS_Filter {
        int factor = 3;
        int IsTrue(int handle) const override { return handle % factor == 0 ? 1 : 0; }
    } three;
    SYS_Filter& evenThree = even & three;
    EXPECT_EQ(evenThree.IsTrue(6), 1);
    EXPECT_EQ(evenThree.IsTrue(3), 0);
    EXPECT_EQ(evenThree.IsTrue(4), 0);
}

TEST(Filter, ReplacedResultsLiveUntilTheirOwnerGoes) {
    // Run under the sanitizers: every result must be readable while its owner lives, and
    // nothing may leak or be freed twice.
    auto owner = std::make_unique<SYS_Filter>(nullptr, nullptr, &Even);
    SYS_Filter positive(nullptr, nullptr, &Positive);
    std::vector<SYS_Filter*> results;
    for (int i = 0; i < 5; ++i)
        results.push_back(i % 2 ? &(*owner | positive) : &(*owner & positive));
    results.push_back(&(!*results[0]));
    for (SYS_Filter* r : results)
        EXPECT_EQ(r->Left == owner.get() || r->Left == results[0], true);
    EXPECT_EQ(results[0]->IsTrue(2), 1) << "a replaced result is still alive";
    EXPECT_EQ(results[5]->IsTrue(2), 0);
    EXPECT_EQ(owner->Combined, results[4]);
    owner.reset();

    // A long line of replacements goes without deep recursion.
    SYS_Filter busy(nullptr, nullptr, &Even);
    for (int i = 0; i < 200000; ++i)
        busy | positive;
    EXPECT_EQ(busy.Combined->Right, &positive);
}

TEST(Filter, CopiesShareCombinedAndAssignmentKeepsIt) {
    SYS_Filter positive(nullptr, nullptr, &Positive);
    SYS_Filter even(nullptr, nullptr, &Even);
    SYS_Filter& sourceResult = even | positive;
    {
        SYS_Filter copy(even);
        EXPECT_EQ(copy.Function, even.Function);
        EXPECT_EQ(copy.Combined, &sourceResult) << "the copy constructor copies all four members";
        // The copy's own operator replaces its Combined; the shared one stays the source's.
        SYS_Filter& copyResult = copy & positive;
        EXPECT_EQ(copy.Combined, &copyResult);
        EXPECT_EQ(copyResult.Left, &copy);
        // A copy of a copy, destroyed first.
        SYS_Filter second(copy);
        EXPECT_EQ(second.Combined, &copyResult);
    }
    EXPECT_EQ(sourceResult.IsTrue(4), 1) << "destroying the copies left the source's result alive";

    // The source goes first, its copies later.
    auto source = std::make_unique<SYS_Filter>(nullptr, nullptr, &Even);
    SYS_Filter& shared = *source | positive;
    SYS_Filter survivor(*source);
    source.reset();
    EXPECT_EQ(survivor.Combined, &shared);
    EXPECT_EQ(shared.Right, &positive) << "still alive (its left operand is not: it is not asked)";

    // Assignment copies the test and the operands; each side keeps its own Combined.
    SYS_Filter target;
    SYS_Filter& targetResult = !target;
    target = even;
    EXPECT_EQ(target.Function, &Even);
    EXPECT_EQ(target.Combined, &targetResult);
    EXPECT_EQ(targetResult.IsTrue(4), 0) << "!target now tests against the assigned test";
    target = target;
    EXPECT_EQ(target.Function, &Even);

    // Combined set by hand: taken out (the caller then owns it), or given a new filter.
    SYS_Filter holder;
    std::unique_ptr<SYS_Filter> taken(&(holder | positive));
    holder.Combined = nullptr;
    EXPECT_EQ(taken->IsTrue(1), 1);
    holder.Combined = new SYS_Filter(nullptr, nullptr, &Positive);
}

} // namespace
