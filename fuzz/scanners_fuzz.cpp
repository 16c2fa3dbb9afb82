// The text scanners, the natural order and the numeric Value forms on arbitrary bytes.
// Checks that every scan ends inside its text, that the is* forms agree with the get* forms,
// and that _tcsnumcmp is a consistent order: reflexive, antisymmetric, transitive on every
// triple, and usable as the comparator of a sort (the sorted list is in order pairwise).
#include <mortar/sys/SYS_StringBase.h>
#include <mortar/sys/SYS_TextScanners.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

int Sign(int v) { return (v > 0) - (v < 0); }

void Require(bool ok) {
    if (!ok) std::abort();
}

void Scan(std::string const& text) {
    char const* s = text.c_str();
    char const* end = s + std::strlen(s);
    for (int mode : {0, 1, 2, 3, 9}) {
        char const* d = getdouble(s, mode);
        Require(d == nullptr || (d > s && d <= end));
        Require(isdouble(s, mode) == (d != nullptr && *d == '\0' ? 1 : 0));
        char const* i = getinteger(s, mode);
        Require(i == nullptr || (i > s && i <= end));
        Require(isinteger(s, mode) == (i != nullptr && *i == '\0' ? 1 : 0));
    }
    SYS_StringBase str(s);
    char const* stop = nullptr;
    int16_t h;
    int32_t l;
    uint32_t u;
    float f;
    double g;
    str.Value(&h, &stop);
    Require(stop >= str.GetString() && stop <= str.GetString() + str.GetLength());
    str.Value(&l, &stop);
    Require(stop >= str.GetString() && stop <= str.GetString() + str.GetLength());
    str.Value(&u, &stop);
    str.Value(&f, &stop);
    str.Value(&g, &stop);
    Require(stop >= str.GetString() && stop <= str.GetString() + str.GetLength());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size > 2048) return 0;
    std::string input(reinterpret_cast<char const*>(data), size);

    // Lines are the items; the first byte also picks a field of the input for SysExtractSubString.
    std::vector<std::string> items;
    std::size_t from = 0;
    while (from <= input.size() && items.size() < 64) {
        std::size_t to = input.find('\n', from);
        if (to == std::string::npos) to = input.size();
        items.push_back(input.substr(from, to - from));
        from = to + 1;
    }
    for (std::string const& item : items) Scan(item);

    if (size > 0) {
        SYS_StringBase field("previous");
        int index = static_cast<int8_t>(data[0]) % 8;
        char separator = size > 1 ? static_cast<char>(data[1]) : ';';
        int found = SysExtractSubString(field, input.c_str(), index, separator);
        Require(found == 0 || found == 1);
        Require(field.GetLength() <= static_cast<int>(std::strlen(input.c_str())));
    }

    std::size_t const n = items.size();
    std::vector<int> c(n * n);
    for (std::size_t a = 0; a < n; ++a)
        for (std::size_t b = 0; b < n; ++b) c[a * n + b] = Sign(_tcsnumcmp(items[a].c_str(), items[b].c_str()));
    for (std::size_t a = 0; a < n; ++a) {
        Require(c[a * n + a] == 0);
        Require(SYS_StringBase(items[a].c_str()).CompareAlNum(items[a].c_str()) == 0);
        for (std::size_t b = 0; b < n; ++b) {
            Require(c[a * n + b] == -c[b * n + a]);
            for (std::size_t k = 0; k < n; ++k)
                if (c[a * n + b] <= 0 && c[b * n + k] <= 0) Require(c[a * n + k] <= 0);
        }
    }
    // A sort with the natural order as its comparator (an insertion sort, which stays defined
    // even for a broken comparator) leaves every pair in order.
    std::vector<std::size_t> order;
    for (std::size_t a = 0; a < n; ++a) {
        std::size_t at = order.size();
        while (at > 0 && c[order[at - 1] * n + a] > 0) --at;
        order.insert(order.begin() + static_cast<std::ptrdiff_t>(at), a);
    }
    for (std::size_t i = 0; i + 1 < order.size(); ++i)
        for (std::size_t j = i + 1; j < order.size(); ++j) Require(c[order[i] * n + order[j]] <= 0);
    return 0;
}
