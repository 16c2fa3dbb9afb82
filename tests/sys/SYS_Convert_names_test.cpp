// The unit names before and after the first SYS_Convert of the process. This program constructs
// no SYS_Convert anywhere else, so the first half sees the table as the library loads it.
#include <mortar/sys/SYS_Convert.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// The name and unit value of each row that a walk visits.
std::vector<std::string> Walk() {
    std::vector<std::string> rows;
    SYS_Convert::UnitTypeObj units;
    for (units.GetFirst(nullptr); units.IsValid(); units.GetNext())
        rows.push_back(std::to_string(units.GetType()) + " " + units.GetName());
    return rows;
}

TEST(ConvertNames, AreFetchedByTheFirstConvert) {
    EXPECT_EQ(Walk(), (std::vector<std::string>{"0 ", "1 ", "2 ", "3 ", "4 ", "5 ", "6 "}))
        << "no SYS_Convert yet: empty names, the other fields already there";
    EXPECT_STREQ(SYS_Convert::GetUnitName(SYS_UnitInches), "");

    SYS_Convert first(SYS_UnitInches);
    std::vector<std::string> const filled{"0 Mils",      "1 Metric",   "2 Inches", "3 Micron",
                                          "4 PDF units", "5 Basic ASCII PCB units", "6 "};
    EXPECT_EQ(Walk(), filled);
    char const* inches = first.GetUnitName();
    SYS_Convert second(SYS_UnitMils);
    second.SetData(SYS_UnitInches, SYS_Point(0, 0));
    EXPECT_EQ(second.GetUnitName(), inches) << "later constructions leave the table alone";
    EXPECT_EQ(Walk(), filled);

    SYS_Convert::UnitTypeObj units;
    EXPECT_EQ(units.GetType(), -1) << "handle 0 reads the fallback row";
    for (int handle : {8, -1, INT32_MIN}) {
        units.SetHandle(handle, nullptr);
        EXPECT_EQ(units.GetType(), -1) << handle;
        EXPECT_STREQ(units.GetName(), "");
    }
    units.SetHandle(3, nullptr);
    SYS_Convert::UnitTypeObj copy(units);
    static_cast<SYS_StdInterface&>(copy).GetNext();
    EXPECT_STREQ(copy.GetName(), "Micron");
}

} // namespace
