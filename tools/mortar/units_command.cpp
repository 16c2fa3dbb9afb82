// mortar units VALUE --from UNIT --to UNIT [--precision N]
#include "command.h"

#include <mortar/sys/SYS_Convert.h>

#include <cctype>
#include <cstdio>
#include <string>

namespace mortar::tool {

namespace {

struct UnitName {
    char const* name;
    SYS_UnitType type;
};

UnitName const kUnits[] = {
    {"mils", SYS_UnitMils},     {"metric", SYS_UnitMetric},    {"inches", SYS_UnitInches},
    {"micron", SYS_UnitMicron}, {"pdf", SYS_UnitPdf},          {"basic", SYS_UnitBasicAscii},
    {"centimeter", SYS_UnitCentimeter},
};

char const kHelp[] =
    "usage: mortar units VALUE --from UNIT --to UNIT [--precision N]\n\n"
    "Converts VALUE from one user unit to another through the library's base units\n"
    "(1/750 of a micron) and prints the result, trailing zeros trimmed.\n\n"
    "  --from UNIT       the unit of VALUE\n"
    "  --to UNIT         the unit to print in\n"
    "  --precision N     decimals of the result (default: the unit's own, 0 to 20)\n\n"
    "Units: mils (2 decimals), metric (millimetres, 5), inches (5), micron (2), pdf\n"
    "(1/72 inch, 0), basic (half a base unit, 2), centimeter (5).\n\n"
    "Example: mortar units 1 --from inches --to metric   prints 25.4\n";

bool FindUnit(std::string const& name, SYS_UnitType& type) {
    for (UnitName const& u : kUnits)
        if (name == u.name) {
            type = u.type;
            return true;
        }
    return false;
}

std::string KnownUnits() {
    std::string list;
    for (UnitName const& u : kUnits) list += (list.empty() ? "" : ", ") + std::string(u.name);
    return list;
}

} // namespace

int Units(Args const& args) {
    if (WantsHelp(args)) {
        std::fputs(kHelp, stdout);
        return ExitOk;
    }
    std::string value, from, to, precision;
    bool haveValue = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string const& a = args[i];
        std::string* option = a == "--from" ? &from : a == "--to" ? &to : a == "--precision" ? &precision : nullptr;
        if (option != nullptr) {
            if (i + 1 >= args.size()) return Fail("units", a + " needs a value", ExitUsage);
            *option = args[++i];
        } else if (!haveValue && (a.empty() || a[0] != '-' || a.size() == 1 || std::isdigit(static_cast<unsigned char>(a[1])) || a[1] == '.')) {
            value = a;
            haveValue = true;
        } else {
            return Fail("units", "unexpected argument '" + a + "' (see mortar units --help)", ExitUsage);
        }
    }
    if (!haveValue || from.empty() || to.empty())
        return Fail("units", "needs VALUE, --from UNIT and --to UNIT (see mortar units --help)", ExitUsage);

    SYS_UnitType fromType, toType;
    if (!FindUnit(from, fromType)) return Fail("units", "unknown unit '" + from + "' (known: " + KnownUnits() + ")", ExitUsage);
    if (!FindUnit(to, toType)) return Fail("units", "unknown unit '" + to + "' (known: " + KnownUnits() + ")", ExitUsage);

    SYS_Convert input(fromType);
    double base = 0.0;
    if (value.empty() || !input.Str2Base(value.c_str(), &base))
        return Fail("units", "'" + value + "' is not a number", ExitUsage);

    SYS_Convert output(toType);
    if (!precision.empty()) {
        int32_t digits = 0;
        if (!SYS_Convert::Str2Long(precision.c_str(), &digits) || digits < 0 || digits > 20)
            return Fail("units", "--precision takes a whole number from 0 to 20", ExitUsage);
        output.SetUnitPrecision(digits);
    }
    std::printf("%s\n", output.Base2Str(base).GetString());
    return ExitOk;
}

} // namespace mortar::tool
