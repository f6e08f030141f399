// The part of MemoryRegistry that reaches keys by path, past handles and access rights.

#include <cstring>
#include <utility>

#include "tools/host/memory_registry.h"
#include "tools/host/registry_text.h"

namespace ksp::host {

void MemoryRegistry::MakeKey(HANDLE root, std::wstring_view path) {
    const std::lock_guard lock(mutex_);
    MakeNode(root, path);
}

bool MemoryRegistry::HasKey(HANDLE root, std::wstring_view path) const {
    const std::lock_guard lock(mutex_);
    return FindNode(root, path) != nullptr;
}

void MemoryRegistry::RemoveKey(HANDLE root, std::wstring_view path) {
    const std::lock_guard lock(mutex_);
    std::vector<std::wstring> names = SplitKeyPath(path);
    Node node = RootNode(root);
    for (size_t i = 0; node != nullptr && i + 1 < names.size(); ++i) {
        node = node->Find(names[i]);
    }
    if (node != nullptr && !names.empty()) {
        node->RemoveSubkey(names.back());
    }
}

std::vector<std::wstring> MemoryRegistry::SubkeyNames(HANDLE root, std::wstring_view path) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::wstring> names;
    const Node node = FindNode(root, path);
    if (node == nullptr) {
        return names;
    }
    for (const auto& [name, subkey] : node->subkeys()) {
        names.push_back(name);
    }
    return names;
}

void MemoryRegistry::SetDword(HANDLE root, std::wstring_view path, const std::wstring& name,
                              DWORD number) {
    std::vector<BYTE> data(sizeof(number));
    std::memcpy(data.data(), &number, sizeof(number));
    SetBytes(root, path, name, REG_DWORD, std::move(data));
}

void MemoryRegistry::SetText(HANDLE root, std::wstring_view path, const std::wstring& name,
                             std::wstring_view text) {
    std::vector<BYTE> data(text.size() * sizeof(wchar_t));
    if (!data.empty()) {
        std::memcpy(data.data(), text.data(), data.size());
    }
    SetBytes(root, path, name, REG_SZ, std::move(data));
}

void MemoryRegistry::SetBytes(HANDLE root, std::wstring_view path, const std::wstring& name,
                              DWORD type, std::vector<BYTE> data) {
    const std::lock_guard lock(mutex_);
    const Node node = MakeNode(root, path);
    if (node != nullptr) {
        node->StoreValue(name, {type, std::move(data)});
    }
}

void MemoryRegistry::RemoveValue(HANDLE root, std::wstring_view path, const std::wstring& name) {
    const std::lock_guard lock(mutex_);
    const Node node = FindNode(root, path);
    if (node != nullptr) {
        node->RemoveValue(name);
    }
}

std::vector<std::wstring> MemoryRegistry::ValueNames(HANDLE root, std::wstring_view path) const {
    const std::lock_guard lock(mutex_);
    std::vector<std::wstring> names;
    const Node node = FindNode(root, path);
    if (node == nullptr) {
        return names;
    }
    for (const RegistryNode::NamedValue& entry : node->values()) {
        names.push_back(entry.name);
    }
    return names;
}

std::optional<RegistryValue> MemoryRegistry::GetValue(HANDLE root, std::wstring_view path,
                                                      const std::wstring& name) const {
    const std::lock_guard lock(mutex_);
    const Node node = FindNode(root, path);
    const RegistryValue* value = node == nullptr ? nullptr : node->FindValue(name);
    return value == nullptr ? std::nullopt : std::optional(*value);
}

std::optional<DWORD> MemoryRegistry::GetDword(HANDLE root, std::wstring_view path,
                                              const std::wstring& name) const {
    const std::optional<RegistryValue> value = GetValue(root, path, name);
    DWORD number = 0;
    if (!value || value->type != REG_DWORD || value->data.size() != sizeof(number)) {
        return std::nullopt;
    }
    std::memcpy(&number, value->data.data(), sizeof(number));
    return number;
}

std::optional<std::wstring> MemoryRegistry::GetText(HANDLE root, std::wstring_view path,
                                                    const std::wstring& name) const {
    const std::optional<RegistryValue> value = GetValue(root, path, name);
    if (!value || value->type != REG_SZ || value->data.size() % sizeof(wchar_t) != 0) {
        return std::nullopt;
    }
    return TextOf(value->data);
}

void MemoryRegistry::SetWritable(HANDLE root, std::wstring_view path, bool writable) {
    const std::lock_guard lock(mutex_);
    const Node node = MakeNode(root, path);
    if (node != nullptr) {
        node->set_writable(writable);
    }
}

void MemoryRegistry::SetLastWriteTime(HANDLE root, std::wstring_view path, const FILETIME& time) {
    const std::lock_guard lock(mutex_);
    const Node node = MakeNode(root, path);
    if (node != nullptr) {
        node->set_last_write(time);
    }
}

FILETIME MemoryRegistry::LastWriteTime(HANDLE root, std::wstring_view path) const {
    const std::lock_guard lock(mutex_);
    const Node node = FindNode(root, path);
    return node == nullptr ? FILETIME{} : node->last_write();
}

std::wstring MemoryRegistry::Describe(HANDLE root, std::wstring_view path) const {
    const std::lock_guard lock(mutex_);
    const Node node = FindNode(root, path);
    return node == nullptr ? std::wstring() : DescribeKey(*node);
}

MemoryRegistry::Node MemoryRegistry::FindNode(HANDLE root, std::wstring_view path) const {
    const Node node = RootNode(root);
    return node == nullptr ? nullptr : node->Find(path);
}

MemoryRegistry::Node MemoryRegistry::MakeNode(HANDLE root, std::wstring_view path) {
    Node node = RootNode(root);
    if (node == nullptr) {
        return nullptr;
    }
    for (const std::wstring& name : SplitKeyPath(path)) {
        node = node->FindOrCreateSubkey(name);
    }
    return node;
}

}  // namespace ksp::host
