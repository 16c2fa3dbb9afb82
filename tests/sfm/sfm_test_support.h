// Helpers shared by the file suites: a temporary directory, whole-file reads and writes, and a
// record of file events and failed checks.
#ifndef MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H
#define MORTAR_TESTS_SFM_SFM_TEST_SUPPORT_H

#include <mortar/platform/system.h>
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmmsgdb.h>
#include <mortar/ssm/ssmimpl.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace sfmtest {

using Codes = std::vector<int>;

// A directory of its own under TMPDIR (or /tmp), removed with everything in it at the end.
class TempDir {
public:
    TempDir() : m_Path((std::filesystem::temp_directory_path() / "mortar-sfm-XXXXXX").string()) {
        if (!mkdtemp(&m_Path[0])) throw std::runtime_error("mkdtemp failed");
    }
    TempDir(TempDir const&) = delete;
    ~TempDir() { std::filesystem::remove_all(m_Path); }
    std::string operator/(std::string const& name) const { return m_Path + "/" + name; }
    std::string const& Path() const { return m_Path; }

private:
    std::string m_Path;
};

inline void WriteFile(std::string const& path, std::string const& bytes) {
    if (!(std::ofstream(path, std::ios::binary) << bytes)) throw std::runtime_error("can't write " + path);
}
// Empty for a file that does not open.
inline std::string ReadFile(std::string const& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}
// All the bytes, embedded NULs included.
inline std::string S(SYS_StringBase const& s) { return std::string(s.GetString(), std::size_t(s.GetLength())); }

// Raises `code` with the platform's last error set to `error`.
inline SFM::EventCode Raise(SFM& manager, int code, SFM_EventData& data, int error) {
    mortar::SetLastError(static_cast<uint32_t>(error));
    return manager.Event(static_cast<SFM::EventCode>(code), data);
}
// Has the manager close the least recently opened file that allows it, as running out of handles does.
inline void TakeAHandleAway(SFM& manager) {
    SFM_EventData data("elsewhere");
    Raise(manager, SFM::EC_OpenFailed, data, EMFILE);
}

// An assertion manager and a file manager for the lifetime of the object, recording the source
// line of every failed check and every file event (with its text as composed then). The listener
// answers the next `answersLeft` failures with `answer`, and rewords them when `reword` is set.
class Managers {
public:
    Managers() : m_CheckHook(this, &Managers::OnCheck), m_FileHook(this, &Managers::OnFile) {
        m_CheckHook.Connect(&m_Assert.MonitorEvent);
        m_FileHook.Connect(&m_Files.FileEvent);
    }
    SFM& Files() { return m_Files; }
    struct Seen {
        int code;
        std::string text;
    };
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
    void Reset() { checks.clear(), events.clear(); }

private:
    int OnCheck(int, int* data) {
        checks.push_back(reinterpret_cast<SSM::AssertData*>(data)->Line);
        return 0;
    }
    int OnFile(int code, SFM_EventData* data) {
        events.push_back({code, S(data->GetText())});
        if (code > 150 && !reword.empty()) data->SetText(reword.c_str());
        if (code > 150 && answersLeft > 0) --answersLeft, data->SetResult(answer);
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
