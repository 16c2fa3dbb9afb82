#include <mortar/sys/SYS_Filter.h>

SYS_Filter::SYS_Filter()
    : Function(nullptr), Left(nullptr), Right(nullptr), Combined(nullptr), m_Shares(0), m_Replaced(nullptr) {}

SYS_Filter::SYS_Filter(SYS_Filter const* left, SYS_Filter const* right,
                       int (*function)(SYS_Filter const*, int))
    : Function(function), Left(left), Right(right), Combined(nullptr), m_Shares(0), m_Replaced(nullptr) {}

SYS_Filter::SYS_Filter(SYS_Filter const& source)
    : Function(source.Function), Left(source.Left), Right(source.Right), Combined(source.Combined),
      m_Shares(0), m_Replaced(nullptr) {
    if (Combined) ++Combined->m_Shares;
}

SYS_Filter& SYS_Filter::operator=(SYS_Filter const& source) {
    Function = source.Function;
    Left = source.Left;
    Right = source.Right;
    return *this;
}

SYS_Filter::~SYS_Filter() {
    Release(Combined);
    Release(m_Replaced);
}

// A filter goes when its last owner lets it go. The filters it replaced form a line through
// m_Replaced that can grow with every operator used on one object, so that line is walked
// here rather than freed by recursion.
void SYS_Filter::Release(SYS_Filter* filter) {
    while (filter) {
        if (filter->m_Shares > 0) {
            --filter->m_Shares;
            return;
        }
        SYS_Filter* replaced = filter->m_Replaced;
        filter->m_Replaced = nullptr;
        // Every owned filter is a plain SYS_Filter made by Combine (or by a caller's
        // `new SYS_Filter`), so the non-virtual destructor is the right one.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdelete-non-virtual-dtor"
#endif
        delete filter;
#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif
        filter = replaced;
    }
}

int SYS_Filter::IsTrue(int handle) const {
    return Function ? Function(this, handle) : 0;
}

namespace {

int Test(SYS_Filter const* filter, int handle) {
    return filter ? filter->IsTrue(handle) : 0;
}

} // namespace

int SYS_Filter::And_F(SYS_Filter const* filter, int handle) {
    int const right = Test(filter->Right, handle);
    return Test(filter->Left, handle) & right;
}

int SYS_Filter::Or_F(SYS_Filter const* filter, int handle) {
    int const right = Test(filter->Right, handle);
    return Test(filter->Left, handle) | right;
}

int SYS_Filter::Not_F(SYS_Filter const* filter, int handle) {
    return Test(filter->Left, handle) == 0 ? 1 : 0;
}

SYS_Filter& SYS_Filter::Combine(SYS_Filter const* right, int (*function)(SYS_Filter const*, int)) {
    SYS_Filter* combined = new SYS_Filter(this, right, function);
    combined->m_Replaced = Combined;
    Combined = combined;
    return *combined;
}

SYS_Filter& SYS_Filter::operator|(SYS_Filter const& other) {
    return Combine(&other, &Or_F);
}

SYS_Filter& SYS_Filter::operator&(SYS_Filter const& other) {
    return Combine(&other, &And_F);
}

SYS_Filter& SYS_Filter::operator!() {
    return Combine(nullptr, &Not_F);
}
