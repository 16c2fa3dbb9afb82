// The neutral answers of a surface that converts nothing.
#include <mortar/ui/UI_ScreenCoordConverter.h>

int UI_ScreenCoordConverter::Scale2ScreenX(int32_t) const {
    return 1;
}
int UI_ScreenCoordConverter::Scale2ScreenY(int32_t) const {
    return 1;
}
int32_t UI_ScreenCoordConverter::Scale2WorldX(int) const {
    return 1;
}
int32_t UI_ScreenCoordConverter::Scale2WorldY(int) const {
    return 1;
}

// SYS_Point() is value-initialised: the point without meaning comes out (0, 0), never an
// indeterminate value.
SYS_Point UI_ScreenCoordConverter::Scale2World(SYS_Point) {
    return SYS_Point();
}
SYS_Point UI_ScreenCoordConverter::Scale2Screen(SYS_Point) {
    return SYS_Point();
}
SYS_Box UI_ScreenCoordConverter::Screen2World(SYS_Box const&) {
    return SYS_Box();
}
SYS_Point UI_ScreenCoordConverter::Screen2World(SYS_Point const&) {
    return SYS_Point();
}
SYS_Box UI_ScreenCoordConverter::World2Screen(SYS_Box const&) {
    return SYS_Box();
}
SYS_Point UI_ScreenCoordConverter::World2Screen(SYS_Point const&) {
    return SYS_Point();
}
