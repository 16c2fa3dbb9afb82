#include <mortar/sys/SYS_StrPattern.h>

#include <mortar/platform/mbstring.h>

#include "internal/PatternMatcher.h"

#include <cstring>
#include <string>
#include <utility>

namespace {

// Deepest nesting of groups that compiles; the compiler recurses once per group level.
constexpr int MaxGroupDepth = 1000;
// Largest repeated atom and largest set: their length is held in one program byte.
constexpr std::size_t MaxOperand = 255;

bool EndsSequence(unsigned char c) {
    return c == '\0' || std::strchr("#)*+?@]^|", c) != nullptr;
}

bool IsPostfix(unsigned char c) {
    return c != '\0' && std::strchr("*+@#?", c) != nullptr;
}

bool IsClassLetter(unsigned char c) {
    return c != '\0' && std::strchr("abcdhlnuxz", c) != nullptr;
}

int HexValue(unsigned char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Recursive descent over the pattern text, one function per rule of the grammar. Each rule
// appends its program to `code` and returns false when the text does not fit it.
class PatternCompiler {
public:
    explicit PatternCompiler(char const* pattern) : m_p(reinterpret_cast<unsigned char const*>(pattern)) {}

    // The program of the whole pattern, or an empty text when it is invalid.
    std::string Compile() {
        std::string code;
        if (!Alternatives(code) || *m_p != '\0') return std::string();
        return code;
    }

private:
    // sequence { '|' sequence }: "A e" for one, "| A e | B e C e" for several.
    bool Alternatives(std::string& code) {
        std::string last;
        if (!Sequence(last)) return false;
        while (*m_p == '|') {
            ++m_p;
            code += '|';
            code += last;
            code += 'e';
            last.clear();
            if (!Sequence(last)) return false;
        }
        code += last;
        code += 'e';
        return true;
    }

    // [ '^' ] item { item }, up to a byte that ends a sequence.
    bool Sequence(std::string& code) {
        if (*m_p == '^') {
            code += '^';
            ++m_p;
        }
        int items = 0;
        for (; !EndsSequence(*m_p); ++items) {
            if (!Item(code)) return false;
        }
        return items > 0;
    }

    // atom [ postfix ]: a repeated atom becomes "op length atom".
    bool Item(std::string& code) {
        std::string atom;
        if (!Atom(atom)) return false;
        if (!IsPostfix(*m_p)) {
            code += atom;
            return true;
        }
        if (atom.size() > MaxOperand) return false;
        code += static_cast<char>(*m_p++);
        code += static_cast<char>(atom.size());
        code += atom;
        return true;
    }

    bool Atom(std::string& code) {
        switch (*m_p) {
        case '$':
        case '.':
            code += static_cast<char>(*m_p++);
            return true;
        case '(':
            return Group(code);
        case '[':
            return Set(code);
        case ':':
            if (IsClassLetter(m_p[1])) {
                code += ':';
                code += static_cast<char>(m_p[1]);
                m_p += 2;
                return true;
            }
            code += "c:";
            ++m_p;
            return true;
        case '\\': {
            bool hex = m_p[1] == 'x';
            std::string character;
            if (!Escape(character)) return false;
            if (hex && mortar::ismbblead(static_cast<unsigned char>(character[0]))) return false;
            code += 'c';
            code += character;
            return true;
        }
        default:
            code += 'c';
            Character(code);
            return true;
        }
    }

    bool Group(std::string& code) {
        if (m_depth == MaxGroupDepth) return false;
        ++m_p;
        ++m_depth;
        code += ')';
        bool ok = Alternatives(code) && *m_p == ')';
        --m_depth;
        if (!ok) return false;
        ++m_p;
        return true;
    }

    // One character of the text, with its trail byte when it has one; the text is not at its end.
    void Character(std::string& out) {
        out += static_cast<char>(*m_p++);
        if (mortar::ismbblead(m_p[-1]) && *m_p != '\0') out += static_cast<char>(*m_p++);
    }

    // The escape at the backslash under m_p, as the bytes of one character.
    bool Escape(std::string& out) {
        static char const controls[] = "b\bf\fn\nr\rt\t";
        unsigned char e = m_p[1];
        if (e == '\0') return false;
        if (e == 'x') {
            int code = HexValue(m_p[2]);
            if (code < 0) return false;
            m_p += 3;
            int low = HexValue(*m_p);
            if (low >= 0) {
                code = code * 16 + low;
                ++m_p;
            }
            if (code == 0) return false;
            out = std::string(1, static_cast<char>(code));
            return true;
        }
        for (char const* c = controls; *c != '\0'; c += 2) {
            if (static_cast<unsigned char>(*c) == e) {
                out = std::string(1, c[1]);
                m_p += 2;
                return true;
            }
        }
        ++m_p;
        out.clear();
        Character(out);
        return true;
    }

    // One member of a set: an escape or a character; the end of the text is invalid.
    bool SetMember(std::string& out) {
        if (*m_p == '\0') return false;
        if (*m_p == '\\') return Escape(out);
        out.clear();
        Character(out);
        return true;
    }

    // '[' [ '^' ] members ']', with ranges expanded into the program.
    bool Set(std::string& code) {
        ++m_p;
        char op = '[';
        if (*m_p == '^') {
            op = ']';
            ++m_p;
        }
        std::string bytes;
        std::string last;
        for (bool first = true; *m_p != ']'; first = false) {
            if (*m_p == '-' && !first && m_p[1] != ']') {
                ++m_p;
                std::string end;
                if (!SetMember(end)) return false;
                AddRange(bytes, last, end);
                last = std::move(end);
            } else {
                if (!SetMember(last)) return false;
                bytes += last;
            }
            if (bytes.size() > MaxOperand) return false;
        }
        ++m_p;
        if (bytes.empty()) return false;
        code += op;
        code += static_cast<char>(bytes.size());
        code += bytes;
        return true;
    }

    // The codes above `from` up to and including `to`. Double-byte ends count only with one
    // lead byte, and then the trail bytes are walked.
    static void AddRange(std::string& bytes, std::string const& from, std::string const& to) {
        if (from.size() == 1 && to.size() == 1) {
            for (unsigned c = static_cast<unsigned char>(from[0]) + 1u; c <= static_cast<unsigned char>(to[0]); ++c) {
                bytes += static_cast<char>(c);
                if (bytes.size() > MaxOperand) return;
            }
        } else if (from.size() == 2 && to.size() == 2 && from[0] == to[0]) {
            for (unsigned t = static_cast<unsigned char>(from[1]) + 1u; t <= static_cast<unsigned char>(to[1]); ++t) {
                bytes += from[0];
                bytes += static_cast<char>(t);
                if (bytes.size() > MaxOperand) return;
            }
        }
    }

    unsigned char const* m_p;
    int m_depth = 0;
};

} // namespace

SYS_StrPattern::SYS_StrPattern() = default;

SYS_StrPattern::SYS_StrPattern(char const* pattern) {
    MakePattern(pattern);
}

SYS_StrPattern::SYS_StrPattern(SYS_StringBase const& pattern) {
    MakePattern(pattern.GetString());
}

SYS_StrPattern::SYS_StrPattern(SYS_StrPattern const& other) : Program(other.Program) {}

SYS_StrPattern::~SYS_StrPattern() = default;

SYS_StrPattern const& SYS_StrPattern::operator=(char const* pattern) {
    MakePattern(pattern);
    return *this;
}

SYS_StrPattern const& SYS_StrPattern::operator=(SYS_StringBase const& pattern) {
    MakePattern(pattern.GetString());
    return *this;
}

SYS_StrPattern const& SYS_StrPattern::operator=(SYS_StrPattern const& other) {
    Program = other.Program;
    return *this;
}

void SYS_StrPattern::MakePattern(char const* pattern) {
    // Compiled aside first: `pattern` may be this object's own program text.
    std::string code = pattern != nullptr && *pattern != '\0' ? PatternCompiler(pattern).Compile() : std::string();
    Program = SYS_StringBase(code.data(), static_cast<int>(code.size()));
}

int SYS_StrPattern::Match(char const* text, int* length) const {
    return mortar::MatchProgram(Program.GetString(), text, length);
}

int SYS_StrPattern::Substitute(SYS_StringBase& target, SYS_StringBase const& replacement, int maxCount) const {
    // Matches are searched in a copy of the original text and the result is built beside it:
    // the text behind a replacement is the same in both, and no byte is moved twice.
    std::string const insert(replacement.GetString());
    std::string const source(target.GetString(), static_cast<std::size_t>(target.GetLength()));
    char const* text = source.c_str();
    bool const unlimited = maxCount <= 0;
    std::string result;
    std::size_t offset = 0;
    int count = 0;
    while (unlimited || count < maxCount) {
        int length = 0;
        int at = Match(text + offset, &length);
        if (at < 0) break;
        result.append(text + offset, static_cast<std::size_t>(at));
        result += insert;
        offset += static_cast<std::size_t>(at) + static_cast<std::size_t>(length);
        ++count;
        if (length == 0 && unlimited) {
            if (text[offset] == '\0') break;
            std::size_t step = static_cast<std::size_t>(mortar::mbclen(text + offset));
            result.append(text + offset, step);
            offset += step;
        }
    }
    if (count == 0) return 0;
    result.append(text + offset, source.size() - offset);
    target = SYS_StringBase(result.data(), static_cast<int>(result.size()));
    return count;
}
