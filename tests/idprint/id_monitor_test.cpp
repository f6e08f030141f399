// What the ID-print monitor does otherwise than the ordinary one, beside its jobs' headers.

#include "tests/idprint/id_print_test.h"

namespace ksp::test {
namespace {

using standins::LoopbackPrinter;
using standins::PrinterBehavior;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class IdMonitorTest : public IdPrintTest {
  protected:
    static constexpr wchar_t kOrdinaryKey[] = L"SOFTWARE\\Kestrel\\Kestrel Print";

    // The names of the ports with the names of their monitor and their descriptions.
    std::vector<std::wstring> PortTexts() {
        DWORD needed = 0;
        DWORD count = 0;
        table().pfnEnumPorts(monitor(), nullptr, 2, nullptr, 0, &needed, &count);
        Bytes buffer(needed);
        EXPECT_TRUE(
            table().pfnEnumPorts(monitor(), nullptr, 2, buffer.data(), needed, &needed, &count));
        const auto* ports = reinterpret_cast<const PORT_INFO_2W*>(buffer.data());
        std::vector<std::wstring> texts;
        for (DWORD index = 0; index < count; ++index) {
            texts.emplace_back(ports[index].pPortName);
            texts.emplace_back(ports[index].pMonitorName);
            texts.emplace_back(ports[index].pDescription);
        }
        return texts;
    }
};

TEST_F(IdMonitorTest, ItsPortsCarryItsName) {
    AddIdPort();
    ASSERT_TRUE(Start());
    EXPECT_THAT(PortTexts(),
                ElementsAre(L"Port", L"Kestrel ID Print Port", L"Kestrel ID Print Port"));
}

TEST_F(IdMonitorTest, OnlyItsOwnSoftwareKeyIsRead) {
    store().SetText(HKEY_LOCAL_MACHINE, kOrdinaryKey, L"LogFileName", L"ordinary.txt");
    store().SetDword(HKEY_LOCAL_MACHINE, kOrdinaryKey, L"LogLevel", 4);
    AddIdPort();
    ASSERT_TRUE(Start());
    EXPECT_FALSE(ReadLog().empty());
    EXPECT_EQ(store().ValueNames(HKEY_LOCAL_MACHINE, kOrdinaryKey).size(), 2U)
        << "nothing is added to the other monitor's settings";
    EXPECT_EQ(software_key(), L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)");
    EXPECT_TRUE(store().GetValue(HKEY_LOCAL_MACHINE, software_key(), L"LocalSegment"));
}

TEST_F(IdMonitorTest, RawJobsGoToTheSecurePort) {
    const LoopbackPrinter usual({}, {address(), LoopbackPrinter::kRawPort});
    const LoopbackPrinter first({}, {address(), 59200});
    ASSERT_TRUE(usual.ready() && first.ready());
    StartChecks();
    StartRaw({}, 9345);
    AddIdPort(Protocol::kRaw, {.SecureRawPortNo = 9345});
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    PrintPieces({"data"});
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "data"));
    EXPECT_THAT(usual.connections(), IsEmpty());
    EXPECT_THAT(first.connections(), IsEmpty());
}

TEST_F(IdMonitorTest, EachRawPortHasItsOwnSecurePort) {
    StartChecks();
    StartRaw({}, 9345);
    const LoopbackPrinter other({}, {address(), 9346});
    ASSERT_TRUE(other.ready());
    AddIdPort(Protocol::kRaw, {.SecureRawPortNo = 9345});
    AddPortKey({.name = L"Second", .PrinterAddress = wide_address()});
    store().SetDword(root(), PortPath(L"Second"), L"SecureRawPortNo", 9346);
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    PrintPieces({"data"});
    EXPECT_TRUE(SameText(Received(), HeaderBytes() + "data"));
    EXPECT_THAT(other.connections(), IsEmpty());
}

TEST_F(IdMonitorTest, WithoutASecurePortThereIsNoneInItsPlace) {
    const LoopbackPrinter usual({}, {address(), LoopbackPrinter::kRawPort});
    const LoopbackPrinter first({}, {address(), 59200});
    ASSERT_TRUE(usual.ready() && first.ready());
    StartChecks();
    AddIdPort();
    store().RemoveValue(root(), PortPath(L"Port"), L"SecureRawPortNo");
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    const HANDLE port = Open(L"Port");
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(usual.connections(), IsEmpty());
    EXPECT_THAT(first.connections(), IsEmpty());
}

// The ordinary monitor asks the discovery library, which is not there, and shows "server unknown".
TEST_F(IdMonitorTest, APrinterInTroubleIsNotAskedForItsState) {
    StartChecks();
    StartRaw({.answer = PrinterBehavior::Answer::kRefuse});
    AddIdPort();
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    const HANDLE port = Open(L"Port");
    EXPECT_TRUE(StartDoc(port).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    EXPECT_FALSE(Write(port, {'1'}).result);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().Calls(WinspoolSetPrinter), IsEmpty());
    EXPECT_EQ(spooler().PrinterStatus(L"Printer"), 0U);
    EXPECT_THAT(ReadLog().Messages(LineLevel::kError), IsEmpty());
}

TEST_F(IdMonitorTest, TheOrdinaryMonitorAsksNothingAndSendsNoHeader) {
    SetMonitorType(1);
    StartChecks();
    StartRaw({}, LoopbackPrinter::kRawPort);
    AddIdPort(Protocol::kRaw, {.SecureUserMode = 1});
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
    EXPECT_THAT(PortTexts(), ElementsAre(L"Port", L"Kestrel Print Port", L"Kestrel Print Port"));
    PrintPieces({"data"});
    EXPECT_EQ(Received(), "data");
    EXPECT_THAT(checks_->Requests(0), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
