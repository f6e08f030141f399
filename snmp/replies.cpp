#include "snmp/replies.h"

#include "snmp/xml_text.h"

namespace ksp::snmp {

std::string CapabilityDocument(const CDeviceIdentity& identity) {
    return std::string(kXmlDeclaration) + "<DeviceCapability><Identity>" +
           XmlElement("Device_ID", identity.id) + XmlElement("Device_Name", identity.name) +
           "</Identity><Network>" + XmlElement("MAC_Address", identity.mac) +
           XmlElement("IPV4_Address", AddressText(identity.address)) +
           "</Network></DeviceCapability>";
}

std::string MacAddressDocument(const CDeviceIdentity& identity) {
    return std::string(kXmlDeclaration) +
           "<GetData><DataInfo><Data><Group id=\"GetData\"><d id=\"MACAddress\">" +
           EscapeXml(identity.mac.empty() ? "-1" : identity.mac) +
           "</d></Group></Data></DataInfo></GetData>";
}

std::optional<std::string> ValueBytes(const CDataRequest& request, const CAnswer& answer) {
    if (!answer.found || !answer.id.BeginsWith(request.question.id)) {
        return std::nullopt;
    }
    const bool isOctets = answer.value.kind == ValueKind::kOctets;
    if (answer.value.kind == ValueKind::kNone ||
        isOctets != (request.type == ValueType::kOctetString)) {
        return std::nullopt;
    }
    if (isOctets) {
        return answer.value.octets;
    }
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(answer.value.number >> shift & 0xFF);
    }
    return bytes;
}

}  // namespace ksp::snmp
