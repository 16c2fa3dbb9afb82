// The unit names before and after the first SYS_Convert of the process. This program constructs
// no SYS_Convert anywhere else, so the first walk sees the table as the library loads it.
#include <mortar/sys/SYS_Convert.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Walk() {
    std::vector<std::string> rows;
    SYS_Convert::UnitTypeObj units;
    for (units.GetFirst(nullptr); units.IsValid(); units.GetNext())
        rows.push_back(std::to_string(units.GetType()) + " " + units.GetName());
    return rows;
}

TEST(ConvertNames, AreFetchedByTheFirstConvert) {
    EXPECT_EQ(Walk(), (std::vector<std::string>{"0 ", "1 ", "2 ", "3 ", "4 ", "5 ", "6 "}));
    char const* inches = SYS_Convert(SYS_UnitInches).GetUnitName(); // outlives its object
    EXPECT_EQ(SYS_Convert(SYS_UnitMils).GetUnitName(SYS_UnitInches), inches) << "later ones keep it";
    EXPECT_EQ(Walk(), (std::vector<std::string>{"0 Mils", "1 Metric", "2 Inches", "3 Micron", "4 PDF units",
                                                "5 Basic ASCII PCB units", "6 "}));
    SYS_Convert::UnitTypeObj units;
    for (int handle : {0, 8, -1, INT32_MIN}) {
        units.SetHandle(handle, nullptr);
        EXPECT_EQ(units.GetType(), -1) << handle;
        EXPECT_STREQ(units.GetName(), "");
    }
}

} // namespace
