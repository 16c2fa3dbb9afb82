// The chain of int, built once into the library (declared extern in SCC_Event.h).
#include <mortar/scc/SCC_Event.h>

template class SCC_EventNode<int>;
template class SCC_Event<int>;
template class SCC_EventHook<int>;

SCC_Notifier::~SCC_Notifier() = default;
