// What is thrown inside a command. The spooler's own functions throw here.

#include <stdexcept>

#include "tests/monitor/background.h"
#include "tests/xcv/xcv_test.h"

namespace ksp::test {
namespace {

using ::testing::ElementsAre;

class XcvExceptionTest : public XcvTest {
  protected:
    void SetUp() override {
        XcvTest::SetUp();
        AddRawPort(L"PORT");
        ASSERT_TRUE(Start());
        spooler().PutPort(L"LPT1:");
        spooler().PutPrinter({.name = L"Printer", .port_names = L"OTHER"});
    }
    // The command answers 1, says so, and leaves the monitor as it was and free for others.
    void ExpectCaught(WinspoolFunction function, const std::wstring& command, const Bytes& input) {
        const std::wstring keys = PortKeys();
        NewLines();
        spooler().SetHook(function, [] { throw std::runtime_error("the spooler is broken"); });
        const XcvAnswer answer = Call(command, input);
        spooler().SetHook(function, {});
        EXPECT_EQ(answer.code, DWORD{ERROR_INVALID_FUNCTION});
        const std::vector<std::string> lines = NewLines();
        ASSERT_GE(lines.size(), 2U);
        EXPECT_EQ(lines[lines.size() - 2], "CRITICAL Exception error in XcvDataPort");
        EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
        EXPECT_EQ(PortKeys(), keys);
        Background<DWORD> next([&] { return Call(L"DeletePort", L"nowhere").code; });
        ASSERT_TRUE(next.EndsWithin(Gate::kPatience)) << "a lock is still held";
        EXPECT_EQ(next.Get(), DWORD{ERROR_NOT_READY});
    }
};

TEST_F(XcvExceptionTest, AskingForAPortAnswersOne) {
    ExpectCaught(WinspoolEnumPorts, L"PortExists", Terminated(L"PORT"));
}

TEST_F(XcvExceptionTest, AddingAPortAnswersOne) {
    ExpectCaught(WinspoolEnumPorts, L"AddPort", Terminated(AddPortTokens{.name = L"NEW"}.Text()));
}

TEST_F(XcvExceptionTest, AddingAPortSilentlyAnswersOne) {
    ExpectCaught(WinspoolEnumPorts, L"SilentAddPort",
                 Terminated(std::string_view("AR=127.0.0.1:PR=RAW")));
}

TEST_F(XcvExceptionTest, DeletingAPortAnswersOne) {
    ExpectCaught(WinspoolEnumPrinters, L"DeletePort", Terminated(L"PORT"));
}

}  // namespace
}  // namespace ksp::test
