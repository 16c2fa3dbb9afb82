// Single-step behaviour of SCC_StdCollection that the random model check does not reach: the
// stated choices at the edges, exact notification records, re-entrancy, hooks, lifetime and
// parent-child stacks.
#include "scc/collection_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using colltest::Collection;
using colltest::Heard;
using colltest::Listener;
using colltest::Source;
using V = std::vector<int>;

static_assert(!std::is_copy_constructible<SCC_StdCollection>::value, "a collection is not copied");
static_assert(!std::is_copy_assignable<SCC_StdCollection>::value, "a collection is not assigned");

std::set<int> g_Rejected;
int RejectListed(SYS_Filter const*, int handle) { return g_Rejected.count(handle) ? 0 : 1; }

void Fill(Source& s, V const& handles) {
    for (int const handle : handles) s.Add(handle, 0);
}

// A collection over `s` with a listener; Load fills the source and loads the collection.
struct CollectionTest : ::testing::Test {
    void Load(V const& handles) {
        Fill(s, handles);
        c.AllowReload(1);
        listener.Take();
    }
    // A new handle at the end of the walk, told to the collection.
    void Append(int handle) {
        s.Add(handle, 0);
        s.Notify(CN_ItemAdded, handle);
    }
    Source s;
    Collection c{&s};
    Listener listener{&c};
};

TEST_F(CollectionTest, WalkRunsOffAndBadIndicesClear) {
    Load({3, 1, 2});
    EXPECT_EQ(c.Items(), (V{1, 2, 3})) << "without a sort the items stand by handle value, not walk order";
    EXPECT_EQ(c.IsEmpty(), 1) << "the position was never set";

    c.SetSlider(2);
    EXPECT_EQ(c.GetNext(), 1);
    EXPECT_EQ(c.GetNext(), 0) << "past the last item";
    EXPECT_EQ(c.IsEmpty(), 1);
    EXPECT_EQ(c.GetSlider(), 3) << "the slider stays on the last handle reached";
    EXPECT_EQ(c.GetPrev(), 0) << "a walk that ran off stays off";
    EXPECT_EQ(c.GetSlider(), 3);
    for (int32_t const outside : {3, -1}) {
        c.SetPosition(2);
        EXPECT_EQ(c.GetSlider(), 3);
        c.SetPosition(outside);
        EXPECT_EQ(c.GetPosition(), 0x7FFFFFFF) << "an index outside the items clears the position: " << outside;
        EXPECT_EQ(c.GetSlider(), 0);
    }
    EXPECT_EQ(c.Items(), (V{1, 2, 3})) << "nothing grew";
    EXPECT_EQ(c.GetAt(-1), 0);
    EXPECT_EQ(c.GetAt(3), 0);
    EXPECT_EQ(c.GetPositionByHandle(0), -1);
    EXPECT_EQ(c.GetPositionByHandle(7), -1);
}

TEST_F(CollectionTest, SortDirectionOutlivesEmptyingAndClear) {
    SCC_Sort<int>::Function const byValue = nullptr;
    c.SetSort(byValue, 1);
    EXPECT_EQ(c.IsReloadAllowed(), 0) << "SetSort does not load";
    Load({1});
    s.Remove(1);
    s.Notify(CN_ItemRemoved, 1);
    for (int h : V{7, 9, 8}) Append(h);
    EXPECT_EQ(c.Items(), (V{9, 8, 7})) << "the direction outlives the buffer of the items";

    c.SetFocus(7, false);
    c.SetHandleData(7, 4);
    listener.Take();
    c.Clear();
    EXPECT_EQ(listener.Take(), Heard{}) << "Clear tells nobody";
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(c.HasFocus(), 0);
    EXPECT_EQ(c.GetHandleData(7), 0);
    EXPECT_EQ(c.IsReloadAllowed(), 0);
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{9, 8, 7})) << "sort and direction outlive Clear";
}

TEST(Collection, AHandleWalkedTwiceIsOneItem) {
    // The walk keeps an index, as a handle can't tell its two places apart.
    struct Twice : SCC_StdCollection {
        V order{2, 1, 2, 3, 1};
        int index = -1;
        int _GetSlider() override { return index < 0 ? 0 : order[static_cast<size_t>(index)]; }
        void _SetSlider(int handle) override {
            index = handle ? static_cast<int>(std::find(order.begin(), order.end(), handle) - order.begin()) : -1;
        }
        int _GetFirst() override { return (index = 0), 1; }
        int _GetNext() override { return (index = index + 1 < static_cast<int>(order.size()) ? index + 1 : -1) >= 0; }
    } d;
    d.AllowReload(1);
    auto items = [&d] { return V{d.GetAt(0), d.GetAt(1), d.GetAt(2), d.GetAt(3)}; };
    EXPECT_EQ(items(), (V{1, 2, 3, 0}));
    d.SetSort([](int const& a, int const& b) { return (a % 2) - (b % 2); }, 0);
    EXPECT_EQ(items(), (V{2, 1, 3, 0})) << "evens first, then the odds in walk order";
}

TEST_F(CollectionTest, HandleDataStaysUntilTheItemIsRemoved) {
    Load({1, 2, 3, 4, 5});
    SYS_Filter filter(nullptr, nullptr, RejectListed);
    g_Rejected = {2, 4};
    c.SetFilter(&filter);
    EXPECT_EQ(c.Items(), (V{1, 3, 5})) << "SetFilter reloads at once";
    listener.Take();
    c.SetHandleData(3, 7);
    EXPECT_EQ(listener.Take(), (Heard{{3, 3}})) << "handle data re-examines the handle through the source";
    EXPECT_EQ(c.GetHandleData(3), 7);
    g_Rejected = {2, 3, 4};
    s.Notify(CN_ItemChanged, 3);
    EXPECT_EQ(listener.Take(), (Heard{{2, 3}})) << "a change that fails the filter removes the item";
    s.Remove(3);
    s.Notify(CN_ItemRemoved, 3);
    EXPECT_EQ(listener.Take(), Heard{}) << "about an item neither shown nor passing: dropped";
    EXPECT_EQ(c.GetHandleData(3), 7) << "so its data stays";
    c.SetHandleData(5, 1);
    s.Notify(CN_ItemRemoved, 5);
    EXPECT_EQ(c.GetHandleData(5), 0) << "the removal of an item erases its data";
}

TEST_F(CollectionTest, FocusNotifiesOnlyWithoutAdd) {
    Load({1, 2, 3});
    c.SetFocus(3, false);
    c.SetFocus(2, true);
    c.SetFocus(2, true);
    EXPECT_EQ(c.Focus(), (V{2, 2, 3})) << "adding does not look for the handle";
    EXPECT_EQ(listener.Take(), (Heard{{3, 3}})) << "and tells nothing";
    int32_t where = -1;
    EXPECT_TRUE(c.IsInFocus(3, &where));
    EXPECT_EQ(where, 2);
    EXPECT_FALSE(c.IsInFocus(1, &where));
    EXPECT_EQ(where, 0);
    EXPECT_EQ(c.GetFocus(-1), 0);
    c.SetFocus(9, true);
    EXPECT_EQ(c.HasFocus(), 0) << "a handle outside the items counts as 0, which empties the focus";
    EXPECT_EQ(listener.Take(), Heard{});
}

TEST_F(CollectionTest, UnloadedCollectionOnlyProbes) {
    EXPECT_EQ(c.IsReloadAllowed(), 0) << "a new collection is unloaded";
    c.Reload();
    EXPECT_EQ(listener.Take(), Heard{});
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
    EXPECT_EQ(c.Items(), V{4});

    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 3, 4}));
    c.AllowReload(0);
    s.Add(5, 0);
    c.Reload();
    EXPECT_EQ(c.Items(), (V{2, 3, 4})) << "no longer allowed: the items stand";
    c.AllowReload(1);
    EXPECT_EQ(c.Items(), (V{2, 3, 4, 5}));
}

TEST_F(CollectionTest, AllRemovedIsToldBeforeTheEmptying) {
    Load({1, 2, 3});
    c.SetFocus(2, false);
    c.SetHandleData(2, 9);
    listener.Take();
    V seenDuring;
    listener.onHear = [&](int, int) { seenDuring = c.Items(); };
    s.Notify(CN_AllRemoved, 0);
    EXPECT_EQ(listener.Take(), (Heard{{7, 0}}));
    EXPECT_EQ(seenDuring, (V{1, 2, 3})) << "told before anything is emptied";
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(c.HasFocus(), 0);
    EXPECT_EQ(c.GetHandleData(2), 0);
    EXPECT_EQ(c.IsReloadAllowed(), 1);
}

TEST_F(CollectionTest, IgnoredCodesAndDisabledListeners) {
    Load({1});
    s.Notify(CN_Ignored, 1);
    s.Notify(99, 1);
    s.Notify(CN_ItemAdded, 0);
    s.Notify(CN_ItemChanged, 0);
    EXPECT_EQ(listener.Take(), Heard{}) << "code 5, unknown codes, and codes 1 and 3 without a handle";
    EXPECT_EQ(c.Items(), V{1});

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
    // Code 6 goes through at once and empties the queue; the collection stays suspended.
    c.Suspend(1);
    c.Suspend(1);
    s.Notify(CN_ItemNotice, 1);
    s.Add(5, 0);
    s.Notify(CN_AllChanged, 0);
    EXPECT_EQ(listener.Take(), (Heard{{6, 0}}));
    s.Notify(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), Heard{});
    c.Suspend(0);
    EXPECT_EQ(listener.Take(), (Heard{{4, 2}})) << "one Suspend(0) ends two Suspend(1); (4, 1) went with the queue";

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
        if (code == CN_ItemRemoved && handle == 10) c.GetFirst();
    };
    Append(15);
    EXPECT_EQ(listener.Take(), (Heard{{1, 15}, {1, 5}}));
    EXPECT_EQ(c.Items(), (V{5, 10, 15, 20}));
    EXPECT_EQ(c.GetSlider(), 20) << "both insertions before the cursor, which followed its item";
    EXPECT_EQ(c.GetPosition(), 3);

    s.Notify(CN_ItemRemoved, 10);
    EXPECT_EQ(c.Items(), (V{5, 15, 20})) << "the listener moved the cursor; the right item went";
    EXPECT_EQ(c.GetSlider(), 20);
}

TEST_F(CollectionTest, ItemNotifiersAreHeardUntilTheirLastItemGoes) {
    SCC_Notifier group;
    s.itemEvent = {{1, &group}, {2, &group}, {3, &s.notifier}};  // the source's own never gets a hook
    Load({1, 2, 3});
    auto viaGroup = [&](int code, int handle) { group.Notify(code, mortar::HandleToData(handle)); };

    viaGroup(CN_ItemNotice, 1);
    s.Notify(CN_ItemNotice, 3);
    EXPECT_EQ(listener.Take(), (Heard{{4, 1}, {4, 3}})) << "each heard once";
    viaGroup(CN_ItemRemoved, 1);
    viaGroup(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), (Heard{{2, 1}, {4, 2}})) << "the hook outlives one of its items";
    viaGroup(CN_ItemRemoved, 2);
    listener.Take();
    viaGroup(CN_ItemNotice, 2);
    EXPECT_EQ(listener.Take(), Heard{}) << "its last item took it";

    s.itemEvent[4] = &group;
    Append(4);
    viaGroup(CN_ItemNotice, 4);
    EXPECT_EQ(listener.Take(), (Heard{{1, 4}, {4, 4}})) << "an item entered by code 1 connects again";

    // Code 7 through the group empties the hook table from inside the group's own walk.
    Collection other(&s);
    other.AllowReload(1);
    viaGroup(CN_AllRemoved, 0);
    EXPECT_EQ(c.Items(), V{});
    EXPECT_EQ(other.Items(), V{}) << "the walk went on to the next collection's hook";
    listener.Take();
    viaGroup(CN_ItemNotice, 4);
    EXPECT_EQ(listener.Take(), Heard{});

    struct Counting : Collection {
        using Collection::Collection;
        SCC_Notifier* event = nullptr;
        SCC_Notifier* GetEvent() override { return event; }
    } k(&s);
    SCC_Notifier n;
    k.event = &n;
    SCC_Notifier* notifier = nullptr;
    SCC_StdCollection::EventHook* hook = nullptr;
    k.ConnectEvent(1, &notifier, &hook);
    k.ConnectEvent(1, &notifier, &hook);
    ASSERT_NE(hook, nullptr);
    EXPECT_EQ(notifier, &n);
    EXPECT_EQ(hook->GetConnectionCount(), 2);
    for (int i = 0; i < 3; ++i) k.ConnectEvent(0, nullptr, nullptr);  // the third finds no hook left
    SCC_StdCollection::EventHook* none = nullptr;
    notifier = nullptr;
    k.ConnectEvent(0, &notifier, &none);
    EXPECT_EQ(none, nullptr) << "disconnecting does not make a hook";
}

TEST(Collection, PositionsAndDestruction) {
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
    EXPECT_EQ(assigned.Data, 7);
    array.Insert(0, 1);
    EXPECT_EQ(assigned.GetIndex(), 2) << "an assigned position follows the same array";
    EXPECT_EQ(p.GetIndex(), 2);
    array.Delete(2, 1);
    EXPECT_EQ(assigned.IsValid(), 0);
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
        c.SetSlider(2);
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

// Nets and pins: a child collection shows the pins of the nets in its parent's focus, a
// grandchild the pins in its parent's focus.
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
    int _GetFirst() override { return Step(0, false); }
    int _GetNext() override { return Step(slider, false); }
    int _GetNextByParentSlider() override { return Step(slider, true); }

private:
    // The next pin after `from` that hangs on the parent's focus, or with `bySlider` on the
    // parent's current item.
    int Step(int from, bool bySlider) {
        for (int pin = m_Board->pins.After(from); pin; pin = m_Board->pins.After(pin)) {
            if (bySlider ? m_Board->netOf[pin] == m_Parent->GetSlider() : Wanted(pin)) return slider = pin;
        }
        return slider = 0;
    }
    bool Wanted(int pin) {
        for (int32_t i = 0; m_Parent->GetFocus(i); ++i)
            if (m_Parent->GetFocus(i) == m_Board->netOf[pin] || m_Parent->GetFocus(i) == pin) return true;
        return false;
    }

    Board* m_Board;
    SCC_StdCollection* m_Parent;
    bool m_AllowRemoval;
};

TEST(Collection, ChildrenFollowTheParentsFocus) {
    Board board;
    Fill(board.nets, {1, 2, 3});
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
    EXPECT_EQ(pins.HandleNotificationsAllowed(1), 0);
    EXPECT_EQ(pins.HandleNotificationsAllowed(0), 1);
}

} // namespace
