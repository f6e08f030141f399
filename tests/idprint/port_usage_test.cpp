// A port that a printer uses is not deleted.

#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::Not;

class PortUsageTest : public PortCallTest {
  protected:
    // Two ports, A and B, and a printer whose port field is that.
    void StartWithPrinterOn(const std::wstring& ports) {
        AddRawPort(L"A");
        AddRawPort(L"B");
        ASSERT_TRUE(Start());
        spooler().PutPrinter({.name = L"Printer", .port_names = ports});
        NewLines();
    }
};

TEST_F(PortUsageTest, APrintersPortStays) {
    StartWithPrinterOn(L"A");
    EXPECT_EQ(DeletePort(L"A"), static_cast<DWORD>(ERROR_NOT_READY));
    EXPECT_THAT(NewLines(), Contains("INFO port associated with a printer"));
    EXPECT_TRUE(store().HasKey(root(), PortPath(L"A")));
    EXPECT_NE(Open(L"A"), nullptr);
}

TEST_F(PortUsageTest, APortOfAPooledPrinterGoes) {
    StartWithPrinterOn(L"A,B");
    EXPECT_EQ(DeletePort(L"A"), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_THAT(NewLines(), Not(Contains("INFO port associated with a printer")));
    EXPECT_FALSE(store().HasKey(root(), PortPath(L"A")));
    EXPECT_EQ(Open(L"A"), nullptr);
    EXPECT_NE(Open(L"B"), nullptr);
}

TEST_F(PortUsageTest, APortGoesWhenThePrintersCannotBeListed) {
    StartWithPrinterOn(L"A");
    spooler().FailCallsFrom(WinspoolEnumPrinters, ERROR_ACCESS_DENIED);
    EXPECT_EQ(DeletePort(L"A"), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_THAT(NewLines(), Contains("ERROR error in 1st enumprinters = 5"));
    EXPECT_FALSE(store().HasKey(root(), PortPath(L"A")));
}

}  // namespace
}  // namespace ksp::test
