#include "tests/idprint/id_print_test.h"

namespace ksp::test {

void IdPrintTest::SetUp() {
    PortCallTest::SetUp();
    SetMonitorType(2);
    // Replies come at once; a test that is to see one missing waits for less.
    SetSetting(L"WaitServerReplyTimeout", 20);
    SetSetting(L"LPRDirectory", directory() + L"\\spool");
    address_ = standins::NewLoopbackAddress();
}

void IdPrintTest::TearDown() {
    Unload();
    checks_.reset();
    raw_.reset();
    lpd_.reset();
    PortCallTest::TearDown();
}

void IdPrintTest::AddIdPort(Protocol protocol, const IdPrintValues& values) {
    AddPortKey({.name = L"Port",
                .PrinterAddress = wide_address(),
                .ProtocolID = static_cast<DWORD>(protocol),
                .QueueName = L"queue"});
    SetPortValue(L"SecureUserMode", values.SecureUserMode);
    SetPortValue(L"SecureRawPortNo", values.SecureRawPortNo);
    SetPortValue(L"CheckPortNo", values.CheckPortNo);
    store().SetText(root(), PortPath(L"Port"), L"UserIdentityName", values.UserIdentityName);
}

ConfirmationService& IdPrintTest::StartChecks(ConfirmationBehavior behavior, WORD port) {
    checks_.reset();
    checks_.emplace(std::move(behavior), standins::Endpoint{address_, port});
    EXPECT_TRUE(checks_->ready());
    return *checks_;
}

standins::LoopbackPrinter& IdPrintTest::StartRaw(standins::PrinterBehavior behavior, WORD port) {
    raw_.emplace(std::move(behavior), standins::Endpoint{address_, port});
    EXPECT_TRUE(raw_->ready());
    return *raw_;
}

standins::LpdPrinter& IdPrintTest::StartLpd() {
    lpd_.emplace(standins::LpdBehavior{},
                 standins::Endpoint{address_, standins::LpdPrinter::kPort});
    EXPECT_TRUE(lpd_->ready());
    return *lpd_;
}

void IdPrintTest::StartRawJob(const IdPrintValues& values) {
    StartChecks();
    StartRaw();
    AddIdPort(Protocol::kRaw, values);
    ASSERT_TRUE(Start());
    QueueJob(L"Port");
}

void IdPrintTest::PrintPieces(const std::vector<std::string>& pieces) {
    const HANDLE port = Open(L"Port");
    ASSERT_NE(port, nullptr);
    ASSERT_TRUE(StartDoc(port).result);
    for (const std::string& piece : pieces) {
        const WriteResult write = Write(port, Bytes(piece.begin(), piece.end()));
        EXPECT_TRUE(write.result);
        EXPECT_EQ(write.written, piece.size());
    }
    EXPECT_TRUE(EndDoc(port));
    EXPECT_TRUE(Close(port));
}

std::string IdPrintTest::Received() {
    EXPECT_TRUE(raw_->WaitForEndings(1));
    EXPECT_EQ(raw_->connections().size(), 1U);
    const std::vector<uint8_t> bytes = raw_->received();
    return {bytes.begin(), bytes.end()};
}

::testing::AssertionResult SameText(const std::string& received, const std::string& expected) {
    if (received == expected) {
        return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "received:\n"
                                         << Printable(received) << "\nexpected:\n"
                                         << Printable(expected);
}

}  // namespace ksp::test
