// The geometry of the library, in one header: plain geometry values, and the node rings and
// geometry interfaces through which the family's geometry objects find each other.
//
// The values are a few words each and entirely inline: no heap, no virtual operations, no
// shared state, nothing of the library beneath them.
//
//   SYS_GeomArith.h   32-bit wrap and the double-to-integer conversions (mortar::)
//   SYS_Point.h       units of length and angle, SYS_Point, SYS_DoublePoint
//   SYS_Box.h         SYS_Box
//   SYS_Arc.h         SYS_Segment, SYS_Circle, SYS_Arc
//   SYS_Transform.h   SYS_Location, SYS_Position, SYS_Transform, and every Transform member
//
// The rings and interfaces stand on SYS_StdInterface, and their one check on the assertion
// manager:
//
//   SYS_GeomNode.h    SYS_GeomNode, SYS_Geometry, SYS_GeomIterator
//
// Include this header (or SYS_Transform.h) to use the Transform members of the other types.
#ifndef MORTAR_SYS_SYS_GEOM_INLINE_H
#define MORTAR_SYS_SYS_GEOM_INLINE_H

#include <mortar/sys/SYS_GeomArith.h>
#include <mortar/sys/SYS_Point.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Arc.h>
#include <mortar/sys/SYS_Transform.h>

namespace mortar::detail {

/// The source path of this header as the compiler spells it: the location that the ring
/// check of SYS_GeomNode::NextRoot reports, together with its fixed line number, so that an
/// application's assertion hooks find it under this header's name.
constexpr char kGeomInlineSource[] = __FILE__;

} // namespace mortar::detail

#include <mortar/sys/SYS_GeomNode.h>

#endif
