// SFM: the file manager of a process, and SFM_EventData, the record of one file event.
//
// The manager has three jobs:
//   - it owns the process's message database (SFM_MessageDB), built by Initiate;
//   - it keeps a list of every SFM_File, the most recently (re)opened at the front, and uses it to
//     keep working when the system refuses to open one more file: the least recently opened file
//     that allows it is closed for the time being (SFM_File::TempClose) and the open is retried;
//   - it is the one point through which file operations report (Event): the system's error number
//     is recorded, the failure text built, the listeners on FileEvent told, and the text stored on
//     the file concerned.
//
// One manager at a time. The application builds it before its first SFM_File and destroys it after
// its last one; every file operation reaches it through SFM::GetManager(). The manager does not own
// the files in its list: a file enters the list when it is constructed (at the front) and leaves it
// when it is destroyed; the other entries keep their order. A copy of a file is never entered.
//
// Failure texts. For a failure code (above 150) Event asks the platform for the text of the error
// number (mortar::SystemErrorText, taken as it comes); for a number without a text it uses the
// string table's id 45103, "Error %i occurred (no further info).", formatted with the number.
//
// Running out of file handles. When an open is refused with EMFILE (24, the platform's "too many
// open files") and some file of the list allows it, that file is closed temporarily and Event
// answers EC_Retry at once, without text and without telling the listeners: the open tries again,
// and each refusal costs one closed file. When no file can be closed, the refusal is an ordinary
// failure of the open: the text is built, the listeners decide, and without a listener answering
// EC_Retry the open returns 0. So the retry never runs for ever by the manager's own doing.
//
// Re-entrancy. Listeners run inside Event on the caller's thread and may call file operations,
// including ones that raise further events; FileEvent follows the rules of SCC_Event (a listener
// may disconnect itself or others during the walk). A listener that answers EC_Retry to a failure
// that will never go away makes SFM_File::Open try for as long as it keeps answering so.
//
// Not thread-safe: the manager and all files are for one thread at a time.
#ifndef MORTAR_SFM_SFMANAGR_H
#define MORTAR_SFM_SFMANAGR_H

#include <mortar/export.h>
#include <mortar/scc/SCC_Event.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <list>

class SFM_EventData;
class SFM_File;
class SFM_MessageDB;

// The chain of file events is built into the library, so that every module and every client shares
// one copy of its code, virtual tables and type information.
extern template class MORTAR_API SCC_EventNode<SFM_EventData>;
extern template class MORTAR_API SCC_Event<SFM_EventData>;
extern template class MORTAR_API SCC_EventHook<SFM_EventData>;

/// The file manager. Virtual slots in order: Initiate, IsValid.
class MORTAR_API SFM {
public:
    /// What happened (the code given to Event) and the listeners' answer (SFM_EventData's
    /// result). A code above 150 is a failure code; clients may raise failure codes of their own.
    enum EventCode {
        EC_None = 0,          ///< answer: no answer given
        EC_Retry = 2,         ///< answer: perform the failed open once more
        EC_BeforeOpen = 101,  ///< a file is about to be opened or brought back
        EC_Opened = 102,      ///< a file was opened
        EC_Closed = 103,      ///< a file was closed
        EC_OpenFailed = 201,  ///< opening failed
        EC_CloseFailed = 202, ///< closing failed
        EC_ReadFailed = 203,  ///< reading failed
        EC_WriteFailed = 204, ///< writing failed
    };

    /// Raised by Event as Notify(code, &data). Enabled from construction. Listeners may read the
    /// file names and text, replace the text (SetText) and answer (SetResult).
    SCC_Event<SFM_EventData> FileEvent;

    /// An empty manager: no files, no database, FileEvent enabled. Makes itself the instance; a
    /// second manager while one lives is a failed check (it becomes the instance all the same).
    SFM();
    /// Deletes the message database, lowers the instance count and clears the instance, then
    /// disconnects the listeners. The files must be gone: they are not closed or told.
    virtual ~SFM();

    /// Copies would share the database, and either destructor would delete it: refused.
    SFM(SFM const&) = delete;
    SFM& operator=(SFM const&) = delete;

    /// Builds the message database from the file `dbName`, once: a database that exists already
    /// (even one whose file did not open, which is empty) stays. An extension of ".mdb", in any
    /// case, selects the compiled form, any other the text form. A null name is a failed check.
    virtual void Initiate(char const* dbName);

    /// 1 when there is a database, it is valid and every file of the list is valid; every
    /// failure is a failed check. Without a database the files are not asked.
    virtual int IsValid();

    /// The reporting point of every file operation; see the header comment. In order: the answer
    /// is cleared; the platform's last error is stored in `data`; for EC_OpenFailed with EMFILE a
    /// file is closed temporarily and EC_Retry returned (when one can be); for EC_BeforeOpen the
    /// first file of the list named file name 1 moves to the front; for a code above 150 the
    /// failure text is built; FileEvent is raised; for a code above 150 the composed text is
    /// stored as the message of the first file of the list named file name 1. Returns the
    /// listeners' answer (EC_None without one).
    EventCode Event(EventCode code, SFM_EventData& data);

    /// The manager, or null when there is none.
    static SFM* GetManager() { return Instance; }

    /// A process-wide flag for clients (1 from the start); the library never acts on it.
    static int GetThrowMemException();
    static void SetThrowMemException(int value);

    /// The message database; null until Initiate has built it. Owned by the manager.
    SFM_MessageDB* GetMessageDB() const { return m_MessageDB; }

protected:
    static SFM* Instance;
    static int32_t InstanceCount;
    static int s_bThrowMemException;

private:
    friend class SFM_File;

    // Builds the failure text of the error number stored in `data`.
    void CreateMessage(EventCode code, SFM_EventData& data);

    // Closes the least recently (re)opened file that allows it, temporarily; 1 when one was
    // closed, 0 when none allows it. At most one file per call; the file keeps its place.
    int TempCloseSomeFile();

    // The first file of the list, from the front, named `name`; the end of the list when none.
    std::list<SFM_File*>::iterator FindFile(SYS_StringBase const& name);

    // A file enters at the front when it is built and leaves when it is destroyed.
    void Register(SFM_File* file);
    void Unregister(SFM_File* file);

    std::list<SFM_File*> m_Files; // not owned; most recently (re)opened first
    SFM_MessageDB* m_MessageDB;   // owned; null until Initiate
};

/// The record of one file event: error number, two file names, text and the listeners' answer.
/// No base class, no virtual operations; copies are member-wise.
class MORTAR_API SFM_EventData {
public:
    /// A null pointer gives an empty name; error number 0, answer EC_None, empty text.
    explicit SFM_EventData(char const* file1 = nullptr, char const* file2 = nullptr);

    /// The file the event is about: the key by which SFM::Event finds the SFM_File.
    SYS_StringBase GetFileName1() const { return m_FileName1; }
    /// A second file, for an operation on two files; empty in the library's own events.
    SYS_StringBase GetFileName2() const { return m_FileName2; }

    /// The listeners' answer.
    SFM::EventCode GetResult() const { return m_Result; }
    /// Stores the answer. A non-zero answer while a non-zero one stands is a failed check (one
    /// answer per event); it is stored all the same. Setting EC_None is always allowed.
    void SetResult(SFM::EventCode result);

    /// The text, then for each non-empty file name "\r\n\"name\"": so a failure text ends in one
    /// or two quoted names, each on a line of its own. With both names empty, the text alone.
    SYS_StringBase GetText() const;
    /// Replaces the text part only.
    void SetText(SYS_StringBase const& text) { m_Text = text; }

private:
    friend class SFM;
    friend struct SFM_FileStream; // reuses a file's record for its next event

    uint32_t m_Error; // the platform's last error, stored by SFM::Event
    SYS_StringBase m_FileName1;
    SYS_StringBase m_FileName2;
    SYS_StringBase m_Text;
    SFM::EventCode m_Result;
};

#endif
