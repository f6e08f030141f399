// What the port manager and the job operations do when memory runs out: the first request fails,
// then the second, and so on.

#include "tests/ports/port_memory_fault.h"

#include <algorithm>
#include <new>

#include "monitor/handle_id.h"
#include "monitor/xcv_operations.h"
#include "ports/port_record_forms.h"
#include "support/logger.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::IsEmpty;

class PortMemoryTest : public PortManagerTest {
  protected:
    bool Logged(const std::string& line) {
        const std::vector<std::string> lines = AllLines(directory_.File(L"log.txt"));
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
};

TEST_F(PortMemoryTest, PortIsAddedWhollyOrNotAtAll) {
    spooler_.PutPort(L"LPT1:");
    ASSERT_TRUE(Initialize());
    const CPortInfo info = Raw(L"a port with a long name");
    Answer answer{};
    bool reportedMemory = false;
    bool succeeded = false;
    const auto add = [&] {
        answer = {};
        try {
            answer = Add(info);
        } catch (const std::bad_alloc&) {
            // The Xcv command above it answers.
        }
    };
    const auto check = [&] {
        const bool listed = manager().Ports().FindPortIdByName(info.PortName) != CPortList::kNoId;
        EXPECT_EQ(listed, answer.result);
        reportedMemory =
            reportedMemory || (!answer.result && answer.error == ERROR_NOT_ENOUGH_MEMORY);
        succeeded = succeeded || answer.result;
        if (listed) {
            EXPECT_TRUE(manager().DeletePort(info.PortName));
        }
    };
    EXPECT_GT(FailEachRequest(add, check), 5U);
    EXPECT_TRUE(reportedMemory);
    EXPECT_TRUE(succeeded);
    EXPECT_TRUE(Logged("CRITICAL memory allocation error"));
    EXPECT_TRUE(Logged("ERROR error creating print channel"));
    EXPECT_TRUE(Logged("ERROR error failed malloc"));
}

TEST_F(PortMemoryTest, SpoolersPortsThatDoNotFitAreAnError) {
    spooler_.PutPort(L"LPT1:");
    ASSERT_TRUE(Initialize());
    DWORD code = 0;
    {
        const MemoryFault fault(1);
        code = CPortManager::PortExistsInSystem(L"LPT1:");
    }
    EXPECT_EQ(code, DWORD{ERROR_OUTOFMEMORY});
    EXPECT_EQ(NewLines().back(), "ERROR error failed malloc");
}

TEST_F(PortMemoryTest, PortsOfStartUpAreLoadedOrTheListIsEmpty) {
    ASSERT_TRUE(Initialize());
    CPortInfoList list;
    for (const wchar_t* name : {L"a port with a long name", L"another port with a long name"}) {
        list.push_back(std::make_unique<CPortInfo>(Raw(name)));
    }
    bool result = false;
    bool cleared = false;
    const auto load = [&] { result = manager().InitPorts(list); };
    const auto check = [&] {
        const size_t count = manager().Ports().Ports()->size();
        EXPECT_LE(count, list.size());
        EXPECT_TRUE(result || count == 0);
        cleared = cleared || !result;
        CPortInfoList none;
        none.push_back(nullptr);
        static_cast<void>(manager().InitPorts(none));  // clears the list
    };
    EXPECT_GT(FailEachRequest(load, check), 3U);
    EXPECT_TRUE(cleared);
    EXPECT_TRUE(Logged("CRITICAL memory allocation error"));
}

TEST_F(PortMemoryTest, JobIsCarriedOutOrRefusedAtEveryStep) {
    AddRawKey(L"a port with a long name", L"127.0.0.1");
    ASSERT_TRUE(Initialize());
    QueueJob();
    const HANDLE handle = HandleOfId(1);
    std::wstring printer = L"Printer";
    const BYTE data[4] = {1, 2, 3, 4};
    const auto nothing = [] {};
    std::vector<std::string> wanted;

    HANDLE opened = nullptr;
    FailEachRequest(
        [&] { static_cast<void>(operations().OpenPort(L"a port with a long name", &opened)); },
        nothing);
    wanted.emplace_back("CRITICAL Exception error in OpenPort.");
    EXPECT_EQ(opened, handle);

    FailEachRequest(
        [&] { static_cast<void>(operations().StartDocPort(handle, printer.data(), 1, nullptr)); },
        nothing);
    DWORD written = 0;
    const auto write = [&] {
        static_cast<void>(operations().WritePort(handle, data, sizeof(data), &written));
    };
    {
        const MemoryFault fault(3);  // behind the two lines that begin the call
        write();
    }
    FailEachRequest(write, nothing);
    wanted.emplace_back("CRITICAL memory allocation failure");
    FailEachRequest([&] { static_cast<void>(operations().EndDocPort(handle)); }, nothing);
    FailEachRequest([&] { static_cast<void>(operations().ClosePort(handle)); }, nothing);
    for (const std::string& line : wanted) {
        EXPECT_TRUE(Logged(line)) << line;
    }
    EXPECT_TRUE(operations().EndDocPort(handle));
    EXPECT_THAT(spooler_.OpenHandles(), IsEmpty());
    EXPECT_TRUE(operations().OpenPort(L"a port with a long name", &opened)) << "all is well again";
}

TEST_F(PortMemoryTest, StatusServicesSayThatMemoryRanOut) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    QueueJob();
    const HANDLE handle = StartJob(L"PORT");
    NewLines();
    std::uint32_t status = 0;
    {
        const MemoryFault fault(1);
        EXPECT_FALSE(manager().GetPrinterStatus(1, status));
    }
    EXPECT_EQ(NewLines().back(), "CRITICAL memory allocation failure");
    {
        // Counts as not pooled.
        const MemoryFault fault(1);
        EXPECT_TRUE(manager().SetPortStatus(1, PRINTER_STATUS_OFFLINE));
    }
    EXPECT_EQ(NewLines().front(), "CRITICAL memory allocation failure");
    EXPECT_EQ(spooler_.PrinterStatus(L"Printer"), DWORD{PRINTER_STATUS_OFFLINE});
    EXPECT_TRUE(operations().EndDocPort(handle));
}

TEST_F(PortMemoryTest, DeletionIsCarriedOutOrNotAtAll) {
    ASSERT_TRUE(Initialize());
    QueueJob();
    const CPortInfo info = Raw(L"a port with a long name");
    bool deleted = false;
    const auto remove = [&] {
        deleted = false;
        try {
            deleted = manager().DeletePort(info.PortName);
        } catch (const std::bad_alloc&) {
            // The Xcv command above it answers.
        }
    };
    ASSERT_TRUE(Add(info).result);
    const auto check = [&] {
        const bool listed = manager().Ports().FindPortIdByName(info.PortName) != CPortList::kNoId;
        EXPECT_EQ(listed, !deleted);
        EXPECT_EQ(HasKey(info.PortName), listed);
        if (listed) {
            const HANDLE handle = StartJob(info.PortName);
            EXPECT_NE(handle, nullptr) << "a port that stays takes jobs";
            EXPECT_TRUE(operations().EndDocPort(handle));
            EXPECT_TRUE(operations().ClosePort(handle));
        } else {
            ASSERT_TRUE(Add(info).result);
        }
    };
    EXPECT_GT(FailEachRequest(remove, check), 0U);
}

TEST_F(PortMemoryTest, ConfigurationIsTakenWhollyOrRefused) {
    const std::wstring path = L"Ports\\a port with a long name";
    const CPortInfo before = Raw(L"a port with a long name", L"127.0.0.1");
    const CPortInfo wanted = Raw(L"a port with a long name", L"127.0.0.2");
    ASSERT_TRUE(Initialize());
    ASSERT_TRUE(Add(before).result);
    const auto record = std::make_unique<XcvPortInfo>();
    ASSERT_TRUE(FillRecord(wanted, *record));
    CXcvOperations xcv(manager());
    DWORD code = 0;
    const auto configure = [&] {
        DWORD needed = 0;
        code = xcv.XcvDataPort(L"ConfigurePort", reinterpret_cast<BYTE*>(record.get()),
                               sizeof(*record), nullptr, 0, &needed);
    };
    const auto check = [&] {
        const std::wstring& expected =
            code == ERROR_SUCCESS ? wanted.PrinterAddress : before.PrinterAddress;
        EXPECT_EQ(store_.GetText(store_.Root(), path, L"PrinterAddress"), expected);
        EXPECT_EQ(store_.GetDword(store_.Root(), path, L"ProtocolID"), wanted.ProtocolID);
        // As it was, also where the new settings found no memory for a channel and the port went.
        static_cast<void>(Add(before));
        ASSERT_EQ(store_.GetText(store_.Root(), path, L"PrinterAddress"), before.PrinterAddress);
    };
    EXPECT_GT(FailEachRequest(configure, check), 3U);
    EXPECT_EQ(code, DWORD{ERROR_SUCCESS});
}

TEST_F(PortMemoryTest, TerminationNeedsNoMemory) {
    AddRawKey(L"PORT");
    ASSERT_TRUE(Initialize());
    Logger().Stop();
    {
        const MemoryFault fault(1);
        manager().Terminate();
        EXPECT_FALSE(fault.Struck());
    }
    EXPECT_FALSE(manager().IsInitialized());
    EXPECT_EQ(manager().Ports().FindPortByName(L"PORT"), nullptr);
}

}  // namespace
}  // namespace ksp::test
