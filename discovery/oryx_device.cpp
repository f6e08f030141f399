#include "discovery/oryx_wrapper.h"

#include "discovery/discovery_documents.h"
#include "discovery/library_owners.h"
#include "discovery/utf8.h"
#include "discovery/xml_document.h"
#include "support/log.h"

namespace ksp {

namespace {

constexpr wchar_t kPrinterStatusOid[] = L"1.3.6.1.2.1.25.3.5.1.1";
constexpr wchar_t kErrorStateOid[] = L"1.3.6.1.2.1.25.3.5.1.2";

const wchar_t* NameOf(SnmpType type) {
    return type == SnmpType::kOctetString ? L"octetString" : L"integer";
}

}  // namespace

DeviceHandle CKspOryxWrapper::OpenDevice(const std::wstring& address, bool usePrinterValueWait) {
    const auto utf8Address = ToUtf8(address);
    const auto settings = ToUtf8(DeviceHandleDocument(
        usePrinterValueWait ? m_printerValueWait : m_statusReplyWait, m_retry, m_retryInterval));
    if (!utf8Address || !settings) {
        return 0;
    }
    const DeviceHandle device =
        Library().KSCreateDeviceHandle(m_stream, utf8Address->c_str(), settings->c_str());
    if (device < 1) {
        Log(LogLevel::kError, L"Failed Create Device Handle");
        return 0;
    }
    return device;
}

bool CKspOryxWrapper::ReadDeviceIdentity(const std::wstring& address, CDeviceRecord& record) {
    if (m_stream == nullptr) {
        return false;
    }
    const CDeviceHandle device(Library(), m_stream, OpenDevice(address, true));
    if (!device.IsOpen()) {
        Log(LogLevel::kError, L"Failed create device handle");
        return false;
    }
    CLibraryBuffer capability(Library(), m_stream, device.Get());
    if (Library().KSGetDeviceCapability(m_stream, device.Get(), capability.Receive()) == 0 ||
        capability.Text() == nullptr) {
        Log(LogLevel::kError, L"Failed get device capability.");
        return false;
    }
    record = ReadDeviceRecord(DocumentText(capability.Text()), m_ipv4, m_ipv6);
    if (record.MacAddress.empty() && !AskMacAddress(device.Get(), record.MacAddress)) {
        Log(LogLevel::kInfo, L"Failed get mac address.");
        return false;
    }
    return true;
}

int CKspOryxWrapper::Ask(DeviceHandle device, const std::string& request, CLibraryBuffer& reply) {
    const int error =
        Library().KSSendRecvStream(m_stream, device, request.c_str(), reply.Receive(), 0);
    Library().KSRecvCancel(m_stream, device);
    return error;
}

bool CKspOryxWrapper::AskMacAddress(DeviceHandle device, std::wstring& macAddress) {
    const auto request = ToUtf8(MacAddressRequest());
    if (!request) {
        return false;
    }
    CLibraryBuffer reply(Library(), m_stream, device);
    if (const int error = Ask(device, *request, reply); error != 0) {
        Log(LogLevel::kTrace, L"Failed SendRecvStream. %d", error);
        return false;
    }
    CMacAddressReply answer = ReadMacAddressReply(DocumentText(reply.Text()));
    if (answer.result != S_OK) {
        Log(LogLevel::kTrace, L"Failed Open Xml Document. %d", answer.result);
        return false;
    }
    macAddress = std::move(answer.macAddress);
    return !macAddress.empty();
}

bool CKspOryxWrapper::ReadStatus(const std::wstring& address, CPrinterCondition& condition) {
    if (m_stream == nullptr) {
        return false;
    }
    const CDeviceHandle device(Library(), m_stream, OpenDevice(address, false));
    return device.IsOpen() && GetStatus(device.Get(), condition);
}

bool CKspOryxWrapper::GetStatus(DeviceHandle device, CPrinterCondition& condition) {
    if (!GetOIDValue(device, kPrinterStatusOid, SnmpType::kInteger, condition.state)) {
        Log(LogLevel::kError, L"Failed GetOIDSValue (Status)");
        return false;
    }
    if (!GetOIDValue(device, kErrorStateOid, SnmpType::kOctetString, condition.errors)) {
        Log(LogLevel::kError, L"Failed GetOIDSValue (Error Status)");
        return false;
    }
    return true;
}

bool CKspOryxWrapper::GetOIDValue(DeviceHandle device, const wchar_t* oid, SnmpType type,
                                  std::uint32_t& value) {
    const auto request = ToUtf8(MibRequest(oid, NameOf(type)));
    if (!request) {
        Log(LogLevel::kError, L"Conversion to UTF-8 of a parameter went wrong.");
        return false;
    }
    CLibraryBuffer reply(Library(), m_stream, device);
    if (Ask(device, *request, reply) != 0) {
        Log(LogLevel::kError, L"failed send/recv stream in get oids value");
        return false;
    }
    if (reply.Text() == nullptr) {
        ::OutputDebugStringW(L"COryxProbe::GetOIDSValue (Exit)\n");
        return false;
    }
    const auto read = ReadMimeValue(Library(), reply.Text(), type);
    if (!read) {
        return false;
    }
    value = *read;
    return true;
}

}  // namespace ksp
