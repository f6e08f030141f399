// Configuring and deleting ports, also while jobs are on them.

#include <atomic>
#include <functional>
#include <optional>

#include "monitor/handle_id.h"
#include "tests/monitor/background.h"
#include "tests/ports/port_manager_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PortChangeTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        QueueJob();
    }
    bool Write(HANDLE handle, const Bytes& data) {
        DWORD written = 0;
        return operations().WritePort(handle, data.data(), static_cast<DWORD>(data.size()),
                                      &written) &&
               written == data.size();
    }
    std::wstring Stored(const wchar_t* name) {
        return store_.GetText(store_.Root(), L"Ports\\PORT", name).value_or(L"(none)");
    }
};

// Holds a WritePort of a job inside the spooler, while the status of a printer that refused is told
// to it, until it is released.
class HeldWrite {
  public:
    HeldWrite(WinspoolControl& spooler, std::function<bool()> write) : spooler_(spooler) {
        spooler_.SetHook(WinspoolSetPrinter, [this] {
            if (!held_.exchange(true)) {
                inside_.Open();
                release_.Wait();
            }
        });
        write_.emplace(std::move(write));
    }
    bool IsInside() const { return inside_.Wait(); }
    // The write's answer.
    bool Release() {
        release_.Open();
        const bool result = write_->Get();
        spooler_.SetHook(WinspoolSetPrinter, {});
        return result;
    }

  private:
    WinspoolControl& spooler_;
    std::atomic<bool> held_{false};
    Gate inside_;
    Gate release_;
    std::optional<Background<bool>> write_;
};

TEST_F(PortChangeTest, ConfigurationReplacesTheChannel) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    CPortInfo info = Raw(L"PORT", L"127.0.0.9");
    info.QueueName = L"queue";
    info.IpAddress = L"127.0.0.8";
    info.PrinterAddressType = 2;
    EXPECT_TRUE(manager().ConfigurePort(info, false));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE configuring qname = queue   m_addrtype = 2",
                            "TRACE print channel is  CLOSE", "INFO port configured successfully"));
    EXPECT_EQ(manager().Ports().FindPortById(1)->Channel()->GetProtocolInfo()->GetHostName(),
              L"127.0.0.9");
    EXPECT_EQ(Stored(L"PrinterAddress"), L"127.0.0.9");
    EXPECT_EQ(Stored(L"QueueName"), L"queue");
    EXPECT_EQ(Stored(L"IpAddress"), L"(none)") << "written only when the port is added";
    EXPECT_EQ(store_.GetDword(store_.Root(), L"Ports\\PORT", L"PrinterAddressType"), 1U);
    EXPECT_TRUE(manager().ConfigurePort(info, true));
    EXPECT_EQ(Stored(L"IpAddress"), L"127.0.0.8");
}

TEST_F(PortChangeTest, ConfigurationOfAnUnknownPortFails) {
    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(manager().ConfigurePort(Raw(L"PORT"), false));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE configuring qname =    m_addrtype = 1", "ERROR port not found"));
    EXPECT_FALSE(HasKey(L"PORT"));
}

TEST_F(PortChangeTest, ConfigurationWithoutChannelDropsThePort) {
    AddRawKey(L"PORT");
    AddRawKey(L"STAYS");
    ASSERT_TRUE(Initialize());
    CPortInfo info = Raw(L"PORT");
    info.ProtocolID = 3;
    EXPECT_FALSE(manager().ConfigurePort(info, true));
    EXPECT_THAT(
        NewLines(),
        ElementsAre("TRACE configuring qname =    m_addrtype = 1", "TRACE print channel is  CLOSE",
                    "INFO creating ipp print channel", "ERROR ipp print channel not supported",
                    "ERROR CreatePrintChannel Failed. ProtocolID=3",
                    "ERROR Failed create print channel for port:PORT",
                    "ERROR cannot create print channel for port:PORT"));
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
    EXPECT_TRUE(HasKey(L"PORT")) << "the registry entry stays";
    EXPECT_EQ(store_.GetDword(store_.Root(), L"Ports\\PORT", L"ProtocolID"), 2U);
}

TEST_F(PortChangeTest, ConfigurationDuringAJobIsRefusedAndTheJobGoesOn) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawKey(L"PORT", printer.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    ASSERT_TRUE(Write(handle, Document(100, 1)));
    CPrintChannel* const channel = manager().Ports().FindPortById(1)->Channel();
    NewLines();
    EXPECT_FALSE(manager().ConfigurePort(Raw(L"PORT", L"127.0.0.9"), false));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE configuring qname =    m_addrtype = 1",
                                        "TRACE print channel is  OPEN",
                                        "ERROR print channel is open: cannot configure now"));
    EXPECT_EQ(manager().Ports().FindPortById(1)->Channel(), channel);
    ASSERT_TRUE(Write(handle, Document(100, 2)));
    EXPECT_TRUE(operations().EndDocPort(handle));
    ASSERT_TRUE(printer.WaitForEndings(1));
    Bytes expected = Document(100, 1);
    const Bytes second = Document(100, 2);
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_TRUE(SameBytes(expected, printer.received()));
    EXPECT_TRUE(manager().ConfigurePort(Raw(L"PORT", L"127.0.0.9"), false)) << "the job is over";
}

TEST_F(PortChangeTest, ConfigurationDuringAWriteIsRefusedWithoutWaiting) {
    const standins::LoopbackPrinter refusing(
        {.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(refusing.ready());
    AddRawKey(L"PORT", refusing.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    HeldWrite write(spooler_, [&] { return Write(handle, Document(10)); });
    ASSERT_TRUE(write.IsInside());
    EXPECT_FALSE(manager().ConfigurePort(Raw(L"PORT", L"127.0.0.9"), false));
    EXPECT_EQ(NewLines().back(), "ERROR print channel is open: cannot configure now");
    EXPECT_FALSE(write.Release());
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortChangeTest, DeletedPortIsGoneFromListAndRegistry) {
    AddRawKey(L"PORT");
    AddRawKey(L"STAYS");
    ASSERT_TRUE(Initialize());
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    EXPECT_THAT(NewLines(),
                ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                            "ERROR port not open. cannot close", "INFO port deleted successfully"));
    EXPECT_THAT(PortNames(), ElementsAre(L"STAYS"));
    EXPECT_FALSE(HasKey(L"PORT"));
    EXPECT_TRUE(HasKey(L"STAYS"));
    EXPECT_THAT(usage_.asked, ElementsAre(L"PORT"));
    HANDLE handle = nullptr;
    EXPECT_FALSE(operations().OpenPort(L"PORT", &handle));
    EXPECT_FALSE(operations().ClosePort(HandleOfId(1)));
}

TEST_F(PortChangeTest, OpenPortIsClosedBeforeItIsDeleted) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    HANDLE handle = nullptr;
    ASSERT_TRUE(operations().OpenPort(L"PORT", &handle));
    NewLines();
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE Call ClosePort()", "TRACE called close port",
                                        "TRACE print channel is  CLOSE", "INFO success close port",
                                        "INFO port deleted successfully"));
}

TEST_F(PortChangeTest, UnknownPortIsNotDeleted) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    EXPECT_FALSE(manager().DeletePort(L"port"));
    EXPECT_THAT(NewLines(), ElementsAre("ERROR port not found"));
    EXPECT_THAT(usage_.asked, IsEmpty());
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
}

TEST_F(PortChangeTest, PortThatAPrinterUsesIsNotDeleted) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    usage_.in_use = true;
    HANDLE handle = nullptr;
    ASSERT_TRUE(operations().OpenPort(L"PORT", &handle));
    EXPECT_FALSE(manager().DeletePort(L"PORT"));
    EXPECT_EQ(NewLines().back(), "ERROR port in use. cannot delete");
    EXPECT_THAT(PortNames(), ElementsAre(L"PORT"));
    EXPECT_TRUE(HasKey(L"PORT"));
    ASSERT_NE(manager().Ports().FindPortById(1), nullptr);
    EXPECT_EQ(manager().Ports().FindPortById(1)->State(), CPort::OpenState::kClosed);
    EXPECT_TRUE(operations().OpenPort(L"PORT", &handle)) << "it can be used again";
}

TEST_F(PortChangeTest, PortWithoutRegistryKeyIsDeletedFromTheList) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    store_.RemoveKey(store_.Root(), L"Ports\\PORT");
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    EXPECT_THAT(NewLines(), Contains("ERROR Unable to delete key ( PORT )"));
    EXPECT_THAT(PortNames(), IsEmpty());
}

TEST_F(PortChangeTest, DeletionEndsTheJobBetweenTwoWrites) {
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    AddRawKey(L"PORT", printer.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    ASSERT_TRUE(Write(handle, Document(100)));
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    ASSERT_TRUE(printer.WaitForEndings(1));
    EXPECT_TRUE(SameBytes(Document(100), printer.received()));
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
    NewLines();
    EXPECT_FALSE(Write(handle, Document(100)));
    EXPECT_FALSE(operations().EndDocPort(handle));
    EXPECT_FALSE(operations().ClosePort(handle));
    EXPECT_THAT(NewLines(), ElementsAre("TRACE called write port", "ERROR invalid port handle",
                                        "TRACE called end doc port", "ERROR invalid port handle",
                                        "TRACE called close port", "ERROR invalid port handle"));
}

TEST_F(PortChangeTest, DeletionDuringAWriteDoesNotWaitForThePrinter) {
    const standins::LoopbackPrinter refusing(
        {.answer = standins::PrinterBehavior::Answer::kRefuse});
    ASSERT_TRUE(refusing.ready());
    AddRawKey(L"PORT", refusing.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    const std::weak_ptr<CPort> port = manager().Ports().FindPortById(1);
    HeldWrite write(spooler_, [&] { return Write(handle, Document(10)); });
    ASSERT_TRUE(write.IsInside());
    // Were this to wait for the write, nobody would let the write go on.
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_FALSE(HasKey(L"PORT"));
    EXPECT_FALSE(port.expired()) << "the write still uses it";
    EXPECT_EQ(NewLines().back(), "INFO port deleted successfully");
    EXPECT_FALSE(write.Release());
    EXPECT_TRUE(port.expired());
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
}

TEST_F(PortChangeTest, DeletionBetweenTwoWritesDoesNotWaitForASleepingPrinter) {
    standins::LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    ASSERT_TRUE(printer.ready());
    AddRawKey(L"PORT", printer.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    const Bytes data = Document(1 << 20);
    DWORD written = 0;
    for (int write = 0; write < 1000; ++write) {
        if (!operations().WritePort(handle, data.data(), static_cast<DWORD>(data.size()), &written))
            break;
    }
    ASSERT_EQ(written, 0u) << "the printer never fell asleep";
    // The printer reads only after this; a connection that lingers would outlast the gate's
    // patience.
    Background<bool> deletion([&] { return manager().DeletePort(L"PORT"); });
    EXPECT_TRUE(deletion.EndsWithin(Gate::kPatience));
    printer.StartReading();
    EXPECT_TRUE(deletion.Get());
    EXPECT_THAT(PortNames(), IsEmpty());
    EXPECT_TRUE(printer.WaitForEndings(1));
}

TEST_F(PortChangeTest, DeletionDuringAWriteToASleepingPrinterEndsTheConnection) {
    standins::LoopbackPrinter printer({.reads = false, .receive_buffer = 4096});
    ASSERT_TRUE(printer.ready());
    AddRawKey(L"PORT", printer.wide_address());
    ASSERT_TRUE(Initialize());
    const HANDLE handle = StartJob(L"PORT");
    Background<bool> job([&] {
        const Bytes data = Document(1 << 20);
        for (int write = 0; write < 1000; ++write) {
            DWORD written = 0;
            static_cast<void>(operations().WritePort(handle, data.data(),
                                                     static_cast<DWORD>(data.size()), &written));
            if (manager().Ports().FindPortById(1) == nullptr)
                return true;
        }
        return false;
    });
    ASSERT_TRUE(printer.WaitForConnections(1));
    EXPECT_TRUE(manager().DeletePort(L"PORT"));
    EXPECT_THAT(PortNames(), IsEmpty());
    printer.StartReading();
    EXPECT_TRUE(job.Get());
    EXPECT_TRUE(printer.WaitForEndings(1));
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
}

}  // namespace
}  // namespace ksp::test
