// Node rings and the two geometry interfaces: the base classes through which the family's
// geometry objects, which live outside this library, find each other and hand out their shapes.
//
//   SYS_GeomNode      a typed node of an intrusive, singly linked ring
//   SYS_Geometry      the minimal interface of a geometry object
//   SYS_GeomIterator  a cursor over geometry objects that hands them out as the value types
//
// Include SYS_Geom_Inline.h (which includes this header) or this header directly.
#ifndef MORTAR_SYS_SYS_GEOMNODE_H
#define MORTAR_SYS_SYS_GEOMNODE_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Arc.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Point.h>
#include <mortar/sys/SYS_StdInterface.h>
#include <mortar/sys/SYS_Transform.h>

#include <cstdint>

/// The type of a ring node, stored in 16 bits. Its enumerators belong to the classes that
/// derive from SYS_GeomNode: a caller's header may define it once, with the same underlying
/// type, as `enum SGN_Type : int16_t { ... };`, and any 16-bit value can be used through a
/// cast, `SGN_Type(12)`, with or without that definition. The values this library gives a
/// meaning are listed at SYS_GeomNode.
enum SGN_Type : int16_t;

/// The kind of a geometry object, as SYS_Geometry::GetGeometry and
/// SYS_GeomIterator::GetObjectType answer it. Its enumerators belong to the callers, who may
/// define it once as `enum SYS_GeometryType : int32_t { ... };`; any value, every 16-bit one
/// included, can be used through a cast. 0 is the answer of the defaults here: no object.
enum SYS_GeometryType : int32_t;

namespace mortar::detail {

/// Ends a walk over a ring that does not come back to its start, in a bounded number of
/// steps (Brent's cycle test). A walk calls Repeats with each node it steps on; the answer is
/// true once the node was met before, which on a singly linked structure means the walk is
/// going round a loop that its end is not on. Cheap: one comparison and one count a step.
class GeomWalkGuard {
public:
    explicit GeomWalkGuard(void const* start) noexcept : m_Mark(start), m_Steps(0), m_Span(1) {}

    bool Repeats(void const* node) noexcept {
        if (node == m_Mark) return true;
        if (++m_Steps == m_Span) {
            m_Mark = node;
            m_Steps = 0;
            m_Span *= 2;
        }
        return false;
    }

private:
    void const* m_Mark;
    uint32_t m_Steps;
    uint32_t m_Span;
};

} // namespace mortar::detail

/// A typed node of an intrusive ring: through the ring a geometry object finds the objects
/// that belong with it, among them a DB root and a BRT root, by their node types.
///
/// The ring. Each node points at the next through `root`; a node alone points at itself. The
/// ring is singly linked and has no head, owner or count: any node can start a walk, and a
/// walk ends when it comes back to the node it was asked of. Nodes do not own each other, and
/// a node does not record that it belongs to a ring: only the pointers say so. Whoever
/// destroys a node takes it out of its ring first (ExcludeRoot); the destructor does not.
///
/// Node types with a meaning here (other values are stored and compared, nothing more):
///
///   0        no type: IsValid is 0 (a new node has it)
///   1, 2, 4  geometry node: IsGeomType is 1
///   6        geometry node that also bounds the predecessor searches of GetPrevRoot and
///            ExcludeRoot: they do not walk past it
///   7        the BRT root, found by GetBRTRoot
///   9        the DB root, found by GetDBRoot
///
/// Walks. A walk steps along `root` from the node it starts at (this node, or the p it is
/// given) and ends with null when it comes back to this node. This node itself is never
/// returned nor tested for its type. A null `root` met anywhere ends any walk with null, and
/// any ring change where it stands.
///
/// Broken rings. The walks expect that following `root` leads back to their node, and only
/// NextRoot checks it. Where it does not (a node in the middle of a ring that points at
/// itself, a loop that leaves this node out, a walk from a node that is on no ring but points
/// into one, such as a copy or a node cut out by ExcludeByType), no walk loops forever: each
/// still finds what stands on its way, gives null within a few rounds of the loop it is
/// caught in, and a ring change stops there, keeping what it changed so far. NextRoot then
/// reports the ring as well; the other walks report nothing.
///
/// Ring changes check nothing of their arguments; pointer arguments must not be null. Nothing
/// here allocates or throws, except NextRoot through the application's assertion hooks.
///
/// The virtual table has one entry, the destructor. Fields in order: root, the node type, a
/// further 16-bit field (0x7FFF in a new node) whose meaning belongs to derived classes, and
/// the parent group, an untyped pointer that the node does not own.
class MORTAR_API SYS_GeomNode {
public:
    /// Copies all four fields, root included: the copy points into the source's ring without
    /// standing in it, so it needs SetRoot or IncludeRoot before it is walked from (until
    /// then its walks search the source's ring and end, see Broken rings).
    SYS_GeomNode(SYS_GeomNode const&) = default;
    SYS_GeomNode& operator=(SYS_GeomNode const&) = default;

    // Type and group -------------------------------------------------------------------------

    /// 1 when the node type is not 0.
    int IsValid() const noexcept { return m_NodeType != 0 ? 1 : 0; }
    /// 1 when the node type is 1, 2, 4 or 6.
    int IsGeomType() const noexcept {
        return m_NodeType == 1 || m_NodeType == 2 || m_NodeType == 4 || m_NodeType == kBoundType ? 1 : 0;
    }
    /// The node type; GetGeomType and GetNodeType read the same field.
    SGN_Type GetGeomType() const noexcept { return static_cast<SGN_Type>(m_NodeType); }
    int16_t GetNodeType() const noexcept { return m_NodeType; }
    /// Stores the node type; SetGeomType and SetNodeType write the same field.
    void SetGeomType(SGN_Type type) noexcept { m_NodeType = static_cast<int16_t>(type); }
    void SetNodeType(int16_t type) noexcept { m_NodeType = type; }

    /// 1 when the parent group is not null.
    int IsMemberOfGroup() const noexcept { return m_ParentGroup != nullptr ? 1 : 0; }
    void* GetParentGroup() const noexcept { return m_ParentGroup; }
    void SetParentGroup(void* group) noexcept { m_ParentGroup = group; }

    // Ring changes ---------------------------------------------------------------------------

    /// root = n, whatever either ring holds.
    void SetRoot(SYS_GeomNode* n) noexcept { root = n; }

    /// Links n directly behind this node: n's root takes this node's root and this node's
    /// root becomes n. n should stand alone: were it on a ring, the rest of that ring would
    /// be left pointing at n without n pointing back. So a.IncludeRoot(b), a.IncludeRoot(c)
    /// gives the ring a, c, b.
    void IncludeRoot(SYS_GeomNode* n) noexcept {
        n->root = root;
        root = n;
    }

    /// Takes r out of its ring and leaves it alone (pointing at itself), its predecessor
    /// linked to what followed it. The predecessor is searched forward from r; the search
    /// does not walk past a node of type 6 other than the one directly behind r, and when it
    /// meets one nothing changes. Nothing changes either when r is alone. Usually called as
    /// n.ExcludeRoot(&n); r may be any node, and this node takes no part but when it is r.
    void ExcludeRoot(SYS_GeomNode* r) noexcept {
        SYS_GeomNode* n = r->root;
        if (n == nullptr || n == r) return;
        mortar::detail::GeomWalkGuard guard(r);
        for (;;) {
            SYS_GeomNode* const m = n->root;
            if (m == r) break;
            if (m == nullptr || m->m_NodeType == kBoundType || guard.Repeats(m)) return;
            n = m;
        }
        n->root = r->root;
        r->root = r;
    }

    /// Drops the node directly behind this one: root = the next node's root. The dropped
    /// node keeps its root, which still points into the ring. On a node alone, or with a null
    /// root, nothing changes.
    void ExcludeOwnRoot() noexcept {
        if (root != nullptr) root = root->root;
    }

    /// Drops the run of type-t nodes directly behind this node, up to the first node of
    /// another type (or this node). Dropped nodes keep their roots, which point into the ring.
    void ExcludeNearType(int16_t t) noexcept {
        mortar::detail::GeomWalkGuard guard(this);
        for (SYS_GeomNode* n = root; n != nullptr && n != this && n->m_NodeType == t; n = root) {
            root = n->root;
            if (guard.Repeats(n)) return;
        }
    }

    /// Cuts every node of type t out of the ring, wherever it stands: each cut links the
    /// last node kept (this node first) to the cut node's root. This node is kept whatever
    /// its type. Cut nodes keep their roots, which point into the ring (or at another cut
    /// node of the same run); a walk from one of them ends once it has gone round the ring.
    void ExcludeByType(int16_t t) noexcept {
        SYS_GeomNode* kept = this;
        mortar::detail::GeomWalkGuard guard(this);
        for (SYS_GeomNode* n = root; n != nullptr && n != this; n = n->root) {
            if (n->m_NodeType == t)
                kept->root = n->root;
            else
                kept = n;
            if (guard.Repeats(n)) return;
        }
    }

    // Walks ------------------------------------------------------------------------------------
    // A ring is walked by r = GetRoot(), then r = GetNextRoot(r) until null.

    /// The next node; null when this node is alone.
    SYS_GeomNode* GetRoot() const noexcept { return root != this ? root : nullptr; }

    /// p's root; null when that is this node. Only one step: p's root is not looked at.
    SYS_GeomNode* GetNextRoot(SYS_GeomNode const* p) const noexcept { return p->root != this ? p->root : nullptr; }

    /// The first node behind this one with IsGeomType 1.
    SYS_GeomNode* GetNextGeomRoot() const noexcept {
        return FindBehind(this, [](SYS_GeomNode const& n) { return n.IsGeomType() != 0; });
    }

    /// Starting from p's root, the first node of type t.
    SYS_GeomNode* GetNextRoot(SYS_GeomNode const* p, SGN_Type t) const noexcept {
        return FindType(p, static_cast<int16_t>(t));
    }

    /// The predecessor of this node, searched forward from p's root: null when p's root is
    /// this node (so with p the predecessor itself, the answer is null), and null when the
    /// search meets a node of type 6 other than p's root before it comes to the predecessor.
    /// In the ring a, b, c, a.GetPrevRoot(&a) is c.
    SYS_GeomNode* GetPrevRoot(SYS_GeomNode const* p) const noexcept {
        SYS_GeomNode* n = p->root;
        if (n == nullptr || n == this) return nullptr;
        mortar::detail::GeomWalkGuard guard(p);
        for (;;) {
            SYS_GeomNode* const m = n->root;
            if (m == this) return n;
            if (m == nullptr || m->m_NodeType == kBoundType || guard.Repeats(m)) return nullptr;
            n = m;
        }
    }

    /// The first node of type 9 behind this one.
    SYS_GeomNode* GetDBRoot() const noexcept { return FindType(this, kDBRootType); }
    /// The first node of type 7 behind this one.
    SYS_GeomNode* GetBRTRoot() const noexcept { return FindType(this, kBRTRootType); }
    /// The first node of type t behind this one.
    SYS_GeomNode* GetRoot(int16_t t) const noexcept { return FindType(this, t); }

    /// Starting from p's root, the first node of type t, like GetNextRoot(p, t), and the one
    /// walk that checks the ring. On meeting a node that is not this one, is not of type t and
    /// points at itself (or, beyond that, once the walk has gone round a loop that does not
    /// lead back to this node), it reports "Corrupted SYS_GeomNode chain!" through the
    /// assertion manager (mortar::CheckFailed, with the source path of SYS_Geom_Inline.h and
    /// line 2253) and gives null. The report may throw, when the application's hooks make
    /// it; then nothing is returned and the ring is as it was.
    SYS_GeomNode* NextRoot(SYS_GeomNode* p, int16_t t) const;

protected:
    /// A node alone: root this, node type 0, the further field 0x7FFF, group null.
    SYS_GeomNode() noexcept : root(this), m_NodeType(0), m_Extra(0x7FFF), m_ParentGroup(nullptr) {}
    /// Does nothing; in particular it does not unlink the node.
    virtual ~SYS_GeomNode();

    /// The next node of the ring; this node when it stands alone.
    SYS_GeomNode* root;
    /// The node type.
    int16_t m_NodeType;
    /// Carried by copy and assignment and otherwise left to derived classes.
    int16_t m_Extra;
    /// The parent group; not owned.
    void* m_ParentGroup;

private:
    static constexpr int16_t kBoundType = 6;
    static constexpr int16_t kBRTRootType = 7;
    static constexpr int16_t kDBRootType = 9;

    // The first node behind `from` for which match is true, stopping at this node.
    template <class Match>
    SYS_GeomNode* FindBehind(SYS_GeomNode const* from, Match match) const noexcept {
        mortar::detail::GeomWalkGuard guard(from);
        for (SYS_GeomNode* n = from->root; n != nullptr && n != this; n = n->root) {
            if (match(*n)) return n;
            if (guard.Repeats(n)) return nullptr;
        }
        return nullptr;
    }

    SYS_GeomNode* FindType(SYS_GeomNode const* from, int16_t t) const noexcept {
        return FindBehind(from, [t](SYS_GeomNode const& n) { return n.m_NodeType == t; });
    }
};

/// The minimal interface of a geometry object. Both operations are virtual, in this slot
/// order, then the destructor (so that a derived object can be deleted through this class).
/// There are no fields; construction, copy and assignment touch nothing.
class MORTAR_API SYS_Geometry {
public:
    SYS_Geometry() = default;
    SYS_Geometry(SYS_Geometry const&) = default;
    SYS_Geometry& operator=(SYS_Geometry const&) = default;

    /// 0 here: the base stands for no object.
    virtual int IsValid() const;
    /// 0 here.
    virtual SYS_GeometryType GetGeometry();

    virtual ~SYS_Geometry();
};

/// A cursor over geometry objects. Stepping is that of SYS_StdInterface (GetFirst, GetNext,
/// IsValid); at each step GetObjectType says what the current object is, and the one getter
/// that matches it answers with a pointer to the object, which stays the iterator's (valid
/// until the iterator moves or goes). The other getters answer null, as all of them do here.
///
/// The virtual slots: the eight of SYS_StdInterface, then GetObjectType, GetPointValue,
/// GetDoublePointValue, GetLocationValue, GetCircleValue, GetSegmentValue, GetArcValue,
/// GetRectangleValue; the destructor is SYS_StdInterface's. No fields of its own.
class MORTAR_API SYS_GeomIterator : public SYS_StdInterface {
public:
    /// An empty walk: MaxHandle 0.
    SYS_GeomIterator() : SYS_StdInterface(0) {}
    /// Copy the base's Handle and MaxHandle.
    SYS_GeomIterator(SYS_GeomIterator const&) = default;
    SYS_GeomIterator& operator=(SYS_GeomIterator const&) = default;

    /// 0 here: no object.
    virtual SYS_GeometryType GetObjectType();
    virtual SYS_Point* GetPointValue();
    virtual SYS_DoublePoint* GetDoublePointValue();
    virtual SYS_Location* GetLocationValue();
    virtual SYS_Circle* GetCircleValue();
    virtual SYS_Segment* GetSegmentValue();
    virtual SYS_Arc* GetArcValue();
    virtual SYS_Box* GetRectangleValue();
};

#endif
