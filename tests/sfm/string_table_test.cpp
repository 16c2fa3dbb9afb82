#include <mortar/sfm/SFM_StringTable.h>

#include <gtest/gtest.h>

namespace {

TEST(StringTable, TextsComeBackUnformatted) {
    EXPECT_STREQ(TR(250).GetString(), "Can't open %s");
    EXPECT_STREQ(TR(256).GetString(), "Failed to delete %s");
    EXPECT_STREQ(TR(45000).GetString(), "Prefix name (or symbol) is omitted.");
    EXPECT_STREQ(TR(45013).GetString(), "%s is interpreted as \"%s\"");
    EXPECT_STREQ(TR(45062).GetString(), "Invalid floating point format.");
    EXPECT_STREQ(TR(45063).GetString(), "Value out of range.");
    EXPECT_STREQ(TR(45064).GetString(), "Please enter a value within the %c%lf,%lf%c range.");
    EXPECT_STREQ(TR(45079).GetString(), " W%s");
    EXPECT_STREQ(TR(45103).GetString(), "Error %i occurred (no further info).");
    EXPECT_STREQ(TR("45062").GetString(), "45062") << "the text form is no lookup";
    EXPECT_STREQ(TR(static_cast<char const*>(nullptr)).GetString(), "");
}

TEST(StringTable, EveryIdOutsideTheTableIsEmpty) {
    int present = 0;
    for (int id = -5; id < 46000; ++id) {
        bool inTable = (id >= 250 && id <= 256) || (id >= 45000 && id <= 45117);
        EXPECT_EQ(TR(id).IsEmpty() == 0, inTable) << "id " << id;
        present += inTable ? 1 : 0;
    }
    EXPECT_EQ(present, 125);
}

} // namespace
