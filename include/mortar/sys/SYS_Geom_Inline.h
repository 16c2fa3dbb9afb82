// Geometry values: points, boxes, segments, circles, arcs, placements and the coordinate
// transform. All are plain values of a few words, entirely inline: no heap, no virtual
// operations, no shared state, nothing of the library beneath them.
//
//   SYS_GeomArith.h   32-bit wrap and the double-to-integer conversions (mortar::)
//   SYS_Point.h       units of length and angle, SYS_Point, SYS_DoublePoint
//   SYS_Box.h         SYS_Box
//   SYS_Arc.h         SYS_Segment, SYS_Circle, SYS_Arc
//   SYS_Transform.h   SYS_Location, SYS_Position, SYS_Transform, and every Transform member
//
// Include this header (or SYS_Transform.h) to use the Transform members of the other types.
#ifndef MORTAR_SYS_SYS_GEOM_INLINE_H
#define MORTAR_SYS_SYS_GEOM_INLINE_H

#include <mortar/sys/SYS_GeomArith.h>
#include <mortar/sys/SYS_Point.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Arc.h>
#include <mortar/sys/SYS_Transform.h>

#endif
