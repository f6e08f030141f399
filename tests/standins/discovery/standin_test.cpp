#include "tests/standins/discovery/standin_test.h"

#include <cstring>
#include <iterator>

namespace ksp::test {

void DiscoveryStandinTest::SetUp() {
    ASSERT_TRUE(control_.Connect());
    control_.Reset();
    const std::wstring path = DiscoveryControl::FullDirectory() + L"\\KSSTRMAPIe.dll";
    const HMODULE module = GetModuleHandleW(path.c_str());
    ASSERT_NE(module, nullptr);
    // The members lie in the order of the exports.
    FARPROC addresses[DiscoveryExportCount] = {};
    for (int i = 0; i < DiscoveryExportCount; ++i) {
        addresses[i] = GetProcAddress(module, ExportName(static_cast<DiscoveryFunction>(i)));
        ASSERT_NE(addresses[i], nullptr) << ExportName(static_cast<DiscoveryFunction>(i));
    }
    static_assert(sizeof(addresses) == sizeof(library_));
    std::memcpy(&library_, addresses, sizeof(library_));
}

void DiscoveryStandinTest::TearDown() {
    EXPECT_EQ(control_.Leftovers(), "");
}

void* DiscoveryStandinTest::BeginStream() {
    void* const stream = library_.KSCreateStream();
    EXPECT_NE(stream, nullptr);
    EXPECT_EQ(library_.KSInitialize(stream, 0), 0);
    return stream;
}

void DiscoveryStandinTest::EndStream(void* stream) {
    EXPECT_EQ(library_.KSStopProbe(stream), 0);
    EXPECT_EQ(library_.KSTerminate(stream), 0);
    EXPECT_EQ(library_.KSDeleteStream(stream), 0);
}

std::string DiscoveryStandinTest::ReadCapability(void* stream, DeviceHandle device) {
    char* document = nullptr;
    if (library_.KSGetDeviceCapability(stream, device, &document) == 0 || document == nullptr) {
        return "";
    }
    const std::string text = document;
    library_.KSDeleteBuffer(stream, device, &document);
    EXPECT_EQ(document, nullptr);
    return text;
}

void DiscoveryStandinTest::ExpectMisuses(const std::vector<std::string>& misuses) {
    EXPECT_EQ(control_.Misuses(), misuses);
    control_.Reset();
}

void ProbeWitness::Receive(DeviceHandle device, int code, void* context) {
    static_cast<ProbeWitness*>(context)->Note({device, code, GetCurrentThreadId()});
}

void ProbeWitness::Note(const Callback& callback) {
    AcquireSRWLockExclusive(&lock_);
    callbacks_.push_back(callback);
    ReleaseSRWLockExclusive(&lock_);
    WakeAllConditionVariable(&changed_);
    if (action_) {
        action_(callback);
    }
}

bool ProbeWitness::WaitFor(size_t count) {
    constexpr DWORD kPatience = 30'000;
    AcquireSRWLockExclusive(&lock_);
    BOOL woken = TRUE;
    while (callbacks_.size() < count && woken) {
        woken = SleepConditionVariableSRW(&changed_, &lock_, kPatience, 0);
    }
    const bool complete = callbacks_.size() >= count;
    ReleaseSRWLockExclusive(&lock_);
    return complete;
}

std::vector<ProbeWitness::Callback> ProbeWitness::callbacks() const {
    AcquireSRWLockExclusive(&lock_);
    std::vector<Callback> callbacks = callbacks_;
    ReleaseSRWLockExclusive(&lock_);
    return callbacks;
}

}  // namespace ksp::test
