// Streams, devices and the library from their beginning to their end, used rightly and wrongly.

#include <thread>

#include "tests/snmp/library_test.h"

namespace ksp::test {
namespace {

using LibraryLifeTest = SnmpLibraryTest;

TEST_F(LibraryLifeTest, NothingIsDoneForNull) {
    char* text = nullptr;
    void* block = nullptr;
    int length = 0;
    MIMEItem* item = nullptr;
    EXPECT_NE(library_.KSInitialize(nullptr, 0), 0);
    EXPECT_NE(library_.KSSetProbeMode(nullptr, ""), 0);
    EXPECT_EQ(library_.KSProbe(nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_NE(library_.KSStopProbe(nullptr), 0);
    EXPECT_NE(library_.KSTerminate(nullptr), 0);
    EXPECT_NE(library_.KSDeleteStream(nullptr), 0);
    EXPECT_EQ(library_.KSGetDeviceCapability(nullptr, 1, &text), 0);
    EXPECT_NE(library_.KSSendRecvStream(nullptr, 1, "", &text, 0), 0);
    EXPECT_NE(library_.KSRecvCancel(nullptr, 1), 0);
    EXPECT_LT(library_.KSCreateDeviceHandle(nullptr, "127.0.0.1", ""), 1);
    EXPECT_NE(library_.KSDeleteDeviceHandle(nullptr, 1), 0);
    EXPECT_NE(library_.KSDeleteBuffer(nullptr, 1, nullptr), 0);
    EXPECT_EQ(library_.KSDeleteBuffer(nullptr, 1, &text), 0);
    EXPECT_NE(library_.KSDeleteMIMEUtil(nullptr), 0);
    EXPECT_NE(library_.KSMIMEDecode(nullptr, nullptr), 0);
    EXPECT_NE(library_.KSMIMESplitData(nullptr, "", &text, &length, &text, &length), 0);
    EXPECT_NE(library_.KSMIMEGetData(nullptr, "", "", &item), 0);
    EXPECT_NE(library_.KSMIMEDeleteBuffer(nullptr, nullptr), 0);
    EXPECT_EQ(library_.KSMIMEDeleteBuffer(nullptr, &block), 0);

    void* const stream = BeginStream(RegistrySettings{});
    EXPECT_NE(library_.KSSetProbeMode(stream, nullptr), 0);
    EXPECT_EQ(library_.KSProbe(stream, nullptr, nullptr, nullptr), 0);
    EXPECT_LT(library_.KSCreateDeviceHandle(stream, nullptr, ""), 1);
    EXPECT_LT(library_.KSCreateDeviceHandle(stream, "127.0.0.1", nullptr), 1);
    const DeviceHandle device = Open(stream, "127.0.0.1");
    EXPECT_EQ(library_.KSGetDeviceCapability(stream, device, nullptr), 0);
    EXPECT_NE(library_.KSSendRecvStream(stream, device, nullptr, &text, 0), 0);
    EXPECT_NE(library_.KSSendRecvStream(stream, device, "", nullptr, 0), 0);
    EndStream(stream);
}

TEST_F(LibraryLifeTest, AStreamIsUsableFromInitializeToTerminate) {
    void* const stream = library_.KSCreateStream();
    ASSERT_NE(stream, nullptr);
    EXPECT_LT(library_.KSCreateDeviceHandle(stream, "127.0.0.1", ""), 1);
    EXPECT_NE(library_.KSSetProbeMode(stream, "<ProbeMode/>"), 0);
    EXPECT_EQ(library_.KSInitialize(stream, 0), 0);
    EXPECT_NE(library_.KSInitialize(stream, 0), 0);
    const DeviceHandle device = Open(stream, "127.0.0.1");
    EXPECT_EQ(library_.KSSetProbeMode(stream, "<ProbeMode/>"), 0);
    EXPECT_NE(library_.KSSetProbeMode(stream, "<ProbeMode"), 0);
    EXPECT_EQ(library_.KSTerminate(stream), 0);
    EXPECT_NE(library_.KSRecvCancel(stream, device), 0) << "a device of a stream that has ended";
    EXPECT_LT(library_.KSCreateDeviceHandle(stream, "127.0.0.1", ""), 1);
    EXPECT_NE(library_.KSInitialize(stream, 0), 0);
    EXPECT_EQ(library_.KSDeleteStream(stream), 0);
    EXPECT_NE(library_.KSDeleteStream(stream), 0);
    EXPECT_NE(library_.KSTerminate(stream), 0);
}

TEST_F(LibraryLifeTest, AHandleIsNeverGivenTwice) {
    void* const stream = BeginStream(RegistrySettings{});
    const DeviceHandle first = Open(stream, "127.0.0.1");
    EXPECT_EQ(library_.KSDeleteDeviceHandle(stream, first), 0);
    EXPECT_NE(library_.KSDeleteDeviceHandle(stream, first), 0);
    const DeviceHandle second = Open(stream, "127.0.0.1");
    EXPECT_NE(second, first);
    EXPECT_EQ(Capability(stream, first), "");
    EndStream(stream);
}

// An agent that says nothing, a device on it that is waited for an hour, and a thread that waits.
class LibraryCancelTest : public SnmpLibraryTest {
  protected:
    void SetUp() override {
        SnmpLibraryTest::SetUp();
        agent_.emplace();
        ASSERT_TRUE(agent_->ready());
        agent_->SetTwist(
            [](const AgentRequest&, const snmp::Bytes&) { return AgentResponder::Datagrams{}; });
        stream_ = BeginStream(*agent_);
        device_ = Open(stream_, agent_->address(), 3600'000, 0);
    }
    void TearDown() override {
        agent_.reset();
        SnmpLibraryTest::TearDown();
    }
    void AwaitRequest() {
        for (int attempt = 0; attempt < 1000 && agent_->requests().empty(); ++attempt) {
            ::Sleep(10);
        }
        ASSERT_FALSE(agent_->requests().empty());
    }
    // What the request ends with after that.
    int ResultAfter(const std::function<void()>& action) {
        int result = 0;
        std::thread asking([&] {
            char* reply = nullptr;
            result = library_.KSSendRecvStream(stream_, device_, MibRequest(kStatusColumn).c_str(),
                                               &reply, 0);
        });
        AwaitRequest();
        action();
        asking.join();
        return result;
    }

    std::optional<AgentResponder> agent_;
    void* stream_ = nullptr;
    DeviceHandle device_ = 0;
};

TEST_F(LibraryCancelTest, RecvCancelEndsTheWaitAndNoLaterOne) {
    EXPECT_EQ(ResultAfter([&] { library_.KSRecvCancel(stream_, device_); }), -4);
    library_.KSRecvCancel(stream_, device_);
    agent_->BePrinter("office", "0026AB123456");
    agent_->SetTwist(nullptr);
    EXPECT_EQ(ElementText(Capability(stream_, device_), "Device_Name"), "office");
    EndStream(stream_);
}

TEST_F(LibraryCancelTest, GivingUpTheDeviceEndsTheWait) {
    EXPECT_EQ(ResultAfter([&] { library_.KSDeleteDeviceHandle(stream_, device_); }), -4);
    EndStream(stream_);
}

TEST_F(LibraryCancelTest, TerminateEndsTheWait) {
    EXPECT_EQ(ResultAfter([&] { library_.KSTerminate(stream_); }), -4);
    library_.KSDeleteStream(stream_);
}

TEST_F(LibraryCancelTest, DeletingTheStreamEndsTheWait) {
    EXPECT_EQ(ResultAfter([&] { library_.KSDeleteStream(stream_); }), -4);
}

TEST_F(LibraryLifeTest, WhatWasNotGivenBackEndsWithTheLibrary) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    EXPECT_NE(Capability(stream, Open(stream, agent.address())), "");
    EXPECT_NE(library_.KSCreateMIMEUtil(), nullptr);
    // TearDown frees the library and counts.
}

TEST_F(LibraryLifeTest, TheLibraryCanBeLoadedAgainAndAgain) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    for (int round = 0; round < 10; ++round) {
        void* const stream = BeginStream(agent);
        EXPECT_NE(Capability(stream, Open(stream, agent.address())), "");
        EndStream(stream);
        Free();
        Load();
    }
}

}  // namespace
}  // namespace ksp::test
