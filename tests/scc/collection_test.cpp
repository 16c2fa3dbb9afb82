#include "scc/collection_test_support.h"

#include <mortar/scc/SCC_StdCollection.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <type_traits>
#include <vector>

namespace {

using colltest::ByKey;
using colltest::Collection;
using colltest::Heard;
using colltest::Listener;
using colltest::Source;
using V = std::vector<int>;

static_assert(!std::is_copy_constructible<SCC_StdCollection>::value, "a collection is not copied");
static_assert(!std::is_copy_assignable<SCC_StdCollection>::value, "a collection is not assigned");

std::set<int> g_Rejected;
int RejectListed(SYS_Filter const*, int handle) { return g_Rejected.count(handle) ? 0 : 1; }

// Handles 1..n with keys given in walk order.
void Fill(Source& s, V const& handles, V const& keys) {
    for (size_t i = 0; i < handles.size(); ++i) s.Add(handles[i], keys[i]);
}

TEST(CollectionCursors, WalkRunsOffBothEndsAndStays) {
    Source s;
    Fill(s, {3, 1, 2}, {0, 0, 0});
    Collection c(&s);
    EXPECT_EQ(c.Items(), V{}) << "a new collection is unloaded";
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{1, 2, 3})) << "without a sort the items stand by handle value, not walk order";
    EXPECT_EQ(c.IsEmpty(), 1) << "a loaded collection whose position was never set";

    EXPECT_EQ(c.GetFirst(), 1);
    EXPECT_EQ(c.GetSlider(), 1);
    EXPECT_EQ(c.GetNext(), 1);
    EXPECT_EQ(c.GetNext(), 1);
    EXPECT_EQ(c.GetSlider(), 3);
    EXPECT_EQ(c.GetNext(), 0) << "past the last item";
    EXPECT_EQ(c.IsEmpty(), 1);
    EXPECT_EQ(c.GetSlider(), 3) << "the slider stays on the last handle reached";
    EXPECT_EQ(c.GetPrev(), 0) << "a walk that ran off stays off";
    EXPECT_EQ(c.GetNext(), 0);
    EXPECT_EQ(c.GetSlider(), 3);

    EXPECT_EQ(c.GetFirst(), 1);
    EXPECT_EQ(c.GetPrev(), 0) << "before the first item";
    EXPECT_EQ(c.GetSlider(), 1);

    c.SetSlider(2);
    EXPECT_EQ(c.GetPosition(), 1);
    EXPECT_EQ(c.IsEmpty(), 0);
    c.SetSlider(99);
    EXPECT_EQ(c.IsEmpty(), 1) << "a handle outside the items can't become current";
    EXPECT_EQ(c.GetSlider(), 0);
    EXPECT_EQ(c.GetPosition(), 0x7FFFFFFF);

    c.SetPosition(2);
    EXPECT_EQ(c.GetSlider(), 3);
    c.SetPosition(3);
    EXPECT_EQ(c.IsEmpty(), 1) << "an index outside the items clears the position";
    EXPECT_EQ(c.GetSlider(), 0);
    c.SetPosition(-1);
    EXPECT_EQ(c.IsEmpty(), 1);
    EXPECT_EQ(c.Items(), (V{1, 2, 3})) << "nothing grew";

    EXPECT_EQ(c.GetAt(-1), 0);
    EXPECT_EQ(c.GetAt(3), 0);
    EXPECT_EQ(c.GetPositionByHandle(0), -1);
    EXPECT_EQ(c.GetPositionByHandle(3), 2);
    EXPECT_EQ(c.GetPositionByHandle(7), -1);

    Source empty;
    Collection e(&empty);
    e.AllowReload(1);
    e.slider = 5;
    EXPECT_EQ(e.GetFirst(), 0);
    EXPECT_EQ(e.GetSlider(), 0);
    EXPECT_EQ(e.IsEmpty(), 1);
}

TEST(CollectionSort, StableByKeyInBothDirectionsAndKeptThroughEmptying) {
    Source s;
    colltest::g_Keys = &s;
    Fill(s, {1, 2, 3, 4, 5}, {5, 3, 5, 1, 3});
    Collection c(&s);
    c.AllowReload(1);
    c.SetSort(ByKey, 0);
    EXPECT_EQ(c.Items(), (V{4, 2, 5, 1, 3})) << "equal keys keep the walk order";
    c.SetSort(ByKey, 1);
    EXPECT_EQ(c.Items(), (V{1, 3, 2, 5, 4})) << "descending, equal keys still in walk order";

    s.Add(6, 3);
    s.Notify(CN_ItemAdded, 6);
    EXPECT_EQ(c.Items(), (V{1, 3, 2, 5, 6, 4})) << "a new item goes behind its equals";

    SCC_Sort<int>::Function const byValue = nullptr;
    c.SetSort(byValue, 1);
    EXPECT_EQ(c.Items(), (V{6, 5, 4, 3, 2, 1}));

    for (int h : V{1, 2, 3, 4, 5, 6}) {
        s.Remove(h);
        s.Notify(CN_ItemRemoved, h);
    }
    EXPECT_EQ(c.Items(), V{});
    for (int h : V{7, 9, 8}) {
        s.Add(h, 0);
        s.Notify(CN_ItemAdded, h);
    }
    EXPECT_EQ(c.Items(), (V{9, 8, 7})) << "the direction outlives the buffer of the items";
    c.Clear();
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{9, 8, 7})) << "and Clear";

    // A walk that gives a handle twice: one entry. The walk keeps an index, as a handle can't
    // tell the two places apart.
    struct Twice : SCC_StdCollection {
        V order{2, 1, 2, 3, 1};
        int index = -1;
        int _GetSlider() override { return index < 0 ? 0 : order[static_cast<size_t>(index)]; }
        void _SetSlider(int handle) override {
            index = handle ? static_cast<int>(std::find(order.begin(), order.end(), handle) - order.begin()) : -1;
        }
        int _GetFirst() override { return (index = 0), 1; }
        int _GetNext() override {
            if (++index >= static_cast<int>(order.size())) index = -1;
            return index >= 0;
        }
    };
    Twice d;
    d.AllowReload(1);
    EXPECT_EQ(d.GetAt(0), 1);
    EXPECT_EQ(d.GetAt(1), 2);
    EXPECT_EQ(d.GetAt(2), 3);
    EXPECT_EQ(d.GetAt(3), 0);
    d.SetSort([](int const& a, int const& b) { return (a % 2) - (b % 2); }, 0);
    EXPECT_EQ(d.GetAt(0), 2) << "evens first, then the odds in walk order";
    EXPECT_EQ(d.GetAt(1), 1);
    EXPECT_EQ(d.GetAt(2), 3);
}

TEST(CollectionSort, DerivedSortObjectAndUnloadedSetSort) {
    struct ByKeyReversed : SCC_Sort<int> {
        int Compare(int const& a, int const& b) override { return -ByKey(a, b); }
    };
    Source s;
    colltest::g_Keys = &s;
    Fill(s, {1, 2, 3, 4}, {2, 1, 2, 0});
    Collection c(&s);
    c.SetSort(new ByKeyReversed, 0);
    EXPECT_EQ(c.Items(), V{}) << "an unloaded collection only probes";
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{1, 3, 2, 4}));
    c.SetSort(new ByKeyReversed, 1);
    EXPECT_EQ(c.Items(), (V{4, 2, 1, 3}));
}

TEST(CollectionFilter, MembershipFollowsTheFilterAndHandleDataStays) {
    Source s;
    Fill(s, {1, 2, 3, 4, 5}, {0, 0, 0, 0, 0});
    Collection c(&s);
    c.AllowReload(1);
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {2, 4};
    c.SetFilter(&filter);
    EXPECT_EQ(c.Items(), (V{1, 3, 5})) << "SetFilter reloads at once";

    Listener listener(&c);
    c.SetHandleData(3, 7);
    EXPECT_EQ(listener.Take(), (Heard{{3, 3}})) << "handle data re-examines the handle through the source";
    EXPECT_EQ(c.GetHandleData(3), 7);
    EXPECT_EQ(c.GetHandleData(1), 0);
    c.SetFocus(3, false);
    listener.Take();

    g_Rejected = {2, 3, 4};
    s.Notify(CN_ItemChanged, 3);
    EXPECT_EQ(listener.Take(), (Heard{{2, 3}})) << "a change that fails the filter removes the item";
    EXPECT_EQ(c.Items(), (V{1, 5}));
    EXPECT_EQ(c.HasFocus(), 0);
    EXPECT_EQ(c.GetHandleData(3), 7) << "its data stays";
    s.Remove(3);
    s.Notify(CN_ItemRemoved, 3);
    EXPECT_EQ(listener.Take(), Heard{}) << "about an item neither shown nor passing: dropped";
    EXPECT_EQ(c.GetHandleData(3), 7);

    g_Rejected = {4};
    s.Notify(CN_ItemChanged, 2);
    EXPECT_EQ(listener.Take(), (Heard{{1, 2}})) << "a change that now passes brings the item in";
    EXPECT_EQ(c.Items(), (V{1, 2, 5}));
    s.Notify(CN_ItemRemoved, 1);
    EXPECT_EQ(listener.Take(), (Heard{{2, 1}}));
    c.SetHandleData(5, 1);
    s.Notify(CN_ItemRemoved, 5);
    EXPECT_EQ(c.GetHandleData(5), 0) << "a removal erases the data";
}

TEST(CollectionFocus, SelectionNotifiesOnlyWithoutAdd) {
    Source s;
    Fill(s, {1, 2, 3}, {0, 0, 0});
    Collection c(&s);
    c.AllowReload(1);
    Listener listener(&c);
    c.SetPosition(0);

    c.SetFocus(3, false);
    EXPECT_EQ(listener.heard, (Heard{{3, 3}}));
    EXPECT_EQ(listener.sliders, V{3}) << "the listener sees the collection standing on the handle";
    EXPECT_EQ(listener.positions, V{2});
    EXPECT_EQ(c.GetSlider(), 1) << "afterwards the cursors are back";
    EXPECT_EQ(c.GetPosition(), 0);
    listener.Take();

    c.SetFocus(2, true);
    c.SetFocus(2, true);
    EXPECT_EQ(c.Focus(), (V{2, 2, 3})) << "adding does not look for the handle";
    EXPECT_EQ(listener.Take(), Heard{});
    int32_t where = -1;
    EXPECT_TRUE(c.IsInFocus(3, &where));
    EXPECT_EQ(where, 2);
    EXPECT_FALSE(c.IsInFocus(1, &where));
    EXPECT_EQ(where, 0);
    EXPECT_TRUE(c.IsInFocus(2, nullptr));
    EXPECT_EQ(c.GetFocus(3), 0);
    EXPECT_EQ(c.GetFocus(-1), 0);

    c.SetFocus(9, false);
    EXPECT_EQ(c.HasFocus(), 0) << "a handle outside the items empties the focus";
    EXPECT_EQ(listener.Take(), Heard{});
    c.SetFocus(1, true);
    c.SetFocus(0, true);
    EXPECT_EQ(c.HasFocus(), 0) << "handle 0 empties the focus, with add too";
}

TEST(CollectionReload, FocusSurvivesAndChangesAreToldOnce) {
    Source s;
    Fill(s, {1, 2, 3, 4}, {0, 0, 0, 0});
    Collection c(&s);
    c.AllowReload(1);
    c.SetFocus(2, false);
    c.SetFocus(4, true);
    Listener listener(&c);

    c.Reload();
    EXPECT_EQ(listener.Take(), Heard{}) << "an unchanged source fires nothing";
    EXPECT_EQ(c.Focus(), (V{2, 4}));

    s.Remove(4);
    s.Add(5, 0);
    c.Reload();
    EXPECT_EQ(listener.Take(), (Heard{{6, 0}}));
    EXPECT_EQ(c.Items(), (V{1, 2, 3, 5}));
    EXPECT_EQ(c.Focus(), V{2}) << "the focus keeps the handles still in the items";

    // Through the source: the cursor at index 0 follows the first item the walk enters.
    s.order = {3, 1, 2};
    c.SetPosition(0);
    s.Notify(CN_AllChanged, 0);
    EXPECT_EQ(listener.Take(), (Heard{{6, 0}}));
    EXPECT_EQ(c.GetSlider(), 3);
    c.SetPosition(1);
    s.Notify(CN_AllChanged, 0);
    EXPECT_EQ(c.IsEmpty(), 1) << "a cursor elsewhere does not survive a reload";
    EXPECT_EQ(c.GetSlider(), 0);
}

TEST(CollectionReload, UnloadedCollectionOnlyProbes) {
    Source s;
    Collection c(&s);
    Listener listener(&c);
    c.Reload();
    EXPECT_EQ(listener.Take(), Heard{});
    s.Add(1, 0);
    c.Reload();
    EXPECT_EQ(listener.Take(), (Heard{{3, 0}})) << "the source came to hold something";
    c.Reload();
    EXPECT_EQ(listener.Take(), Heard{});
    EXPECT_EQ(c.Items(), V{});
    s.Remove(1);
    c.Reload();
    EXPECT_EQ(listener.Take(), (Heard{{3, 0}}));

    Fill(s, {1, 2, 3}, {0, 0, 0});
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {1};
    c.SetFilter(&filter);
    listener.Take();
    EXPECT_EQ(c.FindNextTempItem(0), 2) << "the first passing item of the walk";
    EXPECT_EQ(c.FindNextTempItem(2), 2) << "unloaded, the base SetSlider starts every walk at the first";
    EXPECT_EQ(c.GetSlider(), 0);

    // A notification with a handle works unloaded as well.
    s.Add(4, 0);
    s.Notify(CN_ItemAdded, 4);
    EXPECT_EQ(c.Items(), V{4});
    EXPECT_EQ(listener.Take(), (Heard{{1, 4}}));

    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 3, 4}));
    EXPECT_EQ(c.IsReloadAllowed(), 1);
    c.AllowReload(0);
    s.Add(5, 0);
    c.Reload();
    EXPECT_EQ(c.Items(), (V{2, 3, 4})) << "no longer allowed: the items stand";
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 3, 4, 5}));
    c.AllowReload(1);
    EXPECT_EQ(c.IsReloadAllowed(), 1);
}

TEST(CollectionNotification, AllRemovedAndHandlesChanged) {
    Source s;
    Fill(s, {1, 2, 3}, {0, 0, 0});
    Collection c(&s);
    c.AllowReload(1);
    c.SetFocus(2, false);
    c.SetHandleData(2, 9);
    Listener listener(&c);
    V seenDuring;
    listener.onHear = [&](int code, int) {
        if (code == CN_AllRemoved) seenDuring = c.Items();
    };
    s.Notify(CN_AllRemoved, 0);
    EXPECT_EQ(listener.Take(), (Heard{{7, 0}}));
    EXPECT_EQ(seenDuring, (V{1, 2, 3})) << "told before anything is emptied";
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(c.HasFocus(), 0);
    EXPECT_EQ(c.GetHandleData(2), 0);
    EXPECT_EQ(c.IsReloadAllowed(), 1);
    listener.onHear = nullptr;

    // Renumbering by a derived class: items in place, focus sorted again.
    struct Renumbering : Collection {
        using Collection::Collection;
        int UpdateHandle(int handle) override { return 10 - handle; }
    };
    Renumbering r(&s);
    r.AllowReload(1);
    r.SetFocus(1, false);
    r.SetFocus(3, true);
    Listener heard(&r);
    s.Notify(CN_HandlesChanged, 0);
    EXPECT_EQ(heard.Take(), (Heard{{8, 0}}));
    EXPECT_EQ(r.Items(), (V{9, 8, 7})) << "the items keep their order";
    EXPECT_EQ(r.Focus(), (V{7, 9}));

    // The base class turns every handle into 0.
    c.Reload();
    c.SetFocus(1, false);
    s.Notify(CN_HandlesChanged, 0);
    EXPECT_EQ(c.GetAt(0), 0);
    EXPECT_EQ(c.GetAt(2), 0);
    EXPECT_EQ(c.GetPositionByHandle(0), -1) << "even with 0 among the items";
    EXPECT_EQ(c.HasFocus(), 1);
    EXPECT_EQ(c.GetFocus(0), 0);
}

TEST(CollectionSuspend, NewestPerHandleNewestFirst) {
    Source s;
    Fill(s, {1, 2}, {0, 0});
    Collection c(&s);
    c.AllowReload(1);
    Listener listener(&c);
    int const h = 5;
    int const k = 2;

    c.Suspend(1);
    s.Add(h, 0);
    s.Notify(CN_ItemAdded, h);
    s.Notify(CN_ItemChanged, h);
    s.Notify(CN_ItemChanged, h);
    s.Notify(CN_ItemChanged, k);
    EXPECT_EQ(listener.Take(), Heard{});
    EXPECT_EQ(c.Items(), (V{1, 2}));
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{3, k}, {1, h}})) << "(3, k) first, then (3, h), which brings h in";
    EXPECT_EQ(c.Items(), (V{1, 2, 5}));

    // Codes 6 and 7 go through at once and empty the queue; the collection stays suspended.
    c.Suspend(1);
    c.Suspend(1);
    s.Notify(CN_ItemNotice, 1);
    s.Add(6, 0);
    s.Notify(CN_AllChanged, 0);
    EXPECT_EQ(listener.Take(), (Heard{{6, 0}}));
    EXPECT_EQ(c.Items(), (V{1, 2, 5, 6}));
    s.Notify(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), Heard{});
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}})) << "one Suspend(0) ends two Suspend(1); (4, 1) was dropped with the queue";
    s.Notify(CN_ItemNotice, 1);
    EXPECT_EQ(listener.Take(), (Heard{{4, 1}}));

    // A notification about a handle that is neither shown nor passes never reaches the queue;
    // one about a handle that would pass does (code 4 tells it even though it is not shown).
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {99};
    c.SetFilter(&filter);
    listener.Take();
    c.Suspend(1);
    s.Notify(CN_ItemNotice, 99);
    s.Notify(CN_ItemNotice, 98);
    s.Notify(CN_ItemAdded, 0);
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 98}}));

    // A queued renumbering renumbers the older entries before they are delivered.
    struct Renumbering : Collection {
        using Collection::Collection;
        int UpdateHandle(int handle) override { return handle + 100; }
    };
    Renumbering r(&s);
    r.AllowReload(1);
    Listener heard(&r);
    r.Suspend(1);
    s.Notify(CN_ItemNotice, 1);
    s.Notify(CN_HandlesChanged, 0);
    r.Suspend(0);
    EXPECT_EQ(heard.Take(), (Heard{{8, 0}, {4, 101}}));
}

TEST(CollectionNotification, EnableNotificationsSilencesListenersOnly) {
    Source s;
    Fill(s, {1}, {0});
    Collection c(&s);
    c.AllowReload(1);
    Listener listener(&c);
    s.Notify(CN_Ignored, 1);
    s.Notify(99, 1);
    s.Notify(CN_ItemAdded, 0);
    s.Notify(CN_ItemChanged, 0);
    EXPECT_EQ(listener.Take(), Heard{}) << "code 5, unknown codes and additions without a handle";
    EXPECT_EQ(c.Items(), V{1});

    EXPECT_EQ(c.EnableNotifications(0), 1);
    s.Add(2, 0);
    s.Notify(CN_ItemAdded, 2);
    EXPECT_EQ(listener.Take(), Heard{});
    EXPECT_EQ(c.Items(), (V{1, 2}));
    EXPECT_EQ(c.EnableNotifications(1), 0);
    s.Notify(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}}));
}

TEST(CollectionNotification, ListenersNestAndMoveTheCursor) {
    Source s;
    Fill(s, {10, 20}, {0, 0});
    Collection c(&s);
    c.AllowReload(1);
    c.SetSlider(20);
    Listener listener(&c);
    listener.onHear = [&](int code, int handle) {
        if (code == CN_ItemAdded && handle == 15) {
            s.Add(5, 0);
            s.Notify(CN_ItemAdded, 5);
        }
        if (code == CN_ItemRemoved && handle == 10) c.GetFirst();
    };
    s.Add(15, 0);
    s.Notify(CN_ItemAdded, 15);
    EXPECT_EQ(listener.Take(), (Heard{{1, 15}, {1, 5}}));
    EXPECT_EQ(c.Items(), (V{5, 10, 15, 20}));
    EXPECT_EQ(c.GetSlider(), 20) << "both insertions before the cursor, which followed its item";
    EXPECT_EQ(c.GetPosition(), 3);

    s.Notify(CN_ItemRemoved, 10);
    EXPECT_EQ(c.Items(), (V{5, 15, 20})) << "the listener moved the cursor; the right item went";
    EXPECT_EQ(c.GetSlider(), 20);
}

TEST(CollectionHooks, ItemNotifiersAreHeardUntilTheirLastItemGoes) {
    Source s;
    SCC_Notifier group;
    Fill(s, {1, 2, 3}, {0, 0, 0});
    s.itemEvent[1] = &group;
    s.itemEvent[2] = &group;
    s.itemEvent[3] = &s.notifier;  // the source's own notifier never gets a hook
    Collection c(&s);
    c.AllowReload(1);
    Listener listener(&c);

    group.Notify(CN_ItemNotice, mortar::HandleToData(1));
    s.Notify(CN_ItemNotice, 3);
    EXPECT_EQ(listener.Take(), (Heard{{4, 1}, {4, 3}})) << "each heard once";

    // A move keeps the connection; a removal takes one off; the last one removes the hook.
    group.Notify(CN_ItemRemoved, mortar::HandleToData(1));
    group.Notify(CN_ItemNotice, mortar::HandleToData(2));
    EXPECT_EQ(listener.Take(), (Heard{{2, 1}, {4, 2}}));
    group.Notify(CN_ItemRemoved, mortar::HandleToData(2));
    listener.Take();
    group.Notify(CN_ItemNotice, mortar::HandleToData(2));
    EXPECT_EQ(listener.Take(), Heard{}) << "no item reports through the group any more";

    // An item entered by code 1 connects again.
    s.Add(4, 0);
    s.itemEvent[4] = &group;
    s.Notify(CN_ItemAdded, 4);
    group.Notify(CN_ItemNotice, mortar::HandleToData(4));
    EXPECT_EQ(listener.Take(), (Heard{{1, 4}, {4, 4}}));

    // Code 7 through the group empties the hook table from inside the group's own walk.
    Collection other(&s);
    other.AllowReload(1);
    group.Notify(CN_AllRemoved, mortar::HandleToData(0));
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(other.Items(), V{}) << "the walk went on to the next collection's hook";
    listener.Take();
    group.Notify(CN_ItemNotice, mortar::HandleToData(4));
    EXPECT_EQ(listener.Take(), Heard{});

    struct Counting : Collection {
        using Collection::Collection;
        SCC_Notifier* event = nullptr;
        SCC_Notifier* GetEvent() override { return event; }
    };
    Counting k(&s);
    SCC_Notifier n;
    k.event = &n;
    SCC_Notifier* cachedNotifier = nullptr;
    SCC_StdCollection::EventHook* cachedHook = nullptr;
    k.ConnectEvent(1, &cachedNotifier, &cachedHook);
    ASSERT_NE(cachedHook, nullptr);
    EXPECT_EQ(cachedNotifier, &n);
    k.ConnectEvent(1, &cachedNotifier, &cachedHook);
    EXPECT_EQ(cachedHook->GetConnectionCount(), 2);
    k.ConnectEvent(0, nullptr, nullptr);
    k.ConnectEvent(0, nullptr, nullptr);
    k.ConnectEvent(0, nullptr, nullptr);
    SCC_Notifier* noNotifier = nullptr;
    SCC_StdCollection::EventHook* noHook = nullptr;
    k.ConnectEvent(0, &noNotifier, &noHook);
    EXPECT_EQ(noHook, nullptr) << "disconnecting does not make a hook";
    k.event = &s.notifier;
    k.ConnectEvent(1, &noNotifier, &noHook);
    EXPECT_EQ(noHook, nullptr) << "nor does the collection's own root";
}

TEST(CollectionLifetime, PositionsAndDestruction) {
    SCC_SortableArray<int> array;
    for (int v : V{1, 2, 3}) array.InsertSorted(v);
    SCC_StdCollection::Position p;
    p.SetArray(&array, 1);
    p.Data = 7;
    SCC_StdCollection::Position copy(p);
    EXPECT_EQ(copy.IsValid(), 0) << "a copy stands nowhere";
    EXPECT_EQ(copy.Data, 7);
    SCC_StdCollection::Position assigned;
    assigned = p;
    EXPECT_EQ(assigned.GetIndex(), 1);
    EXPECT_EQ(assigned.Data, 7);
    array.Insert(0, 1);
    EXPECT_EQ(assigned.GetIndex(), 2) << "an assigned position follows the same array";
    EXPECT_EQ(p.GetIndex(), 2);
    array.Delete(2, 1);
    EXPECT_EQ(assigned.IsValid(), 0);
    EXPECT_EQ(assigned.GetIndex(), 0x7FFFFFFF);

    Source s;
    Fill(s, {1, 2}, {0, 0});
    Listener listener;
    {
        Collection c(&s);
        c.AllowReload(1);
        c.SetNotificationHandler(&listener);
        c.SetNotificationHandler(nullptr);
        c.SetEvent(nullptr);
        c.SetSlider(2);
        EXPECT_NE(listener.GetRoot(), nullptr);
    }
    EXPECT_EQ(listener.GetRoot(), nullptr) << "the change notifier let its listeners go";
    s.Notify(CN_ItemAdded, 3);  // the collection left the source's chain
    EXPECT_EQ(listener.Take(), Heard{});

    // Clear empties everything but keeps filter and sort, and tells nobody.
    Collection c(&s);
    c.AllowReload(1);
    SCC_Sort<int>::Function const byValue = nullptr;
    c.SetSort(byValue, 1);
    c.SetFocus(1, false);
    c.SetHandleData(1, 4);
    Listener heard(&c);
    c.Clear();
    EXPECT_EQ(heard.Take(), Heard{});
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(c.HasFocus(), 0);
    EXPECT_EQ(c.GetHandleData(1), 0);
    EXPECT_EQ(c.IsReloadAllowed(), 0);
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 1}));

    // Handle data on a collection without a source is only stored.
    Collection loose(&s);
    loose.Remove();
    loose.SetHandleData(1, 3);
    EXPECT_EQ(loose.GetHandleData(1), 3);
}

// A source of nets and one of pins; a child collection shows the pins of the nets that are in
// its parent's focus, a grandchild the pins that are in its parent's focus.
struct Board {
    Source nets;
    Source pins;
    std::map<int, int> netOf;
};

class PinCollection : public Collection {
public:
    PinCollection(Board* board, SCC_StdCollection* parent, bool allowRemovalWalk = false)
        : Collection(&board->pins, parent), m_Board(board), m_Parent(parent), m_AllowRemoval(allowRemovalWalk) {}

    int HandleNotificationsAllowed(int handle) override {
        return m_AllowRemoval ? 1 : Collection::HandleNotificationsAllowed(handle);
    }

protected:
    bool Wanted(int pin) {
        for (int32_t i = 0; m_Parent->GetFocus(i); ++i)
            if (m_Parent->GetFocus(i) == m_Board->netOf[pin] || m_Parent->GetFocus(i) == pin) return true;
        return false;
    }
    // The walk over the pins that hang on the parent's focus.
    int _GetFirst() override { return Step(0); }
    int _GetNext() override { return Step(slider); }
    // The walk over the pins of the parent's current item.
    int _GetNextByParentSlider() override {
        int const net = m_Parent->GetSlider();
        for (int pin = m_Board->pins.After(slider); pin; pin = m_Board->pins.After(pin))
            if (m_Board->netOf[pin] == net) return slider = pin;
        return slider = 0;
    }

private:
    int Step(int from) {
        for (int pin = m_Board->pins.After(from); pin; pin = m_Board->pins.After(pin))
            if (Wanted(pin)) return slider = pin;
        return slider = 0;
    }

    Board* m_Board;
    SCC_StdCollection* m_Parent;
    bool m_AllowRemoval;
};

TEST(CollectionStack, ChildrenFollowTheParentsFocus) {
    Board board;
    Fill(board.nets, {1, 2, 3}, {0, 0, 0});
    for (int pin = 10; pin < 16; ++pin) {
        board.pins.Add(pin, 0);
        board.netOf[pin] = pin < 12 ? 1 : (pin < 14 ? 2 : 3);
    }
    Collection nets(&board.nets);
    PinCollection pins(&board, &nets);
    EXPECT_EQ(nets.IsReloadAllowed(), 1) << "SetParent loads the parent";
    EXPECT_EQ(nets.Items(), (V{1, 2, 3}));
    pins.AllowReload(1);
    EXPECT_EQ(pins.Items(), V{});
    PinCollection chosenPins(&board, &pins);
    chosenPins.AllowReload(1);
    Listener pinListener(&pins);
    Listener chosenListener(&chosenPins);

    nets.SetSlider(3);
    nets.SetFocus(1, false);
    EXPECT_EQ(pins.Items(), (V{10, 11})) << "code 3 for a handle in the parent's focus reloads";
    EXPECT_EQ(pinListener.Take(), (Heard{{6, 0}}));
    EXPECT_EQ(nets.GetSlider(), 3) << "the child's walk left the parent's slider where it was";
    pins.SetFocus(10, false);
    EXPECT_EQ(chosenPins.Items(), V{10}) << "a stack of three";
    chosenListener.Take();

    nets.SetFocus(2, true);
    EXPECT_EQ(pins.Items(), (V{10, 11})) << "adding to the parent's focus raises nothing";
    nets.SetFocus(0, false);
    EXPECT_EQ(pins.Items(), (V{10, 11})) << "nor does emptying it";
    nets.SetFocus(2, false);
    EXPECT_EQ(pins.Items(), (V{12, 13}));
    EXPECT_EQ(chosenPins.Items(), V{}) << "the child's reload reached the grandchild by (6, 0)";
    EXPECT_EQ(chosenListener.Take(), (Heard{{6, 0}}));

    // The parent takes the item out of its focus before it tells: the base child ignores it.
    pinListener.Take();
    board.nets.Remove(2);
    board.nets.Notify(CN_ItemRemoved, 2);
    EXPECT_EQ(pins.Items(), (V{12, 13}));
    EXPECT_EQ(pinListener.Take(), Heard{});

    // A child that allows it takes out the pins that hang on the removed net.
    Collection nets2(&board.nets);
    PinCollection pins2(&board, &nets2, true);
    pins2.AllowReload(1);
    nets2.SetFocus(3, false);
    EXPECT_EQ(pins2.Items(), (V{14, 15}));
    Listener removed(&pins2);
    board.nets.Remove(3);
    board.nets.Notify(CN_ItemRemoved, 3);
    EXPECT_EQ(removed.Take(), (Heard{{2, 14}, {2, 15}}));
    EXPECT_EQ(pins2.Items(), V{});

    // Code 7 goes down the stack; a notification without a handle always reaches the child.
    nets.SetFocus(1, false);
    pins.SetFocus(10, false);
    EXPECT_EQ(chosenPins.Items(), V{10});
    board.nets.Notify(CN_AllRemoved, 0);
    EXPECT_EQ(nets.Items(), V{});
    EXPECT_EQ(pins.Items(), V{});
    EXPECT_EQ(chosenPins.Items(), V{});

    // Without a parent the child hears nothing more of it.
    nets.Reload();
    pins.SetParent(nullptr);
    nets.SetFocus(1, false);
    EXPECT_EQ(pins.HandleNotificationsAllowed(1), 0);
    EXPECT_EQ(pins.HandleNotificationsAllowed(0), 1);
}

} // namespace
