// A port that is looked up in the machine's registry while others come and go in front of it: every
// key that goes moves the ones behind it, and an enumeration can step over the one that it looks
// for.

#include <atomic>
#include <optional>
#include <thread>

#include "tests/monitor/port_call_test.h"
#include "tests/reliability/test_hive.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {
namespace {

class ChangingRegistryTest : public PortCallTest {
  protected:
    void SetUp() override {
        PortCallTest::SetUp();
        hive_name_ = L"kspmon-test changes " + std::to_wstring(GetCurrentProcessId());
        hive_.emplace(hive_name_);
        hive_->SetUpMonitor(directory());
        hive_->AddPort(L"port", 2, L"127.0.0.9");
    }
    void TearDown() override {
        Unload();
        hive_.reset();
        TestHive::Remove(hive_name_);
        PortCallTest::TearDown();
    }

    // How often the port is not found, or not as it is.
    int CountMisses(int looks) {
        XcvClient client(table(), monitor());
        XcvClient::Record record;
        int missed = 0;
        for (int look = 0; look < looks; ++look) {
            const bool found = client.GetPortConfig(L"port", record) == ERROR_SUCCESS &&
                               XcvClient::AddressIn(record) == L"127.0.0.9";
            missed += found ? 0 : 1;
        }
        return missed;
    }

    std::wstring hive_name_;
    std::optional<TestHive> hive_;
};

TEST_F(ChangingRegistryTest, APortIsFoundHoweverManyComeAndGo) {
    constexpr int kLooks = 1000;
    constexpr int kChangers = 4;
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    ASSERT_TRUE(library().Initialize(*hive_));
    spooler().PutPort(L"LPT1:");
    std::atomic<bool> over = false;
    std::atomic<int> changes = 0;
    std::atomic<int> refused = 0;
    std::vector<std::thread> changers;
    for (int number = 0; number < kChangers; ++number) {
        changers.emplace_back([&, number] {
            const std::wstring name = L"a port in front " + std::to_wstring(number);
            XcvClient client(table(), monitor());
            while (!over) {
                refused += client.AddPort(name, 2, L"127.0.0.8") == ERROR_SUCCESS ? 0 : 1;
                refused += client.DeletePort(name) == ERROR_SUCCESS ? 0 : 1;
                ++changes;
            }
        });
    }
    const int missed = CountMisses(kLooks);
    over = true;
    for (std::thread& changer : changers)
        changer.join();
    EXPECT_EQ(missed, 0) << "of " << kLooks << ", during " << changes << " changes";
    EXPECT_EQ(refused, 0);
    EXPECT_GE(changes, kChangers) << "nothing changed";
}

}  // namespace
}  // namespace ksp::test
