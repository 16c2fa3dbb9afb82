// Properties: a named attribute of the objects behind handles, read and written as SCC_Variant.
//
// A property reads and writes a value for one handle, or for all handles in the focus of a
// collection, in the variant form that the user interface works with. An application derives one
// class per attribute from SCC_TypedProperty<T> and fills in GetTypedValue (and, for a writable
// property, SetTypedValue and HasSetMethod); the rest is here: conversion between the stored and
// the shown value through an SCC_Convertor, validation against a text (SCC_Variant::Validate),
// and the merging of values across a multiple selection.
//
// An edit has two steps, told apart by the `check` argument of SetValue: with `check` non-zero
// the value is only validated (for every object of the focus), with 0 it is stored, and storing
// does not validate by itself. On a failed interval the variant holds the message for the user.
//
// Exceptions of SCC_Variant (a text that does not scan, a number out of the 32-bit range) and of
// the convertor pass through unchanged. A walk over a focus stops at the first object that
// refuses; objects earlier in the focus stay changed (there is no rollback).
//
// Lifetime. Properties and convertors are shared objects (SCC_SharedBuffer): made by `new` they
// die with their last SCC_SharedPointer. A property holds its convertor by one such pointer and
// releases it when it is destroyed or given another one; the convertor's destructor is virtual,
// so a derived convertor is destroyed as a whole at its last release.
//
// Nothing here is thread-safe.
#ifndef MORTAR_SCC_SCC_PROPERTY_H
#define MORTAR_SCC_SCC_PROPERTY_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_SharedBuffer.h>
#include <mortar/scc/SCC_StdCollection.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/sys/SYS_StringBase.h>

#include <climits>
#include <cstdint>
#include <type_traits>

/// The base of all properties: a convertor (null: no conversion) and a validation text (empty:
/// every value passes). By itself it reads and writes nothing: the operations for one handle
/// answer 0.
///
/// Copies share the convertor, copy the validation text and have a reference count of their own;
/// assignment takes over convertor and validation text and leaves the reference count alone.
///
/// Virtual slots, in order: destructor, GetValue(collection), GetValue(handle),
/// SetValue(collection), SetValue(handle), HasSetMethod, GetDataSource, GetValidation,
/// SetValidation, GetConvertor, SetConvertor.
class MORTAR_API SCC_StdProperty : public SCC_SharedBuffer {
public:
    SCC_StdProperty();
    SCC_StdProperty(SCC_StdProperty const& source);
    SCC_StdProperty& operator=(SCC_StdProperty const& source);
    /// Releases the convertor.
    virtual ~SCC_StdProperty();

    /// The value across the focus of `collection`; `value` should come in empty.
    /// A null collection reads handle 0 (GetValue(0, value)). A collection without focus gives 0
    /// and leaves `value` alone. Otherwise each handle of the focus is read in order: a read that
    /// fails gives 0; the first value read (or the first after empty ones) is taken; a value
    /// that differs from it empties `value` and gives 1. All agreeing: 1 with the common value.
    virtual int GetValue(SCC_StdCollection* collection, SCC_Variant& value);
    /// The value of one object; 0 here.
    virtual int GetValue(int handle, SCC_Variant& value);
    /// Writes (`check` 0) or validates (`check` non-zero) `value` for every handle of the focus
    /// of `collection`, in order, until one refuses: then 0. An empty focus gives 1 and touches
    /// nothing; a null collection writes handle 0 (SetValue(0, value, check)).
    virtual int SetValue(SCC_StdCollection* collection, SCC_Variant& value, int check);
    /// The same for one object; 0 here.
    virtual int SetValue(int handle, SCC_Variant& value, int check);
    /// Whether the property can be written; 0 here.
    virtual int HasSetMethod();
    /// The property that this one stands in for; this one here. The library does not follow it.
    virtual SCC_StdProperty* GetDataSource();
    /// The validation text; the empty text when none was set.
    virtual char const* GetValidation();
    /// Stores a copy of `text`; null stores the empty text.
    virtual void SetValidation(char const* text);
    /// A new reference on the convertor, null when there is none.
    virtual SCC_SharedPointer<SCC_Convertor> GetConvertor();
    /// Stores `convertor` (null removes the convertor, releasing the old one) and returns this
    /// property, so that calls can be chained.
    virtual SCC_StdProperty* SetConvertor(SCC_SharedPointer<SCC_Convertor> convertor);

protected:
    SCC_SharedPointer<SCC_Convertor> m_Convertor;
    SYS_StringBase m_Validation;
};

/// A property whose objects store a T, for T one of int (int32_t, the family's int and long),
/// double, SYS_StringBase and char const*; on a platform whose `long` is wider than 32 bits,
/// SCC_TypedProperty<long> works as well, with the 32-bit integer form of the variant: a value
/// outside that range throws SYS_Exception "Value out of range." when it is read.
///
/// Reading builds SCC_Variant(t) from the typed value (through the convertor with flag 0, when
/// there is one); writing takes the variant (through the convertor with flag 1) to T by the
/// variant's conversion operator. The text form, char const*, is read-only: its SetValue always
/// answers 1 and does nothing.
///
/// Virtual slots: those of SCC_StdProperty, then GetTypedValue and SetTypedValue.
template <class T>
class SCC_TypedProperty : public SCC_StdProperty {
public:
    using SCC_StdProperty::GetValue;
    using SCC_StdProperty::SetValue;

    /// 1 with the variant of the object's value, or 0 with `value` untouched when
    /// GetTypedValue refuses.
    int GetValue(int handle, SCC_Variant& value) override {
        T typed = T();
        if (!GetTypedValue(handle, typed)) return 0;
        if (m_Convertor) value = m_Convertor->Convert(SCC_Variant(typed), 0);
        else value = SCC_Variant(typed);
        return 1;
    }

    /// Without a set method: 1, nothing validated, nothing stored (a property that can't be
    /// written accepts everything). With `check`: the result of value.Validate(GetValidation(),
    /// convertor), nothing stored. Otherwise the value, through the convertor with flag 1, is
    /// taken to T (which may throw) and handed to SetTypedValue, whose result is returned.
    int SetValue(int handle, SCC_Variant& value, int check) override {
        if constexpr (std::is_same_v<T, char const*>) {
            // The text form is read-only.
            (void)handle;
            (void)value;
            (void)check;
            return 1;
        } else {
            if (!HasSetMethod()) return 1;
            if (check) return value.Validate(GetValidation(), m_Convertor);
            SCC_Variant const stored = m_Convertor ? m_Convertor->Convert(value, 1) : value;
            T typed = stored;
            return SetTypedValue(handle, typed);
        }
    }

    /// The object's value; 0 here (nothing to read).
    virtual int GetTypedValue(int handle, T& value) {
        (void)handle;
        (void)value;
        return 0;
    }
    /// Stores the object's value; 0 here (nothing stored).
    virtual int SetTypedValue(int handle, T& value) {
        (void)handle;
        (void)value;
        return 0;
    }
};

// The family is built into the library, so that every module and every client shares one copy of
// its code, virtual tables and type information.
extern template class MORTAR_API SCC_TypedProperty<int32_t>;
extern template class MORTAR_API SCC_TypedProperty<double>;
extern template class MORTAR_API SCC_TypedProperty<SYS_StringBase>;
extern template class MORTAR_API SCC_TypedProperty<char const*>;
#if LONG_MAX != INT32_MAX
extern template class MORTAR_API SCC_TypedProperty<long>;
#endif

#endif
