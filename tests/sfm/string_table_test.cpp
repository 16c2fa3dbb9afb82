#include <mortar/sfm/SFM_StringTable.h>

#include <gtest/gtest.h>

namespace {

TEST(StringTable, TextsComeBackUnformattedAndOtherIdsAreEmpty) {
    EXPECT_STREQ(TR(250).GetString(), "Can't open %s");
    EXPECT_STREQ(TR(45013).GetString(), "%s is interpreted as \"%s\"");
    EXPECT_STREQ(TR(45064).GetString(), "Please enter a value within the %c%lf,%lf%c range.");
    EXPECT_STREQ(TR(45079).GetString(), " W%s");
    EXPECT_STREQ(TR("45062").GetString(), "45062") << "the text form is no lookup";
    EXPECT_STREQ(TR(static_cast<char const*>(nullptr)).GetString(), "");
    for (int id = -5; id < 46000; ++id) {
        bool inTable = (id >= 250 && id <= 256) || (id >= 45000 && id <= 45117);
        EXPECT_EQ(TR(id).IsEmpty() == 0, inTable) << "id " << id;
    }
}

} // namespace
