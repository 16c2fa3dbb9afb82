// Helpers shared by the file suites: the file headers, a temporary directory, whole-file reads
// and writes, and a record of file events and failed checks.
#ifndef MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H
#define MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H

#include <mortar/platform/system.h>
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmmsgdb.h>
#include <mortar/ssm/ssmimpl.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace sfmtest {

// A directory of its own under TMPDIR (or /tmp), removed with everything in it at the end.
class TempDir {
public:
    TempDir() {
        char const* base = std::getenv("TMPDIR");
        m_Path = std::string(base && *base ? base : "/tmp") + "/mortar-sfm-XXXXXX";
        if (!mkdtemp(&m_Path[0])) throw std::runtime_error("mkdtemp failed");
    }
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;
    ~TempDir() { std::filesystem::remove_all(m_Path); }
    std::string operator/(std::string const& name) const { return m_Path + "/" + name; }
    std::string const& Path() const { return m_Path; }

private:
    std::string m_Path;
};

inline void WriteFile(std::string const& path, std::string const& bytes) {
    std::ofstream out(path, std::ios::binary);
    if (!(out << bytes)) throw std::runtime_error("can't write " + path);
}

// Empty for a file that does not open.
inline std::string ReadFile(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// All the bytes of a string, embedded NULs included.
inline std::string S(SYS_StringBase const& s) {
    return std::string(s.GetString(), static_cast<std::size_t>(s.GetLength()));
}

// Has the manager close a file for the time being, as running out of handles does: the least
// recently opened file that allows it.
inline void TakeAHandleAway(SFM& manager) {
    SFM_EventData data("elsewhere");
    mortar::SetLastError(EMFILE);
    manager.Event(SFM::EC_OpenFailed, data);
}

struct Seen {
    int code;
    std::string file;
    std::string text; // GetText() as composed when the listener ran
};

// An assertion manager and a file manager for the lifetime of the object, recording the source
// line of every failed check and every file event. The listener answers the next `answersLeft`
// failures with `answer`, and replaces the text of every failure with `reword` when it is set.
class Managers {
public:
    Managers() : m_CheckHook(this, &Managers::OnCheck), m_FileHook(this, &Managers::OnFile) {
        m_CheckHook.Connect(&m_Assert.MonitorEvent);
        m_FileHook.Connect(&m_Files.FileEvent);
    }

    SFM& Files() { return m_Files; }
    std::vector<int> checks;
    std::vector<Seen> events;
    SFM::EventCode answer = SFM::EC_None;
    int answersLeft = 0;
    std::string reword;

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
        if (code > 150 && !reword.empty()) data->SetText(reword.c_str());
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

// The usual setting of a test: a directory of its own and both managers.
class Fixture : public testing::Test {
protected:
    TempDir dir;
    Managers m;
};

} // namespace sfmtest

#endif
