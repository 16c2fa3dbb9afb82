// The managed file: a standard stream that the manager may close behind its owner's back.
#include <mortar/sfm/sfmfile.h>

#include <mortar/sfm/sfmanagr.h>
#include <mortar/ssm/ssmimpl.h>

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <memory>

namespace {

// Raises `code` for `data` through the manager; no answer without one (the caller has already
// failed the check that a manager exists).
SFM::EventCode Raise(SFM::EventCode code, SFM_EventData& data) {
    SFM* manager = SFM::GetManager();
    return manager ? manager->Event(code, data) : SFM::EC_None;
}

// The order of all bits of `v` reversed over the width of T (an unsigned integer type).
template <class T>
T ReverseBits(T v) {
    T r = 0;
    for (unsigned i = 0; i < sizeof(T) * CHAR_BIT; ++i) {
        r = static_cast<T>((r << 1) | (v & 1u));
        v = static_cast<T>(v >> 1);
    }
    return r;
}

// `v` as little-endian bytes, and back.
template <class T>
void ToBytes(T v, unsigned char* bytes) {
    for (unsigned i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<unsigned char>(v >> (8 * i));
}

template <class T>
T FromBytes(unsigned char const* bytes) {
    T v = 0;
    for (unsigned i = 0; i < sizeof(T); ++i) v = static_cast<T>(v | static_cast<T>(bytes[i]) << (8 * i));
    return v;
}

// Get and Put of a number of U's width through the file's Read and Write slots: little-endian
// bytes, the bits reversed over the whole width when asked. The old value's bytes stand where a
// read falls short.
template <class U>
U GetNumber(SFM_File& file, U old, int reverse) {
    unsigned char bytes[sizeof(U)];
    ToBytes(old, bytes);
    file.Read(bytes, sizeof(U));
    U const value = FromBytes<U>(bytes);
    return reverse ? ReverseBits(value) : value;
}

template <class U>
void PutNumber(SFM_File& file, U value, int reverse) {
    unsigned char bytes[sizeof(U)];
    ToBytes(reverse ? ReverseBits(value) : value, bytes);
    file.Write(bytes, sizeof(U));
}

// The stream calls. A file is used by one thread at a time (see the header), so where the C
// library offers them the calls go without taking the stream's lock, which costs as much as the
// copy itself for a small read: fread_unlocked and its kin do what fread and its kin do, minus
// the lock.
#if defined(__GLIBC__)
std::size_t StreamRead(void* buffer, std::size_t size, FILE* stream) { return fread_unlocked(buffer, 1, size, stream); }
std::size_t StreamWrite(void const* buffer, std::size_t size, FILE* stream) {
    return fwrite_unlocked(buffer, 1, size, stream);
}
int StreamGetc(FILE* stream) { return fgetc_unlocked(stream); }
int StreamPutc(int c, FILE* stream) { return fputc_unlocked(c, stream); }
char* StreamGets(char* buffer, int count, FILE* stream) { return fgets_unlocked(buffer, count, stream); }
void ClearFlags(FILE* stream) {
    if (ferror_unlocked(stream) || feof_unlocked(stream)) clearerr_unlocked(stream);
}
bool HasError(FILE* stream) { return ferror_unlocked(stream) != 0; }
bool AtEnd(FILE* stream) { return feof_unlocked(stream) != 0; }
#else
std::size_t StreamRead(void* buffer, std::size_t size, FILE* stream) { return std::fread(buffer, 1, size, stream); }
std::size_t StreamWrite(void const* buffer, std::size_t size, FILE* stream) {
    return std::fwrite(buffer, 1, size, stream);
}
int StreamGetc(FILE* stream) { return StreamGetc(stream); }
int StreamPutc(int c, FILE* stream) { return std::fputc(c, stream); }
char* StreamGets(char* buffer, int count, FILE* stream) { return StreamGets(buffer, count, stream); }
void ClearFlags(FILE* stream) { std::clearerr(stream); }
bool HasError(FILE* stream) { return std::ferror(stream) != 0; }
bool AtEnd(FILE* stream) { return std::feof(stream) != 0; }
#endif

// A file position as the class counts it: 32 bits, -1 when unknown or beyond them.
int32_t Position32(long position) {
    return position < 0 || position > INT32_MAX ? -1 : static_cast<int32_t>(position);
}

} // namespace

// The common steps of the reporting stream operations, kept out of the exported class so that
// they inline into each operation.
struct SFM_FileStream {
    // The record of one event about `file`, for as long as the object lives.
    class Record {
    public:
        explicit Record(SFM_File& file) : m_File(file), m_Lent(!file.m_EventRecordLent) {
            if (!m_Lent) {
                m_Own.reset(new SFM_EventData(file.m_Name.GetString()));
                return;
            }
            if (!file.m_EventRecord) file.m_EventRecord = new SFM_EventData();
            file.m_EventRecordLent = true;
            SFM_EventData& data = *file.m_EventRecord;
            data.m_Error = 0;
            data.m_FileName1 = file.m_Name;
            data.m_FileName2.Empty();
            data.m_Text.Empty();
            data.m_Result = SFM::EC_None;
        }
        Record(Record const&) = delete;
        Record& operator=(Record const&) = delete;
        ~Record() {
            if (m_Lent) m_File.m_EventRecordLent = false;
        }
        operator SFM_EventData&() { return m_Lent ? *m_File.m_EventRecord : *m_Own; }

    private:
        SFM_File& m_File;
        bool const m_Lent;
        std::unique_ptr<SFM_EventData> m_Own;
    };

    // ReOpen(), then the stream with errno and its flags cleared; null (after a failed check)
    // when there is none.
    static FILE* ForUse(SFM_File& file) {
        file.ReOpen();
        errno = 0;
        MORTAR_CHECK(file.m_Stream != nullptr, "");
        if (file.m_Stream) ClearFlags(file.m_Stream);
        return file.m_Stream;
    }

    // After a stream operation: when the stream's error flag is set, raises `code` for the file
    // through the manager, clears the flag and returns true.
    static bool Report(SFM_File& file, SFM::EventCode code) {
        if (!file.m_Stream || !HasError(file.m_Stream)) return false;
        MORTAR_CHECK(SFM::GetManager() != nullptr, "");
        Record record(file);
        Raise(code, record);
        // A listener may have closed the file.
        if (file.m_Stream) ClearFlags(file.m_Stream);
        return true;
    }
};

// Construction ---------------------------------------------------------------------------------------

SFM_File::SFM_File(char const* name) : m_Stream(nullptr), m_Length(-1), m_TempClosed(0), m_Mapped(0) {
    if (name && *name) {
        m_Name = name;
        m_Mode.Empty();
    }
    SFM* manager = SFM::Instance;
    MORTAR_CHECK(manager != nullptr, "");
    if (manager) manager->Register(this);
}

SFM_File::SFM_File(char const* name, char const* mode) : SFM_File(name) {
    MORTAR_CHECK(name && *name && mode && *mode, "");
    Open(SYS_StringBase(mode));
}

SFM_File::~SFM_File() {
    Close();
    delete m_EventRecord;
    if (SFM* manager = SFM::Instance) manager->Unregister(this);
}

SFM_File::SFM_File(SFM_File const& source)
    : m_Stream(source.m_Stream),
      m_Name(source.m_Name),
      m_Mode(source.m_Mode),
      m_Msg(source.m_Msg),
      m_Length(source.m_Length),
      m_TempClosed(source.m_TempClosed),
      m_Positions(source.m_Positions),
      m_Mapped(source.m_Mapped) {}

SFM_File& SFM_File::operator=(SFM_File const& source) {
    if (&source == this) return *this;
    m_Stream = source.m_Stream;
    m_Name = source.m_Name;
    m_Mode = source.m_Mode;
    m_Msg = source.m_Msg;
    m_Length = source.m_Length;
    m_TempClosed = source.m_TempClosed;
    m_Positions = source.m_Positions;
    m_Mapped = source.m_Mapped;
    return *this;
}

char const* SFM_File::operator=(char const* name) {
    SetName(SYS_StringBase(name));
    return name;
}

void SFM_File::SetName(SYS_StringBase const& name) {
    MORTAR_CHECK(!IsOpen(), "");
    m_Name = name;
}

void SFM_File::SetMode(SYS_StringBase const& mode) {
    MORTAR_CHECK(!IsOpen(), "");
    m_Mode = mode;
}

// Positions and length --------------------------------------------------------------------------------

void SFM_File::Rewind() { Seek(0, ST_Begin); }

void SFM_File::SeekToEnd() { Seek(0, ST_End); }

int32_t SFM_File::GetPosition() {
    if (!IsOpen()) return -1;
    ReOpen();
    return m_Stream ? Position32(std::ftell(m_Stream)) : -1;
}

int32_t SFM_File::GetLength() {
    if (m_Length == -1 && !m_Name.IsEmpty()) {
        int const wasOpen = IsOpen();
        if (!wasOpen) {
            m_Stream = std::fopen(m_Name.GetString(), "r");
            if (!m_Stream) return -1;
        }
        int32_t const position = GetPosition();
        Seek(0, ST_End);
        m_Length = GetPosition();
        if (wasOpen) {
            Seek(position, ST_Begin);
        } else {
            MORTAR_CHECK(m_Stream != nullptr, "");
            if (m_Stream) std::fclose(m_Stream);
            m_Stream = nullptr;
        }
    }
    return m_Length;
}

void SFM_File::CheckLength() {
    if (IsOpen() && GetPosition() < m_Length) return;
    m_Length = -1;
}

SYS_StringBase SFM_File::GetReOpenMode() {
    SYS_StringBase mode(m_Mode);
    if (mode.GetAt(0) == 'w') mode.SetAt(0, 'a');
    return mode;
}

// Temporary closing -----------------------------------------------------------------------------------

int SFM_File::MayBeTempClosed() { return IsOpen() && !m_TempClosed ? 1 : 0; }

void SFM_File::TempClose() {
    MORTAR_CHECK(MayBeTempClosed(), "");
    if (!m_Stream) return;
    // The bring-back pops one position whatever happens, so one is pushed whatever happens.
    if (!PushPosition(0, ST_Current)) m_Positions.push_back(GetPosition());
    m_TempClosed = 1;
    std::fclose(m_Stream);
    m_Stream = nullptr;
}

void SFM_File::ReOpen() {
    SFM* manager = SFM::Instance;
    MORTAR_CHECK(manager != nullptr, "");
    if (!m_TempClosed) return;
    m_TempClosed = 0;
    {
        SFM_FileStream::Record record(*this);
        Raise(SFM::EC_BeforeOpen, record);
    }
    SYS_StringBase const mode = GetReOpenMode();
    for (;;) {
        errno = 0;
        m_Stream = mode.IsEmpty() ? nullptr : std::fopen(m_Name.GetString(), mode.GetString());
        // Out of handles: another file makes room, as long as one can.
        if (m_Stream || errno != EMFILE || !manager || !manager->TempCloseSomeFile()) break;
    }
    MORTAR_CHECK(m_Stream != nullptr, "");
    if (m_Stream)
        PopPosition();
    else if (!m_Positions.empty())
        m_Positions.pop_back();
}

// Opening and closing ---------------------------------------------------------------------------------

int SFM_File::ReOpen(SYS_StringBase const& name, SYS_StringBase const& mode) {
    Close();
    SetName(name);
    return Open(mode);
}

int SFM_File::IsValid() { return 1; }

int SFM_File::Open(SYS_StringBase mode) {
    if (IsOpen()) {
        MORTAR_CHECK(false, "");
        Close();
    }
    MORTAR_CHECK(SFM::Instance != nullptr, "");
    SFM_FileStream::Record record(*this);
    SFM_EventData& data = record;
    Raise(SFM::EC_BeforeOpen, data);
    m_Stream = nullptr;
    for (;;) {
        errno = 0;
        if (!mode.IsEmpty()) m_Mode = mode;
        // An empty mode never reaches the stream library: it fails as an invalid argument.
        if (m_Mode.IsEmpty())
            errno = EINVAL;
        else
            m_Stream = std::fopen(m_Name.GetString(), m_Mode.GetString());
        if (m_Stream) {
            Raise(SFM::EC_Opened, data);
            m_Length = -1;
            return 1;
        }
        if (Raise(SFM::EC_OpenFailed, data) != SFM::EC_Retry) return 0;
    }
}

int SFM_File::Eof() {
    ReOpen();
    MORTAR_CHECK(m_Stream != nullptr, "");
    if (!m_Stream) return 1;
    if (AtEnd(m_Stream)) return 1;
    return GetPosition() == GetLength() ? 1 : 0;
}

int SFM_File::IsOpen() { return m_Stream || m_TempClosed ? 1 : 0; }

void SFM_File::Flush() {
    if (!IsOpen()) return;
    ReOpen();
    MORTAR_CHECK(m_Stream != nullptr, "");
    if (m_Stream) std::fflush(m_Stream);
}

void SFM_File::Close() {
    MORTAR_CHECK(SFM::Instance != nullptr, "");
    if (IsOpen()) {
        ReOpen();
        errno = 0;
        MORTAR_CHECK(m_Stream != nullptr, "");
        if (m_Stream) {
            ClearFlags(m_Stream);
            bool const failed = std::fclose(m_Stream) != 0;
            // Closed before the listeners hear of it, so that none of them uses the stream.
            m_Stream = nullptr;
            SFM_FileStream::Record record(*this);
            Raise(failed ? SFM::EC_CloseFailed : SFM::EC_Closed, record);
        }
    }
    if (m_Mapped) UnmapMemory();
    m_Stream = nullptr;
}

void SFM_File::UnmapMemory() {}

// Positions -------------------------------------------------------------------------------------------

int SFM_File::Seek(int32_t offset, SeekType type) {
    ReOpen();
    if (!m_Stream) return 0;
    return std::fseek(m_Stream, offset, static_cast<int>(type)) == 0 ? 1 : 0;
}

int SFM_File::PushPosition(int32_t offset, SeekType type) {
    int32_t const before = GetPosition();
    int const done = Seek(offset, type);
    if (done) {
        m_Positions.push_back(before);
        return done;
    }
    Seek(before, ST_Begin);
    return 0;
}

void SFM_File::PopPosition() {
    ReOpen();
    if (m_Positions.empty()) return;
    int32_t const position = m_Positions.back();
    m_Positions.pop_back();
    Seek(position, ST_Begin);
}

// Reporting stream operations -------------------------------------------------------------------------

int32_t SFM_File::Read(void* buffer, int32_t size) {
    MORTAR_CHECK(buffer != nullptr, "");
    if (!buffer || !IsOpen()) return 0;
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return 0;
    std::size_t const read = size > 0 ? StreamRead(buffer, static_cast<std::size_t>(size), stream) : 0;
    SFM_FileStream::Report(*this, SFM::EC_ReadFailed);
    return static_cast<int32_t>(read);
}

int SFM_File::Write(void const* buffer, int32_t size) {
    MORTAR_CHECK(buffer != nullptr, "");
    if (!buffer || !IsOpen()) return 0;
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return 0;
    std::size_t const written = size > 0 ? StreamWrite(buffer, static_cast<std::size_t>(size), stream) : 0;
    int const result = size >= 0 && written == static_cast<std::size_t>(size) ? 1 : 0;
    SFM_FileStream::Report(*this, SFM::EC_WriteFailed);
    CheckLength();
    return result;
}

char SFM_File::GetChar() {
    if (!IsOpen()) return -1;
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return -1;
    int const c = StreamGetc(stream);
    if (SFM_FileStream::Report(*this, SFM::EC_ReadFailed) || c == EOF) return -1;
    return static_cast<char>(c);
}

int SFM_File::PutChar(char c) {
    if (!IsOpen()) return 0;
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return 0;
    int const result = StreamPutc(static_cast<unsigned char>(c), stream) == EOF ? 0 : 1;
    bool const failed = SFM_FileStream::Report(*this, SFM::EC_WriteFailed);
    CheckLength();
    return failed ? 0 : result;
}

SYS_StringBase SFM_File::GetLine(int32_t maxLength) {
    if (!IsOpen() || maxLength < 0) return SYS_StringBase();
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return SYS_StringBase();
    char buffer[512];
    int const count = maxLength == 0 || maxLength >= 511 ? 511 : maxLength;
    buffer[0] = '\0';
    char const* const got = StreamGets(buffer, count, stream);
    if (SFM_FileStream::Report(*this, SFM::EC_ReadFailed) || !got) return SYS_StringBase();
    return SYS_StringBase(buffer);
}

int SFM_File::WriteLine(SYS_StringBase const& text) {
    if (!Write(text.GetString(), text.GetLength())) return 0;
    return Write("\n", 1);
}

int32_t SFM_File::Printf(char const* format, ...) {
    MORTAR_CHECK(format != nullptr, "");
    if (!format || !IsOpen()) return 0;
    FILE* stream = SFM_FileStream::ForUse(*this);
    if (!stream) return 0;
    va_list args;
    va_start(args, format);
    int const written = std::vfprintf(stream, format, args);
    va_end(args);
    bool const failed = SFM_FileStream::Report(*this, SFM::EC_WriteFailed);
    CheckLength();
    return failed || written < 0 ? 0 : written;
}

// Binary numbers --------------------------------------------------------------------------------------

double SFM_File::Get(double& value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits = GetNumber<uint64_t>(*this, bits, 0);
    std::memcpy(&value, &bits, sizeof bits);
    return value;
}

uint32_t SFM_File::Get(uint32_t& value, int reverse) { return value = GetNumber<uint32_t>(*this, value, reverse); }

int32_t SFM_File::Get(int32_t& value, int reverse) {
    return value = static_cast<int32_t>(GetNumber<uint32_t>(*this, static_cast<uint32_t>(value), reverse));
}

unsigned char SFM_File::Get(unsigned char& value, int reverse) {
    return value = GetNumber<unsigned char>(*this, value, reverse);
}

char SFM_File::Get(char& value, int reverse) {
    return value = static_cast<char>(GetNumber<unsigned char>(*this, static_cast<unsigned char>(value), reverse));
}

uint16_t SFM_File::Get(uint16_t& value, int reverse) { return value = GetNumber<uint16_t>(*this, value, reverse); }

int16_t SFM_File::Get(int16_t& value, int reverse) {
    return value = static_cast<int16_t>(GetNumber<uint16_t>(*this, static_cast<uint16_t>(value), reverse));
}

void SFM_File::Put(double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    PutNumber<uint64_t>(*this, bits, 0);
}

void SFM_File::Put(uint32_t value, int reverse) { PutNumber<uint32_t>(*this, value, reverse); }

void SFM_File::Put(int32_t value, int reverse) { PutNumber<uint32_t>(*this, static_cast<uint32_t>(value), reverse); }

void SFM_File::Put(unsigned char value, int reverse) { PutNumber<unsigned char>(*this, value, reverse); }

void SFM_File::Put(char value, int reverse) {
    PutNumber<unsigned char>(*this, static_cast<unsigned char>(value), reverse);
}

void SFM_File::Put(uint16_t value, int reverse) { PutNumber<uint16_t>(*this, value, reverse); }

void SFM_File::Put(int16_t value, int reverse) { PutNumber<uint16_t>(*this, static_cast<uint16_t>(value), reverse); }
