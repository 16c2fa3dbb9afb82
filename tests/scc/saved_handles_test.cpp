#include <mortar/scc/SCC_SavedHandles.h>

#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<int32_t, int>>;

// The notifiers of the application's object kinds, by type; type 3 has none.
std::map<int32_t, SCC_Notifier*> g_Events;
int g_Live = 0;

// An entry whose objects move on code 8: their handles become 100 - handle.
class Entry : public SCC_HandleWithEvent {
public:
    Entry(int handle, int32_t type, SCC_SavedHandles* owner) : SCC_HandleWithEvent(handle, type, owner) { ++g_Live; }
    ~Entry() override { --g_Live; }
    SCC_Notifier* GetChangeEvent() override {
        auto const it = g_Events.find(m_Type);
        return it == g_Events.end() ? nullptr : it->second;
    }
    void OnUpdatePointers() override {
        updatedBeforeFlag = !static_cast<SCC_SavedHandles*>(m_Owner)->NeedsSorting();
        m_Handle = 100 - m_Handle;
    }
    bool updatedBeforeFlag = false;
};

// The table that makes entries; type 99 is a kind it can't remember.
class Table : public SCC_SavedHandles {
public:
    Pairs Content() {
        Pairs pairs;
        for (int32_t i = 0; i < GetCount(); ++i) pairs.emplace_back(FastGetAt(i)->GetType(), FastGetAt(i)->GetHandle());
        return pairs;
    }

protected:
    SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type) override {
        if (type == 99) return nullptr;
        return new Entry(handle, type, this);
    }
};

void Send(SCC_Notifier& event, int code, int handle) { event.Notify(code, mortar::HandleToData(handle)); }

TEST(SavedHandles, SaveFindAndDeleteKeepTheTableOrdered) {
    SCC_Notifier nets;
    g_Events = {{1, &nets}, {2, &nets}};
    {
        SCC_SavedHandles plain;
        EXPECT_EQ(plain.Save(1, 1), 0) << "the base table makes no entries";
        EXPECT_EQ(plain.GetCount(), 0);

        Table table;
        EXPECT_EQ(table.Save(7, 1), 1);
        EXPECT_EQ(table.Save(5, 1), 1);
        EXPECT_EQ(table.Save(3, 2), 1);
        EXPECT_EQ(table.Save(9, 3), 1) << "an entry without a change event is stored all the same";
        EXPECT_EQ(table.Save(5, 1), 0) << "a pair is saved once";
        EXPECT_EQ(table.Save(4, 99), 0) << "the factory gave nothing";
        EXPECT_EQ(table.Content(), (Pairs{{1, 5}, {1, 7}, {2, 3}, {3, 9}})) << "by type, then handle";
        EXPECT_EQ(g_Live, 4);

        int32_t position = -1;
        SCC_SharedPointer<SCC_HandleWithEvent> found = table.Find(3, 2, &position);
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(position, 2);
        EXPECT_EQ(found->GetOwner(), &table);
        EXPECT_EQ(table.Find(6, 1, &position), nullptr);
        EXPECT_EQ(position, 1) << "where the pair belongs";
        EXPECT_NE(table.Find(9, 3, nullptr), nullptr) << "without a position";
        EXPECT_EQ(table.Find(3, 1, nullptr), nullptr) << "the same handle of another type";

        EXPECT_EQ(table.Delete(3, 2), 1);
        EXPECT_EQ(g_Live, 4) << "the caller still holds the entry";
        found = nullptr;
        EXPECT_EQ(g_Live, 3);
        EXPECT_EQ(table.Delete(3, 2), 0);
        EXPECT_EQ(table.Delete(9, 3), 1);
        EXPECT_EQ(g_Live, 2) << "the last entry goes at once too";
        EXPECT_EQ(table.Content(), (Pairs{{1, 5}, {1, 7}}));

        // Copies share the entries.
        Table& same = table;
        SCC_SavedHandles copy(same);
        EXPECT_EQ(copy.GetCount(), 2);
        EXPECT_EQ(copy.NeedsSorting(), false);
    }
    EXPECT_EQ(g_Live, 0);
    g_Events.clear();
}

TEST(SavedHandles, NotificationsKeepTheTableTrue) {
    SCC_Notifier nets;
    SCC_Notifier parts;
    g_Events = {{1, &nets}, {2, &parts}};
    {
        Table table;
        for (int h : {5, 7, 8}) table.Save(h, 1);
        table.Save(5, 2);

        // Code 2 carries the handle of the removed object: the first entry that hears it takes
        // it out (here itself), the others find nothing.
        Send(nets, CN_ItemRemoved, 5);
        EXPECT_EQ(table.Content(), (Pairs{{1, 7}, {1, 8}, {2, 5}}));
        EXPECT_EQ(g_Live, 3);
        Send(nets, CN_ItemRemoved, 42);
        Send(nets, CN_ItemNotice, 7);
        EXPECT_EQ(table.Content(), (Pairs{{1, 7}, {1, 8}, {2, 5}})) << "unknown pairs and other codes";

        // Code 8: each entry brings its handle up to date before the table hears of it, and the
        // next lookup sorts.
        Send(nets, CN_HandlesChanged, 0);
        EXPECT_TRUE(table.NeedsSorting());
        EXPECT_TRUE(static_cast<Entry*>(static_cast<SCC_HandleWithEvent*>(table.FastGetAt(0)))->updatedBeforeFlag);
        EXPECT_EQ(table.Content(), (Pairs{{1, 93}, {1, 92}, {2, 5}})) << "direct access sees the old order";
        int32_t position = -1;
        EXPECT_NE(table.Find(92, 1, &position), nullptr);
        EXPECT_EQ(position, 0);
        EXPECT_FALSE(table.NeedsSorting());
        EXPECT_EQ(table.Content(), (Pairs{{1, 92}, {1, 93}, {2, 5}}));

        // Code 7 empties the table from inside the walk of a notifier with several entries.
        Send(nets, CN_AllRemoved, 0);
        EXPECT_EQ(table.GetCount(), 0);
        EXPECT_EQ(g_Live, 0);
        Send(parts, CN_ItemRemoved, 5);
        Send(nets, CN_ItemRemoved, 92);

        table.Save(1, 2);
        EXPECT_EQ(table.Delete(1, 2), 1);
        EXPECT_EQ(g_Live, 0);
        Send(parts, CN_AllRemoved, 0);
    }
    g_Events.clear();
}

TEST(SavedHandles, EntriesCopyAndJoinChains) {
    SCC_Notifier event;
    SCC_HandleWithEvent a(5, 1, nullptr);
    event.Add(&a);
    SCC_HandleWithEvent copy(a);
    EXPECT_EQ(copy.GetRoot(), nullptr) << "a copy is out of any chain";
    EXPECT_EQ(copy.GetHandle(), 5);
    EXPECT_EQ(copy.GetType(), 1);
    SCC_HandleWithEvent b(6, 2, nullptr);
    b = a;
    EXPECT_EQ(b.GetRoot(), &event) << "an assigned entry joins the source's chain";
    EXPECT_EQ(b.GetHandle(), 5);
    EXPECT_EQ(b.GetChangeEvent(), nullptr);
    Send(event, CN_ItemRemoved, 5);  // entries without an owner report nothing

    SCC_SharedPointer<SCC_HandleWithEvent> null;
    SCC_SharedPointer<SCC_HandleWithEvent> entry(&a);
    EXPECT_LT(SCC_Compare(null, entry), 0);
    EXPECT_EQ(SCC_Compare(entry, SCC_SharedPointer<SCC_HandleWithEvent>(&b)), 0);
}

} // namespace
