// The command DeletePort.

#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class XcvDeletePortTest : public XcvTest {
  protected:
    void SetUp() override {
        XcvTest::SetUp();
        AddRawPort(L"PORT");
        AddRawPort(L"STAYS");
        ASSERT_TRUE(Start());
        NewLines();
    }
};

TEST_F(XcvDeletePortTest, DeletedPortIsGoneFromListAndRegistry) {
    const XcvAnswer answer = Call(L"DeletePort", L"PORT", 4);
    EXPECT_EQ(answer.code, DWORD{ERROR_SUCCESS});
    EXPECT_EQ(answer.needed, 0U);
    EXPECT_TRUE(IsUntouchedFrom(answer.output, 0));
    EXPECT_THAT(LinesOf("Xcv DeletePort"),
                ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                            "ERROR port not open. cannot close", "INFO port deleted successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
    EXPECT_THAT(store().SubkeyNames(root(), L"Ports"), ElementsAre(L"STAYS"));
}

TEST_F(XcvDeletePortTest, UnknownNamesAreNotReady) {
    for (const XcvInput& input : {XcvInput(), XcvInput(Bytes()), XcvInput(Bytes{0x50}),
                                  XcvInput(Terminated(L"")), XcvInput(Terminated(L"port")),
                                  XcvInput(Terminated(L"PORT ")), XcvInput(Unterminated(L"POR"))}) {
        ExpectUnchanged(L"DeletePort", input, ERROR_NOT_READY, {"ERROR port not found"});
    }
}

TEST_F(XcvDeletePortTest, NameEndsWithItsSizeOrItsTerminator) {
    EXPECT_EQ(Call(L"DeletePort", Unterminated(L"PORT")).code, DWORD{ERROR_SUCCESS});
    Bytes name = Terminated(L"STAYS");
    const Bytes more = Terminated(L"not any more");
    name.insert(name.end(), more.begin(), more.end());
    EXPECT_EQ(Call(L"DeletePort", name).code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(XcvDeletePortTest, PortThatAPrinterUsesStays) {
    spooler().PutPrinter({.name = L"Printer", .port_names = L"PORT"});
    EXPECT_EQ(Call(L"DeletePort", L"PORT").code, DWORD{ERROR_NOT_READY});
    EXPECT_THAT(
        LinesOf("Xcv DeletePort"),
        ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                    "ERROR port not open. cannot close", "INFO port associated with a printer",
                    "ERROR port in use. cannot delete"));
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT", L"STAYS"));
    EXPECT_TRUE(store().HasKey(root(), PortPath(L"PORT")));
}

TEST_F(XcvDeletePortTest, PortGoesWhenThePrintersCannotBeRead) {
    spooler().PutPrinter({.name = L"Printer", .port_names = L"PORT"});
    spooler().FailCall(WinspoolEnumPrinters, ERROR_ACCESS_DENIED, 2);
    EXPECT_EQ(Call(L"DeletePort", L"PORT").code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(
        LinesOf("Xcv DeletePort"),
        ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                    "ERROR port not open. cannot close", "ERROR error in 2nd enumprinters = 5",
                    "INFO port deleted successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
}

TEST_F(XcvDeletePortTest, PortGoesAlsoWhenItsKeyStays) {
    registry().AddFault({.operation = RegistryOperation::kDeleteKey, .name = L"PORT"});
    EXPECT_EQ(Call(L"DeletePort", L"PORT").code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(
        LinesOf("Xcv DeletePort"),
        ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                    "ERROR port not open. cannot close", "ERROR Unable to delete key ( PORT )",
                    "INFO port deleted successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
}

TEST_F(XcvDeletePortTest, JobOnThePortEndsWithIt) {
    const HANDLE job = StartJob(L"PORT");
    ASSERT_NE(job, nullptr);
    ASSERT_TRUE(spooler().RemovePrinter(L"Printer")) << "no printer uses the port any more";
    EXPECT_EQ(Call(L"DeletePort", L"PORT").code, DWORD{ERROR_SUCCESS});
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
    EXPECT_FALSE(table().pfnEndDocPort(job));
}

}  // namespace
}  // namespace ksp::test
