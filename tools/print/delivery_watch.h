#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace ksp::print {

// Looks after a call that comes back late: calls `look` on a thread of its own, a few times a
// second, from construction to destruction.
class DeliveryWatch {
  public:
    explicit DeliveryWatch(std::function<void()> look);
    ~DeliveryWatch();
    DeliveryWatch(const DeliveryWatch&) = delete;
    DeliveryWatch& operator=(const DeliveryWatch&) = delete;

  private:
    void Run();

    const std::function<void()> look_;
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopping_ = false;
    std::thread thread_;
};

}  // namespace ksp::print
