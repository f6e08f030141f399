// What a library need not survive: the stand-in tells it and goes on.

#include "tests/standins/discovery/standin_test.h"

#include <cstring>

#include "support/windows_handles.h"

namespace ksp::test {
namespace {

constexpr char kAddress[] = "127.0.0.2";

class DiscoveryMisuseTest : public DiscoveryStandinTest {
  protected:
    void SetUp() override {
        DiscoveryStandinTest::SetUp();
        control_.AddDevice({.address = kAddress, .mac = "000000000002"});
    }

    DeviceHandle Open(void* stream) { return library_.KSCreateDeviceHandle(stream, kAddress, ""); }
};

TEST_F(DiscoveryMisuseTest, OfAStreamThatIsNone) {
    library_.KSInitialize(nullptr, 0);
    int number = 0;
    library_.KSSetProbeMode(&number, "");
    void* const stream = BeginStream();
    EndStream(stream);
    library_.KSStopProbe(stream);
    library_.KSDeleteStream(stream);
    ExpectMisuses({"KSInitialize: a stream that this library did not hand out",
                   "KSSetProbeMode: a stream that this library did not hand out",
                   "KSStopProbe: a stream used after it was deleted",
                   "KSDeleteStream: a stream used after it was deleted"});
}

TEST_F(DiscoveryMisuseTest, OfAStreamInTheWrongState) {
    void* const stream = library_.KSCreateStream();
    EXPECT_EQ(Open(stream), 0);
    library_.KSInitialize(stream, 1);
    library_.KSInitialize(stream, 0);
    library_.KSTerminate(stream);
    EXPECT_EQ(Open(stream), 0);
    library_.KSTerminate(stream);
    library_.KSDeleteStream(stream);
    ExpectMisuses({"KSCreateDeviceHandle: a stream used before KSInitialize",
                   "KSInitialize: a reserved argument that is not 0",
                   "KSInitialize: a stream initialised a second time",
                   "KSCreateDeviceHandle: a stream used after KSTerminate",
                   "KSTerminate: a stream used after KSTerminate"});
}

TEST_F(DiscoveryMisuseTest, OfProbes) {
    void* const stream = BeginStream();
    ProbeWitness witness;
    control_.SetAnswers({});
    EXPECT_EQ(library_.KSProbe(stream, nullptr, nullptr, nullptr), 0);
    EXPECT_NE(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    EXPECT_EQ(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    library_.KSSetProbeMode(stream, "");
    library_.KSTerminate(stream);
    library_.KSDeleteStream(stream);
    void* const other = BeginStream();
    EXPECT_NE(library_.KSProbe(other, ProbeWitness::Receive, &witness, nullptr), 0);
    library_.KSDeleteStream(other);
    ExpectMisuses({"KSProbe: null for the callback",
                   "KSProbe: a second probe before the first was stopped",
                   "KSSetProbeMode: a probe mode set while the probe runs",
                   "KSTerminate: a probe that was not stopped",
                   "KSDeleteStream: a probe that was not stopped"});
}

TEST_F(DiscoveryMisuseTest, InsideTheCallback) {
    void* const stream = BeginStream();
    UniqueHandle thread;
    ProbeWitness witness;
    control_.SetHook(DiscoveryProbeCallback,
                     [&] { thread.Reset(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId())); });
    witness.set_action([&](const ProbeWitness::Callback& callback) {
        library_.KSDeleteDeviceHandle(stream, callback.device);
        library_.KSStopProbe(stream);
    });
    EXPECT_NE(library_.KSProbe(stream, ProbeWitness::Receive, &witness, nullptr), 0);
    ASSERT_TRUE(witness.WaitFor(1));
    // Nobody waits for the probe any more, so the test does.
    EXPECT_EQ(WaitForSingleObject(thread.Get(), INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(control_.Held().probes, 0u);
    EndStream(stream);
    ExpectMisuses({"KSDeleteDeviceHandle: a device handle of a probe, which is the library's own",
                   "KSStopProbe: a probe ended inside its callback"});
}

TEST_F(DiscoveryMisuseTest, OfDeviceHandles) {
    void* const stream = BeginStream();
    void* const other = BeginStream();
    const DeviceHandle device = Open(stream);
    char* document = nullptr;
    EXPECT_EQ(library_.KSGetDeviceCapability(stream, 5, &document), 0);
    EXPECT_EQ(library_.KSGetDeviceCapability(other, device, &document), 0);
    EXPECT_EQ(library_.KSDeleteDeviceHandle(stream, device), 0);
    EXPECT_EQ(library_.KSDeleteDeviceHandle(stream, device), -1);
    EXPECT_EQ(library_.KSCreateDeviceHandle(stream, nullptr, ""), 0);
    EXPECT_EQ(library_.KSCreateDeviceHandle(stream, kAddress, nullptr), 0);
    EndStream(stream);
    EndStream(other);
    ExpectMisuses({"KSGetDeviceCapability: a device handle that this library did not hand out",
                   "KSGetDeviceCapability: a device handle of another stream",
                   "KSDeleteDeviceHandle: a device handle used after it was deleted",
                   "KSCreateDeviceHandle: null for the address",
                   "KSCreateDeviceHandle: null for the settings"});
}

TEST_F(DiscoveryMisuseTest, OfRequests) {
    void* const stream = BeginStream();
    const DeviceHandle device = Open(stream);
    char* reply = nullptr;
    library_.KSSendRecvStream(stream, device, nullptr, &reply, 0);
    library_.KSSendRecvStream(stream, device, "<none/>", nullptr, 0);
    library_.KSSendRecvStream(stream, device, "<none/>", &reply, 1);
    library_.KSSendRecvStream(stream, device, "<none/>", &reply, 0);
    library_.KSDeleteDeviceHandle(stream, device);
    EndStream(stream);
    ExpectMisuses({"KSSendRecvStream: null for the request",
                   "KSSendRecvStream: null for the reply's address",
                   "KSSendRecvStream: a reserved argument that is not 0",
                   "KSSendRecvStream: a request that KSRecvCancel did not end",
                   "KSDeleteDeviceHandle: a request that KSRecvCancel did not end"});
}

TEST_F(DiscoveryMisuseTest, OfLibraryBuffers) {
    void* const stream = BeginStream();
    const DeviceHandle device = Open(stream);
    const DeviceHandle other = Open(stream);
    char* document = nullptr;
    ASSERT_NE(library_.KSGetDeviceCapability(stream, device, &document), 0);
    char* again = document;
    void* wrong_kind = document;
    char text[] = "mine";
    char* foreign = text;
    void* const util = library_.KSCreateMIMEUtil();
    library_.KSMIMEDeleteBuffer(util, &wrong_kind);
    library_.KSDeleteMIMEUtil(util);
    library_.KSDeleteBuffer(stream, other, &document);
    library_.KSDeleteBuffer(stream, device, &again);
    library_.KSDeleteBuffer(stream, device, &foreign);
    library_.KSDeleteBuffer(stream, device, &document);
    library_.KSDeleteBuffer(stream, device, nullptr);
    EXPECT_STREQ(text, "mine");
    library_.KSDeleteDeviceHandle(stream, device);
    library_.KSDeleteDeviceHandle(stream, other);
    EndStream(stream);
    ExpectMisuses({"KSMIMEDeleteBuffer: a buffer that this library did not hand out",
                   "KSDeleteBuffer: a buffer of another owner",
                   "KSDeleteBuffer: a buffer used after it was deleted",
                   "KSDeleteBuffer: a buffer that this library did not hand out",
                   "KSDeleteBuffer: null for the buffer",
                   "KSDeleteBuffer: null for the buffer's address"});
}

TEST_F(DiscoveryMisuseTest, OfWhatIsDeletedTooEarly) {
    void* const stream = BeginStream();
    const DeviceHandle device = Open(stream);
    Open(stream);
    char* document = nullptr;
    ASSERT_NE(library_.KSGetDeviceCapability(stream, device, &document), 0);
    library_.KSDeleteDeviceHandle(stream, device);
    EndStream(stream);
    library_.KSDeleteBuffer(stream, device, &document);
    EXPECT_EQ(control_.Held().buffers, 0u);
    EXPECT_EQ(control_.Held().device_handles, 1u);
    ExpectMisuses({"KSDeleteDeviceHandle: buffers of the device not deleted",
                   "KSDeleteStream: device handles of the stream not deleted",
                   "KSDeleteStream: buffers of the stream not deleted",
                   "KSDeleteBuffer: a stream used after it was deleted",
                   "KSDeleteBuffer: a device handle used after it was deleted"});
}

TEST_F(DiscoveryMisuseTest, OfMimeUtilities) {
    void* const util = library_.KSCreateMIMEUtil();
    const char reply[] = "MIME-Version: 1.0\r\n\r\n";
    char* header = nullptr;
    char* data = nullptr;
    int length = 0;
    MIMEItem* item = nullptr;
    library_.KSMIMEDecode(util, nullptr);
    library_.KSMIMESplitData(util, nullptr, &header, &length, &data, &length);
    library_.KSMIMESplitData(util, reply, &header, nullptr, &data, &length);
    library_.KSMIMEGetData(util, "", nullptr, &item);
    library_.KSMIMEGetData(util, "", "", nullptr);
    EXPECT_EQ(library_.KSMIMESplitData(util, reply, &header, &length, &data, &length), 0);
    void* const other = library_.KSCreateMIMEUtil();
    void* buffer = header;
    library_.KSMIMEDeleteBuffer(other, &buffer);
    library_.KSDeleteMIMEUtil(other);
    library_.KSDeleteMIMEUtil(util);
    library_.KSMIMEDecode(util, data);
    library_.KSDeleteMIMEUtil(nullptr);
    ExpectMisuses({"KSMIMEDecode: null for the part", "KSMIMESplitData: null for the reply",
                   "KSMIMESplitData: null for the header's length",
                   "KSMIMEGetData: null for the name", "KSMIMEGetData: null for the item's address",
                   "KSMIMEDeleteBuffer: a buffer of another owner",
                   "KSDeleteMIMEUtil: MIME buffers of the utility not deleted",
                   "KSMIMEDecode: a MIME utility used after it was deleted",
                   "KSDeleteMIMEUtil: a MIME utility that this library did not hand out"});
}

TEST_F(DiscoveryMisuseTest, OfWhatIsNotToBeCalled) {
    const auto call = [](void* address) {
        int (*function)() = nullptr;
        std::memcpy(&function, &address, sizeof(function));
        return function();
    };
    EXPECT_EQ(call(library_.KSSendStream), -1);
    EXPECT_EQ(call(library_.KSGetRecvStatus), -1);
    EXPECT_EQ(call(library_.KSRecvStream), -1);
    EXPECT_EQ(call(library_.KSMIMEEncode), -1);
    ExpectMisuses({"KSSendStream: a call of what is not to be called",
                   "KSGetRecvStatus: a call of what is not to be called",
                   "KSRecvStream: a call of what is not to be called",
                   "KSMIMEEncode: a call of what is not to be called"});
}

}  // namespace
}  // namespace ksp::test
