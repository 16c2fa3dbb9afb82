// Remembered handles: what saved_handles_model_test.cpp does not reach (the base table, entries
// held by a caller, the order seen between a code 8 and the next lookup, copies of entries).
#include <mortar/scc/SCC_SavedHandles.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<int32_t, int>>;

SCC_Notifier* g_Event = nullptr; // the change event of types 1 and 2; type 3 has none
int g_Live = 0;

// An entry whose objects move on code 8: their handles become 100 - handle.
class Entry : public SCC_HandleWithEvent {
public:
    Entry(int handle, int32_t type, SCC_SavedHandles* owner) : SCC_HandleWithEvent(handle, type, owner) {
        ++g_Live;
    }
    ~Entry() override { --g_Live; }
    SCC_Notifier* GetChangeEvent() override { return m_Type == 3 ? nullptr : g_Event; }
    void OnUpdatePointers() override {
        updatedBeforeFlag = !m_Owner->NeedsSorting();
        m_Handle = 100 - m_Handle;
    }
    bool updatedBeforeFlag = false;
};

class Table : public SCC_SavedHandles {
public:
    Pairs Content() {
        Pairs pairs;
        for (int32_t i = 0; i < GetCount(); ++i)
            pairs.emplace_back(FastGetAt(i)->GetType(), FastGetAt(i)->GetHandle());
        return pairs;
    }

protected:
    SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type) override {
        return new Entry(handle, type, this);
    }
};

TEST(SavedHandles, EntriesLiveWhileTableOrCallerHoldThem) {
    SCC_Notifier event;
    g_Event = &event;
    {
        SCC_SavedHandles plain;
        EXPECT_EQ(plain.Save(1, 1), 0) << "the base table makes no entries";
        Table table;
        for (auto [handle, type] : Pairs{{7, 1}, {3, 2}, {9, 3}})
            EXPECT_EQ(table.Save(handle, type), 1);
        EXPECT_EQ(table.Content(), (Pairs{{1, 7}, {2, 3}, {3, 9}}))
            << "an entry without a change event is stored too";

        SCC_SharedPointer<SCC_HandleWithEvent> found = table.Find(3, 2, nullptr);
        EXPECT_EQ(table.Delete(3, 2), 1);
        EXPECT_EQ(g_Live, 3) << "the caller still holds the entry";
        found = nullptr;
        EXPECT_EQ(g_Live, 2);
        EXPECT_EQ(table.Delete(9, 3), 1);
        EXPECT_EQ(g_Live, 1) << "the slot is released at once";

        // Code 8: each entry brings its pair up to date before the table hears of it; direct
        // access sees the old order until the next lookup sorts.
        table.Save(20, 1);
        event.Notify(CN_HandlesChanged, nullptr);
        EXPECT_TRUE(
            static_cast<Entry*>(static_cast<SCC_HandleWithEvent*>(table.FastGetAt(0)))->updatedBeforeFlag);
        EXPECT_EQ(table.Content(), (Pairs{{1, 93}, {1, 80}}));
        SCC_SavedHandles copy(table);
        EXPECT_TRUE(copy.NeedsSorting()) << "a copy takes over the flag";
        EXPECT_EQ(copy.GetCount(), 2) << "and shares the entries";
        int32_t position = -1;
        EXPECT_NE(table.Find(80, 1, &position), nullptr);
        EXPECT_EQ(position, 0);
        EXPECT_EQ(table.Content(), (Pairs{{1, 80}, {1, 93}}));
    }
    EXPECT_EQ(g_Live, 0);
    g_Event = nullptr;
}

TEST(SavedHandles, EntriesCopyAndJoinChains) {
    SCC_Notifier event;
    SCC_HandleWithEvent a(5, 1, nullptr), b(6, 2, nullptr);
    event.Add(&a);
    SCC_HandleWithEvent copy(a);
    EXPECT_EQ(copy.GetRoot(), nullptr) << "a copy is out of any chain";
    EXPECT_EQ(copy.GetHandle(), 5);
    b = a;
    EXPECT_EQ(b.GetRoot(), &event) << "an assigned entry joins the source's chain";
    EXPECT_EQ(b.GetType(), 1);
    event.Notify(CN_AllRemoved, nullptr); // entries without an owner report nothing

    SCC_SharedPointer<SCC_HandleWithEvent> null, entry(&a);
    EXPECT_LT(SCC_Compare(null, entry), 0) << "null orders first";
    EXPECT_EQ(SCC_Compare(entry, SCC_SharedPointer<SCC_HandleWithEvent>(&b)), 0);
}

} // namespace
