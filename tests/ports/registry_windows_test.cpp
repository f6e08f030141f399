// The access layer and the store over the machine's own registry, as with a spooler that brings no
// registry functions.

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "ports/registry_access.h"
#include "ports/registry_key.h"
#include "ports/registry_store.h"
#include "tests/support/log_setup.h"
#include "tests/support/spooler_start.h"

namespace ksp {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class WindowsRegistryAccessTest : public ::testing::Test {
  protected:
    WindowsRegistryAccessTest()
        : path_(L"Software\\kspmon-test-" + std::to_wstring(::GetCurrentProcessId())) {}
    ~WindowsRegistryAccessTest() override { ::RegDeleteTreeW(HKEY_CURRENT_USER, path_.c_str()); }

    void SetUp() override {
        test::GiveRootOnly(access_, HKEY_CURRENT_USER);
        access_.CreateLock();
        ASSERT_EQ(access_.CreateKey(HKEY_CURRENT_USER, path_.c_str(), KEY_ALL_ACCESS, &key_),
                  ERROR_SUCCESS);
    }
    void TearDown() override { EXPECT_EQ(access_.CloseKey(key_), ERROR_SUCCESS); }

    std::wstring path_;
    CRegistryAccess access_;
    HANDLE key_ = nullptr;
};

TEST_F(WindowsRegistryAccessTest, NullKeyIsAnInvalidHandleForEveryOperation) {
    HANDLE key = nullptr;
    DWORD number = 0;
    wchar_t name[8] = {};
    EXPECT_EQ(access_.CreateKey(nullptr, L"x", KEY_READ, &key), ERROR_INVALID_HANDLE)
        << "the root stands in only for a spooler that brings the registry";
    EXPECT_EQ(access_.OpenKey(nullptr, L"x", KEY_READ, &key), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.CloseKey(nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.DeleteKey(nullptr, L"x"), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.EnumKey(nullptr, 0, name, &number, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.QueryValueCount(nullptr, &number), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.SetValue(nullptr, L"x", REG_SZ, "", 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.EnumValue(nullptr, 0, name, &number, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(access_.QueryValue(nullptr, L"x", nullptr, nullptr, nullptr), ERROR_INVALID_HANDLE);
    EXPECT_EQ(key, nullptr);
}

TEST_F(WindowsRegistryAccessTest, CarriesEveryOperationOut) {
    EXPECT_EQ(access_.SetValue(key_, L"value", REG_BINARY, "\x01\x02\x03", 3), ERROR_SUCCESS);
    DWORD type = 0;
    BYTE data[8] = {};
    DWORD size = sizeof(data);
    EXPECT_EQ(access_.QueryValue(key_, L"value", &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(type, DWORD{REG_BINARY});
    EXPECT_EQ(std::vector<BYTE>(data, data + size), (std::vector<BYTE>{1, 2, 3}));

    DWORD count = 0;
    EXPECT_EQ(access_.QueryValueCount(key_, &count), ERROR_SUCCESS);
    EXPECT_EQ(count, 1U);

    wchar_t name[16] = {};
    DWORD length = 16;
    size = sizeof(data);
    EXPECT_EQ(access_.EnumValue(key_, 0, name, &length, &type, data, &size), ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(name, length), L"value");
    EXPECT_EQ(size, 3U);

    HANDLE sub = nullptr;
    ASSERT_EQ(access_.CreateKey(key_, L"sub", KEY_READ, &sub), ERROR_SUCCESS);
    EXPECT_EQ(access_.CloseKey(sub), ERROR_SUCCESS);
    length = 16;
    FILETIME changed{};
    EXPECT_EQ(access_.EnumKey(key_, 0, name, &length, &changed), ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(name, length), L"sub");
    EXPECT_NE(NumberOf(changed), 0U);
    EXPECT_EQ(access_.OpenKey(key_, L"sub", KEY_READ, &sub), ERROR_SUCCESS);
    EXPECT_EQ(access_.CloseKey(sub), ERROR_SUCCESS);
    EXPECT_EQ(access_.DeleteKey(key_, L"sub"), ERROR_SUCCESS);
    EXPECT_EQ(access_.EnumKey(key_, 0, name, &length, nullptr), ERROR_NO_MORE_ITEMS);
    EXPECT_EQ(access_.OpenKey(key_, L"sub", KEY_READ, &sub), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(access_.QueryValue(key_, L"missing", &type, data, &size), ERROR_FILE_NOT_FOUND);
}

class WindowsRegistryStoreTest : public ::testing::Test {
  protected:
    static constexpr wchar_t kPortPath[] =
        L"SYSTEM\\CurrentControlSet\\Control\\Print\\Monitors\\Ports\\kspmon-test port";

    void SetUp() override {
        ASSERT_TRUE(log_.Start(3));
        store_.CreateLock();
        test::GiveRootOnly(store_, HKEY_CURRENT_USER);
        ASSERT_EQ(store_.OpenPortsKey(), ERROR_SUCCESS);
        ASSERT_EQ(store_.OpenSoftwareKey(MonitorType::kOrdinary), ERROR_SUCCESS);
    }
    void TearDown() override {
        store_.DeletePortKey(L"kspmon-test port");
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, test::kSoftwareKey, kSetting);
        store_.CloseStore();
    }

    static constexpr wchar_t kSetting[] = L"kspmon-test";
    test::LogSetup log_{Logger()};
    CRegistryStore store_;
};

TEST_F(WindowsRegistryStoreTest, PortsLieBelowThePrintMonitors) {
    CPortInfo info;
    info.PortName = L"kspmon-test port";
    info.PrinterAddress = L"127.0.0.1";
    info.ProtocolID = 2;
    info.PrinterAddressType = 1;
    ASSERT_EQ(store_.AddPortKey(info), 1);

    wchar_t address[32] = {};
    DWORD size = sizeof(address);
    EXPECT_EQ(::RegGetValueW(HKEY_LOCAL_MACHINE, kPortPath, L"PrinterAddress", RRF_RT_REG_SZ,
                             nullptr, address, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(std::wstring(address), L"127.0.0.1");

    CPortInfo read;
    EXPECT_EQ(store_.ReadPort(L"kspmon-test port", read), 1);
    EXPECT_EQ(read.PrinterAddress, L"127.0.0.1");
    EXPECT_EQ(read.PortNumber, 9100U);

    EXPECT_EQ(store_.DeletePortKey(L"kspmon-test port"), 1);
    EXPECT_EQ(store_.ReadPort(L"kspmon-test port", read), 0);
    EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(WindowsRegistryStoreTest, SettingsLieInTheSoftwareKey) {
    EXPECT_TRUE(store_.WriteSetting(kSetting, 7));
    DWORD number = 0;
    DWORD size = sizeof(number);
    EXPECT_EQ(::RegGetValueW(HKEY_LOCAL_MACHINE, test::kSoftwareKey, kSetting, RRF_RT_REG_DWORD,
                             nullptr, &number, &size),
              ERROR_SUCCESS);
    EXPECT_EQ(number, 7U);
    EXPECT_EQ(store_.ReadSetting(kSetting), 7U);
}

TEST_F(WindowsRegistryStoreTest, KeyThatTheMachineCannotDeleteIsLogged) {
    EXPECT_EQ(store_.DeletePortKey(L"kspmon-test no such port"), 0);
    EXPECT_THAT(log_.Lines(),
                ElementsAre("ERROR: Unable to delete key ( kspmon-test no such port )"));
}

}  // namespace
}  // namespace ksp
