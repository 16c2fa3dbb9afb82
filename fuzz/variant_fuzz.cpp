// Variant: the conversions of a value built from the input, checked against strtod and printf of
// the C locale (the fuzzer's locale), and Validate with a validation text from the input, with and
// without a convertor, checked against a plain model that reads the text with sscanf itself.
//
// Input: byte 0 the form of the value (bits 0-1), a convertor (bit 2), a leading '#' on the
// validation text (bit 3); bytes 1 to 8 a number; byte 9 where the rest splits into the text of
// the value and the validation text. Both texts keep their NUL bytes.
#include <mortar/scc/SCC_Convertor.h>
#include <mortar/scc/SCC_Variant.h>
#include <mortar/sys/SYS_Exception.h>

#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void Check(bool condition) {
    if (!condition) std::abort();
}

std::string const kInvalid = "Invalid floating point format.";
std::string const kRange = "Value out of range.";

// What an operation gave: its result as text, or the text of its exception.
struct Outcome {
    std::string value;
    std::string thrown;
    bool operator==(Outcome const& o) const { return value == o.value && thrown == o.thrown; }
};

template <class F>
Outcome Run(F f) {
    Outcome o;
    try {
        o.value = f();
    } catch (SYS_Exception const& e) {
        o.thrown = e.GetText().GetString();
    }
    return o;
}

std::string Fixed(double d) {
    char text[400];
    std::snprintf(text, sizeof text, "%f", d);
    return text;
}

std::string Bits(double d) {
    uint64_t bits;
    std::memcpy(&bits, &d, sizeof bits);
    return std::to_string(bits);
}

// The model of the scan of a text: blanks, strtod, blanks, and nothing may be left.
double ModelDouble(std::string const& text) {
    char const* p = text.c_str();
    while (*p == ' ' || *p == '\t')
        ++p;
    char* end;
    double const d = std::strtod(p, &end);
    while (*end == ' ' || *end == '\t')
        ++end;
    if (end != text.c_str() + text.size()) throw SYS_Exception("%s", kInvalid.c_str());
    return d;
}

int32_t ModelInteger(double d) {
    if (std::isnan(d) || d > 2147483647.0 || d < -2147483648.0) throw SYS_Exception("%s", kRange.c_str());
    return static_cast<int32_t>(d);
}

// A value in the model: its form and fields.
struct Model {
    int form; // 0 integer, 1 double, 2 text, 3 empty
    int32_t integer;
    double real;
    std::string text;

    SCC_Variant Make() const {
        switch (form) {
        case 0: return SCC_Variant(integer);
        case 1: return SCC_Variant(real);
        case 2: return SCC_Variant(SYS_StringBase(text.data(), static_cast<int>(text.size())));
        default: return SCC_Variant();
        }
    }
    double AsDouble() const { return form == 0 ? integer : form == 1 ? real : form == 2 ? ModelDouble(text) : 0.0; }
    std::string AsText() const {
        return form == 0 ? std::to_string(integer) : form == 1 ? Fixed(real) : form == 2 ? text : std::string();
    }
};

// Shows values in tenths: stored = shown * 10.
class Tenths : public SCC_Convertor {
public:
    SCC_Variant Convert(SCC_Variant value, int flag) override {
        double const v = value;
        return SCC_Variant(flag ? v * 10 : v / 10);
    }
};

// The variant after Validate, as text: its form and its text.
std::string State(SCC_Variant const& v) {
    return std::to_string(v.GetType()) + ":" + static_cast<SYS_StringBase>(v).GetString();
}

std::string ModelValidate(Model const& m, std::string validation, bool withConvertor) {
    std::string const unchanged = std::to_string(m.form == 3 ? 4 : m.form + 1) + ":" + m.AsText().c_str();
    if (validation.empty() || m.form == 3) return "1 " + unchanged;
    bool const hash = validation[0] == '#';
    if (hash) validation.erase(0, 1);
    bool const through = hash && withConvertor;
    double const value = through ? m.AsDouble() * 10 : 0.0;
    char open, close;
    double lower, upper;
    if (std::sscanf(validation.c_str(), "%c %lf , %lf %c", &open, &lower, &upper, &close) == 4) {
        double const v = through ? value : m.AsDouble();
        bool pass = open == '[' ? v >= lower : v > lower;
        if (pass) pass = close == ']' ? v <= upper : v < upper;
        if (pass) return "1 " + unchanged;
        if (through) lower /= 10, upper /= 10;
        char message[1024];
        std::snprintf(message, sizeof message, "Please enter a value within the %c%f,%f%c range.", open, lower,
                      upper, close);
        return "0 3:" + std::string(message);
    }
    long limit;
    if (std::sscanf(validation.c_str(), "%ld", &limit) == 1) {
        long const length = m.form == 2 ? static_cast<long>(m.text.size()) : 0;
        long const clamped = limit > INT32_MAX ? INT32_MAX : limit < INT32_MIN ? INT32_MIN : limit;
        return (length <= clamped ? "1 " : "0 ") + unchanged;
    }
    return "1 " + unchanged;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size < 10) return 0;
    Model m;
    m.form = data[0] & 3;
    bool const withConvertor = (data[0] & 4) != 0;
    bool const hash = (data[0] & 8) != 0;
    std::memcpy(&m.real, data + 1, sizeof m.real);
    std::memcpy(&m.integer, data + 1, sizeof m.integer);
    std::string const rest(reinterpret_cast<char const*>(data) + 10, size - 10);
    std::size_t const split = data[9] % (rest.size() + 1);
    m.text = rest.substr(0, split);
    std::string const validation = (hash ? "#" : "") + rest.substr(split);

    SCC_Variant const v = m.Make();

    // Conversions against the model; they leave errno alone.
    errno = 12345;
    Outcome const real = Run([&] { return Bits(static_cast<double>(v)); });
    Outcome const integer = Run([&] { return std::to_string(static_cast<int32_t>(v)); });
    SYS_StringBase const text = v;
    Check(errno == 12345);
    Check(real == Run([&] { return Bits(m.AsDouble()); }));
    Check(integer == Run([&] { return std::to_string(m.form == 0 ? m.integer : ModelInteger(m.AsDouble())); }));
    Check(std::string(text.GetString(), static_cast<std::size_t>(text.GetLength())) == m.AsText());

    // Comparison: symmetric, and never throws.
    SCC_Variant const other = Model{(data[0] >> 4) & 3, m.integer, m.real, m.AsText()}.Make();
    Check((v == other) == (other == v) && (v != other) == !(v == other));
    Check((v == v) == (!v.IsEmpty() && !(v.GetType() == SCC_Variant::ValueDouble && std::isnan(m.real))));

    // Validate against the model, with the same exceptions and the same variant afterwards.
    Tenths tenths;
    SCC_Variant checked = v;
    errno = 12345;
    Outcome const ours = Run([&] {
        SYS_StringBase const s(validation.data(), static_cast<int>(validation.size()));
        int const result = checked.Validate(s, withConvertor ? &tenths : nullptr);
        return std::to_string(result) + " " + State(checked);
    });
    Check(errno == 12345);
    Outcome const model = Run([&] { return ModelValidate(m, validation, withConvertor); });
    Check(ours == model);
    if (!ours.thrown.empty()) Check(State(checked) == State(v));
    return 0;
}
