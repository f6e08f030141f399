#include "bench/private_registry.h"

#include <array>
#include <cstdio>

namespace ksp::bench {
namespace {

constexpr wchar_t kSoftwarePath[] = L"SOFTWARE\\Kestrel\\Kestrel Print";

std::wstring OwnPath() {
    return L"Software\\Kestrel Bench " + std::to_wstring(::GetCurrentProcessId());
}

UniqueRegistryKey Create(HKEY parent, const std::wstring& path) {
    UniqueRegistryKey key;
    ::RegCreateKeyExW(parent, path.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS, nullptr,
                      key.Receive(), nullptr);
    return key;
}

bool SetText(HKEY key, const wchar_t* name, const std::wstring& text) {
    return ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                            static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t))) ==
           ERROR_SUCCESS;
}

bool SetDword(HKEY key, const wchar_t* name, DWORD number) {
    return ::RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                            sizeof(number)) == ERROR_SUCCESS;
}

// As a configured port of the ordinary monitor has them.
bool WritePort(HKEY ports, const std::wstring& name, const PortSet& set) {
    const UniqueRegistryKey owner = Create(ports, name);
    const HKEY key = owner.Get();
    return key != nullptr && SetDword(key, L"ProtocolID", set.protocol) &&
           SetText(key, L"PrinterAddress", set.address) &&
           SetText(key, L"QueueName", set.protocol == 2 ? L"" : L"KSPQueue") &&
           SetDword(key, L"PrinterAddressType", 1) && SetText(key, L"IpAddress", set.address) &&
           SetText(key, L"SubnetMask", L"255.255.255.0") &&
           SetText(key, L"MacAddress", L"00:11:22:33:44:55");
}

}  // namespace

PrivateRegistry::PrivateRegistry() : RealRegistry(Create(HKEY_CURRENT_USER, OwnPath()).Release()) {
    machine_ = Create(root_key(), L"Machine");
    const DWORD ordinary = 1;
    SetDword(root_key(), L"KSPRINT_SECURE", ordinary);
}

PrivateRegistry::~PrivateRegistry() {
    machine_.Reset();
    UniqueRegistryKey(root_key()).Reset();
    ::RegDeleteTreeW(HKEY_CURRENT_USER, OwnPath().c_str());
}

UniqueRegistryKey PrivateRegistry::OpenSoftwareKey() const {
    return Create(machine_.Get(), kSoftwarePath);
}

bool PrivateRegistry::SetSetting(const wchar_t* name, DWORD number) const {
    return SetDword(OpenSoftwareKey().Get(), name, number);
}

bool PrivateRegistry::SetSetting(const wchar_t* name, const std::wstring& text) const {
    return SetText(OpenSoftwareKey().Get(), name, text);
}

HANDLE PrivateRegistry::Redirected(HANDLE key) const {
    return key == HKEY_LOCAL_MACHINE ? machine_.Get() : key;
}

LONG PrivateRegistry::CreateKey(HANDLE parent, LPCWSTR subkey, DWORD /*options*/, REGSAM access,
                                PSECURITY_ATTRIBUTES security, PHANDLE result,
                                PDWORD disposition) {
    ++calls_;
    // Below a volatile key there can only be volatile ones.
    return RealRegistry::CreateKey(Redirected(parent), subkey, REG_OPTION_VOLATILE, access,
                                   security, result, disposition);
}

LONG PrivateRegistry::OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) {
    ++calls_;
    return RealRegistry::OpenKey(Redirected(parent), subkey, access, result);
}

LONG PrivateRegistry::CloseKey(HANDLE key) {
    ++calls_;
    return RealRegistry::CloseKey(key);
}

LONG PrivateRegistry::DeleteKey(HANDLE parent, LPCWSTR subkey) {
    ++calls_;
    return RealRegistry::DeleteKey(parent, subkey);
}

LONG PrivateRegistry::EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                              PFILETIME last_write) {
    ++calls_;
    return RealRegistry::EnumKey(key, index, name, name_size, last_write);
}

LONG PrivateRegistry::QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey,
                                   PDWORD values, PDWORD longest_value_name, PDWORD longest_data,
                                   PDWORD security_descriptor_size, PFILETIME last_write) {
    ++calls_;
    return RealRegistry::QueryInfoKey(key, subkeys, longest_subkey, values, longest_value_name,
                                      longest_data, security_descriptor_size, last_write);
}

LONG PrivateRegistry::SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
    ++calls_;
    return RealRegistry::SetValue(key, name, type, data, size);
}

LONG PrivateRegistry::DeleteValue(HANDLE key, LPCWSTR name) {
    ++calls_;
    return RealRegistry::DeleteValue(key, name);
}

LONG PrivateRegistry::EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type,
                                PBYTE data, PDWORD size) {
    ++calls_;
    return RealRegistry::EnumValue(key, index, name, name_size, type, data, size);
}

LONG PrivateRegistry::QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) {
    ++calls_;
    return RealRegistry::QueryValue(key, name, type, data, size);
}

bool WritePorts(HKEY root, const PortSet& set) {
    ::RegDeleteTreeW(root, L"Ports");
    const UniqueRegistryKey ports = Create(root, L"Ports");
    bool written = static_cast<bool>(ports);
    for (size_t number = 0; written && number < set.count; ++number) {
        written = WritePort(ports.Get(), PortName(number), set);
    }
    return written;
}

std::wstring PortName(size_t number) {
    std::array<wchar_t, 32> name = {};
    ::_snwprintf(name.data(), name.size() - 1, L"KSP_PORT_%05u", static_cast<unsigned>(number));
    return name.data();
}

}  // namespace ksp::bench
