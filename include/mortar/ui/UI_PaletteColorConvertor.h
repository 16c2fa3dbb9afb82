// UI_PaletteColorConvertor: the convertor of properties that hold a colour as a palette index.
//
// Reading such a property (flag 0) turns the stored index into the colour value that the palette
// of the main drawing surface gives it; writing (any other flag) hands the value through, for
// there is no way back from a colour to an index. Which numbers are indices and what a colour
// value holds is the surface's affair.
//
// The palette notifier. s_Notifier, one for the whole library and built when the library is
// loaded, tells its listeners that the palette has changed: NotifyPaletteChange fires it with
// code 4 and null data. The library never fires it by itself; the owner of the palette does,
// after changing it. Every convertor's paletteHook sits in that chain for as long as the
// convertor lives (its destruction takes the hook out), and any other listener may connect too.
// A listener may do inside the notification whatever SCC_Event::Notify allows, destroying
// convertors included: the walk goes on with the node that followed.
//
// Lifetime. A convertor is a shared object: held through SCC_SharedPointer<SCC_Convertor> it is
// destroyed whole at its last release, hook included, through the virtual destructor of
// SCC_Convertor.
//
// Nothing here is thread-safe: the notifier is one chain for the whole process.
#ifndef MORTAR_UI_UI_PALETTECOLORCONVERTOR_H
#define MORTAR_UI_UI_PALETTECOLORCONVERTOR_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_Event.h>

class MORTAR_API UI_PaletteColorConvertor : public SCC_Convertor {
public:
    /// The palette notifier (see above). Its notifications carry code 4 and null data.
    static SCC_Notifier s_Notifier;

    /// The hook of this convertor in s_Notifier: its object is this convertor, its member
    /// function OnEvent. Public so that a client can see where it stands; it stays a member.
    SCC_ObjectEventHook<UI_PaletteColorConvertor, int> paletteHook;

    /// A new shared object; the hook, priority 0, is connected at the tail of s_Notifier.
    UI_PaletteColorConvertor();

    /// A new shared object whose hook joins the chain directly ahead of the hook of `source`,
    /// with its priority and member function. The hook calls this convertor, not `source`, so
    /// that a copy outliving its source never reaches a destroyed object.
    UI_PaletteColorConvertor(UI_PaletteColorConvertor& source);

    /// The shared part assigns nothing (the reference count stays this object's); the hook
    /// leaves its place and stands directly ahead of the hook of `source` (as
    /// SCC_EventNode<int>::operator= does), still calling this convertor's OnEvent. Assigning a
    /// convertor to itself changes nothing.
    UI_PaletteColorConvertor& operator=(UI_PaletteColorConvertor& source);

    /// The hook leaves s_Notifier.
    ~UI_PaletteColorConvertor() override;

    /// Flag 0: `value` as an integer (SCC_Variant's operator int32_t, which may throw
    /// SYS_Exception for a text that is not a number or a number beyond 32 bits) is a palette
    /// index; the result is the integer variant of the colour that the main surface's
    /// GetCurrentPaletteColorRGB gives it. Without a main surface the result is the integer 0,
    /// the colour that a surface overriding nothing gives. Any other flag: a copy of `value`,
    /// type and content unchanged.
    SCC_Variant Convert(SCC_Variant value, int flag) override;

    /// The hook's member function: does nothing and returns 0.
    int OnEvent(int code, int* data);

    /// s_Notifier.Notify(4, nullptr).
    static void NotifyPaletteChange();
};

#endif
