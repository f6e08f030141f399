// What the system refuses only when it is exhausted, and what a broken discovery library throws.

#include <objbase.h>

#include <cstring>
#include <stdexcept>

#include "discovery/oryx_wrapper.h"
#include "discovery/utf8.h"
#include "tests/discovery/discovery_test.h"
#include "tests/discovery/xml_test.h"
#include "tests/host/patched_import.h"
#include "tests/support/scarce_memory.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

HANDLE WINAPI NoEvent(LPSECURITY_ATTRIBUTES /*security*/, BOOL /*manual*/, BOOL /*signalled*/,
                      LPCWSTR /*name*/) {
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return nullptr;
}

HRESULT WINAPI NoInstance(REFCLSID /*kind*/, LPUNKNOWN /*outer*/, DWORD /*context*/,
                          REFIID /*interface_id*/, LPVOID* /*object*/) {
    return REGDB_E_CLASSNOTREG;
}

// The export of this name throws whenever it is called, after it has done its work.
const char* g_throwing_export = nullptr;
FARPROC g_original = nullptr;
FARPROC(WINAPI* g_get_proc_address)(HMODULE, LPCSTR) = nullptr;

INT_PTR Throw(void* stream, const char* document) {
    reinterpret_cast<INT_PTR (*)(void*, const char*)>(reinterpret_cast<void*>(g_original))(
        stream, document);
    throw std::runtime_error("the discovery library is broken");
}

FARPROC WINAPI LookUp(HMODULE module, LPCSTR name) {
    const FARPROC found = g_get_proc_address(module, name);
    if (std::strcmp(name, g_throwing_export) != 0) {
        return found;
    }
    g_original = found;
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&Throw));
}

class RefusedDiscoveryTest : public DiscoveryTest {
  protected:
    void TearDown() override {
        wrapper_.Finalize();
        DiscoveryTest::TearDown();
    }
    // A wrapper for whose library the export throws.
    void StartWith(const char* throwing_export) {
        const PatchedImport<decltype(&::GetProcAddress)> patch("GetProcAddress", LookUp);
        ASSERT_TRUE(patch.works());
        g_throwing_export = throwing_export;
        g_get_proc_address = patch.original();
        ASSERT_TRUE(wrapper_.StartUp());
    }

    CKspOryxWrapper wrapper_;
};

TEST_F(RefusedDiscoveryTest, WithoutAnEventAWrapperDoesNotStart) {
    {
        const PatchedImport<decltype(&::CreateEventW)> patch("CreateEventW", NoEvent);
        ASSERT_TRUE(patch.works());
        EXPECT_FALSE(wrapper_.StartUp());
    }
    EXPECT_THAT(CallNames(), ElementsAre("KSCreateStream", "KSInitialize", "KSDeleteStream"));
    EXPECT_TRUE(wrapper_.StartUp());
}

TEST_F(RefusedDiscoveryTest, ASearchWhoseModeThrowsFindsNothing) {
    ASSERT_NO_FATAL_FAILURE(StartWith("KSSetProbeMode"));
    library_.AddDevice({.address = "127.0.0.2", .mac = "0026AB000001"});
    std::wstring address;
    std::wstring mac;
    EXPECT_FALSE(wrapper_.FindDeviceByMac({L"0026AB000001"}, address, mac));
    EXPECT_EQ(CountLines("CRITICAL: Exception error in set probe mode."), 1U);
}

TEST_F(RefusedDiscoveryTest, AWrapperWhoseLibraryThrowsAtTheEndEnds) {
    ASSERT_NO_FATAL_FAILURE(StartWith("KSDeleteStream"));
    wrapper_.Finalize();
    EXPECT_EQ(CountLines("CRITICAL: Exception error in finalize oryx"), 1U);
    EXPECT_TRUE(wrapper_.StartUp());
}

TEST_F(RefusedDiscoveryTest, ATextForWhichThereIsNoMemoryIsNone) {
    const std::wstring text(2 * ScarceMemory::kLarge, L'x');
    {
        const ScarceMemory none(0);
        EXPECT_EQ(ToUtf8(text), std::nullopt);
    }
    EXPECT_THAT(NewLines(), Contains("CRITICAL: memory allocate error."));
    EXPECT_TRUE(ToUtf8(text));
}

using RefusedXmlTest = XmlTest;

TEST_F(RefusedXmlTest, WithoutAParserNoDocumentIsRead) {
    {
        const PatchedImport<decltype(&::CoCreateInstance)> patch("CoCreateInstance", NoInstance);
        ASSERT_TRUE(patch.works());
        EXPECT_EQ(Load(L"<r><a>text</a></r>"), REGDB_E_CLASSNOTREG);
    }
    EXPECT_THAT(log_.Lines(), Contains("TRACE: error XMLParseCreateDocument : " +
                                       std::to_string(REGDB_E_CLASSNOTREG)));
    EXPECT_EQ(Find(L"a"), L"none");
    EXPECT_EQ(Load(L"<r><a>text</a></r>"), S_OK);
    EXPECT_EQ(Find(L"a"), L"text");
}

}  // namespace
}  // namespace ksp::test
