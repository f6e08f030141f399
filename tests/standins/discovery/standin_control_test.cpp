// Faults, hooks and the reset.

#include "tests/standins/discovery/standin_test.h"

namespace ksp::test {
namespace {

using DiscoveryControlTest = DiscoveryStandinTest;

TEST_F(DiscoveryControlTest, WhatCreatesFailsWithNull) {
    control_.FailNth(DiscoveryCreateStream, 2);
    control_.FailNth(DiscoveryCreateMIMEUtil, 1);
    control_.AddDevice({.address = "127.0.0.2"});
    control_.FailNth(DiscoveryCreateDeviceHandle, 1);
    control_.FailNth(DiscoveryCreateDeviceHandle, 2, -5);
    void* const stream = BeginStream();
    EXPECT_EQ(library_.KSCreateStream(), nullptr);
    EXPECT_EQ(library_.KSCreateMIMEUtil(), nullptr);
    EXPECT_EQ(library_.KSCreateDeviceHandle(stream, "127.0.0.2", ""), 0);
    EXPECT_EQ(library_.KSCreateDeviceHandle(stream, "127.0.0.2", ""), -5);
    EXPECT_EQ(control_.Held().device_handles, 0u);
    EXPECT_EQ(control_.Held().mime_utilities, 0u);
    EndStream(stream);
    EXPECT_EQ(control_.Calls(DiscoveryCreateStream).size(), 2u);
}

TEST_F(DiscoveryControlTest, WhatAnswersWithACodeFailsWithIt) {
    void* const stream = library_.KSCreateStream();
    control_.FailNth(DiscoveryInitialize, 1, 42);
    EXPECT_EQ(library_.KSInitialize(stream, 0), 42);
    EXPECT_EQ(library_.KSInitialize(stream, 0), 0);

    control_.FailFrom(DiscoveryProbe, 2);
    ProbeWitness witness;
    ASSERT_NE(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    library_.KSStopProbe(stream);
    EXPECT_EQ(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    EXPECT_EQ(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    control_.ClearFaults();
    EXPECT_NE(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    EndStream(stream);
}

TEST_F(DiscoveryControlTest, WhatGivesBackFailsButDoesItsWork) {
    control_.AddDevice({.address = "127.0.0.2"});
    void* const stream = BeginStream();
    const DeviceHandle device = library_.KSCreateDeviceHandle(stream, "127.0.0.2", "");
    void* const util = library_.KSCreateMIMEUtil();
    char* document = nullptr;
    ASSERT_NE(library_.KSGetDeviceCapability(stream, device, &document), 0);
    for (const DiscoveryFunction function :
         {DiscoveryStopProbe, DiscoveryDeleteBuffer, DiscoveryTerminate, DiscoveryDeleteStream,
          DiscoveryDeleteDeviceHandle, DiscoveryDeleteMIMEUtil}) {
        control_.FailNth(function, 1);
    }
    EXPECT_EQ(library_.KSDeleteBuffer(stream, device, &document), -1);
    EXPECT_EQ(document, nullptr);
    EXPECT_EQ(library_.KSDeleteDeviceHandle(stream, device), -1);
    EXPECT_EQ(library_.KSDeleteMIMEUtil(util), -1);
    EXPECT_EQ(library_.KSStopProbe(stream), -1);
    EXPECT_EQ(library_.KSTerminate(stream), -1);
    EXPECT_EQ(library_.KSDeleteStream(stream), -1);
}

TEST_F(DiscoveryControlTest, ACallMaySucceedAndGiveNothing) {
    control_.AddDevice({.address = "127.0.0.2", .mac = "000000000001"});
    void* const stream = BeginStream();
    const DeviceHandle device = library_.KSCreateDeviceHandle(stream, "127.0.0.2", "");
    char* text = nullptr;
    control_.EmptyNth(DiscoveryGetDeviceCapability, 1);
    EXPECT_NE(library_.KSGetDeviceCapability(stream, device, &text), 0);
    EXPECT_EQ(text, nullptr);
    control_.EmptyNth(DiscoverySendRecvStream, 1);
    EXPECT_EQ(library_.KSSendRecvStream(stream, device, "<d id=\"MACAddress\"", &text, 0), 0);
    EXPECT_EQ(text, nullptr);
    library_.KSDeleteDeviceHandle(stream, device);
    EndStream(stream);
}

TEST_F(DiscoveryControlTest, AFailingCallMayGiveSomethingAllTheSame) {
    control_.AddDevice({.address = "127.0.0.2"});
    void* const stream = BeginStream();
    const DeviceHandle device = library_.KSCreateDeviceHandle(stream, "127.0.0.2", "");
    control_.AddFault({.function = DiscoveryGetDeviceCapability,
                       .nth = 1,
                       .and_later = FALSE,
                       .kind = DiscoveryDoAndFail,
                       .result = 0});
    char* document = nullptr;
    EXPECT_EQ(library_.KSGetDeviceCapability(stream, device, &document), 0);
    EXPECT_NE(document, nullptr);
    library_.KSDeleteBuffer(stream, device, &document);
    library_.KSDeleteDeviceHandle(stream, device);
    EndStream(stream);
}

TEST_F(DiscoveryControlTest, AHookMayChangeTheNetworkUnderACall) {
    control_.AddDevice({.address = "127.0.0.2"});
    void* const stream = BeginStream();
    control_.SetHook(DiscoveryCreateDeviceHandle, [&] { control_.RemoveDevice("127.0.0.2"); });
    EXPECT_EQ(library_.KSCreateDeviceHandle(stream, "127.0.0.2", ""), 0);
    control_.SetHook(DiscoveryCreateDeviceHandle, nullptr);
    control_.AddDevice({.address = "127.0.0.2"});
    const DeviceHandle device = library_.KSCreateDeviceHandle(stream, "127.0.0.2", "");
    EXPECT_GT(device, 0);
    library_.KSDeleteDeviceHandle(stream, device);
    EndStream(stream);
}

TEST_F(DiscoveryControlTest, AResetForgetsEverything) {
    control_.AddDevice({.address = "127.0.0.2"});
    control_.FailFrom(DiscoveryCreateStream, 2);
    control_.SetAnswers({});
    void* const stream = BeginStream();
    library_.KSTerminate(nullptr);
    EXPECT_NE(control_.Leftovers(), "");
    control_.Reset();
    EXPECT_EQ(control_.Leftovers(), "");
    EXPECT_TRUE(control_.Calls().empty());
    EXPECT_FALSE(control_.RemoveDevice("127.0.0.2"));
    EXPECT_EQ(library_.KSDeleteStream(stream), -1);
    ExpectMisuses({"KSDeleteStream: a stream that this library did not hand out"});
    EndStream(BeginStream());
    EXPECT_EQ(control_.Calls().size(), 5u);
}

}  // namespace
}  // namespace ksp::test
