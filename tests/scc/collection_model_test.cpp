// A collection under a random run of source changes, notifications (through the source's
// notifier and through notifiers of groups of items), filter and sort changes, suspensions,
// focus edits and cursor moves, checked after every step against a plain model: a list that
// applies the documented rules with vectors and loops. After every step
//   - the items, the focus and the cursors equal the model's;
//   - what the listener heard equals what the model says the change tells, and during each
//     notification about an item the collection stood on that item;
//   - outside a suspension the items are the source filtered, in sort order.
// MORTAR_COLLECTION_SEED runs one other seed, MORTAR_COLLECTION_STEPS sets the number of steps.
#include "scc/collection_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using colltest::ByKey;
using colltest::Collection;
using colltest::Heard;
using colltest::Listener;
using colltest::Source;
using V = std::vector<int>;

int g_Mode = -1;  // the filter rejects handles with handle % 5 == g_Mode; -1 lets all pass
int PassByMode(SYS_Filter const*, int handle) { return g_Mode < 0 || handle % 5 != g_Mode ? 1 : 0; }

struct KeySort : SCC_Sort<int> {
    int Compare(int const& a, int const& b) override { return ByKey(a, b); }
};

int Sign(int v) { return (v > 0) - (v < 0); }

// The plain model of one collection over `source`.
struct Model {
    explicit Model(Source& source) : s(source) {}

    Source& s;
    V items;
    V focus;
    std::vector<std::pair<int, int>> pending;
    bool suspended = false;
    int cursor = 0;  // the handle under a valid position, 0 for none
    int slider = 0;
    std::map<SCC_Notifier*, int> hooks;  // connections per group notifier
    int sortKind = 0;                     // 0 by handle value, 1 key function, 2 key sort object
    int direction = 1;
    Heard heard;       // what the listener should have heard
    V heardSliders;    // where the collection should have stood meanwhile

    int Cmp(int a, int b) const {
        int const c = sortKind == 0 ? Sign((a > b) - (a < b)) : Sign((s.key.at(a) > s.key.at(b)) - (s.key.at(a) < s.key.at(b)));
        return direction * c;
    }
    static bool Passes(int handle) { return PassByMode(nullptr, handle) != 0; }
    int IndexOf(int handle) const {
        auto const it = std::find(items.begin(), items.end(), handle);
        return it == items.end() ? -1 : static_cast<int>(it - items.begin());
    }
    SCC_Notifier* Group(int handle) const {
        auto const it = s.itemEvent.find(handle);
        return it == s.itemEvent.end() || it->second == &s.notifier ? nullptr : it->second;
    }
    void Connect(int handle, int delta) {
        SCC_Notifier* const group = Group(handle);
        if (!group) return;
        if (delta > 0) {
            ++hooks[group];
            return;
        }
        auto const it = hooks.find(group);
        if (it != hooks.end() && --it->second == 0) hooks.erase(it);
    }
    void Tell(int code, int handle, int standing) {
        heard.emplace_back(code, handle);
        heardSliders.push_back(standing);
    }
    void InsertItem(int handle) {
        size_t i = 0;
        while (i < items.size() && Cmp(items[i], handle) <= 0) ++i;
        items.insert(items.begin() + static_cast<std::ptrdiff_t>(i), handle);
    }
    bool InPlace(int i) const {
        int const n = static_cast<int>(items.size());
        if (n == 1) return true;
        if (i == 0) return Cmp(items[0], items[1]) <= 0;
        if (i == n - 1) return Cmp(items[i], items[i - 1]) >= 0;
        return Cmp(items[i], items[i - 1]) >= 0 && Cmp(items[i], items[i + 1]) <= 0;
    }
    bool FocusErase(int handle) {
        auto const it = std::lower_bound(focus.begin(), focus.end(), handle);
        if (it == focus.end() || *it != handle) return false;
        focus.erase(it);
        return true;
    }
    void FocusInsert(int handle) { focus.insert(std::upper_bound(focus.begin(), focus.end(), handle), handle); }

    // The walk: every walked item is connected, the passing ones sorted stably in walk order.
    // Returns the first passing handle of the walk.
    int Rebuild() {
        V passing;
        for (int const handle : s.order) {
            if (Passes(handle)) passing.push_back(handle);
            Connect(handle, 1);
        }
        int const firstWalked = passing.empty() ? 0 : passing.front();
        std::stable_sort(passing.begin(), passing.end(), [this](int a, int b) { return Cmp(a, b) < 0; });
        if (passing != items) {
            V kept;
            for (int const f : focus)
                if (std::find(passing.begin(), passing.end(), f) != passing.end()) kept.push_back(f);
            focus = kept;
            Tell(CN_AllChanged, 0, 0);
        }
        items = passing;
        return firstWalked;
    }

    // A reload of the collection's own (SetFilter, SetSort): the cursors end cleared.
    void DirectReload() {
        Rebuild();
        cursor = slider = 0;
    }

    void Notify(int code, int handle) {
        if (handle == 0 && (code == CN_ItemAdded || code == CN_ItemChanged)) return;
        bool passes = true;
        int index = -1;
        if (handle) {
            passes = Passes(handle);
            index = IndexOf(handle);
            if (!passes && index < 0) return;
        }
        if (suspended) {
            if (code == CN_AllChanged || code == CN_AllRemoved) {
                pending.clear();
            } else {
                std::pair<int, int> const entry(code, handle);
                if (pending.empty() || pending.back() != entry) pending.push_back(entry);
                return;
            }
        }
        int kept = cursor;
        bool const keptAtZero = cursor && IndexOf(cursor) == 0;
        switch (code) {
        case CN_ItemAdded:
            InsertItem(handle);
            Connect(handle, 1);
            Tell(1, handle, handle);
            break;
        case CN_ItemRemoved:
            FocusErase(handle);
            if (index < 0) break;
            Connect(handle, -1);
            Tell(2, handle, handle);
            items.erase(items.begin() + index);
            if (kept == handle) kept = 0;
            break;
        case CN_ItemChanged:
            if (index < 0) {
                InsertItem(handle);
                Connect(handle, 1);
                Tell(1, handle, handle);
            } else if (passes && InPlace(index)) {
                Tell(3, handle, handle);
            } else {
                bool const inFocus = FocusErase(handle);
                Tell(2, handle, handle);
                items.erase(items.begin() + index);
                if (kept == handle) kept = 0;
                if (!passes) {
                    Connect(handle, -1);
                    break;
                }
                InsertItem(handle);
                if (inFocus) FocusInsert(handle);
                Tell(1, handle, handle);
            }
            break;
        case CN_ItemNotice:
            Tell(4, handle, index >= 0 ? handle : 0);
            break;
        case CN_AllChanged: {
            // The kept position survives the emptying only at index 0, and then follows the
            // first item that the walk enters.
            int const first = Rebuild();
            kept = keptAtZero ? first : 0;
            break;
        }
        case CN_AllRemoved:
            Tell(7, handle, 0);
            items.clear();
            focus.clear();
            hooks.clear();
            kept = 0;
            break;
        default:
            break;
        }
        cursor = slider = kept;
    }

    void Resume() {
        if (!suspended) return;
        suspended = false;
        auto const queued = pending;
        pending.clear();
        std::set<int> done;
        for (auto it = queued.rbegin(); it != queued.rend(); ++it)
            if (done.insert(it->second).second) Notify(it->first, it->second);
    }

    void SetFocus(int handle, bool add) {
        if (handle && IndexOf(handle) < 0) handle = 0;
        if (!add || !handle) focus.clear();
        if (!handle) return;
        FocusInsert(handle);
        if (add) return;
        Tell(3, handle, handle);
        if (slider && IndexOf(slider) < 0) slider = 0;
    }

    bool IsPending(int handle) const {
        return std::any_of(pending.begin(), pending.end(), [handle](auto const& e) { return e.second == handle; });
    }
    bool HasPendingAddition() const {
        return std::any_of(pending.begin(), pending.end(), [](auto const& e) { return e.first == CN_ItemAdded; });
    }
};

// One run: `steps` random operations from `seed`.
void RunModel(unsigned seed, int steps) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 rng(seed);
    auto pick = [&](int n) { return static_cast<int>(rng() % static_cast<unsigned>(n)); };

    Source s;
    colltest::g_Keys = &s;
    SCC_Notifier groups[2];
    g_Mode = -1;
    int next = 0;
    for (int i = 0; i < 12; ++i) {
        s.Add(++next, pick(8));
        if (pick(3) == 0) s.itemEvent[next] = &groups[pick(2)];
    }

    Collection c(&s);
    SYS_Filter filter(nullptr, nullptr, PassByMode);
    c.SetFilter(&filter);
    Listener listener(&c);
    int misplaced = 0;
    listener.onHear = [&](int, int handle) {
        if (handle && c.GetSlider() == handle && c.GetAt(c.GetPosition()) != handle) ++misplaced;
    };
    Model m(s);
    c.AllowReload(1);
    m.Rebuild();
    m.heard.clear();
    m.heardSliders.clear();
    listener.Take();

    // The notifier through which a change of `handle` is told: its group's, when the model
    // says the collection listens there, otherwise the source's.
    auto tell = [&](int code, int handle) {
        SCC_Notifier* const group = m.Group(handle);
        bool const viaGroup = group && m.hooks.count(group) && pick(2) == 0;
        (viaGroup ? *group : s.notifier).Notify(code, mortar::HandleToData(handle));
        m.Notify(code, handle);
    };
    auto anySourceHandle = [&]() { return s.order.empty() ? 0 : s.order[static_cast<size_t>(pick(static_cast<int>(s.order.size())))]; };
    auto anyItem = [&]() { return m.items.empty() ? 0 : m.items[static_cast<size_t>(pick(static_cast<int>(m.items.size())))]; };

    for (int step = 0; step < steps; ++step) {
        int const op = pick(100);
        std::string what;
        if (op < 22) {
            int const handle = ++next;
            int const at = pick(static_cast<int>(s.order.size()) + 1);
            s.order.insert(s.order.begin() + at, handle);
            s.key[handle] = pick(8);
            int const group = pick(4);
            if (group < 2) s.itemEvent[handle] = &groups[group];
            if (group == 2) s.itemEvent[handle] = &s.notifier;
            what = "add " + std::to_string(handle);
            s.Notify(CN_ItemAdded, handle);
            m.Notify(CN_ItemAdded, handle);
        } else if (op < 34) {
            int const handle = anySourceHandle();
            if (!handle) continue;
            s.Remove(handle);
            what = "remove " + std::to_string(handle);
            tell(CN_ItemRemoved, handle);
        } else if (op < 58) {
            int const handle = anySourceHandle();
            // While suspended only items that are not shown change their keys: a queued change
            // of a shown item leaves the items out of order until it is delivered, and the
            // items entered meanwhile would be placed by a bisection over an unsorted list.
            if (!handle || (m.suspended && m.IndexOf(handle) >= 0)) continue;
            s.key[handle] = pick(8);
            what = "change " + std::to_string(handle);
            tell(CN_ItemChanged, handle);
        } else if (op < 62) {
            int const handle = pick(4) == 0 ? next + 1 + pick(5) : anySourceHandle();
            // Only the newest queued notification of a handle is delivered, so a notice queued
            // behind a change would swallow the change.
            if (m.suspended && m.IsPending(handle)) continue;
            what = "notice " + std::to_string(handle);
            tell(CN_ItemNotice, handle);
        } else if (op < 64) {
            std::shuffle(s.order.begin(), s.order.end(), rng);
            what = "all changed";
            s.Notify(CN_AllChanged, 0);
            m.Notify(CN_AllChanged, 0);
        } else if (op < 65) {
            int const handle = anySourceHandle();
            if (m.suspended && m.IsPending(handle)) continue;
            what = "ignored";
            tell(pick(2) ? CN_Ignored : 42, handle);
        } else if (op < 66) {
            s.order.clear();
            what = "all removed";
            s.Notify(CN_AllRemoved, 0);
            m.Notify(CN_AllRemoved, 0);
        } else if (op < 70) {
            // A reload while additions are queued would enter them twice at delivery: code 1
            // does not look for the handle.
            if (m.suspended && m.HasPendingAddition()) continue;
            g_Mode = pick(6) - 1;
            what = "filter " + std::to_string(g_Mode);
            c.SetFilter(&filter);
            m.DirectReload();
        } else if (op < 74) {
            if (m.suspended && m.HasPendingAddition()) continue;
            int const kind = pick(3);
            int const descending = pick(2);
            what = "sort " + std::to_string(kind) + (descending ? " descending" : "");
            SCC_Sort<int>::Function const byValue = nullptr;
            if (kind == 0) c.SetSort(byValue, descending);
            if (kind == 1) c.SetSort(ByKey, descending);
            if (kind == 2) c.SetSort(new KeySort, descending);
            m.sortKind = kind;
            m.direction = descending ? -1 : 1;
            m.items.clear();
            m.DirectReload();
        } else if (op < 82) {
            what = m.suspended ? "resume" : "suspend";
            if (m.suspended) {
                c.Suspend(0);
                m.Resume();
            } else {
                c.Suspend(1);
                m.suspended = true;
            }
        } else if (op < 91) {
            int const handle = pick(5) == 0 ? anySourceHandle() : anyItem();
            bool const add = pick(2) == 0;
            what = "focus " + std::to_string(handle) + (add ? " add" : "");
            c.SetFocus(handle, add);
            m.SetFocus(handle, add);
        } else {
            int const move = pick(4);
            if (move == 0) {
                what = "first";
                EXPECT_EQ(c.GetFirst(), m.items.empty() ? 0 : 1);
                m.cursor = m.slider = m.items.empty() ? 0 : m.items.front();
            } else if (move == 1) {
                // Not past the last item: a position that ran off the end is left out here.
                int const i = m.cursor ? m.IndexOf(m.cursor) : -1;
                if (i < 0 || i + 1 >= static_cast<int>(m.items.size())) continue;
                what = "next";
                EXPECT_EQ(c.GetNext(), 1);
                m.cursor = m.slider = m.items[static_cast<size_t>(i + 1)];
            } else if (move == 2) {
                what = "previous";
                int const i = m.cursor ? m.IndexOf(m.cursor) : -1;
                EXPECT_EQ(c.GetPrev(), i > 0 ? 1 : 0);
                if (i > 0) m.cursor = m.slider = m.items[static_cast<size_t>(i - 1)];
                else if (i == 0) m.cursor = 0;
            } else {
                int const handle = pick(3) == 0 ? anySourceHandle() : anyItem();
                what = "slider " + std::to_string(handle);
                c.SetSlider(handle);
                m.cursor = m.slider = m.IndexOf(handle) >= 0 ? handle : 0;
            }
        }

        SCOPED_TRACE("step " + std::to_string(step) + ": " + what);
        ASSERT_EQ(c.Items(), m.items);
        ASSERT_EQ(c.Focus(), m.focus);
        ASSERT_EQ(listener.heard, m.heard);
        ASSERT_EQ(listener.sliders, m.heardSliders);
        ASSERT_EQ(misplaced, 0) << "a listener found the slider on an item but the position elsewhere";
        ASSERT_EQ(c.GetSlider(), m.slider);
        ASSERT_EQ(c.IsEmpty(), m.cursor ? 0 : 1);
        if (m.cursor) {
            ASSERT_EQ(c.GetAt(c.GetPosition()), m.cursor);
        }
        listener.Take();
        m.heard.clear();
        m.heardSliders.clear();

        if (!m.suspended) {
            V expected;
            for (int const handle : s.order)
                if (Model::Passes(handle)) expected.push_back(handle);
            V shown = m.items;
            std::sort(expected.begin(), expected.end());
            std::sort(shown.begin(), shown.end());
            ASSERT_EQ(shown, expected) << "the items are the source filtered";
            for (size_t i = 1; i < m.items.size(); ++i) ASSERT_LE(m.Cmp(m.items[i - 1], m.items[i]), 0) << "in order";
        }
    }
}

unsigned EnvOr(char const* name, unsigned fallback) {
    char const* value = std::getenv(name);
    return value && *value ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : fallback;
}

TEST(CollectionModel, RandomRunsAgreeWithThePlainModel) {
    int const steps = static_cast<int>(EnvOr("MORTAR_COLLECTION_STEPS", 2000));
    if (std::getenv("MORTAR_COLLECTION_SEED")) {
        RunModel(EnvOr("MORTAR_COLLECTION_SEED", 1), steps);
        return;
    }
    for (unsigned seed : {20240611u, 7u, 99u}) {
        RunModel(seed, steps);
        if (HasFatalFailure()) return;
    }
}

} // namespace
