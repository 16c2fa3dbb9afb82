#include <mortar/ssm/ssmimpl.h>
#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

// The enumerations are the callers': a client defines them with the library's underlying types.
enum SGN_Type : int16_t { SGN_TestPad = 1 };
enum SYS_GeometryType : int32_t { GT_None = 0 };

namespace {

// A named node that shows the protected fields.
struct Node : SYS_GeomNode {
    explicit Node(char name = '?', int16_t type = 0) : name(name) { SetNodeType(type); }
    Node(SYS_GeomNode const& source, char name) : SYS_GeomNode(source), name(name) {}
    char name;
    SYS_GeomNode* Next() const { return root; }
    int16_t& Extra() { return m_Extra; }
};

char Name(SYS_GeomNode const* n) { return n ? static_cast<Node const*>(n)->name : '-'; }
char Letter(int index) { return index < 0 ? '-' : char('a' + index); }

// Nodes a, b, c, ... with the types given as digits, linked in that order into a ring
// (or left alone with linked == false).
struct Ring {
    explicit Ring(std::string const& types, bool linked = true) {
        for (char t : types) nodes.emplace_back(Letter(int(nodes.size())), int16_t(t - '0'));
        for (size_t i = 0; linked && i < nodes.size(); ++i) nodes[i].SetRoot(&nodes[(i + 1) % nodes.size()]);
    }
    Node& operator[](char name) { return nodes[size_t(name - 'a')]; }
    std::deque<Node> nodes;
};

// The ring as seen from `n`: n's name, then the walk GetRoot, GetNextRoot (at most 20 steps).
std::string Order(SYS_GeomNode const& n) {
    std::string s(1, Name(&n));
    for (SYS_GeomNode* r = n.GetRoot(); r && s.size() < 20; r = n.GetNextRoot(r)) s += Name(r);
    return s;
}

TEST(GeomNode, TypesCopiesAndIncludeRoot) {
    Node n('n');
    EXPECT_TRUE(n.GetRoot() == nullptr && n.Next() == &n && n.Extra() == 0x7FFF) << "a new node stands alone";
    for (int t = -32768; t <= 32767; ++t) {
        n.SetNodeType(int16_t(t));
        bool const geom = t == 1 || t == 2 || t == 4 || t == 6;
        ASSERT_TRUE(n.IsGeomType() == int(geom) && n.IsValid() == int(t != 0) && n.GetGeomType() == SGN_Type(t))
            << t;
    }

    // A copy carries all four fields and points into the source's ring without standing in it;
    // its walks go round the source's ring and end.
    Ring ring("0905");
    int group = 0;
    ring['b'].SetParentGroup(&group);
    ring['b'].Extra() = -3;
    Node copy(ring['b'], 'x');
    EXPECT_TRUE(copy.Next() == &ring['c'] && copy.GetNodeType() == 9 && copy.Extra() == -3 &&
                copy.GetParentGroup() == &group && Order(ring['a']) == "abcd");
    EXPECT_TRUE(copy.GetDBRoot() == &ring['b'] && !copy.GetRoot(int16_t(3)) && !copy.GetPrevRoot(&copy));

    // IncludeRoot puts the newest node directly behind.
    Ring lone("000", false);
    lone['a'].IncludeRoot(&lone['b']);
    lone['a'].IncludeRoot(&lone['c']);
    EXPECT_EQ(Order(lone['a']) + " " + Order(lone['b']), "acb bac");
}

// Each walk against a plain model of the ring, for every node asked and every start.
TEST(GeomNode, EveryWalkMatchesTheModel) {
    for (std::string types :
         {"0", "9", "6", "07", "96", "69", "979", "0612", "0060", "6000", "6666", "4696709", "1247900", "1234567890"}) {
        SCOPED_TRACE("ring " + types);
        Ring ring(types);
        int const n = int(types.size());
        auto const type = [&](int i) { return types[size_t(i % n)] - '0'; };
        // The first node after `from` and before `self` that matches.
        auto const find = [&](int self, int from, auto match) {
            for (int i = from + 1; i % n != self; ++i)
                if (match(type(i))) return Letter(i % n);
            return '-';
        };
        // The predecessor of `self`, unless `from` is it or a type-6 node stands after from's
        // next node, up to the predecessor.
        auto const prev = [&](int self, int from) {
            int const pred = (self + n - 1) % n;
            if (from == pred) return -1;
            for (int i = from + 2; (i - 1) % n != pred; ++i)
                if (type(i) == 6) return -1;
            return pred;
        };
        for (int self = 0; self < n; ++self) {
            Node& node = ring[Letter(self)];
            SCOPED_TRACE(std::string("asked of ") + node.name);
            EXPECT_EQ(Name(node.GetRoot()), Letter(n == 1 ? -1 : (self + 1) % n));
            auto const geom = [](int t) { return t == 1 || t == 2 || t == 4 || t == 6; };
            EXPECT_EQ(Name(node.GetNextGeomRoot()), find(self, self, geom));
            EXPECT_EQ(Name(node.GetDBRoot()), find(self, self, [](int t) { return t == 9; }));
            EXPECT_EQ(Name(node.GetBRTRoot()), find(self, self, [](int t) { return t == 7; }));
            for (int t = 0; t <= 9; ++t) {
                auto const ofType = [t](int type) { return type == t; };
                EXPECT_EQ(Name(node.GetRoot(int16_t(t))), find(self, self, ofType)) << t;
            }
            for (int from = 0; from < n; ++from) {
                Node& p = ring[Letter(from)];
                SCOPED_TRACE(std::string("from ") + p.name);
                int const next = (from + 1) % n;
                EXPECT_EQ(Name(node.GetNextRoot(&p)), Letter(next == self ? -1 : next));
                for (int t = 0; t <= 9; ++t) {
                    char const expected = find(self, from, [t](int type) { return type == t; });
                    EXPECT_EQ(Name(node.GetNextRoot(&p, SGN_Type(t))), expected) << t;
                    EXPECT_EQ(Name(node.NextRoot(&p, int16_t(t))), expected) << t;
                }
                EXPECT_EQ(Name(node.GetPrevRoot(&p)), Letter(prev(self, from)));
            }
            // ExcludeRoot searches as GetPrevRoot does from the node itself, then unlinks it.
            Ring cut(types);
            bool const found = prev(self, self) >= 0;
            cut[Letter(self)].ExcludeRoot(&cut[Letter(self)]);
            std::string rest;
            for (int i = 1; i <= n; ++i)
                if (i < n || !found) rest += Letter((self + i) % n);
            EXPECT_EQ(Order(cut[Letter((self + 1) % n)]), rest);
            EXPECT_EQ(cut[Letter(self)].GetRoot() == nullptr, found || n == 1);
        }
        EXPECT_EQ(Order(ring['a']).size(), size_t(n)) << "no walk changes the ring";
    }
}

TEST(GeomNode, RingChangesByHand) {
    // GetPrevRoot: {types, self, from, expected}. From the predecessor itself: null. Type 6 directly
    // behind p is crossed, further on (the predecessor included) it bounds; this node's type does not.
    struct Prev { char const* types; char self, from, expected; } const prevCases[] = {
        {"000", 'a', 'a', 'c'},  {"000", 'a', 'c', '-'},  {"0600", 'a', 'a', 'd'},
        {"0060", 'a', 'a', '-'}, {"0006", 'a', 'a', '-'}, {"6000", 'a', 'a', 'd'}};
    for (auto const& c : prevCases) {
        Ring ring(c.types);
        EXPECT_EQ(Name(ring[c.self].GetPrevRoot(&ring[c.from])), c.expected) << c.types << " from " << c.from;
    }
    // ExcludeRoot takes any node out of its own ring; this node is not involved.
    Ring four("0000");
    Node lone('z');
    lone.ExcludeRoot(&four['c']);
    EXPECT_TRUE(Order(four['a']) == "abd" && four['c'].GetRoot() == nullptr && lone.GetRoot() == nullptr);

    // {types, the ring from a after a.ExcludeOwnRoot(), a.ExcludeNearType(3), a.ExcludeByType(3)};
    // a's own type is not looked at.
    struct Case { char const *types, *own, *nearType, *byType; } const cases[] = {
        {"3", "a", "a", "a"},      {"03353", "acde", "ade", "ad"}, {"05333", "acde", "abcde", "ab"},
        {"3333", "acd", "a", "a"}, {"3030", "acd", "abcd", "abd"}};
    for (auto const& c : cases) {
        Ring own(c.types), nearRing(c.types), byRing(c.types);
        own['a'].ExcludeOwnRoot();
        nearRing['a'].ExcludeNearType(3);
        byRing['a'].ExcludeByType(3);
        EXPECT_EQ(Order(own['a']) + " " + Order(nearRing['a']) + " " + Order(byRing['a']),
                  std::string(c.own) + " " + c.nearType + " " + c.byType);
        EXPECT_TRUE(own.nodes.size() < 3 || own['b'].Next() == &own['c']) << "the dropped b keeps its root";
    }

    // Cut nodes keep their roots (c at d, b at the cut c); walks from them find the ring and end.
    Ring ring("03353");
    ring['a'].ExcludeByType(3);
    EXPECT_TRUE(ring['c'].GetRoot() == &ring['d'] && ring['b'].GetRoot() == &ring['c']);
    EXPECT_TRUE(ring['b'].GetRoot(int16_t(5)) == &ring['d'] && ring['b'].GetRoot(int16_t(7)) == nullptr);
    EXPECT_EQ(ring['b'].NextRoot(&ring['b'], 0), &ring['a']);
    ring['b'].ExcludeByType(0);
    EXPECT_EQ(Order(ring['d']), "d") << "a cut node cuts in the ring it points into";

    // A null root ends ExcludeByType (a cut node's null root is handed on) and ExcludeOwnRoot.
    Ring open("0303");
    open['d'].SetRoot(nullptr);
    open['a'].ExcludeByType(3);
    open['c'].ExcludeOwnRoot();
    EXPECT_TRUE(open['a'].Next() == &open['c'] && open['c'].Next() == nullptr);
}

// Records every report of a manager as "type file(line) message"; throws when asked.
struct Recorder : SCC_EventHook<int> {
    explicit Recorder(SSM& ssm) { Connect(&ssm.MonitorEvent); }
    int OnNotification(int type, int* data) override {
        auto const* r = reinterpret_cast<SSM::AssertData const*>(data);
        reports.push_back(std::to_string(type) + " " + r->File.GetString() + "(" + std::to_string(r->Line) +
                          ") " + r->Message.GetString());
        if (doThrow) throw std::runtime_error("hook");
        return 0;
    }
    bool doThrow = false;
    std::vector<std::string> reports;
};

TEST(GeomNode, NextRootReportsABrokenRing) {
    std::string const source = mortar::detail::kGeomInlineSource, header = "mortar/sys/SYS_Geom_Inline.h";
    EXPECT_EQ(source.rfind(header), source.size() - header.size()) << source;
    std::string const report = "2 " + source + "(2253) Corrupted SYS_GeomNode chain!";

    // a -> b -> c -> c: c points at itself, the walk from a can never come back to a.
    Ring ring("0002");
    ring['c'].SetRoot(&ring['c']);
    Node& a = ring['a'];
    EXPECT_EQ(a.NextRoot(&a, 9), nullptr) << "without a manager the check has no effect";
    SSM ssm;
    Recorder recorder(ssm);
    EXPECT_EQ(a.NextRoot(&a, 9), nullptr);
    EXPECT_EQ(recorder.reports, std::vector<std::string>{report});

    // Found before the break, or the broken node of type t itself, or asked of a node alone:
    // no report.
    EXPECT_EQ(a.NextRoot(&ring['b'], 0), &ring['c']);
    ring['c'].SetNodeType(9);
    EXPECT_EQ(a.NextRoot(&a, 9), &ring['c']);
    ring['c'].SetNodeType(0);
    EXPECT_EQ(ring['c'].NextRoot(&ring['c'], 9), nullptr);

    // The other walks end on the broken ring without a report, and change nothing they cannot.
    EXPECT_TRUE(!a.GetDBRoot() && !a.GetNextGeomRoot() && !a.GetNextRoot(&a, SGN_TestPad) &&
                !a.GetPrevRoot(&a));
    a.ExcludeRoot(&a);
    a.ExcludeNearType(1);
    EXPECT_EQ(Order(a), "ab" + std::string(18, 'c'));
    a.ExcludeByType(0);
    EXPECT_EQ(a.Next(), &ring['c']);
    EXPECT_EQ(recorder.reports.size(), 1u);

    // A loop that leaves a out, without a node pointing at itself, is reported too; a null root
    // ends the walk without a report.
    Ring loop("00000"), open("000");
    loop['e'].SetRoot(&loop['c']);
    EXPECT_EQ(loop['a'].NextRoot(&loop['a'], 9), nullptr);
    open['b'].SetRoot(nullptr);
    EXPECT_EQ(open['a'].NextRoot(&open['a'], 9), nullptr);
    EXPECT_EQ(recorder.reports, std::vector<std::string>(2, report));
    ASSERT_EQ(ssm.Map.size(), 1u);
    EXPECT_EQ(ssm.Map.begin()->second.Count, 2) << "both reports share the one location";

    // When the hooks throw, the exception leaves NextRoot and the ring is as it was.
    std::string const before = Order(a);
    recorder.doThrow = true;
    EXPECT_THROW(a.NextRoot(&a, 9), std::runtime_error);
    EXPECT_TRUE(ssm.Level == -1 && ssm.Current == nullptr && Order(a) == before);
}

TEST(GeomNode, GeometryAndIteratorAnswerNoObject) {
    SYS_Geometry geometry;
    SYS_GeomIterator it;
    it.GetFirst(nullptr);
    EXPECT_TRUE(geometry.IsValid() == 0 && geometry.GetGeometry() == GT_None && it.IsValid() == 0 &&
                it.GetObjectType() == GT_None && !it.GetPointValue() && !it.GetRectangleValue());
}

} // namespace
