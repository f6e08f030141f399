// What is thrown inside a command. The spooler's own functions throw here.

#include <stdexcept>

#include "tests/host/patched_import.h"
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

HGLOBAL WINAPI NoMemory(UINT /*flags*/, SIZE_T /*size*/) {
    return nullptr;
}

// Gives the memory back all the same.
HGLOBAL(WINAPI* g_global_free)(HGLOBAL) = nullptr;
HGLOBAL WINAPI BrokenFree(HGLOBAL memory) {
    g_global_free(memory);
    throw std::runtime_error("the heap is broken");
}

TEST_F(XcvExceptionTest, WithoutMemoryNoHandleIsGiven) {
    const PatchedImport<decltype(&::GlobalAlloc)> patch("GlobalAlloc", NoMemory,
                                                        library().module());
    ASSERT_TRUE(patch.works());
    NewLines();
    HANDLE xcv = nullptr;
    EXPECT_FALSE(table().pfnXcvOpenPort(monitor(), nullptr, SERVER_ACCESS_ADMINISTER, &xcv));
    EXPECT_EQ(xcv, nullptr);
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE called xcv open port", "CRITICAL memory allocation failure"));
}

TEST_F(XcvExceptionTest, WhatIsThrownAtTheEndIsCaught) {
    HANDLE xcv = nullptr;
    ASSERT_TRUE(table().pfnXcvOpenPort(monitor(), nullptr, SERVER_ACCESS_ADMINISTER, &xcv));
    NewLines();
    const PatchedImport<decltype(&::GlobalFree)> patch("GlobalFree", BrokenFree,
                                                       library().module());
    ASSERT_TRUE(patch.works());
    g_global_free = patch.original();
    EXPECT_FALSE(table().pfnXcvClosePort(xcv));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called xcv close port",
                                        "CRITICAL Exception error in XcvClosePort"));
}

}  // namespace
}  // namespace ksp::test
