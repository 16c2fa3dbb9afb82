// A slow, plain matcher of pattern programs, to check the library's matcher against.
//
// It follows the matching procedure word for word: it recurses once per instruction that
// branches and once per iteration of a greedy repetition, and it builds a temporary program for
// every repetition body, for every alternative with what follows it, and for every optional
// atom with what follows it. Nothing is remembered, so it takes exponential time on some
// patterns: a budget of steps stops it, and then it gives no answer. Its machine stack grows
// with the text, so it is meant for short texts. It shares no code with the library's matcher
// but the multi-byte operations and the number scanners.
#ifndef MORTAR_TESTS_SUPPORT_PATTERN_REFERENCE_H
#define MORTAR_TESTS_SUPPORT_PATTERN_REFERENCE_H

#include <mortar/platform/mbstring.h>
#include <mortar/sys/SYS_TextScanners.h>

#include <cctype>
#include <cstddef>
#include <string>

namespace mortar::test {

class PatternReference {
public:
    struct Result {
        bool answered = false; // false when the budget ran out
        int position = -1;
        int length = 0;
    };

    explicit PatternReference(long budget = 200000) : m_budget(budget) {}

    // Match of `program` in `text`, as SYS_StrPattern::Match.
    Result Match(std::string const& program, char const* text) {
        Result result;
        m_steps = 0;
        m_text = text;
        result.answered = true;
        if (program.empty() || *text == '\0') return result;
        for (char const* p = text; *p != '\0'; p = mbsinc(p)) {
            m_origin = p;
            char const* end = Run(p, program);
            if (m_steps > m_budget) {
                result.answered = false;
                return result;
            }
            if (end != nullptr) {
                result.position = static_cast<int>(p - text);
                result.length = static_cast<int>(end - p);
                return result;
            }
        }
        return result;
    }

    // Substitute as told: each search is a Match on the text behind the last replacement, and
    // with no limit (a `maxCount` of 0 or below) an empty match moves on by one character.
    // Returns the count, or -1 when the budget ran out.
    int Substitute(std::string const& program, std::string& target, std::string const& replacement, int maxCount) {
        int count = 0;
        std::size_t offset = 0;
        while (maxCount <= 0 || count < maxCount) {
            Result r = Match(program, target.c_str() + offset);
            if (!r.answered) return -1;
            if (r.position < 0) break;
            target.replace(offset + std::size_t(r.position), std::size_t(r.length), replacement);
            offset += std::size_t(r.position) + replacement.size();
            ++count;
            if (r.length == 0 && maxCount <= 0) {
                if (target[offset] == '\0') break;
                offset += std::size_t(mbclen(target.c_str() + offset));
            }
        }
        return count;
    }

private:
    // Length of the instruction at `i` of `prog`, cut at its end (the copy ends in a NUL).
    static std::size_t Length(std::string const& prog, std::size_t i) {
        char const* p = prog.c_str();
        std::size_t n;
        switch (p[i]) {
        case 'c': n = p[i + 1] == '\0' ? 1 : 1 + static_cast<std::size_t>(mbclen(p + i + 1)); break;
        case ':': n = 2; break;
        case '[': case ']': case '*': case '+': case '@': case '#': case '?':
            n = 2 + static_cast<unsigned char>(p[i + 1]);
            break;
        default: n = 1; break;
        }
        return i + n > prog.size() ? prog.size() - i : n;
    }

    // Behind the 'e' closing what is open at `from`: ')' and '|' open, 'e' closes.
    static std::size_t Close(std::string const& prog, std::size_t from) {
        int depth = 0;
        for (std::size_t i = from; i < prog.size(); i += Length(prog, i)) {
            if (prog[i] == 'e') {
                if (depth == 0) return i + 1;
                --depth;
            } else if (prog[i] == ')' || prog[i] == '|') {
                ++depth;
            }
        }
        return prog.size();
    }

    static bool InClass(char letter, char const* s, char const*& next) {
        unsigned c = mbsnextc(s);
        next = *s != '\0' ? mbsinc(s) : nullptr;
        switch (letter) {
        case 'a': return *s != '\0' && ismbcalnum(c);
        case 'b': return *s != '\0' && ismbcspace(c);
        case 'c': return *s != '\0' && ismbcalpha(c);
        case 'd': return *s != '\0' && ismbcdigit(c);
        case 'l': return *s != '\0' && ismbclower(c);
        case 'u': return *s != '\0' && ismbcupper(c);
        case 'x': return *s != '\0' && std::isxdigit(static_cast<unsigned char>(*s));
        case 'h': next = getinteger(s, 3); return next != nullptr;
        case 'n': next = getdouble(s, 1); return next != nullptr;
        case 'z': next = getinteger(s, 1); return next != nullptr;
        default: return false;
        }
    }

    char const* Run(char const* s, std::string const& prog) {
        if (++m_steps > m_budget || prog.empty()) return nullptr;
        std::size_t i = 0;
        while (i < prog.size()) {
            char const op = prog[i];
            std::size_t const next = i + Length(prog, i);
            switch (op) {
            case '^':
                if (m_origin != m_text) return nullptr;
                break;
            case '$':
                if (*s != '\0') return nullptr;
                break;
            case '.':
                if (*s == '\0') return nullptr;
                s = mbsinc(s);
                break;
            case 'c':
                if (prog[i + 1] == '\0' || *s != prog[i + 1]) return nullptr;
                s = mbsinc(s);
                break;
            case ':': {
                char const* after;
                if (!InClass(prog[i + 1], s, after)) return nullptr;
                s = after;
                break;
            }
            case '[':
            case ']': {
                if (*s == '\0') return nullptr;
                bool in = false;
                char const* set = prog.c_str();
                for (std::size_t q = i + 2; q < next; q += static_cast<std::size_t>(mbclen(set + q))) {
                    if (set[q] == *s) in = true;
                }
                if (in != (op == '[')) return nullptr;
                s = mbsinc(s);
                break;
            }
            case ')':
            case 'e':
                break;
            case '|': {
                std::size_t const firstEnd = Close(prog, i + 1);
                std::size_t const formEnd = Close(prog, i);
                std::string const rest = prog.substr(formEnd);
                char const* r1 = Run(s, prog.substr(i + 1, firstEnd - (i + 1)) + rest);
                if (r1 != nullptr && *r1 == '\0') return r1;
                char const* r2 = Run(s, prog.substr(firstEnd));
                return r1 != nullptr && (r2 == nullptr || r2 < r1) ? r1 : r2;
            }
            case '?': {
                char const* r = Run(s, prog.substr(i + 2));
                return r != nullptr ? r : Run(s, prog.substr(next));
            }
            case '*':
            case '+':
            case '@':
            case '#': {
                std::string const body = prog.substr(i + 2, next - (i + 2));
                std::string const rest = prog.substr(next);
                if (op == '*' || op == '+') return Greedy(s, body, rest, op == '+');
                return Minimal(s, body, rest, op == '#');
            }
            default:
                return nullptr;
            }
            i = next;
        }
        return s;
    }

    char const* Greedy(char const* s, std::string const& body, std::string const& rest, bool plus) {
        char const* r = Run(s, body);
        if (r == nullptr) return plus ? nullptr : Run(s, rest);
        if (r != s) {
            char const* x = Greedy(r, body, rest, plus);
            if (x != nullptr) return x;
        }
        return Run(r, rest); // an empty iteration stops the repetition here
    }

    char const* Minimal(char const* s, std::string const& body, std::string const& rest, bool plus) {
        char const* r = Run(s, body);
        if (r == nullptr) return plus ? nullptr : Run(s, rest);
        for (;;) {
            char const* x = Run(r, rest);
            if (x != nullptr) return x;
            char const* b = Run(r, body);
            if (b == nullptr || b == r) return plus ? nullptr : Run(r, rest);
            r = b;
        }
    }

    long m_budget;
    long m_steps = 0;
    char const* m_text = nullptr;
    char const* m_origin = nullptr;
};

} // namespace mortar::test

#endif
