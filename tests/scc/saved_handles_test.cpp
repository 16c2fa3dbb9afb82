// Remembered handles beyond saved_handles_model_test.cpp: the base table, entries held by a caller,
// the order seen between a code 8 and the next lookup, copies of tables and entries.
#include <mortar/scc/SCC_SavedHandles.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<int32_t, int>>;
using Ptr = SCC_SharedPointer<SCC_HandleWithEvent>;
SCC_Notifier g_Event; // the change event of types 1 and 2; type 3 has none
int g_Live = 0;
std::vector<bool> g_Flags; // NeedsSorting as each entry is brought up to date

// An entry whose objects move on code 8: their handles become 100 - handle.
struct Entry : SCC_HandleWithEvent {
    using SCC_HandleWithEvent::SCC_HandleWithEvent;
    int counted = ++g_Live;
    ~Entry() override { --g_Live; }
    SCC_Notifier* GetChangeEvent() override { return m_Type == 3 ? nullptr : &g_Event; }
    void OnUpdatePointers() override {
        g_Flags.push_back(m_Owner->NeedsSorting());
        m_Handle = 100 - m_Handle;
    }
};

struct Table : SCC_SavedHandles {
    Ptr CreateByType(int handle, int32_t type) override { return new Entry(handle, type, this); }
    Pairs Content() {
        Pairs pairs;
        for (int32_t i = 0; i < GetCount(); ++i)
            pairs.emplace_back(FastGetAt(i)->GetType(), FastGetAt(i)->GetHandle());
        return pairs;
    }
};

TEST(SavedHandles, EntriesLiveWhileTableOrCallerHoldThem) {
    EXPECT_EQ(SCC_SavedHandles().Save(1, 1), 0) << "the base table makes no entries";
    Table table;
    for (auto [handle, type] : Pairs{{7, 1}, {3, 2}, {9, 3}})
        EXPECT_EQ(table.Save(handle, type), 1);
    EXPECT_EQ(table.Content(), (Pairs{{1, 7}, {2, 3}, {3, 9}})) << "an entry without a change event too";
    Ptr found = table.Find(3, 2, nullptr);
    EXPECT_EQ(table.Delete(3, 2), 1);
    EXPECT_EQ(table.Delete(9, 3), 1);
    EXPECT_EQ(g_Live, 2) << "the slot is released at once; the caller still holds its entry";
    found = nullptr;
    EXPECT_EQ(g_Live, 1);

    // Direct access sees the old order after a code 8, until the next lookup sorts.
    table.Save(20, 1);
    g_Event.Notify(CN_HandlesChanged, nullptr);
    EXPECT_EQ(g_Flags, (std::vector<bool>{false, true})) << "each entry is updated before it reports";
    EXPECT_EQ(table.Content(), (Pairs{{1, 93}, {1, 80}}));
    EXPECT_TRUE(SCC_SavedHandles(table).NeedsSorting()) << "a copy takes over the flag";
    table.Find(80, 1, nullptr);
    EXPECT_EQ(table.Content(), (Pairs{{1, 80}, {1, 93}}));
}

TEST(SavedHandles, EntriesCopyAndJoinChains) {
    SCC_Notifier event;
    SCC_HandleWithEvent a(5, 1, nullptr), b(6, 2, nullptr);
    event.Add(&a);
    SCC_HandleWithEvent copy(a);
    EXPECT_EQ(copy.GetRoot(), nullptr) << "a copy is out of any chain";
    b = a;
    EXPECT_EQ(b.GetRoot(), &event) << "an assigned entry joins the source's chain";
    event.Notify(CN_AllRemoved, nullptr); // entries without an owner report nothing
    EXPECT_LT(SCC_Compare(Ptr(), Ptr(&a)), 0) << "null orders first";
}

} // namespace
