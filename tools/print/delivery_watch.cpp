#include "tools/print/delivery_watch.h"

#include <chrono>
#include <utility>

namespace ksp::print {
namespace {

constexpr std::chrono::milliseconds kPeriod{250};

}  // namespace

DeliveryWatch::DeliveryWatch(std::function<void()> look)
    : look_(std::move(look)), thread_([this] { Run(); }) {}

DeliveryWatch::~DeliveryWatch() {
    {
        const std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    thread_.join();
}

void DeliveryWatch::Run() {
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, kPeriod, [this] { return stopping_; })) {
        look_();
    }
}

}  // namespace ksp::print
