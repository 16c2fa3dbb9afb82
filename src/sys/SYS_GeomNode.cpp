#include <mortar/ssm/ssmimpl.h>
#include <mortar/sys/SYS_Geom_Inline.h>

SYS_GeomNode::~SYS_GeomNode() = default;

SYS_GeomNode* SYS_GeomNode::NextRoot(SYS_GeomNode* p, int16_t t) const {
    mortar::detail::GeomWalkGuard guard(p);
    for (SYS_GeomNode* n = p->root; n != nullptr && n != this; n = n->root) {
        if (n->m_NodeType == t) return n;
        if (n->root == n || guard.Repeats(n)) {
            // Reported under SYS_Geom_Inline.h and a fixed line, not this file's own, so that
            // the record (and any reaction an application has bound to its key) stays the same
            // from one build to the next.
            mortar::CheckFailed("Corrupted SYS_GeomNode chain!", mortar::detail::kGeomInlineSource, 2253);
            return nullptr;
        }
    }
    return nullptr;
}

int SYS_Geometry::IsValid() const {
    return 0;
}

SYS_GeometryType SYS_Geometry::GetGeometry() {
    return static_cast<SYS_GeometryType>(0);
}

SYS_Geometry::~SYS_Geometry() = default;

SYS_GeometryType SYS_GeomIterator::GetObjectType() {
    return static_cast<SYS_GeometryType>(0);
}

SYS_Point* SYS_GeomIterator::GetPointValue() {
    return nullptr;
}

SYS_DoublePoint* SYS_GeomIterator::GetDoublePointValue() {
    return nullptr;
}

SYS_Location* SYS_GeomIterator::GetLocationValue() {
    return nullptr;
}

SYS_Circle* SYS_GeomIterator::GetCircleValue() {
    return nullptr;
}

SYS_Segment* SYS_GeomIterator::GetSegmentValue() {
    return nullptr;
}

SYS_Arc* SYS_GeomIterator::GetArcValue() {
    return nullptr;
}

SYS_Box* SYS_GeomIterator::GetRectangleValue() {
    return nullptr;
}
