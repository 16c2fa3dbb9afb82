#include <mortar/platform/system.h>
#include <mortar/ssm/ssmimpl.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

// What a hook heard: which event, the failure type and the record's message.
struct Heard {
    char event;
    int type;
    std::string message;
    bool operator==(Heard const& o) const { return event == o.event && type == o.type && message == o.message; }
};

// Listens on the three events of a manager. A test sets `onHandler` (and `onMonitor`) to
// steer the reaction; by default the handler leaves the preset action alone.
class Listener {
public:
    explicit Listener(SSM& ssm)
        : m_Handler(this, &Listener::Handler), m_Monitor(this, &Listener::Monitor), m_Report(this, &Listener::Report) {
        m_Handler.Connect(&ssm.HandlerEvent);
        m_Monitor.Connect(&ssm.MonitorEvent);
        m_Report.Connect(&ssm.ReportEvent);
    }

    std::vector<Heard> heard;
    std::vector<int> presetActions;
    std::function<void(SSM::AssertData&)> onHandler;
    std::function<void(SSM::AssertData&)> onMonitor;

private:
    static SSM::AssertData& Record(int* data) { return *reinterpret_cast<SSM::AssertData*>(data); }
    int Handler(int type, int* data) {
        SSM::AssertData& record = Record(data);
        heard.push_back({'H', type, record.Message.GetString()});
        presetActions.push_back(record.Action);
        if (onHandler) onHandler(record);
        return 0;
    }
    int Monitor(int type, int* data) {
        heard.push_back({'M', type, Record(data).Message.GetString()});
        if (onMonitor) onMonitor(Record(data));
        return 0;
    }
    int Report(int type, int* data) {
        heard.push_back({'R', type, Record(data).Message.GetString()});
        return 0;
    }

    SCC_ObjectEventHook<Listener, int> m_Handler, m_Monitor, m_Report;
};

void ExpectIdle(SSM const& ssm) {
    EXPECT_EQ(ssm.Level, -1);
    EXPECT_EQ(ssm.Current, nullptr);
    EXPECT_TRUE(ssm.Saved.empty());
}

TEST(Ssm, WithoutAManagerChecksHaveNoEffect) {
    ASSERT_EQ(SSM::GetManager(), nullptr);
    EXPECT_EQ(SSM_AssertFailed("x", "a.cpp", 1, SSM_FailureThrow, 0), 0);
    SSM_Throw();
    EXPECT_EQ(SSM::GetSilentMode(), 0);
    SSM::SetSilentMode(1);
    EXPECT_EQ(SSM::GetSilentMode(), 0);
    MORTAR_CHECK(false, "no manager");
}

TEST(Ssm, RegistrationAndCounting) {
    int32_t const before = SSM::InstanceCount;
    {
        SSM first;
        EXPECT_EQ(SSM::GetManager(), &first);
        EXPECT_EQ(SSM::InstanceCount, before + 1);
        {
            SSM second;
            EXPECT_EQ(SSM::GetManager(), &second);
            EXPECT_EQ(SSM::InstanceCount, before + 2);
        }
        // Destroying any manager clears the registration, whichever one is registered.
        EXPECT_EQ(SSM::GetManager(), nullptr);
        EXPECT_EQ(SSM::InstanceCount, before + 1);
        {
            SSM copy(first); // neither registers nor counts, but counts down on the way out
            EXPECT_EQ(SSM::InstanceCount, before + 1);
        }
        EXPECT_EQ(SSM::InstanceCount, before);
    }
    EXPECT_EQ(SSM::InstanceCount, before - 1);
    SSM::InstanceCount = before;
}

TEST(Ssm, EmptyMessagesAreReplacedOnlyByTheFreeFunction) {
    SSM ssm;
    Listener hooks(ssm);
    SSM_AssertFailed("", "a.cpp", 10, SSM_FailureContinue, 0);
    SSM_AssertFailed(nullptr, "a.cpp", 11, SSM_FailureContinue, 7);
    ssm.AssertFailed("", "a.cpp", 12, SSM_FailureContinue, 7);
    EXPECT_EQ(ssm.Map["a.cpp(10)"].Message, "Message not available");
    EXPECT_EQ(ssm.Map["a.cpp(11)"].Message, "SSM: Assert ID #7, message not available");
    EXPECT_EQ(ssm.Map["a.cpp(12)"].Message, "");
    EXPECT_EQ(ssm.Map["a.cpp(11)"].Id, 7);
}

TEST(Ssm, FirstReportsByTypeAndAction) {
    SSM ssm;
    Listener hooks(ssm);

    // Type 2 alone: no handler, monitor and report, nothing thrown, result 1.
    EXPECT_EQ(SSM_AssertFailed("t2", "a.cpp", 1, SSM_FailureThrow, 0), 1);
    EXPECT_EQ(hooks.heard, (std::vector<Heard>{{'M', 2, "t2"}, {'R', 2, "t2"}}));
    ExpectIdle(ssm);

    struct Case {
        char const* name;
        SSM_FailureType type;
        int action;
        int result;
    } const cases[] = {
        {"continue", SSM_FailureStop, SSM::ActionContinue, 1},
        {"fail gives 0", SSM_FailureStop, SSM::ActionFail, 0},
        {"throw with nothing in progress", SSM_FailureContinue, SSM::ActionThrow, 1},
    };
    int line = 100;
    for (Case const& c : cases) {
        hooks.heard.clear();
        hooks.presetActions.clear();
        hooks.onHandler = [&](SSM::AssertData& r) { r.Action = c.action; };
        EXPECT_EQ(SSM_AssertFailed(c.name, "a.cpp", ++line, c.type, 0), c.result) << c.name;
        EXPECT_EQ(hooks.presetActions, std::vector<int>{0}) << c.name; // preset 0 in a first report
        EXPECT_EQ(hooks.heard.size(), 3u) << c.name;
        EXPECT_EQ(ssm.Map[SYS_StringBase("a.cpp(") << line << ")"].Action, 0) << c.name;
        SSM_Throw(); // finds nothing to throw
        ExpectIdle(ssm);
    }

    // Fatal throws at any level, and points at the record.
    hooks.onHandler = [](SSM::AssertData& r) { r.Action = SSM::ActionFatal; };
    try {
        SSM_AssertFailed("fatal", "a.cpp", 200, SSM_FailureStop, 0);
        ADD_FAILURE() << "no FatalException";
    } catch (SSM::FatalException const& e) {
        EXPECT_EQ(e.GetData(), &ssm.Map["a.cpp(200)"]);
        EXPECT_EQ(ssm.Fatal, e.GetData());
    }
    ExpectIdle(ssm);
}

TEST(Ssm, NestedReportsPresetFailAndThrowTheOuterRecord) {
    SSM ssm;
    Listener hooks(ssm);
    SSM::AssertData* outer = nullptr;
    int innerResult = -1;
    SSM_FailureType innerType = SSM_FailureStop;
    hooks.onHandler = [&](SSM::AssertData& r) {
        if (r.Message != "outer") return;
        outer = &r;
        EXPECT_EQ(ssm.Level, 0);
        innerResult = SSM_AssertFailed("inner", "b.cpp", 5, innerType, 0);
        if (innerResult == 0) SSM_Throw();
    };

    try {
        SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureStop, 0);
        ADD_FAILURE() << "nothing thrown";
    } catch (SSM::AssertData* thrown) {
        EXPECT_EQ(thrown, outer);
    }
    EXPECT_EQ(innerResult, 0);
    EXPECT_EQ(hooks.presetActions, (std::vector<int>{0, 1})); // nested type 1: preset fail
    ExpectIdle(ssm);

    // Type 0 in the same place carries on.
    innerType = SSM_FailureContinue;
    EXPECT_EQ(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureStop, 0), 1);
    EXPECT_EQ(innerResult, 1);

    // A check (type 2) inside a report ends by throwing the outer record's pointer.
    hooks.onHandler = [&](SSM::AssertData& r) {
        if (r.Message == "outer2") MORTAR_CHECK(1 + 1 == 3, "inner check");
    };
    try {
        SSM_AssertFailed("outer2", "a.cpp", 2, SSM_FailureStop, 0);
        ADD_FAILURE() << "nothing thrown";
    } catch (void* thrown) {
        EXPECT_EQ(thrown, &ssm.Map["a.cpp(2)"]);
    }
    ExpectIdle(ssm);
}

TEST(Ssm, InvalidActionCodeThrowsTheRecordAndLeavesTheManagerIdle) {
    SSM ssm;
    Listener hooks(ssm);
    hooks.onHandler = [](SSM::AssertData& r) { r.Action = 17; };
    try {
        SSM_AssertFailed("bad hook", "a.cpp", 3, SSM_FailureStop, 0);
        ADD_FAILURE() << "nothing thrown";
    } catch (SSM::AssertData* thrown) {
        EXPECT_EQ(thrown, &ssm.Map["a.cpp(3)"]);
        EXPECT_EQ(ssm.InvalidAction, thrown);
        EXPECT_EQ(thrown->Action, 0);
    }
    ExpectIdle(ssm);
    // The manager's own report has a record of its own, and the outer report fired no monitor.
    int monitors = 0;
    for (Heard const& h : hooks.heard) monitors += h.event == 'M' && h.message == "bad hook";
    EXPECT_EQ(monitors, 0);
    bool own = false;
    for (auto const& [key, record] : ssm.Map) own |= record.Message == "Assert handler encountered invalid action code.";
    EXPECT_TRUE(own);
}

TEST(Ssm, ThrowingHookLeavesTheManagerAsBefore) {
    SSM ssm;
    Listener hooks(ssm);
    hooks.onMonitor = [](SSM::AssertData& r) {
        if (r.Message == "deep") throw std::string("hook failed");
        // A nested report whose own hook throws passes through the outer report too.
        if (r.Message == "outer") SSM_AssertFailed("deep", "b.cpp", 9, SSM_FailureContinue, 0);
    };
    EXPECT_THROW(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureContinue, 0), std::string);
    ExpectIdle(ssm);
    EXPECT_EQ(ssm.Map["a.cpp(1)"].Count, 1);
    // The manager reports normally afterwards.
    hooks.onMonitor = nullptr;
    EXPECT_EQ(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureContinue, 0), 1);
    EXPECT_EQ(ssm.Map["a.cpp(1)"].Count, 2);
}

TEST(Ssm, OneRecordPerLocation) {
    SSM ssm;
    Listener hooks(ssm);
    SSM_AssertFailed("first", "x/y.cpp", 42, SSM_FailureContinue, 3);
    SSM_AssertFailed("second", "x/y.cpp", 42, SSM_FailureContinue, 9);
    SSM_AssertFailed("other line", "x/y.cpp", 43, SSM_FailureContinue, 0);
    ASSERT_EQ(ssm.Map.size(), 2u);
    SSM::AssertData const& r = ssm.Map["x/y.cpp(42)"];
    EXPECT_EQ(r.Message, "second");
    EXPECT_EQ(r.Id, 3);
    EXPECT_EQ(r.Count, 2);
    EXPECT_EQ(r.File, "x/y.cpp");
    EXPECT_EQ(r.Line, 42);
    EXPECT_EQ(SSM::AssertData("m", "f.cpp", -1, 0).GetKey(), "f.cpp(4294967295)");
}

TEST(Ssm, ALocationFailingInItsOwnReport) {
    SSM ssm;
    Listener hooks(ssm);
    int depth = 0;
    std::vector<int> results;
    hooks.onMonitor = [&](SSM::AssertData& r) {
        if (r.Message != "again" || depth >= 3) return;
        ++depth;
        results.push_back(SSM_AssertFailed("again", "a.cpp", 1, SSM_FailureContinue, 0));
    };
    EXPECT_EQ(SSM_AssertFailed("again", "a.cpp", 1, SSM_FailureContinue, 0), 1);
    // First report, once more inside it (Current is not yet on Saved), and the third entry is
    // found on Saved: no event, no count.
    EXPECT_EQ(ssm.Map["a.cpp(1)"].Count, 2);
    EXPECT_EQ(depth, 2);
    EXPECT_EQ(results, (std::vector<int>{1, 1}));
    ExpectIdle(ssm);
}

TEST(Ssm, MutingSilenceAndReportFlag) {
    SSM ssm;
    Listener hooks(ssm);
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    SSM::AssertData& r = ssm.Map["a.cpp(1)"];

    hooks.heard.clear();
    r.ReportEnabled = 0;
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    EXPECT_EQ(hooks.heard, (std::vector<Heard>{{'H', 1, "m"}, {'M', 1, "m"}}));

    hooks.heard.clear();
    r.ReportEnabled = 1;
    r.Enabled = 0;
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    EXPECT_EQ(hooks.heard, (std::vector<Heard>{{'M', 1, "m"}}));

    hooks.heard.clear();
    r.Enabled = 1;
    SSM::SetSilentMode(1);
    EXPECT_EQ(SSM::GetSilentMode(), 1);
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    EXPECT_EQ(hooks.heard, (std::vector<Heard>{{'M', 1, "m"}, {'R', 1, "m"}}));
    EXPECT_EQ(r.Count, 4);
}

TEST(Ssm, LastErrorSurvivesAReport) {
    SSM ssm;
    Listener hooks(ssm);
    hooks.onMonitor = [](SSM::AssertData&) { mortar::SetLastError(5); };
    mortar::SetLastError(24);
    SSM_AssertFailed("e", "a.cpp", 1, SSM_FailureContinue, 0);
    EXPECT_EQ(mortar::GetLastError(), 24u);
}

TEST(Ssm, CopyMovesTheListeners) {
    SSM ssm;
    Listener hooks(ssm);
    SSM copy(ssm);
    SSM_AssertFailed("to the copy", "a.cpp", 1, SSM_FailureThrow, 0); // copy is not registered
    EXPECT_TRUE(hooks.heard.empty());
    copy.AssertFailed("direct", "a.cpp", 1, SSM_FailureThrow, 0);
    EXPECT_EQ(hooks.heard.size(), 2u);
}

TEST(SysException, CarriesItsFormattedText) {
    EXPECT_EQ(SYS_Exception("Value %d of %s", 3, "x").GetText(), "Value 3 of x");
    EXPECT_EQ(SYS_Exception(45062, "ignored").GetText(), "");
    SYS_Exception e("a");
    SYS_Exception f = e;
    e = SYS_Exception("b");
    EXPECT_EQ(f.GetText(), "a");
    EXPECT_EQ(e.GetText(), "b");
}

} // namespace
