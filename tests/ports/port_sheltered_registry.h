#pragma once

#include "tests/ports/port_memory_fault.h"
#include "tools/host/monitor_registry.h"

namespace ksp::test {

// A registry that never runs out of memory, because a spooler's would be another process.
class ShelteredRegistry final : public host::MonitorRegistry {
  public:
    explicit ShelteredRegistry(host::MonitorRegistry& inner) : inner_(inner) {}

    HANDLE Root() const override { return inner_.Root(); }
    LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                   PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) override {
        const MemoryShelter shelter;
        return inner_.CreateKey(parent, subkey, options, access, security, result, disposition);
    }
    LONG OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) override {
        const MemoryShelter shelter;
        return inner_.OpenKey(parent, subkey, access, result);
    }
    LONG CloseKey(HANDLE key) override {
        const MemoryShelter shelter;
        return inner_.CloseKey(key);
    }
    LONG DeleteKey(HANDLE parent, LPCWSTR subkey) override {
        const MemoryShelter shelter;
        return inner_.DeleteKey(parent, subkey);
    }
    LONG EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                 PFILETIME last_write) override {
        const MemoryShelter shelter;
        return inner_.EnumKey(key, index, name, name_size, last_write);
    }
    LONG QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                      PDWORD longest_value_name, PDWORD longest_data,
                      PDWORD security_descriptor_size, PFILETIME last_write) override {
        const MemoryShelter shelter;
        return inner_.QueryInfoKey(key, subkeys, longest_subkey, values, longest_value_name,
                                   longest_data, security_descriptor_size, last_write);
    }
    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override {
        const MemoryShelter shelter;
        return inner_.SetValue(key, name, type, data, size);
    }
    LONG DeleteValue(HANDLE key, LPCWSTR name) override {
        const MemoryShelter shelter;
        return inner_.DeleteValue(key, name);
    }
    LONG EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type, PBYTE data,
                   PDWORD size) override {
        const MemoryShelter shelter;
        return inner_.EnumValue(key, index, name, name_size, type, data, size);
    }
    LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) override {
        const MemoryShelter shelter;
        return inner_.QueryValue(key, name, type, data, size);
    }

  private:
    host::MonitorRegistry& inner_;
};

}  // namespace ksp::test
