// Event chains under random change, checked against a plain model of who must hear what.
//
// Hooks are added, connected by priority, removed and destroyed; events fire, are disabled and
// destroyed; all of it at the top level and from inside callbacks of nested walks. The model keeps
// each chain as a list and each walk as the node it stands on; a node that leaves steps every walk
// standing on it back one node. Every callback must be the one the model expects next.
#include <mortar/scc/SCC_Event.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kEvents = 3;
constexpr int kHooks = 12;
constexpr int kHead = -1; // a model walk standing on the head of its chain
constexpr int kMaxDepth = 4;

class ModelCheck;

class Hook : public SCC_EventHook<int> {
public:
    Hook(ModelCheck* check, int id, int32_t priority)
        : SCC_EventHook<int>(priority), m_Check(check), m_Id(id) {}
    int OnNotification(int code, int* data) override;

private:
    ModelCheck* m_Check;
    int m_Id;
};

class ModelCheck {
public:
    explicit ModelCheck(uint32_t seed) : m_Rng(seed), m_Chains(kEvents), m_Enabled(kEvents, 1) {
        for (int e = 0; e < kEvents; ++e)
            m_Events.push_back(std::make_unique<SCC_Event<int>>());
        for (int h = 0; h < kHooks; ++h)
            NewHook(h);
    }

    void Step() { Act(0); }
    long HeardCount() const { return m_Heard; }

    // Called by hook `id` when it hears `code`; may act in turn, destroying the hook.
    void Heard(int id, int code) {
        if (m_Recording) return m_Recording->push_back(id);
        ASSERT_FALSE(m_Walks.empty()) << "a hook heard a notification outside any walk";
        Walk& walk = m_Walks.back();
        ASSERT_EQ(code, walk.event) << "the code names the event that fired";
        ASSERT_EQ(Advance(walk), id) << "hook " << id << " heard event " << walk.event;
        ++m_Heard;
        if (m_Rng() % 3 == 0) Act(static_cast<int>(m_Walks.size()));
    }

    // The real rings, read by a recording pass over each event (enabled for the pass), equal the
    // model's lists, and every hook's root is its event, or null out of any chain.
    void CheckRings() {
        for (int e = 0; e < kEvents; ++e) {
            std::vector<int> heard;
            m_Recording = &heard;
            int const enabled = m_Events[e]->Enabled;
            m_Events[e]->Enabled = 1;
            m_Events[e]->Notify(-1, nullptr);
            m_Events[e]->Enabled = enabled;
            m_Recording = nullptr;
            ASSERT_EQ(heard, m_Chains[e]) << "chain of event " << e;
        }
        for (int h = 0; h < kHooks; ++h) {
            int const e = ChainOf(h);
            ASSERT_EQ(m_Hooks[h]->GetRoot(), e < 0 ? nullptr : m_Events[e].get()) << "root of hook " << h;
        }
    }

private:
    struct Walk {
        int event;
        int current; // a hook id, or kHead
    };

    void NewHook(int id) {
        m_Priority[id] = static_cast<int32_t>(m_Rng() % 4) - 1;
        m_Hooks[id] = std::make_unique<Hook>(this, id, m_Priority[id]);
    }

    int ChainOf(int id) const {
        for (int e = 0; e < kEvents; ++e)
            if (std::count(m_Chains[e].begin(), m_Chains[e].end(), id)) return e;
        return -1;
    }

    // Takes `id` out of the model's chain, stepping every walk that stands on it back.
    void ModelRemove(int id) {
        int const e = ChainOf(id);
        if (e < 0) return;
        auto& chain = m_Chains[e];
        auto const at = std::find(chain.begin(), chain.end(), id);
        int const before = at == chain.begin() ? kHead : *(at - 1);
        for (Walk& walk : m_Walks)
            if (walk.event == e && walk.current == id) walk.current = before;
        chain.erase(at);
    }

    // The node after the walk's current one, or kHead when the walk ends; a disabled event ends
    // every walk of it.
    int Advance(Walk& walk) {
        auto const& chain = m_Chains[walk.event];
        if (!m_Enabled[walk.event]) return walk.current = kHead;
        std::size_t next = 0;
        if (walk.current != kHead)
            next = static_cast<std::size_t>(std::find(chain.begin(), chain.end(), walk.current) -
                                            chain.begin()) +
                   1;
        return walk.current = next < chain.size() ? chain[next] : kHead;
    }

    void Act(int depth) {
        int const h = static_cast<int>(m_Rng() % kHooks);
        int const e = static_cast<int>(m_Rng() % kEvents);
        switch (m_Rng() % 10) {
        case 0:
        case 1: // Add: at the tail, priority plays no part
            ModelRemove(h);
            m_Events[e]->Add(m_Hooks[h].get());
            m_Chains[e].push_back(h);
            break;
        case 2:
        case 3: { // Connect: before the first node whose priority is not above the hook's
            ModelRemove(h);
            m_Hooks[h]->Connect(m_Events[e].get());
            auto& chain = m_Chains[e];
            chain.insert(std::find_if(chain.begin(), chain.end(),
                                      [&](int o) { return m_Priority[o] <= m_Priority[h]; }),
                         h);
            break;
        }
        case 4:
            ModelRemove(h);
            m_Hooks[h]->Remove();
            break;
        case 5: // destroy the hook (perhaps the one whose callback runs) and make a new one
            ModelRemove(h);
            NewHook(h);
            break;
        case 6:
        case 7: // fire, nested up to a depth
            if (depth >= kMaxDepth) break;
            m_Walks.push_back({e, kHead});
            m_Events[e]->Notify(e, nullptr);
            EXPECT_EQ(Advance(m_Walks.back()), kHead) << "the walk ended early";
            m_Walks.pop_back();
            break;
        case 8: // a disabled event stops its walks after the callback in progress
            m_Events[e]->Enabled = m_Enabled[e] = static_cast<int>(m_Rng() % 3 != 0);
            break;
        default: // destroy an event that is not firing: its hooks stay, unconnected
            if (std::any_of(m_Walks.begin(), m_Walks.end(), [&](Walk const& w) { return w.event == e; }))
                break;
            m_Chains[e].clear();
            m_Events[e] = std::make_unique<SCC_Event<int>>();
            m_Events[e]->Enabled = m_Enabled[e];
            break;
        }
    }

    std::mt19937 m_Rng;
    std::vector<std::unique_ptr<SCC_Event<int>>> m_Events;
    std::vector<std::vector<int>> m_Chains;
    std::vector<int> m_Enabled;
    std::unique_ptr<Hook> m_Hooks[kHooks];
    int32_t m_Priority[kHooks] = {};
    std::vector<Walk> m_Walks;
    std::vector<int>* m_Recording = nullptr;
    long m_Heard = 0;
};

// Nothing of this hook is touched after Heard: the action may destroy it.
int Hook::OnNotification(int code, int*) {
    m_Check->Heard(m_Id, code);
    return 0;
}

TEST(EventModel, RandomChangesDuringWalksMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(20261122);
    long const steps = mortar::test::ModelSteps(100000);
    ModelCheck check(seed);
    for (long i = 0; i < steps; ++i) {
        check.Step();
        if (i % 97 == 0) check.CheckRings();
        if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
    }
    EXPECT_GT(check.HeardCount(), steps / 10) << "the walks should have heard something";
    std::printf("%ld notifications heard\n", check.HeardCount());
}

} // namespace
