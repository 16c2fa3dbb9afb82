#include <mortar/ssm/ssmimpl.h>
#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

// The enumerations are the callers': a client defines them with the library's underlying types.
enum SGN_Type : int16_t { SGN_TestPad = 1, SGN_TestBound = 6, SGN_TestDB = 9 };
enum SYS_GeometryType : int32_t { GT_None = 0 };

namespace {

// A node with a name, that shows the protected fields.
class Node : public SYS_GeomNode {
public:
    explicit Node(char name = '?', int16_t type = 0) : name(name) { SetNodeType(type); }
    Node(SYS_GeomNode const& source, char name) : SYS_GeomNode(source), name(name) {}
    char name;
    SYS_GeomNode* Next() const { return root; }
    int16_t Extra() const { return m_Extra; }
    void SetExtra(int16_t v) { m_Extra = v; }
};

char Name(SYS_GeomNode const* n) { return n ? static_cast<Node const*>(n)->name : '-'; }

// Nodes named a, b, c, ... with the types given as digits, linked in that order into a ring
// (or left alone with linked == false).
class Ring {
public:
    explicit Ring(std::string const& types, bool linked = true) {
        for (char t : types) m_Nodes.emplace_back(static_cast<char>('a' + m_Nodes.size()), int16_t(t - '0'));
        if (linked)
            for (size_t i = 0; i < m_Nodes.size(); ++i) m_Nodes[i].SetRoot(&m_Nodes[(i + 1) % m_Nodes.size()]);
    }
    Node& operator[](size_t i) { return m_Nodes[i]; }
    Node& operator[](char name) { return m_Nodes[size_t(name - 'a')]; }
    int Size() const { return int(m_Nodes.size()); }

private:
    std::deque<Node> m_Nodes;
};

int Index(SYS_GeomNode const* n) { return n ? Name(n) - 'a' : -1; }

// The ring as seen from `n`: n's name, then the walk GetRoot, GetNextRoot (at most 20 steps).
std::string Order(SYS_GeomNode const& n) {
    std::string s(1, Name(&n));
    for (SYS_GeomNode* r = n.GetRoot(); r && s.size() < 20; r = n.GetNextRoot(r)) s += Name(r);
    return s;
}

TEST(GeomNode, TypesCopiesAndIncludeRoot) {
    Node n('n');
    EXPECT_TRUE(n.GetRoot() == nullptr && n.Next() == &n) << "a new node stands alone";
    EXPECT_EQ(n.Extra(), 0x7FFF);
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
    ring['b'].SetExtra(-3);
    Node copy(ring['b'], 'x');
    EXPECT_TRUE(copy.Next() == &ring['c'] && copy.GetNodeType() == 9 && copy.Extra() == -3 &&
                copy.GetParentGroup() == &group);
    EXPECT_EQ(Order(ring['a']), "abcd");
    EXPECT_TRUE(copy.GetDBRoot() == &ring['b'] && !copy.GetRoot(int16_t(3)) && !copy.GetPrevRoot(&copy));
    copy.ExcludeNearType(0);
    EXPECT_EQ(copy.Next(), &ring['d']) << "c's type is 0: dropped; d's is 5: kept";
    copy.SetRoot(&copy);
    ring['c'].IncludeRoot(&copy);
    EXPECT_EQ(Order(ring['a']), "abcxd") << "a copy joins a ring by IncludeRoot";

    // IncludeRoot puts the newest node directly behind.
    Ring lone("000", false);
    lone['a'].IncludeRoot(&lone['b']);
    lone['a'].IncludeRoot(&lone['c']);
    EXPECT_EQ(Order(lone['a']), "acb");
    EXPECT_EQ(Order(lone['b']), "bac");
}

// Plain models of the walks on a ring given by its types, by index: the ring is 0 .. n-1 in
// order, `self` the node asked, `from` the node whose root the walk starts at.
int ModelFind(std::string const& types, int self, int from, bool (*match)(int type, int t), int t) {
    int const n = int(types.size());
    for (int i = (from + 1) % n; i != self; i = (i + 1) % n)
        if (match(types[size_t(i)] - '0', t)) return i;
    return -1;
}

// The predecessor of `self`, unless `from` is that predecessor, or a type-6 node stands
// after from's next node, up to the predecessor.
int ModelPrev(std::string const& types, int self, int from) {
    int const n = int(types.size());
    int const pred = (self + n - 1) % n;
    if (from == pred) return -1;
    for (int i = (from + 1) % n; i != pred;) {
        i = (i + 1) % n;
        if (types[size_t(i)] == '6') return -1;
    }
    return pred;
}

bool OfType(int type, int t) { return type == t; }
bool Geom(int type, int) { return type == 1 || type == 2 || type == 4 || type == 6; }

TEST(GeomNode, EveryWalkMatchesTheModel) {
    for (std::string types :
         {"0", "9", "6", "07", "96", "69", "979", "0612", "0060", "6000", "6666", "4696709", "1247900", "1234567890"}) {
        SCOPED_TRACE("ring " + types);
        Ring ring(types);
        int const n = ring.Size();
        for (int self = 0; self < n; ++self) {
            Node& node = ring[size_t(self)];
            SCOPED_TRACE(std::string("asked of ") + node.name);
            EXPECT_EQ(Index(node.GetRoot()), n == 1 ? -1 : (self + 1) % n);
            EXPECT_EQ(Index(node.GetNextGeomRoot()), ModelFind(types, self, self, Geom, 0));
            EXPECT_EQ(Index(node.GetDBRoot()), ModelFind(types, self, self, OfType, 9));
            EXPECT_EQ(Index(node.GetBRTRoot()), ModelFind(types, self, self, OfType, 7));
            for (int t = 0; t <= 9; ++t)
                EXPECT_EQ(Index(node.GetRoot(int16_t(t))), ModelFind(types, self, self, OfType, t)) << t;
            for (int from = 0; from < n; ++from) {
                Node& p = ring[size_t(from)];
                SCOPED_TRACE(std::string("from ") + p.name);
                int const next = (from + 1) % n;
                EXPECT_EQ(Index(node.GetNextRoot(&p)), next == self ? -1 : next);
                for (int t = 0; t <= 9; ++t) {
                    int const expected = ModelFind(types, self, from, OfType, t);
                    EXPECT_EQ(Index(node.GetNextRoot(&p, SGN_Type(t))), expected) << t;
                    EXPECT_EQ(Index(node.NextRoot(&p, int16_t(t))), expected) << t;
                }
                EXPECT_EQ(Index(node.GetPrevRoot(&p)), ModelPrev(types, self, from));
            }
            // ExcludeRoot searches as GetPrevRoot does from the node itself, then unlinks it.
            Ring cut(types);
            bool const found = ModelPrev(types, self, self) >= 0;
            cut[size_t(self)].ExcludeRoot(&cut[size_t(self)]);
            std::string rest;
            for (int i = 1; i <= n; ++i)
                if (i < n || !found) rest += char('a' + (self + i) % n);
            EXPECT_EQ(Order(cut[size_t((self + 1) % n)]), rest);
            EXPECT_EQ(cut[size_t(self)].GetRoot() == nullptr, found || n == 1);
        }
        EXPECT_EQ(Order(ring[size_t(0)]).size(), size_t(n)) << "no walk changes the ring";
    }
}

TEST(GeomNode, TypeSixBoundsPrevRoot) {
    struct Prev { char const* name; char const* types; char self, from, expected; } const prevCases[] = {
        {"the predecessor of a", "000", 'a', 'a', 'c'}, {"p the predecessor itself gives null", "000", 'a', 'c', '-'},
        {"type 6 directly behind p is crossed", "0600", 'a', 'a', 'd'},
        {"type 6 further on bounds the search", "0060", 'a', 'a', '-'},
        {"the predecessor itself of type 6 bounds it", "0006", 'a', 'a', '-'},
        {"this node of type 6 does not bound its own search", "6000", 'a', 'a', 'd'}};
    for (auto const& c : prevCases) {
        Ring ring(c.types);
        EXPECT_EQ(Name(ring[c.self].GetPrevRoot(&ring[c.from])), c.expected) << c.name;
    }

    // A node other than this one is taken out of its own ring; this node is not involved.
    Ring ring("0000");
    Node lone('z');
    lone.ExcludeRoot(&ring['c']);
    EXPECT_EQ(Order(ring['a']), "abd");
    EXPECT_TRUE(ring['c'].GetRoot() == nullptr && lone.GetRoot() == nullptr);
}

TEST(GeomNode, ExcludeOwnRootNearTypeAndByType) {
    Ring three("000");
    three['a'].ExcludeOwnRoot();
    EXPECT_EQ(Order(three['a']), "ac");
    EXPECT_EQ(three['b'].GetRoot(), &three['c']) << "the dropped node still points into the ring";
    three['a'].ExcludeOwnRoot();
    three['a'].ExcludeOwnRoot();
    EXPECT_EQ(Order(three['a']), "a") << "a node alone stays alone";
    three['a'].SetRoot(nullptr);
    three['a'].ExcludeOwnRoot();
    EXPECT_EQ(three['a'].Next(), nullptr);

    struct Case {
        char const* types;
        int16_t t;
        char const* nearType; // the ring from a after a.ExcludeNearType(t)
        char const* byType;   // the ring from a after a.ExcludeByType(t)
    } const cases[] = {
        {"3", 3, "a", "a"},          {"03353", 3, "ade", "ad"}, {"05333", 3, "abcde", "ab"},
        {"3333", 3, "a", "a"},       {"3030", 3, "abcd", "abd"}, // this node's own type is not looked at
        {"0120", 7, "abcd", "abcd"}};
    for (auto const& c : cases) {
        Ring nearRing(c.types), byRing(c.types);
        nearRing['a'].ExcludeNearType(c.t);
        EXPECT_EQ(Order(nearRing['a']), c.nearType) << c.types;
        byRing['a'].ExcludeByType(c.t);
        EXPECT_EQ(Order(byRing['a']), c.byType) << c.types;
    }

    // Cut nodes keep their roots: c points at d (a node of the ring), b at the cut c, and a
    // walk from either finds nodes of the ring and ends.
    Ring ring("03353");
    ring['a'].ExcludeByType(3);
    EXPECT_TRUE(ring['c'].GetRoot() == &ring['d'] && ring['b'].GetRoot() == &ring['c']);
    EXPECT_TRUE(ring['b'].GetRoot(int16_t(5)) == &ring['d'] && ring['b'].GetRoot(int16_t(7)) == nullptr);
    EXPECT_EQ(ring['b'].NextRoot(&ring['b'], 0), &ring['a']);
    ring['b'].ExcludeByType(0);
    EXPECT_EQ(Order(ring['d']), "d") << "a cut node cuts in the ring it points into";

    // A null root ends ExcludeByType; a cut node's null root is handed on.
    Ring open("0303");
    open['d'].SetRoot(nullptr);
    open['a'].ExcludeByType(3);
    EXPECT_TRUE(open['a'].Next() == &open['c'] && open['c'].Next() == nullptr);
}

// Records every report of a manager and, when asked, throws from the monitor event.
class Recorder : public SCC_EventHook<int> {
public:
    explicit Recorder(SSM& ssm) { Connect(&ssm.MonitorEvent); }
    // Each report as "type file(line) message".
    int OnNotification(int type, int* data) override {
        auto const* record = reinterpret_cast<SSM::AssertData const*>(data);
        reports.push_back(std::to_string(type) + " " + record->File.GetString() + "(" +
                          std::to_string(record->Line) + ") " + record->Message.GetString());
        if (doThrow) throw std::runtime_error("hook");
        return 0;
    }
    bool doThrow = false;
    std::vector<std::string> reports;
};

std::string const kSource = mortar::detail::kGeomInlineSource;
std::string const kReport = "2 " + kSource + "(2253) Corrupted SYS_GeomNode chain!";

TEST(GeomNode, NextRootReportsABrokenRing) {
    // a -> b -> c -> c: c points at itself, the walk from a can never come back to a.
    Ring ring("0002");
    ring['c'].SetRoot(&ring['c']);
    Node& a = ring['a'];
    EXPECT_EQ(a.NextRoot(&a, 9), nullptr) << "without a manager the check has no effect";

    SSM ssm;
    Recorder recorder(ssm);
    EXPECT_EQ(a.NextRoot(&a, 9), nullptr);
    EXPECT_EQ(recorder.reports, std::vector<std::string>{kReport});
    std::string const header = "mortar/sys/SYS_Geom_Inline.h";
    EXPECT_EQ(kSource.rfind(header), kSource.size() - header.size()) << kSource;

    // Found before the break, or the broken node of type t itself, or asked of a node alone:
    // no report.
    EXPECT_EQ(a.NextRoot(&ring['b'], 0), &ring['c']);
    ring['c'].SetNodeType(9);
    EXPECT_EQ(a.NextRoot(&a, 9), &ring['c']);
    ring['c'].SetNodeType(0);
    EXPECT_EQ(ring['c'].NextRoot(&ring['c'], 9), nullptr);
    EXPECT_EQ(recorder.reports.size(), 1u);

    // The other walks end on the broken ring without a report, and change nothing they cannot.
    EXPECT_TRUE(!a.GetDBRoot() && !a.GetNextGeomRoot() && !a.GetNextRoot(&a, SGN_TestPad) && !a.GetPrevRoot(&a));
    a.ExcludeRoot(&a);
    a.ExcludeNearType(1);
    EXPECT_EQ(Order(a), "ab" + std::string(18, 'c'));
    a.ExcludeByType(0);
    EXPECT_EQ(a.Next(), &ring['c']);
    EXPECT_EQ(recorder.reports.size(), 1u);

    // A loop that does not lead back, without a node pointing at itself, is reported too;
    // a null root ends the walk without a report.
    Ring loop("00000");
    loop['e'].SetRoot(&loop['c']);
    EXPECT_EQ(loop['a'].NextRoot(&loop['a'], 9), nullptr);
    Ring open("000");
    open['b'].SetRoot(nullptr);
    EXPECT_EQ(open['a'].NextRoot(&open['a'], 9), nullptr);
    EXPECT_EQ(recorder.reports, std::vector<std::string>(2, kReport));
    ASSERT_EQ(ssm.Map.size(), 1u);
    EXPECT_EQ(ssm.Map.begin()->second.Count, 2) << "both reports share the one location";

    // When the hooks throw, the exception leaves NextRoot and the ring is as it was.
    std::string const before = Order(a);
    recorder.doThrow = true;
    EXPECT_THROW(a.NextRoot(&a, 9), std::runtime_error);
    EXPECT_TRUE(ssm.Level == -1 && ssm.Current == nullptr);
    EXPECT_EQ(Order(a), before);
}

TEST(GeomNode, GeometryAndIteratorDefaults) {
    SYS_Geometry geometry;
    EXPECT_TRUE(geometry.IsValid() == 0 && geometry.GetGeometry() == GT_None);
    SYS_GeomIterator base;
    base.GetFirst(nullptr);
    EXPECT_TRUE(base.IsValid() == 0 && base.GetObjectType() == GT_None);
    EXPECT_TRUE(!base.GetPointValue() && !base.GetDoublePointValue() && !base.GetLocationValue() &&
                !base.GetCircleValue() && !base.GetSegmentValue() && !base.GetArcValue() &&
                !base.GetRectangleValue());
}

} // namespace
