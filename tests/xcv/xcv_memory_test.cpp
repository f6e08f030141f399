// The commands when memory runs out: the first request fails, then the second, and so on.

#include <algorithm>
#include <functional>
#include <optional>

#include "monitor/xcv_operations.h"
#include "ports/xcv_port_info.h"
#include "tests/monitor/background.h"
#include "tests/ports/port_manager_test.h"

namespace ksp::test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;

class XcvMemoryTest : public PortManagerTest {
  protected:
    void SetUp() override {
        PortManagerTest::SetUp();
        xcv_.emplace(manager());
        spooler_.PutPort(L"a port with a long name");
        AddRawKey(L"PORT of a printer that is here");
        ASSERT_TRUE(Initialize());
    }
    static Bytes Wide(std::wstring_view text) {
        const auto* bytes = reinterpret_cast<const BYTE*>(text.data());
        Bytes result(bytes, bytes + text.size() * sizeof(wchar_t));
        result.resize(result.size() + sizeof(wchar_t));
        return result;
    }
    // Runs the command with each of its requests failing. Every answer is the good one, 1, or one
    // of the others; in the end it is the good one. `after` looks at what each run left.
    void Sweep(const wchar_t* command, const Bytes& input, DWORD good, std::vector<DWORD> others,
               const std::function<void(DWORD code)>& after) {
        others.insert(others.end(), {good, ERROR_INVALID_FUNCTION});
        Bytes in(input.size());
        Bytes out(sizeof(XcvPortInfo));
        DWORD code = 0;
        size_t caught = 0;
        const auto call = [&] {
            std::copy(input.begin(), input.end(), in.begin());
            DWORD needed = 0;
            code = xcv_->XcvDataPort(command, in.data(), static_cast<DWORD>(in.size()), out.data(),
                                     static_cast<DWORD>(out.size()), &needed);
        };
        const auto check = [&] {
            EXPECT_THAT(others, Contains(code)) << command;
            const std::vector<std::string> lines = NewLines();
            if (code == ERROR_INVALID_FUNCTION) {
                ++caught;
                EXPECT_THAT(lines, Contains("CRITICAL Exception error in XcvDataPort")) << command;
            }
            after(code);
            ExpectAsBefore();
            NewLines();
        };
        EXPECT_GT(FailEachRequest(call, check), 0U) << command;
        EXPECT_EQ(code, good) << command;
        EXPECT_GT(caught, 0U) << command;
    }
    void Sweep(const wchar_t* command, const Bytes& input, DWORD good,
               const std::vector<DWORD>& others = {}) {
        Sweep(command, input, good, others, [](DWORD) {});
    }
    // Also that nobody holds a lock: the question comes from another thread.
    void ExpectAsBefore() {
        Background<std::vector<std::wstring>> names([&] {
            const CAutoLogCritSec guard(&manager().Lock());
            return PortNames();
        });
        ASSERT_TRUE(names.EndsWithin(Gate::kPatience));
        EXPECT_THAT(names.Get(), ElementsAre(L"PORT of a printer that is here"));
        EXPECT_EQ(store_.OpenKeyCount(), 2U);
    }

    std::optional<CXcvOperations> xcv_;
};

TEST_F(XcvMemoryTest, QuestionsAreAnsweredOrFail) {
    Sweep(L"PortExists", Wide(L"a port with a long name"), ERROR_SUCCESS, {ERROR_OUTOFMEMORY});
    Sweep(L"IsKspPort", Wide(L"PORT of a printer that is here"), ERROR_SUCCESS);
    Sweep(L"DeletePort", Wide(L"a port with a long name"), ERROR_NOT_READY);
}

TEST_F(XcvMemoryTest, RecordIsGivenOrNot) {
    Sweep(L"GetPortConfig", Wide(L"PORT of a printer that is here"), ERROR_SUCCESS,
          {ERROR_INSUFFICIENT_BUFFER});
}

TEST_F(XcvMemoryTest, PortIsAddedWhollyOrNotAtAll) {
    bool short_of_memory = false;
    const std::wstring name = L"a new port with a long name";
    Sweep(L"AddPort", Wide(L"a,2,127.0.0.1," + name + L",NONE,NONE,NONE,1,0,0,0,"), ERROR_SUCCESS,
          {ERROR_INVALID_DATA, ERROR_NOT_ENOUGH_MEMORY}, [&](DWORD code) {
              short_of_memory = short_of_memory || code == ERROR_NOT_ENOUGH_MEMORY;
              const bool added = code == ERROR_SUCCESS;
              EXPECT_EQ(manager().Ports().FindPortIdByName(name) != CPortList::kNoId, added);
              EXPECT_EQ(HasKey(name), added);
              EXPECT_EQ(manager().DeletePort(name), added);
          });
    EXPECT_TRUE(short_of_memory);
}

TEST_F(XcvMemoryTest, SilentPortIsAddedWhollyOrNotAtAll) {
    const std::wstring name = L"a new port with a long name";
    const std::string text = "AR=127.0.0.1:PN=a new port with a long name:PR=RAW";
    Sweep(L"SilentAddPort", Bytes(text.begin(), text.end()), ERROR_SUCCESS,
          {ERROR_INVALID_DATA, ERROR_NOT_ENOUGH_MEMORY}, [&](DWORD) {
              const bool added = manager().Ports().FindPortIdByName(name) != CPortList::kNoId;
              EXPECT_EQ(HasKey(name), added);
              EXPECT_EQ(manager().DeletePort(name), added);
          });
}

}  // namespace
}  // namespace ksp::test
