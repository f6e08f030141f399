// One port: its channel, its event, and what it tells the spooler.

#include "ports/port.h"

#include "channels/raw_print_channel.h"
#include "ports/registry_store.h"
#include "tests/host/handle_census.h"
#include "tests/host/patched_import.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PortTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        ASSERT_TRUE(Initialize());
    }
    UniquePrinter OpenPrinter(std::wstring name = L"Printer") {
        UniquePrinter printer;
        PRINTER_DEFAULTSW defaults{nullptr, nullptr, PRINTER_ALL_ACCESS};
        EXPECT_TRUE(::OpenPrinterW(name.data(), printer.Receive(), &defaults));
        return printer;
    }
    static CPortInfo OfProtocol(std::uint32_t protocol) {
        CPortInfo info = Raw(L"PORT");
        info.ProtocolID = protocol;
        return info;
    }
};

TEST_F(PortTest, NewPortIsEmpty) {
    CPort port(manager());
    EXPECT_EQ(port.Name(), L"");
    EXPECT_EQ(port.Channel(), nullptr);
    EXPECT_FALSE(port.HasChannel());
    EXPECT_EQ(port.State(), CPort::OpenState::kNeverOpened);
    EXPECT_EQ(port.Printer(), nullptr);
    EXPECT_EQ(port.JobId(), 0U);
}

TEST_F(PortTest, WithoutEventItSaysSo) {
    CPort port(manager());
    EXPECT_FALSE(port.SignalJobEvent());
    EXPECT_FALSE(port.ResetJobEvent());
    EXPECT_FALSE(port.WaitJobEvent());
    EXPECT_THAT(NewLines(),
                ElementsAre("ERROR Invalid Event Handle.", "ERROR Invalid Event Handle.",
                            "ERROR Invalid Event Handle."));
}

HANDLE WINAPI NoEvent(LPSECURITY_ATTRIBUTES /*security*/, BOOL /*manual*/, BOOL /*signalled*/,
                      LPCWSTR /*name*/) {
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

TEST_F(PortTest, PortWithoutAnEventIsNotInitialized) {
    CPort port(manager());
    const PatchedImport<decltype(&::CreateEventW)> patch("CreateEventW", NoEvent);
    ASSERT_TRUE(patch.works());
    EXPECT_FALSE(port.Initialize(Raw(L"PORT", L"127.9.8.7")));
    EXPECT_THAT(NewLines(), ElementsAre("INFO could not create event handle"));
}

TEST_F(PortTest, InitializedPortHasNameChannelAndSignalledEvent) {
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT", L"127.9.8.7")));
    EXPECT_EQ(port.Name(), L"PORT");
    ASSERT_NE(port.Channel(), nullptr);
    EXPECT_NE(dynamic_cast<CRawPrintChannel*>(port.Channel()), nullptr);
    EXPECT_EQ(port.Channel()->GetProtocolInfo()->GetHostName(), L"127.9.8.7");
    EXPECT_EQ(port.Channel()->GetProtocolInfo()->GetPortNumber(), 9100);
    EXPECT_TRUE(port.WaitJobEvent()) << "signalled";
    EXPECT_TRUE(port.ResetJobEvent());
    EXPECT_TRUE(port.SignalJobEvent());
    EXPECT_TRUE(port.WaitJobEvent());
    EXPECT_THAT(NewLines(), IsEmpty());
}

TEST_F(PortTest, SecondInitializationKeepsTheEvent) {
    const HandleCensus before = CountHandles();
    {
        CPort port(manager());
        ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
        EXPECT_EQ(NewHandles(before, CountHandles()), (HandleCensus{{L"Event", 1}}));
        ASSERT_TRUE(port.Initialize(Raw(L"")));
        EXPECT_EQ(port.Name(), L"PORT") << "a record without name leaves it";
        EXPECT_EQ(NewHandles(before, CountHandles()), (HandleCensus{{L"Event", 1}}));
    }
    EXPECT_EQ(NewHandles(before, CountHandles()), HandleCensus());
}

TEST_F(PortTest, IppIsNotSupported) {
    CPort port(manager());
    EXPECT_FALSE(port.CreatePrintChannel(OfProtocol(3)));
    EXPECT_THAT(NewLines(), ElementsAre("INFO creating ipp print channel",
                                        "ERROR ipp print channel not supported",
                                        "ERROR CreatePrintChannel Failed. ProtocolID=3"));
    EXPECT_EQ(port.Channel(), nullptr);
}

TEST_F(PortTest, OtherProtocolsAreInvalid) {
    for (const std::uint32_t protocol : {4U, 9U, 0xFFFFFFFFU}) {
        CPort port(manager());
        EXPECT_FALSE(port.CreatePrintChannel(OfProtocol(protocol)));
        const std::string number = std::to_string(static_cast<std::int32_t>(protocol));
        EXPECT_THAT(NewLines(),
                    ElementsAre("ERROR Invalid Protocol ID : " + number,
                                "ERROR CreatePrintChannel Failed. ProtocolID=" + number));
    }
}

TEST_F(PortTest, InitializationWithoutChannelFails) {
    CPort port(manager());
    EXPECT_FALSE(port.Initialize(OfProtocol(3)));
    EXPECT_EQ(NewLines().back(), "INFO could not create print channel for port: PORT");
}

TEST_F(PortTest, ChannelIsDeletedOnDemand) {
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
    EXPECT_TRUE(port.DeletePrintChannel());
    EXPECT_EQ(port.Channel(), nullptr);
    EXPECT_TRUE(port.DeletePrintChannel());
}

TEST_F(PortTest, DestructionClosesThePrinter) {
    QueueJob();
    {
        CPort port(manager());
        ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
        port.SetJob(OpenPrinter(), 5);
        EXPECT_EQ(port.JobId(), 5U);
        EXPECT_EQ(spooler_.OpenHandles().size(), 1U);
    }
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
}

TEST_F(PortTest, NextJobClosesThePrinterOfTheLast) {
    QueueJob();
    CPort port(manager());
    port.SetJob(OpenPrinter(), 5);
    port.SetJob(OpenPrinter(), 6);
    EXPECT_EQ(spooler_.OpenHandles().size(), 1U);
    port.ClearJob();
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
    EXPECT_EQ(port.JobId(), 0U);
    EXPECT_EQ(port.Printer(), nullptr);
}

TEST_F(PortTest, SameStatusIsToldOnce) {
    QueueJob();
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
    port.SetJob(OpenPrinter(), 1);
    spooler_.ClearCalls();
    EXPECT_TRUE(port.SetStatus(0)) << "the first status of a port";
    EXPECT_TRUE(port.SetStatus(PRINTER_STATUS_PAPER_OUT));
    EXPECT_TRUE(port.SetStatus(PRINTER_STATUS_PAPER_OUT));
    EXPECT_THAT(Describe(spooler_.Calls()),
                ElementsAre("SetPrinter 'Printer' level 0 command 4 status 0x10 -> TRUE"));
    EXPECT_THAT(NewLines(), ElementsAre("INFO Old Stat=0 NewStat=16"));
    EXPECT_TRUE(port.SetStatus(0));
    EXPECT_THAT(NewLines(), ElementsAre("INFO Old Stat=16 NewStat=0"));
    EXPECT_EQ(spooler_.PrinterStatus(L"Printer"), 0U);
    port.ClearJob();
}

TEST_F(PortTest, StatusThatTheSpoolerRefusesIsKeptAllTheSame) {
    QueueJob();
    CPort port(manager());
    port.SetJob(OpenPrinter(), 1);
    spooler_.FailCall(WinspoolSetPrinter, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(port.SetStatus(PRINTER_STATUS_PAPER_OUT));
    spooler_.ClearCalls();
    EXPECT_TRUE(port.SetStatus(PRINTER_STATUS_PAPER_OUT));
    EXPECT_THAT(spooler_.Calls(), IsEmpty());
    port.ClearJob();
}

TEST_F(PortTest, StatusWithoutPrinterFails) {
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
    EXPECT_FALSE(port.SetStatus(PRINTER_STATUS_ERROR));
    EXPECT_THAT(NewLines(), ElementsAre("INFO Old Stat=0 NewStat=2"));
}

TEST_F(PortTest, JobIsReadAtLevelOne) {
    QueueJob();
    CPort port(manager());
    port.SetJob(OpenPrinter(), 1);
    SpoolerRecords job;
    ASSERT_TRUE(port.GetJobInfo(job));
    EXPECT_EQ(job.As<JOB_INFO_1W>()->JobId, 1U);
    EXPECT_EQ(std::wstring(job.As<JOB_INFO_1W>()->pUserName), L"alice");
    for (const WinspoolCall& call : spooler_.Calls(WinspoolGetJob)) {
        EXPECT_EQ(call.level, 1U);
    }
    EXPECT_EQ(spooler_.Calls(WinspoolGetJob).size(), 2U);
    EXPECT_EQ(spooler_.Calls(WinspoolGetJob)[0].buffer_size, 0U);
    port.ClearJob();
}

TEST_F(PortTest, JobThatCannotBeReadIsLogged) {
    QueueJob();
    CPort port(manager());
    SpoolerRecords job;
    EXPECT_FALSE(port.GetJobInfo(job));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR print handle is not set"));
    port.SetJob(OpenPrinter(), 1);
    spooler_.FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(port.GetJobInfo(job));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR error retrieving job info"));
    spooler_.FailCall(WinspoolGetJob, ERROR_ACCESS_DENIED, 2);
    EXPECT_FALSE(port.GetJobInfo(job));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR error retrieving job info"));
    spooler_.EmptyCall(WinspoolGetJob);
    EXPECT_FALSE(port.GetJobInfo(job));
    EXPECT_THAT(NewLines(), IsEmpty());
    port.ClearJob();
}

TEST_F(PortTest, IdPrintPortsHaveTheirOwnTcpPort) {
    manager().Terminate();
    ASSERT_TRUE(Initialize(2));
    CPortInfo info = Raw(L"PORT");
    info.SecureRawPortNo = 12345;
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(info));
    EXPECT_EQ(port.Channel()->GetProtocolInfo()->GetPortNumber(), 12345);
    // Settings made later take the number of the port made last.
    EXPECT_EQ(CRawProtocolInfo(L"").GetPortNumber(), 12345);
    CRawProtocolInfo::SetDefaultPortNumber(9100);
}

TEST_F(PortTest, ChannelIsExchangedUnlessAJobIsOnIt) {
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT", L"127.0.0.1")));
    EXPECT_EQ(port.ExchangePrintChannel(Raw(L"PORT", L"127.0.0.2")),
              CPort::ExchangeResult::kExchanged);
    EXPECT_EQ(port.Channel()->GetProtocolInfo()->GetHostName(), L"127.0.0.2");
    {
        const CJobScope busy(port);
        EXPECT_EQ(port.ExchangePrintChannel(Raw(L"PORT")), CPort::ExchangeResult::kOpen);
        EXPECT_TRUE(port.HasChannel()) << "asked without waiting";
    }
    port.Channel()->StartDoc(1, nullptr);
    CPrintChannel* const channel = port.Channel();
    EXPECT_EQ(port.ExchangePrintChannel(Raw(L"PORT")), CPort::ExchangeResult::kOpen);
    EXPECT_EQ(port.Channel(), channel);
    EXPECT_TRUE(port.CloseChannel(CPort::Unfinished::kEnd));
    EXPECT_EQ(port.ExchangePrintChannel(OfProtocol(3)), CPort::ExchangeResult::kNoChannel);
    EXPECT_FALSE(port.HasChannel());
}

TEST_F(PortTest, CloseOfABusyChannelIsCarriedOutWhenItIsFree) {
    CPort port(manager());
    ASSERT_TRUE(port.Initialize(Raw(L"PORT")));
    port.Channel()->StartDoc(1, nullptr);
    {
        const CJobScope busy(port);
        EXPECT_TRUE(port.CloseChannel(CPort::Unfinished::kEnd));
        EXPECT_TRUE(port.Channel()->IsOpen());
    }
    EXPECT_FALSE(port.Channel()->IsOpen());
}

}  // namespace
}  // namespace ksp::test
