#include "listeners.h"

namespace bench {

int ListenAdd(int code, int* data) {
    *data += code;
    return 0;
}

int ListenXor(int code, int* data) {
    *data ^= code;
    return 0;
}

int DerivedHook::OnNotification(int code, int* data) {
    return m_Add ? ListenAdd(code, data) : ListenXor(code, data);
}

} // namespace bench
