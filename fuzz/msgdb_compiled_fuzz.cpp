// The compiled form of the message database: any bytes load (in either record layout), walk and
// save, and the file saved reads back the same texts under the same keys.
#include "msgdb_support.h"

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    static msgdbfuzz::Workspace ws;
    ws.Write(data, size);
    msgdbfuzz::OpenDB db{SYS_StringBase(ws.input.c_str())};
    msgdbfuzz::CheckRoundTrip(ws, db);
    return 0;
}
