// Event chains: hand-derived walk orders and what event_model_test.cpp does not reach (transfer of
// chains, copied hooks, throwing callbacks, events destroyed or assigned while they fire).
#include <mortar/scc/SCC_Event.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using Event = SCC_Event<int>;
using Hook = SCC_EventHook<int>;

std::string g_Log;

// Writes its name into the log, then runs an optional action.
struct Listener : Hook {
    explicit Listener(char name, int32_t priority = 0) : Hook(priority), name(name) {}
    int OnNotification(int, int*) override {
        g_Log += name;
        if (g_Log.size() > 64) throw std::runtime_error("a walk that does not end");
        if (auto run = action) run(); // a copy: the action may replace itself or destroy its listener
        return 1;
    }
    char name;
    std::function<void()> action;
};

// Listeners named by letters, added to one event in the order of their names.
struct Chain {
    std::unique_ptr<SCC_Notifier> event = std::make_unique<SCC_Notifier>();
    std::map<char, std::unique_ptr<Listener>> nodes;
    explicit Chain(std::string const& names) {
        for (char c : names)
            event->Add((nodes[c] = std::make_unique<Listener>(c)).get());
    }
    Listener& operator[](char c) { return *nodes.at(c); }
    std::string Fire(Event* other = nullptr) {
        g_Log.clear();
        (other ? other : event.get())->Notify(1, nullptr);
        return g_Log;
    }
};

TEST(EventChain, RemovalsDuringAWalk) {
    // Single removals and destruction are the model check's. The actor, when notified: a letter
    // removes that node, '*' removes every node.
    struct Case { char const *name, *chain; char actor; char const *changes, *firstWalk, *nextWalk; };
    Case const cases[] = {
        {"removes itself and both neighbours", "abcde", 'c', "cbd", "abce", "ae"},
        {"last removes every node", "abc", 'c', "*", "abc", ""},
        {"first removes every node", "abc", 'a', "*", "a", ""},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Chain chain(c.chain);
        chain[c.actor].action = [&chain, changes = std::string(c.changes)] {
            for (char x : changes)
                if (x == '*') chain.event->RemoveAll();
                else chain[x].Remove();
        };
        EXPECT_EQ(chain.Fire(), c.firstWalk);
        chain[c.actor].action = nullptr;
        EXPECT_EQ(chain.Fire(), c.nextWalk);
        EXPECT_EQ(chain.event->GetRoot(), nullptr);
    }
}

TEST(EventChain, WalksEndWithAThrowOrWithTheirEvent) {
    Chain chain("abc");
    chain['b'].action = [] { throw std::runtime_error("listener failed"); };
    EXPECT_THROW(chain.Fire(), std::runtime_error);
    EXPECT_EQ(g_Log, "ab") << "the walk is over";
    EXPECT_EQ(chain.event->GetRoot(), nullptr);

    // The outer record is back on top after an inner walk threw, and still follows removals.
    chain['a'].action = [&] {
        SCC_EventNode<int>* mine = chain.event->GetRoot();
        chain['a'].action = nullptr;
        chain['b'].action = [&] { chain['b'].action = nullptr; throw std::runtime_error("inner"); };
        EXPECT_THROW(chain.event->Notify(2, nullptr), std::runtime_error);
        EXPECT_EQ(chain.event->GetRoot(), mine);
        chain['a'].Remove();
    };
    EXPECT_EQ(chain.Fire(), "aabbc") << "a, the inner walk ab, bc";

    Chain doomed("abc");
    doomed['a'].action = [&] {
        doomed['a'].action = nullptr;
        doomed.event->Notify(2, nullptr);
        doomed.event.reset();
    };
    EXPECT_EQ(doomed.Fire(), "aabc") << "a, the inner walk abc: every walk ends with the event";
    EXPECT_EQ(doomed['c'].GetRoot(), nullptr);
}

TEST(EventChain, CopyAndAssignmentTransferTheChain) {
    Chain chain("ab");
    chain.event->Enabled = 0;
    SCC_Notifier copy(*chain.event);
    EXPECT_EQ(copy.Enabled, 0) << "a copy takes over Enabled";
    chain.event->Enabled = copy.Enabled = 1;
    EXPECT_EQ(chain.Fire(), "") << "the source is left empty";

    Listener old('o');
    Event target;
    old.Connect(&target);
    target.Enabled = 0;
    EXPECT_EQ(&(target = copy), &target);
    EXPECT_EQ(old.GetRoot(), nullptr) << "assignment drops the target's own listeners";
    EXPECT_EQ(target.Enabled, 0) << "and keeps its Enabled";
    target.Enabled = 1;
    target = target;
    EXPECT_EQ(chain.Fire(&target), "ab") << "self-assignment changes nothing";
    Event moved(std::move(target));
    EXPECT_EQ(chain['b'].GetRoot(), &moved) << "moving is copying";

    // a leaves (so its walk stands on the head) and fires again; b hands the chain over in the
    // inner walk: both walks go on over the new head and end there, though the old one is destroyed.
    Chain walked("abc");
    std::unique_ptr<Event> next;
    walked['a'].action = [&] {
        walked['a'].Remove();
        walked.event->Notify(2, nullptr);
    };
    walked['b'].action = [&] {
        walked['b'].action = nullptr;
        next = std::make_unique<Event>(*walked.event);
        EXPECT_EQ(static_cast<Event::Saver*>(next->GetRoot())->GetEvent(), next.get());
        walked.event.reset();
    };
    EXPECT_EQ(walked.Fire(), "abcbc") << "a, the inner walk bc, bc";
    EXPECT_EQ(next->GetRoot(), nullptr) << "the walks popped their records from the new head";

    // An event assigned to while it fires: its walk ends and does not run into the new chain.
    walked['b'].action = [&] { *next = *chain.event; };
    chain.event->Add(&old);
    EXPECT_EQ(walked.Fire(next.get()), "b");
    EXPECT_EQ(walked['c'].GetRoot(), nullptr);
    EXPECT_EQ(next->GetRoot(), nullptr);
    EXPECT_EQ(walked.Fire(next.get()), "o");
}

TEST(EventChain, HooksByPriorityCopiedAheadOfTheirSourceAndOnObjects) {
    Event event;
    struct Plain : SCC_EventNode<int> { // stands at 0x7FFFFFFF
        int OnNotification(int, int*) override { return g_Log += 'P', 0; }
    } plain;
    event.Add(&plain);
    event.Add(nullptr);
    event.Add(&event); // both ignored
    Listener a('a', 5), b('b', 5), low('L', -2000000000), high('H', 0x7FFFFFFE), top('T', 0x7FFFFFFF);
    for (Listener* h : {&a, &low, &b, &high, &top})
        h->Connect(&event);
    EXPECT_EQ(Chain("").Fire(&event), "TPHbaL");
    b.Connect(nullptr);
    EXPECT_EQ(b.GetRoot(), nullptr) << "connecting to null disconnects";

    Event copies;
    Hook::Callback const one = [](int, int*) { return g_Log += '1', 0; };
    Hook first(4, one), second(2, [](int, int*) { return g_Log += '2', 0; });
    first.Connect(&copies);
    second.Connect(&copies);
    Hook copy(second), assigned(9, nullptr), loose(1, one);
    assigned = first;
    assigned = assigned;
    EXPECT_EQ(assigned.GetPriority(), 4);
    Hook looseCopy(loose); // a ring of two with its unconnected source, left when loose connects
    loose.Connect(&copies);
    EXPECT_EQ(Chain("").Fire(&copies), "11221");
    EXPECT_EQ(Hook(1).OnNotification(1, nullptr), 0) << "no callback: nothing happens";

    SCC_EventNode<int> plainCopy(first), joined;
    EXPECT_EQ(plainCopy.GetRoot(), nullptr) << "a plain node copy starts out of any chain";
    joined = second;
    joined.InsertBefore(&joined); // changes nothing
    EXPECT_EQ(joined.GetRoot(), &copies) << "assignment joins the chain of the source";
    joined.InsertBefore(nullptr);
    EXPECT_EQ(joined.GetRoot(), nullptr);

    struct Counter {
        int total = 0;
        int Add(int code, int* data) { return total += code + (data ? *data : 0); }
    } counter, other;
    using ObjectHook = SCC_ObjectEventHook<Counter, int>;
    SCC_Notifier notifier;
    ObjectHook hook(&counter, &Counter::Add, 3);
    hook.Connect(&notifier);
    int value = 10;
    EXPECT_EQ(notifier.Notify(2, &value), 0) << "results of listeners are not returned";
    ObjectHook objectCopy(hook);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 14) << "code and data reach the member; the copy calls the same object";
    objectCopy = ObjectHook(&other, &Counter::Add);
    objectCopy.Connect(&notifier);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 15);
    EXPECT_EQ(other.total, 1);
    EXPECT_EQ(ObjectHook().OnNotification(1, nullptr), 0);
}

} // namespace
