#include "snmp/library.h"

#include "snmp/unloading.h"
#include "support/immortal.h"
#include "support/process_state.h"

namespace ksp::snmp {

namespace {

CImmortal<CLibrary> g_library;

// Whatever the library's user did not give back ends with the library. Not when the process ends:
// then the other threads are gone in the middle of whatever they did.
class CUnloading {
  public:
    CUnloading() = default;
    ~CUnloading() {
        g_isUnloading = true;
        if (!IsProcessEnding()) {
            g_library.Get().streams.Clear();
            g_library.Get().mimeUtilities.Clear();
        }
    }
    CUnloading(const CUnloading&) = delete;
    CUnloading& operator=(const CUnloading&) = delete;
};

const CUnloading g_unloading;

}  // namespace

CLibrary& Library() noexcept {
    return g_library.Get();
}

}  // namespace ksp::snmp
