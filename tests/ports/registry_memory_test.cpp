// What the store does when memory runs out. The values read here are larger than anything else that
// is allocated meanwhile.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "tests/support/scarce_memory.h"
#include "tests/support/spooler_start.h"
#include "tests/support/store_test.h"

namespace ksp {
namespace {

using test::ScarceMemory;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr std::size_t kLarge = ScarceMemory::kLarge;

class RegistryMemoryTest : public test::StoreTest {
  protected:
    void SetUp() override {
        StoreTest::SetUp();
        Open();
    }
};

TEST_F(RegistryMemoryTest, PortForWhichThereIsNoMemoryIsLeftOut) {
    SetPortText(L"a", L"PrinterAddress", L"a");
    SetPortText(L"b", L"PrinterAddress", std::wstring(kLarge, L'x'));
    SetPortText(L"c", L"PrinterAddress", L"c");
    CPortInfoList list;
    {
        const ScarceMemory none(0);
        EXPECT_EQ(store_.LoadPorts(list), 1);
    }
    ASSERT_THAT(list, SizeIs(2));
    EXPECT_EQ(list[1]->PortName, L"c");
    EXPECT_THAT(Lines(), ElementsAre("INFO: Load Port : a", "INFO: Load Port : b",
                                     "CRITICAL: memory allocation error", "INFO: Load Port : c"));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2));
}

TEST_F(RegistryMemoryTest, SubnetForWhichThereIsNoMemoryEndsTheList) {
    const std::wstring path = std::wstring(test::kSoftwareKey) + L"\\subnet";
    memory_.SetText(HKEY_LOCAL_MACHINE, path, L"subnet0", L"a;b");
    memory_.SetText(HKEY_LOCAL_MACHINE, path, L"subnet1", std::wstring(kLarge, L'x') + L";m");
    memory_.SetText(HKEY_LOCAL_MACHINE, path, L"subnet2", L"c;d");
    // The bytes, the text, and the address: whichever cannot be had ends the list.
    for (const int met : {0, 1, 2}) {
        std::vector<CSubnet> list;
        {
            const ScarceMemory some(met);
            EXPECT_NO_THROW(store_.LoadSubnetList(list)) << met;
        }
        EXPECT_THAT(list, SizeIs(1)) << met;
    }
    EXPECT_THAT(Lines(),
                ElementsAre("ERROR: Error Memory Allocate.", "ERROR: Error Memory Allocate.",
                            "ERROR: Error Memory Allocate."));
    EXPECT_THAT(registry_.OpenKeys(), SizeIs(2));
}

}  // namespace
}  // namespace ksp
