#include <mortar/platform/system.h>
#include <mortar/ssm/ssmimpl.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

// Listens on the three events of a manager and logs each as event letter, type and message,
// the handler with the preset action too ("H1 text/0"). onHandler steers the reaction (by
// default the preset action stays); onMonitor acts inside the report.
struct Listener {
    struct Ear : SCC_EventNode<int> {
        Listener* owner = nullptr;
        char event = 0;
        int OnNotification(int type, int* data) override {
            SSM::AssertData& r = *reinterpret_cast<SSM::AssertData*>(data);
            std::string const preset = event == 'H' ? "/" + std::to_string(r.Action) : "";
            owner->heard.push_back(event + std::to_string(type) + " " + r.Message.GetString() + preset);
            auto& act = event == 'H' ? owner->onHandler : owner->onMonitor;
            if (event != 'R' && act) act(r);
            return 0;
        }
    } ears[3];
    Log heard;
    std::function<void(SSM::AssertData&)> onHandler, onMonitor;

    explicit Listener(SSM& ssm) {
        SCC_Notifier* events[] = {&ssm.HandlerEvent, &ssm.MonitorEvent, &ssm.ReportEvent};
        for (int i = 0; i < 3; ++i)
            ears[i].owner = this, ears[i].event = "HMR"[i], events[i] -> Add(&ears[i]);
    }
};

// A registered manager with a listener on its events.
struct Manager : testing::Test {
    SSM ssm;
    Listener hooks{ssm};
    // Level, Current and Saved as before any report.
    bool Idle() const { return ssm.Level == -1 && ssm.Current == nullptr && ssm.Saved.empty(); }
};

// What f throws as E; a failure, and E(), when it throws nothing.
template <class E, class F>
E Thrown(F f) {
    try {
        f();
    } catch (E e) {
        return e;
    }
    ADD_FAILURE() << "nothing thrown";
    return E();
}

TEST(Ssm, WithoutAManagerChecksHaveNoEffect) {
    ASSERT_EQ(SSM::GetManager(), nullptr);
    EXPECT_EQ(SSM_AssertFailed("x", "a.cpp", 1, SSM_FailureThrow, 0), 0);
    SSM_Throw();
    SSM::SetSilentMode(1);
    EXPECT_EQ(SSM::GetSilentMode(), 0);
    MORTAR_CHECK(false, "no manager");
}

TEST(Ssm, RegistrationCountingAndCopies) {
    int32_t const before = SSM::InstanceCount;
    {
        SSM first;
        {
            SSM second;
            EXPECT_TRUE(SSM::GetManager() == &second && SSM::InstanceCount == before + 2);
        }
        EXPECT_EQ(SSM::GetManager(), nullptr);
        Listener hooks(first);
        {
            SSM copy(first);
            EXPECT_EQ(SSM::InstanceCount, before + 1) << "a copy does not count up";
            first.AssertFailed("to the original", "a.cpp", 1, SSM_FailureThrow, 0);
            copy.AssertFailed("to the copy", "a.cpp", 1, SSM_FailureThrow, 0);
            EXPECT_EQ(hooks.heard, (Log{"M2 to the copy", "R2 to the copy"}))
                << "the copy took the listeners";
            SSM::Instance = &first;
        }
        EXPECT_TRUE(SSM::InstanceCount == before && SSM::GetManager() == nullptr)
            << "but counts down, and destroying any manager clears the registration";
    }
    SSM::InstanceCount = before;
}

TEST_F(Manager, OneRecordPerLocationAndItsMessage) {
    SSM_AssertFailed("", "a.cpp", 10, SSM_FailureContinue, 0);
    SSM_AssertFailed(nullptr, "a.cpp", 11, SSM_FailureContinue, 7);
    ssm.AssertFailed("", "a.cpp", 12, SSM_FailureContinue, 7);
    SSM_AssertFailed("first", "x/y.cpp", 42, SSM_FailureContinue, 3);
    SSM_AssertFailed("second", "x/y.cpp", 42, SSM_FailureContinue, 9);
    EXPECT_EQ(ssm.Map["a.cpp(10)"].Message, "Message not available");
    EXPECT_EQ(ssm.Map["a.cpp(11)"].Message, "SSM: Assert ID #7, message not available");
    EXPECT_EQ(ssm.Map["a.cpp(12)"].Message, "") << "only the free function fills in a message";
    SSM::AssertData const& r = ssm.Map["x/y.cpp(42)"];
    EXPECT_EQ(ssm.Map.size(), 4u);
    EXPECT_TRUE(r.Message == "second" && r.Id == 3 && r.Count == 2) << "the latest message, the first id";
    EXPECT_EQ(SSM::AssertData("m", "f.cpp", -1, 0).GetKey(), "f.cpp(4294967295)");
}

TEST_F(Manager, FirstReportsByTypeAndAction) {
    EXPECT_EQ(SSM_AssertFailed("t2", "a.cpp", 1, SSM_FailureThrow, 0), 1) << "nothing in progress to throw";
    EXPECT_EQ(hooks.heard, (Log{"M2 t2", "R2 t2"})) << "type 2 is not offered to the handler";
    // clang-format off
    struct { SSM_FailureType type; int action, result; } const cases[] = {
        {SSM_FailureStop, SSM::ActionContinue, 1}, {SSM_FailureStop, SSM::ActionFail, 0},
        {SSM_FailureContinue, SSM::ActionThrow, 1}};
    // clang-format on
    for (int line = 0; line < 3; ++line) {
        hooks.heard.clear();
        hooks.onHandler = [&](SSM::AssertData& r) { r.Action = cases[line].action; };
        EXPECT_EQ(SSM_AssertFailed("c", "b.cpp", line, cases[line].type, 0), cases[line].result) << line;
        EXPECT_TRUE(hooks.heard.size() == 3 && hooks.heard[0].back() == '0') << "preset 0 in a first report";
        EXPECT_EQ(ssm.Map[SYS_StringBase("b.cpp(") << line << ")"].Action, 0);
        SSM_Throw();
        EXPECT_TRUE(Idle());
    }
    hooks.onHandler = [](SSM::AssertData& r) { r.Action = SSM::ActionFatal; };
    auto fatal =
        Thrown<SSM::FatalException>([] { SSM_AssertFailed("fatal", "a.cpp", 200, SSM_FailureStop, 0); });
    EXPECT_TRUE(fatal.GetData() == &ssm.Map["a.cpp(200)"] && ssm.Fatal == fatal.GetData());
    EXPECT_TRUE(Idle());
}

TEST_F(Manager, NestedReportsPresetFailAndThrowTheOuterRecord) {
    SSM_FailureType innerType = SSM_FailureStop;
    hooks.onHandler = [&](SSM::AssertData& r) {
        EXPECT_EQ(ssm.Level, r.Message == "outer" ? 0 : 1);
        if (r.Message == "outer" && SSM_AssertFailed("inner", "b.cpp", 5, innerType, 0) == 0) SSM_Throw();
    };
    EXPECT_EQ(Thrown<SSM::AssertData*>([] { SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureStop, 0); }),
              &ssm.Map["a.cpp(1)"]);
    EXPECT_EQ(hooks.heard, (Log{"H1 outer/0", "H1 inner/1", "M1 inner", "R1 inner"}))
        << "a nested type 1 is preset to fail";
    EXPECT_TRUE(Idle());
    innerType = SSM_FailureContinue;
    EXPECT_EQ(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureStop, 0), 1) << "a nested type 0 carries on";

    // A check failing inside a hook's report ends by throwing the outer record's pointer.
    hooks.onHandler = [&](SSM::AssertData& r) {
        if (r.Message == "outer2") MORTAR_CHECK(1 + 1 == 3, "inner check");
    };
    EXPECT_EQ(Thrown<void*>([] { SSM_AssertFailed("outer2", "a.cpp", 2, SSM_FailureStop, 0); }),
              &ssm.Map["a.cpp(2)"]);
    EXPECT_TRUE(Idle());
}

TEST_F(Manager, InvalidActionCodeThrowsTheRecordAndLeavesTheManagerIdle) {
    hooks.onHandler = [](SSM::AssertData& r) { r.Action = 17; };
    auto* thrown =
        Thrown<SSM::AssertData*>([] { SSM_AssertFailed("bad hook", "a.cpp", 3, SSM_FailureStop, 0); });
    EXPECT_TRUE(thrown == &ssm.Map["a.cpp(3)"] && ssm.InvalidAction == thrown && thrown->Action == 0);
    EXPECT_TRUE(Idle());
    EXPECT_EQ(hooks.heard, (Log{"H1 bad hook/0", "M2 Assert handler encountered invalid action code.",
                                "R2 Assert handler encountered invalid action code."}))
        << "the manager's own report, and no monitor for the outer one";
}

TEST_F(Manager, ThrowingHookLeavesTheManagerAsBefore) {
    hooks.onMonitor = [](SSM::AssertData& r) {
        if (r.Message == "deep") throw std::string("hook failed");
        // A nested report whose own hook throws passes through the outer report too.
        if (r.Message == "outer") SSM_AssertFailed("deep", "b.cpp", 9, SSM_FailureContinue, 0);
    };
    EXPECT_THROW(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureContinue, 0), std::string);
    EXPECT_TRUE(Idle());
    hooks.onMonitor = nullptr;
    EXPECT_EQ(SSM_AssertFailed("outer", "a.cpp", 1, SSM_FailureContinue, 0), 1);
    EXPECT_EQ(ssm.Map["a.cpp(1)"].Count, 2);
}

TEST_F(Manager, ALocationFailingInItsOwnReportIsNotReportedAgain) {
    int depth = 0;
    std::vector<int> results;
    hooks.onMonitor = [&](SSM::AssertData&) {
        if (depth++ < 3) results.push_back(SSM_AssertFailed("again", "a.cpp", 1, SSM_FailureContinue, 0));
    };
    EXPECT_EQ(SSM_AssertFailed("again", "a.cpp", 1, SSM_FailureContinue, 0), 1);
    // The first report, once more inside it (Current is not yet on Saved); the third entry is
    // found on Saved: no event, no count.
    EXPECT_EQ(ssm.Map["a.cpp(1)"].Count, 2);
    EXPECT_EQ(results, (std::vector<int>{1, 1}));
    EXPECT_TRUE(Idle());
}

TEST_F(Manager, MutingSilenceAndLastError) {
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    SSM::AssertData& r = ssm.Map["a.cpp(1)"];
    hooks.heard.clear();
    r.ReportEnabled = 0;
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    r.ReportEnabled = 1, r.Enabled = 0;
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    r.Enabled = 1;
    SSM::SetSilentMode(1);
    hooks.onMonitor = [](SSM::AssertData&) { mortar::SetLastError(5); };
    mortar::SetLastError(24);
    SSM_AssertFailed("m", "a.cpp", 1, SSM_FailureStop, 0);
    EXPECT_EQ(mortar::GetLastError(), 24u) << "a report keeps the last error";
    EXPECT_EQ(hooks.heard, (Log{"H1 m/0", "M1 m", "M1 m", "M1 m", "R1 m"}));
    EXPECT_EQ(r.Count, 4);
}

TEST(SysException, CarriesItsFormattedText) {
    EXPECT_EQ(SYS_Exception("Value %d of %s", 3, "x").GetText(), "Value 3 of x");
    EXPECT_EQ(SYS_Exception(45062, "ignored").GetText(), "");
}

} // namespace
