// The matcher behind SYS_StrPattern::Match: runs a compiled pattern program over a text.
//
// The program format and the matching rules are those told in <mortar/sys/SYS_StrPattern.h>.
// The matcher is an interpreter with a stack of its own on the heap, so the machine stack does
// not grow with the text or the program. It remembers results of program pieces at text
// positions once an attempt has done much more work than the text calls for; since every piece
// has exactly one result at one position (given whether the attempt began at the start of the
// text), remembering never changes a result.
#ifndef MORTAR_SRC_SYS_INTERNAL_PATTERNMATCHER_H
#define MORTAR_SRC_SYS_INTERNAL_PATTERNMATCHER_H

namespace mortar {

/// Finds the first character position of `text` at which `program` matches: returns its offset
/// and stores the length in `*length`, or returns -1 and stores 0. A null or empty `program` or
/// `text` gives -1; `length` may be null.
int MatchProgram(char const* program, char const* text, int* length);

} // namespace mortar

#endif
