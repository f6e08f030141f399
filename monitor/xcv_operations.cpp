#include "monitor/xcv_operations.h"

#include <memory>
#include <new>
#include <string_view>

#include "monitor/silent_add.h"
#include "ports/registry_store.h"
#include "ports/xcv_forms.h"
#include "support/log.h"
#include "support/text.h"

namespace ksp {

namespace {

constexpr SIZE_T kTokenSize = 4;  // bytes

}  // namespace

struct CXcvOperations::Command {
    std::wstring_view name;
    LogText logged;
    bool clearsNeeded;  // the bytes needed are 0 unless the command says otherwise
    DWORD (CXcvOperations::*run)(CXcvBuffers&);
};

const CXcvOperations::Command CXcvOperations::kCommands[] = {
    {L"MonitorUI", L"Xcv MonitorUI", false, &CXcvOperations::MonitorUI},
    {L"AddPort", L"Xcv AddPort", true, &CXcvOperations::AddPort},
    {L"DeletePort", L"Xcv DeletePort", true, &CXcvOperations::DeletePort},
    {L"PortExists", L"Xcv PortExists", true, &CXcvOperations::PortExists},
    {L"IsKspPort", L"Xcv IsKspPort", true, &CXcvOperations::IsKspPort},
    {L"GetMonitorType", L"Xcv MonitorType", true, &CXcvOperations::GetMonitorType},
    {L"ConfigurePort", L"Xcv ConfigurePort", true, &CXcvOperations::ConfigurePort},
    {L"GetPortConfig", L"Xcv GetPortConfig", true, &CXcvOperations::GetPortConfig},
    {L"SilentAddPort", L"Xcv SilentAddPort", true, &CXcvOperations::SilentAddPort},
};

bool CXcvOperations::XcvOpenPort(HANDLE* xcv) {
    Log(LogLevel::kTrace, L"called xcv open port");
    if (xcv == nullptr) {
        return false;
    }
    *xcv = ::GlobalAlloc(GPTR, kTokenSize);
    if (*xcv == nullptr) {
        Log(LogLevel::kCritical, L"memory allocation failure");
        return false;
    }
    Log(LogLevel::kTrace, L"success xcv open port");
    return true;
}

bool CXcvOperations::XcvClosePort(HANDLE xcv) {
    try {
        Log(LogLevel::kTrace, L"called xcv close port");
        ::GlobalFree(xcv);
        return true;
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in XcvClosePort");
        return false;
    }
}

DWORD CXcvOperations::XcvDataPort(const wchar_t* command, BYTE* input, DWORD inputSize,
                                  BYTE* output, DWORD outputSize, DWORD* needed) {
    try {
        Log(LogLevel::kTrace, L"called xcv data port");
        CXcvBuffers buffers(input, inputSize, output, outputSize, needed);
        return Run(command, buffers);
    } catch (...) {
        Log(LogLevel::kCritical, L"Exception error in XcvDataPort");
        return ERROR_INVALID_FUNCTION;
    }
}

DWORD CXcvOperations::Run(const wchar_t* name, CXcvBuffers& buffers) {
    if (name != nullptr) {
        for (const Command& command : kCommands) {
            if (command.name == name) {
                Log(LogLevel::kTrace, command.logged);
                if (command.clearsNeeded) {
                    buffers.SetNeeded(0);
                }
                return (this->*command.run)(buffers);
            }
        }
    }
    Log(LogLevel::kInfo, L"invalid data name recved in XcvDataPort: %s", name);
    return ERROR_INVALID_PARAMETER;
}

DWORD CXcvOperations::MonitorUI(CXcvBuffers& buffers) {
    const std::wstring_view library =
        m_manager.Type() == MonitorType::kIdPrint ? L"kssppui.dll" : L"ksppui.dll";
    const std::size_t size = (library.size() + 1) * sizeof(wchar_t);
    buffers.SetNeeded(size);
    if (!buffers.HasRoom(size)) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    buffers.Write(library.data(), size);
    return ERROR_SUCCESS;
}

DWORD CXcvOperations::AddPort(CXcvBuffers& buffers) {
    if (buffers.InputSize() == 0) {
        return ERROR_INVALID_DATA;
    }
    CPortInfo info;
    if (SetFromAddPortXcvString(buffers.InputText(), m_manager.Type() == MonitorType::kIdPrint,
                                info) == 0) {
        return ERROR_INVALID_DATA;
    }
    const bool added = m_manager.AddPort(info);
    const DWORD code = ::GetLastError();
    if (added) {
        buffers.WriteInput(info.PortName);
    } else {
        Log(LogLevel::kError, L"error adding port to list");
    }
    return code;
}

DWORD CXcvOperations::DeletePort(CXcvBuffers& buffers) {
    return m_manager.DeletePort(buffers.InputText()) ? ERROR_SUCCESS : ERROR_NOT_READY;
}

DWORD CXcvOperations::PortExists(CXcvBuffers& buffers) {
    return CPortManager::PortExistsInSystem(buffers.InputText().c_str());
}

DWORD CXcvOperations::IsKspPort(CXcvBuffers& buffers) {
    const BOOL known =
        m_manager.Ports().FindPortIdByName(buffers.InputText()) != CPortManager::kNoId;
    if (known == FALSE) {
        Log(LogLevel::kError, L"invalidate Port");
    }
    if (buffers.HasRoom(sizeof(known))) {
        buffers.Write(&known, sizeof(known));
    }
    return ERROR_SUCCESS;
}

DWORD CXcvOperations::GetMonitorType(CXcvBuffers& buffers) {
    const auto type = static_cast<std::uint32_t>(m_manager.Type());
    if (!buffers.HasRoom(sizeof(type))) {
        buffers.SetNeeded(sizeof(type));
        return ERROR_INSUFFICIENT_BUFFER;
    }
    buffers.Write(&type, sizeof(type));
    return ERROR_SUCCESS;
}

DWORD CXcvOperations::ConfigurePort(CXcvBuffers& buffers) {
    if (buffers.InputSize() < sizeof(XcvPortInfo)) {
        return ERROR_INVALID_DATA;
    }
    // Copied first: the input need not be aligned as the record is.
    const auto record = std::make_unique<XcvPortInfo>();
    std::memcpy(record.get(), buffers.Input(), sizeof(*record));
    CPortInfo info;
    // Half a record would leave the port without its printer, here and in the registry.
    const bool whole = SetFromXcvInfo(*record, info) != 0;
    Log(LogLevel::kTrace, L"port data obtained...calling port manager to configure");
    if (!whole || !m_manager.ConfigurePort(info, false)) {
        Log(LogLevel::kError, L"error configuring port");
        return ERROR_INVALID_DATA;
    }
    return ERROR_SUCCESS;
}

DWORD CXcvOperations::GetPortConfig(CXcvBuffers& buffers) {
    if (!buffers.HasRoom(sizeof(XcvPortInfo))) {
        buffers.SetNeeded(sizeof(XcvPortInfo));
        return ERROR_INSUFFICIENT_BUFFER;
    }
    const auto port = m_manager.Ports().FindPortByName(buffers.InputText());
    if (!port) {
        Log(LogLevel::kError, L"error retrieving port");
        return ERROR_INVALID_DATA;
    }
    CPortInfo info;
    if (port->Name().empty()) {
        return ERROR_INVALID_DATA;
    }
    if (RegistryStore().ReadPort(port->Name().c_str(), info) == 0) {
        Log(LogLevel::kError, L"error retrieving port info");
        return ERROR_INVALID_DATA;
    }
    const std::unique_ptr<XcvPortInfo> record(new (std::nothrow) XcvPortInfo);
    if (!record) {
        return ERROR_INSUFFICIENT_BUFFER;
    }
    if (SetForXcvInfo(info, *record) == 0) {
        return ERROR_INVALID_DATA;
    }
    buffers.Write(record.get(), sizeof(*record));
    return ERROR_SUCCESS;
}

DWORD CXcvOperations::SilentAddPort(CXcvBuffers& buffers) {
    return ksp::SilentAddPort(m_manager, FromAnsi(buffers.InputBytes()));
}

}  // namespace ksp
