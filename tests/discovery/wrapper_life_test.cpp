// A wrapper starts, ends, and fails to start.

#include <memory>
#include <thread>

#include "discovery/oryx_wrapper.h"
#include "tests/discovery/discovery_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WrapperLifeTest : public DiscoveryTest {
  protected:
    // Every service fails without a line and without a call of the library.
    void ExpectEmpty(CKspOryxWrapper& wrapper) {
        library_.ClearCalls();
        NewLines();
        std::wstring address = L"as it was";
        std::wstring mac = L"as it was";
        EXPECT_FALSE(wrapper.FindDeviceByMac({L"0026AB123456"}, address, mac));
        EXPECT_EQ(address, L"") << "the address is cleared first";
        EXPECT_EQ(mac, L"as it was");
        CDeviceRecord record;
        EXPECT_FALSE(wrapper.ReadDeviceIdentity(L"127.0.0.2", record));
        CPrinterCondition condition;
        EXPECT_FALSE(wrapper.ReadStatus(L"127.0.0.2", condition));
        wrapper.Finalize();
        EXPECT_THAT(CallNames(), IsEmpty());
        EXPECT_THAT(NewLines(), IsEmpty());
    }
};

TEST_F(WrapperLifeTest, AStreamLivesFromStartUpToFinalize) {
    CKspOryxWrapper wrapper;
    ASSERT_TRUE(wrapper.StartUp());
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateStream", "KSInitialize"));
    EXPECT_EQ(library_.Held().streams, 1U);
    library_.ClearCalls();
    wrapper.Finalize();
    EXPECT_THAT(CallNames(), ElementsAre("KSStopProbe", "KSTerminate", "KSDeleteStream"));
    EXPECT_EQ(library_.Held().streams, 0U);
    EXPECT_THAT(NewLines(), IsEmpty());
    ExpectEmpty(wrapper);
}

TEST_F(WrapperLifeTest, TheDestructorFinalizes) {
    {
        CKspOryxWrapper wrapper;
        ASSERT_TRUE(wrapper.StartUp());
    }
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateStream", "KSInitialize", "KSStopProbe",
                                         "KSTerminate", "KSDeleteStream"));
}

TEST_F(WrapperLifeTest, AWrapperThatWasNotStartedIsEmpty) {
    CKspOryxWrapper wrapper;
    ExpectEmpty(wrapper);
}

TEST_F(WrapperLifeTest, StartedAgainItBeginsAfresh) {
    CKspOryxWrapper wrapper;
    ASSERT_TRUE(wrapper.StartUp());
    library_.ClearCalls();
    ASSERT_TRUE(wrapper.StartUp());
    EXPECT_THAT(CallNames(), ElementsAre("KSStopProbe", "KSTerminate", "KSDeleteStream",
                                         "KSCreateStream", "KSInitialize"));
    EXPECT_EQ(library_.Held().streams, 1U);
}

TEST_F(WrapperLifeTest, WithoutAStreamItDoesNotStart) {
    library_.FailNth(DiscoveryCreateStream, 1);
    CKspOryxWrapper wrapper;
    EXPECT_FALSE(wrapper.StartUp());
    EXPECT_THAT(NewLines(), ElementsAre("ERROR: failed create oryx stream handle)"));
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateStream"));
    ExpectEmpty(wrapper);
    EXPECT_TRUE(wrapper.StartUp()) << "the next start succeeds";
}

TEST_F(WrapperLifeTest, AStreamThatCannotBeInitialisedIsDeleted) {
    for (const int error : {7, -3}) {
        library_.ClearCalls();
        library_.FailNth(DiscoveryInitialize, 1, error);
        CKspOryxWrapper wrapper;
        EXPECT_FALSE(wrapper.StartUp());
        EXPECT_THAT(NewLines(),
                    ElementsAre("ERROR: failed initialize oryx(" + std::to_string(error) + ")"));
        EXPECT_THAT(CallNames(), ElementsAre("KSCreateStream", "KSInitialize", "KSDeleteStream"));
        ExpectEmpty(wrapper);
        library_.ClearFaults();
    }
}

TEST_F(WrapperLifeTest, AStartThatFailsEndsWhatWasThere) {
    CKspOryxWrapper wrapper;
    ASSERT_TRUE(wrapper.StartUp());
    library_.FailNth(DiscoveryCreateStream, 1);
    EXPECT_FALSE(wrapper.StartUp());
    EXPECT_EQ(library_.Held().streams, 0U);
    ExpectEmpty(wrapper);
}

TEST_F(WrapperLifeTest, EveryWrapperHasAStreamOfItsOwn) {
    const auto first = std::make_unique<CKspOryxWrapper>();
    auto second = std::make_unique<CKspOryxWrapper>();
    ASSERT_TRUE(first->StartUp());
    ASSERT_TRUE(second->StartUp());
    EXPECT_EQ(library_.Held().streams, 2U);
    second.reset();
    EXPECT_EQ(library_.Held().streams, 1U);
    library_.AddDevice({.address = "127.0.0.2", .mac = "0026AB123456"});
    CDeviceRecord record;
    EXPECT_TRUE(first->ReadDeviceIdentity(L"127.0.0.2", record));
}

TEST_F(WrapperLifeTest, WrappersWorkOnSeveralThreadsAtOnce) {
    library_.AddDevice({.address = "127.0.0.2", .mac = "0026AB123456"});
    library_.SetValue("127.0.0.2", kStatusOid, {4});
    library_.SetValue("127.0.0.2", kErrorStateOid, {0x40});
    const auto work = [] {
        for (int round = 0; round < 10; ++round) {
            CKspOryxWrapper wrapper;
            ASSERT_TRUE(wrapper.StartUp());
            CDeviceRecord record;
            ASSERT_TRUE(wrapper.ReadDeviceIdentity(L"127.0.0.2", record));
            EXPECT_EQ(record.MacAddress, L"0026AB123456");
            std::wstring address;
            std::wstring mac;
            ASSERT_TRUE(wrapper.FindDeviceByMac({L"0026AB123456"}, address, mac));
            EXPECT_EQ(address, L"127.0.0.2");
            CPrinterCondition condition;
            ASSERT_TRUE(wrapper.ReadStatus(L"127.0.0.2", condition));
            EXPECT_EQ(condition.state, 4U);
            EXPECT_EQ(condition.errors, 2U);
        }
    };
    std::thread other(work);
    work();
    other.join();
}

// The life time of a hop count shows in no document; it is read all the same.
TEST_F(WrapperLifeTest, EveryStartReadsTheSettings) {
    for (int round = 0; round < 2; ++round) {
        registry_.ClearCalls();
        CKspOryxWrapper wrapper;
        ASSERT_TRUE(wrapper.StartUp());
        for (const wchar_t* name : {L"WaitPrinterValueTimeout", L"WaitServerReplyTimeout",
                                    L"WaitStatusReplyTimeout", L"MultiCastTTL"}) {
            EXPECT_GE(registry_.CountCalls(RegistryOperation::kQueryValue, name), 1U);
        }
    }
}

}  // namespace
}  // namespace ksp::test
