// Shared by the message database fuzz targets: a file manager, a working directory of the
// process's own, and the round trip that both targets check.
#ifndef MORTAR_FUZZ_MSGDB_SUPPORT_H
#define MORTAR_FUZZ_MSGDB_SUPPORT_H

#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmmsgdb.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <unistd.h>

namespace msgdbfuzz {

// A database whose key table and sections the target can see.
class OpenDB : public SFM_MessageDB {
public:
    using SFM_MessageDB::SFM_MessageDB;

    std::map<int32_t, std::string> Texts() {
        std::map<int32_t, std::string> texts;
        if (Keys)
            for (auto const& entry : *Keys) texts[entry.first] = getTxt(entry.first).GetString();
        return texts;
    }

    // Every section walked through; the walk ends within the section's keys.
    void WalkSections() {
        for (SectionTableNode const* node : Sections) {
            SectionIterator it(this, node->Name, 0);
            for (std::size_t steps = 0; !it.IsEmpty(); ++steps) {
                if (Keys && steps > Keys->size()) std::abort(); // more steps than keys: no end
                SYS_StringBase text = it++;
                (void)text;
            }
        }
    }
};

struct Workspace {
    Workspace() {
        // The text parser reports bad lines on standard output: keep the fuzzer quiet.
        if (!std::freopen("/dev/null", "w", stdout)) std::abort();
        // Memory-backed when the machine has it: every run writes and reads two files.
        char shm[] = "/dev/shm/mortar-fuzz-XXXXXX";
        char tmp[] = "/tmp/mortar-fuzz-XXXXXX";
        char const* made = mkdtemp(shm);
        if (!made) made = mkdtemp(tmp);
        if (!made) std::abort();
        dir = made;
        input = dir + "/input";
        saved = dir + "/saved.mdb";
    }
    ~Workspace() {
        std::remove(input.c_str());
        std::remove(saved.c_str());
        rmdir(dir.c_str());
    }

    void Write(uint8_t const* data, std::size_t size) const {
        FILE* f = std::fopen(input.c_str(), "wb");
        if (!f) std::abort();
        if (size) std::fwrite(data, 1, size, f);
        std::fclose(f);
    }

    SFM manager;
    std::string dir, input, saved;
};

// Walks `db`, saves it, and checks that the compiled file gives the same texts under the same keys.
inline void CheckRoundTrip(Workspace const& ws, OpenDB& db) {
    db.WalkSections();
    auto const texts = db.Texts();
    db.Save(ws.saved.c_str());
    OpenDB back{SYS_StringBase(ws.saved.c_str())};
    back.WalkSections();
    if (back.Texts() != texts) std::abort();
}

} // namespace msgdbfuzz

#endif
