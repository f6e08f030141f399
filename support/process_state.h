#pragma once

namespace ksp {

// Whether the process is ending, as DllMain was told. Then every other thread is gone, and with it
// whoever would have released a lock: from here on nothing may wait for a lock, for the network or
// for the spooler. What the process still holds, the system takes back by itself.
[[nodiscard]] bool IsProcessEnding() noexcept;
void SetProcessEnding() noexcept;

}  // namespace ksp
