// SFM_File: the library's file, a standard stream that survives the exhaustion of file handles.
//
// The file remembers its name and open mode, so that the manager (SFM) can close it behind its
// owner's back when the system refuses to open one more file, and the next operation brings it
// back at the same position: to its users a temporarily closed file is an open file. Everything
// that goes wrong is reported through SFM::Event, never by an exception of the file's own, and the
// last failure text stays readable with GetMsg until the next one replaces it (success clears
// nothing). A manager must exist while a file is built, opened, brought back, closed or destroyed;
// these operations check it.
//
// States:
//   closed              no stream, flag 0           IsOpen 0
//   open                a stream, flag 0            IsOpen 1
//   temporarily closed  no stream, flag set         IsOpen 1
// Name and mode can be changed only in the closed state (otherwise a failed check, after which the
// value is stored all the same).
//
// Modes are fopen modes, handed to the stream library unchanged. An open with an empty mode and an
// empty stored mode never reaches the stream library: it is a failed open with the error number
// EINVAL (event EC_OpenFailed, result 0). Bringing a file back uses the stored mode with a leading
// 'w' turned into 'a', so that it is not truncated: "w+b" comes back as "a+b", where every write
// goes to the end of the file whatever the restored position; "r" and "rb" stay as they are.
//
// Positions and lengths are 32-bit signed byte counts: files beyond 2 GiB - 1 are not supported.
// The length is cached: a write at or past the cached length drops the cache, so GetLength measures
// again; a write inside it keeps it.
//
// Binary numbers (Get, Put) are little-endian, in exactly the value's width: 1 byte for char, 2 for
// int16_t, 4 for int32_t (the system's long and int alike), each also unsigned, 8 for double (IEEE
// 754), with nothing between values. A non-zero `reverse` stores the value with the order of all
// its bits reversed over its whole width (a 32-bit 1 is stored as 0x80000000, bytes 00 00 00 80);
// the operation is its own inverse. Get returns the value its variable holds afterwards; a short
// read is not reported, and the variable then keeps its old bytes beyond those read.
//
// Corner cases:
//   - GetLine with a negative maxLength reads nothing and returns an empty string.
//   - PopPosition with an empty stack does nothing (no seek).
//   - A bring-back refused for lack of file handles asks the manager to close another file and
//     tries again while one can be closed; any other refusal is a failed check, after which the
//     file is closed (IsOpen 0) and the position saved by TempClose is dropped. An operation
//     that brought it back for its own use then finds no stream, a second failed check, and
//     returns its failure result.
//
// Copies. The copy constructor and assignment are member-wise: both objects then refer to one
// stream, and only one of them may use or close it from there on (closing it through both closes
// it twice). Assignment drops the target's own stream without closing it, so close a file before
// assigning to it; assigning a closed file to a copy lets the copy go of the shared stream. A copy
// is not entered in the manager's list.
//
// Virtual slots in order: MayBeTempClosed, TempClose, ReOpen(name, mode), ReOpen(), IsValid, Open,
// Eof, IsOpen, Flush, Close, UnmapMemory, Seek, PushPosition, PopPosition, Read, Write, the Get
// forms, the Put forms, GetChar, PutChar, GetLine, WriteLine, Printf. Every operation that touches
// the stream calls through these slots, so a derived class's Seek, Read or Write also serves Rewind,
// Get, Put, WriteLine and the position stack. The destructor is not virtual: do not delete a
// derived file through a pointer to SFM_File.
//
// Not thread-safe: any operation on any file may close another file through the manager. Since a
// file belongs to one thread, its reads and writes use the C library's unlocked stream calls where
// there are such (fread_unlocked and its kin), which do the same without taking the stream's lock.
// Without a manager the file still works, but every operation that needs one is a failed check
// and no event is raised.
//
// Re-entrancy. Listeners of the manager's event run inside these operations. A listener may use
// any file, the one the event is about included (it may close it; the operation then finds it
// closed); it must not destroy the file whose operation is under way.
#ifndef MORTAR_SFM_SFMFILE_H
#define MORTAR_SFM_SFMFILE_H

#include <mortar/export.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdint>
#include <cstdio>
#include <deque>

class SFM;
class SFM_EventData;

class MORTAR_API SFM_File {
public:
    /// The values of fseek's origin.
    enum SeekType {
        ST_Begin = 0,   ///< from the start of the file
        ST_Current = 1, ///< from the current position
        ST_End = 2,     ///< from the end of the file
    };

    /// An unopened file with the name `name` (null: empty) and an empty mode; entered at the front
    /// of the manager's list.
    explicit SFM_File(char const* name = nullptr);
    /// As above, then Open(mode). An empty name or mode is a failed check; a failed open leaves a
    /// closed file (see IsOpen).
    SFM_File(char const* name, char const* mode);
    /// Close(), then leaves the manager's list. Not virtual.
    ~SFM_File();

    /// Member-wise; see the header comment. The copy is not entered in the manager's list.
    SFM_File(SFM_File const& source);
    SFM_File& operator=(SFM_File const& source);

    /// SetName(name) (a failed check on an open file); returns `name`.
    char const* operator=(char const* name);

    SYS_StringBase const& GetName() const { return m_Name; }
    SYS_StringBase const& GetMode() const { return m_Mode; }
    /// The text of the last failure, stored by SFM::Event; success clears nothing.
    SYS_StringBase const& GetMsg() const { return m_Msg; }
    void SetName(SYS_StringBase const& name);
    void SetMode(SYS_StringBase const& mode);
    void SetMsg(SYS_StringBase const& msg) { m_Msg = msg; }

    /// Seek(0, ST_Begin).
    void Rewind();
    /// Seek(0, ST_End).
    void SeekToEnd();
    /// Brings a temporarily closed file back; -1 when not open, else the stream's position.
    int32_t GetPosition();
    /// The length in bytes, cached; -1 with an empty name or when it can't be measured. A closed
    /// file is measured by a probe opened with "r" outside Open, without events, and closed again.
    int32_t GetLength();

    // Virtual operations, in slot order. -------------------------------------------------------

private:
    /// Non-zero when the manager may close the file for the time being: it is open and not
    /// temporarily closed. A derived class may refuse.
    virtual int MayBeTempClosed();
    /// Saves the position on the stack, sets the flag and closes the stream; no event. Called by
    /// the manager only; a file that may not be closed is a failed check.
    virtual void TempClose();

public:
    /// Close(), SetName(name), Open(mode); the result of Open.
    virtual int ReOpen(SYS_StringBase const& name, SYS_StringBase const& mode);

private:
    /// Brings a temporarily closed file back (EC_BeforeOpen, fopen with the bring-back mode, the
    /// saved position; no EC_Opened); nothing for a file that is not temporarily closed.
    virtual void ReOpen();

public:
    /// 1 in this class.
    virtual int IsValid();
    /// Opens the file: EC_BeforeOpen (the file moves to the front of the manager's list), then
    /// fopen with `mode`, which becomes the stored mode, or with the stored mode when `mode` is
    /// empty. Success raises EC_Opened, drops the cached length and returns 1. A refusal raises
    /// EC_OpenFailed and tries again while the answer is EC_Retry, else returns 0. Opening an
    /// open file is a failed check; the file is then closed, with its events, and opened again.
    virtual int Open(SYS_StringBase mode = SYS_StringBase());
    /// 1 when the stream's end-of-file indicator is set or the position equals the length. No
    /// seek while the cached length stands. A file that is not open is a failed check (result 1).
    virtual int Eof();
    /// 1 when open or temporarily closed.
    virtual int IsOpen();
    /// fflush; failures are not reported.
    virtual void Flush();
    /// Closes an open file (bringing back a temporarily closed one first, with EC_BeforeOpen) and
    /// raises EC_Closed, or EC_CloseFailed. On a closed file nothing happens and nothing is
    /// raised. Position stack, name, mode and message stay. Calls UnmapMemory when mapped.
    virtual void Close();
    /// Nothing in this class.
    virtual void UnmapMemory();
    /// fseek; 1 on success, 0 on failure or without a stream. No event.
    virtual int Seek(int32_t offset, SeekType type);
    /// Seeks and pushes the position from before the seek; on a failed seek, returns to that
    /// position, leaves the stack alone and returns 0.
    virtual int PushPosition(int32_t offset, SeekType type);
    /// Seeks to the newest pushed position and takes it off; nothing with an empty stack.
    virtual void PopPosition();
    /// Up to `size` bytes; the number read (0 when not open). A stream error raises
    /// EC_ReadFailed. A null buffer is a failed check (result 0).
    virtual int32_t Read(void* buffer, int32_t size);
    /// 1 when all `size` bytes were written, else 0. A stream error raises EC_WriteFailed. A null
    /// buffer is a failed check (result 0).
    virtual int Write(void const* buffer, int32_t size);

    virtual double Get(double& value);
    virtual uint32_t Get(uint32_t& value, int reverse = 0);
    virtual int32_t Get(int32_t& value, int reverse = 0);
    virtual unsigned char Get(unsigned char& value, int reverse = 0);
    virtual char Get(char& value, int reverse = 0);
    virtual uint16_t Get(uint16_t& value, int reverse = 0);
    virtual int16_t Get(int16_t& value, int reverse = 0);
    virtual void Put(double value);
    virtual void Put(uint32_t value, int reverse = 0);
    virtual void Put(int32_t value, int reverse = 0);
    virtual void Put(unsigned char value, int reverse = 0);
    virtual void Put(char value, int reverse = 0);
    virtual void Put(uint16_t value, int reverse = 0);
    virtual void Put(int16_t value, int reverse = 0);

    /// The next byte; -1 at the end of the file, on failure and when not open (so a byte 0xFF
    /// reads as -1 too).
    virtual char GetChar();
    /// 1 when the byte was written, else 0.
    virtual int PutChar(char c);
    /// The next line with its line feed, at most maxLength - 1 bytes (0 or 511 and above: 510),
    /// so a longer line comes in pieces. Empty at the end of the file (no event), when not open,
    /// on failure and for a negative maxLength. Text after an embedded NUL is lost.
    virtual SYS_StringBase GetLine(int32_t maxLength = 0);
    /// The text's bytes, then "\n"; 1 only when both were written (the second is not tried when
    /// the first failed).
    virtual int WriteLine(SYS_StringBase const& text);
    /// vfprintf to the stream, without a length limit; the number of characters written, 0 when
    /// not open or on failure. A null format is a failed check.
    virtual int32_t Printf(char const* format, ...) MORTAR_PRINTF_FORMAT(2, 3);

protected:
    FILE* m_Stream;                   ///< null when closed and while temporarily closed
    SYS_StringBase m_Name;            ///< the path
    SYS_StringBase m_Mode;            ///< the fopen mode; empty until set
    SYS_StringBase m_Msg;             ///< the last failure text
    int32_t m_Length;                 ///< the cached length, -1 while unknown
    int32_t m_TempClosed;             ///< non-zero from TempClose until the bring-back
    std::deque<int32_t> m_Positions;  ///< the position stack, newest at the back
    int32_t m_Mapped;                 ///< 0 here; Close calls UnmapMemory when non-zero

private:
    friend class SFM;

    // Drops the cached length unless the file is open and its position is inside it.
    void CheckLength();
    // The stored mode with a leading 'w' turned into 'a'.
    SYS_StringBase GetReOpenMode();
    // The source's own helpers of the stream operations.
    friend struct SFM_FileStream;

    // The file's own event record, lent to its events so that each event does not build three
    // strings anew; an event raised while it is lent gets a record of its own. Not copied.
    SFM_EventData* m_EventRecord = nullptr;
    bool m_EventRecordLent = false;
};

#endif
