// The command SilentAddPort: what the text says. No printer answers here.

#include <cstring>

#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class XcvSilentAddTest : public XcvTest {
  protected:
    void SetUp() override {
        XcvTest::SetUp();
        ASSERT_TRUE(Start());
        NewLines();
    }
    // The only port, which this text made.
    std::wstring PortOf(std::string_view text) {
        EXPECT_EQ(AddSilently(text).code, DWORD{ERROR_SUCCESS}) << text;
        const std::vector<std::wstring> names = PortNames();
        if (names.size() != 1) {
            ADD_FAILURE() << text << ": " << names.size() << " ports";
            return {};
        }
        return names[0];
    }
    void Forget(const std::wstring& port) {
        EXPECT_EQ(Call(L"DeletePort", port.c_str()).code, DWORD{ERROR_SUCCESS});
    }
    // 87, the line, and no port.
    void ExpectRefused(std::string_view text, const std::string& line) {
        NewLines();
        const XcvAnswer answer = AddSilently(text);
        EXPECT_EQ(answer.code, DWORD{ERROR_INVALID_PARAMETER}) << text;
        EXPECT_EQ(answer.needed, 0U);
        const std::vector<std::string> lines = LinesOf("Xcv SilentAddPort");
        EXPECT_FALSE(lines.empty() || lines.back() != line) << text;
        EXPECT_THAT(PortNames(), IsEmpty());
        EXPECT_FALSE(store().HasKey(root(), L"Ports") &&
                     !store().SubkeyNames(root(), L"Ports").empty());
    }
    static constexpr char kNoAddress[] = "ERROR SilentAddPort: error parsing printer address";
    static constexpr char kNoProtocol[] = "ERROR SilentAddPort: error parsing protocol id";
};

TEST_F(XcvSilentAddTest, AddressAndProtocolAreEnough) {
    const XcvAnswer answer = AddSilently("AR=10.0.0.5:PR=LPR");
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_EQ(answer.input, Terminated(std::string_view("AR=10.0.0.5:PR=LPR")));
    EXPECT_THAT(
        LinesOf("Xcv SilentAddPort"),
        ElementsAre(
            "ERROR Failed Create Device Handle", "ERROR Failed create device handle",
            "ERROR SilentAddPort: Probe IP is FALSE!",
            "INFO SilentAddPort: error obtaining printer model name",
            "TRACE SilentAddPort: not dhcp port name", "TRACE SilentAddPort: not  subnetmask name",
            "TRACE SilentAddPort: not  macaddr name", "TRACE initializing default lpr qname",
            "ERROR invalidate Port", "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"10.0.0.5:"));
    EXPECT_EQ(StoredNumber(L"10.0.0.5:", L"ProtocolID"), 0U);
    EXPECT_EQ(StoredText(L"10.0.0.5:", L"QueueName"), L"KSPQueue");
    EXPECT_EQ(StoredText(L"10.0.0.5:", L"PrinterAddress"), L"10.0.0.5");
    EXPECT_EQ(StoredNumber(L"10.0.0.5:", L"PrinterAddressType"), 1U);
    EXPECT_EQ(StoredText(L"10.0.0.5:", L"IpAddress"), L"");
    EXPECT_EQ(StoredText(L"10.0.0.5:", L"SubnetMask"), L"");
    EXPECT_EQ(StoredText(L"10.0.0.5:", L"MacAddress"), L"");
    const XcvAnswer record = Call(L"GetPortConfig", L"10.0.0.5:", kRecord);
    ASSERT_EQ(record.code, DWORD{ERROR_SUCCESS});
    std::uint32_t port_number = 0;
    std::memcpy(&port_number, record.output.data() + 6148, sizeof(port_number));
    EXPECT_EQ(port_number, 515U);
}

TEST_F(XcvSilentAddTest, EveryKeyHasItsPlace) {
    NewLines();
    EXPECT_EQ(AddSilently("AR=printer:MN=M1:SN=255.0.0.0:MA=0026AB123456:XX=10.0.0.6:PR=RAW").code,
              DWORD{ERROR_SUCCESS});
    EXPECT_THAT(
        LinesOf("Xcv SilentAddPort"),
        ElementsAre("ERROR Failed Create Device Handle", "ERROR Failed create device handle",
                    "ERROR SilentAddPort: Probe IP is FALSE!",
                    "TRACE SilentAddPort: not dhcp port name", "ERROR invalidate Port",
                    "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"printer:M1"));
    EXPECT_EQ(StoredNumber(L"printer:M1", L"ProtocolID"), 2U);
    EXPECT_EQ(StoredText(L"printer:M1", L"QueueName"), L"");
    EXPECT_EQ(StoredNumber(L"printer:M1", L"PrinterAddressType"), 2U);
    EXPECT_EQ(StoredText(L"printer:M1", L"SubnetMask"), L"255.0.0.0");
    EXPECT_EQ(StoredText(L"printer:M1", L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(StoredText(L"printer:M1", L"IpAddress"), L"10.0.0.6");
}

TEST_F(XcvSilentAddTest, DhcpNameMakesATrackedPort) {
    NewLines();
    EXPECT_EQ(AddSilently("AR=10.0.0.5:DP=prn01:MN=M1:XX=10.0.0.6:PR=RAW").code,
              DWORD{ERROR_SUCCESS});
    EXPECT_THAT(NewLines(), Not(Contains("TRACE SilentAddPort: not dhcp port name")));
    EXPECT_THAT(PortNames(), ElementsAre(L"prn01:M1"));
    EXPECT_EQ(StoredText(L"prn01:M1", L"PrinterAddress"), L"prn01");
    EXPECT_EQ(StoredText(L"prn01:M1", L"IpAddress"), L"10.0.0.5") << "not that of XX";
    EXPECT_EQ(StoredNumber(L"prn01:M1", L"PrinterAddressType"), 4U);
}

TEST_F(XcvSilentAddTest, ProtocolsAreThree) {
    const struct {
        const char* text;
        DWORD protocol;
        const wchar_t* queue;
    } cases[] = {
        {"AR=a:PR=RAW", 2, L""}, {"AR=a:PR=LPR", 0, L"KSPQueue"}, {"AR=a:PR=XLPR", 1, L"KSPQueue"}};
    for (const auto& one : cases) {
        const std::wstring port = PortOf(one.text);
        EXPECT_EQ(StoredNumber(port, L"ProtocolID"), one.protocol);
        EXPECT_EQ(StoredText(port, L"QueueName"), one.queue);
        Forget(port);
    }
}

TEST_F(XcvSilentAddTest, OtherProtocolsAreRefused) {
    for (const char* text : {"AR=10.0.0.5:PR=raw", "AR=10.0.0.5:PR=IPP", "AR=10.0.0.5:PR=RAW ",
                             "AR=10.0.0.5:PR=", "AR=10.0.0.5", "AR=10.0.0.5:pr=RAW",
                             "AR=10.0.0.5:PR=LPRX", "AR=10.0.0.5:PR=:RAW"}) {
        ExpectRefused(text, kNoProtocol);
    }
}

TEST_F(XcvSilentAddTest, AddressIsNeeded) {
    for (const char* text : {"", "PR=RAW", "ar=10.0.0.5:PR=RAW", "AR:PR=RAW", "PR=RAW:AR="}) {
        ExpectRefused(text, kNoAddress);
        EXPECT_THAT(discovery_.Calls(), IsEmpty()) << "nobody is asked";
    }
}

TEST_F(XcvSilentAddTest, NoInputHasNoAddress) {
    for (const XcvInput& input : {XcvInput(), XcvInput(Bytes())}) {
        NewLines();
        EXPECT_EQ(Call(L"SilentAddPort", input).code, DWORD{ERROR_INVALID_PARAMETER});
        EXPECT_THAT(LinesOf("Xcv SilentAddPort"), ElementsAre(kNoAddress));
    }
}

TEST_F(XcvSilentAddTest, InputEndsWithItsSizeOrItsTerminator) {
    const std::string_view text = "AR=10.0.0.5:PR=RAW";
    const std::string_view more("\0:PN=other", 10);
    Bytes embedded(text.begin(), text.end());
    embedded.insert(embedded.end(), more.begin(), more.end());
    for (const Bytes& input : {Bytes(text.begin(), text.end()), embedded}) {
        EXPECT_EQ(Call(L"SilentAddPort", input).code, DWORD{ERROR_SUCCESS});
        EXPECT_THAT(PortNames(), ElementsAre(L"10.0.0.5:"));
        Forget(L"10.0.0.5:");
    }
    // Without its last byte the protocol is none.
    EXPECT_EQ(Call(L"SilentAddPort", Bytes(text.begin(), text.end() - 1)).code,
              DWORD{ERROR_INVALID_PARAMETER});
}

TEST_F(XcvSilentAddTest, ExplicitNameReplacesTheBuiltOne) {
    for (const char* text : {"AR=10.0.0.5:PN=MyPort:PR=RAW", "PN=MyPort:DP=prn01:AR=a:MN=M:PR=RAW",
                             "PR=RAW:AR=10.0.0.5:PN=MyPort"}) {
        EXPECT_EQ(PortOf(text), L"MyPort");
        Forget(L"MyPort");
    }
}

TEST_F(XcvSilentAddTest, BackslashKeepsAColonInItsValue) {
    EXPECT_EQ(PortOf("AR=http\\://h/q:PN=MyPort:PR=RAW"), L"MyPort");
    EXPECT_EQ(StoredText(L"MyPort", L"PrinterAddress"), L"http\\://h/q");
    EXPECT_EQ(StoredNumber(L"MyPort", L"PrinterAddressType"), 2U);
}

TEST_F(XcvSilentAddTest, AddressTypeFollowsTheAddress) {
    // A value's first character never ends it, and behind a backslash no colon does.
    const struct {
        const char* text;
        DWORD type;
    } cases[] = {{"AR=10.0.0.5:PN=P:PR=RAW", 1},
                 {"AR=host:PN=P:PR=RAW", 2},
                 {"AR=255.255.255.255:PN=P:PR=RAW", 2},
                 {"AR=://host:PN=P:PR=RAW", 2}};
    for (const auto& one : cases) {
        EXPECT_EQ(PortOf(one.text), L"P");
        EXPECT_EQ(StoredNumber(L"P", L"PrinterAddressType"), one.type) << one.text;
        Forget(L"P");
    }
}

TEST_F(XcvSilentAddTest, TextIsInTheAnsiCodePage) {
    const std::string name = "Sch\xF6n";
    wchar_t wide[16] = {};
    ASSERT_NE(MultiByteToWideChar(CP_ACP, 0, name.c_str(), -1, wide, 16), 0);
    EXPECT_EQ(PortOf("AR=10.0.0.5:PN=" + name + ":PR=RAW"), wide);
    Forget(wide);
}

TEST_F(XcvSilentAddTest, PortOfThisMonitorIsConfiguredAnew) {
    const std::wstring port = PortOf("AR=10.0.0.5:PN=P:PR=RAW");
    spooler().PutPort(L"P", L"Kestrel Print Port");
    NewLines();
    EXPECT_EQ(AddSilently("AR=10.0.0.6:MN=M:PN=P:SN=s:MA=m:PR=RAW").code,
              DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_THAT(
        LinesOf("Xcv SilentAddPort"),
        ElementsAre("ERROR Failed Create Device Handle", "ERROR Failed create device handle",
                    "ERROR SilentAddPort: Probe IP is FALSE!",
                    "TRACE SilentAddPort: not dhcp port name", "TRACE returning port exists",
                    "TRACE configuring qname =    m_addrtype = 1", "TRACE print channel is  CLOSE",
                    "INFO port configured successfully", "INFO port added successfully",
                    "TRACE returning port exists", "TRACE EnumPorts has been called"));
    EXPECT_EQ(StoredText(port, L"PrinterAddress"), L"10.0.0.6");
}

TEST_F(XcvSilentAddTest, PortOfAnotherMonitorIsRefused) {
    spooler().PutPort(L"P");
    EXPECT_EQ(AddSilently("AR=10.0.0.5:PN=P:PR=RAW").code, DWORD{ERROR_ALREADY_EXISTS});
    const std::vector<std::string> lines = LinesOf("Xcv SilentAddPort");
    ASSERT_GE(lines.size(), 2U);
    EXPECT_EQ(lines.end()[-2], "ERROR port already exists");
    EXPECT_EQ(lines.back(), "TRACE Failed AddPortToList : P");
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(XcvSilentAddTest, SpoolerIsAskedOnceMoreForANewPort) {
    spooler().PutPort(L"LPT1:");
    PortOf("AR=10.0.0.5:PN=P:PR=RAW");
    EXPECT_EQ(spooler().Calls(WinspoolEnumPorts).size(), 4U)
        << "twice before it is added and twice after, for the size and for the ports";
    EXPECT_THAT(NewLines(), Not(Contains("TRACE EnumPorts has been called")));
}

TEST_F(XcvSilentAddTest, NamesThatCannotBeKeysOfTheirOwnAreInvalid) {
    PortOf("AR=10.0.0.5:PN=Port:PR=RAW");
    const std::wstring keys = PortKeys();
    for (const std::string& name :
         {std::string("a\\b"), std::string(256, 'n'), std::string("PORT"), std::string("a\\:b")}) {
        NewLines();
        EXPECT_EQ(AddSilently("AR=10.0.0.5:PN=" + name + ":PR=RAW").code,
                  DWORD{ERROR_INVALID_DATA});
        EXPECT_EQ(LinesOf("Xcv SilentAddPort").back(), "TRACE Failed AddPortToList : " + name);
    }
    EXPECT_THAT(PortNames(), ElementsAre(L"Port"));
    EXPECT_EQ(PortKeys(), keys);
}

}  // namespace
}  // namespace ksp::test
