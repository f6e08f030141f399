// The monitor with the discovery library, and an SNMP daemon that a script has set up as a printer.
// The script says by environment variables what to expect.

#include "tests/discovery/monitor_discovery_test.h"

namespace ksp::test {
namespace {

using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

const std::vector<uint8_t> kDocument = {'d', 'o', 'c', 'u', 'm', 'e', 'n', 't'};

std::wstring Variable(const wchar_t* name) {
    wchar_t value[256] = {};
    const DWORD length = ::GetEnvironmentVariableW(name, value, 256);
    return length < 256 ? std::wstring(value, length) : std::wstring();
}

// The directory of the library that is shipped.
std::wstring ProductDirectory() {
    const std::wstring monitor = MonitorLibraryPath();
    return monitor.substr(0, monitor.find_last_of(L'\\')) + L"\\..\\bin";
}

class SnmpdTest : public MonitorDiscoveryTest {
  protected:
    static void SetUpTestSuite() {
        MonitorDiscoveryTest::SetUpTestSuite();
        // What comes with the library and the lists of adapters, and stays.
        const HMODULE library = ::LoadLibraryW((ProductDirectory() + L"\\KSSTRMAPIe.dll").c_str());
        ASSERT_NE(library, nullptr);
        ::FreeLibrary(library);
    }
    void SetUp() override {
        MonitorDiscoveryTest::SetUp();
        ASSERT_FALSE(address_.empty()) << "the environment names no daemon";
        SetSetting(L"ExeDirectory", ProductDirectory());
        SetSetting(L"WaitPrinterValueTimeout", 5);
        SetSetting(L"WaitStatusReplyTimeout", 5);
    }

    const std::wstring address_ = Variable(L"KSPMON_SNMPD_ADDRESS");
};

// The daemon's computer does not take jobs, so the spooler is told how the printer is.
TEST_F(SnmpdTest, TheStatusReachesTheSpooler) {
    const std::wstring word = Variable(L"KSPMON_SNMPD_WORD");
    ASSERT_FALSE(word.empty());
    AddPortKey({.name = L"Port", .PrinterAddress = address_, .IpAddress = address_});
    ASSERT_TRUE(Start());
    Print(QueueJob(L"Port"), kDocument, {.max_refusals = 1});
    const auto expected = static_cast<DWORD>(std::stoul(word, nullptr, 0));
    if (expected == 0) {
        EXPECT_THAT(StatusWords(), SizeIs(0));
    } else {
        EXPECT_THAT(StatusWords(), ElementsAre(expected, 0U)) << ReadLog().Describe();
    }
    EXPECT_THAT(Messages(LineLevel::kError, L"Print State"), SizeIs(1)) << ReadLog().Describe();
}

TEST_F(SnmpdTest, ThePrinterIsFollowedByItsMacAddress) {
    const std::wstring network = address_.substr(0, address_.find_last_of(L'.')) + L".0";
    SetSetting(L"SubnetSegment", 1);
    store().SetText(HKEY_LOCAL_MACHINE, software_key() + L"\\subnet", L"subnet0",
                    network + L";255.255.255.0");
    AddPortKey({.name = L"Port",
                .PrinterAddress = L"127.0.0.1",
                .PrinterAddressType = 4,
                .IpAddress = Variable(L"KSPMON_SNMPD_OLD_ADDRESS"),
                .MacAddress = Variable(L"KSPMON_SNMPD_MAC")});
    ASSERT_TRUE(Start());
    Print(QueueJob(L"Port"), kDocument, {.max_refusals = 1});
    EXPECT_EQ(store().GetText(root(), PortPath(L"Port"), L"IpAddress").value_or(L"no text"),
              address_)
        << ReadLog().Describe();
    EXPECT_THAT(
        Messages(LineLevel::kTrace, L"IpAddress Changed"),
        AllOf(Not(IsEmpty()), Each(L"IpAddress Changed " + Variable(L"KSPMON_SNMPD_OLD_ADDRESS") +
                                   L" --> " + address_)));
}

// The port is called after the model, whatever the one printer is called.
TEST_F(SnmpdTest, APortThatIsAddedSilentlyIsNamedAfterTheModel) {
    ASSERT_TRUE(Start());
    HANDLE xcv = nullptr;
    ASSERT_TRUE(table().pfnXcvOpenPort(monitor(), L"", SERVER_ACCESS_ADMINISTER, &xcv));
    std::string text = "PR=RAW:AR=" + std::string(address_.begin(), address_.end());
    DWORD needed = 0;
    EXPECT_EQ(table().pfnXcvDataPort(xcv, L"SilentAddPort", reinterpret_cast<BYTE*>(text.data()),
                                     static_cast<DWORD>(text.size() + 1), nullptr, 0, &needed),
              DWORD{ERROR_SUCCESS})
        << ReadLog().Describe();
    table().pfnXcvClosePort(xcv);
    EXPECT_EQ(store().GetText(root(), PortPath(address_ + L":" + Variable(L"KSPMON_SNMPD_MODEL")),
                              L"MacAddress"),
              Variable(L"KSPMON_SNMPD_MAC"))
        << ReadLog().Describe();
}

}  // namespace
}  // namespace ksp::test
