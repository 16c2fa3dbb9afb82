#include "sfm/sfm_test_support.h"

#include <mortar/platform/system.h>
#include <mortar/sfm/sfmanagr.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sfm/sfmmsgdb.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>
#include <type_traits>
#include <vector>

namespace {

using sfmtest::Managers;
using sfmtest::TempDir;

static_assert(!std::is_copy_constructible<SFM>::value && !std::is_copy_assignable<SFM>::value,
              "a manager is not copied");

// A file that shows the manager's list: asked whether it may be closed, it notes its name and
// refuses, so an EMFILE failure walks the whole list from the back.
class ListProbe : public SFM_File {
public:
    ListProbe(char const* name, std::vector<std::string>* log) : SFM_File(name), m_Log(log) {}

private:
    int MayBeTempClosed() override {
        m_Log->push_back(GetName().GetString());
        return 0;
    }
    std::vector<std::string>* m_Log;
};

// The list from the front, as the probes report it.
std::vector<std::string> ListOrder(SFM& manager, std::vector<std::string>& log) {
    log.clear();
    SFM_EventData data("nobody");
    mortar::SetLastError(EMFILE);
    manager.Event(SFM::EC_OpenFailed, data);
    return std::vector<std::string>(log.rbegin(), log.rend());
}

TEST(FileManager, OneInstanceAndTheFlag) {
    EXPECT_EQ(SFM::GetManager(), nullptr);
    {
        Managers m;
        EXPECT_EQ(SFM::GetManager(), &m.Files());
        EXPECT_EQ(m.Files().GetMessageDB(), nullptr);
        {
            SFM second;
            EXPECT_EQ(m.checks.size(), 1u) << "a second manager is a failed check";
            EXPECT_EQ(SFM::GetManager(), &second);
        }
        EXPECT_EQ(SFM::GetManager(), nullptr) << "the destructor clears the instance";
    }
    // The flag is process-wide and needs no manager.
    EXPECT_EQ(SFM::GetThrowMemException(), 1);
    SFM::SetThrowMemException(0);
    EXPECT_EQ(SFM::GetThrowMemException(), 0);
    SFM::SetThrowMemException(1);
    SFM fresh; // no check: the count went back to 0
    EXPECT_EQ(SFM::GetManager(), &fresh);
}

TEST(FileManager, TheListKeepsItsOrderThroughMovesAndDestruction) {
    Managers m;
    std::vector<std::string> log;
    ListProbe a("a", &log), b("b", &log), c("c", &log);
    EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"c", "b", "a"})) << "built at the front";
    {
        ListProbe d("b", &log); // a second file named "b"
        ListProbe copy(d);      // copies are not entered
        EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"b", "c", "b", "a"}));

        SFM_EventData data("a");
        m.Files().Event(SFM::EC_BeforeOpen, data);
        EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"a", "b", "c", "b"}));
        SFM_EventData named("b");
        m.Files().Event(SFM::EC_BeforeOpen, named); // the one nearer the front moves: d
        EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"b", "a", "c", "b"}));
        SFM_EventData unknown("zz");
        m.Files().Event(SFM::EC_BeforeOpen, unknown);
        EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"b", "a", "c", "b"}));
    }
    EXPECT_EQ(ListOrder(m.Files(), log), (std::vector<std::string>{"a", "c", "b"})) << "d left, the rest kept order";
    EXPECT_TRUE(m.checks.empty());
}

TEST(FileManager, FailureTextsGoToTheFirstFileOfTheName) {
    Managers m;
    SFM_File back("f"), other("g"), front("f");
    SFM_EventData data("f");

    mortar::SetLastError(ENOENT);
    EXPECT_EQ(m.Files().Event(SFM::EC_ReadFailed, data), SFM::EC_None);
    std::string const expected = "No such file or directory\r\n\"f\"";
    EXPECT_EQ(data.GetText().GetString(), expected);
    EXPECT_EQ(front.GetMsg().GetString(), expected);
    EXPECT_TRUE(back.GetMsg().IsEmpty());
    EXPECT_TRUE(other.GetMsg().IsEmpty());
    ASSERT_EQ(m.events.size(), 1u);
    EXPECT_EQ(m.events[0].code, SFM::EC_ReadFailed);
    EXPECT_EQ(m.events[0].text, expected) << "the listeners see the built text";

    // A number the platform has no text for falls back to the string table.
    SFM_EventData unknown("nobody", "second");
    mortar::SetLastError(100000);
    m.Files().Event(SFM::EC_WriteFailed, unknown);
    EXPECT_EQ(std::string(unknown.GetText().GetString()),
              "Error 100000 occurred (no further info).\r\n\"nobody\"\r\n\"second\"");
    EXPECT_EQ(m.events.size(), 2u) << "a name that no file bears is still told";

    // Codes of 150 and below build no text; 151 does, and a client's own failure codes too.
    SFM_EventData own("g");
    own.SetText("kept");
    mortar::SetLastError(ENOENT);
    m.Files().Event(static_cast<SFM::EventCode>(150), own);
    EXPECT_EQ(std::string(own.GetText().GetString()), "kept\r\n\"g\"");
    EXPECT_TRUE(other.GetMsg().IsEmpty()) << "no message for a code that is no failure";
    m.Files().Event(static_cast<SFM::EventCode>(151), own);
    EXPECT_EQ(std::string(own.GetText().GetString()), "No such file or directory\r\n\"g\"");
    EXPECT_EQ(other.GetMsg(), own.GetText());
}

TEST(FileManager, ListenersMayRewordAndAnswer) {
    Managers m;
    SFM_File file("f");
    struct Reword : SCC_EventHook<SFM_EventData> {
        int OnNotification(int code, SFM_EventData* data) override {
            if (code > 150) {
                data->SetText("said otherwise");
                data->SetResult(SFM::EC_Retry);
            }
            return 0;
        }
    } reword;
    reword.Connect(&m.Files().FileEvent);
    SFM_EventData data("f");
    EXPECT_EQ(m.Files().Event(SFM::EC_CloseFailed, data), SFM::EC_Retry);
    EXPECT_EQ(std::string(file.GetMsg().GetString()), "said otherwise\r\n\"f\"");
    // The same data again starts from a cleared answer: no check for a second answer.
    EXPECT_EQ(m.Files().Event(SFM::EC_CloseFailed, data), SFM::EC_Retry);
    EXPECT_TRUE(m.checks.empty());
    // A second answer within one event is a failed check, stored all the same; 0 always passes.
    data.SetResult(SFM::EC_None);
    data.SetResult(SFM::EC_Retry);
    data.SetResult(static_cast<SFM::EventCode>(7));
    EXPECT_EQ(m.checks.size(), 1u);
    EXPECT_EQ(data.GetResult(), 7);
    data.SetResult(SFM::EC_None);
    EXPECT_EQ(m.checks.size(), 1u);
}

TEST(FileManager, EventDataComposesItsText) {
    SFM_EventData none(nullptr, nullptr);
    EXPECT_TRUE(none.GetFileName1().IsEmpty());
    EXPECT_TRUE(none.GetFileName2().IsEmpty());
    EXPECT_EQ(none.GetResult(), SFM::EC_None);
    none.SetText("alone");
    EXPECT_EQ(std::string(none.GetText().GetString()), "alone") << "no line break without names";
    SFM_EventData second(nullptr, "b");
    EXPECT_EQ(std::string(second.GetText().GetString()), "\r\n\"b\"");
    SFM_EventData copy(second);
    EXPECT_EQ(copy.GetFileName2(), "b");
}

TEST(FileManager, RunningOutOfHandlesClosesTheOldestFileSilently) {
    TempDir dir;
    Managers m;
    SFM_File oldest((dir / "1").c_str(), "w+b");
    SFM_File newer((dir / "2").c_str(), "w+b");
    SFM_File closed((dir / "3").c_str());
    ASSERT_TRUE(oldest.IsOpen() && newer.IsOpen());
    m.Reset();

    SFM_EventData data((dir / "3").c_str());
    m.answer = static_cast<SFM::EventCode>(9);
    m.answersLeft = 10;
    mortar::SetLastError(EMFILE);
    EXPECT_EQ(m.Files().Event(SFM::EC_OpenFailed, data), SFM::EC_Retry);
    EXPECT_TRUE(m.events.empty()) << "no listener is asked";
    EXPECT_EQ(std::string(data.GetText().GetString()), "\r\n\"" + (dir / "3") + "\"") << "no text built";
    EXPECT_TRUE(closed.GetMsg().IsEmpty());

    // The oldest one went; its next operation brings it back with EC_BeforeOpen only.
    EXPECT_EQ(oldest.IsOpen(), 1);
    EXPECT_EQ(newer.GetPosition(), 0);
    EXPECT_TRUE(m.events.empty()) << "the newer file was not closed";
    EXPECT_EQ(oldest.GetPosition(), 0);
    EXPECT_EQ(m.Codes(), (std::vector<int>{SFM::EC_BeforeOpen}));

    // Each refusal costs one file: newer is now the oldest open one, then oldest again, then none
    // is left and the refusal is an ordinary failure.
    m.Reset();
    mortar::SetLastError(EMFILE);
    EXPECT_EQ(m.Files().Event(SFM::EC_OpenFailed, data), SFM::EC_Retry);
    mortar::SetLastError(EMFILE);
    EXPECT_EQ(m.Files().Event(SFM::EC_OpenFailed, data), SFM::EC_Retry);
    EXPECT_TRUE(m.events.empty());
    mortar::SetLastError(EMFILE);
    EXPECT_EQ(m.Files().Event(SFM::EC_OpenFailed, data), 9) << "the listener decides";
    ASSERT_EQ(m.events.size(), 1u);
    EXPECT_EQ(m.events[0].text, "Too many open files\r\n\"" + (dir / "3") + "\"");
    EXPECT_EQ(std::string(closed.GetMsg().GetString()), m.events[0].text);
}

TEST(FileManager, InitiateOnceAndValidity) {
    TempDir dir;
    sfmtest::WriteFile(dir / "first.txt", "1:one\n");
    sfmtest::WriteFile(dir / "second.txt", "1:two\n");
    Managers m;
    EXPECT_EQ(m.Files().IsValid(), 0) << "no database";
    EXPECT_EQ(m.checks.size(), 1u);

    m.Files().Initiate(nullptr);
    EXPECT_EQ(m.checks.size(), 2u);
    EXPECT_EQ(m.Files().GetMessageDB(), nullptr);

    m.Files().Initiate((dir / "first.txt").c_str());
    SFM_MessageDB* db = m.Files().GetMessageDB();
    ASSERT_NE(db, nullptr);
    EXPECT_EQ(std::string(db->getTxt(1).GetString()), "one");
    m.Files().Initiate((dir / "second.txt").c_str());
    EXPECT_EQ(m.Files().GetMessageDB(), db) << "the first one stays";
    EXPECT_EQ(m.Files().IsValid(), 1);

    struct Broken : SFM_File {
        using SFM_File::SFM_File;
        int IsValid() override { return 0; }
    };
    Broken one("x"), two("y");
    m.Reset();
    EXPECT_EQ(m.Files().IsValid(), 0);
    EXPECT_EQ(m.checks.size(), 2u) << "every invalid file is a failed check";
}

TEST(FileManager, TheExtensionSelectsTheForm) {
    TempDir dir;
    sfmtest::WriteFile(dir / "db.txt", "[S]\n3:three\n");
    {
        Managers m;
        m.Files().Initiate((dir / "db.txt").c_str());
        m.Files().GetMessageDB()->Save((dir / "db.MdB").c_str());
    }
    Managers m;
    m.Files().Initiate((dir / "db.MdB").c_str());
    ASSERT_NE(m.Files().GetMessageDB(), nullptr);
    EXPECT_EQ(std::string(m.Files().GetMessageDB()->getTxt(5).GetString()), "three");
    EXPECT_EQ(m.Files().GetMessageDB()->GetSectionBase(""), -1) << "read as the compiled form";
}

} // namespace
