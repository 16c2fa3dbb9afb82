// The pattern matcher: an interpreter of pattern programs with a stack of its own.
//
// The program. Instructions are an opcode byte with operands: '^' '$' '.' ')' 'e' '|' alone,
// 'c' with one character (1 or 2 bytes), ':' with a class letter, '[' ']' with a length byte and
// that many set bytes, '*' '+' '@' '#' '?' with a length byte and that many bytes of body. The
// program is walked in frames: the whole program is one, and the body of each '*' '+' '@' '#' is
// one of its own, run as a separate program whose end ends the run (instruction lengths are cut
// at the end of their frame). The body of '?' is not a frame: it is followed by the rest of its
// frame. A run from an instruction to the end of its frame gives one result, the text position
// where it ends, or a failure; a run that starts at the very end of its frame fails.
//
// Alternatives. ')' and '|' open a bracket and 'e' closes one, so the first alternative behind a
// '|' ends at the 'e' that closes the '|', and the whole form ends at the first 'e' that closes
// nothing opened behind the '|'. A '|' runs its first alternative followed by what stands behind
// the form (the closing 'e' jumps there) and, unless that reached the end of the text, the rest
// of the form from behind that 'e'; the farther end wins, the later one on a tie.
//
// Repetitions. Greedy: the body is run again and again, each time from where the last run ended,
// until it fails or matches the empty text; then the rest of the frame is tried behind the last
// iteration, then behind the one before, down to the first, and the first success is the result.
// Minimal: the rest is tried behind the first iteration, then behind each further one. Zero
// iterations count only when the very first run of the body fails ('*' and '@').
//
// Cost. The interpreter keeps its pending work as tasks on a vector, so nesting in the program and
// length of the text cost heap, not machine stack. Everything a run depends on is the
// instruction, the position, the frame (fixed by the instruction) and whether the attempt began at
// the start of the text. So once an attempt has spent more steps than a budget that grows with
// the distance scanned, the results of branching instructions and of repetition states are
// remembered in a table by (instruction, position), for the rest of the call: work stays
// polynomial and results cannot change. The table is emptied after the attempt at the start of
// the text when the program holds a '^'.
//
// Shortcuts. Each one skips only work whose result is known to be a failure, or computes the same
// result more directly:
//   - Guards: the bytes a run from an instruction may consume first (and whether it may succeed
//     consuming nothing). A run whose guard excludes the byte at its position fails there, so
//     attempts, alternatives and the rest behind a repetition are not started at such places.
//   - Dispatch: at the first '|' of a form, a table per byte names the only alternative whose
//     guard admits it; that alternative alone then gives the result.
//   - Runs: a greedy repetition of one single-character test on single-byte text scans its whole
//     run in a loop and tries the rest backwards only where the rest's guard admits the byte.
//   - A failed attempt of a program that begins with such a repetition proves that attempts
//     inside its run fail too; the scan moves past them.
//   - A plain literal prefix is found with strstr, a single first byte with strchr.
#include "PatternMatcher.h"

#include <mortar/platform/codepage.h>
#include <mortar/platform/mbstring.h>
#include <mortar/sys/SYS_TextScanners.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace mortar {
namespace {

using Pos = char const*;

// A set of byte values.
struct ByteSet {
    uint64_t bits[4] = {0, 0, 0, 0};

    bool Has(unsigned char b) const { return ((bits[b >> 6] >> (b & 63u)) & 1u) != 0; }
    void Add(unsigned char b) { bits[b >> 6] |= uint64_t(1) << (b & 63u); }
    ByteSet& operator|=(ByteSet const& other) {
        for (int i = 0; i < 4; ++i) bits[i] |= other.bits[i];
        return *this;
    }
    // Every byte but NUL that is not in this set.
    ByteSet Others() const {
        ByteSet out;
        for (int i = 0; i < 4; ++i) out.bits[i] = ~bits[i];
        out.bits[0] &= ~uint64_t(1);
        return out;
    }
    bool Empty() const { return (bits[0] | bits[1] | bits[2] | bits[3]) == 0; }
    // The one byte of a set of one, or -1.
    int Single() const {
        int found = -1;
        for (int i = 0; i < 4; ++i) {
            if (bits[i] == 0) continue;
            if (found >= 0 || (bits[i] & (bits[i] - 1)) != 0) return -1;
            found = i * 64 + __builtin_ctzll(bits[i]);
        }
        return found;
    }
};

// The character classes of the code page, for single-byte characters (whose code is the byte).
struct ClassTables {
    ByteSet alnum, space, alpha, digit, lower, upper, hex;
    ClassTables() {
        for (unsigned c = 1; c < 256; ++c) {
            auto b = static_cast<unsigned char>(c);
            if (ismbcalnum(c)) alnum.Add(b);
            if (ismbcspace(c)) space.Add(b);
            if (ismbcalpha(c)) alpha.Add(b);
            if (ismbcdigit(c)) digit.Add(b);
            if (ismbclower(c)) lower.Add(b);
            if (ismbcupper(c)) upper.Add(b);
            if ((c >= '0' && c <= '9') || ((c | 0x20u) >= 'a' && (c | 0x20u) <= 'f')) hex.Add(b); // isxdigit, C locale
        }
    }
};

ClassTables const& Classes() {
    static ClassTables const tables;
    return tables;
}

// The single-character classes: the table of single-byte members and the test of any code.
struct CharClass {
    ByteSet const* singles;
    int (*test)(unsigned int);
};

bool ClassOf(unsigned char letter, CharClass& out) {
    ClassTables const& k = Classes();
    switch (letter) {
    case 'a': out = {&k.alnum, ismbcalnum}; return true;
    case 'b': out = {&k.space, ismbcspace}; return true;
    case 'c': out = {&k.alpha, ismbcalpha}; return true;
    case 'd': out = {&k.digit, ismbcdigit}; return true;
    case 'l': out = {&k.lower, ismbclower}; return true;
    case 'u': out = {&k.upper, ismbcupper}; return true;
    default: return false;
    }
}

bool IsRepetition(unsigned char op) {
    return op == '*' || op == '+' || op == '@' || op == '#';
}

// An instruction that consumes one piece of text and has no inner program.
bool IsTest(unsigned char op) {
    return op == 'c' || op == '.' || op == '[' || op == ']' || op == ':';
}

// The class letters that consume exactly one character.
bool IsCharClass(unsigned char letter) {
    switch (letter) {
    case 'a': case 'b': case 'c': case 'd': case 'l': case 'u': case 'x': return true;
    default: return false;
    }
}

constexpr int32_t Unset = -1;

// How a run from some instruction can begin: the bytes it may consume first, and whether it may
// succeed without consuming anything. Where neither holds for the byte at the position, and that
// byte is not the terminator, the run fails there.
struct Guard {
    ByteSet first;
    bool passes = false;
    bool trivial = false; // nothing but instructions without effect to the end: always succeeds
};

// For the first '|' of a form: per byte, the start of the one alternative that may succeed at a
// position holding that byte, or one of these.
constexpr int32_t NoAlternative = -1;
constexpr int32_t SeveralAlternatives = -2;
struct Dispatch {
    int32_t target[256];
};

// What the matcher knows of one program under one code page: decoding, the links of the
// alternatives, set tables, and the bytes at which a match can begin. Links, sets and guards are
// found the first time they are needed and kept.
class ProgramInfo {
public:
    ProgramInfo() = default;
    ProgramInfo(ProgramInfo const&) = delete;
    ProgramInfo& operator=(ProgramInfo const&) = delete;

    bool Is(char const* program, int codePage) const {
        return m_codePage == codePage && std::strcmp(m_program.c_str(), program) == 0;
    }

    void Build(char const* program, std::size_t size, int codePage) {
        m_codePage = Unset; // not valid until built
        m_program.assign(program, size);
        m_bytes = reinterpret_cast<unsigned char const*>(m_program.data());
        m_size = static_cast<int32_t>(size);
        m_doubleByte = IsDoubleByteCodePage() != 0;
        m_lead = ByteSet();
        for (unsigned b = 0x80; b < 256; ++b) {
            if (ismbblead(b)) m_lead.Add(static_cast<unsigned char>(b));
        }
        m_aux.assign(size, Unset);
        m_guardOf.assign(size, Unset);
        m_dispatchOf.assign(size, Unset);
        m_dispatches.clear();
        m_reach.assign(size, 0);
        m_sets.clear();
        m_guards.clear();
        hasCaret = std::memchr(program, '^', size) != nullptr;
        First(0, m_size, true, firstAtStart, anyAtStart);
        if (hasCaret) {
            firstElsewhere = ByteSet();
            First(0, m_size, false, firstElsewhere, anyElsewhere);
        } else {
            firstElsewhere = firstAtStart;
            anyElsewhere = anyAtStart;
        }
        for (unsigned b = 0; b < 256; ++b) {
            scanStop[b] = b == 0 || anyElsewhere || firstElsewhere.Has(static_cast<unsigned char>(b)) ? 1 : 0;
        }
        // A run of plain bytes that every match begins with (single-byte code pages only, where
        // every byte starts a character).
        prefix.clear();
        for (int32_t pc = 0; !m_doubleByte && pc < m_size;) {
            if (m_bytes[pc] == ')') {
                ++pc;
            } else if (m_bytes[pc] == 'c' && pc + 1 < m_size) {
                prefix += static_cast<char>(m_bytes[pc + 1]);
                pc += 2;
            } else {
                break;
            }
        }
        int32_t const body = 2;
        leadingRun = m_size > body && IsRepetition(m_bytes[0]) && IsUnitTest(body, Next(0, m_size)) &&
                     Next(body, Next(0, m_size)) == Next(0, m_size);
        m_codePage = codePage;
    }

    // Forgets the program and gives back its memory.
    void Clear() {
        m_codePage = Unset;
        std::string().swap(m_program);
        m_bytes = nullptr;
        m_size = 0;
        std::vector<int32_t>().swap(m_aux);
        std::vector<int32_t>().swap(m_guardOf);
        std::vector<int32_t>().swap(m_dispatchOf);
        std::vector<Dispatch>().swap(m_dispatches);
        std::vector<unsigned char>().swap(m_reach);
        std::vector<ByteSet>().swap(m_sets);
        std::vector<Guard>().swap(m_guards);
    }

    unsigned char const* Bytes() const { return m_bytes; }
    int32_t Size() const { return m_size; }
    bool DoubleByte() const { return m_doubleByte; }
    bool IsLead(unsigned char b) const { return m_lead.Has(b); }

    // The instruction behind the one at `pc`, cut at the end of the frame.
    int32_t Next(int32_t pc, int32_t end) const {
        switch (m_bytes[pc]) {
        case 'c':
            if (pc + 1 >= end) return end;
            return m_doubleByte && pc + 2 < end && m_lead.Has(m_bytes[pc + 1]) ? pc + 3 : pc + 2;
        case ':':
            return std::min(pc + 2, end);
        case '[':
        case ']':
        case '*':
        case '+':
        case '@':
        case '#':
        case '?':
            if (pc + 1 >= end) return end;
            return static_cast<int32_t>(std::min<int64_t>(int64_t(pc) + 2 + m_bytes[pc + 1], end));
        default:
            return pc + 1;
        }
    }

    // Where the run goes on behind the 'e' at `pc`: behind the whole form for the end of an
    // alternative that others follow, otherwise the next instruction.
    int32_t After(int32_t pc) const { return m_aux[pc] == Unset ? pc + 1 : m_aux[pc]; }

    // The end of the first alternative behind the '|' at `bar`. The first time, links every
    // alternative of the form from there on: each '|' to the end of its first alternative, and
    // the 'e' closing that alternative to the end of the whole form. One walk does it, since the
    // rest of a form behind its first alternative is again a form.
    int32_t FirstAlternativeEnd(int32_t bar, int32_t end) {
        return m_aux[bar] != Unset ? m_aux[bar] : Link(bar, end);
    }

    // The dispatch table of the first '|' of a form, or null for a '|' that follows another.
    Dispatch const* DispatchAt(int32_t bar, int32_t end) {
        int32_t const index = m_dispatchOf[bar] != Unset ? m_dispatchOf[bar] : MakeDispatch(bar, end);
        return index >= 0 ? &m_dispatches[static_cast<std::size_t>(index)] : nullptr;
    }

    // The first bytes of the characters of the set at `pc`.
    ByteSet const& SetAt(int32_t pc, int32_t end) {
        int32_t const index = m_aux[pc] != Unset ? m_aux[pc] : MakeSet(pc, end);
        return m_sets[static_cast<std::size_t>(index)];
    }

    // How a run from `start` to the end of its frame can begin; `start` is below `end`.
    Guard const& GuardAt(int32_t start, int32_t end) {
        int32_t const index = m_guardOf[start] != Unset ? m_guardOf[start] : MakeGuard(start, end);
        return m_guards[static_cast<std::size_t>(index)];
    }

    // False when a run from `start` to `end` surely fails at `s`: it is empty, or the byte at `s`
    // is not the terminator and its guard excludes it.
    bool Admits(int32_t start, int32_t end, char const* s) {
        if (start >= end) return false;
        if (*s == '\0') return true;
        Guard const& guard = GuardAt(start, end);
        return guard.passes || guard.first.Has(static_cast<unsigned char>(*s));
    }

    // A test that consumes exactly one character: a literal, any character, a set, or a class
    // of single characters.
    bool IsUnitTest(int32_t pc, int32_t end) const {
        unsigned char const op = m_bytes[pc];
        if (op == ':') return pc + 1 < end && IsCharClass(m_bytes[pc + 1]);
        return op == '.' || op == '[' || op == ']' || (op == 'c' && pc + 1 < end);
    }

    // The bytes at which a match of the whole program can begin, at the start of the text and
    // elsewhere, or "any" when it can match the empty text; a plain prefix of every match.
    ByteSet firstAtStart, firstElsewhere;
    bool anyAtStart = false, anyElsewhere = false;
    bool hasCaret = false;
    std::string prefix;
    // The program begins with a repetition of one unit test.
    bool leadingRun = false;
    // Per byte, 1 where the scan for the next attempt stops: firstElsewhere, and the terminator.
    unsigned char scanStop[256] = {};

private:
    // Links the form whose first '|' is at `bar`; see FirstAlternativeEnd.
    __attribute__((noinline)) int32_t Link(int32_t bar, int32_t end) {
        std::vector<int32_t> closers; // the 'e' that ends each alternative linked here
        int32_t formEnd = end;        // when the frame ends first, so does the form
        for (int32_t b = bar;;) {
            int32_t const close = CloseScan(b + 1, end);
            if (close < 0) {
                m_aux[b] = end;
                break;
            }
            m_aux[b] = close;
            closers.push_back(close - 1);
            if (close < end && m_bytes[close] == '|') {
                if (m_aux[close] == Unset) {
                    b = close;
                    continue;
                }
                int32_t const whole = CloseScan(bar, end); // the rest was linked before
                formEnd = whole < 0 ? end : whole;
                break;
            }
            int32_t const last = CloseScan(close, end); // the last alternative closes the form
            formEnd = last < 0 ? end : last;
            break;
        }
        for (int32_t e : closers) m_aux[e] = formEnd;
        for (int32_t p = bar; p < end && m_bytes[p] == '|';) { // all but the first '|' follow another
            p = m_aux[p];
            if (p < end && m_bytes[p] == '|' && m_dispatchOf[p] == Unset) m_dispatchOf[p] = NotFirst;
        }
        return m_aux[bar];
    }

    // The table of DispatchAt: every alternative of the form, with what follows the form, is
    // asked through its guard which bytes it admits. A '|' that follows another gets NotFirst.
    __attribute__((noinline)) int32_t MakeDispatch(int32_t bar, int32_t end) {
        FirstAlternativeEnd(bar, end); // marks the '|' that follow
        if (m_dispatchOf[bar] != Unset) return m_dispatchOf[bar];
        Dispatch table;
        std::fill(std::begin(table.target), std::end(table.target), NoAlternative);
        auto add = [&](int32_t start) {
            if (start >= end) return;
            Guard const& guard = GuardAt(start, end);
            for (unsigned b = 1; b < 256; ++b) {
                if (!guard.passes && !guard.first.Has(static_cast<unsigned char>(b))) continue;
                table.target[b] = table.target[b] == NoAlternative ? start : SeveralAlternatives;
            }
        };
        int32_t p = bar;
        for (; p < end && m_bytes[p] == '|'; p = m_aux[p]) add(p + 1);
        add(p); // the last alternative
        m_dispatches.push_back(table);
        m_dispatchOf[bar] = static_cast<int32_t>(m_dispatches.size() - 1);
        return m_dispatchOf[bar];
    }

    // The set of SetAt, walked by characters as the matcher walks it.
    __attribute__((noinline)) int32_t MakeSet(int32_t pc, int32_t end) {
        ByteSet set;
        int32_t const stop = Next(pc, end);
        for (int32_t q = pc + 2; q < stop; q += m_doubleByte && m_lead.Has(m_bytes[q]) && q + 1 < stop ? 2 : 1) {
            set.Add(m_bytes[q]);
        }
        m_sets.push_back(set);
        m_aux[pc] = static_cast<int32_t>(m_sets.size() - 1);
        return m_aux[pc];
    }

    // The guard of GuardAt.
    __attribute__((noinline)) int32_t MakeGuard(int32_t start, int32_t end) {
        Guard guard;
        First(start, end, true, guard.first, guard.passes);
        int32_t pc = start;
        // Walking on through every 'e' also covers wherever a linked one jumps.
        while (pc < end && (m_bytes[pc] == ')' || m_bytes[pc] == 'e')) ++pc;
        guard.trivial = pc >= end;
        m_guards.push_back(guard);
        m_guardOf[start] = static_cast<int32_t>(m_guards.size() - 1);
        return m_guardOf[start];
    }

    // Behind the 'e' that closes the bracket open at `from` (depth 0), or -1 when the frame ends first.
    int32_t CloseScan(int32_t from, int32_t end) const {
        int depth = 0;
        for (int32_t pc = from; pc < end; pc = Next(pc, end)) {
            unsigned char op = m_bytes[pc];
            if (op == 'e') {
                if (depth == 0) return pc + 1;
                --depth;
            } else if (op == ')' || op == '|') {
                ++depth;
            }
        }
        return -1;
    }

    // The bytes the letter's class may begin with.
    ByteSet ClassFirst(unsigned char letter) const {
        ClassTables const& k = Classes();
        ByteSet set;
        CharClass c;
        if (letter == 'x') return k.hex; // a byte test
        if (ClassOf(letter, c)) {
            set = *c.singles;
        } else if (letter == 'z' || letter == 'n') {
            set = k.digit;
            if (letter == 'n') set.Add('.');
        } else if (letter == 'h') {
            set = k.hex;
        } else {
            return set; // not a class: never matches
        }
        if (letter == 'z' || letter == 'n' || letter == 'h') {
            set.Add('+');
            set.Add('-');
        }
        if (m_doubleByte) set |= m_lead;
        return set;
    }

    // Adds to `out` every byte that a run from `start` to the end of its frame may consume first,
    // and sets `passes` when the run may end without consuming anything. `caretHolds` says whether
    // '^' holds. '$' never holds where something is left to consume. Every jump goes forward, so
    // one sweep over the frame visits each reachable instruction once, and the sweep stops behind
    // the last one marked. The marks of a body's sweep lie inside the body, where the sweep of the
    // enclosing frame marks nothing, so all sweeps share one buffer and clear what they marked.
    void First(int32_t start, int32_t end, bool caretHolds, ByteSet& out, bool& passes) {
        passes = false;
        if (start >= end) return;
        int32_t last = start;
        auto mark = [&](int32_t to) {
            m_reach[static_cast<std::size_t>(to)] = 1;
            last = std::max(last, to);
        };
        auto flow = [&](int32_t to) {
            if (to >= end) {
                passes = true;
            } else {
                mark(to);
            }
        };
        auto enter = [&](int32_t to) {
            if (to < end) mark(to);
        };
        mark(start);
        for (int32_t pc = start; pc <= last; ++pc) {
            if (m_reach[static_cast<std::size_t>(pc)] == 0) continue;
            m_reach[static_cast<std::size_t>(pc)] = 0;
            int32_t const next = Next(pc, end);
            unsigned char const op = m_bytes[pc];
            switch (op) {
            case '^':
                if (caretHolds) flow(pc + 1);
                break;
            case ')':
                flow(pc + 1);
                break;
            case 'e':
                flow(After(pc));
                break;
            case '|':
                enter(pc + 1);
                enter(FirstAlternativeEnd(pc, end));
                break;
            case '?':
                enter(pc + 2);
                enter(next);
                break;
            case '*':
            case '+':
            case '@':
            case '#': {
                bool bodyPasses = false;
                First(pc + 2, next, caretHolds, out, bodyPasses);
                if (op == '*' || op == '@' || bodyPasses) enter(next);
                break;
            }
            case 'c':
                if (pc + 1 < end) out.Add(m_bytes[pc + 1]);
                break;
            case '.':
                out |= ByteSet().Others();
                break;
            case ':':
                if (pc + 1 < end) out |= ClassFirst(m_bytes[pc + 1]);
                break;
            case '[':
                out |= SetAt(pc, end);
                break;
            case ']':
                out |= SetAt(pc, end).Others();
                break;
            default:
                break;
            }
        }
    }

    std::string m_program;
    unsigned char const* m_bytes = nullptr;
    int32_t m_size = 0;
    int m_codePage = Unset;
    bool m_doubleByte = false;
    ByteSet m_lead;
    // Per program byte, by its opcode: '|' the end of its first alternative, 'e' where it goes
    // on, '[' ']' an index into m_sets.
    std::vector<int32_t> m_aux;
    // Per program byte where a run may start: an index into m_guards.
    std::vector<int32_t> m_guardOf;
    // Per '|': an index into m_dispatches, or NotFirst.
    std::vector<int32_t> m_dispatchOf;
    std::vector<Dispatch> m_dispatches;
    static constexpr int32_t NotFirst = -2;
    std::vector<unsigned char> m_reach; // marks of First, all clear between calls
    std::vector<ByteSet> m_sets;
    std::vector<Guard> m_guards;
};

// Results remembered by (instruction, kind, text offset), for one call. Each (instruction, kind)
// that stores something gets an array over the whole text, as long as the arrays together stay
// below a bound; the rest go to an open-addressing table, which past its largest size starts
// again empty: that costs time, never a result. A value is an offset, Failed, or Unknown.
class Memo {
public:
    static constexpr int32_t Failed = -1;

    // Starts remembering for a text of `textLength` bytes and a program of `programSize`.
    void Start(std::size_t textLength, int32_t programSize) {
        m_columns = textLength + 1;
        m_slotOf.assign(static_cast<std::size_t>(programSize) * 2, NoSlot);
        m_started = true;
    }

    bool Find(int32_t pc, int kind, uint32_t offset, int32_t& value) const {
        int32_t const slot = m_slotOf[Index(pc, kind)];
        if (slot >= 0) {
            value = m_dense[static_cast<std::size_t>(slot)][offset];
            return value != Unknown;
        }
        return slot == InTable && Lookup(Key(pc, kind, offset), value);
    }

    void Store(int32_t pc, int kind, uint32_t offset, int32_t value) {
        int32_t& slot = m_slotOf[Index(pc, kind)];
        if (slot == NoSlot) {
            if ((m_dense.size() + 1) * m_columns <= DenseLimit) {
                slot = static_cast<int32_t>(m_dense.size());
                m_dense.emplace_back(m_columns, Unknown);
            } else {
                slot = InTable;
            }
        }
        if (slot >= 0) {
            m_dense[static_cast<std::size_t>(slot)][offset] = value;
        } else {
            Insert(Key(pc, kind, offset), value);
        }
    }

    // Forgets every result; a large memory is given back.
    void Clear() {
        if (!m_started) return;
        std::vector<std::vector<int32_t>>().swap(m_dense);
        std::fill(m_slotOf.begin(), m_slotOf.end(), NoSlot);
        if (m_keys.size() > KeptTable) {
            std::vector<uint64_t>().swap(m_keys);
            std::vector<int32_t>().swap(m_values);
        } else {
            std::fill(m_keys.begin(), m_keys.end(), Empty);
        }
        m_count = 0;
    }

    // Ends the call.
    void Finish() {
        if (!m_started) return;
        Clear();
        m_started = false;
        if (m_slotOf.capacity() > KeptTable) std::vector<int32_t>().swap(m_slotOf);
    }

private:
    static constexpr int32_t Unknown = -2;
    static constexpr int32_t NoSlot = -1;
    static constexpr int32_t InTable = -2;
    static constexpr uint64_t Empty = ~uint64_t(0);
    static constexpr std::size_t DenseLimit = std::size_t(1) << 23; // entries, 32 MiB
    static constexpr std::size_t FirstTable = 1024;
    static constexpr std::size_t KeptTable = std::size_t(1) << 16;
    static constexpr std::size_t LargestTable = std::size_t(1) << 22;

    static std::size_t Index(int32_t pc, int kind) { return static_cast<std::size_t>(pc) * 2 + std::size_t(kind); }
    static uint64_t Key(int32_t pc, int kind, uint32_t offset) { return (uint64_t(Index(pc, kind)) << 32) | offset; }

    // A full mix of the key's bits (the finaliser of splitmix64).
    static std::size_t Hash(uint64_t x) {
        x ^= x >> 30;
        x *= 0xbf58476d1ce4e5b9ull;
        x ^= x >> 27;
        x *= 0x94d049bb133111ebull;
        x ^= x >> 31;
        return static_cast<std::size_t>(x);
    }

    bool Lookup(uint64_t key, int32_t& value) const {
        if (m_count == 0) return false;
        std::size_t const mask = m_keys.size() - 1;
        for (std::size_t i = Hash(key) & mask;; i = (i + 1) & mask) {
            if (m_keys[i] == key) {
                value = m_values[i];
                return true;
            }
            if (m_keys[i] == Empty) return false;
        }
    }

    void Insert(uint64_t key, int32_t value) {
        if ((m_count + 1) * 2 > m_keys.size()) Grow();
        std::size_t const mask = m_keys.size() - 1;
        std::size_t i = Hash(key) & mask;
        while (m_keys[i] != Empty && m_keys[i] != key) i = (i + 1) & mask;
        if (m_keys[i] == Empty) ++m_count;
        m_keys[i] = key;
        m_values[i] = value;
    }

    void Grow() {
        if (m_keys.size() >= LargestTable) {
            std::fill(m_keys.begin(), m_keys.end(), Empty);
            m_count = 0;
            return;
        }
        std::vector<uint64_t> keys;
        std::vector<int32_t> values;
        keys.swap(m_keys);
        values.swap(m_values);
        m_keys.assign(keys.empty() ? FirstTable : keys.size() * 2, Empty);
        m_values.assign(m_keys.size(), 0);
        m_count = 0;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            if (keys[i] != Empty) Insert(keys[i], values[i]);
        }
    }

    bool m_started = false;
    std::size_t m_columns = 0;
    std::vector<int32_t> m_slotOf; // per (instruction, kind): NoSlot, InTable or an index into m_dense
    std::vector<std::vector<int32_t>> m_dense;
    std::vector<uint64_t> m_keys;
    std::vector<int32_t> m_values;
    std::size_t m_count = 0;
};

// Pending work of the interpreter: an instruction waiting for the result of a run it started.
enum class Waiting : unsigned char {
    AltFirst,       // '|': the first alternative with the rest of the frame
    AltRest,        // '|': the other alternatives; aux holds the first result
    OptBody,        // '?': body with the rest of the frame
    OptRest,        // '?': the rest alone, waited for only to remember the result
    RepFirst,       // repetition: the first run of the body
    GreedyForward,  // greedy: the body behind the chain's last iteration
    GreedyBack,     // greedy: the rest of the frame behind the chain's last iteration
    MinimalRest,    // minimal: the rest of the frame behind aux
    MinimalBody,    // minimal: the body at aux
    GreedyRun,      // greedy over one unit test, single-byte text: the rest behind aux; every
                    // byte from s + 1 up to aux ends an iteration
};

struct Task {
    Pos s;          // where the instruction was reached
    Pos aux;        // see Waiting
    int32_t pc;     // the instruction
    int32_t end;    // the end of its frame
    uint32_t base;  // repetitions: where their part of the chain begins
    Waiting kind;
};

// What the interpreter does next: hand `result` to the pending task, or run from `pc`.
enum class Go { Deliver, Execute };

struct Cursor {
    int32_t pc;
    int32_t end;
    Pos s;
    Pos result;
};

// What one thread keeps between calls: analysed programs and the interpreter's vectors, whose
// capacity is reused.
struct Workspace {
    static constexpr std::size_t CachedPrograms = 4;
    static constexpr std::size_t LargestCachedProgram = 4096;

    ProgramInfo programs[CachedPrograms];
    uint64_t lastUse[CachedPrograms] = {};
    uint64_t clock = 0;
    ProgramInfo scratch; // for a program too large to keep
    std::vector<Task> tasks;
    std::vector<Pos> chain;
    Memo memo;

    ProgramInfo& Analysed(char const* program) {
        int const codePage = GetCodePage();
        std::size_t oldest = 0;
        ++clock;
        for (std::size_t i = 0; i < CachedPrograms; ++i) {
            if (programs[i].Is(program, codePage)) {
                lastUse[i] = clock;
                return programs[i];
            }
            if (lastUse[i] < lastUse[oldest]) oldest = i;
        }
        std::size_t const size = std::strlen(program);
        if (size > LargestCachedProgram) {
            scratch.Build(program, size, codePage);
            return scratch;
        }
        programs[oldest].Build(program, size, codePage);
        lastUse[oldest] = clock;
        return programs[oldest];
    }

    void Begin() {
        tasks.clear();
        chain.clear();
        memo.Finish();
    }

    // Gives back what a large call took.
    void End() {
        constexpr std::size_t kept = 1u << 16;
        if (tasks.capacity() > kept) std::vector<Task>().swap(tasks);
        if (chain.capacity() > kept) std::vector<Pos>().swap(chain);
        memo.Finish();
        if (scratch.Size() > 0) scratch.Clear();
    }
};

// The workspace of the calling thread. The pointer is in the static TLS block (one load, no call);
// the workspace is made on the first call and deleted when the thread ends. A call made while
// the thread's own destructors run gets a workspace of its own.
enum class WorkspaceState : unsigned char { None, Alive, Gone };
thread_local Workspace* t_workspace __attribute__((tls_model("initial-exec"))) = nullptr;
thread_local WorkspaceState t_state __attribute__((tls_model("initial-exec"))) = WorkspaceState::None;

struct WorkspaceOwner {
    Workspace* workspace = nullptr;
    ~WorkspaceOwner() {
        t_workspace = nullptr;
        t_state = WorkspaceState::Gone;
        delete workspace;
    }
};

__attribute__((noinline)) Workspace* NewThreadWorkspace() {
    thread_local WorkspaceOwner owner;
    owner.workspace = new Workspace();
    t_workspace = owner.workspace;
    t_state = WorkspaceState::Alive;
    return owner.workspace;
}

// One Match call: runs attempts of one program over one text.
class Engine {
public:
    Engine(ProgramInfo& info, Workspace& ws, Pos text)
        : m_info(info), m_program(info.Bytes()), m_size(info.Size()), m_doubleByte(info.DoubleByte()),
          m_tasks(ws.tasks), m_chain(ws.chain), m_memo(ws.memo), m_text(text) {}

    // The first character position where an attempt succeeds, with the end of its match in `end`.
    Pos FindFirst(Pos& end) {
        Pos const text = m_text;
        if (m_info.anyAtStart || m_info.firstAtStart.Has(Byte(text))) {
            if ((end = Attempt(text)) != nullptr) return text;
        }
        if (m_info.hasCaret) m_memo.Clear(); // results at the start depended on '^'
        if (!m_info.anyElsewhere && m_info.firstElsewhere.Empty()) return nullptr;
        ByteSet const& first = m_info.firstElsewhere;
        bool const any = m_info.anyElsewhere;
        Pos p = Step(text);
        if (m_doubleByte) {
            for (; *p != '\0'; p = Step(p)) {
                if ((any || first.Has(Byte(p))) && (end = AttemptOrSkip(p)) != nullptr) return p;
            }
            return nullptr;
        }
        if (m_info.prefix.size() >= 2) {
            for (; (p = std::strstr(p, m_info.prefix.c_str())) != nullptr; ++p) {
                if ((end = Attempt(p)) != nullptr) return p;
            }
            return nullptr;
        }
        int const only = any ? -1 : first.Single();
        if (only > 0) {
            for (; (p = std::strchr(p, only)) != nullptr; ++p) {
                if ((end = AttemptOrSkip(p)) != nullptr) return p;
            }
            return nullptr;
        }
        unsigned char const* stop = m_info.scanStop;
        for (;; ++p) {
            while (stop[Byte(p)] == 0) ++p;
            if (*p == '\0') return nullptr;
            if ((end = AttemptOrSkip(p)) != nullptr) return p;
        }
    }

private:
    // Work allowed before results are remembered: a base and an allowance per byte scanned.
    static constexpr uint64_t BaseBudget = 4096;
    static constexpr uint64_t BudgetPerByte = 64;

    static unsigned char Byte(Pos p) { return static_cast<unsigned char>(*p); }

    Pos Attempt(Pos origin) {
        m_origin = origin;
        m_limit = BaseBudget + BudgetPerByte * static_cast<uint64_t>(origin - m_text);
        return Run(0, m_size, origin);
    }

    // An attempt at `p`, not at the start of the text. When the program begins with a repetition
    // of a unit test and the attempt fails, every attempt inside the run of iterations from `p`
    // fails too: it would try the rest behind a subset of the same iterations, none of which
    // worked (and whether the attempt began at the start of the text is the same for all). So `p`
    // moves to the run's end, which the caller's step then passes.
    Pos AttemptOrSkip(Pos& p) {
        m_leadingEnd = nullptr;
        Pos const end = Attempt(p);
        if (end == nullptr && m_info.leadingRun) {
            Pos const last = m_leadingEnd != nullptr ? m_leadingEnd : RunEnd(2, m_info.Next(0, m_size), p);
            m_steps += static_cast<uint64_t>(last - p);
            if (last != p) p = m_doubleByte ? PreviousCharacter(p, last) : last - 1;
        }
        return end;
    }

    // The start of the last character of [from, to), walking from `from`.
    Pos PreviousCharacter(Pos from, Pos to) const {
        Pos previous = from;
        for (Pos q = from; q < to; q = Step(q)) previous = q;
        return previous;
    }

    // The next character of the text; `s` is not at the terminator.
    Pos Step(Pos s) const { return m_doubleByte && m_info.IsLead(Byte(s)) && s[1] != '\0' ? s + 2 : s + 1; }

    // The end of the class `letter` at `s`, or null.
    Pos ClassEnd(unsigned char letter, Pos s) const {
        switch (letter) {
        case 'h': return getinteger(s, 3);
        case 'n': return getdouble(s, 1);
        case 'z': return getinteger(s, 1);
        default: break;
        }
        unsigned char const b = Byte(s);
        if (b == 0) return nullptr;
        Pos const next = Step(s);
        if (letter == 'x') return Classes().hex.Has(b) ? next : nullptr;
        CharClass c;
        if (!ClassOf(letter, c)) return nullptr;
        bool const in = next == s + 1 ? c.singles->Has(b) : c.test(mbsnextc(s)) != 0;
        return in ? next : nullptr;
    }

    // The end of the one-character test at `pc` matched at `s`, or null.
    Pos Test(int32_t pc, int32_t end, Pos s) {
        unsigned char const b = Byte(s);
        switch (m_program[pc]) {
        case 'c': return pc + 1 < end && b == m_program[pc + 1] ? Step(s) : nullptr;
        case '.': return b != 0 ? Step(s) : nullptr;
        case '[': return b != 0 && m_info.SetAt(pc, end).Has(b) ? Step(s) : nullptr;
        case ']': return b != 0 && !m_info.SetAt(pc, end).Has(b) ? Step(s) : nullptr;
        case ':': return pc + 1 < end ? ClassEnd(m_program[pc + 1], s) : nullptr;
        default: return nullptr;
        }
    }

    // Remembering. Kind 0 is the run from an instruction, kind 1 a repetition that has matched
    // at least once and stands at the position.
    bool Remembering() {
        if (!m_remember && m_steps > m_limit) {
            m_remember = true;
            m_memo.Start(std::strlen(m_text), m_size);
        }
        return m_remember;
    }
    uint32_t Offset(Pos s) const { return static_cast<uint32_t>(s - m_text); }
    bool Recall(int32_t pc, int kind, Pos s, Pos& result) {
        int32_t value;
        if (!Remembering() || !m_memo.Find(pc, kind, Offset(s), value)) return false;
        result = value == Memo::Failed ? nullptr : m_text + value;
        return true;
    }
    void Remember(int32_t pc, int kind, Pos s, Pos result) {
        if (m_remember) m_memo.Store(pc, kind, Offset(s), result != nullptr ? int32_t(Offset(result)) : Memo::Failed);
    }
    void RememberChain(Task const& t, Pos result) {
        if (!m_remember) return;
        for (std::size_t i = t.base; i < m_chain.size(); ++i) Remember(t.pc, 1, m_chain[i], result);
    }

    // Moves to a new run; a run that starts at the end of its frame fails.
    static Go Enter(Cursor& c, int32_t pc, int32_t end, Pos s) {
        if (pc >= end) {
            c.result = nullptr;
            return Go::Deliver;
        }
        c.pc = pc;
        c.end = end;
        c.s = s;
        return Go::Execute;
    }

    // Gives `result` to the task under `t`, which is done.
    Go Finish(Cursor& c, Pos result) {
        c.result = result;
        m_tasks.pop_back();
        return Go::Deliver;
    }

    // Runs the body of the repetition `t` at `r`; a body of one test is run in place.
    Go EnterBody(Cursor& c, Task const& t, Pos r) {
        int32_t const body = t.pc + 2;
        int32_t const bodyEnd = m_info.Next(t.pc, t.end);
        if (body < bodyEnd && IsTest(m_program[body]) && m_info.Next(body, bodyEnd) == bodyEnd) {
            c.result = Test(body, bodyEnd, r);
            return Go::Deliver;
        }
        return Enter(c, body, bodyEnd, r);
    }

    // Runs the rest of the frame behind the repetition `t` at `r`, unless its guard shows that it
    // fails there.
    Go EnterRest(Cursor& c, Task const& t, Pos r) { return EnterAdmitted(c, m_info.Next(t.pc, t.end), t.end, r); }

    // Whether the other alternatives behind a first one, from `rest`, may succeed at `s`. When
    // they begin with another '|', that one checks its own first alternative when it runs: a
    // guard over all of them would cost a sweep over the whole form at each '|'.
    bool AdmitsOthers(int32_t rest, int32_t end, Pos s) {
        return rest < end && (m_program[rest] == '|' || m_info.Admits(rest, end, s));
    }

    // Moves to a new run unless its guard shows that it fails.
    Go EnterAdmitted(Cursor& c, int32_t pc, int32_t end, Pos s) {
        if (!m_info.Admits(pc, end, s)) {
            c.result = nullptr;
            return Go::Deliver;
        }
        return Enter(c, pc, end, s);
    }

    // The end of the longest run of iterations of the one-test body at `body` from `r`.
    Pos RunEnd(int32_t body, int32_t bodyEnd, Pos r) {
        if (!m_doubleByte) {
            unsigned char const op = m_program[body];
            if (op == '.') return r + std::strlen(r);
            if (op == 'c' && body + 1 < bodyEnd) {
                unsigned char const ch = m_program[body + 1];
                while (Byte(r) == ch) ++r;
                return r;
            }
            if (op == '[') {
                ByteSet const& set = m_info.SetAt(body, bodyEnd);
                while (set.Has(Byte(r))) ++r;
                return r;
            }
            if (op == ']') {
                ByteSet const& set = m_info.SetAt(body, bodyEnd);
                while (*r != '\0' && !set.Has(Byte(r))) ++r;
                return r;
            }
            CharClass cls;
            if (op == ':' && body + 1 < bodyEnd && ClassOf(m_program[body + 1], cls)) {
                while (cls.singles->Has(Byte(r))) ++r;
                return r;
            }
        }
        for (Pos next; (next = Test(body, bodyEnd, r)) != nullptr && next != r; r = next) {
        }
        return r;
    }

    // Greedy over a unit test on single-byte text, begun at `s` by the repetition at `pc`: the
    // highest position from `from` down to the one behind the first iteration at which the rest
    // of the frame may succeed, or null.
    Pos Admitted(int32_t pc, int32_t end, Pos s, Pos from) {
        int32_t const rest = m_info.Next(pc, end);
        if (rest >= end) return nullptr;
        Guard const& guard = m_info.GuardAt(rest, end);
        if (guard.passes || *from == '\0') return from;
        for (Pos p = from; p > s; --p) {
            if (guard.first.Has(Byte(p))) return p;
        }
        return nullptr;
    }

    // Greedy over a unit test on single-byte text, in place of the chain: the rest is tried
    // behind each iteration from `from` down; `t` waits for it.
    Go GreedyRunFrom(Cursor& c, Task& t, Pos from) {
        Pos const at = Admitted(t.pc, t.end, t.s, from);
        if (at == nullptr) return Finish(c, nullptr);
        t.aux = at;
        return Enter(c, m_info.Next(t.pc, t.end), t.end, at);
    }

    // Greedy: `b` ends a further non-empty iteration.
    Go GreedyNext(Cursor& c, Task& t, Pos b) {
        Pos known;
        if (Recall(t.pc, 1, b, known)) return GreedyResult(c, t, known);
        m_chain.push_back(b);
        t.kind = Waiting::GreedyForward;
        return EnterBody(c, t, b);
    }

    // Greedy: the repetition standing above the chain's last iteration gave `v`.
    Go GreedyResult(Cursor& c, Task& t, Pos v) {
        if (v != nullptr) {
            RememberChain(t, v);
            m_chain.resize(t.base);
            return Finish(c, v);
        }
        if (m_chain.size() == t.base) return Finish(c, nullptr);
        t.kind = Waiting::GreedyBack;
        return EnterRest(c, t, m_chain.back());
    }

    // Minimal: an iteration ended at `r`; try the rest behind it.
    Go MinimalAt(Cursor& c, Task& t, Pos r) {
        Pos known;
        if (Recall(t.pc, 1, r, known)) return MinimalResult(c, t, known);
        if (m_remember) m_chain.push_back(r);
        t.aux = r;
        t.kind = Waiting::MinimalRest;
        return EnterRest(c, t, r);
    }

    Go MinimalResult(Cursor& c, Task& t, Pos v) {
        RememberChain(t, v);
        m_chain.resize(t.base);
        return Finish(c, v);
    }

    // Starts the repetition at c.pc.
    Go Repeat(Cursor& c, unsigned char op) {
        int32_t const body = c.pc + 2;
        int32_t const bodyEnd = m_info.Next(c.pc, c.end);
        bool const greedy = op == '*' || op == '+';
        if (greedy && !m_doubleByte && !Remembering() && body < bodyEnd && m_info.IsUnitTest(body, bodyEnd) &&
            m_info.Next(body, bodyEnd) == bodyEnd) {
            Pos const top = RunEnd(body, bodyEnd, c.s);
            m_steps += static_cast<uint64_t>(top - c.s); // work, though not instructions
            if (c.pc == 0) m_leadingEnd = top;
            if (bodyEnd < c.end && m_info.GuardAt(bodyEnd, c.end).trivial) {
                // The rest always succeeds where it starts: behind the last iteration, or with no
                // iteration for '*'.
                if (top == c.s && op == '+') {
                    c.result = nullptr;
                } else {
                    c.result = top;
                }
                return Go::Deliver;
            }
            if (top != c.s) {
                Pos const at = Admitted(c.pc, c.end, c.s, top);
                if (at == nullptr) {
                    c.result = nullptr;
                    return Go::Deliver;
                }
                m_tasks.push_back(Task{c.s, at, c.pc, c.end, 0, Waiting::GreedyRun});
                return Enter(c, bodyEnd, c.end, at);
            }
            if (op == '+') { // no iteration
                c.result = nullptr;
                return Go::Deliver;
            }
            return EnterAdmitted(c, bodyEnd, c.end, c.s);
        }
        m_tasks.push_back(Task{c.s, nullptr, c.pc, c.end, 0, Waiting::RepFirst});
        return EnterBody(c, m_tasks.back(), c.s);
    }

    // Hands the result of a run to the task waiting for it.
    Go Deliver(Cursor& c, Task& t) {
        Pos const result = c.result;
        switch (t.kind) {
        case Waiting::AltFirst:
            if (result != nullptr && *result == '\0') {
                Remember(t.pc, 0, t.s, result);
                return Finish(c, result);
            }
            t.aux = result;
            t.kind = Waiting::AltRest;
            if (!AdmitsOthers(m_info.FirstAlternativeEnd(t.pc, t.end), t.end, t.s)) {
                c.result = nullptr;
                return Go::Deliver;
            }
            return Enter(c, m_info.FirstAlternativeEnd(t.pc, t.end), t.end, t.s);
        case Waiting::AltRest: {
            Pos const first = t.aux;
            Pos const best = first != nullptr && (result == nullptr || result < first) ? first : result;
            Remember(t.pc, 0, t.s, best);
            return Finish(c, best);
        }
        case Waiting::OptBody: {
            if (result != nullptr) {
                Remember(t.pc, 0, t.s, result);
                return Finish(c, result);
            }
            Task const done = t;
            if (m_remember) {
                t.kind = Waiting::OptRest;
            } else {
                m_tasks.pop_back();
            }
            return Enter(c, m_info.Next(done.pc, done.end), done.end, done.s);
        }
        case Waiting::OptRest:
            Remember(t.pc, 0, t.s, result);
            return Finish(c, result);
        case Waiting::RepFirst: {
            unsigned char const op = m_program[t.pc];
            if (result == nullptr) {
                if (op == '+' || op == '#') return Finish(c, nullptr);
                Task const done = t;
                m_tasks.pop_back();
                return EnterRest(c, done, done.s);
            }
            t.base = static_cast<uint32_t>(m_chain.size());
            if (op == '@' || op == '#') return MinimalAt(c, t, result);
            if (result != t.s) return GreedyNext(c, t, result);
            m_chain.push_back(result); // an empty first iteration: the rest goes on right here
            t.kind = Waiting::GreedyBack;
            return EnterRest(c, t, result);
        }
        case Waiting::GreedyForward: {
            Pos const last = m_chain.back();
            if (result != nullptr && result != last) return GreedyNext(c, t, result);
            t.kind = Waiting::GreedyBack;
            return EnterRest(c, t, last);
        }
        case Waiting::GreedyBack:
            Remember(t.pc, 1, m_chain.back(), result);
            m_chain.pop_back();
            return GreedyResult(c, t, result);
        case Waiting::MinimalRest:
            if (result != nullptr) return MinimalResult(c, t, result);
            t.kind = Waiting::MinimalBody;
            return EnterBody(c, t, t.aux);
        case Waiting::MinimalBody:
            if (result == nullptr || result == t.aux) return MinimalResult(c, t, nullptr);
            return MinimalAt(c, t, result);
        case Waiting::GreedyRun:
            if (result != nullptr) return Finish(c, result);
            if (t.aux - 1 < t.s + 1) return Finish(c, nullptr);
            return GreedyRunFrom(c, t, t.aux - 1);
        }
        return Finish(c, nullptr);
    }

    // The result of the run from `pc` to `end` at `s`.
    Pos Run(int32_t pc, int32_t end, Pos s) {
        std::size_t const bottom = m_tasks.size();
        Cursor c{pc, end, s, nullptr};
        if (c.pc >= c.end) return nullptr;
        for (;;) {
            // Execute straight-line instructions until the run ends, fails or must wait.
            Go go = Go::Execute;
            while (go == Go::Execute) {
                ++m_steps;
                if (c.pc >= c.end) {
                    c.result = c.s;
                    break;
                }
                unsigned char const op = m_program[c.pc];
                if (op == 'c' && !m_doubleByte) {
                    if (c.pc + 1 >= c.end || Byte(c.s) != m_program[c.pc + 1]) {
                        c.result = nullptr;
                        break;
                    }
                    ++c.s;
                    c.pc += 2;
                    continue;
                }
                if (IsTest(op)) {
                    Pos const next = Test(c.pc, c.end, c.s);
                    if (next == nullptr) {
                        c.result = nullptr;
                        break;
                    }
                    c.s = next;
                    c.pc = m_info.Next(c.pc, c.end);
                    continue;
                }
                switch (op) {
                case '^':
                    if (m_origin != m_text) go = Go::Deliver;
                    ++c.pc;
                    break;
                case '$':
                    if (*c.s != '\0') go = Go::Deliver;
                    ++c.pc;
                    break;
                case ')':
                    ++c.pc;
                    break;
                case 'e':
                    c.pc = m_info.After(c.pc);
                    break;
                case '|': {
                    if (Recall(c.pc, 0, c.s, c.result)) {
                        go = Go::Deliver;
                        continue;
                    }
                    if (!m_remember && *c.s != '\0') {
                        Dispatch const* dispatch = m_info.DispatchAt(c.pc, c.end);
                        int32_t const target = dispatch != nullptr ? dispatch->target[Byte(c.s)] : SeveralAlternatives;
                        if (target == NoAlternative) {
                            go = Go::Deliver;
                            break;
                        }
                        if (target >= 0) { // the others fail here, so this one gives the result
                            c.pc = target;
                            continue;
                        }
                    }
                    int32_t const rest = m_info.FirstAlternativeEnd(c.pc, c.end);
                    bool const first = m_info.Admits(c.pc + 1, c.end, c.s);
                    bool const others = AdmitsOthers(rest, c.end, c.s);
                    if (!m_remember && !(first && others)) {
                        // One side fails here, so the other gives the result.
                        if (!first && !others) {
                            go = Go::Deliver;
                            break;
                        }
                        c.pc = first ? c.pc + 1 : rest;
                        continue;
                    }
                    m_tasks.push_back(Task{c.s, nullptr, c.pc, c.end, 0, Waiting::AltFirst});
                    if (first) {
                        ++c.pc;
                    } else {
                        c.result = nullptr;
                        go = Go::Deliver;
                    }
                    continue;
                }
                case '?':
                    if (Recall(c.pc, 0, c.s, c.result)) {
                        go = Go::Deliver;
                        continue;
                    }
                    m_tasks.push_back(Task{c.s, nullptr, c.pc, c.end, 0, Waiting::OptBody});
                    go = Enter(c, c.pc + 2, c.end, c.s);
                    continue;
                default:
                    if (IsRepetition(op)) {
                        go = Repeat(c, op);
                        continue;
                    }
                    go = Go::Deliver; // not an instruction
                    break;
                }
                if (go == Go::Deliver) c.result = nullptr;
            }
            // Hand results down until a task starts a new run, or this run is done.
            go = Go::Deliver;
            while (go == Go::Deliver) {
                if (m_tasks.size() == bottom) return c.result;
                ++m_steps;
                go = Deliver(c, m_tasks.back());
            }
        }
    }

    ProgramInfo& m_info;
    unsigned char const* m_program;
    int32_t m_size;
    bool m_doubleByte;
    std::vector<Task>& m_tasks;
    std::vector<Pos>& m_chain;
    Memo& m_memo;
    Pos m_text;
    Pos m_origin = nullptr;
    uint64_t m_steps = 0;
    uint64_t m_limit = 0;
    bool m_remember = false;
    Pos m_leadingEnd = nullptr; // the end of the leading repetition's run in this attempt, when known
};

} // namespace

int MatchProgram(char const* program, char const* text, int* length) {
    if (length != nullptr) *length = 0;
    if (program == nullptr || *program == '\0' || text == nullptr || *text == '\0') return -1;
    Workspace* ws = t_workspace;
    std::unique_ptr<Workspace> late;
    if (ws == nullptr) {
        if (t_state == WorkspaceState::Gone) {
            late.reset(new Workspace());
            ws = late.get();
        } else {
            ws = NewThreadWorkspace();
        }
    }
    ws->Begin();
    ProgramInfo& info = ws->Analysed(program);
    Pos end = nullptr;
    Pos at = nullptr;
    try {
        Engine engine(info, *ws, text);
        at = engine.FindFirst(end);
    } catch (...) {
        info.Clear(); // what it found on the way may be half made
        throw;
    }
    ws->End();
    if (at == nullptr) return -1;
    if (length != nullptr) *length = static_cast<int>(end - at);
    return static_cast<int>(at - text);
}

} // namespace mortar
