// A collection under a random run of source changes, notifications (through the source's notifier
// and through notifiers of groups of items), filter and sort changes, suspensions, focus edits and
// cursor moves. After every step the items, focus, cursors, what the listener heard and where the
// collection stood meanwhile equal a plain model built from vectors and loops.
// MORTAR_COLLECTION_SEED runs one other seed, MORTAR_COLLECTION_STEPS sets the number of steps.
#include "scc/collection_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <map>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using colltest::Collection;
using colltest::Heard;
using colltest::Listener;
using colltest::Source;
using V = std::vector<int>;

int g_Mode = -1;  // the filter rejects handles with handle % 5 == g_Mode; -1 lets all pass
int PassByMode(SYS_Filter const*, int handle) { return g_Mode < 0 || handle % 5 != g_Mode ? 1 : 0; }

Source* g_Keys = nullptr;  // the source whose keys the sorts read
int ByKey(int const& a, int const& b) {
    int const ka = g_Keys->key[a], kb = g_Keys->key[b];
    return (ka > kb) - (ka < kb);
}
struct KeySort : SCC_Sort<int> {
    int Compare(int const& a, int const& b) override { return ByKey(a, b); }
};

// The plain model of one collection over the source of the keys.
struct Model {
    Source& s = *g_Keys;
    V items, focus;
    std::vector<std::pair<int, int>> pending;
    bool suspended = false;
    int cursor = 0;  // the handle under a valid position, 0 for none
    int slider = 0;
    std::map<SCC_Notifier*, int> hooks;  // connections per group notifier
    int sortKind = 0;                     // 0 by handle value, 1 key function, 2 key sort object
    int direction = 1;
    Heard heard;     // what the listener should have heard
    V heardSliders;  // where the collection should have stood meanwhile

    int Cmp(int a, int b) const { return direction * (sortKind ? ByKey(a, b) : (a > b) - (a < b)); }
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
        if (group && (delta > 0 || hooks.count(group)) && (hooks[group] += delta) == 0) hooks.erase(group);
    }
    void Tell(int code, int handle, int standing) {
        heard.emplace_back(code, handle);
        heardSliders.push_back(standing);
    }
    void InsertItem(int handle) {  // behind its equals
        items.insert(std::find_if(items.begin(), items.end(), [&](int item) { return Cmp(item, handle) > 0; }),
                     handle);
    }
    bool InPlace(int i) const {
        return (i == 0 || Cmp(items[i], items[i - 1]) >= 0) &&
               (i + 1 == static_cast<int>(items.size()) || Cmp(items[i], items[i + 1]) <= 0);
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
            auto const gone = [&](int f) { return std::find(passing.begin(), passing.end(), f) == passing.end(); };
            focus.erase(std::remove_if(focus.begin(), focus.end(), gone), focus.end());
            Tell(CN_AllChanged, 0, 0);
        }
        items = passing;
        return firstWalked;
    }

    void Notify(int code, int handle) {
        bool const passes = handle == 0 || Passes(handle);
        int const index = handle ? IndexOf(handle) : -1;
        if (!passes && index < 0) return;
        if (suspended) {
            if (code != CN_AllChanged && code != CN_AllRemoved) {
                if (pending.empty() || pending.back() != std::make_pair(code, handle)) pending.emplace_back(code, handle);
                return;
            }
            pending.clear();
        }
        int kept = cursor;
        bool const keptAtZero = cursor && IndexOf(cursor) == 0;
        auto const enter = [&](int connect) {
            InsertItem(handle);
            Tell(1, handle, handle);
            Connect(handle, connect);
        };
        auto const leave = [&] {
            Tell(2, handle, handle);
            items.erase(items.begin() + index);
            if (kept == handle) kept = 0;
        };
        switch (code) {
        case CN_ItemAdded:
            enter(1);
            break;
        case CN_ItemRemoved:
            FocusErase(handle);
            if (index < 0) break;
            Connect(handle, -1);
            leave();
            break;
        case CN_ItemChanged:
            if (index < 0) {
                enter(1);
            } else if (passes && InPlace(index)) {
                Tell(3, handle, handle);
            } else {
                bool const inFocus = FocusErase(handle);
                leave();
                if (!passes) {
                    Connect(handle, -1);
                    break;
                }
                enter(0);
                if (inFocus) FocusInsert(handle);
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
        }
        cursor = slider = kept;
    }

    void Resume() {
        suspended = false;
        std::set<int> done;
        auto const queued = std::exchange(pending, {});
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
    auto any = [&](V const& v) { return v.empty() ? 0 : v[static_cast<size_t>(pick(static_cast<int>(v.size())))]; };

    Source s;
    g_Keys = &s;
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
    V sliders;
    int misplaced = 0;
    listener.onHear = [&](int, int handle) {
        sliders.push_back(c.GetSlider());
        if (handle && c.GetSlider() == handle && c.GetAt(c.GetPosition()) != handle) ++misplaced;
    };
    Model m;
    c.AllowReload(1);
    m.Rebuild();

    auto both = [&](int code, int handle) { s.Notify(code, handle); m.Notify(code, handle); };
    // A change of `handle` is told through its group's notifier when the model says the
    // collection listens there (half the time), otherwise through the source's.
    auto tell = [&](int code, int handle) {
        SCC_Notifier* const group = m.Group(handle);
        bool const viaGroup = group && m.hooks.count(group) && pick(2) == 0;
        (viaGroup ? *group : s.notifier).Notify(code, mortar::HandleToData(handle));
        m.Notify(code, handle);
    };

    for (int step = 0; step < steps; ++step) {
        listener.Take();
        sliders.clear();
        m.heard.clear();
        m.heardSliders.clear();
        int const op = pick(100);
        std::string what;
        if (op < 22) {
            int const handle = ++next;
            s.order.insert(s.order.begin() + pick(static_cast<int>(s.order.size()) + 1), handle);
            s.key[handle] = pick(8);
            int const group = pick(4);
            if (group < 3) s.itemEvent[handle] = group < 2 ? &groups[group] : &s.notifier;
            what = "add " + std::to_string(handle);
            both(CN_ItemAdded, handle);
        } else if (op < 34) {
            int const handle = any(s.order);
            if (!handle) continue;
            s.Remove(handle);
            what = "remove " + std::to_string(handle);
            tell(CN_ItemRemoved, handle);
        } else if (op < 58) {
            int const handle = any(s.order);
            // While suspended only items that are not shown change their keys: a shown item
            // would stand out of order until its change is delivered.
            if (!handle || (m.suspended && m.IndexOf(handle) >= 0)) continue;
            s.key[handle] = pick(8);
            what = "change " + std::to_string(handle);
            tell(CN_ItemChanged, handle);
        } else if (op < 62) {
            int const handle = pick(4) == 0 ? next + 1 + pick(5) : any(s.order);
            // A notice queued behind a change would swallow the change.
            if (m.suspended && m.IsPending(handle)) continue;
            what = "notice " + std::to_string(handle);
            tell(CN_ItemNotice, handle);
        } else if (op < 64) {
            std::shuffle(s.order.begin(), s.order.end(), rng);
            what = "all changed";
            both(CN_AllChanged, 0);
        } else if (op < 65) {
            int const handle = any(s.order);
            if (m.suspended && m.IsPending(handle)) continue;
            what = "ignored";
            tell(pick(2) ? CN_Ignored : 42, handle);
        } else if (op < 66) {
            s.order.clear();
            what = "all removed";
            both(CN_AllRemoved, 0);
        } else if (op < 74) {
            // A reload while an addition is queued would enter it twice at delivery.
            if (m.suspended && m.HasPendingAddition()) continue;
            if (op < 70) {
                g_Mode = pick(6) - 1;
                what = "filter " + std::to_string(g_Mode);
                c.SetFilter(&filter);
            } else {
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
            }
            m.Rebuild();
            m.cursor = m.slider = 0;  // a reload of the collection's own clears the cursors
        } else if (op < 82) {
            what = m.suspended ? "resume" : "suspend";
            c.Suspend(m.suspended ? 0 : 1);
            if (m.suspended) m.Resume();
            else m.suspended = true;
        } else if (op < 91) {
            int const handle = pick(5) == 0 ? any(s.order) : any(m.items);
            bool const add = pick(2) == 0;
            what = "focus " + std::to_string(handle) + (add ? " add" : "");
            c.SetFocus(handle, add);
            m.SetFocus(handle, add);
        } else {
            int const move = pick(4);
            int const i = m.cursor ? m.IndexOf(m.cursor) : -1;
            if (move == 0) {
                what = "first";
                EXPECT_EQ(c.GetFirst(), m.items.empty() ? 0 : 1);
                m.cursor = m.slider = m.items.empty() ? 0 : m.items.front();
            } else if (move == 1) {
                // Not past the last item: running off the end is left to the unit tests.
                if (i < 0 || i + 1 >= static_cast<int>(m.items.size())) continue;
                what = "next";
                EXPECT_EQ(c.GetNext(), 1);
                m.cursor = m.slider = m.items[static_cast<size_t>(i + 1)];
            } else if (move == 2) {
                what = "previous";
                EXPECT_EQ(c.GetPrev(), i > 0 ? 1 : 0);
                if (i > 0) m.cursor = m.slider = m.items[static_cast<size_t>(i - 1)];
                else if (i == 0) m.cursor = 0;
            } else {
                int const handle = pick(3) == 0 ? any(s.order) : any(m.items);
                what = "slider " + std::to_string(handle);
                c.SetSlider(handle);
                m.cursor = m.slider = m.IndexOf(handle) >= 0 ? handle : 0;
            }
        }

        SCOPED_TRACE("step " + std::to_string(step) + ": " + what);
        ASSERT_EQ(c.Items(), m.items);
        ASSERT_EQ(c.Focus(), m.focus);
        ASSERT_EQ(listener.heard, m.heard);
        ASSERT_EQ(sliders, m.heardSliders);
        ASSERT_EQ(misplaced, 0) << "a listener found the slider on an item but the position elsewhere";
        ASSERT_EQ(c.GetSlider(), m.slider);
        ASSERT_EQ(c.IsEmpty(), m.cursor ? 0 : 1);
        ASSERT_EQ(m.cursor ? c.GetAt(c.GetPosition()) : 0, m.cursor);
        if (m.suspended) continue;
        // The model itself: outside a suspension the items are the source filtered, in sort order.
        V expected;
        std::copy_if(s.order.begin(), s.order.end(), std::back_inserter(expected), Model::Passes);
        ASSERT_TRUE(std::is_permutation(expected.begin(), expected.end(), m.items.begin(), m.items.end()));
        ASSERT_TRUE(std::is_sorted(m.items.begin(), m.items.end(), [&](int a, int b) { return m.Cmp(a, b) < 0; }));
    }
}

unsigned EnvOr(char const* name, unsigned fallback) {
    char const* value = std::getenv(name);
    return value && *value ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : fallback;
}

TEST(CollectionModel, RandomRunsAgreeWithThePlainModel) {
    int const steps = static_cast<int>(EnvOr("MORTAR_COLLECTION_STEPS", 2000));
    if (std::getenv("MORTAR_COLLECTION_SEED")) return RunModel(EnvOr("MORTAR_COLLECTION_SEED", 1), steps);
    for (unsigned seed : {20240611u, 7u, 99u}) {
        RunModel(seed, steps);
        if (HasFatalFailure()) return;
    }
}

} // namespace
