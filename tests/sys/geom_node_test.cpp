#include <mortar/ssm/ssmimpl.h>
#include <mortar/sys/SYS_Geom_Inline.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <vector>

// The enumerations are the callers': a client defines them with the library's underlying types.
enum SGN_Type : int16_t { SGN_TestPad = 1, SGN_TestBound = 6, SGN_TestDB = 9, SGN_TestHigh = 0x7FFF };
enum SYS_GeometryType : int32_t { GT_None = 0, GT_Point = 1, GT_Arc = 5, GT_Wide = 0xFFFF };

namespace {

// A node with a name, that shows the protected fields.
class Node : public SYS_GeomNode {
public:
    explicit Node(char name = '?', int16_t type = 0) : name(name) { SetNodeType(type); }
    // A copy of the node part of `source`, under a name of its own.
    Node(SYS_GeomNode const& source, char name) : SYS_GeomNode(source), name(name) {}
    char name;
    SYS_GeomNode* Next() const { return root; }
    int16_t Extra() const { return m_Extra; }
    void SetExtra(int16_t v) { m_Extra = v; }
};

char Name(SYS_GeomNode const* n) {
    return n ? static_cast<Node const*>(n)->name : '-';
}

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
    int Index(SYS_GeomNode const* n) const { return n ? static_cast<Node const*>(n)->name - 'a' : -1; }

private:
    std::deque<Node> m_Nodes;
};

// The ring as seen from `n`: n's name, then the walk GetRoot, GetNextRoot (at most 20 steps).
std::string Order(SYS_GeomNode const& n) {
    std::string s(1, Name(&n));
    for (SYS_GeomNode* r = n.GetRoot(); r && s.size() < 20; r = n.GetNextRoot(r)) s += Name(r);
    return s;
}

TEST(GeomNode, NewNodesTypesAndCopies) {
    Node n('n');
    EXPECT_TRUE(n.GetRoot() == nullptr && n.Next() == &n) << "a new node stands alone";
    EXPECT_EQ(n.IsValid() + n.IsGeomType() + n.GetNodeType() + n.IsMemberOfGroup(), 0);
    EXPECT_EQ(n.Extra(), 0x7FFF);

    // Which types count as geometry; the two setters write the one field.
    for (int t = -32768; t <= 32767; ++t) {
        n.SetNodeType(int16_t(t));
        bool const geom = t == 1 || t == 2 || t == 4 || t == 6;
        ASSERT_TRUE(n.IsGeomType() == int(geom) && n.IsValid() == int(t != 0) && n.GetGeomType() == SGN_Type(t)) << t;
    }
    n.SetGeomType(SGN_TestBound);
    EXPECT_EQ(n.GetNodeType(), 6);
    n.SetNodeType(9);
    EXPECT_EQ(n.GetGeomType(), SGN_TestDB);

    // A copy carries all four fields and points into the source's ring without standing in it.
    Ring ring("0905");
    int group = 0;
    ring['b'].SetParentGroup(&group);
    EXPECT_EQ(ring['b'].IsMemberOfGroup(), 1);
    ring['b'].SetExtra(-3);
    Node copy(ring['b'], 'x');
    EXPECT_EQ(copy.Next(), &ring['c']);
    EXPECT_EQ(copy.GetNodeType(), 9);
    EXPECT_EQ(copy.Extra(), -3);
    EXPECT_EQ(copy.GetParentGroup(), &group);
    EXPECT_EQ(Order(ring['a']), "abcd");
    // Its walks go round the source's ring and end.
    EXPECT_EQ(copy.GetDBRoot(), &ring['b']);
    EXPECT_EQ(copy.GetRoot(int16_t(5)), &ring['d']);
    EXPECT_EQ(copy.GetRoot(int16_t(3)), nullptr);
    EXPECT_EQ(copy.GetPrevRoot(&copy), nullptr);
    copy.ExcludeNearType(0);
    EXPECT_EQ(copy.Next(), &ring['d']) << "c's type is 0: dropped; d's is 5: kept";

    static_cast<SYS_GeomNode&>(n) = ring['a'];
    EXPECT_TRUE(n.Next() == &ring['b'] && n.GetNodeType() == 0 && n.GetParentGroup() == nullptr);
    n.SetRoot(&n);
    ring['c'].IncludeRoot(&n);
    EXPECT_EQ(Order(ring['a']), "abcnd") << "a copy joins a ring by IncludeRoot";

    // IncludeRoot puts the newest node directly behind.
    Ring lone("000", false);
    Node &a = lone['a'], &b = lone['b'], &c = lone['c'];
    a.IncludeRoot(&b);
    EXPECT_TRUE(a.GetRoot() == &b && b.GetRoot() == &a && a.GetNextRoot(&b) == nullptr && a.GetNextRoot(&a) == &b);
    a.IncludeRoot(&c);
    EXPECT_EQ(Order(a), "acb");
    EXPECT_EQ(Order(b), "bac");
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

TEST(GeomNode, EveryWalkOnRingsOfOneTwoAndMore) {
    char const* const patterns[] = {
        "0", "9", "6", "07", "99", "96", "69", "000", "979", "0612", "6666", "4696709", "1234567890", "9060609",
    };
    for (std::string types : patterns) {
        SCOPED_TRACE("ring " + types);
        Ring ring(types);
        int const n = ring.Size();
        for (int self = 0; self < n; ++self) {
            Node& node = ring[size_t(self)];
            SCOPED_TRACE(std::string("asked of ") + node.name);
            EXPECT_EQ(ring.Index(node.GetRoot()), n == 1 ? -1 : (self + 1) % n);
            EXPECT_EQ(ring.Index(node.GetNextGeomRoot()), ModelFind(types, self, self, Geom, 0));
            EXPECT_EQ(ring.Index(node.GetDBRoot()), ModelFind(types, self, self, OfType, 9));
            EXPECT_EQ(ring.Index(node.GetBRTRoot()), ModelFind(types, self, self, OfType, 7));
            for (int t = 0; t <= 9; ++t)
                EXPECT_EQ(ring.Index(node.GetRoot(int16_t(t))), ModelFind(types, self, self, OfType, t)) << t;
            for (int from = 0; from < n; ++from) {
                Node& p = ring[size_t(from)];
                SCOPED_TRACE(std::string("from ") + p.name);
                int const next = (from + 1) % n;
                EXPECT_EQ(ring.Index(node.GetNextRoot(&p)), next == self ? -1 : next);
                for (int t = 0; t <= 9; ++t) {
                    int const expected = ModelFind(types, self, from, OfType, t);
                    EXPECT_EQ(ring.Index(node.GetNextRoot(&p, SGN_Type(t))), expected) << t;
                    EXPECT_EQ(ring.Index(node.NextRoot(&p, int16_t(t))), expected) << t;
                }
                EXPECT_EQ(ring.Index(node.GetPrevRoot(&p)), ModelPrev(types, self, from));
            }
        }
        EXPECT_EQ(Order(ring[size_t(0)]).size(), size_t(n)) << "no walk changes the ring";
    }
}

TEST(GeomNode, TypeSixBoundsPrevRootAndExcludeRoot) {
    struct Prev {
        char const* name;
        char const* types;
        char self, from, expected;
    } const prevCases[] = {
        {"a, b, c: the predecessor of a", "000", 'a', 'a', 'c'},
        {"the walk starts behind p, so p = the predecessor gives null", "000", 'a', 'c', '-'},
        {"type 6 directly behind p is crossed", "0600", 'a', 'a', 'd'},
        {"type 6 further on bounds the search", "0060", 'a', 'a', '-'},
        {"the predecessor itself of type 6 bounds it", "0006", 'a', 'a', '-'},
        {"this node of type 6 does not bound its own search", "6000", 'a', 'a', 'd'},
    };
    for (auto const& c : prevCases) {
        SCOPED_TRACE(c.name);
        Ring ring(c.types);
        EXPECT_EQ(Name(ring[c.self].GetPrevRoot(&ring[c.from])), c.expected);
    }

    struct Exclude {
        char const* name;
        char const* types;
        char leaving;
        char const* after; // the ring seen from a, or from b when a leaves; empty: unchanged
    } const excludeCases[] = {
        {"alone", "0", 'a', ""},
        {"ring of two", "00", 'a', "b"},
        {"type 6 directly behind is crossed", "0060", 'b', "acd"},
        {"type 6 two behind bounds the search", "0006", 'b', ""},
        {"the leaving node of type 6 is found again", "0600", 'b', "acd"},
        {"a type-6 predecessor bounds the search", "6000", 'b', ""},
        {"geometry and roots of other types do not bound it", "1247900", 'c', "abdefg"},
    };
    for (auto const& c : excludeCases) {
        SCOPED_TRACE(c.name);
        Ring ring(c.types);
        std::string const before = Order(ring['a']);
        Node& leaving = ring[c.leaving];
        // ExcludeRoot searches as GetPrevRoot does from the node itself.
        EXPECT_EQ(leaving.GetPrevRoot(&leaving) != nullptr, *c.after != 0);
        leaving.ExcludeRoot(&leaving);
        if (*c.after == 0) {
            EXPECT_EQ(Order(ring['a']), before);
        } else {
            EXPECT_EQ(leaving.GetRoot(), nullptr);
            EXPECT_EQ(Order(ring[c.leaving == 'a' ? 'b' : 'a']), c.after);
        }
    }

    // A node other than this one is taken out of its own ring; this node is not involved.
    Ring ring("0000");
    Node lone('z');
    lone.ExcludeRoot(&ring['c']);
    EXPECT_EQ(Order(ring['a']), "abd");
    EXPECT_TRUE(ring['c'].GetRoot() == nullptr && lone.GetRoot() == nullptr);
}

TEST(GeomNode, ExcludeOwnRootNearTypeAndByType) {
    {
        Ring ring("000");
        ring['a'].ExcludeOwnRoot();
        EXPECT_EQ(Order(ring['a']), "ac");
        EXPECT_EQ(ring['b'].GetRoot(), &ring['c']) << "the dropped node still points into the ring";
        ring['a'].ExcludeOwnRoot();
        ring['a'].ExcludeOwnRoot();
        EXPECT_EQ(Order(ring['a']), "a") << "a node alone stays alone";
        ring['a'].SetRoot(nullptr);
        ring['a'].ExcludeOwnRoot();
        EXPECT_EQ(ring['a'].Next(), nullptr);
    }
    struct Case {
        char const* name;
        char const* types;
        int16_t t;
        char const* nearType; // the ring from a after a.ExcludeNearType(t)
        char const* byType;   // the ring from a after a.ExcludeByType(t)
    } const cases[] = {
        {"alone", "3", 3, "a", "a"},
        {"a run directly behind, then another type, then t again", "03353", 3, "ade", "ad"},
        {"another type directly behind", "05333", 3, "abcde", "ab"},
        {"every other node has type t", "3333", 3, "a", "a"},
        {"this node's own type is not looked at", "3030", 3, "abcd", "abd"},
        {"t does not occur", "0120", 7, "abcd", "abcd"},
        {"negative types", "0", -1, "a", "a"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        Ring nearRing(c.types), byRing(c.types);
        nearRing['a'].ExcludeNearType(c.t);
        EXPECT_EQ(Order(nearRing['a']), c.nearType);
        byRing['a'].ExcludeByType(c.t);
        EXPECT_EQ(Order(byRing['a']), c.byType);
    }

    // Cut nodes keep their roots: c points at d (a node of the ring), b at the cut c, and a
    // walk from either finds nodes of the ring and ends.
    Ring ring("03353");
    ring['a'].ExcludeByType(3);
    EXPECT_EQ(ring['c'].GetRoot(), &ring['d']);
    EXPECT_EQ(ring['b'].GetRoot(), &ring['c']);
    EXPECT_EQ(ring['e'].GetRoot(), &ring['a']);
    EXPECT_EQ(ring['b'].GetRoot(int16_t(5)), &ring['d']);
    EXPECT_EQ(ring['b'].GetRoot(int16_t(7)), nullptr);
    EXPECT_EQ(ring['b'].GetPrevRoot(&ring['b']), nullptr);
    EXPECT_EQ(ring['b'].NextRoot(&ring['b'], 0), &ring['a']);
    ring['b'].ExcludeByType(0);
    EXPECT_EQ(Order(ring['d']), "d") << "a cut node cuts in the ring it points into";

    // A null root ends ExcludeByType; a cut node's null root is handed on.
    Ring open("0303");
    open['d'].SetRoot(nullptr);
    open['a'].ExcludeByType(3);
    EXPECT_EQ(open['a'].Next(), &open['c']);
    EXPECT_EQ(open['c'].Next(), nullptr);
}

// Records every report of a manager and, when asked, throws from the monitor event.
class Recorder : public SCC_EventHook<int> {
public:
    explicit Recorder(SSM& ssm) { Connect(&ssm.MonitorEvent); }
    // Each report as "type file(line) message".
    int OnNotification(int type, int* data) override {
        auto const* record = reinterpret_cast<SSM::AssertData const*>(data);
        reports.push_back(std::to_string(type) + " " + record->File.GetString() + "(" + std::to_string(record->Line) +
                          ") " + record->Message.GetString());
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
    EXPECT_EQ(ssm.Level, -1);

    // Found before the break, or the broken node of type t itself: no report.
    EXPECT_EQ(a.NextRoot(&a, 0), &ring['b']);
    EXPECT_EQ(a.NextRoot(&ring['b'], 0), &ring['c']);
    ring['c'].SetNodeType(9);
    EXPECT_EQ(a.NextRoot(&a, 9), &ring['c']);
    ring['c'].SetNodeType(0);
    // The calling node pointing at itself is a node alone.
    EXPECT_EQ(ring['c'].NextRoot(&ring['c'], 9), nullptr);
    EXPECT_EQ(recorder.reports.size(), 1u);

    // The other walks end on the broken ring without a report, and change nothing they cannot.
    EXPECT_EQ(a.GetDBRoot(), nullptr);
    EXPECT_EQ(a.GetRoot(int16_t(4)), nullptr);
    EXPECT_EQ(a.GetNextGeomRoot(), nullptr);
    EXPECT_EQ(a.GetNextRoot(&a, SGN_TestPad), nullptr);
    EXPECT_EQ(a.GetPrevRoot(&a), nullptr);
    a.ExcludeRoot(&a);
    a.ExcludeNearType(1);
    EXPECT_EQ(Order(a), "ab" + std::string(18, 'c'));
    a.ExcludeByType(0);
    EXPECT_EQ(a.Next(), &ring['c']);
    EXPECT_EQ(recorder.reports.size(), 1u);

    // A loop that does not lead back, without a node pointing at itself, is reported too.
    Ring loop("00000");
    loop['e'].SetRoot(&loop['c']);
    EXPECT_EQ(loop['a'].NextRoot(&loop['a'], 9), nullptr);
    EXPECT_EQ(loop['a'].NextRoot(&loop['a'], 0), &loop['b']);
    EXPECT_EQ(recorder.reports, std::vector<std::string>(2, kReport));
    ASSERT_EQ(ssm.Map.size(), 1u);
    EXPECT_EQ(ssm.Map.begin()->second.Count, 2) << "both reports share the one location";

    // A null root ends the walk without a report.
    Ring open("000");
    open['b'].SetRoot(nullptr);
    EXPECT_EQ(open['a'].NextRoot(&open['a'], 9), nullptr);
    EXPECT_EQ(recorder.reports.size(), 2u);
}

TEST(GeomNode, NextRootThrowsWhenTheHooksMakeIt) {
    Ring ring("000");
    ring['b'].SetRoot(&ring['b']);
    Node& a = ring['a'];
    SSM ssm;

    {
        Recorder recorder(ssm);
        recorder.doThrow = true;
        EXPECT_THROW(a.NextRoot(&a, 9), std::runtime_error);
        EXPECT_EQ(recorder.reports, std::vector<std::string>{kReport});
        EXPECT_EQ(ssm.Level, -1);
        EXPECT_EQ(ssm.Current, nullptr);
        EXPECT_EQ(Name(a.Next()), 'b');
        EXPECT_EQ(Name(ring['b'].Next()), 'b') << "the ring is left as it was";
    }

    // Inside another report the check throws that report's record.
    struct Outer : SCC_EventHook<int> {
        Node* node = nullptr;
        int OnNotification(int, int*) override {
            node->NextRoot(node, 9);
            return 0;
        }
    } outer;
    outer.node = &a;
    outer.Connect(&ssm.HandlerEvent);
    try {
        SSM_AssertFailed("outer", "client.cpp", 12, SSM_FailureStop, 0);
        ADD_FAILURE() << "nothing thrown";
    } catch (SSM::AssertData* record) {
        EXPECT_EQ(std::string(record->Message.GetString()), "outer");
        EXPECT_EQ(record->Line, 12);
    }
    auto const inner = ssm.Map.find((kSource + "(2253)").c_str());
    ASSERT_NE(inner, ssm.Map.end());
    EXPECT_EQ(inner->second.Count, 2);
    EXPECT_EQ(ssm.Level, -1);
}

TEST(GeomNode, GeometryAndIteratorDefaultsAndOverrides) {
    SYS_Geometry geometry;
    SYS_Geometry copied(geometry);
    copied = geometry;
    EXPECT_EQ(geometry.IsValid(), 0);
    EXPECT_EQ(geometry.GetGeometry(), GT_None);

    SYS_GeomIterator base;
    EXPECT_EQ(base.MaxHandle, 0);
    base.GetFirst(nullptr);
    EXPECT_EQ(base.IsValid(), 0);
    EXPECT_EQ(base.GetObjectType(), GT_None);
    EXPECT_TRUE(!base.GetPointValue() && !base.GetDoublePointValue() && !base.GetLocationValue() &&
                !base.GetCircleValue() && !base.GetSegmentValue() && !base.GetArcValue() && !base.GetRectangleValue());

    // Two points and an arc, handed out through the getters a concrete iterator overrides.
    class Shapes : public SYS_GeomIterator {
    public:
        Shapes() { SetMaxHandle(3); }
        SYS_GeometryType GetObjectType() override { return Handle == 3 ? GT_Arc : Handle ? GT_Point : GT_None; }
        SYS_Point* GetPointValue() override {
            if (GetObjectType() != GT_Point) return nullptr;
            m_Point.Set(Handle * 10, -Handle);
            return &m_Point;
        }
        SYS_Arc* GetArcValue() override { return GetObjectType() == GT_Arc ? &m_Arc : nullptr; }

    private:
        SYS_Point m_Point;
        SYS_Arc m_Arc;
    } shapes;

    SYS_GeomIterator& it = shapes;
    std::vector<int32_t> xs;
    int arcs = 0;
    for (it.GetFirst(nullptr); it.IsValid(); it.GetNext()) {
        if (SYS_Point* p = it.GetPointValue()) xs.push_back(p->x);
        if (it.GetArcValue()) ++arcs;
        EXPECT_EQ(it.GetCircleValue(), nullptr);
    }
    EXPECT_EQ(xs, (std::vector<int32_t>{10, 20}));
    EXPECT_EQ(arcs, 1);
    EXPECT_EQ(it.GetObjectType(), GT_None);

    it.SetHandle(2, nullptr);
    SYS_GeomIterator sliced(it);
    EXPECT_EQ(sliced.Handle, 2);
    EXPECT_EQ(sliced.MaxHandle, 3);
    SYS_GeomIterator assigned;
    assigned = it;
    EXPECT_EQ(assigned.MaxHandle, 3);
    EXPECT_EQ(assigned.GetPointValue(), nullptr);
}

} // namespace
