// Remembered handles under random change, checked after every step against a plain model: the
// set of (type, handle) pairs that must be saved. The client has objects of three types, each
// type with a notifier; objects are saved and deleted through the table, and removed, cleared
// and renumbered behind its back through the notifiers. The table must follow by itself, keep
// its order (type, then handle) for every lookup, and let each entry die with its pair.
#include <mortar/scc/SCC_SavedHandles.h>
#include <mortar/scc/SCC_StdCollection.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <utility>

namespace {

constexpr int kTypes = 3;
constexpr int kHandles = 24;

// The client: a notifier per type, and the current renumbering of each type's objects.
struct Client {
    SCC_Notifier notifier[kTypes + 1];
    std::map<int, int> renumber[kTypes + 1]; // old handle -> new handle, during a code 8
};

int g_LiveEntries = 0;

class Entry : public SCC_HandleWithEvent {
public:
    Entry(int handle, int32_t type, SCC_SavedHandles* owner, Client* client)
        : SCC_HandleWithEvent(handle, type, owner), m_Client(client) {
        ++g_LiveEntries;
    }
    ~Entry() override { --g_LiveEntries; }
    SCC_Notifier* GetChangeEvent() override { return &m_Client->notifier[m_Type]; }
    void OnUpdatePointers() override {
        auto const& map = m_Client->renumber[m_Type];
        auto const it = map.find(m_Handle);
        if (it != map.end()) m_Handle = it->second;
    }

private:
    Client* m_Client;
};

class Table : public SCC_SavedHandles {
public:
    explicit Table(Client* client) : m_Client(client) {}
    // The factory refuses odd handles of type 3: such pairs can't be remembered.
    SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type) override {
        if (type == 3 && handle % 2 != 0) return SCC_SharedPointer<SCC_HandleWithEvent>();
        return SCC_SharedPointer<SCC_HandleWithEvent>(new Entry(handle, type, this, m_Client));
    }

private:
    Client* m_Client;
};

using Pair = std::pair<int32_t, int>; // (type, handle): the order of the table

class SavedHandlesModelCheck {
public:
    explicit SavedHandlesModelCheck(uint32_t seed) : m_Rng(seed), m_Table(&m_Client) {}

    void Step() {
        int32_t const type = static_cast<int32_t>(m_Rng() % kTypes) + 1;
        int const handle = static_cast<int>(m_Rng() % kHandles) + 1;
        switch (m_Rng() % 12) {
        case 0:
        case 1:
        case 2:
        case 3: { // Save
            bool const refused = type == 3 && handle % 2 != 0;
            bool const known = m_Model.count({type, handle}) > 0;
            ASSERT_EQ(m_Table.Save(handle, type), known || refused ? 0 : 1) << "Save " << type << "/" << handle;
            if (!refused) m_Model.insert({type, handle});
            break;
        }
        case 4:
        case 5: // Delete
            ASSERT_EQ(m_Table.Delete(handle, type), m_Model.erase({type, handle}) ? 1 : 0);
            break;
        case 6:
        case 7: // the object goes away: its type's notifier says so
            m_Client.notifier[type].Notify(CN_ItemRemoved, mortar::HandleToData(handle));
            m_Model.erase({type, handle});
            break;
        case 8: { // the whole data set is cleared: every entry goes, if any entry listens there
            if (m_Rng() % 6 != 0) break;
            bool heard = false;
            for (Pair const& p : m_Model) heard |= p.first == type;
            m_Client.notifier[type].Notify(CN_AllRemoved, nullptr);
            if (heard) m_Model.clear();
            break;
        }
        case 9: { // the objects of a type move: every handle of the type is renumbered
            std::map<int, int>& map = m_Client.renumber[type];
            map.clear();
            int const shift = static_cast<int>(m_Rng() % 7) + 1;
            for (int h = 1; h <= kHandles; ++h) map[h] = (h - 1 + shift) % kHandles + 1;
            m_Client.notifier[type].Notify(CN_HandlesChanged, nullptr);
            std::set<Pair> moved;
            for (Pair const& p : m_Model) moved.insert(p.first == type ? Pair{type, map[p.second]} : p);
            m_Model.swap(moved);
            map.clear();
            break;
        }
        case 10: // a notification the table ignores
            m_Client.notifier[type].Notify(CN_ItemChanged, mortar::HandleToData(handle));
            break;
        default: { // look a pair up
            int32_t position = -1;
            SCC_SharedPointer<SCC_HandleWithEvent> found = m_Table.Find(handle, type, &position);
            bool const known = m_Model.count({type, handle}) > 0;
            ASSERT_EQ(found != nullptr, known) << "Find " << type << "/" << handle;
            if (known) {
                ASSERT_EQ(found->GetHandle(), handle);
                ASSERT_EQ(found->GetType(), type);
            }
            // Where the pair is, or where it belongs: the number of smaller pairs.
            int32_t smaller = 0;
            for (Pair const& p : m_Model) smaller += p < Pair{type, handle};
            ASSERT_EQ(position, smaller);
            break;
        }
        }
        Check();
    }

private:
    void Check() {
        ASSERT_EQ(m_Table.GetCount(), static_cast<int>(m_Model.size()));
        ASSERT_EQ(g_LiveEntries, static_cast<int>(m_Model.size())) << "an entry outlived its pair, or died early";
        if (m_Table.NeedsSorting()) return; // the order is restored by the next lookup
        int32_t i = m_Table.GetLowerBound();
        for (Pair const& p : m_Model) {
            SCC_SharedPointer<SCC_HandleWithEvent> const& e = m_Table.FastGetAt(i++);
            ASSERT_EQ(Pair(e->GetType(), e->GetHandle()), p);
        }
    }

    std::mt19937 m_Rng;
    Client m_Client;
    Table m_Table;
    std::set<Pair> m_Model;
};

TEST(SavedHandlesModel, RandomChangesMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(4242);
    long const steps = mortar::test::ModelSteps(100000);
    {
        SavedHandlesModelCheck check(seed);
        for (long i = 0; i < steps; ++i) {
            check.Step();
            if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
        }
    }
    EXPECT_EQ(g_LiveEntries, 0) << "the table's destruction lets every entry go";
}

} // namespace
