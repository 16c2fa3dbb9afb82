// Helpers shared by the file suites: a temporary directory, a record of file events and failed
// checks, and whole-file reads and writes.
#ifndef MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H
#define MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H

#include <mortar/sfm/sfmanagr.h>
#include <mortar/ssm/ssmimpl.h>

#include <cstdio>
#include <cstdlib>
#include <ftw.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace sfmtest {

// A directory of its own under TMPDIR (or /tmp), removed with everything in it at the end.
class TempDir {
public:
    TempDir() {
        char const* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/mortar-sfm-XXXXXX";
        if (!mkdtemp(&pattern[0])) throw std::runtime_error("mkdtemp failed");
        m_Path = pattern;
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    ~TempDir() {
        nftw(m_Path.c_str(), [](char const* path, struct stat const*, int, struct FTW*) { return std::remove(path); },
             16, FTW_DEPTH | FTW_PHYS);
    }
    // The path of `name` inside the directory.
    std::string operator/(std::string const& name) const { return m_Path + "/" + name; }
    std::string const& Path() const { return m_Path; }

private:
    std::string m_Path;
};

inline void WriteFile(std::string const& path, std::string const& bytes) {
    FILE* f = std::fopen(path.c_str(), "wb");
    if (!f) throw std::runtime_error("can't write " + path);
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
}

inline std::string ReadFile(std::string const& path) {
    std::string bytes;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return bytes;
    char buffer[4096];
    std::size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) bytes.append(buffer, n);
    std::fclose(f);
    return bytes;
}

// One file event as a listener saw it.
struct Seen {
    int code;
    std::string file;
    std::string text; // GetText() as composed when the listener ran
};

// An assertion manager and a file manager for the lifetime of the object, with a record of every
// failed check (its source line) and every file event. A test may set `answer` to have the
// listener answer the failure codes.
class Managers {
public:
    Managers() : m_CheckHook(this, &Managers::OnCheck), m_FileHook(this, &Managers::OnFile) {
        m_CheckHook.Connect(&m_Assert.MonitorEvent);
        m_FileHook.Connect(&m_Files.FileEvent);
    }

    SFM& Files() { return m_Files; }
    std::vector<int> checks; // lines of the failed checks
    std::vector<Seen> events;
    SFM::EventCode answer = SFM::EC_None;
    int answersLeft = 0; // how many failures to answer before falling silent

    std::vector<int> Codes() const {
        std::vector<int> codes;
        for (auto const& e : events) codes.push_back(e.code);
        return codes;
    }
    void Reset() {
        checks.clear();
        events.clear();
    }

private:
    int OnCheck(int, int* data) {
        checks.push_back(reinterpret_cast<SSM::AssertData*>(data)->Line);
        return 0;
    }
    int OnFile(int code, SFM_EventData* data) {
        events.push_back({code, data->GetFileName1().GetString(), data->GetText().GetString()});
        if (code > 150 && answersLeft > 0) {
            --answersLeft;
            data->SetResult(answer);
        }
        return 0;
    }

    SSM m_Assert;
    SFM m_Files;
    SCC_ObjectEventHook<Managers, int> m_CheckHook;
    SCC_ObjectEventHook<Managers, SFM_EventData> m_FileHook;
};

} // namespace sfmtest

#endif
