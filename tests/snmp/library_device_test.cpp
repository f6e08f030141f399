// What the library finds out about a device that answers.

#include <thread>

#include "tests/snmp/library_test.h"

namespace ksp::test {
namespace {

using ::testing::Each;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::SizeIs;

using LibraryDeviceTest = SnmpLibraryTest;

TEST_F(LibraryDeviceTest, ThePrinterIsWhatItSays) {
    AgentResponder agent;
    agent.BePrinter("<office> & \xE4", "0026AB123456");
    void* const stream = BeginStream(agent);
    const std::string document = Capability(stream, Open(stream, agent.address()));
    EXPECT_EQ(ElementText(document, "Device_ID"), "&lt;office&gt; &amp; ?");
    EXPECT_EQ(ElementText(document, "Device_Name"), "&lt;office&gt; &amp; ?");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "0026AB123456");
    EXPECT_EQ(ElementText(document, "IPV4_Address"), agent.address());
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, TheStatusIsHandedOutAsTheMonitorReadsIt) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    EXPECT_EQ(Value(stream, device, kStatusColumn), std::string("\x04\0\0\0", 4));
    EXPECT_EQ(Value(stream, device, kErrorsColumn, "octetString"), "\x40");
    EXPECT_THAT(agent.requests(), Each(Field(&AgentRequest::community, "public")));
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, OctetsOfAnyKindAndNumberComeThrough) {
    AgentResponder agent;
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    std::string all;
    for (int value = 0; value < 256; ++value) {
        all += static_cast<char>(value);
    }
    for (const std::string& octets : {std::string(), std::string("\0", 1), all}) {
        agent.SetText({1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 2, 1}, octets);
        EXPECT_EQ(Value(stream, device, kErrorsColumn, "octetString"), octets);
    }
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, TheMacAddressIsToldInADocument) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    EXPECT_THAT(
        Send(stream, device, kMacRequest).text,
        ::testing::EndsWith("<GetData><DataInfo><Data><Group id=\"GetData\">"
                            "<d id=\"MACAddress\">0026AB123456</d></Group></Data></DataInfo>"
                            "</GetData>"));
    agent.SetText({1, 3, 6, 1, 2, 1, 2, 2, 1, 6, 1}, "");
    EXPECT_THAT(Send(stream, device, kMacRequest).text,
                ::testing::HasSubstr("<d id=\"MACAddress\">-1</d>"));
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, WhatThePrinterDoesNotHaveIsAnError) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    EXPECT_EQ(Send(stream, device, MibRequest("1.3.6.1.2.1.25.3.5.1.9")).result, -3);
    EXPECT_EQ(Send(stream, device, MibRequest(kStatusColumn, "octetString")).result, -3);
    EXPECT_EQ(Send(stream, device, MibRequest(kErrorsColumn, "integer")).result, -3);
    EXPECT_EQ(Send(stream, device, MibRequest(kStatusColumn, "integer", "GetRequest")).result, -3);
    EXPECT_EQ(Send(stream, device, MibRequest("1.3.6.1.2.1.25.3.5.1.1.1", "integer", "GetRequest"))
                  .result,
              0);
    EXPECT_EQ(Send(stream, device, "<GetData/>").result, -5);
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, AnAgentOfVersion1IsUnderstood) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    agent.SpeakOnly(snmp::SnmpVersion::k1);
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    EXPECT_EQ(ElementText(Capability(stream, device), "MAC_Address"), "0026AB123456");
    EXPECT_EQ(Value(stream, device, kStatusColumn), std::string("\x04\0\0\0", 4));
    EXPECT_EQ(Send(stream, device, MibRequest("1.3.6.1.2.1.26")).result, -3);
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, TheRegistrySaysVersionAndCommunity) {
    for (const DWORD version : {1U, 2U}) {
        AgentResponder agent;
        agent.BePrinter("office", "0026AB123456");
        void* const stream = BeginStream({.community = L"se\x00E4"
                                                       L"cret",
                                          .version = version,
                                          .port = agent.port()});
        EXPECT_EQ(Value(stream, Open(stream, agent.address()), kErrorsColumn, "octetString"),
                  "\x40");
        const auto requests = agent.requests();
        ASSERT_THAT(requests, SizeIs(1));
        EXPECT_EQ(requests[0].version,
                  version == 1 ? snmp::SnmpVersion::k1 : snmp::SnmpVersion::k2c);
        EXPECT_EQ(requests[0].community,
                  "se\xC3\xA4"
                  "cret");
        EndStream(stream);
    }
}

TEST_F(LibraryDeviceTest, StreamsDoNotShareTheirSettingsOrDevices) {
    AgentResponder one;
    AgentResponder other;
    one.BePrinter("one", "0026AB000001");
    other.BePrinter("other", "0026AB000002");
    void* const first = BeginStream(one);
    void* const second = BeginStream(other);
    const DeviceHandle device = Open(first, one.address());
    EXPECT_EQ(Capability(second, device), "") << "a device of another stream";
    std::string names[2];
    std::thread asking([&] {
        names[0] = ElementText(Capability(second, Open(second, other.address())), "Device_Name");
    });
    names[1] = ElementText(Capability(first, device), "Device_Name");
    asking.join();
    EXPECT_EQ(names[0], "other");
    EXPECT_EQ(names[1], "one");
    EndStream(first);
    EXPECT_EQ(ElementText(Capability(second, Open(second, other.address())), "Device_Name"),
              "other");
    EndStream(second);
}

TEST_F(LibraryDeviceTest, OneDeviceCanBeAskedSeveralThingsAtOnce) {
    AgentResponder agent;
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const DeviceHandle device = Open(stream, agent.address());
    std::vector<std::string> names(8);
    std::vector<std::thread> threads;
    for (std::string& name : names) {
        threads.emplace_back(
            [&] { name = ElementText(Capability(stream, device), "Device_Name"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(names, Each("office"));
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, AnAddressMayBeAHostName) {
    AgentResponder agent("127.0.0.1", 0);
    agent.BePrinter("office", "0026AB123456");
    void* const stream = BeginStream(agent);
    const std::string document = Capability(stream, Open(stream, "localhost"));
    EXPECT_EQ(ElementText(document, "IPV4_Address"), "127.0.0.1");
    EXPECT_EQ(ElementText(document, "MAC_Address"), "0026AB123456");
    EndStream(stream);
}

TEST_F(LibraryDeviceTest, WhatIsNeitherAnAddressNorANameIsNoDevice) {
    const std::string longerThanALabel(64, 'a');
    void* const stream = BeginStream(RegistrySettings{});
    for (const char* address :
         {"", "127.0.0", "127.1", "300.0.0.1", "127.0.0.1:161", "127.0.0.1 ", "::1", "local host",
          "l\xC3\xB6"
          "cal",
          longerThanALabel.c_str()}) {
        EXPECT_LT(library_.KSCreateDeviceHandle(stream, address, ""), 1) << address;
    }
    EndStream(stream);
}

}  // namespace
}  // namespace ksp::test
