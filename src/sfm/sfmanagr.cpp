// The file manager: the list of files, the reporting point, and the message database it owns.
#include <mortar/sfm/sfmanagr.h>

#include <mortar/platform/system.h>
#include <mortar/sfm/SFM_FilePath.h>
#include <mortar/sfm/SFM_StringTable.h>
#include <mortar/sfm/sfmfile.h>
#include <mortar/sfm/sfmmsgdb.h>
#include <mortar/ssm/ssmimpl.h>

#include <cerrno>
#include <string>

template class SCC_EventNode<SFM_EventData>;
template class SCC_Event<SFM_EventData>;
template class SCC_EventHook<SFM_EventData>;

SFM* SFM::Instance = nullptr;
int32_t SFM::InstanceCount = 0;
int SFM::s_bThrowMemException = 1;

namespace {

// The platform's number for "too many open files"; the one refusal the manager can cure.
constexpr uint32_t kTooManyOpenFiles = EMFILE;

bool IsFailure(SFM::EventCode code) { return static_cast<int>(code) > 150; }

} // namespace

// SFM_EventData ------------------------------------------------------------------------------------

SFM_EventData::SFM_EventData(char const* file1, char const* file2)
    : m_Error(0), m_FileName1(file1), m_FileName2(file2), m_Result(SFM::EC_None) {}

void SFM_EventData::SetResult(SFM::EventCode result) {
    MORTAR_CHECK(result == SFM::EC_None || m_Result == SFM::EC_None, "");
    m_Result = result;
}

SYS_StringBase SFM_EventData::GetText() const {
    SYS_StringBase text(m_Text);
    for (SYS_StringBase const* name : {&m_FileName1, &m_FileName2}) {
        if (name->IsEmpty()) continue;
        text += "\r\n\"";
        text += *name;
        text += '"';
    }
    return text;
}

// SFM ----------------------------------------------------------------------------------------------

SFM::SFM() : m_MessageDB(nullptr) {
    MORTAR_CHECK(InstanceCount == 0 && Instance == nullptr, "");
    ++InstanceCount;
    Instance = this;
}

SFM::~SFM() {
    delete m_MessageDB;
    m_MessageDB = nullptr;
    --InstanceCount;
    Instance = nullptr;
    // FileEvent and the list go with the members.
}

int SFM::GetThrowMemException() { return s_bThrowMemException; }

void SFM::SetThrowMemException(int value) { s_bThrowMemException = value; }

void SFM::Initiate(char const* dbName) {
    if (m_MessageDB) return;
    MORTAR_CHECK(dbName != nullptr, "");
    if (!dbName) return;
    SYS_StringBase const extension = SFM_FilePath().GetFileExtension(dbName);
    if (extension.CompareNoCase(".mdb") == 0)
        m_MessageDB = new SFM_MessageDB(SYS_StringBase(dbName));
    else
        m_MessageDB = new SFM_MessageDB(SYS_StringBase(dbName), 0);
}

int SFM::IsValid() {
    if (!m_MessageDB || !m_MessageDB->IsValid()) {
        MORTAR_CHECK(false, "");
        return 0;
    }
    int valid = 1;
    for (SFM_File* file : m_Files) {
        if (!file->IsValid()) {
            MORTAR_CHECK(false, "");
            valid = 0;
        }
    }
    return valid;
}

SFM::EventCode SFM::Event(EventCode code, SFM_EventData& data) {
    data.m_Result = EC_None; // SetResult(EC_None), which never fails its check
    data.m_Error = mortar::GetLastError();

    if (code == EC_OpenFailed && data.m_Error == kTooManyOpenFiles && TempCloseSomeFile()) return EC_Retry;

    if (code == EC_BeforeOpen) {
        auto const found = FindFile(data.m_FileName1);
        if (found != m_Files.end()) m_Files.splice(m_Files.begin(), m_Files, found);
    }

    bool const failure = IsFailure(code);
    if (failure) CreateMessage(code, data);

    FileEvent.Notify(static_cast<int>(code), &data);

    if (failure) {
        auto const found = FindFile(data.m_FileName1);
        if (found != m_Files.end()) (*found)->SetMsg(data.GetText());
    }
    return data.GetResult();
}

void SFM::CreateMessage(EventCode, SFM_EventData& data) {
    std::string text;
    if (mortar::SystemErrorText(data.m_Error, text))
        data.SetText(SYS_StringBase(text.data(), static_cast<int>(text.size())));
    else
        data.SetText(FormattedString(TR(45103).GetString(), static_cast<int>(data.m_Error)));
}

int SFM::TempCloseSomeFile() {
    for (auto it = m_Files.rbegin(); it != m_Files.rend(); ++it) {
        SFM_File* file = *it;
        if (file->MayBeTempClosed()) {
            file->TempClose();
            // A derived file that allows closing but stays open is passed over.
            if (file->m_TempClosed) return 1;
        }
    }
    return 0;
}

std::list<SFM_File*>::iterator SFM::FindFile(SYS_StringBase const& name) {
    auto it = m_Files.begin();
    while (it != m_Files.end() && !((*it)->GetName() == name)) ++it;
    return it;
}

void SFM::Register(SFM_File* file) { m_Files.push_front(file); }

void SFM::Unregister(SFM_File* file) { m_Files.remove(file); }
