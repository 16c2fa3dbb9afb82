// Listeners of the event benchmarks, compiled in a translation unit of their own so that no
// caller can inline them: every peer pays for a real call per listener.
#ifndef MORTAR_BENCH_EVENTS_LISTENERS_H
#define MORTAR_BENCH_EVENTS_LISTENERS_H

#include <mortar/scc/SCC_Event.h>

namespace bench {

// Two plain functions, so that the indirect calls of a walk alternate between targets.
int ListenAdd(int code, int* data);
int ListenXor(int code, int* data);

// A hook that listens by overriding OnNotification: the form the library's own classes use.
class DerivedHook : public SCC_EventHook<int> {
public:
    explicit DerivedHook(bool add) : m_Add(add) {}
    int OnNotification(int code, int* data) override;

private:
    bool m_Add;
};

} // namespace bench

#endif
