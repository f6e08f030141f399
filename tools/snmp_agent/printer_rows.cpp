#include "tools/snmp_agent/printer_rows.h"

namespace ksp::agent {
namespace {

constexpr int32_t kEthernet = 6;   // ifType, RFC 1213
constexpr int32_t kLoopback = 24;  // ifType
constexpr int32_t kLoopbackInterface = 1;
constexpr int32_t kEthernetInterface = 2;
constexpr int32_t kUp = 1;       // ifAdminStatus, ifOperStatus
constexpr int32_t kRunning = 2;  // hrDeviceStatus, RFC 2790
constexpr std::string_view kEnterprise = "1.3.6.1.4.1.99999.1";
constexpr std::string_view kDeviceIsPrinter = "1.3.6.1.2.1.25.3.1.5";

void AddSystem(const PrinterFacts& facts, SnmpRows* rows) {
    (*rows)[OidOf("1.3.6.1.2.1.1.1.0")] = SnmpValue::Octets(facts.model);           // sysDescr
    (*rows)[OidOf("1.3.6.1.2.1.1.2.0")] = SnmpValue::Identifier(kEnterprise);       // sysObjectID
    (*rows)[OidOf("1.3.6.1.2.1.1.3.0")] = SnmpValue::Ticks(360'000);                // sysUpTime
    (*rows)[OidOf("1.3.6.1.2.1.1.4.0")] = SnmpValue::Octets("");                    // sysContact
    (*rows)[OidOf("1.3.6.1.2.1.1.5.0")] = SnmpValue::Octets(facts.name);            // sysName
    (*rows)[OidOf("1.3.6.1.2.1.1.6.0")] = SnmpValue::Octets("beside the spooler");  // sysLocation
}

void AddInterface(int32_t index, std::string_view name, int32_t type, std::string_view mac,
                  SnmpRows* rows) {
    const Oid row = {static_cast<uint32_t>(index)};
    (*rows)[Row("1.3.6.1.2.1.2.2.1.1", row)] = SnmpValue::Integer(index);    // ifIndex
    (*rows)[Row("1.3.6.1.2.1.2.2.1.2", row)] = SnmpValue::Octets(name);      // ifDescr
    (*rows)[Row("1.3.6.1.2.1.2.2.1.3", row)] = SnmpValue::Integer(type);     // ifType
    (*rows)[Row("1.3.6.1.2.1.2.2.1.6", row)] = SnmpValue::Octets(mac);       // ifPhysAddress
    (*rows)[Row("1.3.6.1.2.1.2.2.1.7", row)] = SnmpValue::Integer(kUp);      // ifAdminStatus
    (*rows)[Row("1.3.6.1.2.1.2.2.1.8", row)] = SnmpValue::Integer(kUp);      // ifOperStatus
    (*rows)[Row("1.3.6.1.2.1.2.2.1.10", row)] = SnmpValue::Counter(100000);  // ifInOctets
}

void AddAddress(const std::string& address, int32_t interface_index, SnmpRows* rows) {
    const Oid row = OidOf(address);
    (*rows)[Row("1.3.6.1.2.1.4.20.1.1", row)] = SnmpValue::Address(address);  // ipAdEntAddr
    (*rows)[Row("1.3.6.1.2.1.4.20.1.2", row)] =
        SnmpValue::Integer(interface_index);  // ipAdEntIfIndex
    (*rows)[Row("1.3.6.1.2.1.4.20.1.3", row)] =
        SnmpValue::Address("255.255.255.0");  // ipAdEntNetMask
}

void AddDevice(const PrinterFacts& facts, SnmpRows* rows) {
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.1.1")] = SnmpValue::Integer(1);  // hrDeviceIndex
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.2.1")] =
        SnmpValue::Identifier(kDeviceIsPrinter);                                  // hrDeviceType
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.3.1")] = SnmpValue::Octets(facts.model);  // hrDeviceDescr
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.4.1")] = SnmpValue::Identifier("0.0");    // hrDeviceID
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.5.1")] = SnmpValue::Integer(kRunning);    // hrDeviceStatus
    (*rows)[OidOf("1.3.6.1.2.1.25.3.2.1.6.1")] = SnmpValue::Counter(0);           // hrDeviceErrors
    (*rows)[OidOf(kPrinterStateRow)] = StateValue(facts.state);
    (*rows)[OidOf(kPrinterTroubleRow)] = TroubleValue(facts.trouble);
}

}  // namespace

SnmpValue StateValue(PrinterState state) {
    return SnmpValue::Integer(static_cast<int32_t>(state));
}

SnmpValue TroubleValue(uint8_t trouble) {
    return {kOctetString, {trouble}};
}

SnmpRows PrinterRows(const PrinterFacts& facts) {
    SnmpRows rows;
    AddSystem(facts, &rows);
    rows[OidOf("1.3.6.1.2.1.2.1.0")] = SnmpValue::Integer(kEthernetInterface);  // ifNumber
    AddInterface(kLoopbackInterface, "lo", kLoopback, "", &rows);
    AddInterface(kEthernetInterface, "eth0", kEthernet, facts.mac, &rows);
    AddAddress(facts.address, kEthernetInterface, &rows);
    AddDevice(facts, &rows);
    // prtGeneralPrinterName and prtGeneralSerialNumber of the device 1
    rows[OidOf("1.3.6.1.2.1.43.5.1.1.16.1")] = SnmpValue::Octets(facts.name);
    rows[OidOf("1.3.6.1.2.1.43.5.1.1.17.1")] = SnmpValue::Octets(facts.serial);
    return rows;
}

}  // namespace ksp::agent
