// Event chains under random change, checked against a plain model of who must hear what.
//
// Hooks are connected (by priority and at the tail), disconnected and destroyed, events fire
// and are disabled and destroyed, at the top level and from inside callbacks, walks nest. The
// model keeps each chain as a list and each walk in progress as "the node it stands on"; when a
// node leaves a chain, every walk standing on it steps back to the node before it, so that it
// goes on with the node that followed. Every callback must be the one the model expects next.
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
    Hook(ModelCheck* check, int id, int32_t priority) : SCC_EventHook<int>(priority), m_Check(check), m_Id(id) {}
    int OnNotification(int code, int* data) override;
    int Id() const { return m_Id; }

private:
    ModelCheck* m_Check;
    int m_Id;
};

struct ModelWalk {
    int event;
    int current; // a hook id, or kHead
};

class ModelCheck {
public:
    explicit ModelCheck(uint32_t seed) : m_Rng(seed) {
        for (int e = 0; e < kEvents; ++e) m_Events.push_back(std::make_unique<SCC_Event<int>>());
        m_Chains.resize(kEvents);
        m_Enabled.assign(kEvents, 1);
        for (int h = 0; h < kHooks; ++h) NewHook(h);
    }

    void Step() { Act(0); }

    // Called by a hook when it hears a notification.
    void Heard(Hook* hook, int code) {
        ASSERT_FALSE(m_Walks.empty()) << "a hook heard a notification outside any walk";
        ModelWalk& walk = m_Walks.back();
        ASSERT_EQ(code, walk.event) << "the code names the event that fired";
        int expected = Advance(walk);
        ASSERT_EQ(expected, hook->Id()) << "hook " << hook->Id() << " heard event " << walk.event
                                        << ", the model expected " << expected;
        ++m_Heard;
        if (m_Rng() % 3 == 0) Act(static_cast<int>(m_Walks.size()));
    }

    long HeardCount() const { return m_Heard; }

    // The rings of the real events equal the model's lists, and every hook's root is right.
    void CheckRings() {
        for (int e = 0; e < kEvents; ++e) {
            std::vector<int> ring;
            for (int h : m_Chains[e]) {
                ASSERT_EQ(m_Hooks[h]->GetRoot(), m_Events[e].get()) << "root of hook " << h;
                ring.push_back(h);
            }
            // Walk the real chain by firing it with a recording pass: a disabled-free notify.
            std::vector<int> heard;
            m_Recording = &heard;
            int enabled = m_Events[e]->Enabled;
            m_Events[e]->Enabled = 1;
            m_Events[e]->Notify(-1, nullptr);
            m_Events[e]->Enabled = enabled;
            m_Recording = nullptr;
            ASSERT_EQ(heard, ring) << "chain of event " << e;
        }
        for (int h = 0; h < kHooks; ++h) {
            bool connected = false;
            for (auto const& chain : m_Chains) connected |= std::count(chain.begin(), chain.end(), h) > 0;
            if (!connected) {
                ASSERT_EQ(m_Hooks[h]->GetRoot(), nullptr) << "hook " << h << " should be out of any chain";
            }
        }
    }

    std::vector<int>* m_Recording = nullptr;

private:
    void NewHook(int id) {
        auto priority = static_cast<int32_t>(m_Rng() % 4) - 1;
        m_Hooks[id] = std::make_unique<Hook>(this, id, priority);
        m_Priority[id] = priority;
    }

    // Where hook `id` is, or -1.
    int ChainOf(int id) const {
        for (int e = 0; e < kEvents; ++e)
            if (std::count(m_Chains[e].begin(), m_Chains[e].end(), id)) return e;
        return -1;
    }

    // Takes `id` out of the model's chain, stepping every walk that stands on it back.
    void ModelRemove(int id) {
        int e = ChainOf(id);
        if (e < 0) return;
        auto& chain = m_Chains[e];
        auto at = std::find(chain.begin(), chain.end(), id);
        int before = at == chain.begin() ? kHead : *(at - 1);
        for (ModelWalk& walk : m_Walks)
            if (walk.event == e && walk.current == id) walk.current = before;
        chain.erase(at);
    }

    // The node after the walk's current one, or kHead when the walk has ended. A walk looks at
    // its event's enabled flag before each callback: a disabled event ends it.
    int Advance(ModelWalk& walk) {
        auto& chain = m_Chains[walk.event];
        if (!m_Enabled[walk.event]) return walk.current = kHead;
        std::size_t next = 0;
        if (walk.current != kHead) next = static_cast<std::size_t>(std::find(chain.begin(), chain.end(), walk.current) - chain.begin()) + 1;
        walk.current = next < chain.size() ? chain[next] : kHead;
        return walk.current;
    }

    bool WalkActive(int e) const {
        for (ModelWalk const& w : m_Walks)
            if (w.event == e) return true;
        return false;
    }

    void Act(int depth) {
        int h = static_cast<int>(m_Rng() % kHooks);
        int e = static_cast<int>(m_Rng() % kEvents);
        switch (m_Rng() % 10) {
        case 0:
        case 1: { // Add: to the tail, priority plays no part
            ModelRemove(h);
            m_Events[e]->Add(m_Hooks[h].get());
            m_Chains[e].push_back(h);
            break;
        }
        case 2:
        case 3: { // Connect: before the first node whose priority is not above this hook's
            ModelRemove(h);
            m_Hooks[h]->Connect(m_Events[e].get());
            auto& chain = m_Chains[e];
            auto at = std::find_if(chain.begin(), chain.end(), [&](int o) { return m_Priority[o] <= m_Priority[h]; });
            chain.insert(at, h);
            break;
        }
        case 4: // Remove
            ModelRemove(h);
            m_Hooks[h]->Remove();
            break;
        case 5: // destroy the hook (possibly the one whose callback is running) and make a new one
            ModelRemove(h);
            NewHook(h);
            break;
        case 6:
        case 7: { // fire, nested up to a depth
            if (depth >= kMaxDepth) break;
            m_Walks.push_back({e, kHead});
            m_Events[e]->Notify(e, nullptr);
            ModelWalk& walk = m_Walks.back();
            EXPECT_EQ(Advance(walk), kHead) << "the walk ended early";
            m_Walks.pop_back();
            break;
        }
        case 8: // disable or enable: a disabled event fires nothing, and every walk of it stops
                // after the callback in progress, unless it is enabled again by then
            m_Enabled[e] = static_cast<int>(m_Rng() % 3 != 0);
            m_Events[e]->Enabled = m_Enabled[e];
            break;
        default: // destroy an event that is not firing: its hooks stay, unconnected
            if (WalkActive(e)) break;
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
    std::vector<ModelWalk> m_Walks;
    long m_Heard = 0;
};

int Hook::OnNotification(int code, int*) {
    if (m_Check->m_Recording) {
        m_Check->m_Recording->push_back(m_Id);
        return 0;
    }
    // Nothing of this object is touched after Heard: the action may destroy it.
    m_Check->Heard(this, code);
    return 0;
}

TEST(EventModel, RandomChangesDuringWalksMatchTheModel) {
    uint32_t const seed = mortar::test::ModelSeed(20261122);
    long const steps = mortar::test::ModelSteps(100000);
    ModelCheck check(seed);
    for (long i = 0; i < steps; ++i) {
        check.Step();
        if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
        if (i % 97 == 0) {
            check.CheckRings();
            if (::testing::Test::HasFailure()) FAIL() << "seed " << seed << ", step " << i;
        }
    }
    EXPECT_GT(check.HeardCount(), steps / 10) << "the walks should have heard something";
    std::printf("%ld notifications heard\n", check.HeardCount());
}

} // namespace
