// The commands ConfigurePort and GetPortConfig, which exchange the binary record.

#include <algorithm>
#include <cstring>

#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

void Put(XcvPortInfo::Text& slot, std::wstring_view text) {
    std::fill(std::begin(slot), std::end(slot), u'\0');
    std::copy(text.begin(), text.end(), std::begin(slot));
}

std::wstring TextOf(const XcvPortInfo::Text& slot) {
    return std::wstring(std::begin(slot), std::find(std::begin(slot), std::end(slot), u'\0'));
}

XcvPortInfo RecordIn(const Bytes& bytes) {
    XcvPortInfo record{};
    std::memcpy(&record, bytes.data(), std::min(bytes.size(), sizeof(record)));
    return record;
}

Bytes BytesOf(const XcvPortInfo& record) {
    const auto* bytes = reinterpret_cast<const BYTE*>(&record);
    return Bytes(bytes, bytes + sizeof(record));
}

XcvPortInfo RawRecord(std::wstring_view name = L"PORT") {
    XcvPortInfo record{};
    Put(record.PortName, name);
    Put(record.PrinterAddress, L"127.0.0.9");
    record.ProtocolID = 2;
    record.PrinterAddressType = 1;
    return record;
}

class XcvPortConfigTest : public XcvTest {
  protected:
    void StartWithPort() {
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        NewLines();
    }
    void ExpectInvalid(const XcvInput& input, const std::vector<std::string>& lines) {
        ExpectUnchanged(L"ConfigurePort", input, ERROR_INVALID_DATA, lines);
    }
    // Refused with 13 and these lines, and no byte is written.
    void ExpectNoRecord(const XcvInput& name, const std::vector<std::string>& lines) {
        NewLines();
        const XcvAnswer answer = Call(L"GetPortConfig", name, kRecord);
        EXPECT_EQ(LinesOf("Xcv GetPortConfig"), lines);
        EXPECT_EQ(answer.code, DWORD{ERROR_INVALID_DATA});
        EXPECT_EQ(answer.needed, 0U);
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
    }
};

// --- ConfigurePort

TEST_F(XcvPortConfigTest, ConfigurationIsStored) {
    StartWithPort();
    XcvPortInfo record = RawRecord();
    Put(record.QueueName, L"queue");
    Put(record.IpAddress, L"127.0.0.8");
    const Bytes input = BytesOf(record);
    ASSERT_EQ(input.size(), kRecord);
    const XcvAnswer answer = Call(L"ConfigurePort", input, 4);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_EQ(answer.input, input);
    EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
    EXPECT_THAT(LinesOf("Xcv ConfigurePort"),
                ElementsAre("TRACE port data obtained...calling port manager to configure",
                            "TRACE configuring qname = queue   m_addrtype = 1",
                            "TRACE print channel is  CLOSE", "INFO port configured successfully"));
    EXPECT_EQ(StoredText(L"PORT", L"PrinterAddress"), L"127.0.0.9");
    EXPECT_EQ(StoredText(L"PORT", L"QueueName"), L"queue");
    EXPECT_EQ(StoredText(L"PORT", L"IpAddress"), L"127.0.0.1")
        << "the address values are those of AddPort";
}

TEST_F(XcvPortConfigTest, ConfigurationOfAnUnknownPortIsInvalid) {
    StartWithPort();
    for (const wchar_t* name : {L"port", L"PORT ", L"", L"a\\b"}) {
        ExpectInvalid(BytesOf(RawRecord(name)),
                      {"TRACE port data obtained...calling port manager to configure",
                       "TRACE configuring qname =    m_addrtype = 1", "ERROR port not found",
                       "ERROR error configuring port"});
    }
}

TEST_F(XcvPortConfigTest, RecordThatIsTooShortIsInvalid) {
    StartWithPort();
    const Bytes record = BytesOf(RawRecord());
    for (const size_t size : {size_t{0}, size_t{1}, size_t{2048}, kRecord - 1}) {
        ExpectInvalid(Bytes(record.begin(), record.begin() + static_cast<ptrdiff_t>(size)), {});
    }
    ExpectInvalid(std::nullopt, {});
    EXPECT_EQ(CallRaw(L"ConfigurePort", nullptr, kRecord, nullptr, 0, nullptr),
              DWORD{ERROR_INVALID_DATA});
}

TEST_F(XcvPortConfigTest, WhatStandsBehindTheRecordDoesNotCount) {
    StartWithPort();
    Bytes record = BytesOf(RawRecord());
    record.push_back(0xFF);
    EXPECT_EQ(Call(L"ConfigurePort", record).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredText(L"PORT", L"PrinterAddress"), L"127.0.0.9");
}

TEST_F(XcvPortConfigTest, SlotWithoutTerminatorIsReadToItsEnd) {
    StartWithPort();
    XcvPortInfo record = RawRecord();
    std::fill(std::begin(record.PrinterAddress), std::end(record.PrinterAddress), u'a');
    std::fill(std::begin(record.QueueName), std::end(record.QueueName), u'q');
    EXPECT_EQ(Call(L"ConfigurePort", BytesOf(record)).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredText(L"PORT", L"PrinterAddress"), std::wstring(1024, L'a'));
    EXPECT_EQ(StoredText(L"PORT", L"QueueName"), std::wstring(1024, L'q'));
}

TEST_F(XcvPortConfigTest, PortThatIsPrintingIsNotConfigured) {
    StartWithPort();
    const HANDLE job = StartJob(L"PORT");
    ASSERT_NE(job, nullptr);
    ExpectInvalid(
        BytesOf(RawRecord()),
        {"TRACE port data obtained...calling port manager to configure",
         "TRACE configuring qname =    m_addrtype = 1", "TRACE print channel is  OPEN",
         "ERROR print channel is open: cannot configure now", "ERROR error configuring port"});
    EXPECT_TRUE(table().pfnEndDocPort(job));
    EXPECT_EQ(Call(L"ConfigurePort", BytesOf(RawRecord())).code, DWORD{ERROR_SUCCESS});
}

TEST_F(XcvPortConfigTest, ProtocolWithoutChannelDropsThePort) {
    StartWithPort();
    const std::wstring keys = PortKeys();
    XcvPortInfo record = RawRecord();
    record.ProtocolID = 9;
    EXPECT_EQ(Call(L"ConfigurePort", BytesOf(record)).code, DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(LinesOf("Xcv ConfigurePort"),
                ElementsAre("TRACE port data obtained...calling port manager to configure",
                            "TRACE configuring qname =    m_addrtype = 1",
                            "TRACE print channel is  CLOSE", "ERROR Invalid Protocol ID : 9",
                            "ERROR CreatePrintChannel Failed. ProtocolID=9",
                            "ERROR Failed create print channel for port:PORT",
                            "ERROR cannot create print channel for port:PORT",
                            "ERROR error configuring port"));
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_EQ(PortKeys(), keys) << "the registry entry stays";
}

TEST_F(XcvPortConfigTest, IdPrintMonitorStoresItsValues) {
    SetMonitorType(2);
    StartWithPort();
    XcvPortInfo record = RawRecord();
    record.SecureUserMode = 1;
    record.SecureRawPortNo = 59300;
    record.CheckPortNo = 59301;
    Put(record.UserIdentityName, L"alice");
    EXPECT_EQ(Call(L"ConfigurePort", BytesOf(record)).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredNumber(L"PORT", L"SecureUserMode"), 1U);
    EXPECT_EQ(StoredNumber(L"PORT", L"SecureRawPortNo"), 59300U);
    EXPECT_EQ(StoredNumber(L"PORT", L"CheckPortNo"), 59301U);
    EXPECT_EQ(StoredText(L"PORT", L"UserIdentityName"), L"alice");
    const XcvPortInfo read = RecordIn(Call(L"GetPortConfig", L"PORT", kRecord).output);
    EXPECT_EQ(read.PortNumber, 59300U);
    EXPECT_EQ(read.CheckPortNo, 59301U);
    EXPECT_EQ(TextOf(read.UserIdentityName), L"alice");
}

// --- GetPortConfig

TEST_F(XcvPortConfigTest, RecordIsWhatTheRegistryHas) {
    AddPortKey({.name = L"PORT",
                .PrinterAddress = L"printer",
                .ProtocolID = 1,
                .PrinterAddressType = 2,
                .QueueName = L"queue",
                .IpAddress = L"127.0.0.8",
                .SubnetMask = L"255.0.0.0",
                .MacAddress = kMac});
    store().SetText(root(), PortPath(L"PORT"), L"ProxyServer", L"proxy");
    store().SetDword(root(), PortPath(L"PORT"), L"ProxyPort", 8080);
    ASSERT_TRUE(Start());
    NewLines();
    const XcvAnswer answer = Call(L"GetPortConfig", L"PORT", kRecord);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_THAT(LinesOf("Xcv GetPortConfig"), ElementsAre("TRACE Read port info : hostname = PORT",
                                                          "INFO read port. port name is PORT"));
    XcvPortInfo expected{};
    Put(expected.PortName, L"PORT");
    Put(expected.PrinterAddress, L"printer");
    Put(expected.QueueName, L"queue");
    expected.ProtocolID = 1;
    expected.PortNumber = 515;
    expected.PrinterAddressType = 2;
    Put(expected.IpAddress, L"127.0.0.8");
    Put(expected.SubnetMask, L"255.0.0.0");
    Put(expected.MacAddress, kMac);
    Put(expected.ProxyServer, L"proxy");
    expected.ProxyPort = 8080;
    EXPECT_TRUE(SameBytes(BytesOf(expected), answer.output));
}

TEST_F(XcvPortConfigTest, RecordCanBeWrittenBack) {
    StartWithPort();
    const std::wstring keys = PortKeys();
    const XcvAnswer read = Call(L"GetPortConfig", L"PORT", kRecord);
    ASSERT_EQ(read.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Call(L"ConfigurePort", read.output).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(PortKeys(), keys);
}

TEST_F(XcvPortConfigTest, InputAndOutputMayBeOneBuffer) {
    StartWithPort();
    Bytes buffer(kRecord);
    const Bytes name = Terminated(L"PORT");
    std::copy(name.begin(), name.end(), buffer.begin());
    EXPECT_EQ(CallRaw(L"GetPortConfig", buffer.data(), static_cast<DWORD>(name.size()),
                      buffer.data(), static_cast<DWORD>(buffer.size()), nullptr),
              DWORD{ERROR_SUCCESS});
    EXPECT_EQ(TextOf(RecordIn(buffer).PrinterAddress), L"127.0.0.1");
}

TEST_F(XcvPortConfigTest, OnlyTheRecordIsWritten) {
    StartWithPort();
    const XcvAnswer answer = Call(L"GetPortConfig", L"PORT", kRecord + 1);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(IsUntouchedFrom(answer.output, kRecord));
}

TEST_F(XcvPortConfigTest, RecordNeedsItsRoom) {
    StartWithPort();
    for (const auto& size :
         {std::optional<size_t>(), std::optional<size_t>(0), std::optional<size_t>(kRecord - 1)}) {
        const XcvAnswer answer = Call(L"GetPortConfig", L"PORT", size);
        EXPECT_EQ(answer.code, DWORD{ERROR_INSUFFICIENT_BUFFER});
        EXPECT_EQ(answer.needed, kRecord);
        EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
        EXPECT_THAT(LinesOf("Xcv GetPortConfig"), IsEmpty());
    }
}

TEST_F(XcvPortConfigTest, UnknownPortHasNoRecord) {
    StartWithPort();
    for (const XcvInput& name :
         {XcvInput(), XcvInput(Bytes()), XcvInput(Terminated(L"")), XcvInput(Terminated(L"port")),
          XcvInput(Terminated(L"PORT ")), XcvInput(Unterminated(L"POR"))}) {
        ExpectNoRecord(name, {"ERROR error retrieving port"});
    }
}

TEST_F(XcvPortConfigTest, PortWithoutRegistryEntryHasNoRecord) {
    StartWithPort();
    store().RemoveKey(root(), PortPath(L"PORT"));
    ExpectNoRecord(Terminated(L"PORT"),
                   {"TRACE Read port info : hostname = PORT", "ERROR error retrieving port info"});
}

TEST_F(XcvPortConfigTest, TextThatFillsItsSlotIsRead) {
    StartWithPort();
    store().SetText(root(), PortPath(L"PORT"), L"PrinterAddress", std::wstring(1023, L'a'));
    const XcvAnswer answer = Call(L"GetPortConfig", L"PORT", kRecord);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(TextOf(RecordIn(answer.output).PrinterAddress), std::wstring(1023, L'a'));
}

TEST_F(XcvPortConfigTest, TextThatIsTooLongForItsSlotIsInvalid) {
    StartWithPort();
    store().SetText(root(), PortPath(L"PORT"), L"PrinterAddress", std::wstring(1024, L'a'));
    ExpectNoRecord(Terminated(L"PORT"),
                   {"TRACE Read port info : hostname = PORT", "INFO read port. port name is PORT",
                    "CRITICAL Exception Error (SetForXcvInfo)"});
}

// The registry is read up to the first port that is tracked by its MAC address.
TEST_F(XcvPortConfigTest, TrackedPortInFrontAnswersForThoseBehind) {
    AddPortKey({.name = L"A", .PrinterAddress = L"tracked", .PrinterAddressType = 4});
    StartWithPort();
    const XcvAnswer answer = Call(L"GetPortConfig", L"PORT", kRecord);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(TextOf(RecordIn(answer.output).PortName), L"A");
    EXPECT_EQ(TextOf(RecordIn(answer.output).PrinterAddress), L"tracked");
}

}  // namespace
}  // namespace ksp::test
