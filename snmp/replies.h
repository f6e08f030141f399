#pragma once

#include <optional>
#include <string>

#include "snmp/requests.h"

namespace ksp::snmp {

// The documents that the library hands out.

// <DeviceCapability> with the elements Device_ID, Device_Name, MAC_Address and IPV4_Address below
// it; an element is empty when the device did not say.
[[nodiscard]] std::string CapabilityDocument(const CDeviceIdentity& identity);

// <GetData> with <d id="MACAddress">; its text is "-1" for a device without one.
[[nodiscard]] std::string MacAddressDocument(const CDeviceIdentity& identity);

// The bytes of a value, which go into a MIME message: an integer as 4 bytes, little-endian; an
// octet string as it is. None when there is no value of the type that was asked for, or the value
// found is not the asked column's.
[[nodiscard]] std::optional<std::string> ValueBytes(const CDataRequest& request,
                                                    const CAnswer& answer);

}  // namespace ksp::snmp
