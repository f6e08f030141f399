#include "tools/host/monitor_library.h"

namespace ksp::host {
namespace {

// Ruins what the monitor was shown, so that a pointer kept to it is found out. Volatile, because a
// compiler may drop writes to an object that is about to die.
template <typename Structure>
void Overwrite(Structure* structure) {
    volatile BYTE* bytes = reinterpret_cast<volatile BYTE*>(structure);
    for (size_t i = 0; i < sizeof(Structure); ++i) {
        bytes[i] = 0xDD;
    }
}

MONITORINIT BaseInit(HANDLE root) {
    MONITORINIT init = {};
    init.cbSize = sizeof(init);
    init.hckRegistryRoot = static_cast<HKEYMONITOR>(root);
    init.bLocal = TRUE;
    return init;
}

}  // namespace

MonitorLibrary::~MonitorLibrary() {
    Unload();
}

bool MonitorLibrary::Load(const std::wstring& path) {
    if (module_ != nullptr) {
        SetLastError(ERROR_ALREADY_INITIALIZED);
        return false;
    }
    module_ = LoadLibraryW(path.c_str());
    if (module_ == nullptr) {
        return false;
    }
    initialize_ = reinterpret_cast<InitializeFunction>(
        reinterpret_cast<void*>(GetProcAddress(module_, "InitializePrintMonitor2")));
    if (initialize_ == nullptr) {
        const DWORD error = GetLastError();
        Unload();
        SetLastError(error);
        return false;
    }
    return true;
}

bool MonitorLibrary::Initialize(MonitorRegistry& registry) {
    MONITORREG functions = MonitorRegFunctions();
    MONITORINIT init = BaseInit(registry.Root());
    init.hSpooler = SpoolerHandle(registry);
    init.pMonitorReg = &functions;
    const bool started = Start(&init);
    Overwrite(&init);
    Overwrite(&functions);
    return started;
}

bool MonitorLibrary::InitializeWithoutRegistry(HKEY root) {
    MONITORINIT init = BaseInit(root);
    const bool started = Start(&init);
    Overwrite(&init);
    return started;
}

bool MonitorLibrary::InitializeWithNull() {
    return Start(nullptr);
}

bool MonitorLibrary::Start(PMONITORINIT init) {
    if (initialize_ == nullptr) {
        return false;
    }
    HANDLE monitor = nullptr;
    const MONITOR2* table = initialize_(init, &monitor);
    if (table == nullptr) {
        return false;
    }
    Shutdown();
    table_ = table;
    monitor_ = monitor;
    return true;
}

void MonitorLibrary::Shutdown() {
    if (table_ != nullptr && table_->pfnShutdown != nullptr) {
        table_->pfnShutdown(monitor_);
    }
    table_ = nullptr;
    monitor_ = nullptr;
}

bool MonitorLibrary::Unload() {
    if (module_ == nullptr) {
        return true;
    }
    Shutdown();
    const HMODULE module = module_;
    module_ = nullptr;
    initialize_ = nullptr;
    FreeLibrary(module);
    HMODULE still_mapped = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                  GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              reinterpret_cast<LPCWSTR>(module), &still_mapped) == FALSE;
}

}  // namespace ksp::host
