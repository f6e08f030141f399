#include "snmp/object_id.h"

#include <gmock/gmock.h>

namespace ksp::test {
namespace {

using snmp::CObjectId;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(ObjectIdTest, IsReadAndWrittenAsDottedText) {
    for (const std::string text :
         {"0.0", "0.39", "1.3.6.1.2.1.25.3.5.1.1", "2.4294967295", "1.3.4294967295.0"}) {
        const auto id = CObjectId::Parse(text);
        ASSERT_TRUE(id) << text;
        EXPECT_EQ(id->Text(), text);
    }
}

TEST(ObjectIdTest, AnyOtherTextIsNone) {
    for (const std::string text :
         {"", "1", "1.", ".1.3", "1..3", "1.3.", "1.3 ", " 1.3", "1.-3", "1.+3", "1.3.x", "3.1",
          "0.40", "1.40", "1.3.4294967296", "1,3", "1.3.0x1"}) {
        EXPECT_FALSE(CObjectId::Parse(text)) << "'" << text << "'";
    }
}

TEST(ObjectIdTest, Has128NumbersAtMost) {
    std::string text = "1.3";
    for (int count = 2; count < 128; ++count) {
        text += ".1";
    }
    EXPECT_TRUE(CObjectId::Parse(text));
    EXPECT_FALSE(CObjectId::Parse(text + ".1"));
    EXPECT_EQ(CObjectId::Parse(text)->Child(7).Text(), text);
}

TEST(ObjectIdTest, TellsWhatIsBehindABeginning) {
    const CObjectId column{1, 3, 6, 1};
    EXPECT_THAT(CObjectId({1, 3, 6, 1, 7, 9}).Behind(column), ElementsAre(7U, 9U));
    EXPECT_THAT(column.Behind(column), IsEmpty());
    EXPECT_FALSE(CObjectId({1, 3, 6}).BeginsWith(column));
    EXPECT_FALSE(CObjectId({1, 3, 6, 2, 7}).BeginsWith(column));
}

TEST(ObjectIdTest, IsOrderedAsAWalkGoes) {
    EXPECT_LT(CObjectId({1, 3}), CObjectId({1, 3, 0}));
    EXPECT_LT(CObjectId({1, 3, 9}), CObjectId({1, 3, 10}));
    EXPECT_LT(CObjectId({1, 3, 9, 5}), CObjectId({1, 3, 10}));
}

}  // namespace
}  // namespace ksp::test
