// Remembered handles under random change against the set of (type, handle) pairs that must be saved:
// pairs saved and deleted through the table, removed, cleared and renumbered behind its back through
// a notifier per type. The table follows, keeps its order for lookups, and each entry dies with its pair.
#include <mortar/scc/SCC_SavedHandles.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <set>
#include <utility>

namespace {

constexpr int kTypes = 3, kHandles = 24;
using Pair = std::pair<int32_t, int>; // (type, handle): the order of the table

SCC_Notifier g_Notifier[kTypes + 1]; // the client's notifier per type
int g_Shift[kTypes + 1] = {};        // the shift by which a code 8 renumbers a type's handles
int g_LiveEntries = 0;

int Renumber(int handle, int shift) {
    return (handle - 1 + shift) % kHandles + 1;
}

struct Entry : SCC_HandleWithEvent {
    using SCC_HandleWithEvent::SCC_HandleWithEvent;
    int counted = ++g_LiveEntries;
    ~Entry() override { --g_LiveEntries; }
    SCC_Notifier* GetChangeEvent() override { return &g_Notifier[m_Type]; }
    void OnUpdatePointers() override { m_Handle = Renumber(m_Handle, g_Shift[m_Type]); }
};

// The factory refuses odd handles of type 3: such pairs can't be remembered.
struct Table : SCC_SavedHandles {
    SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type) override {
        return type == 3 && handle % 2 != 0 ? nullptr : new Entry(handle, type, this);
    }
};

void Step(std::mt19937& rng, Table& table, std::set<Pair>& model) {
    int32_t const type = static_cast<int32_t>(rng() % kTypes) + 1;
    int const handle = static_cast<int>(rng() % kHandles) + 1;
    Pair const pair(type, handle);
    switch (rng() % 12) {
    case 0: case 1: case 2: case 3: { // Save
        bool const refused = type == 3 && handle % 2 != 0;
        ASSERT_EQ(table.Save(handle, type), model.count(pair) || refused ? 0 : 1)
            << "Save " << type << "/" << handle;
        if (!refused) model.insert(pair);
        break;
    }
    case 4: case 5: // Delete
        ASSERT_EQ(table.Delete(handle, type), model.erase(pair) ? 1 : 0);
        break;
    case 6: case 7: // the object goes away: its type's notifier says so
        g_Notifier[type].Notify(CN_ItemRemoved, mortar::HandleToData(handle));
        model.erase(pair);
        break;
    case 8: { // the whole data set is cleared: every entry goes, if any entry listens there
        if (rng() % 6 != 0) break;
        bool const heard = model.lower_bound({type, 0}) != model.lower_bound({type + 1, 0});
        g_Notifier[type].Notify(CN_AllRemoved, nullptr);
        if (heard) model.clear();
        break;
    }
    case 9: { // the objects of a type move: every handle of the type is renumbered
        int const shift = g_Shift[type] = static_cast<int>(rng() % 7) + 1;
        g_Notifier[type].Notify(CN_HandlesChanged, nullptr);
        std::set<Pair> moved;
        for (Pair const& p : model)
            moved.insert(p.first == type ? Pair{type, Renumber(p.second, shift)} : p);
        model.swap(moved);
        break;
    }
    case 10: // a notification the table ignores
        g_Notifier[type].Notify(CN_ItemChanged, mortar::HandleToData(handle));
        break;
    default: { // look a pair up; the position is where it is or belongs: the number of smaller pairs
        int32_t position = -1;
        SCC_SharedPointer<SCC_HandleWithEvent> found = table.Find(handle, type, &position);
        ASSERT_EQ(found != nullptr, model.count(pair) > 0) << "Find " << type << "/" << handle;
        ASSERT_EQ(found ? Pair(found->GetType(), found->GetHandle()) : pair, pair);
        ASSERT_EQ(position, std::distance(model.begin(), model.lower_bound(pair)));
    }
    }
    ASSERT_EQ(table.GetCount(), static_cast<int>(model.size()));
    ASSERT_EQ(g_LiveEntries, static_cast<int>(model.size())) << "an entry outlived its pair, or died early";
    if (table.NeedsSorting()) return; // the order is restored by the next lookup
    int32_t i = table.GetLowerBound();
    for (Pair const& p : model) {
        SCC_SharedPointer<SCC_HandleWithEvent> const& e = table.FastGetAt(i++);
        ASSERT_EQ(Pair(e->GetType(), e->GetHandle()), p);
    }
}

TEST(SavedHandlesModel, RandomChangesMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(4242);
    long const steps = mortar::test::ModelSteps(100000);
    std::mt19937 rng(seed);
    std::set<Pair> model;
    {
        Table table;
        for (long i = 0; i < steps; ++i) {
            Step(rng, table, model);
            if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
        }
    }
    EXPECT_EQ(g_LiveEntries, 0) << "the table's destruction lets every entry go";
}

} // namespace
