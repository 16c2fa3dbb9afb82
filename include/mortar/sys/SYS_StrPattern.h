// SYS_StrPattern: the library's own small pattern language, compiled once and matched many times.
//
// A pattern text is compiled into a byte program held in `Program`; `operator char const*` shows
// that program, and an empty one means "no pattern" or "invalid pattern". An invalid pattern is
// not reported: it simply matches nothing. The dialect is not that of the usual regular
// expressions, and its results differ from theirs on purpose.
//
// Dialect. An item is an atom with at most one postfix operator:
//   c        a literal character; a lead byte of the current code page takes its trail byte along
//   .        any character              $   the end of the text (consumes nothing)
//   (...)    a group of alternatives    [set]  [^set]  a character set, see below
//   :a :b :c :d :l :u :x   one alphanumeric, space, alphabetic, decimal digit, lower case,
//            upper case, hexadecimal digit character (by the code page's character classes)
//   :h :n :z a whole hexadecimal integer, decimal number without exponent, decimal integer, as
//            getinteger(s, 3), getdouble(s, 1), getinteger(s, 1) scan them: signs anywhere
//   \b \f \n \r \t  the control characters; \xH or \xHH a code (not 0); \ + anything else that
//            character itself. A ':' not followed by one of the class letters is a literal colon.
//   postfix  * zero or more, greedy; + one or more, greedy; @ zero or more, minimal;
//            # one or more, minimal; ? optional
// A sequence may begin with '^', which holds only when the attempt began at the start of the
// text. Sequences are separated by '|'. Inside a set, a '-' first (behind a '^') or last stands
// for itself; any other '-' adds the codes above the character before it up to the one behind it
// (nothing when the end is below the start; double-byte ends must share their lead byte).
// Invalid: an empty sequence ('a||b', 'a|', '()'), '^' anywhere but at the start of a sequence,
// an unmatched '(' ')' '[' ']', two postfix operators in a row, a postfix without an atom, '\x'
// without a hexadecimal digit or with the code 0, a '\' at the very end, an empty set '[]' or
// '[^]', a set or a repeated atom of more than 255 program bytes, and groups nested more than
// 1000 deep (so compiling never exhausts the stack). Under a double-byte code page a '\x' code
// that is a lead byte is invalid outside a set, since a lead byte cannot stand alone there.
//
// Matching rules (they decide every result, so they are stated here in full):
//   - Every program piece yields one result: the end of its match or a failure. There is no
//     backtracking into a piece once it has given its result.
//   - Alternatives: all of them are tried with what follows them, and the one whose whole match
//     reaches farthest wins (the later one on a tie), not the first that fits; one that reaches
//     the end of the text stops the search. So 'cat|category' matches all of "category".
//   - A repeated atom is matched as a program of its own: its result never depends on what
//     follows it. Greedy repetition takes as many iterations as it can and then tries the rest
//     of the pattern behind the last, then the one before, and so on, but never behind zero
//     iterations once one iteration has matched: 'a*a' does not match "a". Minimal repetition
//     tries the rest of the pattern behind the first iteration, then behind each further one;
//     '@' tries zero iterations only when the first iteration fails: 'a@a' does not match "a".
//   - '?' tries the atom followed by the rest of the pattern, and when that fails the rest alone.
//   - A literal compares the first byte of its character, a set the first bytes of its
//     characters, with the first byte of the text's character; a match steps one character.
//   - An iteration that matches the empty text ends the repetition at that position: greedy
//     repetition then goes on with the rest of the pattern there ('(a*)*b' is fine), and minimal
//     repetition fails at that point, having already tried the rest there.
//
// Cost. Matching keeps its own stack on the heap: the machine stack it uses depends neither on
// the length of the text nor on the length of the pattern. When an attempt does much more work
// than the text's length calls for, results of pieces at positions are remembered for the rest
// of the call, so nested repetitions and alternatives cost polynomial, not exponential, time;
// this never changes a result. Remembering takes memory in proportion to the text, bounded at
// about 100 MiB, and gives it back when the call ends.
//
// Code pages. A program is meant to run under the code page it was compiled under; run under
// another one it still ends with some result and never reads outside the text or the program,
// but that result is not specified.
//
// Threads. Match and Substitute leave the object unchanged and keep their working memory per
// thread (with the last few programs they analysed), so several threads may match with one object
// at once; assigning to an object needs it to itself.
#ifndef MORTAR_SYS_SYS_STRPATTERN_H
#define MORTAR_SYS_SYS_STRPATTERN_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

class MORTAR_API SYS_StrPattern {
public:
    /// No pattern: the program is empty and nothing matches.
    SYS_StrPattern();
    /// Compiles `pattern` (a null or empty one gives no pattern).
    SYS_StrPattern(char const* pattern);
    /// Compiles the text of `pattern` up to its first NUL.
    SYS_StrPattern(SYS_StringBase const& pattern);
    /// Copies the program; nothing is compiled.
    SYS_StrPattern(SYS_StrPattern const& other);
    ~SYS_StrPattern();

    /// Compiles `pattern`, replacing the program.
    SYS_StrPattern const& operator=(char const* pattern);
    SYS_StrPattern const& operator=(SYS_StringBase const& pattern);
    /// Copies the program; nothing is compiled.
    SYS_StrPattern const& operator=(SYS_StrPattern const& other);

    /// The compiled program as text: empty when there is no pattern or it was invalid.
    operator char const*() const { return Program.GetString(); }

    /// Finds the first position of `text`, walking it character by character, at which the
    /// pattern matches. Returns its byte offset and stores the length of the match in
    /// `*length`, or returns -1 and stores 0. An empty or null `text`, and an empty program,
    /// give -1 (so 'a*' finds nothing in ""). `length` may be null. The text must be shorter
    /// than 2^31 bytes.
    int Match(char const* text, int* length) const;

    /// Replaces matches in `target` by the text of `replacement` (up to its first NUL, taken
    /// literally), left to right, and returns how many. Each search is a Match on the text
    /// behind the previous replacement, so that text counts as a new text ('^' holds at its
    /// start) and inserted text is never searched. At most `maxCount` replacements are made; a
    /// `maxCount` of 0 or below means no limit, and then after an empty match the search moves
    /// on by one character, so that it ends ("aab" with 'b*' and "x" gives "xaxax"; with a
    /// positive `maxCount` the same place is found again until the count is reached). The text
    /// of `target` is searched up to its first NUL; bytes behind it are kept. `replacement` may
    /// be `target` itself. When nothing matches, `target` is left untouched.
    int Substitute(SYS_StringBase& target, SYS_StringBase const& replacement, int maxCount) const;

private:
    /// The compiler: empties Program, then compiles `pattern` into it, or leaves it empty.
    void MakePattern(char const* pattern);

    SYS_StringBase Program;
};

#endif
