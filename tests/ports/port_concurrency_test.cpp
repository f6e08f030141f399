// Jobs, look-ups and changes of the list on many threads at once, each a bounded number of times.

#include <atomic>
#include <thread>

#include "tests/ports/port_manager_test.h"
#include "tests/standins/loopback_printer.h"

namespace ksp::test {
namespace {

class PortConcurrencyTest : public PortManagerTest {
  protected:
    // Everything taken, with refusals bounded; false when the port was lost.
    bool PrintOn(const std::wstring& port, const std::wstring& printer, const Bytes& document) {
        const HANDLE handle = StartJob(port, printer);
        if (handle == nullptr)
            return false;
        bool sent = true;
        size_t position = 0;
        for (int refusals = 0; position < document.size() && refusals < 20;) {
            DWORD written = 0;
            const DWORD size =
                static_cast<DWORD>(std::min<size_t>(4000, document.size() - position));
            if (operations().WritePort(handle, document.data() + position, size, &written))
                position += written;
            else
                ++refusals;
        }
        sent = position == document.size();
        sent = operations().EndDocPort(handle) && sent;
        return operations().ClosePort(handle) && sent;
    }
};

TEST_F(PortConcurrencyTest, JobsArriveWholeWhileThePortListChanges) {
    constexpr int kPrinters = 2;
    constexpr unsigned kJobs = 10;
    constexpr int kRounds = 60;
    standins::LoopbackPrinter printers[kPrinters];
    const std::wstring names[kPrinters] = {L"stable 0", L"stable 1"};
    for (int index = 0; index < kPrinters; ++index) {
        ASSERT_TRUE(printers[index].ready());
        AddRawKey(names[index], printers[index].wide_address());
        QueueJob(names[index]);
    }
    ASSERT_TRUE(Initialize());

    std::atomic<int> lost{0};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int index = 0; index < kPrinters; ++index) {
        threads.emplace_back([&, index] {
            for (unsigned job = 0; job < kJobs; ++job) {
                const Bytes document = Document(50'000, job + 100U * static_cast<unsigned>(index));
                if (!PrintOn(names[index], names[index], document))
                    ++lost;
            }
        });
    }
    for (int changer = 0; changer < 2; ++changer) {
        threads.emplace_back([&, changer] {
            const std::wstring name = L"volatile " + std::to_wstring(changer);
            for (int round = 0; round < kRounds; ++round) {
                wrong += manager().AddPort(Raw(name)) ? 0 : 1;
                wrong += manager().ConfigurePort(Raw(name, L"127.0.0.2"), true) ? 0 : 1;
                wrong += manager().DeletePort(name) ? 0 : 1;
            }
        });
    }
    threads.emplace_back([&] {
        for (int round = 0; round < kRounds; ++round) {
            DWORD needed = 0;
            DWORD returned = 0;
            static_cast<void>(operations().EnumPorts(2, nullptr, 0, &needed, &returned));
            Bytes buffer(needed + 1000);
            const DWORD code = operations().EnumPorts(
                2, buffer.data(), static_cast<DWORD>(buffer.size()), &needed, &returned);
            wrong += code == ERROR_SUCCESS && returned >= 2 && returned <= 4 ? 0 : 1;
            HANDLE handle = nullptr;
            if (operations().OpenPort(L"volatile 0", &handle))
                static_cast<void>(operations().ClosePort(handle));
        }
    });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(lost, 0);
    EXPECT_EQ(wrong, 0);
    for (int index = 0; index < kPrinters; ++index) {
        ASSERT_TRUE(printers[index].WaitForEndings(kJobs));
        const auto connections = printers[index].connections();
        ASSERT_EQ(connections.size(), kJobs);
        for (unsigned job = 0; job < kJobs; ++job) {
            EXPECT_TRUE(SameBytes(Document(50'000, job + 100U * static_cast<unsigned>(index)),
                                  connections[job].received));
        }
    }
    EXPECT_EQ(PortNames(), (std::vector<std::wstring>{names[0], names[1]}));
    EXPECT_EQ(spooler_.OpenHandles().size(), 0U);
}

// Opening and closing a port look at its channel for a moment; that is no job on it.
TEST_F(PortConcurrencyTest, PortThatIsOpenedAndClosedCanBeConfigured) {
    constexpr int kRounds = 300;
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    std::atomic<bool> ended{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 2; ++thread) {
        threads.emplace_back([&] {
            HANDLE handle = nullptr;
            for (int round = 0; round < 100 * kRounds && !ended; ++round) {
                if (operations().OpenPort(L"PORT", &handle))
                    static_cast<void>(operations().ClosePort(handle));
            }
        });
    }
    int refused = 0;
    for (int round = 0; round < kRounds; ++round)
        refused += manager().ConfigurePort(Raw(L"PORT", L"127.0.0.2"), false) ? 0 : 1;
    ended = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(refused, 0);
}

TEST_F(PortConcurrencyTest, PortsAreDeletedUnderTheirJobs) {
    constexpr int kRounds = 40;
    standins::LoopbackPrinter printer;
    ASSERT_TRUE(printer.ready());
    QueueJob();
    ASSERT_TRUE(Initialize());
    std::atomic<bool> ended{false};
    std::thread job([&] {
        while (!ended)
            PrintOn(L"PORT", L"Printer", Document(20'000));
    });
    for (int round = 0; round < kRounds; ++round) {
        EXPECT_TRUE(manager().AddPort(Raw(L"PORT", printer.wide_address())));
        const size_t connections = printer.connections().size();
        if (round % 2 == 0)
            static_cast<void>(printer.WaitForConnections(connections + 1, 500));
        // Refused while a job is on it, carried out otherwise; in neither case is the port lost.
        static_cast<void>(manager().ConfigurePort(Raw(L"PORT", printer.wide_address()), false));
        EXPECT_TRUE(manager().DeletePort(L"PORT"));
    }
    ended = true;
    job.join();
    EXPECT_TRUE(PortNames().empty());
    EXPECT_EQ(spooler_.OpenHandles().size(), 0U) << "every port took its printer handle along";
    // What arrived of a job is its beginning.
    const Bytes document = Document(20'000);
    for (const auto& connection : printer.connections()) {
        ASSERT_LE(connection.received.size(), document.size());
        EXPECT_TRUE(
            SameBytes(Bytes(document.begin(),
                            document.begin() + static_cast<ptrdiff_t>(connection.received.size())),
                      connection.received));
    }
}

}  // namespace
}  // namespace ksp::test
