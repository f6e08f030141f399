#include "tests/faults/fault.h"

#include <algorithm>
#include <cstdlib>

#include "tests/faults/printer_failures.h"
#include "tests/faults/system_calls.h"

namespace ksp::test {
namespace {

constexpr const char* kOperations[] = {"CreateKey", "OpenKey",      "CloseKey", "DeleteKey",
                                       "EnumKey",   "QueryInfoKey", "SetValue", "DeleteValue",
                                       "EnumValue", "QueryValue"};

std::string FunctionName(Transport transport, const Fault& fault) {
    switch (fault.boundary) {
        case Boundary::kRegistry:
            return kOperations[fault.function];
        case Boundary::kSpooler:
            return NameOf(static_cast<WinspoolFunction>(fault.function));
        case Boundary::kDiscovery:
            return ExportName(static_cast<DiscoveryFunction>(fault.function));
        case Boundary::kSystem:
            return SystemFunctionName(fault.function);
        case Boundary::kPrinter:
            return "'" + FailuresOf(transport)[fault.nth - 1].name + "'";
        case Boundary::kMemory:
            break;
    }
    return "";
}

std::string Setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

void AppendCalls(Boundary boundary, const std::vector<size_t>& counts,
                 const std::vector<Fault::Kind>& kinds, std::vector<Fault>* faults) {
    for (size_t function = 0; function < counts.size(); ++function) {
        for (const Fault::Kind kind : kinds) {
            for (size_t nth = 1; nth <= counts[function]; ++nth) {
                faults->push_back({boundary, kind, static_cast<int>(function), nth});
            }
        }
    }
}

// Only a call that gives something can succeed without giving it.
std::vector<size_t> GivingCalls(const std::vector<size_t>& discovery) {
    std::vector<size_t> calls(discovery.size());
    for (const DiscoveryFunction function :
         {DiscoveryProbe, DiscoveryGetDeviceCapability, DiscoverySendRecvStream,
          DiscoveryMIMEDecode, DiscoveryMIMESplitData, DiscoveryMIMEGetData}) {
        calls[function] = discovery[function];
    }
    return calls;
}

// "2/4"; the whole when nothing is set.
struct Part {
    size_t number = 1;
    size_t of = 1;
};

Part ChosenPart() {
    const std::string text = Setting("KSP_FAULTS_PART");
    const size_t slash = text.find('/');
    if (slash == std::string::npos) {
        return {};
    }
    return {std::stoul(text.substr(0, slash)), std::stoul(text.substr(slash + 1))};
}

}  // namespace

bool Fault::IsOfSystem(std::initializer_list<std::string_view> names) const {
    return boundary == Boundary::kSystem &&
           std::find(names.begin(), names.end(), SystemFunctionName(function)) != names.end();
}

const char* NameOf(Transport transport) {
    switch (transport) {
        case Transport::kRaw:
            return "Raw";
        case Transport::kLpr:
            return "Lpr";
        case Transport::kXlpr:
            return "Xlpr";
        case Transport::kIdPrint:
            break;
    }
    return "IdPrint";
}

const char* NameOf(Boundary boundary) {
    switch (boundary) {
        case Boundary::kRegistry:
            return "registry";
        case Boundary::kSpooler:
            return "spooler";
        case Boundary::kDiscovery:
            return "discovery";
        case Boundary::kMemory:
            return "memory";
        case Boundary::kSystem:
            return "system";
        case Boundary::kPrinter:
            break;
    }
    return "printer";
}

std::string Describe(Transport transport, const Fault& fault) {
    if (fault.kind == Fault::Kind::kNone) {
        return "no fault";
    }
    std::string text = NameOf(fault.boundary);
    if (const std::string name = FunctionName(transport, fault); !name.empty()) {
        text += " " + name;
    }
    text += " " + std::to_string(fault.nth);
    switch (fault.kind) {
        case Fault::Kind::kEmpty:
            return text + " empty";
        case Fault::Kind::kHidden:
            return text + " hidden";
        case Fault::Kind::kNone:
        case Fault::Kind::kRefused:
            break;
    }
    return text;
}

std::vector<Fault> FaultsOf(Boundary boundary, const CallCounts& counts) {
    using Kind = Fault::Kind;
    std::vector<Fault> faults;
    switch (boundary) {
        case Boundary::kRegistry:
            AppendCalls(boundary, counts.registry, {Kind::kRefused}, &faults);
            break;
        case Boundary::kSpooler:
            AppendCalls(boundary, counts.spooler, {Kind::kRefused, Kind::kEmpty}, &faults);
            break;
        case Boundary::kDiscovery:
            AppendCalls(boundary, counts.discovery, {Kind::kRefused}, &faults);
            AppendCalls(boundary, GivingCalls(counts.discovery), {Kind::kEmpty}, &faults);
            break;
        case Boundary::kMemory:
            AppendCalls(boundary, {counts.memory}, {Kind::kRefused}, &faults);
            break;
        case Boundary::kSystem:
            AppendCalls(boundary, counts.system, {Kind::kRefused}, &faults);
            break;
        case Boundary::kPrinter:
            AppendCalls(boundary, {counts.printer}, {Kind::kRefused}, &faults);
            AppendCalls(boundary, {counts.hidden}, {Kind::kHidden}, &faults);
            break;
    }
    return faults;
}

std::vector<Fault> Selected(const std::vector<Fault>& faults, size_t sample) {
    // Every so many faults, from a place that is the same in every run but moves with the number of
    // faults, so that the sample is not always the beginning.
    constexpr size_t kStart = 7919;
    std::vector<Fault> selected;
    const Part part = ChosenPart();
    if (Setting("KSP_FAULTS") == "all") {
        for (const Fault& fault : faults) {
            if ((static_cast<size_t>(fault.function) + fault.nth) % part.of ==
                part.number % part.of) {
                selected.push_back(fault);
            }
        }
        return selected;
    }
    if (faults.empty()) {
        return selected;
    }
    const size_t step = (faults.size() + sample - 1) / sample;
    for (size_t index = kStart % step; index < faults.size(); index += step) {
        selected.push_back(faults[index]);
    }
    return selected;
}

}  // namespace ksp::test
