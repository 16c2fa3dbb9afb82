// Properties: one object, the five stored types, convertor directions, the walk over a focus, and
// the lifetime of a convertor.
#include "scc/collection_test_support.h"

#include <mortar/scc/SCC_Property.h>
#include <mortar/sys/SYS_Exception.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using Writes = std::vector<std::pair<int, int>>;

// The attribute T of the objects behind handles, kept in a map; writable on request.
template <class T>
struct Stored : SCC_TypedProperty<T> {
    std::map<int, T> stored;
    std::vector<std::pair<int, T>> writes;
    int writable = 1, refuse = -1; // refuse: a handle whose write is refused

    int HasSetMethod() override { return writable; }
    int GetTypedValue(int handle, T& value) override {
        return stored.count(handle) ? (value = stored[handle], 1) : 0;
    }
    int SetTypedValue(int handle, T& value) override {
        if (handle == refuse) return 0;
        writes.emplace_back(handle, stored[handle] = value);
        return 1;
    }
};
using Width = Stored<int>;

std::string Text(SCC_Variant const& v) { return static_cast<SYS_StringBase>(v).GetString(); }

// Handle 1 of `p`: `value` stored and read back as a variant; `value` written and what was stored.
template <class T>
SCC_Variant Read(Stored<T>& p, T value) { SCC_Variant v; p.stored[1] = value; p.GetValue(1, v); return v; }
template <class T>
T Write(Stored<T>& p, SCC_Variant value) { p.SetValue(1, value, 0); return p.stored[1]; }

// Shows the stored value doubled. Its hook, connected to
// `palette`, would stay in that chain as a freed node if the convertor were destroyed only in part.
int g_Convertors = 0;
struct Doubling : SCC_Convertor {
    explicit Doubling(SCC_Notifier* palette = nullptr) {
        ++g_Convertors;
        hook.Connect(palette);
    }
    ~Doubling() override { --g_Convertors; }
    SCC_Variant Convert(SCC_Variant value, int flag) override {
        return SCC_Variant(flag ? static_cast<double>(value) / 2 : static_cast<double>(value) * 2);
    }
    SCC_EventHook<int> hook;
};

TEST(Property, OneObjectOfEachTypeAndConvertorDirections) {
    Width width;
    SCC_Variant untouched("keep");
    EXPECT_EQ(width.GetValue(2, untouched), 0) << "an object without the value";
    EXPECT_EQ(Text(untouched), "keep");
    width.SetValidation("[0,10]");
    EXPECT_EQ(Write(width, SCC_Variant(11)), 11) << "storing does not validate";
    width.writable = 0;
    SCC_Variant anything("not a number");
    EXPECT_EQ(width.SetValue(1, anything, 1), 1) << "a property that can't be written accepts everything";
    EXPECT_EQ(width.SetValue(1, anything, 0), 1);
    EXPECT_EQ(width.writes, (Writes{{1, 11}}));
    SCC_StdProperty base;
    EXPECT_EQ(base.GetValue(1, anything) + base.SetValue(1, anything, 0), 0) << "the base does nothing";

    Stored<double> real;
    EXPECT_EQ(Read(real, 2.5).GetType(), SCC_Variant::ValueDouble);
    EXPECT_EQ(Write(real, SCC_Variant("0.25")), 0.25);
    Stored<SYS_StringBase> name;
    EXPECT_EQ(Text(Read(name, SYS_StringBase("U1"))), "U1");
    EXPECT_EQ(std::string(Write(name, SCC_Variant(3.5)).GetString()), "3.500000");
    Stored<long> count;
    EXPECT_EQ(Read(count, 7L).GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(Write(count, SCC_Variant("-12")), -12L);
    Stored<int32_t> integer;
    EXPECT_THROW(Write(integer, SCC_Variant(1e12)), SYS_Exception) << "the variant's exceptions pass through";

    Stored<char const*> label;
    EXPECT_EQ(Text(Read(label, static_cast<char const*>(nullptr))), "") << "null reads as the empty text";
    label.SetValidation("3");
    SCC_Variant other("changed");
    EXPECT_EQ(label.SetValue(1, other, 1), 1) << "the text form is read-only: it checks nothing";
    EXPECT_EQ(label.SetValue(1, other, 0), 1);
    EXPECT_TRUE(label.writes.empty());

    Width shown;
    EXPECT_EQ(shown.SetConvertor(new Doubling), &shown) << "calls can be chained";
    EXPECT_EQ(static_cast<double>(Read(shown, 4)), 8.0) << "read with flag 0";
    EXPECT_EQ(Write(shown, SCC_Variant(10)), 5) << "written with flag 1";
    shown.SetValidation("#[0,6]");
    SCC_Variant twenty(20);
    EXPECT_EQ(shown.SetValue(1, twenty, 1), 0);
    EXPECT_EQ(Text(twenty), "Please enter a value within the [0.000000,12.000000] range.")
        << "checking uses the convertor: the limits are shown in the user's units";
}

TEST(Property, WalkOverTheFocus) {
    colltest::Source s;
    s.order = {1, 2, 3, 4};
    colltest::Collection c(&s);
    c.AllowReload(1);
    Width width;
    width.stored = {{0, 42}, {1, 5}, {2, 5}, {3, 6}, {4, 5}};
    // The result of a read over the focus (or of handle 0 without a collection), and the value.
    auto read = [&](SCC_StdProperty& p, SCC_StdCollection* collection, char const* start = nullptr) {
        SCC_Variant v = start ? SCC_Variant(start) : SCC_Variant();
        int const result = p.GetValue(collection, v);
        return std::to_string(result) + " " + (v.IsEmpty() ? "(empty)" : Text(v));
    };

    EXPECT_EQ(read(width, &c, "untouched"), "0 untouched") << "no focus";
    c.SetFocus(1, false);
    c.SetFocus(2, true);
    c.SetFocus(4, true);
    EXPECT_EQ(read(width, &c), "1 5") << "5, 5, 5";
    c.SetFocus(3, true);
    EXPECT_EQ(read(width, &c), "1 (empty)") << "5, 5, 6, 5";
    width.stored.erase(2);
    EXPECT_EQ(read(width, &c).substr(0, 2), "0 ") << "an object that can't be read";
    EXPECT_EQ(read(width, nullptr), "1 42") << "a null collection reads handle 0";

    // Validation over the focus, then the write, which stops at the first refusal.
    width.SetValidation("[0,10]");
    SCC_Variant twelve(12), seven(7);
    EXPECT_EQ(width.SetValue(&c, twelve, 1), 0);
    EXPECT_EQ(Text(twelve), "Please enter a value within the [0.000000,10.000000] range.");
    EXPECT_EQ(width.SetValue(&c, seven, 1), 1);
    width.refuse = 3;
    EXPECT_EQ(width.SetValue(&c, seven, 0), 0);
    EXPECT_EQ(width.writes, (Writes{{1, 7}, {2, 7}})) << "checking stored nothing; no rollback";
    c.SetFocus(0, false);
    EXPECT_EQ(width.SetValue(&c, seven, 0), 1) << "an empty focus";
    EXPECT_EQ(width.SetValue(nullptr, seven, 0), 1) << "a null collection writes handle 0";
    EXPECT_EQ(width.writes.back(), std::make_pair(0, 7));

    // An object that reads as empty is passed over when it comes first.
    struct Sparse : Width {
        using Width::GetValue;
        int GetValue(int handle, SCC_Variant& value) override {
            return handle == 1 ? 1 : Width::GetValue(handle, value);
        }
    } sparse;
    sparse.stored = {{2, 2}};
    c.SetFocus(1, false);
    c.SetFocus(2, true);
    EXPECT_EQ(read(sparse, &c), "1 2");
}

TEST(Property, ConvertorGoesWithItsLastReference) {
    SCC_Notifier palette;
    auto* property = new Width;
    SCC_SharedPointer<SCC_StdProperty> held(property);
    property->SetValidation("[1,2]");
    property->SetConvertor(new Doubling(&palette));
    Width copy(*property), assigned;
    EXPECT_EQ(copy.GetConvertor(), property->GetConvertor()) << "a copy shares the convertor";
    EXPECT_STREQ(copy.GetValidation(), "[1,2]");
    EXPECT_EQ(copy.GetRefCount(), 0) << "and has a count of its own";
    assigned = copy;
    held = nullptr;
    copy.SetConvertor(nullptr);
    EXPECT_EQ(g_Convertors, 1) << "still held by the assigned property";
    assigned.SetConvertor(nullptr);
    EXPECT_EQ(g_Convertors, 0) << "destroyed as a whole at its last release";
    palette.Notify(0, nullptr); // a hook left behind would be reached in freed memory (sanitizer builds)
}

} // namespace
