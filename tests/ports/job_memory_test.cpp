// A job for which memory runs out once, at each request in turn, while it is written.

#include "tests/ports/port_memory_fault.h"

#include <algorithm>
#include <optional>

#include "support/logger.h"
#include "tests/lpr/lpd_printer.h"
#include "tests/ports/port_manager_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

constexpr wchar_t kPort[] = L"PORT";
constexpr size_t kMostRequests = 1000;

class JobMemoryTest : public PortManagerTest, public ::testing::WithParamInterface<ProtocolId> {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        raw_.emplace();
        daemon_.emplace();
        ASSERT_TRUE(raw_->ready());
        ASSERT_TRUE(daemon_->ready());
        const bool is_raw = GetParam() == ProtocolId::kRaw;
        AddRawKey(kPort, is_raw ? raw_->wide_address() : daemon_->wide_address());
        store_.SetDword(store_.Root(), L"Ports\\PORT", L"ProtocolID",
                        static_cast<DWORD>(GetParam()));
        store_.SetText(store_.Root(), L"Ports\\PORT", L"QueueName", L"queue");
        ASSERT_TRUE(Initialize());
        // Its lines need most of the memory and lose nothing but themselves.
        Logger().Stop();
        QueueJob();
    }
    [[nodiscard]] bool Write(HANDLE handle) {
        DWORD written = 0;
        return operations().WritePort(handle, data_.data(), static_cast<DWORD>(data_.size()),
                                      &written) &&
               written == data_.size();
    }
    // How many jobs have come as they were sent.
    size_t WholeJobs() {
        size_t whole = 0;
        static_cast<void>(raw_->WaitForEndings(raw_->connections().size()));
        for (const standins::PrinterConnection& connection : raw_->connections()) {
            whole += connection.received == data_ ? 1U : 0U;
        }
        static_cast<void>(daemon_->WaitForEndings(daemon_->connections().size()));
        for (const standins::LpdConnection& connection : daemon_->connections()) {
            whole += Bytes(connection.data.begin(), connection.data.end()) == data_ ? 1U : 0U;
        }
        return whole;
    }

    const Bytes data_ = Document(1000);
    std::optional<standins::LoopbackPrinter> raw_;
    std::optional<standins::LpdPrinter> daemon_;
};

TEST_P(JobMemoryTest, IsWholeAtThePrinterWhenTheSpoolerOffersItAgain) {
    size_t refused = 0;
    size_t nth = 1;
    for (bool struck = true; struck && nth <= kMostRequests; ++nth) {
        const HANDLE handle = StartJob(kPort);
        ASSERT_NE(handle, nullptr);
        bool written = false;
        {
            const MemoryFault fault(nth);
            written = Write(handle);
            struck = fault.Struck();
        }
        if (!written) {
            ++refused;
            EXPECT_TRUE(Write(handle)) << "request " << nth;
        }
        EXPECT_TRUE(operations().EndDocPort(handle)) << "request " << nth;
        EXPECT_TRUE(operations().ClosePort(handle)) << "request " << nth;
        ASSERT_EQ(WholeJobs(), nth) << "request " << nth;
    }
    EXPECT_GT(refused, 3U);
    EXPECT_LT(nth, kMostRequests);
}

INSTANTIATE_TEST_SUITE_P(All, JobMemoryTest, ::testing::Values(ProtocolId::kRaw, ProtocolId::kXlpr),
                         [](const auto& test) {
                             return test.param == ProtocolId::kRaw ? "Raw" : "Xlpr";
                         });

}  // namespace
}  // namespace ksp::test
