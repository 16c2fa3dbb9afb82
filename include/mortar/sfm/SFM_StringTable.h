// TR: the library's string table, a fixed list of numbered texts compiled into the library.
//
// The table holds the ids 250 to 256 and 45000 to 45117. Most texts are there for the
// applications built on the library; the library itself uses a few (the variant's messages,
// the file manager's fallback text, the unit parser's messages). Texts come back exactly as
// stored, printf directives unformatted: the caller formats them. It has nothing to do with the
// message database (SFM_MessageDB), which reads its texts from files.
#ifndef MORTAR_SFM_SFM_STRINGTABLE_H
#define MORTAR_SFM_SFM_STRINGTABLE_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

/// The entry `id` of the string table, or an empty string for an id that is not in it.
/// A text is at most 1023 bytes long, as a resource read into a 1024-byte buffer would be.
MORTAR_API SYS_StringBase TR(int id);

/// `text` itself, unchanged: no lookup takes place. Marks a text that the caller translates.
MORTAR_API SYS_StringBase TR(char const* text);

#endif
