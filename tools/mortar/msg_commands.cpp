// mortar msg compile TEXTFILE OUT.mdb | show DB KEY | show DB SECTION NUMBER | dump DB
#include "command.h"

#include <mortar/sfm/SFM_FilePath.h>
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmmsgdb.h>
#include <mortar/sys/SYS_Convert.h>

#include <cstdio>
#include <memory>
#include <string>

namespace mortar::tool {

namespace {

char const kHelp[] =
    "usage: mortar msg compile TEXTFILE OUT.mdb\n"
    "       mortar msg show DB KEY\n"
    "       mortar msg show DB SECTION NUMBER\n"
    "       mortar msg dump DB\n\n"
    "Works with message catalogs: numbered texts in named sections. DB is either form, chosen by\n"
    "its extension: \".mdb\" is the compiled form, anything else the text form, whose lines are\n"
    "  [Section]        a section header\n"
    "  NUMBER:text      a message of the section above (a text ending in '$' keeps the\n"
    "                   blanks in front of the '$')\n"
    "  ; comment        skipped, as are empty lines\n\n"
    "  compile  reads TEXTFILE, reports its bad lines, and writes the compiled form to OUT.mdb\n"
    "  show     prints one text: by its KEY, or by SECTION name and message NUMBER\n"
    "  dump     prints every section and message, in the text form\n";

// A catalog opened by the tool; derived to read the section list and the key table, which a
// database keeps for the classes built on it.
class Catalog : public SFM_MessageDB {
public:
    explicit Catalog(std::string const& name) : SFM_MessageDB(SYS_StringBase(name.c_str())) {}
    Catalog(std::string const& name, int text) : SFM_MessageDB(SYS_StringBase(name.c_str()), text) {}

    bool Opened() { return Keys != nullptr && File.IsOpen(); }
    // The file's failure text, its first line (the second names the file).
    std::string Failure() const {
        std::string text = File.GetMsg().GetString();
        return text.substr(0, text.find('\n'));
    }

    // Every message, as text-form lines under their section headers. Messages that belong to no
    // section (those before the first header of a text file) come first, without a header.
    void Dump() {
        SectionTableNode const* shown = nullptr;
        for (auto const& [key, entry] : *Keys) {
            if (key < 0) continue; // a section's own name
            SectionTableNode const* section = SectionOf(key);
            if (section != shown && section != nullptr && !section->Name.IsEmpty())
                std::printf("[%s]\n", section->Name.GetString());
            shown = section;
            int32_t const number = section != nullptr ? key - section->Base - 1 : key;
            SYS_StringBase text = getTxt(key);
            char const last = text.GetLength() > 0 ? text.GetString()[text.GetLength() - 1] : '\0';
            std::printf("%d:%s%s\n", number, text.GetString(), last == ' ' || last == '\t' ? "$" : "");
        }
    }

    bool HasKey(int32_t key) const { return Keys != nullptr && Keys->count(key) > 0; }

private:
    SectionTableNode const* SectionOf(int32_t key) const {
        for (SectionTableNode const* section : Sections)
            if (key > section->Base && key <= section->Base + 1 + section->Size) return section;
        return nullptr;
    }
};

bool IsCompiled(std::string const& name) {
    return SFM_FilePath().GetFileExtension(name.c_str()).CompareNoCase(".mdb") == 0;
}

std::unique_ptr<Catalog> Open(std::string const& name) {
    return IsCompiled(name) ? std::make_unique<Catalog>(name) : std::make_unique<Catalog>(name, 0);
}

bool ReadNumber(std::string const& text, int32_t& value) {
    return !text.empty() && SYS_Convert::Str2Long(text.c_str(), &value) != 0;
}

int Compile(Args const& args) {
    if (args.size() != 3) return Fail("msg", "compile needs TEXTFILE and OUT.mdb (see mortar msg --help)", ExitUsage);
    std::unique_ptr<Catalog> source = std::make_unique<Catalog>(args[1], 0);
    if (!source->Opened()) return Fail("msg", "can't read '" + args[1] + "': " + source->Failure());
    source->Save(SYS_StringBase(args[2].c_str()));
    std::unique_ptr<Catalog> check = std::make_unique<Catalog>(args[2]);
    if (!check->Opened()) return Fail("msg", "can't write '" + args[2] + "'");
    std::printf("compiled %s into %s\n", args[1].c_str(), args[2].c_str());
    return ExitOk;
}

int Show(Args const& args) {
    if (args.size() != 3 && args.size() != 4)
        return Fail("msg", "show needs DB and KEY, or DB, SECTION and NUMBER (see mortar msg --help)", ExitUsage);
    std::unique_ptr<Catalog> db = Open(args[1]);
    if (!db->Opened()) return Fail("msg", "can't read '" + args[1] + "': " + db->Failure());
    if (args.size() == 3) {
        int32_t key = 0;
        if (!ReadNumber(args[2], key)) return Fail("msg", "'" + args[2] + "' is not a key", ExitUsage);
        if (!db->HasKey(key)) return Fail("msg", "'" + args[1] + "' has no message with the key " + args[2]);
        std::printf("%s\n", db->getTxt(key).GetString());
        return ExitOk;
    }
    int32_t number = 0;
    if (!ReadNumber(args[3], number) || number < 0)
        return Fail("msg", "'" + args[3] + "' is not a message number", ExitUsage);
    SFM_MessageDB::SectionIterator it(db.get(), SYS_StringBase(args[2].c_str()), number);
    if (it.IsEmpty() || it.GetPosition() != number)
        return Fail("msg", "'" + args[1] + "' has no message " + args[3] + " in a section '" + args[2] + "'");
    std::printf("%s\n", static_cast<SYS_StringBase>(it).GetString());
    return ExitOk;
}

int Dump(Args const& args) {
    if (args.size() != 2) return Fail("msg", "dump needs DB (see mortar msg --help)", ExitUsage);
    std::unique_ptr<Catalog> db = Open(args[1]);
    if (!db->Opened()) return Fail("msg", "can't read '" + args[1] + "': " + db->Failure());
    db->Dump();
    return ExitOk;
}

} // namespace

int Msg(Args const& args) {
    if (WantsHelp(args)) {
        std::fputs(kHelp, stdout);
        return ExitOk;
    }
    SFM manager; // the file manager that every managed file reports through
    std::string const verb = args.empty() ? "" : args[0];
    if (verb == "compile") return Compile(args);
    if (verb == "show") return Show(args);
    if (verb == "dump") return Dump(args);
    return Fail("msg", verb.empty() ? "needs compile, show or dump (see mortar msg --help)"
                                    : "unknown verb '" + verb + "' (see mortar msg --help)",
                ExitUsage);
}

} // namespace mortar::tool
