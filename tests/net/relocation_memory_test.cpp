// A tracked printer that is looked for while memory runs out once, at each request in turn.

#include <new>

#include "support/logger.h"
#include "tests/net/relocation_test.h"
#include "tests/ports/port_memory_fault.h"
#include "tests/ports/port_sheltered_registry.h"
#include "tests/support/spooler_start.h"

namespace ksp::test {
namespace {

class RelocationMemoryTest : public RelocationTest {
  protected:
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(RelocationTest::SetUp());
        RegistryStore().CloseStore();
        GiveRegistry(RegistryStore(), sheltered_);
        ASSERT_EQ(RegistryStore().OpenPortsKey(), ERROR_SUCCESS);
        ASSERT_EQ(RegistryStore().OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    }

    ShelteredRegistry sheltered_{registry_};
};

// The address, an error, or the exception that fails the write: the bytes are then offered again.
TEST_F(RelocationMemoryTest, NeverLeadsAnywhereElse) {
    AddTrackedPort();
    AddDevice("127.0.0.2", "0026AB123456");
    std::uint32_t result = 0;
    size_t found = 0;
    size_t without_wrapper = 0;
    const std::wstring name = kName;
    const size_t requests = FailEachRequest(
        [&] {
            try {
                address_ = CSLIpAddr();
                result = address_.getByNamePrinting(name, CSLIpAddr::kFamily);
            } catch (const std::bad_alloc&) {
                result = ERROR_OUTOFMEMORY;
            }
        },
        [&] {
            const std::wstring led_to = address_.Text();
            if (result == 0) {
                ++found;
                EXPECT_TRUE(led_to == kStored || led_to == kName) << led_to.size();
            }
            for (const std::string& line : NewLines()) {
                without_wrapper += line == "ERROR: Failed Load Oryx." ? 1U : 0U;
            }
            EXPECT_EQ(library_.Leftovers(), "");
        });
    EXPECT_GT(requests, 10U);
    EXPECT_GE(found, 1U);
    EXPECT_EQ(without_wrapper, 1U);
    EXPECT_EQ(Resolve(), "127.0.0.2");
}

}  // namespace
}  // namespace ksp::test
