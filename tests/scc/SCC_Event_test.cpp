// Event chains: hand-derived walk orders and what the model check in event_model_test.cpp does
// not reach (transfer of chains, copied hooks, throwing callbacks, events destroyed or assigned
// while they fire). Removal during nested walks and disabling are left to the model check.
#include <mortar/scc/SCC_Event.h>

#include <gtest/gtest.h>

#include <cctype>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using Node = SCC_EventNode<int>;
using Event = SCC_Event<int>;
using Hook = SCC_EventHook<int>;

// A listener that writes its name into a log and then runs an optional action.
class Listener : public Hook {
public:
    Listener(char name, std::string& log, int32_t priority = 0) : Hook(priority), name(name), log(log) {}
    int OnNotification(int, int*) override {
        log += name;
        if (auto run = action) run(); // a copy: the action may replace itself or destroy its listener
        return 1;
    }
    char name;
    std::string& log;
    std::function<void()> action;
};

// Listeners named by letters, added to one event in the order of their names.
struct Chain {
    std::string log;
    Event event;
    std::map<char, std::unique_ptr<Listener>> nodes;
    explicit Chain(std::string const& names) {
        for (char c : names)
            event.Add((nodes[c] = std::make_unique<Listener>(c, log)).get());
    }
    Listener& operator[](char c) { return *nodes.at(c); }
    std::string Fire() {
        log.clear();
        event.Notify(1, nullptr);
        return log;
    }
};

TEST(EventChain, RemovalsDuringAWalk) {
    // The actor acts when notified: a lower-case letter removes that node, an upper-case one
    // destroys it, '*' removes every node.
    struct Case {
        char const *name, *chain;
        char actor;
        char const *changes, *firstWalk, *nextWalk;
    } const cases[] = {
        {"first removes itself", "abc", 'a', "a", "abc", "bc"},
        {"last removes itself", "abc", 'c', "c", "abc", "ab"},
        {"removes itself and both neighbours", "abcde", 'c', "cbd", "abce", "ae"},
        {"removes an earlier node", "abc", 'b', "a", "abc", "bc"},
        {"destroys the next node", "abc", 'a', "B", "ac", "ac"},
        {"destroys itself", "abc", 'b', "B", "abc", "ac"},
        {"last removes every node", "abc", 'c', "*", "abc", ""},
        {"first removes every node", "abc", 'a', "*", "a", ""},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Chain chain(c.chain);
        std::string const changes = c.changes;
        chain[c.actor].action = [&chain, changes] {
            for (char x : changes) {
                if (x == '*')
                    chain.event.RemoveAll();
                else if (std::isupper(static_cast<unsigned char>(x)))
                    chain.nodes[static_cast<char>(std::tolower(x))].reset();
                else
                    chain[x].Remove();
            }
        };
        EXPECT_EQ(chain.Fire(), c.firstWalk);
        if (chain.nodes[c.actor]) chain[c.actor].action = nullptr;
        EXPECT_EQ(chain.Fire(), c.nextWalk);
        EXPECT_EQ(chain.event.GetRoot(), nullptr);
    }
}

TEST(EventChain, ThrowingCallbackLeavesTheStackAsItWas) {
    Chain chain("abc");
    chain['b'].action = [] { throw std::runtime_error("listener failed"); };
    EXPECT_THROW(chain.Fire(), std::runtime_error);
    EXPECT_EQ(chain.log, "ab") << "the walk is over";
    EXPECT_EQ(chain.event.GetRoot(), nullptr);

    // An inner walk throws and the outer callback catches: the outer record is back on top and
    // still follows removals.
    chain['a'].action = [&] {
        Node* mine = chain.event.GetRoot();
        chain['a'].action = nullptr;
        EXPECT_THROW(chain.event.Notify(2, nullptr), std::runtime_error);
        EXPECT_EQ(chain.event.GetRoot(), mine);
        chain['a'].Remove();
    };
    chain['b'].action = [&] {
        chain['b'].action = nullptr;
        throw std::runtime_error("inner");
    };
    EXPECT_EQ(chain.Fire(), "aabbc") << "a, the inner walk ab, bc";
    EXPECT_EQ(chain.event.GetRoot(), nullptr);
}

TEST(EventChain, ConnectOrdersByPriorityNewestFirstBehindPlainNodes) {
    std::string log;
    Event event;
    Node plain; // stands at 0x7FFFFFFF
    event.Add(&plain);
    event.Add(nullptr);
    event.Add(&event); // both ignored
    Listener a('a', log, 5), b('b', log, 5), low('L', log, -2000000000), high('H', log, 0x7FFFFFFE),
        top('T', log, 0x7FFFFFFF);
    for (Listener* h : {&a, &low, &b, &high, &top})
        h->Connect(&event);
    event.Notify(0, nullptr);
    EXPECT_EQ(log, "THbaL");
    b.Connect(nullptr);
    EXPECT_EQ(b.GetRoot(), nullptr) << "connecting to null disconnects";
    EXPECT_EQ(Hook(1).OnNotification(1, nullptr), 0) << "no callback: nothing happens";
}

TEST(EventChain, ListenerMayDestroyTheEventThatNotifiesIt) {
    std::string log;
    Listener a('a', log), b('b', log), c('c', log);
    auto event = std::make_unique<SCC_Notifier>();
    for (Listener* h : {&a, &b, &c})
        event->Add(h);
    int depth = 0;
    a.action = [&] {
        if (depth++ > 0) return;
        event->Notify(2, nullptr);
        event.reset();
    };
    SCC_Notifier* raw = event.get();
    raw->Notify(1, nullptr);
    EXPECT_EQ(log, "aabc") << "a, the inner walk abc: every walk ends with the event";
    EXPECT_EQ(c.GetRoot(), nullptr);
}

TEST(EventChain, CopyAndAssignmentTransferTheChain) {
    std::string log;
    SCC_Notifier source;
    Listener a('a', log), b('b', log), old('o', log);
    a.Connect(&source);
    b.Connect(&source);
    source.Enabled = 0;
    SCC_Notifier copy(source);
    EXPECT_EQ(a.GetRoot(), &copy);
    EXPECT_EQ(copy.Enabled, 0) << "a copy takes over Enabled";
    copy.Enabled = source.Enabled = 1;
    source.Notify(1, nullptr);
    copy.Notify(1, nullptr);
    EXPECT_EQ(log, "ba");

    // Assignment drops the target's own listeners and keeps its Enabled.
    Event target;
    old.Connect(&target);
    target.Enabled = 0;
    EXPECT_EQ(&(target = copy), &target);
    EXPECT_EQ(old.GetRoot(), nullptr);
    EXPECT_EQ(b.GetRoot(), &target);
    EXPECT_EQ(target.Enabled, 0);
    target.Enabled = 1;
    target = target;
    log.clear();
    copy.Notify(1, nullptr);
    target.Notify(1, nullptr);
    EXPECT_EQ(log, "ba") << "the source is left empty; self-assignment changes nothing";

    Event moved(std::move(target)); // moving is copying
    EXPECT_EQ(b.GetRoot(), &moved);
}

TEST(EventChain, TransferDuringAWalk) {
    std::string log;
    auto source = std::make_unique<Event>();
    Listener a('a', log), b('b', log), c('c', log);
    for (Listener* h : {&a, &b, &c})
        source->Add(h);
    std::unique_ptr<Event> target;
    // a leaves (so the walk stands on the head) and hands the chain over: the walk goes on over
    // the new head and ends there, although its old head is destroyed meanwhile.
    a.action = [&] {
        a.Remove();
        target = std::make_unique<Event>(*source);
        EXPECT_EQ(static_cast<Event::Saver*>(target->GetRoot())->GetEvent(), target.get());
        EXPECT_EQ(source->GetRoot(), nullptr);
        source.reset();
    };
    Event* raw = source.get();
    raw->Notify(1, nullptr);
    EXPECT_EQ(log, "abc");
    EXPECT_EQ(target->GetRoot(), nullptr) << "the walk popped its record from the new head";

    // The chain goes to a local event and back during the walk, with a walk of its own there.
    log.clear();
    a.action = [&] {
        a.Remove();
        Event keep;
        keep = *target;
        EXPECT_EQ(b.GetRoot(), &keep);
        keep.Notify(5, nullptr);
        *target = keep;
    };
    a.Connect(target.get());
    target->Notify(1, nullptr);
    EXPECT_EQ(log, "abcbc") << "a, the walk over the local event bc, bc";

    // An event assigned to while it fires: its walk ends and does not run into the new chain.
    Chain chain("xy");
    b.action = [&] { *target = chain.event; };
    log.clear();
    target->Notify(1, nullptr);
    EXPECT_EQ(log, "b");
    EXPECT_EQ(c.GetRoot(), nullptr);
    EXPECT_EQ(target->GetRoot(), nullptr);
    chain.log.clear();
    target->Notify(1, nullptr);
    EXPECT_EQ(chain.log, "xy");
}

int g_callbackLog = 0;
int Ones(int, int*) {
    return g_callbackLog = g_callbackLog * 10 + 1;
}
int Twos(int, int*) {
    return g_callbackLog = g_callbackLog * 10 + 2;
}

TEST(EventChain, CopiedHooksJoinAheadOfTheirSource) {
    Event event;
    Hook first(4, &Ones), second(2, &Twos);
    first.Connect(&event);
    second.Connect(&event);
    Hook copy(second);
    Hook assigned(9, nullptr);
    assigned = first;
    assigned = assigned;
    EXPECT_EQ(assigned.GetPriority(), 4);
    g_callbackLog = 0;
    event.Notify(0, nullptr);
    EXPECT_EQ(g_callbackLog, 1122);

    // A plain node copy starts out of any chain; assignment joins ahead of the source.
    Node plainCopy(first), joined;
    EXPECT_EQ(plainCopy.GetRoot(), nullptr);
    joined = second;
    EXPECT_EQ(joined.GetRoot(), &event);
    joined.InsertBefore(&joined);
    EXPECT_EQ(joined.GetRoot(), &event);
    joined.InsertBefore(nullptr);
    EXPECT_EQ(joined.GetRoot(), nullptr);

    // A copy of an unconnected hook forms a ring of two with it; connecting takes it out.
    Hook loose(1, &Ones);
    Hook looseCopy(loose);
    EXPECT_EQ(looseCopy.GetRoot(), nullptr);
    loose.Connect(&event);
    g_callbackLog = 0;
    event.Notify(0, nullptr);
    EXPECT_EQ(g_callbackLog, 11221);
}

struct Counter {
    int total = 0;
    int Add(int code, int* data) { return total += code + (data ? *data : 0); }
};

TEST(EventChain, ObjectHooksCallTheirMember) {
    Counter counter, other;
    SCC_Notifier notifier;
    SCC_ObjectEventHook<Counter, int> hook(&counter, &Counter::Add, 3);
    hook.Connect(&notifier);
    int value = 10;
    EXPECT_EQ(notifier.Notify(2, &value), 0) << "results of listeners are not returned";
    EXPECT_EQ(counter.total, 12) << "code and data reach the member";
    SCC_ObjectEventHook<Counter, int> copy(hook);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 14) << "the copy calls the same object";
    copy = SCC_ObjectEventHook<Counter, int>(&other, &Counter::Add);
    EXPECT_EQ(copy.GetRoot(), nullptr) << "assigned from an unconnected hook";
    copy.Connect(&notifier);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 15);
    EXPECT_EQ(other.total, 1);
    EXPECT_EQ((SCC_ObjectEventHook<Counter, int>().OnNotification(1, nullptr)), 0);
}

} // namespace
