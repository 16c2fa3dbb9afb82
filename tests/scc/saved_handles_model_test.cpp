// Remembered handles under random change, checked after every step against the set of (type,
// handle) pairs that must be saved. Pairs are saved and deleted through the table, and removed,
// cleared and renumbered behind its back through one notifier per type. The table must follow,
// keep its order (type, then handle) for every lookup, and let each entry die with its pair.
#include <mortar/scc/SCC_SavedHandles.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <set>
#include <utility>

namespace {

constexpr int kTypes = 3;
constexpr int kHandles = 24;

// The client: a notifier per type, and the shift by which a code 8 renumbers a type's handles.
struct Client {
    SCC_Notifier notifier[kTypes + 1];
    int shift[kTypes + 1] = {};
};

int Renumber(int handle, int shift) {
    return (handle - 1 + shift) % kHandles + 1;
}

int g_LiveEntries = 0;

class Entry : public SCC_HandleWithEvent {
public:
    Entry(int handle, int32_t type, SCC_SavedHandles* owner, Client* client)
        : SCC_HandleWithEvent(handle, type, owner), m_Client(client) {
        ++g_LiveEntries;
    }
    ~Entry() override { --g_LiveEntries; }
    SCC_Notifier* GetChangeEvent() override { return &m_Client->notifier[m_Type]; }
    void OnUpdatePointers() override { m_Handle = Renumber(m_Handle, m_Client->shift[m_Type]); }

private:
    Client* m_Client;
};

class Table : public SCC_SavedHandles {
public:
    explicit Table(Client* client) : m_Client(client) {}
    // The factory refuses odd handles of type 3: such pairs can't be remembered.
    SCC_SharedPointer<SCC_HandleWithEvent> CreateByType(int handle, int32_t type) override {
        if (type == 3 && handle % 2 != 0) return nullptr;
        return new Entry(handle, type, this, m_Client);
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
            ASSERT_EQ(m_Table.Save(handle, type), known || refused ? 0 : 1)
                << "Save " << type << "/" << handle;
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
            bool const heard =
                std::any_of(m_Model.begin(), m_Model.end(), [&](Pair const& p) { return p.first == type; });
            m_Client.notifier[type].Notify(CN_AllRemoved, nullptr);
            if (heard) m_Model.clear();
            break;
        }
        case 9: { // the objects of a type move: every handle of the type is renumbered
            int const shift = m_Client.shift[type] = static_cast<int>(m_Rng() % 7) + 1;
            m_Client.notifier[type].Notify(CN_HandlesChanged, nullptr);
            std::set<Pair> moved;
            for (Pair const& p : m_Model)
                moved.insert(p.first == type ? Pair{type, Renumber(p.second, shift)} : p);
            m_Model.swap(moved);
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
                ASSERT_EQ(Pair(found->GetType(), found->GetHandle()), Pair(type, handle));
            }
            // Where the pair is, or where it belongs: the number of smaller pairs.
            ASSERT_EQ(position, std::distance(m_Model.begin(), m_Model.lower_bound({type, handle})));
            break;
        }
        }
        Check();
    }

private:
    void Check() {
        ASSERT_EQ(m_Table.GetCount(), static_cast<int>(m_Model.size()));
        ASSERT_EQ(g_LiveEntries, static_cast<int>(m_Model.size()))
            << "an entry outlived its pair, or died early";
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
