// What the random model check does not reach: the stated choices at the edges, re-entrancy,
// hooks, lifetime and parent-child stacks.
#include "scc/collection_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace colltest;
using V = std::vector<int>;

static_assert(!std::is_copy_constructible<SCC_StdCollection>::value, "a collection is not copied");
static_assert(!std::is_copy_assignable<SCC_StdCollection>::value, "a collection is not assigned");

std::set<int> g_Rejected;
int RejectListed(SYS_Filter const*, int handle) { return g_Rejected.count(handle) ? 0 : 1; }

void Fill(Source& s, V const& handles) {
    for (int const handle : handles) s.Add(handle, 0);
}

struct CollectionTest : ::testing::Test {
    void Load(V const& handles) {
        Fill(s, handles);
        c.AllowReload(1);
        listener.Take();
    }
    void Append(int handle) {
        s.Add(handle, 0);
        s.Notify(CN_ItemAdded, handle);
    }
    Source s;
    Collection c{&s};
    Listener listener{&c};
};

TEST_F(CollectionTest, WalkRunsOffAndBadIndicesClear) {
    Load({1, 2, 3});
    c.SetSlider(3);
    EXPECT_EQ(c.GetNext(), 0) << "past the last item";
    // The slider stays on the last handle reached, and a walk that ran off stays off.
    EXPECT_EQ((V{c.IsEmpty(), c.GetSlider(), c.GetPrev(), c.GetSlider()}), (V{1, 3, 0, 3}));
    for (int32_t const outside : {3, -1}) {
        c.SetPosition(2);
        c.SetPosition(outside);
        EXPECT_EQ((V{c.GetPosition(), c.GetSlider()}), (V{0x7FFFFFFF, 0})) << "outside the items: " << outside;
    }
    EXPECT_EQ(c.Items(), (V{1, 2, 3})) << "nothing grew";
    c.SetFocus(2, false);
    EXPECT_EQ((V{c.GetAt(-1), c.GetPositionByHandle(0), c.GetPositionByHandle(7), c.GetFocus(-1)}),
              (V{0, -1, -1, 0}));
}

TEST_F(CollectionTest, EmptyingKeepsTheSortAndDirection) {
    SCC_Sort<int>::Function const byValue = nullptr;
    c.SetSort(byValue, 1);
    Load({7, 9, 8});
    c.SetFocus(7, false);
    c.SetHandleData(7, 4);
    listener.Take();
    c.Clear();
    EXPECT_EQ(listener.Take(), Heard{}) << "Clear tells nobody";
    EXPECT_EQ((V{c.GetAt(0), c.HasFocus(), c.GetHandleData(7), c.IsReloadAllowed()}), (V{0, 0, 0, 0}));
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{9, 8, 7})) << "sort and direction outlive Clear";

    c.SetFocus(8, false);
    c.SetHandleData(8, 9);
    listener.Take();
    V seenDuring;
    listener.onHear = [&](int, int) { seenDuring = c.Items(); };
    s.Notify(CN_AllRemoved, 0);
    EXPECT_EQ(listener.Take(), (Heard{{7, 0}}));
    EXPECT_EQ(seenDuring, (V{9, 8, 7})) << "told before anything is emptied";
    EXPECT_EQ((V{c.HasFocus(), c.GetHandleData(8), c.IsReloadAllowed()}), (V{0, 0, 1}));
}

TEST(Collection, AHandleWalkedTwiceIsOneItem) {
    // The walk keeps an index, as a handle can't tell its two places apart.
    struct Twice : SCC_StdCollection {
        V order{2, 1, 2, 3, 1};
        size_t at = 0;  // one past the index walked, 0 before the walk
        int _GetSlider() override { return at ? order[at - 1] : 0; }
        void _SetSlider(int h) override {
            at = h ? static_cast<size_t>(std::find(order.begin(), order.end(), h) - order.begin()) + 1 : 0;
        }
        int _GetFirst() override { return (at = 1) != 0; }
        int _GetNext() override { return (at = at < order.size() ? at + 1 : 0) != 0; }
    } d;
    d.AllowReload(1);
    auto items = [&d] { return V{d.GetAt(0), d.GetAt(1), d.GetAt(2), d.GetAt(3)}; };
    EXPECT_EQ(items(), (V{1, 2, 3, 0}));
    d.SetSort([](int const& a, int const& b) { return (a % 2) - (b % 2); }, 0);
    EXPECT_EQ(items(), (V{2, 1, 3, 0})) << "evens first, then the odds in the order of their first walk";
}

TEST_F(CollectionTest, HandleDataStaysUntilTheItemIsRemoved) {
    Load({1, 2, 3});
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {2};
    c.SetFilter(&filter);
    listener.Take();
    c.SetHandleData(3, 7);
    c.SetHandleData(2, 5);
    EXPECT_EQ(listener.Take(), (Heard{{3, 3}})) << "through the source; 2 is neither shown nor passing";
    for (int const handle : {2, 3}) {
        s.Remove(handle);
        s.Notify(CN_ItemRemoved, handle);
    }
    EXPECT_EQ((V{c.GetHandleData(2), c.GetHandleData(3)}), (V{5, 0})) << "the removal of an item erases its data";
}

TEST_F(CollectionTest, UnloadedCollectionOnlyProbes) {
    s.Add(1, 0);
    c.Reload();
    c.Reload();
    EXPECT_EQ(listener.Take(), (Heard{{3, 0}})) << "once, when the source came to hold something";
    EXPECT_EQ(c.Items(), V{});
    s.Remove(1);
    c.Reload();
    EXPECT_EQ(listener.Take(), (Heard{{3, 0}}));

    Fill(s, {1, 2, 3});
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {1};
    c.SetFilter(&filter);
    EXPECT_EQ(c.FindNextTempItem(0), 2) << "the first passing item of the walk";
    EXPECT_EQ(c.FindNextTempItem(2), 2) << "unloaded, the base SetSlider starts every walk at the first";
    EXPECT_EQ(c.GetSlider(), 0);
    listener.Take();
    Append(4);
    EXPECT_EQ(listener.Take(), (Heard{{1, 4}})) << "a notification with a handle works unloaded";
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 3, 4}));
}

TEST_F(CollectionTest, HandleZeroAtCodesOneAndThreeAndSilencedListeners) {
    Load({1});
    s.Notify(CN_ItemAdded, 0);
    s.Notify(CN_ItemChanged, 0);
    EXPECT_EQ(listener.Take(), Heard{}) << "codes 1 and 3 without a handle name no item";

    EXPECT_EQ(c.EnableNotifications(0), 1);
    Append(2);
    EXPECT_EQ(listener.Take(), Heard{});
    EXPECT_EQ(c.Items(), (V{1, 2})) << "silenced listeners, the collection still changes";
    EXPECT_EQ(c.EnableNotifications(1), 0);
    s.Notify(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}}));
}

TEST_F(CollectionTest, SuspensionAndRenumbering) {
    Load({1, 2});
    c.Suspend(1);
    c.Suspend(1);
    s.Notify(CN_ItemNotice, 2);
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}})) << "one Suspend(0) ends two Suspend(1)";

    // A listener that suspends again during the delivery keeps the rest for the next Suspend(0).
    c.Suspend(1);
    s.Notify(CN_ItemNotice, 1);
    s.Notify(CN_ItemNotice, 2);
    bool again = true;
    listener.onHear = [&](int, int) {
        if (!std::exchange(again, false)) return;
        c.Suspend(1);
        s.Notify(CN_ItemNotice, 5);
    };
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}}));
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 1}, {4, 5}}));

    // Renumbering keeps the items in place, sorts the focus again, and when queued renumbers the
    // older entries before they are delivered.
    struct Renumbering : Collection {
        using Collection::Collection;
        int UpdateHandle(int handle) override { return 10 - handle; }
    } r(&s);
    s.Add(5, 0);
    r.AllowReload(1);
    r.SetFocus(1, false);
    r.SetFocus(2, true);
    Listener heard(&r);
    r.Suspend(1);
    s.Notify(CN_ItemNotice, 1);
    s.Notify(CN_HandlesChanged, 0);
    r.Suspend(0);
    EXPECT_EQ(heard.Take(), (Heard{{8, 0}, {4, 9}}));
    EXPECT_EQ(r.Items(), (V{9, 8, 5}));
    EXPECT_EQ(r.Focus(), (V{8, 9}));
}

TEST_F(CollectionTest, ListenersNestAndMoveTheCursor) {
    Load({10, 20});
    c.SetSlider(20);
    listener.onHear = [&](int code, int handle) {
        if (code == CN_ItemAdded && handle == 15) Append(5);
        if (code != CN_ItemRemoved) return;
        Append(1);
        c.GetFirst();
    };
    Append(15);
    EXPECT_EQ(listener.Take(), (Heard{{1, 15}, {1, 5}}));
    EXPECT_EQ((V{c.GetSlider(), c.GetPosition()}), (V{20, 3})) << "both insertions went before the cursor";
    s.Notify(CN_ItemRemoved, 10);
    EXPECT_EQ(c.Items(), (V{1, 5, 15, 20})) << "a listener entered 1 and moved the cursor; 10 went";
    EXPECT_EQ(c.GetSlider(), 20);
}

TEST_F(CollectionTest, ItemNotifiersAreHeardUntilTheirLastItemGoes) {
    SCC_Notifier group;
    s.itemEvent = {{1, &group}, {2, &group}};
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {};
    c.SetFilter(&filter);
    Load({1, 2, 3});
    c.Clear();  // empties the hook table: the reload counts each item once again
    c.AllowReload(1);
    listener.Take();
    auto viaGroup = [&](int code, int handle) { group.Notify(code, mortar::HandleToData(handle)); };
    viaGroup(CN_ItemRemoved, 1);
    g_Rejected = {2};
    viaGroup(CN_ItemChanged, 2);
    viaGroup(CN_ItemNotice, 1);
    EXPECT_EQ(listener.Take(), (Heard{{2, 1}, {2, 2}})) << "the hook outlived 1; 2 took it";

    // An item entered by code 1 connects again; code 7 through the group empties the hook table
    // from inside the group's own walk, which goes on to the next collection's hook.
    s.itemEvent[4] = &group;
    Collection other(&s);
    other.AllowReload(1);
    Append(4);
    viaGroup(CN_AllRemoved, 0);
    viaGroup(CN_ItemNotice, 4);
    EXPECT_EQ(listener.Take(), (Heard{{1, 4}, {7, 0}}));
    EXPECT_EQ(other.Items(), V{});

    c.slider = 4;  // on an item of the group, whose hook code 7 took
    SCC_Notifier* notifier = nullptr;
    SCC_StdCollection::EventHook* hook = nullptr;
    c.ConnectEvent(1, &notifier, &hook);
    c.ConnectEvent(1, &notifier, &hook);
    EXPECT_EQ(notifier, &group);
    EXPECT_EQ(hook ? hook->GetConnectionCount() : 0, 2);
    c.ConnectEvent(0, nullptr, nullptr);
    c.ConnectEvent(0, &notifier, &hook);
    EXPECT_TRUE(!hook && !notifier) << "the hook went with its last connection, and so did the cache";
    c.ConnectEvent(0, &notifier, &hook);
    EXPECT_EQ(hook, nullptr) << "disconnecting does not make a hook";
}

TEST(Collection, PositionsAndDestruction) {
    SCC_SortableArray<int> array;
    array.Insert(0, 3);
    SCC_StdCollection::Position p, assigned;
    p.SetArray(&array, 1);
    p.Data = 7;
    SCC_StdCollection::Position const copy(p);
    EXPECT_EQ((V{copy.IsValid(), copy.Data}), (V{0, 7})) << "a copy stands nowhere";
    assigned = p;
    array.Insert(0, 1);
    EXPECT_EQ((V{assigned.GetIndex(), assigned.Data}), (V{2, 7})) << "an assigned position follows the array";
    array.Delete(2, 1);
    EXPECT_EQ(assigned.GetIndex(), 0x7FFFFFFF);

    Source s;
    Fill(s, {1, 2});
    Listener listener;
    {
        Collection c(&s);
        c.AllowReload(1);
        c.SetNotificationHandler(&listener);
        c.SetNotificationHandler(nullptr);
        c.SetEvent(nullptr);
        s.Add(3, 0);
        s.Notify(CN_ItemAdded, 3);
        EXPECT_EQ(listener.Take(), (Heard{{1, 3}})) << "null for either connection changes nothing";
    }
    EXPECT_EQ(listener.GetRoot(), nullptr) << "the change notifier let its listeners go";
    s.Notify(CN_ItemAdded, 4);  // the collection left the source's chain
    EXPECT_EQ(listener.heard, Heard{});

    Collection loose(&s);
    loose.Remove();
    loose.SetHandleData(1, 3);
    EXPECT_EQ(loose.GetHandleData(1), 3) << "without a source, handle data is only stored";
}

// Pins hang on nets (net pin / 2 - 4: pins 10 and 11 on net 1, up to 15 on net 3). A pin
// collection shows the pins that its parent's focus wants: those on a focused net, or in a stack of
// three the focused pins.
class PinCollection : public Collection {
public:
    PinCollection(Source* pins, SCC_StdCollection* parent, bool removalWalk = false)
        : Collection(pins, parent), m_Parent(parent), m_RemovalWalk(removalWalk) {}
    int HandleNotificationsAllowed(int handle) override {
        return m_RemovalWalk || Collection::HandleNotificationsAllowed(handle);
    }

protected:
    int _GetFirst() override { return Step(0, false); }
    int _GetNext() override { return Step(slider, false); }
    int _GetNextByParentSlider() override { return Step(slider, true); }

private:
    // The next wanted pin after `from`, or with `bySlider` the next on the parent's current item.
    int Step(int from, bool bySlider) {
        for (int pin = m_Source->After(from); pin; pin = m_Source->After(pin))
            if (bySlider ? pin / 2 - 4 == m_Parent->GetSlider() : Wanted(pin)) return slider = pin;
        return slider = 0;
    }
    bool Wanted(int pin) {
        for (int32_t i = 0; m_Parent->GetFocus(i); ++i)
            if (m_Parent->GetFocus(i) == pin / 2 - 4 || m_Parent->GetFocus(i) == pin) return true;
        return false;
    }
    SCC_StdCollection* m_Parent;
    bool m_RemovalWalk;
};

TEST(Collection, ChildrenFollowTheParentsFocus) {
    Source netSource, pinSource;
    Fill(netSource, {1, 2, 3});
    Fill(pinSource, {10, 11, 12, 13, 14, 15});
    Collection nets(&netSource);
    PinCollection pins(&pinSource, &nets);
    EXPECT_EQ(nets.IsReloadAllowed(), 1) << "SetParent loads the parent";
    pins.AllowReload(1);
    PinCollection chosenPins(&pinSource, &pins);
    chosenPins.AllowReload(1);
    nets.SetFocus(1, false);
    EXPECT_EQ(pins.Items(), (V{10, 11})) << "code 3 for a handle in the parent's focus reloads";
    pins.SetFocus(10, false);
    EXPECT_EQ(chosenPins.Items(), V{10}) << "a stack of three";
    nets.SetFocus(2, false);
    EXPECT_EQ(pins.Items(), (V{12, 13}));
    EXPECT_EQ(chosenPins.Items(), V{}) << "the child's reload reached the grandchild by (6, 0)";

    // The parent takes the item out of its focus before it tells: the base child ignores it.
    Listener pinListener(&pins);
    netSource.Remove(2);
    netSource.Notify(CN_ItemRemoved, 2);
    EXPECT_EQ(pinListener.Take(), Heard{});

    // A child that allows it takes out the pins that hang on the removed net.
    Collection nets2(&netSource);
    PinCollection pins2(&pinSource, &nets2, true);
    pins2.AllowReload(1);
    nets2.SetFocus(3, false);
    EXPECT_EQ(pins2.Items(), (V{14, 15}));
    Listener removed(&pins2);
    netSource.Remove(3);
    netSource.Notify(CN_ItemRemoved, 3);
    EXPECT_EQ(removed.Take(), (Heard{{2, 14}, {2, 15}}));

    // Code 7 goes down the stack.
    nets.SetFocus(1, false);
    pins.SetFocus(10, false);
    netSource.Notify(CN_AllRemoved, 0);
    EXPECT_EQ(pins.Items(), V{});
    EXPECT_EQ(chosenPins.Items(), V{});

    // A former parent is not heard: its reload (with net 1 now in its focus) leaves the child as it was.
    nets.Reload();
    pins.SetParent(nullptr);
    nets.SetFocus(1, true);
    netSource.Add(4, 0);
    netSource.Notify(CN_AllChanged, 0);
    EXPECT_EQ(nets.Items(), (V{1, 4}));
    EXPECT_EQ(pins.Items(), V{});
    EXPECT_EQ(pins.HandleNotificationsAllowed(1), 0);
}

} // namespace
