#include "scc/collection_test_support.h"

#include <mortar/scc/SCC_Property.h>
#include <mortar/sys/SYS_Exception.h>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace {

using colltest::Collection;
using colltest::Source;

// An integer attribute of the objects 1..n, stored in a map; writable on request.
class Width : public SCC_TypedProperty<int> {
public:
    std::map<int, int> stored;
    std::vector<std::pair<int, int>> writes;
    int writable = 1;
    int refuse = 0;  // a handle whose write is refused

    int HasSetMethod() override { return writable; }
    int GetTypedValue(int handle, int& value) override {
        auto const it = stored.find(handle);
        if (it == stored.end()) return 0;
        value = it->second;
        return 1;
    }
    int SetTypedValue(int handle, int& value) override {
        if (handle == refuse) return 0;
        writes.emplace_back(handle, value);
        stored[handle] = value;
        return 1;
    }
};

// Shows the stored value doubled; records the direction of every call.
class Doubling : public SCC_Convertor {
public:
    std::vector<int> flags;
    SCC_Variant Convert(SCC_Variant value, int flag) override {
        flags.push_back(flag);
        return flag ? SCC_Variant(static_cast<double>(value) / 2) : SCC_Variant(static_cast<double>(value) * 2);
    }
};

std::string Text(SCC_Variant const& v) { return static_cast<SYS_StringBase>(v).GetString(); }

TEST(Property, OneObjectReadWriteAndCheck) {
    Width width;
    width.stored = {{1, 4}};
    EXPECT_STREQ(width.GetValidation(), "") << "a fresh property validates everything";
    SCC_Variant value;
    EXPECT_EQ(width.GetValue(1, value), 1);
    EXPECT_EQ(value.GetType(), SCC_Variant::ValueInteger);
    EXPECT_EQ(static_cast<int>(value), 4);
    SCC_Variant untouched("keep");
    EXPECT_EQ(width.GetValue(2, untouched), 0) << "an object without the value";
    EXPECT_EQ(Text(untouched), "keep");

    width.SetValidation("[0,10]");
    SCC_Variant eleven(11);
    EXPECT_EQ(width.SetValue(1, eleven, 1), 0);
    EXPECT_EQ(Text(eleven), "Please enter a value within the [0.000000,10.000000] range.");
    EXPECT_TRUE(width.writes.empty()) << "checking stores nothing";
    SCC_Variant nine(9);
    EXPECT_EQ(width.SetValue(1, nine, 1), 1);
    EXPECT_TRUE(width.writes.empty());
    SCC_Variant again(11);
    EXPECT_EQ(width.SetValue(1, again, 0), 1) << "storing does not validate";
    EXPECT_EQ(width.writes, (std::vector<std::pair<int, int>>{{1, 11}}));
    SCC_Variant apples("12 apples");
    EXPECT_THROW(width.SetValue(1, apples, 0), SYS_Exception);
    SCC_Variant text(" 7.9 ");
    EXPECT_EQ(width.SetValue(2, text, 0), 1);
    EXPECT_EQ(width.stored[2], 7) << "a text is scanned and truncated";

    width.writable = 0;
    SCC_Variant anything("not a number");
    EXPECT_EQ(width.SetValue(1, anything, 1), 1) << "a property that can't be written accepts everything";
    EXPECT_EQ(width.SetValue(1, anything, 0), 1);
    EXPECT_EQ(Text(anything), "not a number");
    EXPECT_EQ(width.writes.size(), 2u);

    width.SetValidation(nullptr);
    EXPECT_STREQ(width.GetValidation(), "");
    EXPECT_EQ(width.GetDataSource(), &width);

    SCC_StdProperty base;
    EXPECT_EQ(base.GetValue(1, value), 0);
    EXPECT_EQ(base.SetValue(1, value, 0), 0);
    EXPECT_EQ(base.HasSetMethod(), 0);
}

// One property per stored type, each holding the value of handle 1.
template <class T>
class Stored : public SCC_TypedProperty<T> {
public:
    explicit Stored(T v) : value(v) {}
    T value;
    int HasSetMethod() override { return 1; }
    int GetTypedValue(int, T& out) override {
        out = value;
        return 1;
    }
    int SetTypedValue(int, T& in) override {
        value = in;
        return 1;
    }
};

TEST(Property, TheFiveTypes) {
    Stored<double> real(2.5);
    SCC_Variant v;
    real.GetValue(1, v);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueDouble);
    SCC_Variant written("0.25");
    real.SetValue(1, written, 0);
    EXPECT_EQ(real.value, 0.25);

    Stored<SYS_StringBase> name(SYS_StringBase("U1"));
    name.GetValue(1, v);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueString);
    EXPECT_EQ(Text(v), "U1");
    SCC_Variant number(3.5);
    name.SetValue(1, number, 0);
    EXPECT_EQ(std::string(name.value.GetString()), "3.500000");

    Stored<char const*> label("fixed");
    label.GetValue(1, v);
    EXPECT_EQ(Text(v), "fixed");
    SCC_Variant other("changed");
    EXPECT_EQ(label.SetValue(1, other, 0), 1) << "the text form is read-only";
    EXPECT_STREQ(label.value, "fixed");
    SCC_Variant tooLong("far too long");
    label.SetValidation("3");
    EXPECT_EQ(label.SetValue(1, tooLong, 1), 1);
    Stored<char const*> none(nullptr);
    none.GetValue(1, v);
    EXPECT_EQ(Text(v), "") << "a null text reads as the empty text";

    // The family's long is 32 bits; where the platform's long is wider it works the same way.
    Stored<long> count(7L);
    count.GetValue(1, v);
    EXPECT_EQ(v.GetType(), SCC_Variant::ValueInteger);
    SCC_Variant minus("-12");
    count.SetValue(1, minus, 0);
    EXPECT_EQ(count.value, -12L);
    Stored<int32_t> integer(5);
    integer.GetValue(1, v);
    EXPECT_EQ(static_cast<int32_t>(v), 5);
    SCC_Variant huge(1e12);
    EXPECT_THROW(integer.SetValue(1, huge, 0), SYS_Exception) << "out of the 32-bit range";
}

TEST(Property, ConvertorDirections) {
    Width width;
    width.stored = {{1, 4}};
    auto* doubling = new Doubling;
    EXPECT_EQ(width.SetConvertor(doubling), &width) << "calls can be chained";
    EXPECT_EQ(width.GetConvertor(), doubling);

    SCC_Variant shown;
    width.GetValue(1, shown);
    EXPECT_EQ(static_cast<double>(shown), 8.0) << "reading converts with flag 0";
    EXPECT_EQ(doubling->flags, std::vector<int>{0});

    SCC_Variant typed(10);
    width.SetValue(1, typed, 0);
    EXPECT_EQ(width.stored[1], 5) << "writing converts with flag 1";
    EXPECT_EQ(doubling->flags, (std::vector<int>{0, 1}));

    doubling->flags.clear();
    width.SetValidation("[0,6]");
    SCC_Variant eight(8);
    EXPECT_EQ(width.SetValue(1, eight, 1), 0) << "the interval is in shown units without '#'";
    EXPECT_TRUE(doubling->flags.empty());
    width.SetValidation("#[0,6]");
    SCC_Variant alsoEight(8);
    EXPECT_EQ(width.SetValue(1, alsoEight, 1), 1) << "with '#' the value is converted first: 4";
    EXPECT_EQ(doubling->flags, std::vector<int>{1});
    SCC_Variant twenty(20);
    EXPECT_EQ(width.SetValue(1, twenty, 1), 0);
    EXPECT_EQ(Text(twenty), "Please enter a value within the [0.000000,12.000000] range.")
        << "the limits are shown in the user's units";

    width.SetConvertor(nullptr);
    EXPECT_EQ(width.GetConvertor(), nullptr);
    width.GetValue(1, shown);
    EXPECT_EQ(static_cast<int>(shown), 5) << "the stored value, shown as it is";
}

TEST(Property, WalkOverTheFocus) {
    Source s;
    for (int h = 1; h <= 4; ++h) s.Add(h, 0);
    Collection c(&s);
    c.AllowReload(1);
    Width width;
    width.stored = {{1, 5}, {2, 5}, {3, 6}, {4, 5}};

    SCC_Variant value("untouched");
    EXPECT_EQ(width.GetValue(&c, value), 0) << "no focus";
    EXPECT_EQ(Text(value), "untouched");

    c.SetFocus(1, false);
    c.SetFocus(2, true);
    c.SetFocus(4, true);
    SCC_Variant agreed;
    EXPECT_EQ(width.GetValue(&c, agreed), 1);
    EXPECT_EQ(static_cast<int>(agreed), 5) << "5, 5, 5";
    c.SetFocus(3, true);
    SCC_Variant mixed;
    EXPECT_EQ(width.GetValue(&c, mixed), 1);
    EXPECT_TRUE(mixed.IsEmpty()) << "5, 5, 6, 5";
    width.stored.erase(2);
    SCC_Variant failed;
    EXPECT_EQ(width.GetValue(&c, failed), 0) << "an object that can't be read";
    width.stored[2] = 5;

    SCC_Variant zero;
    width.stored[0] = 42;
    EXPECT_EQ(width.GetValue(nullptr, zero), 1) << "a null collection reads handle 0";
    EXPECT_EQ(static_cast<int>(zero), 42);

    // Validation over the focus, then the write, which stops at the first refusal.
    width.SetValidation("[0,10]");
    SCC_Variant twelve(12);
    EXPECT_EQ(width.SetValue(&c, twelve, 1), 0);
    EXPECT_EQ(Text(twelve), "Please enter a value within the [0.000000,10.000000] range.");
    SCC_Variant seven(7);
    EXPECT_EQ(width.SetValue(&c, seven, 1), 1);
    EXPECT_TRUE(width.writes.empty());
    width.refuse = 3;
    EXPECT_EQ(width.SetValue(&c, seven, 0), 0);
    EXPECT_EQ(width.writes, (std::vector<std::pair<int, int>>{{1, 7}, {2, 7}})) << "no rollback";
    c.SetFocus(0, false);
    EXPECT_EQ(width.SetValue(&c, seven, 0), 1) << "an empty focus";
    EXPECT_EQ(width.SetValue(nullptr, seven, 0), 1) << "a null collection writes handle 0";
    EXPECT_EQ(width.stored[0], 7);

    // An object that reads as empty is passed over when it comes first.
    class Sparse : public SCC_TypedProperty<int> {
    public:
        using SCC_TypedProperty<int>::GetValue;
        int GetTypedValue(int handle, int& value) override {
            value = handle;
            return 1;
        }
        int GetValue(int handle, SCC_Variant& value) override {
            if (handle == 1) return 1;  // leaves the variant empty
            return SCC_TypedProperty<int>::GetValue(handle, value);
        }
    };
    Sparse sparse;
    c.SetFocus(1, false);
    c.SetFocus(2, true);
    SCC_Variant firstEmpty;
    EXPECT_EQ(sparse.GetValue(&c, firstEmpty), 1);
    EXPECT_EQ(static_cast<int>(firstEmpty), 2);
}

// A convertor that owns a hook sitting in a chain.
int g_Owners = 0;
class Owning : public SCC_Convertor {
public:
    explicit Owning(SCC_Notifier* palette) {
        ++g_Owners;
        m_Hook.Connect(palette);
    }
    ~Owning() override { --g_Owners; }

private:
    SCC_EventHook<int> m_Hook{0, [](int, int*) { return 0; }};
};

TEST(Property, ConvertorGoesWithItsLastReference) {
    SCC_Notifier palette;
    auto* property = new Width;
    SCC_SharedPointer<SCC_StdProperty> held(property);
    property->SetValidation("[1,2]");
    property->SetConvertor(new Owning(&palette));
    EXPECT_EQ(g_Owners, 1);

    Width copy(*property);
    EXPECT_EQ(copy.GetConvertor(), property->GetConvertor()) << "a copy shares the convertor";
    EXPECT_STREQ(copy.GetValidation(), "[1,2]");
    EXPECT_EQ(copy.GetRefCount(), 0) << "and has a count of its own";
    Width assigned;
    assigned = copy;
    EXPECT_STREQ(assigned.GetValidation(), "[1,2]");

    held = nullptr;
    copy.SetConvertor(nullptr);
    EXPECT_EQ(g_Owners, 1) << "still held by the assigned property";
    assigned.SetConvertor(nullptr);
    EXPECT_EQ(g_Owners, 0) << "destroyed as a whole at its last release";
    // Its hook has left the chain: a walk over the palette (and the palette's destructor) would
    // otherwise reach freed memory, which the sanitizer build reports.
    palette.Notify(0, nullptr);
}

} // namespace
