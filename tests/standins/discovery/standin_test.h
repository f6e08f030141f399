#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "discovery/discovery_library.h"
#include "tests/host/discovery_control.h"

namespace ksp::test {

// The stand-in with every export, used as the monitor uses the library: through functions looked up
// by name. A test ends clean unless it says otherwise: nothing held, no misuse.
class DiscoveryStandinTest : public ::testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    // A stream that was initialised; EndStream gives it back.
    void* BeginStream();
    void EndStream(void* stream);

    // The device's capability document, given back at once; "" when there is none.
    std::string ReadCapability(void* stream, DeviceHandle device);

    // Expects exactly these misuses and forgets them together with what is held.
    void ExpectMisuses(const std::vector<std::string>& misuses);

    DiscoveryControl control_;
    OryxFunctions library_ = {};
};

// What a probe called back with, in order. Takes callbacks from any thread.
class ProbeWitness {
  public:
    struct Callback {
        DeviceHandle device;
        int code;
        DWORD thread_id;
    };

    ProbeWitness() = default;
    ProbeWitness(const ProbeWitness&) = delete;
    ProbeWitness& operator=(const ProbeWitness&) = delete;

    // To be passed to KSProbe, with the witness as the context.
    static void Receive(DeviceHandle device, int code, void* context);

    // Runs inside each callback, after it was noted; to be set before the probe.
    void set_action(std::function<void(const Callback&)> action) { action_ = std::move(action); }

    // Waits until so many callbacks have come; false when they do not within half a minute.
    bool WaitFor(size_t count);
    [[nodiscard]] std::vector<Callback> callbacks() const;

  private:
    void Note(const Callback& callback);

    std::function<void(const Callback&)> action_;
    mutable SRWLOCK lock_ = SRWLOCK_INIT;
    CONDITION_VARIABLE changed_ = CONDITION_VARIABLE_INIT;
    std::vector<Callback> callbacks_;
};

}  // namespace ksp::test
