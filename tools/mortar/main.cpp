// mortar: the command-line companion of the library. See `mortar --help`.
#include "command.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace mortar::tool {

int Fail(char const* command, std::string const& message, int code) {
    std::fprintf(stderr, "mortar %s: %s\n", command, message.c_str());
    return code;
}

bool WantsHelp(Args const& args) {
    for (std::string const& a : args)
        if (a == "-h" || a == "--help") return true;
    return false;
}

} // namespace mortar::tool

namespace {

using namespace mortar::tool;

struct Command {
    char const* name;
    int (*run)(Args const&);
    char const* summary;
};

Command const kCommands[] = {
    {"tour", Tour, "a guided walk through Mortar on bundled sample data, writing PNG pictures"},
    {"msg", Msg, "compile, show and dump message catalogs (text form and .mdb)"},
    {"grep", Grep, "print the lines that match a pattern of the library's dialect"},
    {"sub", Sub, "substitute every match of a pattern on each line"},
    {"units", Units, "convert a value between user units through base units"},
};

void Usage(std::FILE* out) {
    std::fprintf(out,
                 "usage: mortar COMMAND [ARGS...]\n"
                 "       mortar COMMAND --help\n\n"
                 "Commands:\n");
    for (Command const& c : kCommands) std::fprintf(out, "  %-6s %s\n", c.name, c.summary);
    std::fprintf(out, "\nmortar %s\n", MORTAR_TOOL_VERSION);
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        Usage(stderr);
        return ExitUsage;
    }
    std::string const name = argv[1];
    if (name == "-h" || name == "--help" || name == "help") {
        Usage(stdout);
        return ExitOk;
    }
    if (name == "--version") {
        std::printf("mortar %s\n", MORTAR_TOOL_VERSION);
        return ExitOk;
    }
    Args args(argv + 2, argv + argc);
    for (Command const& c : kCommands)
        if (name == c.name) return c.run(args);
    std::fprintf(stderr, "mortar: unknown command '%s'\n\n", name.c_str());
    Usage(stderr);
    return ExitUsage;
}
