#include "discovery/oryx_dll.h"

#include <windows.h>

#include <atomic>
#include <cstring>

#include "ports/registry_store.h"
#include "support/log.h"
#include "support/text.h"

namespace ksp {

namespace {

struct LibraryPathState {
    std::wstring path;
    std::atomic<bool> ready{false};
};

LibraryPathState g_pathState;

LibraryPathState& PathState() {
    return g_pathState;
}

// Never unloaded: the library's own threads may still run in it when the last wrapper is gone.
std::atomic<HMODULE> g_module{nullptr};

// Looks up the exports of the library.
class CExportFinder {
  public:
    explicit CExportFinder(HMODULE module) : m_module(module) {}

    // Stores the address of an export; false, with a log line, when the library lacks it.
    template <class Function>
    [[nodiscard]] bool Find(const char* name, Function& function) const {
        if (FindOptional(name, function); function != nullptr) {
            return true;
        }
        Log(LogLevel::kError, L"COryxDLL::LoadFunctions failed GetProcAddress(%s)",
            FromAnsi(name).c_str());
        return false;
    }

    // The same for an export without which a library is still good.
    template <class Function>
    bool FindOptional(const char* name, Function& function) const {
        static_assert(sizeof(Function) == sizeof(FARPROC));
        const FARPROC address = ::GetProcAddress(m_module, name);
        std::memcpy(&function, &address, sizeof(function));
        return true;
    }

  private:
    HMODULE m_module;
};

}  // namespace

bool COryxDLL::PrepareLibraryPath() {
    LibraryPathState& state = PathState();
    if (state.ready) {
        return true;
    }
    std::wstring path = RegistryStore().GetExeDirectory();
    if (path.empty()) {
        Log(LogLevel::kTrace, L"Failed GetExeDirectory()");
        return false;
    }
    if (path.back() != L'\\') {
        path += L'\\';
    }
    state.path = path + L"KSSTRMAPIe.dll";
    state.ready = true;
    return true;
}

bool COryxDLL::IsLibraryPathReady() {
    return PathState().ready;
}

const std::wstring& COryxDLL::LibraryPath() {
    return PathState().path;
}

COryxDLL::COryxDLL() {
    COryxDLL::LoadLibraryFile(LibraryPath());
    m_functionsLoaded = LoadFunctions();
}

bool COryxDLL::LoadLibraryFile(const std::wstring& path) {
    if (g_module.load() != nullptr) {
        return true;
    }
    const HMODULE loaded = ::LoadLibraryW(path.c_str());
    if (loaded == nullptr) {
        return false;
    }
    HMODULE none = nullptr;
    if (!g_module.compare_exchange_strong(none, loaded)) {
        // Another thread was first; this only gives back the second reference.
        ::FreeLibrary(loaded);
    }
    return true;
}

bool COryxDLL::LoadFunctions() {
    const HMODULE module = g_module.load();
    if (module == nullptr) {
        Log(LogLevel::kError, L"COryxDLL::LoadFunctions failed GetLibraryInstance");
        return false;
    }
    const CExportFinder finder(module);
    OryxFunctions& f = m_functions;
    // Libraries without KSSendStream or KSRecvStream are in use and good; nothing calls the two.
    return finder.Find("KSCreateStream", f.KSCreateStream) &&
           finder.Find("KSInitialize", f.KSInitialize) &&
           finder.Find("KSSetProbeMode", f.KSSetProbeMode) && finder.Find("KSProbe", f.KSProbe) &&
           finder.Find("KSStopProbe", f.KSStopProbe) &&
           finder.Find("KSGetDeviceCapability", f.KSGetDeviceCapability) &&
           finder.Find("KSDeleteBuffer", f.KSDeleteBuffer) &&
           finder.Find("KSTerminate", f.KSTerminate) &&
           finder.Find("KSDeleteStream", f.KSDeleteStream) &&
           finder.FindOptional("KSSendStream", f.KSSendStream) &&
           finder.Find("KSGetRecvStatus", f.KSGetRecvStatus) &&
           finder.FindOptional("KSRecvStream", f.KSRecvStream) &&
           finder.Find("KSSendRecvStream", f.KSSendRecvStream) &&
           finder.Find("KSRecvCancel", f.KSRecvCancel) &&
           finder.Find("KSCreateDeviceHandle", f.KSCreateDeviceHandle) &&
           finder.Find("KSDeleteDeviceHandle", f.KSDeleteDeviceHandle) &&
           finder.Find("KSCreateMIMEUtil", f.KSCreateMIMEUtil) &&
           finder.Find("KSDeleteMIMEUtil", f.KSDeleteMIMEUtil) &&
           finder.Find("KSMIMEEncode", f.KSMIMEEncode) &&
           finder.Find("KSMIMEDecode", f.KSMIMEDecode) &&
           finder.Find("KSMIMESplitData", f.KSMIMESplitData) &&
           finder.Find("KSMIMEGetData", f.KSMIMEGetData) &&
           finder.Find("KSMIMEDeleteBuffer", f.KSMIMEDeleteBuffer);
}

}  // namespace ksp
