// The unit names before and after the first SYS_Convert of the process. This program constructs
// no SYS_Convert anywhere else, so the first half sees the table as the library loads it.
#include <mortar/sys/SYS_Convert.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> WalkNames() {
    std::vector<std::string> names;
    SYS_Convert::UnitTypeObj units;
    for (units.GetFirst(nullptr); units.IsValid(); units.GetNext())
        names.push_back(units.GetName());
    return names;
}

TEST(ConvertNames, AreFetchedByTheFirstConvert) {
    EXPECT_EQ(WalkNames(), std::vector<std::string>(7, "")) << "no SYS_Convert yet: empty names";
    EXPECT_STREQ(SYS_Convert::GetUnitName(SYS_UnitInches), "");
    SYS_Convert::UnitTypeObj units;
    units.SetHandle(3, nullptr);
    EXPECT_EQ(units.GetType(), SYS_UnitInches) << "the other fields are there from the start";

    SYS_Convert first(SYS_UnitInches);
    std::vector<std::string> const filled{
        "Mils", "Metric", "Inches", "Micron", "PDF units", "Basic ASCII PCB units", ""};
    EXPECT_EQ(WalkNames(), filled);
    char const* inches = first.GetUnitName();
    EXPECT_STREQ(inches, "Inches");

    SYS_Convert second(SYS_UnitMils);
    second.SetData(SYS_UnitInches, SYS_Point(0, 0));
    EXPECT_EQ(second.GetUnitName(), inches) << "later constructions leave the table alone";
    EXPECT_EQ(WalkNames(), filled);
}

} // namespace
