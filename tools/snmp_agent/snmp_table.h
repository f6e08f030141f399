#pragma once

#include <map>
#include <optional>

#include "tools/snmp_agent/snmp_message.h"

namespace ksp::agent {

// What an agent knows, in the order in which get-next walks it.
using SnmpRows = std::map<Oid, SnmpValue>;

// The response to a request as RFC 1157 (v1) and RFC 3416 (v2c) have it:
//   get, get-next   v1: noSuchName with the variable's index, and nothing else answered;
//                   v2c: noSuchObject, noSuchInstance or endOfMibView in the variable's place.
//                   An instance is missed where the rows hold another one of the same object.
//   get-bulk        v2c only. At most kMostBindings variables are answered.
//   set             refused: noSuchName (v1) or notWritable (v2c)
// None for what an agent does not answer: a response, and get-bulk in v1.
std::optional<SnmpMessage> Answer(const SnmpRows& rows, const SnmpMessage& request);

inline constexpr size_t kMostBindings = 100;

}  // namespace ksp::agent
