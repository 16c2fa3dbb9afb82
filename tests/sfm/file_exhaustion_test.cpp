// Running out of file handles for real, in a child process whose limit of open files is lowered
// to 32 and which reports through its exit code.
#include "sfm/sfm_test_support.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace sfmtest;

constexpr int kFiles = 128; // four times the limit

// A file that never lets the manager close it.
class Stubborn : public SFM_File {
public:
    using SFM_File::SFM_File;

private:
    int MayBeTempClosed() override { return 0; }
};

int ManyMoreFilesThanHandles(TempDir const& dir) {
    Managers m;
    auto name = [&dir](char const* prefix, int i) { return dir / (prefix + std::to_string(i)); };
    std::deque<SFM_File> files;
    std::vector<std::string> contents(kFiles);
    std::vector<int32_t> positions(kFiles);
    auto append = [&](int i, int round) {
        std::string const more = "<" + std::to_string(i) + ":" + std::to_string(round) + ">";
        contents[i] += more;
        return files[i].Write(more.data(), static_cast<int32_t>(more.size()));
    };
    for (int i = 0; i < kFiles; ++i) {
        files.emplace_back(name("f", i).c_str(), "w+b");
        if (!append(i, 0)) return 1;
        positions[i] = static_cast<int32_t>(contents[i].size());
    }
    // Visit the files in random order: check the position, read back from a random place, append,
    // and leave the file somewhere else for the next visit.
    std::mt19937 rng(7);
    std::vector<int> order(kFiles);
    std::iota(order.begin(), order.end(), 0);
    for (int round = 1; round <= 6; ++round) {
        std::shuffle(order.begin(), order.end(), rng);
        for (int i : order) {
            SFM_File& file = files[i];
            auto const size = static_cast<int32_t>(contents[i].size());
            auto const from = static_cast<int32_t>(rng() % contents[i].size());
            std::string back(size - from, '\0');
            if (file.GetPosition() != positions[i] || !file.Seek(from, SFM_File::ST_Begin) ||
                file.Read(&back[0], size - from) != size - from || back != contents[i].substr(from))
                return 2;
            file.SeekToEnd();
            if (!append(i, round)) return 3;
            positions[i] = static_cast<int32_t>(rng() % contents[i].size());
            if (!file.Seek(positions[i], SFM_File::ST_Begin) ||
                file.GetLength() != static_cast<int32_t>(contents[i].size()))
                return 4;
        }
    }
    int beforeOpen = 0;
    for (auto const& e : m.events) {
        if (e.code == SFM::EC_OpenFailed) return 5; // the manager cured every refusal itself
        beforeOpen += e.code == SFM::EC_BeforeOpen ? 1 : 0;
    }
    if (beforeOpen < 2 * kFiles || !m.checks.empty()) return 6; // files really came back
    for (auto& file : files) file.Close();
    for (int i = 0; i < kFiles; ++i)
        if (ReadFile(name("f", i)) != contents[i]) return 7;

    // When no file lets itself be closed, the refusal is an ordinary failure of the open.
    std::deque<Stubborn> stubborn;
    struct CloseAll { // before destruction: a sanitizer's check of a destructor call needs a handle
        std::deque<Stubborn>& files;
        ~CloseAll() {
            for (auto& file : files) file.Close();
        }
    } closeAll{stubborn};
    for (int i = 0; i < kFiles && (stubborn.empty() || stubborn.back().IsOpen()); ++i)
        stubborn.emplace_back(name("s", i).c_str(), "w");
    Stubborn& refused = stubborn.back();
    if (refused.IsOpen() || stubborn.size() >= static_cast<std::size_t>(kFiles)) return 8;
    if (m.events.back().code != SFM::EC_OpenFailed) return 9;
    if (S(refused.GetMsg()).rfind("Too many open files\r\n", 0) != 0) return 10;
    stubborn.front().Close();
    return refused.Open() ? 0 : 11; // once one file goes, the next open succeeds
}

TEST(FileExhaustion, ManyMoreFilesThanHandlesKeepEveryByteAndNoRetryIsEndless) {
    TempDir dir;
    std::fflush(nullptr);
    pid_t const pid = fork();
    if (pid == 0) {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 32;
        int const code = setrlimit(RLIMIT_NOFILE, &limit) == 0 ? ManyMoreFilesThanHandles(dir) : 90;
        std::fflush(nullptr);
        _exit(code);
    }
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

} // namespace
