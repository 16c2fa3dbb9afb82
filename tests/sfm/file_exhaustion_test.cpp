// Running out of file handles for real: each scenario runs in a child process whose limit of open
// files is lowered to 32, and reports through its exit code.
#include "sfm/sfm_test_support.h"

#include <mortar/sfm/sfmfile.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <random>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using sfmtest::Managers;
using sfmtest::ReadFile;
using sfmtest::TempDir;

constexpr rlim_t kLimit = 32;
constexpr int kFiles = 128; // four times the limit

// Runs `scenario` in a child with the lowered limit; its result is the child's exit code, or -1
// when the child did not exit normally.
template <class Scenario>
int InChild(Scenario scenario) {
    std::fflush(nullptr);
    pid_t const pid = fork();
    if (pid == 0) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = kLimit;
        if (setrlimit(RLIMIT_NOFILE, &limit) != 0) _exit(90);
        int const code = scenario();
        std::fflush(nullptr);
        _exit(code);
    }
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

std::string Chunk(int file, int round) {
    return "<" + std::to_string(file) + ":" + std::to_string(round) + ">";
}

TEST(FileExhaustion, ManyMoreFilesThanHandlesKeepEveryByte) {
    TempDir dir;
    int const result = InChild([&dir] {
        Managers m;
        std::deque<SFM_File> files;
        std::vector<std::string> contents(kFiles);
        std::vector<int32_t> positions(kFiles);
        for (int i = 0; i < kFiles; ++i) {
            files.emplace_back((dir / ("f" + std::to_string(i))).c_str(), "w+b");
            if (!files.back().IsOpen()) return 1;
            contents[i] = Chunk(i, 0);
            if (!files.back().Write(contents[i].data(), static_cast<int32_t>(contents[i].size()))) return 2;
            positions[i] = static_cast<int32_t>(contents[i].size());
        }
        // Interleaved: check the position, read back from a random place, append, and leave the
        // file somewhere else for the next visit.
        std::mt19937 rng(7);
        for (int round = 1; round <= 6; ++round) {
            std::vector<int> order(kFiles);
            for (int i = 0; i < kFiles; ++i) order[i] = i;
            std::shuffle(order.begin(), order.end(), rng);
            for (int i : order) {
                SFM_File& file = files[static_cast<std::size_t>(i)];
                if (file.GetPosition() != positions[i]) return 3;
                int32_t const from = static_cast<int32_t>(rng() % contents[i].size());
                if (!file.Seek(from, SFM_File::ST_Begin)) return 4;
                std::string back(contents[i].size() - static_cast<std::size_t>(from), '\0');
                if (file.Read(&back[0], static_cast<int32_t>(back.size())) != static_cast<int32_t>(back.size()))
                    return 5;
                if (back != contents[i].substr(static_cast<std::size_t>(from))) return 6;
                std::string const more = Chunk(i, round);
                file.SeekToEnd();
                if (!file.Write(more.data(), static_cast<int32_t>(more.size()))) return 7;
                contents[i] += more;
                positions[i] = static_cast<int32_t>(rng() % contents[i].size());
                if (!file.Seek(positions[i], SFM_File::ST_Begin)) return 8;
                if (file.GetLength() != static_cast<int32_t>(contents[i].size())) return 9;
            }
        }
        int beforeOpen = 0;
        for (auto const& e : m.events) {
            if (e.code == SFM::EC_OpenFailed) return 10; // the manager cured every refusal itself
            beforeOpen += e.code == SFM::EC_BeforeOpen ? 1 : 0;
        }
        if (beforeOpen < 2 * kFiles) return 11; // files were really closed and brought back
        if (!m.checks.empty()) return 12;
        for (auto& file : files) file.Close();
        for (int i = 0; i < kFiles; ++i)
            if (ReadFile(dir / ("f" + std::to_string(i))) != contents[i]) return 13;
        return 0;
    });
    EXPECT_EQ(result, 0);
}

// A file that never lets the manager close it.
class Stubborn : public SFM_File {
public:
    using SFM_File::SFM_File;

private:
    int MayBeTempClosed() override { return 0; }
};

TEST(FileExhaustion, WhenNoFileCanBeClosedTheOpenFails) {
    TempDir dir;
    int const result = InChild([&dir] {
        Managers m;
        std::deque<Stubborn> files;
        // The files are closed before they are destroyed: a sanitizer's check of a destructor
        // call needs a free handle of its own.
        struct CloseAll {
            std::deque<Stubborn>& files;
            ~CloseAll() {
                for (auto& file : files) file.Close();
            }
        } closeAll{files};
        for (int i = 0; i < kFiles; ++i) {
            files.emplace_back((dir / ("s" + std::to_string(i))).c_str(), "w");
            if (!files.back().IsOpen()) break;
        }
        Stubborn& refused = files.back();
        if (refused.IsOpen() || files.size() >= static_cast<std::size_t>(kFiles)) return 1;
        if (m.events.empty() || m.events.back().code != SFM::EC_OpenFailed) return 2;
        if (std::string(refused.GetMsg().GetString()).rfind("Too many open files\r\n", 0) != 0) return 3;
        // Once one file goes, the next open succeeds.
        files.front().Close();
        if (!refused.Open()) return 4;
        return 0;
    });
    EXPECT_EQ(result, 0);
}

} // namespace
