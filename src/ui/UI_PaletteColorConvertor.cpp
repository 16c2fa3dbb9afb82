// The palette convertor and the library's palette notifier.
#include <mortar/ui/UI_DrawArea.h>
#include <mortar/ui/UI_PaletteColorConvertor.h>

#include <cstdint>

SCC_Notifier UI_PaletteColorConvertor::s_Notifier;

UI_PaletteColorConvertor::UI_PaletteColorConvertor() : paletteHook(this, &UI_PaletteColorConvertor::OnEvent, 0) {
    s_Notifier.Add(&paletteHook);
}

UI_PaletteColorConvertor::UI_PaletteColorConvertor(UI_PaletteColorConvertor& source)
    : SCC_Convertor(source),
      paletteHook(this, &UI_PaletteColorConvertor::OnEvent, source.paletteHook.GetPriority()) {
    paletteHook.InsertBefore(&source.paletteHook);
}

UI_PaletteColorConvertor& UI_PaletteColorConvertor::operator=(UI_PaletteColorConvertor& source) {
    SCC_Convertor::operator=(source);
    paletteHook.InsertBefore(&source.paletteHook); // nothing happens for the hook itself
    return *this;
}

UI_PaletteColorConvertor::~UI_PaletteColorConvertor() {
    paletteHook.Remove();
}

SCC_Variant UI_PaletteColorConvertor::Convert(SCC_Variant value, int flag) {
    if (flag != 0) return value;
    int32_t const index = value;
    UI_DrawArea const* const area = UI_DrawArea::GetMainDrawArea();
    return SCC_Variant(area ? area->GetCurrentPaletteColorRGB(index) : int32_t{0});
}

int UI_PaletteColorConvertor::OnEvent(int code, int* data) {
    (void)code;
    (void)data;
    return 0;
}

void UI_PaletteColorConvertor::NotifyPaletteChange() {
    s_Notifier.Notify(4, nullptr);
}
