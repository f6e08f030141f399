#pragma once

namespace ksp::test {

// Whether the machine's registry is Wine's, which is the tests' own: elsewhere an installed
// monitor's keys would be lost.
[[nodiscard]] bool MachineIsOurs();

// The monitor's settings in the registry of the machine that the tests run on, of both kinds of the
// monitor, where the machine is ours: short time-outs, and the stand-in for the discovery library.
// All of them are removed at the end.
class MachineSettings {
  public:
    MachineSettings();
    ~MachineSettings();
    MachineSettings(const MachineSettings&) = delete;
    MachineSettings& operator=(const MachineSettings&) = delete;

    // Seconds that both kinds of the monitor wait for a printer.
    void SetReplyTimeout(unsigned seconds);
};

}  // namespace ksp::test
