// The defaults of the abstract surface: it draws nothing, answers 0 (or its equivalent) and
// leaves out arguments as they came, save for the few neutral values other than 0.
#include <mortar/ui/UI_DrawArea.h>

template class SCC_EventNode<UI_DrawArea::RedrawBlock>;
template class SCC_Event<UI_DrawArea::RedrawBlock>;
template class SCC_EventHook<UI_DrawArea::RedrawBlock>;

UI_DrawArea* UI_DrawArea::s_pMainDrawArea = nullptr;

UI_DrawArea* UI_DrawArea::GetMainDrawArea() noexcept {
    return s_pMainDrawArea;
}
void UI_DrawArea::SetMainDrawArea(UI_DrawArea* area) noexcept {
    s_pMainDrawArea = area;
}

UI_DrawArea::~UI_DrawArea() = default;

// View and window.
void UI_DrawArea::GetVP(SYS_Box&) const {}
void UI_DrawArea::GetUserVP(SYS_Box&) {}
void UI_DrawArea::SetVP(SYS_Box&) {}
void UI_DrawArea::SetUserVP(SYS_Box&) {}
void UI_DrawArea::RegisterRedrawHook(SCC_EventHook<UI_DrawArea::RedrawBlock>*) {}
void UI_DrawArea::FitRectToWindow(SYS_Box&) {}

// Pens and brushes.
void UI_DrawArea::SwitchPen(int, int32_t, int) {}
void UI_DrawArea::PenCap(int) {}
void UI_DrawArea::PenColor(int) {}
void UI_DrawArea::PenMode(int) {}
int UI_DrawArea::GetPenMode() {
    return 0;
}
void UI_DrawArea::PenSize(int32_t) {}
void UI_DrawArea::BackColor(int) {}
int UI_DrawArea::GetBackColor() {
    return 0;
}
int UI_DrawArea::RegisterBrush(uint32_t) {
    return 0;
}
void UI_DrawArea::SetSolidBrush(int) {}
void UI_DrawArea::SetHatchBrush(int, int) {}

// Areas, cursor and scale.
void UI_DrawArea::EraseRect(SYS_Box) {}
void UI_DrawArea::FillRect(SYS_Box, int) {}
void UI_DrawArea::MoveCursor(int32_t, int32_t) {}
double UI_DrawArea::GetScale(SYS_Point*) {
    return 1.0;
}
int UI_DrawArea::SetScale(double, SYS_Point*, int) {
    return 0;
}
double UI_DrawArea::GetWorldScale() {
    return 1.0;
}

// Redraw.
void UI_DrawArea::SetBitmapRedraw(int) {}
void UI_DrawArea::SetRgnRedraw(SYS_Box*, int) {}
void UI_DrawArea::Redraw(SYS_Box) {}
void UI_DrawArea::Redraw() {}
void UI_DrawArea::RedrawRect(SYS_Box) {}
void UI_DrawArea::InvalidateRect(SYS_Box const*) {}
void UI_DrawArea::StartResize() {}
void UI_DrawArea::EndResize() {}
void UI_DrawArea::InstallDynamic(CDynamic*) {}
void UI_DrawArea::RedrawDynamic(CDynamic*, SYS_Box*, int) {}

// Exclusive-or shapes and marks.
void UI_DrawArea::DrawXorBox(SYS_Box) {}
void UI_DrawArea::DrawXorBox(SYS_Point, SYS_Point) {}
SYS_Box UI_DrawArea::DrawXorText(char const*, int, int, int32_t, int32_t, int) {
    return SYS_Box();
}
SYS_Box UI_DrawArea::DrawXorText(char const*, int, int, SYS_Point, int) {
    return SYS_Box();
}
void UI_DrawArea::DrawOriginMark(SYS_Point) {}
void UI_DrawArea::DrawOriginMark(int32_t, int32_t) {}
void UI_DrawArea::RefreshCursor(SYS_Point*) {}

// Batches and the screen.
void UI_DrawArea::StartBatchDraw() {}
void UI_DrawArea::EndBatchDraw() {}
void UI_DrawArea::StartScreenDraw() {}
void UI_DrawArea::EndScreenDraw() {}
void UI_DrawArea::DrawOnScreen(bool) {}
void UI_DrawArea::DiscardSplit() {}

// Primitives.
void UI_DrawArea::FastMoveTo(SYS_Point const&) {}
void UI_DrawArea::FastLineTo(SYS_Point const&) {}
void UI_DrawArea::FastPaintOval(SYS_Box) {}
void UI_DrawArea::FastPaintOval(SYS_Point const&, int32_t, int) {}
void UI_DrawArea::FrameArc(SYS_Box, double, double) {}
void UI_DrawArea::FastFrameOval(SYS_Box const&) {}
void UI_DrawArea::FastPolyPolyline(SYS_Point*, int const*, int) {}
void UI_DrawArea::FastPolyPolygon(SYS_Point*, int const*, int, int32_t) {}
void UI_DrawArea::FastFrameArc(SYS_Box const&, SYS_Point const&, SYS_Point const&) {}
void UI_DrawArea::FastPolyLine(int, SYS_Point*, int32_t, int) {}

// Text.
void UI_DrawArea::TextAlign(int, int) {}
void UI_DrawArea::TextExtra(int) {}
void UI_DrawArea::TextFace(int) {}
void UI_DrawArea::TextPath(double, char const*) {}
void UI_DrawArea::TextSize(int, int, char const*) {}
int UI_DrawArea::StrokeTextLen(char const*, int, int) {
    return 0;
}
int UI_DrawArea::StrokeTextLen(char const*) {
    return 0;
}
int UI_DrawArea::StrokeTextAscendingHeight() {
    return 0;
}
int UI_DrawArea::StrokeTextDescendingHeight() {
    return 0;
}
int UI_DrawArea::StrokeTextFontHeight() {
    return 0;
}
void UI_DrawArea::DrawString(char const*) {}
void UI_DrawArea::DrawStyledString(char const*, void*, SYS_Position, int, int) {}

// Clipping.
void UI_DrawArea::InitClip(SYS_Box&) {}
void UI_DrawArea::ResetClip() {}
void UI_DrawArea::InitLayerClip(SDB_Database*, int32_t) {}
void UI_DrawArea::FinishLayerClip(SDB_Database*, int32_t) {}
void UI_DrawArea::ClipCircle(SYS_Point const&, int32_t) {}
void UI_DrawArea::ClipPolyPolygon(SYS_Point*, int const*, int) {}

// Lines and exclusive-or sequences.
void UI_DrawArea::DrawLine(SYS_Point const&, SYS_Point const&, int32_t, int) {}
void UI_DrawArea::StartXORDraw() {}
void UI_DrawArea::XORCross(SYS_Point const&) {}
void UI_DrawArea::XORFrameArc(SYS_Box const&, SYS_Point const&, SYS_Point const&) {}
void UI_DrawArea::XORFrameOval(SYS_Point const&, int32_t const&) {}
void UI_DrawArea::XORPaintOval(SYS_Point const&, int32_t const&) {}
void UI_DrawArea::XORLineTo(SYS_Point const&) {}
void UI_DrawArea::XORMoveTo(SYS_Point const&) {}
void UI_DrawArea::XORPenColor(int32_t const&) {}
void UI_DrawArea::EndXORDraw() {}
int UI_DrawArea::SetArcDirection(int) {
    return 0;
}

// Pixels, mode, palette, queries.
void UI_DrawArea::SetPixel(SYS_Point const&) {}
void UI_DrawArea::DrawDotGrid(SYS_Point&, int32_t, int32_t, SYS_Box&) {}
double UI_DrawArea::GetPixelSize() {
    return 0.0;
}
gra_mode_union UI_DrawArea::GetGRAMode() {
    return gra_mode_union{0};
}
void UI_DrawArea::SetGRAMode(gra_mode_union) {}
int32_t UI_DrawArea::GetDefaultPaletteColors(int32_t*) const {
    return 0;
}
int32_t UI_DrawArea::GetCurrentPaletteColors(int32_t*) const {
    return 0;
}
int32_t UI_DrawArea::GetCurrentPaletteColorRGB(int) const {
    return 0;
}
void UI_DrawArea::SetCurrentPaletteColors(int32_t*) {}
void* UI_DrawArea::GetComponentSpecificData(void*) const {
    return nullptr;
}
int UI_DrawArea::GetCompSideSegmentVisible(GRA_SegmentData const&, int) const {
    return 0;
}
int UI_DrawArea::IsOnTop(DBD_GeomHdr*, int) const {
    return 1;
}
