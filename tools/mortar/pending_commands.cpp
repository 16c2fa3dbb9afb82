// Commands whose library parts are still to come.
#include "command.h"

namespace mortar::tool {

int Msg(Args const&) { return Fail("msg", "not available yet"); }
int Tour(Args const&) { return Fail("tour", "not available yet"); }

} // namespace mortar::tool
