// The command AddPort.

#include <algorithm>

#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

class XcvAddPortTest : public XcvTest {
  protected:
    void StartEmpty() {
        ASSERT_TRUE(Start());
        NewLines();
    }
    void ExpectInvalid(const XcvInput& input, const std::vector<std::string>& lines) {
        ExpectUnchanged(L"AddPort", input, ERROR_INVALID_DATA, lines);
    }
    void ExpectInvalid(const AddPortTokens& tokens, const std::vector<std::string>& lines) {
        ExpectInvalid(Terminated(tokens.Text()), lines);
    }
};

TEST_F(XcvAddPortTest, NewPortIsListedAndStored) {
    spooler().PutPort(L"LPT1:");
    StartEmpty();
    const XcvAnswer answer = Add({.address = L"127.1.2.3",
                                  .ip_address = L"127.1.2.4",
                                  .subnet_mask = L"255.255.255.0",
                                  .mac_address = L"0026AB123456",
                                  .address_type = L"4",
                                  .user_mode = L"1",
                                  .raw_port = L"59300"});
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_THAT(LinesOf("Xcv AddPort"),
                ElementsAre("ERROR invalidate Port", "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
    EXPECT_THAT(
        store().ValueNames(root(), PortPath(L"PORT")),
        UnorderedElementsAre(L"ProtocolID", L"PrinterAddress", L"QueueName", L"PrinterAddressType",
                             L"IpAddress", L"SubnetMask", L"MacAddress"));
    EXPECT_EQ(StoredNumber(L"PORT", L"ProtocolID"), 2U);
    EXPECT_EQ(StoredText(L"PORT", L"PrinterAddress"), L"127.1.2.3");
    EXPECT_EQ(StoredText(L"PORT", L"IpAddress"), L"127.1.2.4");
    EXPECT_EQ(StoredText(L"PORT", L"SubnetMask"), L"255.255.255.0");
    EXPECT_EQ(StoredText(L"PORT", L"MacAddress"), L"0026AB123456");
    EXPECT_EQ(StoredNumber(L"PORT", L"PrinterAddressType"), 4U);
}

TEST_F(XcvAddPortTest, NameIsWrittenOverTheInput) {
    StartEmpty();
    const Bytes input = Terminated(AddPortTokens{}.Text());
    const XcvAnswer answer = Call(L"AddPort", input);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    Bytes expected = Terminated(L"PORT");
    expected.insert(expected.end(), input.begin() + static_cast<ptrdiff_t>(expected.size()),
                    input.end());
    EXPECT_EQ(answer.input, expected) << "the rest of the buffer stays";
}

TEST_F(XcvAddPortTest, InputEndsWithItsSizeOrItsTerminator) {
    StartEmpty();
    const std::wstring text = AddPortTokens{.user = L"alice"}.Text();
    Bytes odd = Unterminated(text);
    odd.push_back(0x41);
    Bytes embedded = Terminated(text);
    const Bytes more = Terminated(L",,,\\garbage");
    embedded.insert(embedded.end(), more.begin(), more.end());
    for (const Bytes& input : {Unterminated(text), odd, embedded}) {
        const XcvAnswer answer = Call(L"AddPort", input);
        EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
        EXPECT_EQ(TextAt(answer.input), L"PORT");
        EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
        EXPECT_EQ(Call(L"DeletePort", L"PORT").code, DWORD{ERROR_SUCCESS});
    }
}

TEST_F(XcvAddPortTest, LprPortsGetTheDefaultQueue) {
    StartEmpty();
    for (const wchar_t* protocol : {L"0", L"1"}) {
        const std::wstring name = std::wstring(L"LPR") + protocol;
        NewLines();
        EXPECT_EQ(Add({.protocol = protocol, .name = name}).code, DWORD{ERROR_SUCCESS});
        EXPECT_THAT(LinesOf("Xcv AddPort"),
                    ElementsAre("TRACE initializing default lpr qname", "ERROR invalidate Port",
                                "INFO port added successfully"));
        EXPECT_EQ(StoredText(name, L"QueueName"), L"KSPQueue");
    }
}

TEST_F(XcvAddPortTest, PortOfThisMonitorIsConfiguredAnew) {
    StartEmpty();
    ASSERT_EQ(Add({}).code, DWORD{ERROR_SUCCESS});
    spooler().PutPort(L"PORT", L"Kestrel Print Port");
    NewLines();
    const XcvAnswer answer = Add({.address = L"127.0.0.9", .ip_address = L"127.0.0.8"});
    EXPECT_EQ(answer.code, DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(TextAt(answer.input), L"PORT");
    EXPECT_THAT(
        LinesOf("Xcv AddPort"),
        ElementsAre("TRACE returning port exists", "TRACE configuring qname =    m_addrtype = 1",
                    "TRACE print channel is  CLOSE", "INFO port configured successfully",
                    "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
    EXPECT_EQ(StoredText(L"PORT", L"PrinterAddress"), L"127.0.0.9");
    EXPECT_EQ(StoredText(L"PORT", L"IpAddress"), L"127.0.0.8");
}

TEST_F(XcvAddPortTest, PortOfAnotherMonitorIsRefused) {
    spooler().PutPort(L"PORT");
    StartEmpty();
    const Bytes input = Terminated(AddPortTokens{}.Text());
    const XcvAnswer answer = Call(L"AddPort", input);
    EXPECT_EQ(answer.code, DWORD{ERROR_ALREADY_EXISTS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_EQ(answer.input, input);
    EXPECT_THAT(LinesOf("Xcv AddPort"),
                ElementsAre("TRACE returning port exists", "ERROR invalidate Port",
                            "ERROR port already exists", "ERROR error adding port to list"));
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_FALSE(store().HasKey(root(), PortPath(L"PORT")));
}

TEST_F(XcvAddPortTest, NoInputIsInvalid) {
    StartEmpty();
    ExpectInvalid(XcvInput(), {});
    ExpectInvalid(Bytes(), {});
    Bytes text = Terminated(AddPortTokens{}.Text());
    EXPECT_EQ(CallRaw(L"AddPort", nullptr, 100, nullptr, 0, nullptr), DWORD{ERROR_INVALID_DATA});
    EXPECT_EQ(CallRaw(L"AddPort", text.data(), 0, nullptr, 0, nullptr), DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(XcvAddPortTest, TooFewTokensAreInvalid) {
    StartEmpty();
    ExpectInvalid(Terminated(L"a,2,c,d,e,f,g,1,0,0,0"), {"ERROR error input xcv data count = 11"});
    ExpectInvalid(Terminated(L""), {"ERROR error input xcv data count = 1"});
    ExpectInvalid(Bytes{0x41}, {"ERROR error input xcv data count = 1"});
    // The second half of the text lies behind a terminator.
    Bytes cut = Terminated(L"a,2,127.0.0.1,PORT,NONE");
    const Bytes rest = Terminated(L",NONE,NONE,1,0,0,0,");
    cut.insert(cut.end(), rest.begin(), rest.end());
    ExpectInvalid(cut, {"ERROR error input xcv data count = 5"});
}

TEST_F(XcvAddPortTest, ProtocolsWithoutChannelAreInvalid) {
    StartEmpty();
    ExpectInvalid(
        AddPortTokens{.protocol = L"3"},
        {"ERROR invalidate Port", "INFO creating ipp print channel",
         "ERROR ipp print channel not supported", "ERROR CreatePrintChannel Failed. ProtocolID=3",
         "INFO could not create print channel for port: PORT", "INFO Port Initialize Failed : PORT",
         "ERROR error adding port to list"});
    ExpectInvalid(AddPortTokens{.protocol = L"4"},
                  {"ERROR invalidate Port", "ERROR Invalid Protocol ID : 4",
                   "ERROR CreatePrintChannel Failed. ProtocolID=4",
                   "INFO could not create print channel for port: PORT",
                   "INFO Port Initialize Failed : PORT", "ERROR error adding port to list"});
}

TEST_F(XcvAddPortTest, ProtocolWithoutChannelDropsThePortThatWasThere) {
    StartEmpty();
    ASSERT_EQ(Add({}).code, DWORD{ERROR_SUCCESS});
    NewLines();
    EXPECT_EQ(Add({.protocol = L"3"}).code, DWORD{ERROR_INVALID_DATA});
    EXPECT_THAT(
        LinesOf("Xcv AddPort"),
        ElementsAre("TRACE configuring qname =    m_addrtype = 1", "TRACE print channel is  CLOSE",
                    "INFO creating ipp print channel", "ERROR ipp print channel not supported",
                    "ERROR CreatePrintChannel Failed. ProtocolID=3",
                    "ERROR Failed create print channel for port:PORT",
                    "ERROR cannot create print channel for port:PORT",
                    "INFO failed update port info", "ERROR error adding port to list"));
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_EQ(StoredNumber(L"PORT", L"ProtocolID"), 2U) << "the registry entry stays";
    EXPECT_EQ(Add({}).code, DWORD{ERROR_SUCCESS}) << "and the port can be added again";
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
}

TEST_F(XcvAddPortTest, PortThatIsPrintingIsNotConfigured) {
    StartEmpty();
    ASSERT_EQ(Add({}).code, DWORD{ERROR_SUCCESS});
    const HANDLE job = StartJob(L"PORT");
    ASSERT_NE(job, nullptr);
    ExpectInvalid(AddPortTokens{.address = L"127.0.0.9"},
                  {"TRACE configuring qname =    m_addrtype = 1", "TRACE print channel is  OPEN",
                   "ERROR print channel is open: cannot configure now",
                   "INFO failed update port info", "ERROR error adding port to list"});
    EXPECT_TRUE(table().pfnEndDocPort(job));
}

TEST_F(XcvAddPortTest, NamesThatNoRegistryKeyCanHaveAreInvalid) {
    AddRawPort(L"OTHER");
    StartEmpty();
    for (const std::wstring& name :
         {std::wstring(), std::wstring(L"\\"), std::wstring(L"a\\b"), std::wstring(L"OTHER\\"),
          std::wstring(256, L'n'), std::wstring(300, L'n')}) {
        ExpectInvalid(AddPortTokens{.name = name},
                      {"ERROR invalidate Port", "ERROR error adding port to list"});
    }
    const std::wstring longest(255, L'n');
    EXPECT_EQ(Add({.name = longest}).code, DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(store().HasKey(root(), PortPath(longest)));
}

TEST_F(XcvAddPortTest, NamesThatDifferOnlyInCaseAreInvalid) {
    AddRawPort(L"Port");
    StartEmpty();
    for (const std::wstring name : {L"PORT", L"port", L"porT"}) {
        const std::string narrow(name.begin(), name.end());
        ExpectInvalid(AddPortTokens{.address = L"127.0.0.9", .name = name},
                      {"ERROR invalidate Port", "ERROR port name differs only in case : " + narrow,
                       "ERROR error adding port to list"});
    }
    EXPECT_EQ(StoredText(L"Port", L"PrinterAddress"), L"127.0.0.1");
    EXPECT_EQ(Add({.name = L"Port2"}).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Add({.address = L"127.0.0.9", .name = L"Port"}).code, DWORD{ERROR_ALREADY_EXISTS});
}

TEST_F(XcvAddPortTest, NameIsFreeOnceThePortOfTheOtherCaseIsGone) {
    AddRawPort(L"Port");
    StartEmpty();
    ASSERT_EQ(Call(L"DeletePort", L"Port").code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Add({.name = L"PORT"}).code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(store().SubkeyNames(root(), L"Ports"), ElementsAre(L"PORT"));
}

// --- The ID-print monitor

TEST_F(XcvAddPortTest, IdentityNameIsNeededByTheIdPrintMonitorOnly) {
    StartEmpty();
    EXPECT_EQ(Add({.user_mode = L"1"}).code, DWORD{ERROR_SUCCESS});
    Unload();
    SetMonitorType(2);
    StartEmpty();
    ExpectInvalid(AddPortTokens{.name = L"ID", .user_mode = L"1"},
                  {"ERROR error parsing user ident name"});
    EXPECT_EQ(Add({.name = L"ID", .user_mode = L"1", .user = L"alice"}).code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(Add({.name = L"ID 2", .user_mode = L"2"}).code, DWORD{ERROR_SUCCESS});
}

TEST_F(XcvAddPortTest, IdPrintMonitorStoresItsValues) {
    SetMonitorType(2);
    StartEmpty();
    EXPECT_EQ(
        Add({.user_mode = L"2", .raw_port = L"59300", .check_port = L"59301", .user = L"alice"})
            .code,
        DWORD{ERROR_SUCCESS});
    EXPECT_EQ(StoredNumber(L"PORT", L"SecureUserMode"), 2U);
    EXPECT_EQ(StoredNumber(L"PORT", L"SecureRawPortNo"), 59300U);
    EXPECT_EQ(StoredNumber(L"PORT", L"CheckPortNo"), 59301U);
    EXPECT_EQ(StoredText(L"PORT", L"UserIdentityName"), L"alice");
}

// --- Failures around it

TEST_F(XcvAddPortTest, PortIsListedAlsoWhenTheRegistryCannotTakeIt) {
    StartEmpty();
    registry().AddFault({.operation = RegistryOperation::kCreateKey, .name = L"PORT"});
    EXPECT_EQ(Add({}).code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(LinesOf("Xcv AddPort"),
                ElementsAre("ERROR invalidate Port", "ERROR Unable to open key ( PORT )",
                            "INFO port added successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
}

TEST_F(XcvAddPortTest, FortyPortsOfAScriptAreAllThere) {
    StartEmpty();
    std::vector<std::wstring> names;
    for (int number = 0; number < 40; ++number) {
        names.push_back(L"PORT " + std::to_wstring(number));
        EXPECT_EQ(Add({.name = names.back()}).code, DWORD{ERROR_SUCCESS});
    }
    EXPECT_EQ(PortNames(), names);
    Unload();
    StartEmpty();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(PortNames(), names) << "after the next start in the registry's order";
}

}  // namespace
}  // namespace ksp::test
