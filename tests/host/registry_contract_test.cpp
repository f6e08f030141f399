// What a monitor may expect of its registry. The same tests run over the registry in memory and
// over the machine's own, so that the one cannot drift away from the other.

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tools/host/memory_registry.h"
#include "tools/host/real_registry.h"

namespace ksp::host {
namespace {

struct InMemory {
    MemoryRegistry registry;
};

// A key of the current user, removed with everything below it.
struct OnTheMachine {
    OnTheMachine() : path(L"Software\\kspmon selftest " + std::to_wstring(GetCurrentProcessId())) {
        RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                        &root, nullptr);
        registry.emplace_back(root);
    }
    ~OnTheMachine() {
        RegCloseKey(root);
        RegDeleteTreeW(HKEY_CURRENT_USER, path.c_str());
    }
    OnTheMachine(const OnTheMachine&) = delete;
    OnTheMachine& operator=(const OnTheMachine&) = delete;

    std::wstring path;
    HKEY root = nullptr;
    std::vector<RealRegistry> registry;
};

MonitorRegistry& RegistryOf(InMemory& world) {
    return world.registry;
}
MonitorRegistry& RegistryOf(OnTheMachine& world) {
    return world.registry.front();
}

// Calls go through the MONITORREG functions, as a monitor's do.
template <typename World>
class RegistryContractTest : public ::testing::Test {
  protected:
    HANDLE root() { return RegistryOf(world_).Root(); }
    HANDLE spooler() { return SpoolerHandle(RegistryOf(world_)); }

    HANDLE Create(HANDLE parent, const wchar_t* name, REGSAM access = KEY_ALL_ACCESS) {
        HANDLE key = nullptr;
        EXPECT_EQ(reg_.fpCreateKey(parent, name, 0, access, nullptr, &key, nullptr, spooler()),
                  ERROR_SUCCESS);
        return key;
    }
    void Close(HANDLE key) { EXPECT_EQ(reg_.fpCloseKey(key, spooler()), ERROR_SUCCESS); }
    LONG Open(const wchar_t* name, REGSAM access, HANDLE* key) {
        return reg_.fpOpenKey(root(), name, access, key, spooler());
    }
    // Windows stores a terminator that follows the data in memory along with it; this text has
    // none.
    LONG SetText(HANDLE key, const wchar_t* name, const std::wstring& text) {
        const std::wstring unterminated = text + L"?";
        return reg_.fpSetValue(key, name, REG_SZ,
                               reinterpret_cast<const BYTE*>(unterminated.c_str()),
                               static_cast<DWORD>(text.size() * sizeof(wchar_t)), spooler());
    }
    std::vector<std::wstring> Subkeys(HANDLE key) {
        std::vector<std::wstring> names;
        for (DWORD index = 0; index < 100; ++index) {
            wchar_t name[261] = {};
            DWORD size = 261;
            const LONG code = reg_.fpEnumKey(key, index, name, &size, nullptr, spooler());
            if (code == ERROR_NO_MORE_ITEMS) {
                break;
            }
            EXPECT_EQ(code, ERROR_SUCCESS);
            names.emplace_back(name, size);
        }
        return names;
    }

    World world_;
    const MONITORREG reg_ = MonitorRegFunctions();
};

using Worlds = ::testing::Types<InMemory, OnTheMachine>;
TYPED_TEST_SUITE(RegistryContractTest, Worlds);

TYPED_TEST(RegistryContractTest, CreatesAndThenOpensTheSameKeyWhateverItsCase) {
    HANDLE key = nullptr;
    DWORD disposition = 0;
    ASSERT_EQ(this->reg_.fpCreateKey(this->root(), L"Ports", 0, KEY_ALL_ACCESS, nullptr, &key,
                                     &disposition, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
    this->Close(key);

    ASSERT_EQ(this->reg_.fpCreateKey(this->root(), L"PORTS", 0, KEY_ALL_ACCESS, nullptr, &key,
                                     &disposition, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_EQ(disposition, static_cast<DWORD>(REG_OPENED_EXISTING_KEY));
    this->Close(key);
    EXPECT_EQ(this->Subkeys(this->root()), std::vector<std::wstring>{L"Ports"});
}

TYPED_TEST(RegistryContractTest, CreatesEveryKeyOnAPath) {
    this->Close(this->Create(this->root(), L"Ports\\KEY_A\\deep"));
    HANDLE key = nullptr;
    ASSERT_EQ(this->Open(L"ports\\key_a", KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_EQ(this->Subkeys(key), std::vector<std::wstring>{L"deep"});
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, OpensNoMissingKey) {
    HANDLE key = nullptr;
    EXPECT_EQ(this->Open(L"Ports", KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

TYPED_TEST(RegistryContractTest, OpensTheKeyItselfForAnEmptyName) {
    this->Close(this->Create(this->root(), L"Ports"));
    for (const wchar_t* name : {L"", static_cast<const wchar_t*>(nullptr)}) {
        HANDLE key = nullptr;
        ASSERT_EQ(this->Open(name, KEY_READ, &key), ERROR_SUCCESS);
        EXPECT_EQ(this->Subkeys(key), std::vector<std::wstring>{L"Ports"});
        this->Close(key);
    }
}

TYPED_TEST(RegistryContractTest, EnumeratesSubkeysAlphabeticallyWhateverTheirCase) {
    for (const wchar_t* name : {L"b", L"C", L"a_1", L"B2", L"A", L"10", L"9"}) {
        this->Close(this->Create(this->root(), name));
    }
    const std::vector<std::wstring> expected = {L"10", L"9", L"A", L"a_1", L"b", L"B2", L"C"};
    EXPECT_EQ(this->Subkeys(this->root()), expected);
}

TYPED_TEST(RegistryContractTest, EnumeratesASubkeyOnlyIntoABufferThatFits) {
    this->Close(this->Create(this->root(), L"KEY"));
    wchar_t name[8] = {};
    DWORD size = 3;
    EXPECT_EQ(this->reg_.fpEnumKey(this->root(), 0, name, &size, nullptr, this->spooler()),
              ERROR_MORE_DATA);
    size = 4;
    EXPECT_EQ(this->reg_.fpEnumKey(this->root(), 0, name, &size, nullptr, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_EQ(size, 3u);
    EXPECT_STREQ(name, L"KEY");
}

TYPED_TEST(RegistryContractTest, KeepsAValueWithItsTypeAndExactBytes) {
    HANDLE key = this->Create(this->root(), L"KEY");
    const std::vector<BYTE> odd = {'a', 0, 'b'};
    for (const DWORD type : {DWORD{REG_SZ}, DWORD{REG_BINARY}, DWORD{REG_DWORD}, DWORD{99}}) {
        ASSERT_EQ(this->reg_.fpSetValue(key, L"Value", type, odd.data(),
                                        static_cast<DWORD>(odd.size()), this->spooler()),
                  ERROR_SUCCESS);
        DWORD stored_type = 0;
        auto size = static_cast<DWORD>(odd.size());
        std::vector<BYTE> data(size);
        ASSERT_EQ(this->reg_.fpQueryValue(key, L"VALUE", &stored_type, data.data(), &size,
                                          this->spooler()),
                  ERROR_SUCCESS);
        EXPECT_EQ(stored_type, type);
        EXPECT_EQ(size, odd.size());
        EXPECT_EQ(data, odd);
    }
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, TellsTheSizeOfAValueBeforeGivingIt) {
    HANDLE key = this->Create(this->root(), L"KEY");
    ASSERT_EQ(this->SetText(key, L"Text", L"1234"), ERROR_SUCCESS);
    DWORD size = 0;
    EXPECT_EQ(this->reg_.fpQueryValue(key, L"Text", nullptr, nullptr, &size, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_EQ(size, 8u);

    BYTE data[8] = {};
    size = 7;
    DWORD type = 0;
    EXPECT_EQ(this->reg_.fpQueryValue(key, L"Text", &type, data, &size, this->spooler()),
              ERROR_MORE_DATA);
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(this->reg_.fpQueryValue(key, L"Text", &type, data, nullptr, this->spooler()),
              ERROR_INVALID_PARAMETER);
    EXPECT_EQ(this->reg_.fpQueryValue(key, L"Missing", &type, data, &size, this->spooler()),
              ERROR_FILE_NOT_FOUND);
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, EnumeratesAndDeletesValues) {
    HANDLE key = this->Create(this->root(), L"KEY");
    ASSERT_EQ(this->SetText(key, L"Text", L"1234"), ERROR_SUCCESS);
    wchar_t name[16] = {};
    DWORD name_size = 16;
    BYTE data[16] = {};
    DWORD size = 16;
    DWORD type = 0;
    EXPECT_EQ(this->reg_.fpEnumValue(key, 0, name, &name_size, &type, data, &size, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_STREQ(name, L"Text");
    EXPECT_EQ(name_size, 4u);
    EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
    EXPECT_EQ(size, 8u);
    EXPECT_EQ(std::memcmp(data, L"1234", 8), 0);

    name_size = 4;
    EXPECT_EQ(this->reg_.fpEnumValue(key, 0, name, &name_size, &type, data, &size, this->spooler()),
              ERROR_MORE_DATA);
    name_size = 16;
    EXPECT_EQ(this->reg_.fpEnumValue(key, 1, name, &name_size, &type, data, &size, this->spooler()),
              ERROR_NO_MORE_ITEMS);

    EXPECT_EQ(this->reg_.fpDeleteValue(key, L"TEXT", this->spooler()), ERROR_SUCCESS);
    EXPECT_EQ(this->reg_.fpDeleteValue(key, L"TEXT", this->spooler()), ERROR_FILE_NOT_FOUND);
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, CountsSubkeysAndValues) {
    HANDLE key = this->Create(this->root(), L"KEY");
    this->Close(this->Create(key, L"one"));
    this->Close(this->Create(key, L"three"));
    ASSERT_EQ(this->SetText(key, L"Text", L"12345"), ERROR_SUCCESS);
    DWORD subkeys = 0;
    DWORD longest_subkey = 0;
    DWORD values = 0;
    DWORD longest_value = 0;
    DWORD longest_data = 0;
    FILETIME written = {};
    EXPECT_EQ(this->reg_.fpQueryInfoKey(key, &subkeys, &longest_subkey, &values, &longest_value,
                                        &longest_data, nullptr, &written, this->spooler()),
              ERROR_SUCCESS);
    EXPECT_EQ(subkeys, 2u);
    EXPECT_EQ(longest_subkey, 5u);
    EXPECT_EQ(values, 1u);
    EXPECT_EQ(longest_value, 4u);
    EXPECT_EQ(longest_data, 10u);
    EXPECT_NE(written.dwHighDateTime, 0u);
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, RefusesToWriteThroughAReadOnlyHandle) {
    this->Close(this->Create(this->root(), L"KEY"));
    HANDLE key = nullptr;
    ASSERT_EQ(this->Open(L"KEY", KEY_READ, &key), ERROR_SUCCESS);
    EXPECT_EQ(this->SetText(key, L"Text", L"1234"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(this->reg_.fpDeleteValue(key, L"Text", this->spooler()), ERROR_ACCESS_DENIED);
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, DeletesAKeyButNoneWithSubkeys) {
    this->Close(this->Create(this->root(), L"KEY\\deep"));
    EXPECT_EQ(this->reg_.fpDeleteKey(this->root(), L"KEY", this->spooler()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(this->reg_.fpDeleteKey(this->root(), L"KEY\\deep", this->spooler()), ERROR_SUCCESS);
    EXPECT_EQ(this->reg_.fpDeleteKey(this->root(), L"key", this->spooler()), ERROR_SUCCESS);
    EXPECT_EQ(this->reg_.fpDeleteKey(this->root(), L"KEY", this->spooler()), ERROR_FILE_NOT_FOUND);
}

TYPED_TEST(RegistryContractTest, AHandleOutlivesItsKeyAndSaysSo) {
    HANDLE key = this->Create(this->root(), L"KEY");
    ASSERT_EQ(this->reg_.fpDeleteKey(this->root(), L"KEY", this->spooler()), ERROR_SUCCESS);
    EXPECT_EQ(this->SetText(key, L"Text", L"1234"), ERROR_KEY_DELETED);
    this->Close(key);
}

TYPED_TEST(RegistryContractTest, RefusesHandlesThatAreNone) {
    HANDLE key = nullptr;
    EXPECT_EQ(this->reg_.fpOpenKey(nullptr, L"KEY", KEY_READ, &key, this->spooler()),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(this->reg_.fpCreateKey(nullptr, L"KEY", 0, KEY_READ, nullptr, &key, nullptr,
                                     this->spooler()),
              ERROR_INVALID_HANDLE);
    EXPECT_EQ(this->reg_.fpCloseKey(nullptr, this->spooler()), ERROR_INVALID_HANDLE);
    wchar_t name[8] = {};
    DWORD size = 8;
    EXPECT_EQ(this->reg_.fpEnumKey(nullptr, 0, name, &size, nullptr, this->spooler()),
              ERROR_INVALID_HANDLE);
}

TYPED_TEST(RegistryContractTest, ReachesThePredefinedKeys) {
    HANDLE key = nullptr;
    EXPECT_EQ(
        this->reg_.fpOpenKey(HKEY_CURRENT_USER, L"no such key", KEY_READ, &key, this->spooler()),
        ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(this->reg_.fpOpenKey(HKEY_LOCAL_MACHINE, L"", KEY_READ, &key, this->spooler()),
              ERROR_SUCCESS);
    this->Close(key);
}

}  // namespace
}  // namespace ksp::host
