#pragma once

#include "snmp/object_id.h"

namespace ksp::snmp {

// The objects of the standard MIBs by which devices are known. Functions rather than constants: an
// id owns memory, and the library has no start-up code to fail in.

// System group, RFC 3418; scalars, whose one variable is number 0 behind them.
[[nodiscard]] inline CObjectId SysDescr() {
    return {1, 3, 6, 1, 2, 1, 1, 1};
}
[[nodiscard]] inline CObjectId SysName() {
    return {1, 3, 6, 1, 2, 1, 1, 5};
}

// Interfaces, RFC 2863: a column, a row for each ifIndex.
[[nodiscard]] inline CObjectId IfPhysAddress() {
    return {1, 3, 6, 1, 2, 1, 2, 2, 1, 6};
}
// IP group, RFC 4293 (older than it, and what agents have): a column, a row for each IPv4 address.
[[nodiscard]] inline CObjectId IpAdEntIfIndex() {
    return {1, 3, 6, 1, 2, 1, 4, 20, 1, 2};
}

// Host Resources, RFC 2790: columns, a row for each hrDeviceIndex. The printer MIB (RFC 3805) keeps
// to the same index. Only printers have a row in the second one.
[[nodiscard]] inline CObjectId HrDeviceDescr() {
    return {1, 3, 6, 1, 2, 1, 25, 3, 2, 1, 3};
}
[[nodiscard]] inline CObjectId HrPrinterStatus() {
    return {1, 3, 6, 1, 2, 1, 25, 3, 5, 1, 1};
}

}  // namespace ksp::snmp
