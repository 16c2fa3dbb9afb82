// The assertion manager: where every internal check of the library ends.
//
// A check that fails calls SSM_AssertFailed with its message, the source path and line of the
// call site, a failure type and an id. What happens next is the application's choice: it
// constructs one SSM (the library constructs none) and connects hooks to its three events.
// Without a manager a check has no effect at all. The library opens no dialog and writes no
// log of its own.
//
// One record (SSM::AssertData) is kept per failing source location, keyed by "path(line)", so
// that a location can be counted, muted (Enabled, ReportEnabled) or given a fixed reaction by a
// hook. Records live as long as the manager and keep their addresses: hooks and exceptions hold
// them by pointer.
//
// A report (SSM::AssertFailed) fires, in this order:
//   HandlerEvent  offered unless the type is SSM_FailureThrow, the manager is silent or the
//                 location is muted; a hook decides the reaction by writing Action (see
//                 SSM::ActionCode). Action is preset to 1 (fail) in a nested report of a type
//                 other than SSM_FailureContinue, else to 0 (continue).
//   MonitorEvent  always.
//   ReportEvent   when the record's Enabled and ReportEnabled are both set.
// Each event is fired as Notify(type, data), where data is the record's address cast to int*:
//     int OnReport(int type, int* data) { auto* record = reinterpret_cast<SSM::AssertData*>(data); ... }
//
// Reports nest when a hook's own code fails a check: the inner report sees Level above 0 and
// Current set to the outer record. A location that fails again while its report is still on
// the Saved stack is not reported again (no count, no event, result 1).
//
// Throwing. Throw() throws an SSM::FatalException when a hook chose ActionFatal, otherwise the
// SSM::AssertData* of the report in progress (Current), which is catchable as SSM::AssertData*
// and as void*; with neither it returns. A report of type SSM_FailureThrow, or one whose hook
// chose ActionThrow, calls Throw after it has ended, so in a first report nothing is in progress
// and nothing is thrown, while inside another report the outer record's pointer is thrown.
//
// Exceptions. A report that is left by an exception (a hook that throws, or the throw that a
// hook's invalid action code provokes) puts Level, Current and Saved back as they were before
// the report began, and leaves its record's Action at 0, so that the manager is idle and sound
// again when the exception has passed. Nothing here catches an exception.
//
// The manager is used from one thread at a time; nothing is locked.
#ifndef MORTAR_SSM_SSMIMPL_H
#define MORTAR_SSM_SSMIMPL_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/sys/SYS_Exception.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <map>
#include <vector>

/// The failure type passed with every failure. Any value other than 0 and 2 acts like 1.
enum SSM_FailureType {
    SSM_FailureContinue = 0, ///< handler offered; its action is preset to 0 at every level
    SSM_FailureStop = 1,     ///< handler offered; action preset to 1 (fail) in a nested report
    SSM_FailureThrow = 2,    ///< handler not offered; the throw step is always taken
};

class MORTAR_API SSM {
public:
    /// The record of one failing source location.
    class MORTAR_API AssertData {
    public:
        SYS_StringBase File;    ///< the source path given by the call site
        SYS_StringBase Message; ///< the message of the latest failure here; overwritten by each report
        SYS_StringBase Note;    ///< free text for hooks; the manager neither reads nor writes it
        int32_t Line;           ///< the source line given by the call site
        int32_t Count;          ///< reports this location has had
        int32_t Enabled;        ///< when 0, neither the handler nor the report event fires here
        int32_t ReportEnabled;  ///< when 0, the report event does not fire here
        int32_t Action;         ///< the action code of the report in progress, 0 otherwise
        int32_t Id;             ///< the id passed by the first failure at this location

        /// Empty strings, Line 0, Count 0, both flags 1, Action 0, Id 0.
        AssertData();
        /// Stores the four values; Count 0, both flags 1, Action 0. Null texts become empty.
        AssertData(char const* message, char const* source, int line, int id);

        /// The key of the location: the path followed by the line in parentheses, "path(12)".
        /// Message and id are not part of it. The line is written as an unsigned 32-bit number.
        SYS_StringBase GetKey() const;
    };

    /// All records, ordered by key (SYS_StringBase's operator<).
    class MORTAR_API AssertMap : public std::map<SYS_StringBase, AssertData> {
    public:
        AssertMap() = default;
        AssertMap(AssertMap const&) = default;
        AssertMap& operator=(AssertMap const&) = default;
        ~AssertMap() = default;
    };

    /// Thrown by value when a hook chose ActionFatal; holds the record that caused it.
    class MORTAR_API FatalException {
    public:
        explicit FatalException(AssertData* data = nullptr) : Data(data) {}
        AssertData* GetData() const { return Data; }
        AssertData* Data;
    };

    /// Action codes, written into AssertData::Action by a hook of HandlerEvent.
    enum ActionCode {
        ActionContinue = 0, ///< the report ends normally, result 1
        ActionFail = 1,     ///< result 0: the call site goes on to SSM_Throw
        ActionThrow = 2,    ///< the throw step is taken
        ActionFatal = 3,    ///< Fatal is set to this record and the throw step is taken
    };

    int32_t Level;                   ///< nesting of reports: -1 idle, 0 in a first report
    SCC_Notifier HandlerEvent;       ///< first event: a hook may decide the reaction
    SCC_Notifier MonitorEvent;       ///< second event: always fires
    SCC_Notifier ReportEvent;        ///< third event: fires when both flags of the record are set
    AssertData* InvalidAction;       ///< the record whose handler left an invalid action code
    AssertData* Current;             ///< the record of the report in progress; null when idle
    AssertData* Fatal;               ///< set by ActionFatal; cleared at the start of each report
    AssertMap Map;                   ///< all records
    std::vector<AssertData*> Saved;  ///< Current as saved by each report in progress
    int32_t Silent;                  ///< silent mode: no handler event

    /// The registered manager (the most recently constructed one), null when there is none.
    static SSM* Instance;
    /// Managers constructed minus managers destroyed (copies included on the way out).
    static int32_t InstanceCount;

    /// An idle manager; registers itself as Instance, also when another one is registered.
    SSM();
    /// Memberwise: the events move their listeners to the new manager (see SCC_Event). The
    /// record pointers are copied as they are. Touches neither Instance nor InstanceCount.
    SSM(SSM& source);
    SSM& operator=(SSM& source);
    /// Lowers InstanceCount and clears Instance, whichever manager is destroyed.
    ~SSM();

    /// Instance.
    static SSM* GetManager();
    /// Silent of the registered manager; 0 when there is none.
    static int GetSilentMode();
    /// Sets Silent of the registered manager; does nothing when there is none.
    static void SetSilentMode(int silent);

    /// One report. Returns 1 to carry on, 0 when the call site must call SSM_Throw. May throw
    /// (see the header comment). The message is taken as it is.
    int AssertFailed(char const* message, char const* source, int line, SSM_FailureType type, int id);

    /// Throws FatalException when Fatal is set, else Current when it is set; else returns.
    void Throw();
};

/// The entry of every check. An empty message becomes "Message not available", or with an id
/// other than 0 "SSM: Assert ID #<id>, message not available". Returns 1 to carry on, 0 when
/// the call site must call SSM_Throw; 0 with no manager. Keeps the platform's last error.
MORTAR_API int SSM_AssertFailed(char const* message, char const* source, int line, SSM_FailureType type,
                                int id);

/// SSM::Throw of the registered manager; does nothing when there is none.
MORTAR_API void SSM_Throw();

namespace mortar {

/// The one form of every internal check of the library, when its condition has failed:
/// SSM_AssertFailed(message, file, line, SSM_FailureThrow, 0), and SSM_Throw() when that
/// returns 0. Then the caller goes on: a check stops nothing by itself (it may throw, when the
/// application's hooks make it). Call it through MORTAR_CHECK.
MORTAR_API void CheckFailed(char const* message, char const* file, int line);

} // namespace mortar

/// Checks `condition`; when it is false, reports `message` ("" for none) with this source
/// location through the assertion manager (see mortar::CheckFailed) and goes on.
#define MORTAR_CHECK(condition, message)                                                         \
    ((condition) ? static_cast<void>(0) : ::mortar::CheckFailed((message), __FILE__, __LINE__))

#endif
