// SYS_Exception: the plain exception of the library, carrying one text.
//
// It is what a value that a user typed fails with (the variant's conversions throw it with a
// text of the string table). It has no base class and no virtual operations, so it is caught
// by its own type only: catch (SYS_Exception const& e) { show(e.GetText()); }.
#ifndef MORTAR_SYS_SYS_EXCEPTION_H
#define MORTAR_SYS_SYS_EXCEPTION_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

class MORTAR_API SYS_Exception {
public:
    /// The text is `format` filled with the arguments, as SYS_StringBase::Format does it.
    /// A null `format` gives an empty text.
    explicit SYS_Exception(char const* format, ...) MORTAR_PRINTF_FORMAT(2, 3);
    /// An exception with an empty text; the number and the further arguments are not used.
    explicit SYS_Exception(int, ...);

    SYS_Exception(SYS_Exception const&) = default;
    SYS_Exception& operator=(SYS_Exception const&) = default;
    ~SYS_Exception() = default;

    /// A copy of the text.
    SYS_StringBase GetText() const { return m_Text; }

private:
    SYS_StringBase m_Text;
};

#endif
