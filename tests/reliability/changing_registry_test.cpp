// A port that is looked up while others in front of it go: every key that goes moves the ones
// behind it, and an enumeration can step over the one that it looks for.

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "tests/host/patched_import.h"
#include "tests/monitor/background.h"
#include "tests/monitor/port_call_test.h"
#include "tests/reliability/xcv_client.h"

namespace ksp::test {
namespace {

// Remembers which subkey was enumerated last, and tells no times: the library then reads every key
// that it passes.
class TimelessRegistry : public FaultyRegistry {
  public:
    using FaultyRegistry::FaultyRegistry;

    LONG EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                 PFILETIME last_write) override {
        const LONG code = FaultyRegistry::EnumKey(key, index, name, name_size, last_write);
        if (code == ERROR_SUCCESS && GetCurrentThreadId() == thread_) {
            passed_ = name;
            *last_write = {};
        }
        return code;
    }
    // By the thread that made this.
    [[nodiscard]] const std::wstring& passed() const { return passed_; }

  private:
    const DWORD thread_ = GetCurrentThreadId();
    std::wstring passed_;
};

// Lets something happen on one thread between two calls of the registry: the library asks for the
// time there, in front of every key that it reads. (During a call it holds all others back.)
class BetweenCalls {
  public:
    BetweenCalls(HMODULE library, std::function<void()> happening)
        : happening_(std::move(happening)), time_("GetSystemTimeAsFileTime", &TellTime, library) {
        instance_ = this;
    }
    BetweenCalls(const BetweenCalls&) = delete;
    BetweenCalls& operator=(const BetweenCalls&) = delete;

  private:
    static void WINAPI TellTime(LPFILETIME time) {
        instance_->time_.original()(time);
        if (GetCurrentThreadId() == instance_->thread_)
            instance_->happening_();
    }

    static BetweenCalls* instance_;

    const DWORD thread_ = GetCurrentThreadId();
    const std::function<void()> happening_;
    PatchedImport<decltype(&::GetSystemTimeAsFileTime)> time_;
};

BetweenCalls* BetweenCalls::instance_ = nullptr;

class ChangingRegistryTest : public PortCallTest {
  protected:
    // Milliseconds for a deletion that nobody holds off.
    static constexpr DWORD kPatience = 5000;
    static constexpr size_t kInFront = 12;

    void SetUp() override {
        PortCallTest::SetUp();
        for (size_t number = 0; number < kInFront; ++number) {
            front_.push_back(L"a port in front " + std::to_wstring(10 + number));
            AddRawPort(front_.back(), L"127.0.0.8");
        }
        AddRawPort(L"port", L"127.0.0.9");
        ASSERT_TRUE(library().Load(MonitorLibraryPath()));
        ASSERT_TRUE(library().Initialize(registry_));
        spooler().PutPort(L"LPT1:");
    }
    void TearDown() override {
        Unload();
        deletions_.clear();
        PortCallTest::TearDown();
    }

    // When the port is the next that the enumeration comes to, the first key goes: the port is then
    // where the enumeration has been.
    void DeleteInFront() {
        if (is_held_off_ || front_.size() < 2 || registry_.passed() != front_.back())
            return;
        const std::wstring name = front_.front();
        front_.erase(front_.begin());
        Background<DWORD>& deletion = *deletions_.emplace_back(
            std::make_unique<Background<DWORD>>([this, name] { return DeletePort(name); }));
        is_held_off_ = !deletion.EndsWithin(kPatience);
    }

    TimelessRegistry registry_{store()};
    std::vector<std::wstring> front_;
    std::vector<std::unique_ptr<Background<DWORD>>> deletions_;
    bool is_held_off_ = false;
};

TEST_F(ChangingRegistryTest, APortIsFoundThoughEverySearchForItIsDisturbed) {
    XcvClient client(table(), monitor());
    XcvClient::Record record;
    DWORD code = 0;
    {
        const BetweenCalls disturbance(library().module(), [this] { DeleteInFront(); });
        code = client.GetPortConfig(L"port", record);
    }
    EXPECT_EQ(code, static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(XcvClient::AddressIn(record), L"127.0.0.9");
    EXPECT_GE(deletions_.size(), 2u) << "no search was disturbed";
    EXPECT_TRUE(is_held_off_) << "no search was left alone";
    for (const auto& deletion : deletions_)
        EXPECT_EQ(deletion->Get(), static_cast<DWORD>(ERROR_SUCCESS));
    EXPECT_EQ(front_.size() + deletions_.size(), kInFront);
    for (const std::wstring& name : front_)
        EXPECT_EQ(client.GetPortConfig(name, record), static_cast<DWORD>(ERROR_SUCCESS));
}

}  // namespace
}  // namespace ksp::test
