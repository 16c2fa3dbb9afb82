#include <mortar/scc/SCC_Event.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using Node = SCC_EventNode<int>;
using Event = SCC_Event<int>;
using Hook = SCC_EventHook<int>;

static_assert(std::is_same<decltype(std::declval<Hook&>().GetPriority()), int32_t>::value, "32-bit priority");
static_assert(std::is_base_of<SCC_Event<int>, SCC_Notifier>::value, "a notifier is an event of int");

// A listener that writes its name into a log and then runs an optional action.
class Listener : public Hook {
public:
    Listener(char name, std::string& log, int32_t priority = 0) : Hook(priority), name(name), log(log) {}

    int OnNotification(int code, int* data) override {
        log += name;
        lastCode = code;
        lastData = data;
        // A copy, so that an action may replace itself or destroy its listener.
        if (auto run = action) run();
        return 1;
    }

    char name;
    std::string& log;
    std::function<void()> action;
    int lastCode = 0;
    int* lastData = nullptr;
};

// Listeners named by letters, added to one event in the order of their names.
struct Chain {
    std::string log;
    Event event;
    std::map<char, std::unique_ptr<Listener>> nodes;

    explicit Chain(std::string const& names) {
        for (char c : names) {
            nodes[c] = std::make_unique<Listener>(c, log);
            event.Add(nodes[c].get());
        }
    }
    Listener& operator[](char c) { return *nodes.at(c); }
    std::string Fire(int code = 1) {
        log.clear();
        event.Notify(code, nullptr);
        return log;
    }
};

TEST(EventChain, EmptyOrDisabledEventFiresNothing) {
    Event empty;
    EXPECT_EQ(empty.Notify(1, nullptr), 0);
    EXPECT_EQ(empty.Enabled, 1);

    Chain chain("a");
    chain.event.Enabled = 0;
    EXPECT_EQ(chain.event.Notify(1, nullptr), 0);
    EXPECT_EQ(chain.log, "");
    EXPECT_EQ(chain.event.GetRoot(), nullptr) << "no walk left on the stack";
    chain.event.Enabled = 1;
    int value = 7;
    EXPECT_EQ(chain.event.Notify(3, &value), 0) << "results of listeners are not returned";
    EXPECT_EQ(chain['a'].lastCode, 3);
    EXPECT_EQ(chain['a'].lastData, &value);
}

TEST(EventChain, AddLinksAtTheTailAndMovesBetweenEvents) {
    Chain chain("abc");
    Node plain; // a silent listener
    chain.event.Add(&plain);
    chain.event.Add(nullptr);
    chain.event.Add(&chain.event);
    EXPECT_EQ(plain.GetRoot(), &chain.event);
    EXPECT_EQ(chain.Fire(), "abc");

    Event other;
    other.Add(&chain['a']);
    EXPECT_EQ(chain['a'].GetRoot(), &other);
    chain.event.Add(&chain['b']); // already there: goes to the tail again
    EXPECT_EQ(chain.Fire(), "cb");

    chain['b'].Remove();
    chain['b'].Remove(); // harmless out of any chain
    EXPECT_EQ(chain['b'].GetRoot(), nullptr);
    chain.event.RemoveAll();
    EXPECT_EQ(chain['c'].GetRoot(), nullptr);
    EXPECT_EQ(plain.GetRoot(), nullptr);
    EXPECT_EQ(chain.Fire(), "");
}

TEST(EventChain, RemovalsDuringAWalk) {
    // The actor does its changes when notified: a lower-case letter removes that node, an
    // upper-case one destroys it, '*' removes every node.
    struct Case {
        char const* name;
        char const* chain;
        char actor;
        char const* changes;
        char const* firstWalk;
        char const* nextWalk;
    } const cases[] = {
        {"first removes itself", "abc", 'a', "a", "abc", "bc"},
        {"middle removes itself", "abc", 'b', "b", "abc", "ac"},
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

TEST(EventChain, ClearingEnabledStopsEveryWalk) {
    Chain chain("abc");
    int depth = 0;
    // a fires again; in the inner walk b disables the event: neither walk reaches c, and the
    // outer one stops right after a.
    chain['a'].action = [&] {
        if (depth++ == 0) chain.event.Notify(2, nullptr);
    };
    chain['b'].action = [&] { chain.event.Enabled = 0; };
    EXPECT_EQ(chain.Fire(), "aab");
    EXPECT_EQ(chain.event.Enabled, 0);
    EXPECT_EQ(chain.event.GetRoot(), nullptr);
}

TEST(EventChain, NestedWalks) {
    // The inner walk runs in full before the outer one goes on.
    Chain chain("abc");
    int fired = 0;
    chain['b'].action = [&] {
        if (fired++ < 2) chain.event.Notify(0, nullptr);
    };
    EXPECT_EQ(chain.Fire(), "ab"
                            "ab"
                            "abc"
                            "c"
                            "c");

    // Both walks stand on b when the inner one removes it, and c too: both go on with d.
    Chain nested("abcd");
    int depth = 0;
    nested['b'].action = [&] {
        if (depth++ == 0) {
            auto* outer = static_cast<Event::Saver*>(nested.event.GetRoot());
            EXPECT_EQ(outer->GetRoot(), &nested['b']) << "a walk record holds its current node";
            EXPECT_EQ(outer->GetEvent(), &nested.event);
            nested.event.Notify(2, nullptr);
            EXPECT_EQ(nested.event.GetRoot(), outer) << "the inner walk popped its record";
        } else {
            nested['b'].Remove();
            nested['c'].Remove();
        }
    };
    EXPECT_EQ(nested.Fire(), "ab"
                             "abd"
                             "d");
}

TEST(EventChain, ThrowingCallbackLeavesTheStackAsItWas) {
    Chain chain("abc");
    chain['b'].action = [] { throw std::runtime_error("listener failed"); };
    EXPECT_THROW(chain.Fire(), std::runtime_error);
    EXPECT_EQ(chain.log, "ab") << "the walk is over";
    EXPECT_EQ(chain.event.GetRoot(), nullptr);

    // An inner walk throws and the outer callback catches: the outer walk's record is back
    // on top, and it still follows removals.
    Node* top = nullptr;
    chain['a'].action = [&] {
        Node* mine = chain.event.GetRoot();
        chain['a'].action = nullptr;
        EXPECT_THROW(chain.event.Notify(2, nullptr), std::runtime_error);
        top = chain.event.GetRoot();
        EXPECT_EQ(top, mine);
        chain['a'].Remove();
    };
    chain['b'].action = [&] {
        chain['b'].action = nullptr;
        throw std::runtime_error("inner");
    };
    EXPECT_EQ(chain.Fire(), "a"
                            "ab"
                            "bc");
    EXPECT_NE(top, nullptr);
    EXPECT_EQ(chain.event.GetRoot(), nullptr);
}

TEST(EventChain, ConnectOrdersByPriorityNewestFirst) {
    std::string log;
    Event event;
    Listener a('a', log, 5), b('b', log, 5), c('c', log, 5), high('H', log, 7), low('L', log, 3);
    Listener negative('N', log, -2000000000), top('T', log, 0x7FFFFFFF), x('x', log, 6);
    for (Listener* h : {&a, &b, &c, &high, &low, &negative})
        h->Connect(&event);
    event.Notify(0, nullptr);
    EXPECT_EQ(log, "HcbaLN");

    // Connect stops at the first node of lower or equal priority, also after Adds.
    Node plain;
    event.Add(&plain);
    top.Connect(&event);
    x.Connect(&event);
    b.Connect(&event); // connecting again re-inserts
    c.Connect(nullptr);
    EXPECT_EQ(c.GetRoot(), nullptr);
    log.clear();
    event.Notify(0, nullptr);
    EXPECT_EQ(log, "THxbaLN");

    // A plain node counts as 0x7FFFFFFF: hooks of lower priority stay behind it.
    Event other;
    Node head;
    other.Add(&head);
    Listener p('p', log, 100), q('q', log, 0x7FFFFFFF);
    p.Connect(&other);
    q.Connect(&other);
    log.clear();
    other.Notify(0, nullptr);
    EXPECT_EQ(log, "qp");

    Hook defaults;
    EXPECT_EQ(defaults.GetPriority(), 0);
    EXPECT_EQ(defaults.OnNotification(1, nullptr), 0) << "no callback: nothing happens";
    EXPECT_EQ(Node().GetPriority(), 0x7FFFFFFF);
}

TEST(EventChain, NodesMovingDuringAWalk) {
    // While a is notified: E lands ahead of a (behind the walk), L behind b (ahead of the
    // walk), T is added at the tail, and b moves to another event, whose walks see it.
    std::string log;
    Event event, other;
    Listener a('a', log, 5), b('b', log, 1), c('c', log, 1), early('E', log, 9), late('L', log, 0);
    Listener tail('T', log), z('z', log);
    for (Listener* h : {&c, &b, &a})
        h->Connect(&event);
    z.Connect(&other);
    a.action = [&] {
        early.Connect(&event);
        late.Connect(&event);
        event.Add(&tail);
        a.action = nullptr;
    };
    c.action = [&] {
        b.Connect(&other);
        EXPECT_EQ(b.GetRoot(), &other);
        c.action = nullptr;
    };
    event.Notify(1, nullptr);
    EXPECT_EQ(log, "abcLT");
    log.clear();
    event.Notify(1, nullptr);
    other.Notify(1, nullptr);
    EXPECT_EQ(log, "EacLT"
                   "bz");

    // b moves away while the walk stands on it: the walk goes on with c.
    b.Connect(&event);
    b.action = [&] { b.Connect(&other); };
    log.clear();
    event.Notify(1, nullptr);
    EXPECT_EQ(log, "EabcLT");
}

TEST(EventChain, DestroyingAnEventLeavesItsHooksUnconnected) {
    std::string log;
    Listener a('a', log), b('b', log), c('c', log);
    {
        Event event;
        a.Connect(&event);
        b.Connect(&event);
    }
    EXPECT_EQ(a.GetRoot(), nullptr);
    EXPECT_EQ(b.GetRoot(), nullptr);
    a.Remove();

    // A listener may destroy the event that notifies it: every walk ends there.
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
    EXPECT_EQ(log, "a"
                   "abc");
    EXPECT_EQ(c.GetRoot(), nullptr);
}

TEST(EventChain, CopyAndAssignmentTransferTheChain) {
    std::string log;
    SCC_Notifier source;
    Listener a('a', log), b('b', log), c('c', log, 1), old('o', log);
    a.Connect(&source);
    b.Connect(&source);
    source.Enabled = 0;

    SCC_Notifier copy(source);
    EXPECT_EQ(a.GetRoot(), &copy);
    EXPECT_EQ(copy.Enabled, 0) << "a copy takes over Enabled";
    copy.Enabled = 1;
    source.Enabled = 1;
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
    target = target; // changes nothing
    log.clear();
    copy.Notify(1, nullptr);
    target.Notify(1, nullptr);
    EXPECT_EQ(log, "ba");

    // Moving is the same as copying, and the moved chain is still a chain.
    Event moved(std::move(target));
    EXPECT_EQ(b.GetRoot(), &moved);
    Event empty;
    Event fromEmpty(empty);
    fromEmpty.Notify(1, nullptr);
    c.Connect(&moved);
    a.Remove();
    log.clear();
    moved.Notify(1, nullptr);
    EXPECT_EQ(log, "cb");
}

TEST(EventChain, TransferDuringAWalk) {
    std::string log;
    auto source = std::make_unique<Event>();
    Listener a('a', log), b('b', log), c('c', log);
    for (Listener* h : {&a, &b, &c})
        source->Add(h);
    std::unique_ptr<Event> target;
    // a leaves (so the walk stands on the head) and hands the chain over: the walk goes on
    // over the new head and ends there, although its old head is destroyed meanwhile.
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
    EXPECT_EQ(log, "a"
                   "bc"
                   "bc");
    EXPECT_EQ(target->GetRoot(), nullptr);

    // An event assigned to while it fires: its walk ends, and does not run into the chain
    // it received.
    Chain chain("xy");
    b.action = [&] { *target = chain.event; };
    log.clear();
    target->Notify(1, nullptr); // a left in the part above: the chain is b, c
    EXPECT_EQ(log, "b");
    EXPECT_EQ(c.GetRoot(), nullptr);
    EXPECT_EQ(target->GetRoot(), nullptr);
    chain.log.clear();
    target->Notify(1, nullptr);
    EXPECT_EQ(chain.log, "xy");
}

int g_callbackLog = 0;
int Tens(int, int*) {
    return g_callbackLog = g_callbackLog * 10 + 1;
}
int Twos(int, int*) {
    return g_callbackLog = g_callbackLog * 10 + 2;
}

TEST(EventChain, CopiedHooksJoinAheadOfTheirSource) {
    Event event;
    Hook first(4, &Tens), second(2, &Twos);
    first.Connect(&event);
    second.Connect(&event);

    Hook copy(second);
    EXPECT_EQ(copy.GetPriority(), 2);
    EXPECT_EQ(copy.GetRoot(), &event);
    Hook assigned(9, nullptr);
    assigned = first;
    assigned = assigned;
    EXPECT_EQ(assigned.GetPriority(), 4);
    g_callbackLog = 0;
    event.Notify(0, nullptr);
    EXPECT_EQ(g_callbackLog, 1122);

    // A plain node copy starts out of any chain; assignment joins ahead of the source.
    Node plainCopy(first);
    EXPECT_EQ(plainCopy.GetRoot(), nullptr);
    Node joined;
    joined = second;
    EXPECT_EQ(joined.GetRoot(), &event);
    joined.InsertBefore(&joined);
    EXPECT_EQ(joined.GetRoot(), &event);
    joined.InsertBefore(nullptr);
    EXPECT_EQ(joined.GetRoot(), nullptr);

    // A copy of an unconnected hook stays out of every event.
    Hook loose(1, &Tens);
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
    EXPECT_EQ(hook.GetPriority(), 3);
    hook.Connect(&notifier);
    int value = 10;
    notifier.Notify(2, &value);
    EXPECT_EQ(counter.total, 12);

    SCC_ObjectEventHook<Counter, int> copy(hook);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 14) << "the copy calls the same object";

    SCC_ObjectEventHook<Counter, int> retarget(&other, &Counter::Add);
    copy = retarget;
    EXPECT_EQ(copy.GetRoot(), nullptr) << "assigned from an unconnected hook";
    copy.Connect(&notifier);
    notifier.Notify(1, nullptr);
    EXPECT_EQ(counter.total, 15);
    EXPECT_EQ(other.total, 1);
    SCC_ObjectEventHook<Counter, int> empty;
    EXPECT_EQ(empty.OnNotification(1, nullptr), 0);
}

// Random changes made from inside callbacks, checked against a plain list: a walk notifies
// every node that was there before the actor, the actor, and the nodes after it that the
// actor did not remove; the chain afterwards is in the order of the list.
TEST(EventChain, RandomChangesDuringWalks) {
    constexpr int kNodes = 12;
    std::mt19937 random(20240601);
    Event event;
    std::list<int> model;
    struct Probe : Hook {
        std::function<void()> action;
        int OnNotification(int, int*) override {
            action();
            return 0;
        }
    } probes[kNodes];
    std::vector<int> notified;
    auto pick = [&] { return static_cast<int>(random() % kNodes); };
    for (int i = 0; i < kNodes; ++i)
        probes[i].action = [&, i] { notified.push_back(i); };

    for (int round = 0; round < 400; ++round) {
        for (int k = 0; k < 3; ++k) {
            int const i = pick();
            model.remove(i);
            if (random() % 2) {
                event.Add(&probes[i]);
                model.push_back(i);
            } else {
                probes[i].Remove();
            }
        }
        std::vector<int> const before(model.begin(), model.end());
        if (before.empty()) continue;
        int const actor = before[random() % before.size()];
        std::vector<int> const victims = {pick(), pick(), pick()};
        probes[actor].action = [&, actor] {
            notified.push_back(actor);
            for (int v : victims) {
                probes[v].Remove();
                model.remove(v);
            }
        };
        notified.clear();
        event.Notify(0, nullptr);
        probes[actor].action = [&, actor] { notified.push_back(actor); };

        std::vector<int> expected;
        bool after = false;
        for (int i : before) {
            if (!after || std::find(victims.begin(), victims.end(), i) == victims.end())
                expected.push_back(i);
            after = after || i == actor;
        }
        ASSERT_EQ(notified, expected) << "round " << round;
        notified.clear();
        event.Notify(0, nullptr);
        ASSERT_EQ(notified, std::vector<int>(model.begin(), model.end())) << "round " << round;
    }
}

} // namespace
