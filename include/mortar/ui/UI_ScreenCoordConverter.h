// UI_ScreenCoordConverter: the questions that drawing code puts to a surface about the way
// from world coordinates (base units) to screen coordinates (pixels) and back.
#ifndef MORTAR_UI_UI_SCREENCOORDCONVERTER_H
#define MORTAR_UI_UI_SCREENCOORDCONVERTER_H

#include <mortar/export.h>
#include <mortar/sys/SYS_Box.h>
#include <mortar/sys/SYS_Point.h>

#include <cstdint>

/// The interface from world to screen coordinates and back, with neutral answers.
///
/// The library holds no view state: a concrete surface that knows its scale, origin and
/// window overrides these operations. UI_DrawArea has this class as its only base, so every
/// drawing surface can answer them; the recorder of dynamic drawing asks its target surface
/// how large a shape is on the screen.
///
/// Two kinds of conversion stand side by side. The Scale operations convert a length or a
/// vector and take no origin into account; Screen2World and World2Screen convert a position,
/// or a box of positions. World values are base units (1/750 micron, Y upward), screen values
/// pixels; the formulas belong to the concrete surface.
///
/// The defaults are deliberately not the identity: the four scalar operations ignore their
/// argument and answer 1, so that any shape measured on a surface that converts nothing counts
/// as smaller than two pixels. The box operations answer the zero box. The point operations
/// answer a point that carries no meaning; this implementation makes it (0, 0).
///
/// The class has no fields, only its virtual table. The virtual slots are, in this order,
/// exactly the ten operations below as declared; derived surfaces built outside the library
/// depend on that order, so it never changes. The class declares no destructor: the first
/// class of the hierarchy that has a (virtual) one is UI_DrawArea. Do not delete a surface
/// through a pointer to this class.
class MORTAR_API UI_ScreenCoordConverter {
public:
    UI_ScreenCoordConverter() noexcept = default;
    /// Copies nothing: there is nothing to copy.
    UI_ScreenCoordConverter(UI_ScreenCoordConverter const&) noexcept {}
    /// Assigns nothing and returns this object.
    UI_ScreenCoordConverter& operator=(UI_ScreenCoordConverter const&) noexcept { return *this; }

    /// A horizontal length in base units, in pixels. Default: 1, whatever the length.
    virtual int Scale2ScreenX(int32_t length) const;
    /// A vertical length in base units, in pixels. Default: 1.
    virtual int Scale2ScreenY(int32_t length) const;
    /// A horizontal length in pixels, in base units. Default: 1.
    virtual int32_t Scale2WorldX(int pixels) const;
    /// A vertical length in pixels, in base units. Default: 1.
    virtual int32_t Scale2WorldY(int pixels) const;
    /// A pixel vector in base units. Default: a point without meaning, (0, 0) here.
    virtual SYS_Point Scale2World(SYS_Point vector);
    /// A base-unit vector in pixels. Default: a point without meaning, (0, 0) here.
    virtual SYS_Point Scale2Screen(SYS_Point vector);
    /// A pixel box in world coordinates. Default: the zero box.
    virtual SYS_Box Screen2World(SYS_Box const& box);
    /// A pixel position in world coordinates. Default: a point without meaning, (0, 0) here.
    virtual SYS_Point Screen2World(SYS_Point const& point);
    /// A world box in pixels. Default: the zero box.
    virtual SYS_Box World2Screen(SYS_Box const& box);
    /// A world position in pixels. Default: a point without meaning, (0, 0) here.
    virtual SYS_Point World2Screen(SYS_Point const& point);
};

#endif
