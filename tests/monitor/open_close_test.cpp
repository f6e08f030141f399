// OpenPort and ClosePort, and what counts as a port handle.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class OpenCloseTest : public PortCallTest {
  protected:
    void StartWithPort() {
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        NewLines();
    }
};

TEST_F(OpenCloseTest, HandleIsThePortsId) {
    AddRawPort(L"first");
    AddRawPort(L"second");
    ASSERT_TRUE(Start());
    NewLines();
    EXPECT_EQ(Open(L"second"), Handle(2));
    EXPECT_EQ(Open(L"first"), Handle(1));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called open port : second", "TRACE success open port",
                            "TRACE called open port : first", "TRACE success open port"));
}

TEST_F(OpenCloseTest, OpenAgainAnswersTheSameHandle) {
    StartWithPort();
    EXPECT_EQ(Open(L"PORT"), Handle(1));
    EXPECT_EQ(Open(L"PORT"), Handle(1));
}

TEST_F(OpenCloseTest, UnknownNamesAreRefused) {
    StartWithPort();
    for (std::wstring name : {L"port", L"PORT ", L"POR", L"", L"PORT1"}) {
        HANDLE port = Handle(77);
        EXPECT_FALSE(table().pfnOpenPort(monitor(), name.data(), &port));
        EXPECT_EQ(port, nullptr);
    }
    EXPECT_EQ(ReadLog().CountLines(LineLevel::kError, L"port not found"), 5U);
    std::wstring name = L"port";
    EXPECT_FALSE(table().pfnOpenPort(monitor(), name.data(), nullptr));
    EXPECT_FALSE(table().pfnOpenPort(monitor(), nullptr, nullptr));
}

TEST_F(OpenCloseTest, RefusalIsLogged) {
    StartWithPort();
    EXPECT_EQ(Open(L"port"), nullptr);
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called open port : port", "ERROR port not found"));
}

TEST_F(OpenCloseTest, OpenWithoutOutputStillOpens) {
    StartWithPort();
    std::wstring name = L"PORT";
    EXPECT_TRUE(table().pfnOpenPort(monitor(), name.data(), nullptr));
    NewLines();
    EXPECT_TRUE(Close(Handle(1)));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called close port",  //
                            "TRACE print channel is  CLOSE", "INFO success close port"));
}

TEST_F(OpenCloseTest, PortThatWasNeverOpenedClosesWithoutEffect) {
    StartWithPort();
    EXPECT_TRUE(Close(Handle(1)));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called close port", "ERROR port not open. cannot close"));
}

TEST_F(OpenCloseTest, SecondCloseHasNoEffect) {
    StartWithPort();
    const HANDLE port = Open(L"PORT");
    EXPECT_TRUE(Close(port));
    NewLines();
    EXPECT_TRUE(Close(port));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called close port", "ERROR port not open. cannot close"));
}

TEST_F(OpenCloseTest, ClosedPortOpensAgain) {
    StartWithPort();
    EXPECT_TRUE(Close(Open(L"PORT")));
    const HANDLE port = Open(L"PORT");
    EXPECT_EQ(port, Handle(1));
    NewLines();
    EXPECT_TRUE(Close(port));
    EXPECT_EQ(NewLines().back(), "INFO success close port");
}

TEST_F(OpenCloseTest, NoOperationKnowsAHandleThatIsNoId) {
    StartWithPort();
    QueueJob(L"PORT");
    const std::uintptr_t values[] = {0, 2, 0xFFFFFFFE, 0xFFFFFFFF, 0x100000001, 0xFFFFFFFFFFFFFFFF};
    for (const std::uintptr_t value : values) {
        SCOPED_TRACE(value);
        NewLines();
        EXPECT_FALSE(StartDoc(Handle(value)).result);
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE called start doc port", "ERROR invalid port handle"));
        const WriteResult write = Write(Handle(value), Document(10));
        EXPECT_FALSE(write.result);
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE called write port", "ERROR invalid port handle"));
        EXPECT_FALSE(EndDoc(Handle(value)));
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE called end doc port", "ERROR invalid port handle"));
        EXPECT_FALSE(Close(Handle(value)));
        EXPECT_THAT(NewLines(),
                    ElementsAre("TRACE called close port", "ERROR invalid port handle"));
    }
    EXPECT_THAT(spooler().Calls(), IsEmpty());
}

TEST_F(OpenCloseTest, CloseEndsAJobThatWasNotEnded) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    const Bytes document = Document(1000);
    ASSERT_TRUE(WriteAll(port, document));
    NewLines();
    EXPECT_TRUE(Close(port));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called close port",  //
                                        "TRACE print channel is  OPEN", "INFO success close port"));
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(document, printer.received()));
    EXPECT_EQ(printer.connections()[0].ending, standins::PrinterConnection::Ending::kByPeer);
    // The printer handle belongs to the job, which is still to be ended.
    EXPECT_EQ(spooler().OpenHandles().size(), 1U);
    EXPECT_TRUE(EndDoc(port));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

TEST_F(OpenCloseTest, PortTakesTheNextJobAfterOneThatWasNotEnded) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawPort(L"PORT", printer);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"PORT");
    const HANDLE port = Open(L"PORT");
    ASSERT_TRUE(StartDoc(port).result);
    EXPECT_TRUE(Close(port));
    // The handle left in the port is closed when the next job brings its own.
    EXPECT_TRUE(Print(job, Document(500)).printed());
    EXPECT_TRUE(SameBytes(Document(500), printer.received()));
    EXPECT_THAT(spooler().OpenHandles(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
