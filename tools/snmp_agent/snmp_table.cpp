#include "tools/snmp_agent/snmp_table.h"

#include <algorithm>
#include <vector>

namespace ksp::agent {
namespace {

SnmpBinding Get(const SnmpRows& rows, const Oid& oid) {
    if (const auto found = rows.find(oid); found != rows.end()) {
        return {oid, found->second};
    }
    const Oid object(oid.begin(), oid.end() - 1);
    const auto sibling = rows.lower_bound(object);
    const bool known = sibling != rows.end() && StartsWith(sibling->first, object);
    return {oid, {static_cast<uint8_t>(known ? kNoSuchInstance : kNoSuchObject)}};
}

SnmpBinding GetNext(const SnmpRows& rows, const Oid& oid) {
    const auto next = rows.upper_bound(oid);
    if (next == rows.end()) {
        return {oid, {kEndOfMibView}};
    }
    return {next->first, next->second};
}

bool IsMissing(const SnmpBinding& binding) {
    return binding.value.tag >= kNoSuchObject && binding.value.tag <= kEndOfMibView;
}

void Refuse(SnmpMessage* response, SnmpError error, size_t index) {
    response->error = static_cast<int32_t>(error);
    response->error_index = static_cast<int32_t>(index);
}

using Lookup = SnmpBinding (*)(const SnmpRows& rows, const Oid& oid);

void AnswerEach(const SnmpRows& rows, Lookup lookup, SnmpMessage* response) {
    std::vector<SnmpBinding> found;
    for (const SnmpBinding& asked : response->bindings) {
        found.push_back(lookup(rows, asked.oid));
        if (response->version == SnmpVersion::kV1 && IsMissing(found.back())) {
            Refuse(response, SnmpError::kNoSuchName, found.size());
            return;
        }
    }
    response->bindings = std::move(found);
}

void AnswerBulk(const SnmpRows& rows, const SnmpMessage& request, SnmpMessage* response) {
    const size_t all = request.bindings.size();
    const size_t once = std::min(static_cast<size_t>(std::max(request.error, 0)), all);
    std::vector<SnmpBinding> found;
    for (size_t i = 0; i < once; ++i) {
        found.push_back(GetNext(rows, request.bindings[i].oid));
    }
    std::vector<Oid> places;
    for (size_t i = once; i < all; ++i) {
        places.push_back(request.bindings[i].oid);
    }
    bool more = !places.empty();
    for (int32_t row = 0; more && row < request.error_index; ++row) {
        more = false;
        for (Oid& place : places) {
            if (found.size() >= kMostBindings) {
                more = false;
                break;
            }
            found.push_back(GetNext(rows, place));
            place = found.back().oid;
            more = more || !IsMissing(found.back());
        }
    }
    response->bindings = std::move(found);
}

}  // namespace

std::optional<SnmpMessage> Answer(const SnmpRows& rows, const SnmpMessage& request) {
    const bool v1 = request.version == SnmpVersion::kV1;
    SnmpMessage response = request;
    response.operation = SnmpOperation::kResponse;
    response.error = static_cast<int32_t>(SnmpError::kNone);
    response.error_index = 0;
    switch (request.operation) {
        case SnmpOperation::kGet:
            AnswerEach(rows, Get, &response);
            return response;
        case SnmpOperation::kGetNext:
            AnswerEach(rows, GetNext, &response);
            return response;
        case SnmpOperation::kGetBulk:
            if (v1) {
                return std::nullopt;
            }
            AnswerBulk(rows, request, &response);
            return response;
        case SnmpOperation::kSet:
            Refuse(&response, v1 ? SnmpError::kNoSuchName : SnmpError::kNotWritable, 1);
            return response;
        case SnmpOperation::kResponse:
            break;
    }
    return std::nullopt;
}

}  // namespace ksp::agent
