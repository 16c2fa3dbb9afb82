// A client of the installed library: uses a few classes across the shared-library boundary and
// exits 0 when they answer as expected.
#include <mortar/mortar.h>

#include <cstdio>

namespace {

int heard = 0;
int Count(int code, int*) { return heard += code; }

} // namespace

int main() {
    SYS_StringBase text("R");
    text << 10;
    SYS_Transform turn(SYS_Point(0, 0), 162000000);
    SYS_Point p = turn.Transform(SYS_Point(10, 0));
    SCC_Notifier notifier;
    SCC_EventHook<int> hook(0, Count);
    hook.Connect(&notifier);
    notifier.Notify(3, nullptr);
    bool ok = text == "R10" && text.CompareAlNum("R9") > 0 && p == SYS_Point(0, 10) && heard == 3 &&
              TR(250) == "Can't open %s";
    std::printf("%s\n", ok ? "consumer: ok" : "consumer: FAILED");
    return ok ? 0 : 1;
}
