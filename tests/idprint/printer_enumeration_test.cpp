// Whether a printer of this computer uses a port.

#include <gmock/gmock.h>

#include <string>

#include "monitor/printer_enumeration.h"
#include "tests/host/winspool_control.h"
#include "tests/net/net_test.h"
#include "tests/support/scarce_memory.h"

namespace ksp::test {
namespace {

using ::testing::IsEmpty;

constexpr wchar_t kUsed[] = L"port associated with a printer";

class PrinterEnumerationTest : public NetTest {
  protected:
    void SetUp() override {
        NetTest::SetUp();
        ASSERT_TRUE(spooler_.Connect());
        spooler_.Reset();
    }
    void TearDown() override {
        spooler_.Reset();
        NetTest::TearDown();
    }

    void PutPrinter(const std::wstring& name, const std::wstring& ports) {
        spooler_.PutPrinter({.name = name, .port_names = ports});
    }
    static bool IsUsed(const wchar_t* port) {
        CPrinterEnumeration printers;
        return printers.IsPortUsedByPrinter(port);
    }

    WinspoolControl spooler_;
};

TEST_F(PrinterEnumerationTest, APrintersPortIsUsed) {
    PutPrinter(L"First", L"A");
    PutPrinter(L"Second", L"B");
    PutPrinter(L"Third", L"B");
    EXPECT_TRUE(IsUsed(L"A"));
    EXPECT_EQ(Count(LineLevel::kInfo, kUsed), 1U);
    EXPECT_TRUE(IsUsed(L"B"));
    EXPECT_EQ(Count(LineLevel::kInfo, kUsed), 2U) << "the first match says it";
    EXPECT_FALSE(IsUsed(L"C"));
    EXPECT_EQ(ReadLog().lines().size(), 2U);
}

TEST_F(PrinterEnumerationTest, OnlyTheWholePortFieldCounts) {
    PutPrinter(L"Pool", L"A,B");
    PutPrinter(L"Other", L"PORT");
    for (const wchar_t* port : {L"A", L"B", L"POR", L"PORT1", L"port", L"ORT", L"", L"A, B"}) {
        EXPECT_FALSE(IsUsed(port)) << ::testing::PrintToString(std::wstring(port));
    }
    EXPECT_TRUE(IsUsed(L"A,B")) << "a port could be called that";
    EXPECT_TRUE(IsUsed(L"PORT"));
}

TEST_F(PrinterEnumerationTest, NoNameIsNoPort) {
    PutPrinter(L"Printer", L"");
    EXPECT_FALSE(IsUsed(nullptr));
    EXPECT_THAT(spooler_.Calls(), IsEmpty()) << "nobody was asked";
}

TEST_F(PrinterEnumerationTest, WithoutPrintersEveryPortIsFree) {
    EXPECT_FALSE(IsUsed(L"PORT"));
    EXPECT_THAT(ReadLog().lines(), IsEmpty());
}

TEST_F(PrinterEnumerationTest, AsksForLocalPrintersAtLevelTwo) {
    PutPrinter(L"Printer", L"PORT");
    EXPECT_TRUE(IsUsed(L"PORT"));
    const auto calls = spooler_.Calls();
    ASSERT_EQ(calls.size(), 2U);
    for (const WinspoolCall& call : calls) {
        EXPECT_EQ(call.function, WinspoolEnumPrinters);
        EXPECT_EQ(call.flags, static_cast<DWORD>(PRINTER_ENUM_LOCAL));
        EXPECT_EQ(call.level, 2U);
    }
    EXPECT_EQ(calls[0].buffer_size, 0U);
    EXPECT_GT(calls[1].buffer_size, 0U);
}

TEST_F(PrinterEnumerationTest, APrinterListThatCannotBeReadFreesThePort) {
    PutPrinter(L"Printer", L"PORT");
    spooler_.FailCall(WinspoolEnumPrinters, ERROR_ACCESS_DENIED);
    EXPECT_FALSE(IsUsed(L"PORT"));
    EXPECT_EQ(Count(LineLevel::kError, L"error in 1st enumprinters = 5"), 1U);
    spooler_.FailCall(WinspoolEnumPrinters, ERROR_INVALID_HANDLE, 2);
    EXPECT_FALSE(IsUsed(L"PORT"));
    EXPECT_EQ(Count(LineLevel::kError, L"error in 2nd enumprinters = 6"), 1U);
    EXPECT_EQ(ReadLog().lines().size(), 2U);
}

TEST_F(PrinterEnumerationTest, PrintersThatComeAndGoBetweenTheCalls) {
    PutPrinter(L"Printer", L"PORT");
    // One more printer than there was room for.
    size_t calls = 0;
    spooler_.SetHook(WinspoolEnumPrinters, [&] {
        if (++calls == 2) {
            PutPrinter(L"Another", L"PORT");
        }
    });
    EXPECT_TRUE(IsUsed(L"PORT")) << "they are read again";
    EXPECT_EQ(Count(LineLevel::kError, L"error in 2nd enumprinters = 122"), 0U);
    calls = 0;
    spooler_.SetHook(WinspoolEnumPrinters, [&] {
        if (++calls == 2) {
            spooler_.RemovePrinter(L"Printer");
            spooler_.RemovePrinter(L"Another");
        }
    });
    EXPECT_FALSE(IsUsed(L"PORT"));
    spooler_.SetHook(WinspoolEnumPrinters, {});
    EXPECT_EQ(Count(LineLevel::kInfo, kUsed), 1U);
}

TEST_F(PrinterEnumerationTest, PrintersThatNeverStopComingAreGivenUp) {
    size_t calls = 0;
    spooler_.SetHook(WinspoolEnumPrinters,
                     [&] { PutPrinter(L"Printer " + std::to_wstring(++calls), L"OTHER"); });
    EXPECT_FALSE(IsUsed(L"PORT"));
    spooler_.SetHook(WinspoolEnumPrinters, {});
    EXPECT_EQ(Count(LineLevel::kError, L"error in 2nd enumprinters = 122"), 1U);
    EXPECT_EQ(calls, 5U);
}

TEST_F(PrinterEnumerationTest, AListThatDoesNotFitIntoMemoryFreesThePort) {
    PutPrinter(L"Printer", std::wstring(ScarceMemory::kLarge, L'p'));
    {
        const ScarceMemory scarce(0);
        EXPECT_FALSE(IsUsed(L"PORT"));
    }
    EXPECT_EQ(Count(LineLevel::kCritical, L"error allocating memory"), 1U);
    EXPECT_EQ(ReadLog().lines().size(), 1U);
}

}  // namespace
}  // namespace ksp::test
