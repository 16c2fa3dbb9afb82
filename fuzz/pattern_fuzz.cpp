// Compiles, matches and substitutes arbitrary patterns, texts and replacements, and checks the
// matcher against the plain recursive procedure wherever that one is quick enough to answer.
// Input: one byte of settings (bit 0: code page 932; bits 1-2: the count for Substitute), then
// the pattern, the text and the replacement, separated by NUL bytes.
#include <mortar/platform/codepage.h>
#include <mortar/sys/SYS_StrPattern.h>

#include "../tests/support/pattern_reference.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

std::string Piece(std::string const& input, std::size_t& at) {
    std::size_t end = input.find('\0', at);
    if (end == std::string::npos) end = input.size();
    std::string piece = input.substr(at, end - at);
    at = end < input.size() ? end + 1 : end;
    return piece;
}

void Check(bool condition) {
    if (!condition) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    if (size < 1) return 0;
    int const codePage = data[0] & 1 ? mortar::CodePageJapanese : mortar::CodePageWestern;
    int const maxCount = (data[0] >> 1) & 3;
    std::string const input(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::size_t at = 0;
    std::string const pattern = Piece(input, at);
    std::string const text = Piece(input, at);
    std::string const replacement = Piece(input, at);
    mortar::SetCodePage(codePage);

    SYS_StrPattern compiled(pattern.c_str());
    std::string const program(compiled);
    Check(program.empty() || program.back() == 'e');
    Check(std::string(SYS_StrPattern(compiled)) == program);

    int length = -1;
    int const position = compiled.Match(text.c_str(), &length);
    if (position < 0) {
        Check(position == -1 && length == 0);
    } else {
        Check(length >= 0 && std::size_t(position) + std::size_t(length) <= text.size());
    }

    SYS_StringBase target(text.c_str());
    int const count = compiled.Substitute(target, replacement.c_str(), maxCount);
    Check(count >= 0 && (count > 0 || text == target.GetString()));

    if (program.size() <= 300 && text.size() <= 48) {
        mortar::test::PatternReference reference(100000);
        mortar::test::PatternReference::Result expected = reference.Match(program, text.c_str());
        if (expected.answered) Check(expected.position == position && expected.length == length);
        std::string want = text;
        std::string const insert(replacement.c_str());
        if (reference.Substitute(program, want, insert, maxCount) >= 0) Check(want == target.GetString());
    }

    // Under the other code page the program decodes differently; the run must still stay safe.
    mortar::SetCodePage(codePage == mortar::CodePageJapanese ? mortar::CodePageWestern : mortar::CodePageJapanese);
    int const elsewhere = compiled.Match(text.c_str(), &length);
    Check(elsewhere < 0 ? length == 0 : std::size_t(elsewhere) + std::size_t(length) <= text.size());
    mortar::SetCodePage(mortar::CodePageWestern);
    return 0;
}
