#include <mortar/platform/system.h>
#include <mortar/ssm/ssmimpl.h>

#include <cstddef>

SSM* SSM::Instance = nullptr;
int32_t SSM::InstanceCount = 0;

// AssertData --------------------------------------------------------------------------------------

SSM::AssertData::AssertData()
    : Line(0), Count(0), Enabled(1), ReportEnabled(1), Action(0), Id(0) {}

SSM::AssertData::AssertData(char const* message, char const* source, int line, int id)
    : File(source), Message(message), Line(line), Count(0), Enabled(1), ReportEnabled(1), Action(0), Id(id) {}

SYS_StringBase SSM::AssertData::GetKey() const {
    // The line as the unsigned 32-bit number that "%lu" prints on the system's platform.
    return FormattedString("%s(%u)", File.GetString(), static_cast<uint32_t>(Line));
}

// SSM ---------------------------------------------------------------------------------------------

SSM::SSM() : Level(-1), InvalidAction(nullptr), Current(nullptr), Fatal(nullptr), Silent(0) {
    ++InstanceCount;
    Instance = this;
}

SSM::SSM(SSM& source)
    : Level(source.Level),
      HandlerEvent(source.HandlerEvent),
      MonitorEvent(source.MonitorEvent),
      ReportEvent(source.ReportEvent),
      InvalidAction(source.InvalidAction),
      Current(source.Current),
      Fatal(source.Fatal),
      Map(source.Map),
      Saved(source.Saved),
      Silent(source.Silent) {}

SSM& SSM::operator=(SSM& source) {
    if (this == &source) return *this;
    Level = source.Level;
    HandlerEvent = source.HandlerEvent;
    MonitorEvent = source.MonitorEvent;
    ReportEvent = source.ReportEvent;
    InvalidAction = source.InvalidAction;
    Current = source.Current;
    Fatal = source.Fatal;
    Map = source.Map;
    Saved = source.Saved;
    Silent = source.Silent;
    return *this;
}

// Members go in reverse order of declaration: Saved, Map, then the three events.
SSM::~SSM() {
    --InstanceCount;
    Instance = nullptr;
}

SSM* SSM::GetManager() { return Instance; }

int SSM::GetSilentMode() { return Instance != nullptr ? Instance->Silent : 0; }

void SSM::SetSilentMode(int silent) {
    if (Instance != nullptr) Instance->Silent = silent;
}

namespace {

// Puts the manager back as it was before a report when the report is left by an exception.
// A report that ends normally disarms it before its closing throw step.
class ReportGuard {
public:
    ReportGuard(int32_t& level, SSM::AssertData*& current, std::vector<SSM::AssertData*>& saved)
        : m_Level(level), m_Current(current), m_Saved(saved), m_OldLevel(level), m_OldCurrent(current),
          m_OldSavedSize(saved.size()) {}
    ReportGuard(ReportGuard const&) = delete;
    ReportGuard& operator=(ReportGuard const&) = delete;
    ~ReportGuard() {
        if (!m_Armed) return;
        m_Level = m_OldLevel;
        m_Current = m_OldCurrent;
        if (m_Saved.size() > m_OldSavedSize) m_Saved.resize(m_OldSavedSize);
        if (m_Entry != nullptr) m_Entry->Action = 0;
    }
    void SetEntry(SSM::AssertData* entry) { m_Entry = entry; }
    void Disarm() { m_Armed = false; }

private:
    int32_t& m_Level;
    SSM::AssertData*& m_Current;
    std::vector<SSM::AssertData*>& m_Saved;
    int32_t m_OldLevel;
    SSM::AssertData* m_OldCurrent;
    std::size_t m_OldSavedSize;
    SSM::AssertData* m_Entry = nullptr;
    bool m_Armed = true;
};

int* AsData(SSM::AssertData* entry) { return reinterpret_cast<int*>(entry); }

} // namespace

int SSM::AssertFailed(char const* message, char const* source, int line, SSM_FailureType type, int id) {
    ReportGuard guard(Level, Current, Saved);
    ++Level;
    int result = 1;
    bool mustThrow = false;
    Fatal = nullptr;

    AssertData local(message, source, line, id);
    SYS_StringBase key = local.GetKey();
    auto found = Map.find(key);
    if (found == Map.end()) found = Map.emplace(key, local).first;
    AssertData* entry = &found->second;

    bool inProgress = false;
    for (AssertData* saved : Saved) {
        if (saved == entry) {
            inProgress = true;
            break;
        }
    }

    if (!inProgress) {
        Saved.push_back(Current);
        Current = entry;
        guard.SetEntry(entry);
        ++entry->Count;
        entry->Action = ActionContinue;
        entry->Message = local.Message;

        if (type == SSM_FailureThrow) {
            mustThrow = true;
        } else if (Silent == 0 && entry->Enabled != 0) {
            entry->Action = (Level > 0 && type != SSM_FailureContinue) ? ActionFail : ActionContinue;
            HandlerEvent.Notify(type, AsData(entry));
            switch (entry->Action) {
            case ActionContinue:
                break;
            case ActionFail:
                result = 0;
                break;
            case ActionThrow:
                mustThrow = true;
                break;
            case ActionFatal:
                Fatal = entry;
                mustThrow = true;
                break;
            default:
                // A failure of the manager itself: reported as a check of its own, which
                // finds this report in progress and so throws this record out of it.
                InvalidAction = entry;
                if (SSM_AssertFailed("Assert handler encountered invalid action code.", __FILE__, __LINE__,
                                     SSM_FailureThrow, 0) == 0)
                    SSM_Throw();
                break;
            }
        }

        MonitorEvent.Notify(type, AsData(entry));
        if (entry->ReportEnabled != 0 && entry->Enabled != 0) ReportEvent.Notify(type, AsData(entry));

        entry->Action = ActionContinue;
        Current = Saved.back();
        Saved.pop_back();
    }

    --Level;
    guard.Disarm();
    if (mustThrow) Throw();
    return result;
}

void SSM::Throw() {
    if (Fatal != nullptr) throw FatalException(Fatal);
    if (Current != nullptr) throw Current;
}

// Free functions ------------------------------------------------------------------------------------

int SSM_AssertFailed(char const* message, char const* source, int line, SSM_FailureType type, int id) {
    SSM* manager = SSM::GetManager();
    uint32_t lastError = mortar::GetLastError();

    SYS_StringBase text(message);
    if (text.IsEmpty()) {
        if (id != 0)
            text.Format("SSM: Assert ID #%d, message not available", id);
        else
            text = "Message not available";
    }
    int result = 0;
    if (manager != nullptr) result = manager->AssertFailed(text.GetString(), source, line, type, id);

    mortar::SetLastError(lastError);
    return result != 0 ? 1 : 0;
}

void SSM_Throw() {
    if (SSM* manager = SSM::GetManager()) manager->Throw();
}

namespace mortar {

void CheckFailed(char const* message, char const* file, int line) {
    if (SSM_AssertFailed(message, file, line, SSM_FailureThrow, 0) == 0) SSM_Throw();
}

} // namespace mortar
