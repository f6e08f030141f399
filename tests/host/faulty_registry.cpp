#include "tests/host/faulty_registry.h"

#include <algorithm>
#include <mutex>

namespace ksp::test {
namespace {

std::wstring TextOrEmpty(LPCWSTR text) {
    return text == nullptr ? std::wstring() : text;
}

bool Fits(const RegistryFault& fault, RegistryOperation operation, const std::wstring& name) {
    return fault.operation == operation && (!fault.name || *fault.name == name);
}

}  // namespace

void FaultyRegistry::AddFault(const RegistryFault& fault) {
    const std::lock_guard lock(mutex_);
    faults_.push_back({fault});
}

void FaultyRegistry::ClearFaults() {
    const std::lock_guard lock(mutex_);
    faults_.clear();
}

std::vector<RegistryCall> FaultyRegistry::Calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
}

size_t FaultyRegistry::CountCalls(RegistryOperation operation,
                                  const std::optional<std::wstring>& name) const {
    const std::lock_guard lock(mutex_);
    const auto wanted = [&](const RegistryCall& call) {
        return call.operation == operation && (!name || call.name == *name);
    };
    return static_cast<size_t>(std::count_if(calls_.begin(), calls_.end(), wanted));
}

void FaultyRegistry::ClearCalls() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
}

std::vector<std::wstring> FaultyRegistry::OpenKeys() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::wstring> paths;
    for (const auto& [key, path] : open_keys_) {
        paths.push_back(path);
    }
    return paths;
}

// The inner registry is called without the lock held, as calls may overlap there.
template <typename Action>
LONG FaultyRegistry::Carry(RegistryOperation operation, HANDLE key, LPCWSTR name, Action action) {
    RegistryCall call{operation, {}, TextOrEmpty(name)};
    std::optional<LONG> failure;
    {
        const std::lock_guard lock(mutex_);
        call.key = PathOf(key);
        failure = Strike(operation, call.name);
    }
    call.result = failure ? *failure : action();
    const std::lock_guard lock(mutex_);
    calls_.push_back(call);
    return call.result;
}

std::optional<LONG> FaultyRegistry::Strike(RegistryOperation operation, const std::wstring& name) {
    std::optional<LONG> code;
    for (Countdown& countdown : faults_) {
        const RegistryFault& fault = countdown.fault;
        if (!Fits(fault, operation, name)) {
            continue;
        }
        ++countdown.calls_seen;
        const bool strikes =
            fault.and_later ? countdown.calls_seen >= fault.nth : countdown.calls_seen == fault.nth;
        if (strikes && !code) {
            code = fault.code;
        }
    }
    return code;
}

std::wstring FaultyRegistry::PathOf(HANDLE key) const {
    if (key == inner_.Root()) {
        return L"root";
    }
    if (key == HKEY_LOCAL_MACHINE) {
        return L"HKLM";
    }
    if (key == HKEY_CURRENT_USER) {
        return L"HKCU";
    }
    const auto found = open_keys_.find(key);
    return found == open_keys_.end() ? L"?" : found->second;
}

void FaultyRegistry::NoteOpened(HANDLE parent, LPCWSTR subkey, HANDLE key) {
    const std::lock_guard lock(mutex_);
    std::wstring path = PathOf(parent);
    const std::wstring name = TextOrEmpty(subkey);
    if (!name.empty()) {
        path += L"\\" + name;
    }
    open_keys_[key] = path;
}

LONG FaultyRegistry::CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                               PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) {
    return Carry(RegistryOperation::kCreateKey, parent, subkey, [&] {
        const LONG code =
            inner_.CreateKey(parent, subkey, options, access, security, result, disposition);
        if (code == ERROR_SUCCESS) {
            NoteOpened(parent, subkey, *result);
        }
        return code;
    });
}

LONG FaultyRegistry::OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) {
    return Carry(RegistryOperation::kOpenKey, parent, subkey, [&] {
        const LONG code = inner_.OpenKey(parent, subkey, access, result);
        if (code == ERROR_SUCCESS) {
            NoteOpened(parent, subkey, *result);
        }
        return code;
    });
}

LONG FaultyRegistry::CloseKey(HANDLE key) {
    return Carry(RegistryOperation::kCloseKey, key, nullptr, [&] {
        {
            // Before the handle's value may be handed out again.
            const std::lock_guard lock(mutex_);
            open_keys_.erase(key);
        }
        return inner_.CloseKey(key);
    });
}

LONG FaultyRegistry::DeleteKey(HANDLE parent, LPCWSTR subkey) {
    return Carry(RegistryOperation::kDeleteKey, parent, subkey,
                 [&] { return inner_.DeleteKey(parent, subkey); });
}

LONG FaultyRegistry::EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                             PFILETIME last_write) {
    return Carry(RegistryOperation::kEnumKey, key, nullptr,
                 [&] { return inner_.EnumKey(key, index, name, name_size, last_write); });
}

LONG FaultyRegistry::QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                                  PDWORD longest_value_name, PDWORD longest_data,
                                  PDWORD security_descriptor_size, PFILETIME last_write) {
    return Carry(RegistryOperation::kQueryInfoKey, key, nullptr, [&] {
        return inner_.QueryInfoKey(key, subkeys, longest_subkey, values, longest_value_name,
                                   longest_data, security_descriptor_size, last_write);
    });
}

LONG FaultyRegistry::SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
    return Carry(RegistryOperation::kSetValue, key, name,
                 [&] { return inner_.SetValue(key, name, type, data, size); });
}

LONG FaultyRegistry::DeleteValue(HANDLE key, LPCWSTR name) {
    return Carry(RegistryOperation::kDeleteValue, key, name,
                 [&] { return inner_.DeleteValue(key, name); });
}

LONG FaultyRegistry::EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type,
                               PBYTE data, PDWORD size) {
    return Carry(RegistryOperation::kEnumValue, key, nullptr,
                 [&] { return inner_.EnumValue(key, index, name, name_size, type, data, size); });
}

LONG FaultyRegistry::QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) {
    return Carry(RegistryOperation::kQueryValue, key, name,
                 [&] { return inner_.QueryValue(key, name, type, data, size); });
}

}  // namespace ksp::test
