#include "tools/host/registry_tree.h"

#include <algorithm>
#include <utility>

namespace ksp::host {
namespace {

int CompareNames(const std::wstring& left, const std::wstring& right) {
    return CompareStringOrdinal(left.c_str(), static_cast<int>(left.size()), right.c_str(),
                                static_cast<int>(right.size()), TRUE);
}

ULONGLONG AsNumber(const FILETIME& time) {
    return (static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime;
}

FILETIME AsFileTime(ULONGLONG number) {
    return {static_cast<DWORD>(number), static_cast<DWORD>(number >> 32)};
}

}  // namespace

bool RegistryNameLess::operator()(const std::wstring& left, const std::wstring& right) const {
    return CompareNames(left, right) == CSTR_LESS_THAN;
}

RegistryNode::RegistryNode(std::wstring name) : name_(std::move(name)) {
    Touch();
}

std::shared_ptr<RegistryNode> RegistryNode::Find(std::wstring_view path) {
    std::shared_ptr<RegistryNode> node = shared_from_this();
    for (const std::wstring& name : SplitKeyPath(path)) {
        const auto found = node->subkeys_.find(name);
        if (found == node->subkeys_.end()) {
            return nullptr;
        }
        node = found->second;
    }
    return node;
}

std::shared_ptr<RegistryNode> RegistryNode::FindOrCreateSubkey(const std::wstring& name) {
    const auto [position, inserted] = subkeys_.try_emplace(name);
    if (inserted) {
        position->second = std::make_shared<RegistryNode>(name);
        Touch();
    }
    return position->second;
}

bool RegistryNode::RemoveSubkey(const std::wstring& name) {
    const auto found = subkeys_.find(name);
    if (found == subkeys_.end()) {
        return false;
    }
    found->second->MarkDeleted();
    subkeys_.erase(found);
    Touch();
    return true;
}

const RegistryValue* RegistryNode::FindValue(const std::wstring& name) const {
    for (const NamedValue& entry : values_) {
        if (CompareNames(entry.name, name) == CSTR_EQUAL) {
            return &entry.value;
        }
    }
    return nullptr;
}

void RegistryNode::StoreValue(const std::wstring& name, RegistryValue value) {
    Touch();
    for (NamedValue& entry : values_) {
        if (CompareNames(entry.name, name) == CSTR_EQUAL) {
            entry.value = std::move(value);
            return;
        }
    }
    values_.push_back({name, std::move(value)});
}

bool RegistryNode::RemoveValue(const std::wstring& name) {
    const auto removed = std::erase_if(values_, [&](const NamedValue& entry) {
        return CompareNames(entry.name, name) == CSTR_EQUAL;
    });
    if (removed == 0) {
        return false;
    }
    Touch();
    return true;
}

void RegistryNode::Touch() {
    // The clock may stand still between two writes; the later write still gets the later time.
    FILETIME now = {};
    GetSystemTimeAsFileTime(&now);
    last_write_ = AsFileTime(std::max(AsNumber(now), AsNumber(last_write_) + 1));
}

void RegistryNode::MarkDeleted() {
    deleted_ = true;
    for (const auto& [name, subkey] : subkeys_) {
        subkey->MarkDeleted();
    }
}

std::vector<std::wstring> SplitKeyPath(std::wstring_view path) {
    std::vector<std::wstring> names;
    while (!path.empty()) {
        const size_t end = std::min(path.find(L'\\'), path.size());
        if (end > 0) {
            names.emplace_back(path.substr(0, end));
        }
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return names;
}

}  // namespace ksp::host
