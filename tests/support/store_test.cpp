#include "tests/support/store_test.h"

#include "tests/support/spooler_start.h"

namespace ksp::test {

StoreTest::StoreTest() {
    store_.CreateLock();
    GiveRegistry(store_, registry_);
}

void StoreTest::SetUp() {
    ASSERT_TRUE(log_.Start(1));
}

void StoreTest::Open(MonitorType type) {
    ASSERT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
    ASSERT_EQ(store_.OpenSoftwareKey(type), ERROR_SUCCESS);
    registry_.ClearCalls();
}

void StoreTest::SetPortDword(const std::wstring& port, const std::wstring& name, DWORD number) {
    memory_.SetDword(memory_.Root(), L"Ports\\" + port, name, number);
}

void StoreTest::SetPortText(const std::wstring& port, const std::wstring& name,
                            const std::wstring& text) {
    memory_.SetText(memory_.Root(), L"Ports\\" + port, name, text);
}

void StoreTest::SetSetting(const std::wstring& name, DWORD number) {
    memory_.SetDword(HKEY_LOCAL_MACHINE, kSoftwareKey, name, number);
}

void StoreTest::SetSetting(const std::wstring& name, const std::wstring& text) {
    memory_.SetText(HKEY_LOCAL_MACHINE, kSoftwareKey, name, text);
}

std::vector<std::wstring> StoreTest::Writes() const {
    std::vector<std::wstring> names;
    for (const RegistryCall& call : registry_.Calls()) {
        if (call.operation == RegistryOperation::kSetValue) {
            names.push_back(call.name);
        }
    }
    return names;
}

}  // namespace ksp::test
