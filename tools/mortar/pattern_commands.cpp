// mortar grep [-o] [-c] PATTERN [FILE...]   and   mortar sub PATTERN REPLACEMENT [FILE]
#include "command.h"

#include <mortar/platform/mbstring.h>
#include <mortar/sys/SYS_StrPattern.h>
#include <mortar/sys/SYS_StringBase.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>

namespace mortar::tool {

namespace {

char const kGrepHelp[] =
    "usage: mortar grep [-o] [-c] PATTERN [FILE...]\n\n"
    "Prints the lines that match PATTERN, a pattern of the library's own dialect (see\n"
    "SYS_StrPattern.h): literals, . $ ^, [sets], (a|b) groups, the classes :a :b :c :d :l :u :x\n"
    "and the number classes :h :n :z, the postfixes * + ? (greedy) and @ # (minimal).\n"
    "Reads standard input when no FILE is given; with several files each line is prefixed\n"
    "with its file name.\n\n"
    "  -o   print only the matched parts, one per line\n"
    "  -c   print the number of matching lines (per file)\n\n"
    "Exit code: 0 when a line matched, 1 when none did, 2 on an error.\n";

char const kSubHelp[] =
    "usage: mortar sub PATTERN REPLACEMENT [FILE]\n\n"
    "Prints every line of FILE (or standard input) with each match of PATTERN replaced by\n"
    "REPLACEMENT, which is taken literally. Inserted text is not searched again, and each\n"
    "search starts a new text, so '^' holds behind every replacement.\n";

// Reads one file line by line; "-" is standard input. Returns false when it can't be opened.
template <typename OnLine>
bool ForEachLine(std::string const& name, OnLine onLine) {
    std::ifstream file;
    std::istream* in = &std::cin;
    if (name != "-") {
        file.open(name, std::ios::binary);
        if (!file) return false;
        in = &file;
    }
    std::string line;
    while (std::getline(*in, line)) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        onLine(line);
    }
    return true;
}

bool Compile(char const* command, std::string const& text, SYS_StrPattern& pattern) {
    pattern = text.c_str();
    if (*static_cast<char const*>(pattern) != '\0') return true;
    Fail(command, "'" + text + "' is not a valid pattern", ExitUsage);
    return false;
}

} // namespace

int Grep(Args const& args) {
    if (WantsHelp(args)) {
        std::fputs(kGrepHelp, stdout);
        return ExitOk;
    }
    bool onlyMatches = false, countOnly = false;
    std::size_t i = 0;
    for (; i < args.size() && args[i].size() > 1 && args[i][0] == '-'; ++i) {
        if (args[i] == "--") {
            ++i;
            break;
        }
        for (std::size_t k = 1; k < args[i].size(); ++k) {
            if (args[i][k] == 'o')
                onlyMatches = true;
            else if (args[i][k] == 'c')
                countOnly = true;
            else
                return Fail("grep", "unknown option '" + args[i] + "' (see mortar grep --help)", ExitUsage);
        }
    }
    if (i >= args.size()) return Fail("grep", "needs a PATTERN (see mortar grep --help)", ExitUsage);
    SYS_StrPattern pattern;
    if (!Compile("grep", args[i], pattern)) return ExitUsage;
    Args files(args.begin() + static_cast<std::ptrdiff_t>(i) + 1, args.end());
    if (files.empty()) files.push_back("-");
    bool const prefix = files.size() > 1;

    bool anyMatch = false, anyError = false;
    for (std::string const& name : files) {
        std::string const label = prefix ? (name == "-" ? "(standard input)" : name) + ":" : "";
        long count = 0;
        bool opened = ForEachLine(name, [&](std::string const& line) {
            int length = 0;
            int at = pattern.Match(line.c_str(), &length);
            if (at < 0) return;
            ++count;
            if (countOnly) return;
            if (!onlyMatches) {
                std::printf("%s%s\n", label.c_str(), line.c_str());
                return;
            }
            // Every match of the line, left to right; after an empty match move on by one
            // character so that the walk ends.
            char const* text = line.c_str();
            while (at >= 0) {
                if (length > 0) std::printf("%s%.*s\n", label.c_str(), length, text + at);
                text += at + length;
                if (length == 0) {
                    if (*text == '\0') break;
                    text = mortar::mbsinc(text);
                }
                at = pattern.Match(text, &length);
            }
        });
        if (!opened) {
            Fail("grep", "can't read '" + name + "'");
            anyError = true;
            continue;
        }
        if (countOnly) std::printf("%s%ld\n", label.c_str(), count);
        anyMatch = anyMatch || count > 0;
    }
    return anyError ? ExitUsage : anyMatch ? ExitOk : ExitFailure;
}

int Sub(Args const& args) {
    if (WantsHelp(args)) {
        std::fputs(kSubHelp, stdout);
        return ExitOk;
    }
    if (args.size() < 2 || args.size() > 3)
        return Fail("sub", "needs PATTERN, REPLACEMENT and at most one FILE (see mortar sub --help)", ExitUsage);
    SYS_StrPattern pattern;
    if (!Compile("sub", args[0], pattern)) return ExitUsage;
    SYS_StringBase const replacement(args[1].c_str());
    std::string const name = args.size() == 3 ? args[2] : "-";
    bool opened = ForEachLine(name, [&](std::string const& line) {
        SYS_StringBase text(line.c_str(), static_cast<int>(line.size()));
        pattern.Substitute(text, replacement, 0);
        std::fwrite(text.GetString(), 1, static_cast<std::size_t>(text.GetLength()), stdout);
        std::fputc('\n', stdout);
    });
    return opened ? ExitOk : Fail("sub", "can't read '" + name + "'");
}

} // namespace mortar::tool
