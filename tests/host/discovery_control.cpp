#include "tests/host/discovery_control.h"

#include <iterator>
#include <sstream>
#include <utility>

namespace ksp::test {
namespace {

constexpr wchar_t kFileName[] = L"KSSTRMAPIe.dll";

constexpr const char* kNames[] = {
    "KSCreateStream",   "KSInitialize",          "KSSetProbeMode",       "KSProbe",
    "KSStopProbe",      "KSGetDeviceCapability", "KSDeleteBuffer",       "KSTerminate",
    "KSDeleteStream",   "KSSendStream",          "KSGetRecvStatus",      "KSRecvStream",
    "KSSendRecvStream", "KSRecvCancel",          "KSCreateDeviceHandle", "KSDeleteDeviceHandle",
    "KSCreateMIMEUtil", "KSDeleteMIMEUtil",      "KSMIMEEncode",         "KSMIMEDecode",
    "KSMIMESplitData",  "KSMIMEGetData",         "KSMIMEDeleteBuffer",   "ProbeCallback",
};
static_assert(std::size(kNames) == DiscoveryFunctionCount);

std::wstring BuildDirectory(const std::wstring& name) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring path = program;
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"discovery\\" + name;
}

std::string Text(const char* text) {
    return text == nullptr ? std::string() : std::string(text);
}

const char* Pointer(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
}

DiscoveryFault NaturalFailure(DiscoveryFunction function, DWORD nth) {
    DiscoveryFault fault = {
        .function = function, .nth = nth, .and_later = FALSE, .kind = DiscoveryFail, .result = -1};
    switch (function) {
        case DiscoveryCreateStream:
        case DiscoveryProbe:
        case DiscoveryGetDeviceCapability:
        case DiscoveryCreateDeviceHandle:
        case DiscoveryCreateMIMEUtil:
            fault.result = 0;
            break;
        case DiscoveryInitialize:
        case DiscoverySendRecvStream:
        case DiscoveryMIMEDecode:
        case DiscoveryMIMESplitData:
        case DiscoveryMIMEGetData:
            break;
        default:
            fault.kind = DiscoveryDoAndFail;
            break;
    }
    return fault;
}

}  // namespace

DiscoveryControl::~DiscoveryControl() {
    if (table_ != nullptr) {
        Reset();
    }
}

std::wstring DiscoveryControl::FullDirectory() {
    return BuildDirectory(L"full");
}

std::wstring DiscoveryControl::DirectoryWithout(DiscoveryFunction missing) {
    const std::string name = ExportName(missing);
    return BuildDirectory(L"without_" + std::wstring(name.begin(), name.end()));
}

bool DiscoveryControl::Connect(const std::wstring& directory) {
    const HMODULE module = LoadLibraryW((directory + L"\\" + kFileName).c_str());
    if (module == nullptr) {
        return false;
    }
    const auto function = reinterpret_cast<DiscoveryControlFunction>(
        reinterpret_cast<void*>(GetProcAddress(module, DISCOVERY_CONTROL_EXPORT)));
    if (function == nullptr) {
        return false;
    }
    const DiscoveryControlTable* table = function();
    if (table->size != sizeof(*table) || table->version != DISCOVERY_CONTROL_VERSION) {
        return false;
    }
    table_ = table;
    return true;
}

void DiscoveryControl::Reset() {
    table_->Reset();
    hooks_ = {};
}

void DiscoveryControl::AddDevice(const Device& device) {
    const DiscoveryDevice info = {
        .address = device.address.c_str(),
        .mac = Pointer(device.mac),
        .name = device.name.c_str(),
        .device_id = device.device_id.c_str(),
        .capability = device.document ? DiscoveryCapabilityGiven : device.capability,
        .document = Pointer(device.document),
        .silent = device.silent ? TRUE : FALSE};
    table_->PutDevice(&info);
}

bool DiscoveryControl::RemoveDevice(const std::string& address) {
    return table_->RemoveDevice(address.c_str()) != FALSE;
}

bool DiscoveryControl::SetValue(const std::string& address, const std::string& oid,
                                const std::vector<uint8_t>& bytes) {
    return SetMimeReply(address, oid, {.bytes = bytes});
}

bool DiscoveryControl::SetMimeReply(const std::string& address, const std::string& oid,
                                    const MimeReply& reply) {
    // An empty vector may have no address, but null stands for no bytes at all.
    static constexpr uint8_t kNothing = 0;
    DiscoveryReply info = {};
    info.kind = DiscoveryReplyValue;
    info.result = reply.result;
    if (reply.bytes) {
        info.bytes = reply.bytes->empty() ? &kNothing : reply.bytes->data();
        info.size = static_cast<DWORD>(reply.bytes->size());
    }
    info.count = reply.count.value_or(static_cast<int>(info.size));
    info.header = Pointer(reply.header);
    info.part_name = reply.part_name.c_str();
    return SetReply(address, oid, info);
}

bool DiscoveryControl::SetTextReply(const std::string& address, const std::string& item,
                                    const std::string& text, int result) {
    DiscoveryReply info = {};
    info.kind = DiscoveryReplyText;
    info.result = result;
    info.text = text.c_str();
    return SetReply(address, item, info);
}

bool DiscoveryControl::SetNoReply(const std::string& address, const std::string& item, int result) {
    DiscoveryReply info = {};
    info.kind = DiscoveryReplyNone;
    info.result = result;
    return SetReply(address, item, info);
}

bool DiscoveryControl::SetReply(const std::string& address, const std::string& item,
                                const DiscoveryReply& reply) {
    return table_->SetReply(address.c_str(), item.c_str(), &reply) != FALSE;
}

void DiscoveryControl::SetAnswers(const std::vector<Answer>& answers) {
    std::vector<DiscoveryAnswer> script;
    script.reserve(answers.size());
    for (const Answer& answer : answers) {
        script.push_back({.address = answer.address.empty() ? nullptr : answer.address.c_str(),
                          .code = answer.code,
                          .thread = answer.thread,
                          .delay_ms = answer.delay_ms,
                          .moment = answer.moment});
    }
    table_->SetAnswers(script.data(), static_cast<DWORD>(script.size()));
}

void DiscoveryControl::ClearAnswers() {
    table_->ClearAnswers();
}

size_t DiscoveryControl::GiveLateAnswers() {
    return table_->GiveLateAnswers();
}

std::vector<DiscoveryControl::Call> DiscoveryControl::Calls() const {
    std::vector<Call> calls;
    DiscoveryCall call = {};
    while (table_->GetCall(static_cast<DWORD>(calls.size()), &call)) {
        calls.push_back({.function = call.function,
                         .thread_id = call.thread_id,
                         .object = call.object,
                         .device = call.device,
                         .buffer = call.buffer,
                         .data = call.data,
                         .code = call.code,
                         .result = call.result,
                         .address = Text(call.address),
                         .text = Text(call.text),
                         .settings = Text(call.settings),
                         .output = Text(call.output)});
    }
    return calls;
}

std::vector<DiscoveryControl::Call> DiscoveryControl::Calls(DiscoveryFunction function) const {
    std::vector<Call> calls = Calls();
    std::erase_if(calls, [&](const Call& call) { return call.function != function; });
    return calls;
}

std::vector<std::string> DiscoveryControl::Texts(DiscoveryFunction function) const {
    std::vector<std::string> texts;
    for (Call& call : Calls(function)) {
        texts.push_back(std::move(call.text));
    }
    return texts;
}

void DiscoveryControl::ClearCalls() {
    table_->ClearCalls();
}

DiscoveryHeld DiscoveryControl::Held() const {
    DiscoveryHeld held = {};
    table_->GetHeld(&held);
    return held;
}

std::vector<std::string> DiscoveryControl::Misuses() const {
    std::vector<std::string> misuses;
    DiscoveryMisuse misuse = {};
    while (table_->GetMisuse(static_cast<DWORD>(misuses.size()), &misuse)) {
        misuses.push_back(std::string(ExportName(misuse.function)) + ": " + misuse.text);
    }
    return misuses;
}

std::string DiscoveryControl::Leftovers() const {
    const DiscoveryHeld held = Held();
    const std::pair<const char*, DWORD> counts[] = {
        {"streams", held.streams},           {"device handles", held.device_handles},
        {"library buffers", held.buffers},   {"MIME utilities", held.mime_utilities},
        {"MIME buffers", held.mime_buffers}, {"probes", held.probes},
    };
    std::ostringstream lines;
    for (const auto& [what, count] : counts) {
        if (count != 0) {
            lines << "held: " << count << " " << what << "\n";
        }
    }
    for (const std::string& misuse : Misuses()) {
        lines << "misuse: " << misuse << "\n";
    }
    return lines.str();
}

void DiscoveryControl::FailNth(DiscoveryFunction function, DWORD nth) {
    AddFault(NaturalFailure(function, nth));
}

void DiscoveryControl::FailNth(DiscoveryFunction function, DWORD nth, intptr_t result) {
    DiscoveryFault fault = NaturalFailure(function, nth);
    fault.result = result;
    AddFault(fault);
}

void DiscoveryControl::FailFrom(DiscoveryFunction function, DWORD nth) {
    DiscoveryFault fault = NaturalFailure(function, nth);
    fault.and_later = TRUE;
    AddFault(fault);
}

void DiscoveryControl::EmptyNth(DiscoveryFunction function, DWORD nth) {
    AddFault({.function = function,
              .nth = nth,
              .and_later = FALSE,
              .kind = DiscoverySucceedEmpty,
              .result = 0});
}

void DiscoveryControl::AddFault(const DiscoveryFault& fault) {
    table_->AddFault(&fault);
}

void DiscoveryControl::ClearFaults() {
    table_->ClearFaults();
}

void DiscoveryControl::SetHook(DiscoveryFunction function, HookFunction hook) {
    const bool wanted = static_cast<bool>(hook);
    hooks_[function] = std::move(hook);
    table_->SetHook(function, wanted ? RunHook : nullptr, this);
}

void CALLBACK DiscoveryControl::RunHook(void* context, DiscoveryFunction function) {
    static_cast<DiscoveryControl*>(context)->hooks_[function]();
}

const char* ExportName(DiscoveryFunction function) {
    return kNames[function];
}

std::string DescribeCall(const DiscoveryControl::Call& call) {
    std::ostringstream line;
    line << ExportName(call.function);
    if (!call.address.empty()) {
        line << " " << call.address;
    }
    if (!call.text.empty()) {
        line << " '" << call.text << "'";
    }
    if (!call.settings.empty()) {
        line << " '" << call.settings << "'";
    }
    if (call.function == DiscoveryProbeCallback) {
        line << " code " << call.code;
    } else {
        line << " -> " << call.result;
    }
    return line.str();
}

}  // namespace ksp::test
