// Event chains under random change, against a plain model of who must hear what: hooks are added,
// connected by priority, removed and destroyed, events fire, are disabled and destroyed, at the top
// level and from callbacks of nested walks. A model walk is the node it stands on; a node that
// leaves steps every walk standing on it back one node.
#include <mortar/scc/SCC_Event.h>

#include "support/model_seed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

constexpr int kEvents = 3, kHooks = 12, kMaxDepth = 4;
constexpr int kHead = -1; // a model walk standing on the head of its chain

struct ModelCheck;

struct Hook : SCC_EventHook<int> {
    Hook(ModelCheck* check, int id, int32_t priority) : SCC_EventHook<int>(priority), check(check), id(id) {}
    int OnNotification(int code, int*) override;
    ModelCheck* check;
    int id;
};

struct ModelCheck {
    struct Walk { int event, current; }; // current: a hook id, or kHead

    explicit ModelCheck(uint32_t seed) : m_Rng(seed) {
        for (auto& event : m_Events)
            event = std::make_unique<SCC_Event<int>>();
        for (int h = 0; h < kHooks; ++h)
            NewHook(h);
    }

    // Hook `id` heard `code`; it may act in turn, destroying the hook.
    void Heard(int id, int code) {
        ASSERT_FALSE(m_Walks.empty()) << "a hook heard a notification outside any walk";
        Walk& walk = m_Walks.back();
        ASSERT_EQ(code, walk.event) << "the code names the event that fired";
        ASSERT_EQ(Advance(walk), id) << "hook " << id << " heard event " << walk.event;
        if (m_Quiet) return;
        ++m_Heard;
        if (m_Rng() % 3 == 0) Act(static_cast<int>(m_Walks.size()));
    }

    // A quiet walk over each event, enabled for it, hears the model's chain exactly; every hook's
    // root is its event, or null out of any chain.
    void CheckRings() {
        m_Quiet = true;
        for (int e = 0; e < kEvents; ++e) {
            int const enabled = m_Enabled[e];
            m_Events[e]->Enabled = m_Enabled[e] = 1;
            Fire(e);
            m_Events[e]->Enabled = m_Enabled[e] = enabled;
        }
        m_Quiet = false;
        for (int h = 0; h < kHooks; ++h)
            ASSERT_EQ(m_Hooks[h]->GetRoot(), ChainOf(h) < 0 ? nullptr : m_Events[ChainOf(h)].get())
                << "root of hook " << h;
    }

    void Fire(int e) {
        m_Walks.push_back({e, kHead});
        m_Events[e]->Notify(e, nullptr);
        EXPECT_EQ(Advance(m_Walks.back()), kHead) << "the walk ended early";
        m_Walks.pop_back();
    }

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
        for (Walk& walk : m_Walks)
            if (walk.event == e && walk.current == id) walk.current = at == chain.begin() ? kHead : at[-1];
        chain.erase(at);
    }

    // The node after the walk's current one, or kHead when the walk ends, as it does at once on a
    // disabled event.
    int Advance(Walk& walk) {
        auto const& chain = m_Chains[walk.event];
        if (!m_Enabled[walk.event]) return walk.current = kHead;
        auto next = chain.begin();
        if (walk.current != kHead) next = std::find(chain.begin(), chain.end(), walk.current) + 1;
        return walk.current = next < chain.end() ? *next : kHead;
    }

    void Act(int depth) {
        int const h = static_cast<int>(m_Rng() % kHooks);
        int const e = static_cast<int>(m_Rng() % kEvents);
        auto& chain = m_Chains[e];
        unsigned const op = m_Rng() % 10;
        if (op < 6) ModelRemove(h); // each change of a hook takes it out of its model chain first
        switch (op) {
        case 0: case 1: // Add: at the tail, priority plays no part
            m_Events[e]->Add(m_Hooks[h].get());
            chain.push_back(h);
            break;
        case 2: case 3: // Connect: before the first node whose priority is not above the hook's
            m_Hooks[h]->Connect(m_Events[e].get());
            chain.insert(std::find_if(chain.begin(), chain.end(),
                                      [&](int o) { return m_Priority[o] <= m_Priority[h]; }),
                         h);
            break;
        case 4:
            m_Hooks[h]->Remove();
            break;
        case 5: // destroy the hook (perhaps the one whose callback runs) and make a new one
            NewHook(h);
            break;
        case 6: case 7: // fire, nested up to a depth
            if (depth < kMaxDepth) Fire(e);
            break;
        case 8: // a disabled event stops its walks after the callback in progress
            m_Events[e]->Enabled = m_Enabled[e] = static_cast<int>(m_Rng() % 3 != 0);
            break;
        default: // destroy an event that is not firing: its hooks stay, unconnected
            if (std::any_of(m_Walks.begin(), m_Walks.end(), [&](Walk const& w) { return w.event == e; }))
                break;
            chain.clear();
            m_Events[e] = std::make_unique<SCC_Event<int>>();
            m_Events[e]->Enabled = m_Enabled[e];
        }
    }

    std::mt19937 m_Rng;
    std::unique_ptr<SCC_Event<int>> m_Events[kEvents];
    std::vector<int> m_Chains[kEvents];
    int m_Enabled[kEvents] = {1, 1, 1};
    std::unique_ptr<Hook> m_Hooks[kHooks];
    int32_t m_Priority[kHooks] = {};
    std::vector<Walk> m_Walks;
    bool m_Quiet = false;
    long m_Heard = 0;
};

// Nothing of this hook is touched after Heard: the action may destroy it.
int Hook::OnNotification(int code, int*) {
    return check->Heard(id, code), 0;
}

TEST(EventModel, RandomChangesDuringWalksMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(20261122);
    long const steps = mortar::test::ModelSteps(100000);
    ModelCheck check(seed);
    for (long i = 0; i < steps; ++i) {
        check.Act(0);
        if (i % 97 == 0) check.CheckRings();
        if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
    }
    EXPECT_GT(check.m_Heard, steps / 10) << "the walks should have heard something";
}

} // namespace
