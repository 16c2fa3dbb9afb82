// Commands whose library parts are still to come.
#include "command.h"

namespace mortar::tool {

int Grep(Args const&) { return Fail("grep", "not available yet"); }
int Sub(Args const&) { return Fail("sub", "not available yet"); }
int Msg(Args const&) { return Fail("msg", "not available yet"); }
int Tour(Args const&) { return Fail("tour", "not available yet"); }

} // namespace mortar::tool
