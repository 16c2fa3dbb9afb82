// The commands of the mortar program and the small helpers they share.
#ifndef MORTAR_TOOLS_COMMAND_H
#define MORTAR_TOOLS_COMMAND_H

#include <string>
#include <vector>

namespace mortar::tool {

/// The words behind the command name.
using Args = std::vector<std::string>;

/// Exit codes: success, a failure of the work (a file that can't be read, no match), a usage error.
enum Exit { ExitOk = 0, ExitFailure = 1, ExitUsage = 2 };

/// Writes "mortar COMMAND: message" and a line break to standard error; returns `code`.
int Fail(char const* command, std::string const& message, int code = ExitFailure);

/// True when `args` asks for help (-h or --help anywhere).
bool WantsHelp(Args const& args);

int Units(Args const& args);
int Grep(Args const& args);
int Sub(Args const& args);
int Msg(Args const& args);
int Tour(Args const& args);

} // namespace mortar::tool

#endif
