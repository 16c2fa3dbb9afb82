// Running out of file handles for real, in a child process whose limit of open files is lowered
// to 32 and which reports through its exit code.
#include "sfm/sfm_test_support.h"

#include <algorithm>
#include <deque>
#include <numeric>
#include <random>
#include <sys/resource.h>
#include <unistd.h>

namespace {

using namespace sfmtest;

constexpr int kFiles = 128; // four times the limit

struct Stubborn : SFM_File { // never lets the manager close it
    using SFM_File::SFM_File;
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
    // In random order: check the position, read back from a random place, append, and leave the
    // file somewhere else for the next visit.
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
    auto const codes = m.Codes();
    if (std::count(codes.begin(), codes.end(), SFM::EC_OpenFailed)) return 5; // every refusal cured silently
    if (std::count(codes.begin(), codes.end(), SFM::EC_BeforeOpen) < 2 * kFiles || !m.checks.empty()) return 6;
    for (auto& file : files) file.Close();
    for (int i = 0; i < kFiles; ++i)
        if (ReadFile(name("f", i)) != contents[i]) return 7;

    // When no file lets itself be closed, the refusal is an ordinary failure of the open.
    std::deque<Stubborn> stubborn;
    for (int i = 0; i < kFiles && (stubborn.empty() || stubborn.back().IsOpen()); ++i)
        stubborn.emplace_back(name("s", i).c_str(), "w");
    Stubborn& refused = stubborn.back();
    bool const failed = !refused.IsOpen() && stubborn.size() < std::size_t(kFiles) &&
                        m.events.back().code == SFM::EC_OpenFailed &&
                        S(refused.GetMsg()).rfind("Too many open files\r\n", 0) == 0;
    stubborn.front().Close();
    bool const reopened = refused.Open(); // once one file goes, the next open succeeds
    for (auto& file : stubborn) file.Close(); // before destruction: a sanitizer's check of it needs a handle
    return failed ? reopened ? 0 : 9 : 8;
}

TEST(FileExhaustion, ManyMoreFilesThanHandlesKeepEveryByteAndNoRetryIsEndless) {
    TempDir dir;
    auto child = [&dir] {
        rlimit limit{};
        getrlimit(RLIMIT_NOFILE, &limit);
        limit.rlim_cur = 32;
        // _exit: the child runs none of the exit handlers it shares with the parent.
        _exit(setrlimit(RLIMIT_NOFILE, &limit) == 0 ? ManyMoreFilesThanHandles(dir) : 90);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}

} // namespace
