#include "sfm/sfm_test_support.h"

#include <type_traits>

namespace {

using namespace sfmtest;
using FileManager = Fixture;
using Names = std::vector<std::string>;

static_assert(!std::is_copy_constructible<SFM>::value && !std::is_copy_assignable<SFM>::value,
              "a manager is not copied");

// Refuses to be closed and notes that it was asked, so that an EMFILE failure walks the whole list.
class ListProbe : public SFM_File {
public:
    ListProbe(char const* name, Names* log) : SFM_File(name), m_Log(log) {}

private:
    int MayBeTempClosed() override { return m_Log->push_back(GetName().GetString()), 0; }
    Names* m_Log;
};

// The list from the front, as the probes report it.
Names ListOrder(SFM& manager, Names& log) {
    log.clear();
    TakeAHandleAway(manager);
    return Names(log.rbegin(), log.rend());
}

TEST_F(FileManager, TheListKeepsItsOrderThroughMovesAndDestruction) {
    Names log;
    ListProbe a("a", &log), b("b", &log), c("c", &log);
    EXPECT_EQ(ListOrder(m.Files(), log), (Names{"c", "b", "a"})) << "built at the front";
    {
        ListProbe d("b", &log), copy(d); // a second file named "b"; copies are not entered
        SFM_EventData first("a"), second("b"), unknown("zz");
        m.Files().Event(SFM::EC_BeforeOpen, first);
        EXPECT_EQ(ListOrder(m.Files(), log), (Names{"a", "b", "c", "b"}));
        m.Files().Event(SFM::EC_BeforeOpen, second); // the one nearer the front moves: d
        m.Files().Event(SFM::EC_BeforeOpen, unknown);
        EXPECT_EQ(ListOrder(m.Files(), log), (Names{"b", "a", "c", "b"}));
    }
    EXPECT_EQ(ListOrder(m.Files(), log), (Names{"a", "c", "b"})) << "d left, the rest kept their order";
    EXPECT_TRUE(m.checks.empty());
}

TEST_F(FileManager, FailureTextsGoToTheFirstFileOfTheName) {
    SFM_File back("f"), other("g"), front("f");
    SFM_EventData data("f"), unknown("nobody", "second"), own("g"), none;
    EXPECT_EQ(Raise(m.Files(), SFM::EC_ReadFailed, data, ENOENT), SFM::EC_None);
    EXPECT_EQ(S(front.GetMsg()) + "|" + S(back.GetMsg()), "No such file or directory\r\n\"f\"|");
    // A number the platform has no text for falls back to the string table; a name no file bears is still told.
    Raise(m.Files(), SFM::EC_WriteFailed, unknown, 100000);
    EXPECT_EQ(S(unknown.GetText()), "Error 100000 occurred (no further info).\r\n\"nobody\"\r\n\"second\"");
    EXPECT_EQ(m.events.size(), 2u);
    // Codes of 150 and below build no text; 151, a client's own failure code, does.
    own.SetText("kept");
    Raise(m.Files(), 150, own, ENOENT);
    EXPECT_EQ(S(own.GetText()) + "|" + S(other.GetMsg()), "kept\r\n\"g\"|");
    Raise(m.Files(), 151, own, ENOENT);
    EXPECT_EQ(S(other.GetMsg()), "No such file or directory\r\n\"g\"");
    none.SetText("alone");
    EXPECT_EQ(S(none.GetText()), "alone") << "no line break without names";

    // Listeners see the built text, and may replace it and answer, once per event.
    m.Reset();
    m.reword = "said otherwise";
    m.answer = SFM::EC_Retry;
    m.answersLeft = 2;
    EXPECT_EQ(Raise(m.Files(), SFM::EC_CloseFailed, data, ENOENT), SFM::EC_Retry);
    EXPECT_EQ(m.events[0].text, "No such file or directory\r\n\"f\"");
    EXPECT_EQ(S(front.GetMsg()), "said otherwise\r\n\"f\"");
    EXPECT_EQ(Raise(m.Files(), SFM::EC_CloseFailed, data, ENOENT), SFM::EC_Retry) << "each event starts unanswered";
    EXPECT_TRUE(m.checks.empty());
    data.SetResult(static_cast<SFM::EventCode>(7));
    EXPECT_EQ(data.GetResult(), 7) << "a second answer is a failed check, stored all the same";
    data.SetResult(SFM::EC_None);
    EXPECT_EQ(m.checks.size(), 1u) << "clearing always passes";
}

TEST_F(FileManager, RunningOutOfHandlesClosesTheOldestFileSilently) {
    std::string const third = dir / "3";
    SFM_File oldest((dir / "1").c_str(), "w+b"), newer((dir / "2").c_str(), "w+b"), closed(third.c_str());
    m.Reset();
    m.answer = static_cast<SFM::EventCode>(9);
    m.answersLeft = 1;
    SFM_EventData data(third.c_str());
    EXPECT_EQ(Raise(m.Files(), SFM::EC_OpenFailed, data, EMFILE), SFM::EC_Retry);
    EXPECT_EQ(S(data.GetText()), "\r\n\"" + third + "\"") << "no text built";
    EXPECT_EQ(newer.GetPosition() + oldest.GetPosition(), 0);
    EXPECT_EQ(m.Codes(), (Codes{SFM::EC_BeforeOpen})) << "no listener asked; only the oldest came back";
    // Each refusal costs one file; with none left the refusal is an ordinary failure, and the listener decides.
    EXPECT_EQ(Raise(m.Files(), SFM::EC_OpenFailed, data, EMFILE), SFM::EC_Retry);
    EXPECT_EQ(Raise(m.Files(), SFM::EC_OpenFailed, data, EMFILE), SFM::EC_Retry);
    EXPECT_EQ(Raise(m.Files(), SFM::EC_OpenFailed, data, EMFILE), 9);
    ASSERT_EQ(m.events.size(), 2u);
    EXPECT_EQ(m.events[1].text, "Too many open files\r\n\"" + third + "\"");
    EXPECT_EQ(S(closed.GetMsg()), m.events[1].text);
}

TEST(FileManagerAlone, OneInstanceOneDatabaseAndValidity) {
    TempDir dir;
    WriteFile(dir / "first.txt", "[S]\n3:three\n");
    WriteFile(dir / "second.txt", "3:two\n");
    EXPECT_EQ(SFM::GetManager(), nullptr);
    {
        Managers m;
        EXPECT_EQ(m.Files().IsValid(), 0) << "no database";
        m.Files().Initiate(nullptr);
        EXPECT_EQ(m.checks.size(), 2u);
        m.Files().Initiate((dir / "first.txt").c_str());
        m.Files().Initiate((dir / "second.txt").c_str());
        EXPECT_EQ(m.Files().IsValid(), 1);
        m.Files().GetMessageDB()->Save((dir / "db.MdB").c_str());
        {
            struct Broken : SFM_File { using SFM_File::SFM_File; int IsValid() override { return 0; } } x("x"), y("y");
            m.Reset();
            EXPECT_EQ(m.Files().IsValid(), 0);
            EXPECT_EQ(m.checks.size(), 2u) << "every invalid file is a failed check";
        }
        SFM second;
        EXPECT_EQ(m.checks.size(), 3u) << "a second manager is a failed check";
        EXPECT_EQ(SFM::GetManager(), &second);
    }
    EXPECT_EQ(SFM::GetManager(), nullptr) << "the destructor clears the instance";
    Managers m;
    EXPECT_TRUE(m.checks.empty()) << "the count went back to 0";
    m.Files().Initiate((dir / "db.MdB").c_str());
    EXPECT_EQ(S(m.Files().GetMessageDB()->getTxt(5)), "three") << "the first database stayed";
    EXPECT_EQ(m.Files().GetMessageDB()->GetSectionBase(""), -1) << "read as the compiled form";
}

} // namespace
