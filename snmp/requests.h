#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "snmp/device_query.h"
#include "snmp/search_range.h"
#include "snmp/timing.h"

namespace ksp::snmp {

// The documents that the library is given, read.

// How a device is talked to: <DeviceHandleSetting> with <TimeOut>, <Retry>, <RetryInterval>. What
// the document does not say, or says in no number of 32 bits, keeps its default. A time-out of 0
// means the default too.
[[nodiscard]] CTiming ReadDeviceSettings(std::string_view document);

// How a search goes: <ProbeMode> with the same three, and
//   <Mode OverRouter="FALSE">                     only the local segments
//   <Address networkAddress="" subnetMask="" />   another network to search
//   <Protocol ip="IPv4" />                        without IPv4 there is nothing to search
struct CProbeMode {
    CTiming timing;
    bool ipv4 = true;
    std::vector<CNetwork> networks;
};
// None when the document is malformed.
[[nodiscard]] std::optional<CProbeMode> ReadProbeMode(std::string_view document);

// What is asked of a device.
enum class ValueType : std::uint8_t { kInteger, kOctetString };
struct CDataRequest {
    bool macAddress = false;  // <d id="MACAddress" />; else the variable below
    CQuestion question;
    ValueType type = ValueType::kInteger;
};
// A MIB request is <Group id="access=MIB;oid=...;type=...;rtype=...">, with the types "integer" and
// "octetString" and the request types "GetRequest" and "GetNextRequest". None for anything else.
[[nodiscard]] std::optional<CDataRequest> ReadDataRequest(std::string_view document);

}  // namespace ksp::snmp
