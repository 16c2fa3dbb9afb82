// Properties (see SCC_Property.h).
#include <mortar/scc/SCC_Property.h>

template class SCC_TypedProperty<int32_t>;
template class SCC_TypedProperty<double>;
template class SCC_TypedProperty<SYS_StringBase>;
template class SCC_TypedProperty<char const*>;
#if LONG_MAX != INT32_MAX
template class SCC_TypedProperty<long>;
#endif

SCC_StdProperty::SCC_StdProperty() = default;

SCC_StdProperty::SCC_StdProperty(SCC_StdProperty const& source)
    : SCC_SharedBuffer(source), m_Convertor(source.m_Convertor), m_Validation(source.m_Validation) {}

SCC_StdProperty& SCC_StdProperty::operator=(SCC_StdProperty const& source) {
    m_Convertor = source.m_Convertor;
    m_Validation = source.m_Validation;
    return *this;
}

SCC_StdProperty::~SCC_StdProperty() = default;

int SCC_StdProperty::GetValue(SCC_StdCollection* collection, SCC_Variant& value) {
    if (!collection) return GetValue(0, value);
    if (!collection->HasFocus()) return 0;
    for (int32_t i = 0;; ++i) {
        int const handle = collection->GetFocus(i);
        if (!handle) break;
        SCC_Variant read;
        if (!GetValue(handle, read)) return 0;
        if (value.IsEmpty()) {
            value = read;
        } else if (value != read) {
            // The selection is mixed.
            value.Clear();
            return 1;
        }
    }
    return 1;
}

int SCC_StdProperty::GetValue(int, SCC_Variant&) { return 0; }

int SCC_StdProperty::SetValue(SCC_StdCollection* collection, SCC_Variant& value, int check) {
    if (!collection) return SetValue(0, value, check);
    for (int32_t i = 0;; ++i) {
        int const handle = collection->GetFocus(i);
        if (!handle) break;
        if (!SetValue(handle, value, check)) return 0;
    }
    return 1;
}

int SCC_StdProperty::SetValue(int, SCC_Variant&, int) { return 0; }

int SCC_StdProperty::HasSetMethod() { return 0; }

SCC_StdProperty* SCC_StdProperty::GetDataSource() { return this; }

char const* SCC_StdProperty::GetValidation() { return m_Validation.GetString(); }

void SCC_StdProperty::SetValidation(char const* text) { m_Validation = text ? text : ""; }

SCC_SharedPointer<SCC_Convertor> SCC_StdProperty::GetConvertor() { return m_Convertor; }

SCC_StdProperty* SCC_StdProperty::SetConvertor(SCC_SharedPointer<SCC_Convertor> convertor) {
    m_Convertor = convertor;
    return this;
}
