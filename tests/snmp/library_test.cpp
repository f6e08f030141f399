#include "tests/snmp/library_test.h"

#include <tlhelp32.h>

#include <cstring>

#include "tests/host/warm_up.h"

namespace ksp::test {

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Kestrel\\SNMP Discovery";

// Beside the directory of the test programs.
std::wstring LibraryPath() {
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH);
    const std::wstring program = path;
    return program.substr(0, program.find_last_of(L'\\') + 1) + KSP_DISCOVERY_LIBRARY;
}

// The library's settings in the machine's registry while it lives. The tests that need others, or
// none, do not run at the same time (RESOURCE_LOCK snmp_settings).
class SettingsInPlace {
  public:
    explicit SettingsInPlace(const RegistrySettings& settings) {
        if (settings.community) {
            ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, L"Community", REG_SZ,
                              settings.community->c_str(),
                              static_cast<DWORD>((settings.community->size() + 1) * 2));
        }
        SetNumber(L"Version", settings.version);
        SetNumber(L"Port", settings.port);
        SetNumber(L"SearchLoopback", settings.search_loopback);
    }
    ~SettingsInPlace() {
        for (const wchar_t* name : {L"Community", L"Version", L"Port", L"SearchLoopback"}) {
            ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kKey, name);
        }
    }
    SettingsInPlace(const SettingsInPlace&) = delete;
    SettingsInPlace& operator=(const SettingsInPlace&) = delete;

  private:
    static void SetNumber(const wchar_t* name, const std::optional<DWORD>& number) {
        if (number) {
            ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, kKey, name, REG_DWORD, &*number, sizeof(*number));
        }
    }
};

// In the order in which the monitor's binding has them.
constexpr const char* kExports[] = {
    "KSCreateStream",   "KSInitialize",          "KSSetProbeMode",       "KSProbe",
    "KSStopProbe",      "KSGetDeviceCapability", "KSDeleteBuffer",       "KSTerminate",
    "KSDeleteStream",   "KSSendStream",          "KSGetRecvStatus",      "KSRecvStream",
    "KSSendRecvStream", "KSRecvCancel",          "KSCreateDeviceHandle", "KSDeleteDeviceHandle",
    "KSCreateMIMEUtil", "KSDeleteMIMEUtil",      "KSMIMEEncode",         "KSMIMEDecode",
    "KSMIMESplitData",  "KSMIMEGetData",         "KSMIMEDeleteBuffer"};

}  // namespace

void SnmpLibraryTest::SetUpTestSuite() {
    WarmUp(LibraryPath());
    // What the system opens at the first use of these and keeps to the end: lists of threads and
    // adapters, the registry, sockets with events.
    SnmpLibraryTest first;
    first.Load();
    {
        AgentResponder agent;
        agent.BePrinter("first", "0026AB000000");
        void* const stream = first.BeginStream(agent);
        first.Capability(stream, first.Open(stream, agent.address()));
        first.library_.KSProbe(
            stream, [](DeviceHandle, int, void*) {}, nullptr, nullptr);
        ::Sleep(500);
        first.EndStream(stream);
    }
    first.Free();
    CountThreads();
}

void SnmpLibraryTest::SetUp() {
    before_ = CountHandles();
    Load();
}

void SnmpLibraryTest::Load() {
    module_ = ::LoadLibraryW(LibraryPath().c_str());
    ASSERT_NE(module_, nullptr) << ::GetLastError();
    FARPROC addresses[std::size(kExports)] = {};
    static_assert(sizeof(addresses) == sizeof(library_));
    for (std::size_t index = 0; index < std::size(kExports); ++index) {
        addresses[index] = ::GetProcAddress(module_, kExports[index]);
        ASSERT_NE(addresses[index], nullptr) << kExports[index];
    }
    std::memcpy(&library_, addresses, sizeof(library_));
}

void SnmpLibraryTest::TearDown() {
    Free();
    const HandleCensus more = NewHandles(before_, CountHandles());
    for (const auto& [kind, count] : more) {
        ADD_FAILURE() << count << " handles more of the kind " << testing::PrintToString(kind);
    }
}

void SnmpLibraryTest::Free() {
    if (module_ != nullptr) {
        ::FreeLibrary(std::exchange(module_, nullptr));
    }
}

void* SnmpLibraryTest::BeginStream(const RegistrySettings& settings) {
    void* const stream = library_.KSCreateStream();
    EXPECT_NE(stream, nullptr);
    const SettingsInPlace in_place(settings);
    EXPECT_EQ(library_.KSInitialize(stream, 0), 0);
    return stream;
}

void SnmpLibraryTest::EndStream(void* stream) {
    library_.KSStopProbe(stream);
    EXPECT_EQ(library_.KSTerminate(stream), 0);
    EXPECT_EQ(library_.KSDeleteStream(stream), 0);
}

DeviceHandle SnmpLibraryTest::Open(void* stream, const std::string& address, unsigned timeout,
                                   unsigned retry, unsigned interval) {
    const std::string settings = "<DeviceHandleSetting><TimeOut>" + std::to_string(timeout) +
                                 "</TimeOut><Retry>" + std::to_string(retry) +
                                 "</Retry><RetryInterval>" + std::to_string(interval) +
                                 "</RetryInterval></DeviceHandleSetting>";
    const DeviceHandle device =
        library_.KSCreateDeviceHandle(stream, address.c_str(), settings.c_str());
    EXPECT_GT(device, 0);
    return device;
}

std::string SnmpLibraryTest::Capability(void* stream, DeviceHandle device) {
    char* document = nullptr;
    if (library_.KSGetDeviceCapability(stream, device, &document) == 0) {
        EXPECT_EQ(document, nullptr);
        return "";
    }
    std::string text = document;
    EXPECT_EQ(library_.KSDeleteBuffer(stream, device, &document), 0);
    EXPECT_EQ(document, nullptr);
    return text;
}

SnmpLibraryTest::Reply SnmpLibraryTest::Send(void* stream, DeviceHandle device,
                                             const std::string& request) {
    char* reply = nullptr;
    Reply answer;
    answer.result = library_.KSSendRecvStream(stream, device, request.c_str(), &reply, 0);
    library_.KSRecvCancel(stream, device);
    EXPECT_EQ(answer.result == 0, reply != nullptr);
    if (reply != nullptr) {
        answer.text = reply;
        library_.KSDeleteBuffer(stream, device, &reply);
    }
    return answer;
}

std::string SnmpLibraryTest::MibRequest(const std::string& oid, const std::string& type,
                                        const std::string& rtype) {
    return "<GetData><DataInfo><Data><Group id=\"access=MIB;oid=" + oid + ";type=" + type +
           ";rtype=" + rtype + "\" recvtype=\"mime\" action=\"RW\"/></Data></DataInfo></GetData>";
}

std::optional<std::string> SnmpLibraryTest::Value(void* stream, DeviceHandle device,
                                                  const std::string& oid, const std::string& type) {
    const Reply reply = Send(stream, device, MibRequest(oid, type));
    if (reply.result != 0) {
        return std::nullopt;
    }
    void* const util = library_.KSCreateMIMEUtil();
    char* header = nullptr;
    char* data = nullptr;
    int header_length = 0;
    int data_length = 0;
    EXPECT_EQ(library_.KSMIMESplitData(util, reply.text.c_str(), &header, &header_length, &data,
                                       &data_length),
              0);
    EXPECT_EQ(std::strlen(header), static_cast<std::size_t>(header_length));
    EXPECT_EQ(std::strlen(data), static_cast<std::size_t>(data_length));
    EXPECT_EQ(library_.KSMIMEDecode(util, header), 0);
    MIMEItem* item = nullptr;
    EXPECT_EQ(library_.KSMIMEGetData(util, data, ElementText(header, "Group").c_str(), &item), 0);
    const std::string bytes(reinterpret_cast<const char*>(item->bytes),
                            static_cast<std::size_t>(item->count));
    for (void* block :
         {static_cast<void*>(item), static_cast<void*>(header), static_cast<void*>(data)}) {
        EXPECT_EQ(library_.KSMIMEDeleteBuffer(util, &block), 0);
        EXPECT_EQ(block, nullptr);
    }
    EXPECT_EQ(library_.KSDeleteMIMEUtil(util), 0);
    return bytes;
}

std::string ElementText(const std::string& document, const std::string& name) {
    const std::string begin = "<" + name + ">";
    const std::size_t at = document.find(begin);
    if (at == std::string::npos) {
        return "no " + name;
    }
    const std::size_t text = at + begin.size();
    return document.substr(text, document.find('<', text) - text);
}

size_t CountThreads() {
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    size_t count = 0;
    for (BOOL more = ::Thread32First(snapshot, &entry); more != FALSE;
         more = ::Thread32Next(snapshot, &entry)) {
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1U : 0U;
    }
    ::CloseHandle(snapshot);
    return count;
}

}  // namespace ksp::test
