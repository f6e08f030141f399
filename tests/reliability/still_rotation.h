#pragma once

#include <windows.h>

#include <functional>

#include "tests/host/patched_import.h"

namespace ksp::test {

// The moments of a rotation of the log, in their order. What is there then:
enum class RotationMoment {
    kNone,
    kBeforeIndex,     // the full log
    kBeforeCopying,   // the same; the backup's index is stored
    kInCopying,       // also the first half of the backup
    kBehindCopying,   // the full log and its whole backup
    kBeforeEmptying,  // the same
    kBehindEmptying,  // the whole backup and an empty log
};

// Leads the calls by which a loaded library copies and empties its log through here, to let them
// stand still at a moment. The one before the index is not its own: that is a change of the
// registry.
//
// One at a time, and for as long as the library stays loaded.
class StillRotation {
  public:
    // What is called at the moment, on the thread that rotates; it does not return.
    StillRotation(HMODULE library, RotationMoment moment, std::function<void()> stand_still);
    ~StillRotation() = default;
    StillRotation(const StillRotation&) = delete;
    StillRotation& operator=(const StillRotation&) = delete;

    // False when the library copies or opens files in another way.
    [[nodiscard]] bool works() const { return copy_.works() && create_.works(); }

  private:
    using CopyFunction = decltype(&::CopyFileW);
    using CreateFunction = decltype(&::CreateFileW);

    static BOOL WINAPI Copy(LPCWSTR from, LPCWSTR to, BOOL keeps_existing);
    static HANDLE WINAPI Create(LPCWSTR path, DWORD access, DWORD share,
                                LPSECURITY_ATTRIBUTES security, DWORD disposition, DWORD flags,
                                HANDLE model);
    void Reach(RotationMoment moment) const;

    static StillRotation* instance_;

    const RotationMoment moment_;
    const std::function<void()> stand_still_;
    PatchedImport<CopyFunction> copy_;
    PatchedImport<CreateFunction> create_;
};

}  // namespace ksp::test
