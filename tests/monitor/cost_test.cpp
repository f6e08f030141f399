// What operations cost in calls and memory. The numbers are exact, on any machine and however busy it
// is: an operation that comes to need more fails here.

#include <winsock2.h>

#include <atomic>

#include "tests/host/allocation_count.h"
#include "tests/host/patched_import.h"
#include "tests/monitor/port_call_test.h"

namespace ksp::test {
namespace {

constexpr DWORD kXlpr = 1;
constexpr DWORD kLpr = 0;

// Counts what the library calls while one of these lives.
template <int Which, class Function>
class CallCount;

template <int Which, class Result, class... Arguments>
class CallCount<Which, Result(WINAPI*)(Arguments...)> {
  public:
    CallCount(HMODULE module, const char* function) : import_(function, &Counted, module) {
        original_ = import_.original();
        calls_ = 0;
    }

    [[nodiscard]] bool works() const { return import_.works(); }
    [[nodiscard]] int calls() const { return calls_; }

  private:
    static Result WINAPI Counted(Arguments... arguments) {
        ++calls_;
        return original_(arguments...);
    }

    static inline std::atomic<int> calls_ = 0;
    static inline Result(WINAPI* original_)(Arguments...) = nullptr;
    PatchedImport<Result(WINAPI*)(Arguments...)> import_;
};

using SelectCount = CallCount<0, int(WINAPI*)(int, fd_set*, fd_set*, fd_set*, const PTIMEVAL)>;
using SendCount = CallCount<0, int(WINAPI*)(SOCKET, const char*, int, int)>;
using SetEventCount = CallCount<0, BOOL(WINAPI*)(HANDLE)>;
using ResetEventCount = CallCount<1, BOOL(WINAPI*)(HANDLE)>;

class CostTest : public PortCallTest {
  protected:
    void SetUp() override {
        PortCallTest::SetUp();
        // Lines that are written need memory and files of their own.
        SetSetting(L"LogLevel", 5);
    }

    // Ports "P00", "P01", ... to one printer.
    void AddPorts(size_t count, const std::wstring& address, DWORD protocol = 2) {
        for (size_t number = 0; number < count; ++number) {
            AddPortKey({.name = NameOf(number), .PrinterAddress = address, .ProtocolID = protocol});
        }
    }
    static std::wstring NameOf(size_t number) {
        return (number < 10 ? L"P0" : L"P") + std::to_wstring(number);
    }
    // As if the port had last been written to in the year 1697.
    void Settle(const std::wstring& port) {
        store().SetLastWriteTime(root(), PortPath(port), {0, 0x00600000});
    }
    void SettlePorts(size_t count) {
        for (size_t number = 0; number < count; ++number) {
            Settle(NameOf(number));
        }
    }

    // A job on a port that has been written to.
    HANDLE StartJob(const std::wstring& name) {
        QueueJob(name);
        const HANDLE port = Open(name);
        EXPECT_TRUE(StartDoc(port).result);
        EXPECT_TRUE(Write(port, byte_).result);
        EXPECT_TRUE(Write(port, byte_).result);
        registry().ClearCalls();
        return port;
    }
    void EndJob(HANDLE port) {
        EXPECT_TRUE(EndDoc(port));
        EXPECT_TRUE(Close(port));
    }
    // Without the copies that Write makes of its data.
    bool WriteByte(HANDLE port) {
        DWORD written = 0;
        return table().pfnWritePort(port, byte_.data(), 1, &written) != FALSE && written == 1;
    }
    size_t RegistryCalls() { return registry().Calls().size(); }

    Bytes byte_ = {'x'};
};

TEST_F(CostTest, WriteOnAPortThatWasJustChangedCostsFourRegistryCalls) {
    standins::LoopbackPrinter printer;
    AddPorts(1, printer.wide_address());
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P00");
    EXPECT_TRUE(WriteByte(port));
    EXPECT_EQ(RegistryCalls(), 4U) << "find the subkey, open it, read its type, close it";
    EndJob(port);
}

TEST_F(CostTest, WriteOnASettledPortCostsOneRegistryCall) {
    standins::LoopbackPrinter printer;
    AddPorts(1, printer.wide_address());
    SettlePorts(1);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P00");
    EXPECT_TRUE(WriteByte(port));
    EXPECT_EQ(RegistryCalls(), 1U);
    EndJob(port);
}

TEST_F(CostTest, WriteOnTheLastOfManyPortsCostsOneRegistryCallAPort) {
    constexpr size_t kPorts = 40;
    standins::LoopbackPrinter printer;
    AddPorts(kPorts, printer.wide_address());
    SettlePorts(kPorts);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(NameOf(kPorts - 1));
    EXPECT_TRUE(WriteByte(port));
    EXPECT_EQ(RegistryCalls(), kPorts);

    store().SetText(root(), PortPath(NameOf(7)), L"QueueName", L"another");
    registry().ClearCalls();
    EXPECT_TRUE(WriteByte(port));
    EXPECT_EQ(RegistryCalls(), kPorts + 3) << "the one that was changed is read";
    EndJob(port);
}

TEST_F(CostTest, WriteAsksForNoMemory) {
    standins::LoopbackPrinter printer;
    AddPorts(3, printer.wide_address());
    Settle(L"P01");
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P02");
    {
        const AllocationCount allocations(library().module());
        ASSERT_TRUE(allocations.works());
        for (int write = 0; write < 10; ++write) {
            EXPECT_TRUE(WriteByte(port));
        }
        EXPECT_EQ(allocations.requests(), 0U);
    }
    EndJob(port);
}

TEST_F(CostTest, StreamedLprWriteAsksForNoMemory) {
    const std::string acknowledgement(1, '\0');
    standins::LoopbackPrinter printer(
        {.responder = [&](const Bytes&) { return acknowledgement; }}, {"", 515});
    ASSERT_TRUE(printer.ready());
    AddPorts(1, printer.wide_address(), kXlpr);
    SettlePorts(1);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P00");
    {
        const AllocationCount allocations(library().module());
        EXPECT_TRUE(WriteByte(port));
        EXPECT_EQ(allocations.requests(), 0U);
    }
    EXPECT_EQ(RegistryCalls(), 1U);
    EndJob(port);
}

TEST_F(CostTest, WriteToAPrinterThatKeepsUpIsOneSendAndNoOtherSystemCall) {
    standins::LoopbackPrinter printer;
    AddPorts(1, printer.wide_address());
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P00");
    {
        const SelectCount selects(library().module(), "select");
        const SendCount sends(library().module(), "send");
        const SetEventCount set(library().module(), "SetEvent");
        const ResetEventCount reset(library().module(), "ResetEvent");
        ASSERT_TRUE(selects.works() && sends.works() && set.works() && reset.works());
        for (int write = 0; write < 10; ++write) {
            EXPECT_TRUE(WriteByte(port));
        }
        EXPECT_EQ(sends.calls(), 10);
        EXPECT_EQ(selects.calls(), 0);
        EXPECT_EQ(set.calls() + reset.calls(), 0);
    }
    EndJob(port);
}

TEST_F(CostTest, LprDataCostNoRegistryCalls) {
    const std::string acknowledgement(1, '\0');
    standins::LoopbackPrinter printer(
        {.responder = [&](const Bytes&) { return acknowledgement; }}, {"", 515});
    ASSERT_TRUE(printer.ready());
    SetSetting(L"LPRDirectory", directory());
    AddPorts(1, printer.wide_address(), kLpr);
    SettlePorts(1);
    ASSERT_TRUE(Start());
    const host::SpoolerJob job = QueueJob(L"P00");
    ASSERT_TRUE(Print(job, Document(500)).printed());
    registry().ClearCalls();
    ASSERT_TRUE(Print(job, Document(500)).printed());
    const size_t of_half_a_chunk = RegistryCalls();
    registry().ClearCalls();
    ASSERT_TRUE(Print(job, Document(30'000)).printed());
    EXPECT_EQ(RegistryCalls(), of_half_a_chunk);
}

TEST_F(CostTest, StartUpReadsEachPortOnce) {
    ASSERT_TRUE(Start());  // stores a setting that was missing
    Unload();
    registry().ClearCalls();
    ASSERT_TRUE(Start());
    const size_t without_ports = RegistryCalls();
    Unload();
    constexpr size_t kPorts = 10;
    AddPorts(kPorts, L"127.0.0.1");
    registry().ClearCalls();
    ASSERT_TRUE(Start());
    EXPECT_EQ(RegistryCalls() - without_ports, kPorts * (1 + 1 + 13 + 1))
        << "found, opened, thirteen values, closed";
}

TEST_F(CostTest, PortsTakeLessThanAKilobyteEach) {
    constexpr size_t kPorts = 100;
    AddPorts(kPorts, L"192.168.100.100");
    SettlePorts(kPorts);
    ASSERT_TRUE(library().Load(MonitorLibraryPath()));
    const AllocationCount allocations(library().module());
    ASSERT_TRUE(library().Initialize(registry()));
    EXPECT_LT(allocations.bytes_held(), static_cast<ptrdiff_t>(kPorts * 1024));
}

TEST_F(CostTest, ListingAndOpeningAskForNoMemory) {
    AddPorts(20, L"127.0.0.1");
    ASSERT_TRUE(Start());
    DWORD needed = 0;
    DWORD returned = 0;
    table().pfnEnumPorts(monitor(), nullptr, 2, nullptr, 0, &needed, &returned);
    Bytes buffer(needed);
    std::wstring name = NameOf(19);
    HANDLE port = nullptr;
    const AllocationCount allocations(library().module());
    EXPECT_TRUE(table().pfnEnumPorts(monitor(), nullptr, 2, buffer.data(), needed, &needed,
                                     &returned));
    // A name that is looked up is copied once.
    const size_t listing = allocations.requests();
    EXPECT_TRUE(table().pfnOpenPort(monitor(), name.data(), &port));
    EXPECT_EQ(listing, 0U);
    EXPECT_LE(allocations.requests(), 1U);
}

class OutsideChangeTest : public CostTest {
  protected:
    // "P00" is passed on the way to "P01", on which a job is.
    void SetUp() override {
        CostTest::SetUp();
        AddPorts(2, printer_.wide_address());
    }
    void SetType(const std::wstring& port, DWORD type) {
        store().SetDword(root(), PortPath(port), L"PrinterAddressType", type);
    }

    standins::LoopbackPrinter printer_;
};

TEST_F(OutsideChangeTest, PortThatBecomesTrackedIsSeenByTheNextWrite) {
    SettlePorts(2);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P01");
    SetType(L"P00", 4);
    store().RemoveKey(root(), PortPath(L"P01"));
    EXPECT_TRUE(WriteByte(port)) << "any tracked port will do";
    SetType(L"P00", 1);
    EXPECT_FALSE(WriteByte(port)) << "the port is not in the registry any more";
    EndJob(port);
}

TEST_F(OutsideChangeTest, ChangeWithinOneStepOfTheClockIsSeen) {
    ASSERT_TRUE(Start());
    const FILETIME now = store().LastWriteTime(root(), PortPath(L"P00"));
    const HANDLE port = StartJob(L"P01");
    SetType(L"P00", 4);
    store().SetLastWriteTime(root(), PortPath(L"P00"), now);
    store().RemoveKey(root(), PortPath(L"P01"));
    EXPECT_TRUE(WriteByte(port)) << "the time says nothing, the port is read";
    EndJob(port);
}

TEST_F(OutsideChangeTest, PortThatIsDeletedOrComesBackIsSeenByTheNextWrite) {
    SettlePorts(2);
    ASSERT_TRUE(Start());
    const HANDLE port = StartJob(L"P01");
    store().RemoveKey(root(), PortPath(L"P01"));
    EXPECT_FALSE(WriteByte(port));
    AddPortKey({.name = L"P01", .PrinterAddress = printer_.wide_address()});
    EXPECT_TRUE(WriteByte(port));
    store().RemoveKey(root(), PortPath(L"P00"));
    EXPECT_TRUE(WriteByte(port)) << "in another place now";
    EndJob(port);
}

}  // namespace
}  // namespace ksp::test
