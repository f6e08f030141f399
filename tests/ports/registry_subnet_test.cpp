// The list of subnets that discovery searches beyond the local segment.

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "ports/registry_store.h"
#include "tests/support/spooler_start.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::RegistryOperation;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

class RegistrySubnetTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
    }
    void SetSubnet(const std::wstring& name, const std::wstring& text) {
        memory_.SetText(HKEY_LOCAL_MACHINE, Path(), name, text);
    }
    static std::wstring Path() { return std::wstring(test::kSoftwareKey) + L"\\subnet"; }

    std::vector<std::pair<std::wstring, std::wstring>> Load() {
        list_.clear();
        return LoadMore();
    }
    std::vector<std::pair<std::wstring, std::wstring>> LoadMore() {
        store_.LoadSubnetList(list_);
        std::vector<std::pair<std::wstring, std::wstring>> subnets;
        for (const CSubnet& subnet : list_) {
            subnets.emplace_back(subnet.Address, subnet.Mask);
        }
        return subnets;
    }

    std::vector<CSubnet> list_;
};

TEST_F(RegistrySubnetTest, MissingListIsNormal) {
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre("INFO: Unable to open key ( subnet )"));
}

TEST_F(RegistrySubnetTest, LoadsAddressAndMaskByNumber) {
    // The values' numbers count, not the order in which they are stored.
    SetSubnet(L"subnet1", L"10.0.1.0;255.255.255.0");
    SetSubnet(L"subnet0", L"10.0.0.0;255.255.0.0");
    EXPECT_THAT(Load(), ElementsAre(Pair(L"10.0.0.0", L"255.255.0.0"),
                                    Pair(L"10.0.1.0", L"255.255.255.0")));
    EXPECT_THAT(Lines(), IsEmpty());
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2)) << "the list's key is closed again";
}

TEST_F(RegistrySubnetTest, LoadsMoreThanTen) {
    for (int number = 0; number < 12; ++number) {
        SetSubnet(L"subnet" + std::to_wstring(number), std::to_wstring(number) + L";m");
    }
    const auto subnets = Load();
    ASSERT_THAT(subnets, SizeIs(12));
    EXPECT_EQ(subnets[11].first, L"11");
}

TEST_F(RegistrySubnetTest, SplitsAtTheFirstSemicolon) {
    SetSubnet(L"subnet0", L"a;b;c");
    SetSubnet(L"subnet1", L";mask");
    SetSubnet(L"subnet2", L"address;");
    EXPECT_THAT(Load(), ElementsAre(Pair(L"a", L"b;c"), Pair(L"", L"mask"), Pair(L"address", L"")));
}

TEST_F(RegistrySubnetTest, SkipsAValueWithoutASemicolon) {
    SetSubnet(L"subnet0", L"10.0.0.0");
    SetSubnet(L"subnet1", L"10.0.1.0;255.255.255.0");
    EXPECT_THAT(Load(), ElementsAre(Pair(L"10.0.1.0", L"255.255.255.0")));
}

TEST_F(RegistrySubnetTest, EndsAtTheFirstMissingNumber) {
    SetSubnet(L"subnet0", L"a;b");
    SetSubnet(L"subnet2", L"c;d");
    SetSubnet(L"subnet3", L"e;f");
    EXPECT_THAT(Load(), ElementsAre(Pair(L"a", L"b")));
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to get subnetvalue ( subnet1 )"));
}

TEST_F(RegistrySubnetTest, ValueOfAnotherTypeEndsTheList) {
    memory_.SetDword(HKEY_LOCAL_MACHINE, Path(), L"subnet0", 1);
    SetSubnet(L"subnet1", L"c;d");
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to get subnetvalue ( subnet0 )"));
}

TEST_F(RegistrySubnetTest, EmptyListHasNoSubnets) {
    memory_.MakeKey(HKEY_LOCAL_MACHINE, Path());
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(RegistrySubnetTest, ListThatCannotBeCountedIsLogged) {
    SetSubnet(L"subnet0", L"a;b");
    registry_.AddFault({.operation = RegistryOperation::kQueryInfoKey, .code = 5});
    EXPECT_THAT(Load(), IsEmpty());
    EXPECT_THAT(Lines(), ElementsAre("ERROR: Unable to query info key ( subnet, 5 )"));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2));
}

TEST_F(RegistrySubnetTest, AppendsToAListThatIsNotEmptyAndSaysSo) {
    SetSubnet(L"subnet0", L"a;b");
    Load();
    EXPECT_THAT(LoadMore(), ElementsAre(Pair(L"a", L"b"), Pair(L"a", L"b")));
    EXPECT_THAT(Lines(), ElementsAre("ERROR: SubnetList is not Empty"));
}

TEST_F(RegistrySubnetTest, ListIsReadWithoutWriteRights) {
    SetSubnet(L"subnet0", L"a;b");
    memory_.SetWritable(HKEY_LOCAL_MACHINE, Path(), false);
    EXPECT_THAT(Load(), SizeIs(1));
}

}  // namespace
}  // namespace ksp
