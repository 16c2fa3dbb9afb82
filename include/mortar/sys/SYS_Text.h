// Text objects: a piece of text placed on a board, its string, where it stands and how it
// looks. The library stores and hands back these values; it does no layout or measuring.
//
//   SYS_TextStyle       the look: font name, height and width
//   SYS_TextAttributes  a style, held by address, and a position
//   SYS_Text            attributes and the string
//
// All three are plain classes without virtual operations, copied by value (the style of
// attributes by address). Heights and widths are 32-bit lengths in base units; nothing here
// checks them.
#ifndef MORTAR_SYS_SYS_TEXT_H
#define MORTAR_SYS_SYS_TEXT_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>
#include <mortar/sys/SYS_Transform.h>

#include <cstdint>

/// The look of a text: the font's name (empty in a new style), height and width (0). Copies
/// are deep. The setters store what they are given, without any test, and return 1.
class MORTAR_API SYS_TextStyle {
public:
    SYS_TextStyle() : m_Height(0), m_Width(0) {}

    /// A copy of the font name.
    SYS_StringBase GetFont() const { return m_Font; }
    int32_t GetHeight() const noexcept { return m_Height; }
    int32_t GetWidth() const noexcept { return m_Width; }

    int SetFont(SYS_StringBase const& font) {
        m_Font = font;
        return 1;
    }
    int SetHeight(int32_t height) noexcept {
        m_Height = height;
        return 1;
    }
    int SetWidth(int32_t width) noexcept {
        m_Width = width;
        return 1;
    }

private:
    SYS_StringBase m_Font;
    int32_t m_Height;
    int32_t m_Width;
};

/// A style tied to a position (zero in new attributes).
///
/// The style is held by address, not copied: the attributes neither own nor free it, a change
/// to the style shows through GetStyle, copies share it, and the style must outlive every
/// attributes object that holds it. New attributes hold none (null). SetStyle refuses a
/// temporary at compile time, since its address would dangle at once.
class MORTAR_API SYS_TextAttributes {
public:
    SYS_TextAttributes() noexcept : m_Style(nullptr) {}

    /// The style held, or null.
    SYS_TextStyle const* GetStyle() const noexcept { return m_Style; }
    /// A copy of the position.
    SYS_Position GetPosition() const noexcept { return m_Position; }

    /// Holds the address of `style`; returns 1.
    int SetStyle(SYS_TextStyle const& style) noexcept {
        m_Style = &style;
        return 1;
    }
    int SetStyle(SYS_TextStyle const&&) = delete;
    /// Stores a copy of `position`; returns 1.
    int SetPosition(SYS_Position const& position) noexcept {
        m_Position = position;
        return 1;
    }

private:
    SYS_TextStyle const* m_Style;
    SYS_Position m_Position;
};

/// Attributes and a string (empty in a new text). A copy has its own string and shares the
/// style of its source.
class MORTAR_API SYS_Text : public SYS_TextAttributes {
public:
    SYS_Text() = default;

    /// A copy of the string.
    SYS_StringBase GetString() const { return m_String; }
    /// Stores a copy of `text`; returns 1.
    int SetString(SYS_StringBase const& text) {
        m_String = text;
        return 1;
    }

private:
    SYS_StringBase m_String;
};

#endif
