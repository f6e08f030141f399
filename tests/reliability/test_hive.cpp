#include "tests/reliability/test_hive.h"

namespace ksp::test {
namespace {

constexpr wchar_t kOrdinary[] = L"SOFTWARE\\Kestrel\\Kestrel Print";
constexpr wchar_t kIdPrint[] = L"SOFTWARE\\Kestrel\\Kestrel Print(ID Print)";
constexpr DWORD kIdPrintType = 2;

std::wstring PathOf(const std::wstring& name) {
    return L"Software\\" + name;
}

// Null when it cannot be had; the monitor then does not start, and the test says so.
HKEY OpenOrMake(const std::wstring& path) {
    HKEY key = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key,
                    nullptr);
    return key;
}

}  // namespace

TestHive::TestHive(const std::wstring& name)
    : RealRegistry(OpenOrMake(PathOf(name) + L"\\Monitor")),
      machine_(OpenOrMake(PathOf(name) + L"\\Machine")) {}

TestHive::~TestHive() {
    RegCloseKey(static_cast<HKEY>(Root()));
    RegCloseKey(machine_);
}

void TestHive::Remove(const std::wstring& name) {
    // Without a name it would be everything that the user has.
    if (!name.empty()) {
        RegDeleteTreeW(HKEY_CURRENT_USER, PathOf(name).c_str());
    }
}

void TestHive::SetUpMonitor(const std::wstring& directory, DWORD type) {
    RegSetKeyValueW(static_cast<HKEY>(Root()), nullptr, L"KSPRINT_SECURE", REG_DWORD, &type,
                    sizeof(type));
    software_ = type == kIdPrintType ? kIdPrint : kOrdinary;
    SetSetting(L"ExeDirectory", directory);
    SetSetting(L"LogDirectory", directory);
    SetSetting(L"LogFileName", std::wstring(L"log.txt"));
    SetSetting(L"LPRDirectory", directory);
    SetSetting(L"LogLevel", 1);
    SetSetting(L"WaitServerReplyTimeout", 20);
}

void TestHive::SetSetting(const wchar_t* value, DWORD number) {
    RegSetKeyValueW(machine_, software_.c_str(), value, REG_DWORD, &number, sizeof(number));
}

void TestHive::SetSetting(const wchar_t* value, const std::wstring& text) {
    RegSetKeyValueW(machine_, software_.c_str(), value, REG_SZ, text.c_str(),
                    static_cast<DWORD>(text.size() * sizeof(wchar_t)));
}

void TestHive::AddPort(const std::wstring& name, DWORD protocol, const std::wstring& address) {
    const std::wstring path = L"Ports\\" + name;
    const DWORD fixed_address = 1;
    const auto key = static_cast<HKEY>(Root());
    RegSetKeyValueW(key, path.c_str(), L"PrinterAddressType", REG_DWORD, &fixed_address,
                    sizeof(fixed_address));
    RegSetKeyValueW(key, path.c_str(), L"ProtocolID", REG_DWORD, &protocol, sizeof(protocol));
    RegSetKeyValueW(key, path.c_str(), L"PrinterAddress", REG_SZ, address.c_str(),
                    static_cast<DWORD>(address.size() * sizeof(wchar_t)));
    RegSetKeyValueW(key, path.c_str(), L"QueueName", REG_SZ, L"KSPQueue", 8 * sizeof(wchar_t));
}

void TestHive::SetPortValue(const std::wstring& name, const wchar_t* value, DWORD number) {
    RegSetKeyValueW(static_cast<HKEY>(Root()), (L"Ports\\" + name).c_str(), value, REG_DWORD,
                    &number, sizeof(number));
}

std::multiset<std::wstring> TestHive::StoredPorts() const {
    std::multiset<std::wstring> names;
    HKEY ports = nullptr;
    RegOpenKeyExW(static_cast<HKEY>(Root()), L"Ports", 0, KEY_READ, &ports);
    wchar_t name[256];
    DWORD size = 256;
    for (DWORD index = 0; RegEnumKeyExW(ports, index, name, &size, nullptr, nullptr, nullptr,
                                        nullptr) == ERROR_SUCCESS;
         ++index, size = 256)
        names.insert(name);
    RegCloseKey(ports);
    return names;
}

LONG TestHive::CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                         PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) {
    return RealRegistry::CreateKey(Redirected(parent), subkey, options, access, security, result,
                                   disposition);
}

LONG TestHive::OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) {
    return RealRegistry::OpenKey(Redirected(parent), subkey, access, result);
}

}  // namespace ksp::test
