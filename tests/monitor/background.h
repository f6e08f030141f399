#pragma once

#include <windows.h>

#include <functional>
#include <thread>
#include <utility>

namespace ksp::test {

// A gate that threads wait at until it is opened, once and for all. It costs one event while it
// lives: what the standard library offers can leave one behind, which a test that counts handles
// would take for a leak of the monitor's.
class Gate {
  public:
    static constexpr DWORD kPatience = 60000;  // milliseconds; beyond this something hangs

    Gate() : event_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Gate() { CloseHandle(event_); }
    Gate(const Gate&) = delete;
    Gate& operator=(const Gate&) = delete;

    void Open() { SetEvent(event_); }
    // False when it is still closed after that many milliseconds.
    bool Wait(DWORD milliseconds = kPatience) const {
        return WaitForSingleObject(event_, milliseconds) == WAIT_OBJECT_0;
    }

  private:
    HANDLE event_;
};

// A call on a thread of its own; joined at the latest in the destructor.
template <class Result>
class Background {
  public:
    explicit Background(std::function<Result()> call)
        : thread_([this, call = std::move(call)] {
              result_ = call();
              ended_.Open();
          }) {}
    ~Background() { Join(); }
    Background(const Background&) = delete;
    Background& operator=(const Background&) = delete;

    bool EndsWithin(DWORD milliseconds) const { return ended_.Wait(milliseconds); }
    Result Get() {
        Join();
        return result_;
    }

  private:
    void Join() {
        if (thread_.joinable())
            thread_.join();
    }

    Result result_{};
    Gate ended_;
    std::thread thread_;  // last: it uses the others
};

}  // namespace ksp::test
