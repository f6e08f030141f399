#include "tools/host/memory_registry.h"

#include <algorithm>
#include <cstring>

namespace ksp::host {
namespace {

constexpr ULONG_PTR kRootHandle = 0x10000;
constexpr ULONG_PTR kHandleStep = 4;

constexpr REGSAM kWriteRights =
    KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_CREATE_LINK | DELETE | WRITE_DAC | WRITE_OWNER;

REGSAM ExpandGenericRights(REGSAM access) {
    if ((access & (GENERIC_ALL | MAXIMUM_ALLOWED)) != 0) {
        access |= KEY_ALL_ACCESS;
    }
    if ((access & GENERIC_READ) != 0) {
        access |= KEY_READ;
    }
    if ((access & GENERIC_WRITE) != 0) {
        access |= KEY_WRITE;
    }
    return access;
}

std::wstring NameOf(LPCWSTR name) {
    return name == nullptr ? std::wstring() : std::wstring(name);
}

bool IsPredefined(HANDLE key) {
    return key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER;
}

// Copies a name with its terminator; the size counts characters, with the terminator on the way in
// and without it on the way out.
LONG CopyName(const std::wstring& name, LPWSTR buffer, PDWORD size) {
    if (*size <= name.size()) {
        return ERROR_MORE_DATA;
    }
    std::copy_n(name.c_str(), name.size() + 1, buffer);
    *size = static_cast<DWORD>(name.size());
    return ERROR_SUCCESS;
}

LONG CopyValue(const RegistryValue& value, PDWORD type, PBYTE data, PDWORD size) {
    if (type != nullptr) {
        *type = value.type;
    }
    if (size == nullptr) {
        return data == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    }
    const DWORD room = *size;
    *size = static_cast<DWORD>(value.data.size());
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (room < value.data.size()) {
        return ERROR_MORE_DATA;
    }
    std::copy(value.data.begin(), value.data.end(), data);
    return ERROR_SUCCESS;
}

void StoreIfWanted(PDWORD target, size_t number) {
    if (target != nullptr) {
        *target = static_cast<DWORD>(number);
    }
}

}  // namespace

MemoryRegistry::MemoryRegistry()
    : monitor_root_(std::make_shared<RegistryNode>(L"(monitor root)")),
      local_machine_(std::make_shared<RegistryNode>(L"HKEY_LOCAL_MACHINE")),
      current_user_(std::make_shared<RegistryNode>(L"HKEY_CURRENT_USER")),
      next_handle_(kRootHandle + kHandleStep) {}

HANDLE MemoryRegistry::Root() const {
    return reinterpret_cast<HANDLE>(kRootHandle);
}

LONG MemoryRegistry::CreateKey(HANDLE parent, LPCWSTR subkey, DWORD /*options*/, REGSAM access,
                               PSECURITY_ATTRIBUTES /*security*/, PHANDLE result,
                               PDWORD disposition) {
    const std::lock_guard lock(mutex_);
    if (subkey == nullptr) {
        return ERROR_BADKEY;
    }
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    // Windows checks the right to create subkeys against the key itself, not against the handle.
    Node node;
    const LONG code = Resolve(parent, 0, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }

    bool created = false;
    for (const std::wstring& name : SplitKeyPath(subkey)) {
        Node next = node->Find(name);
        if (next == nullptr) {
            if (!node->writable()) {
                return ERROR_ACCESS_DENIED;
            }
            next = node->FindOrCreateSubkey(name);
            created = true;
        }
        node = next;
    }
    const LONG granted = GrantHandle(node, access, result);
    if (granted == ERROR_SUCCESS) {
        StoreIfWanted(disposition, created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY);
    }
    return granted;
}

LONG MemoryRegistry::OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) {
    const std::lock_guard lock(mutex_);
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    Node node;
    const LONG code = Resolve(parent, 0, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    node = node->Find(NameOf(subkey));
    if (node == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    return GrantHandle(node, access, result);
}

LONG MemoryRegistry::CloseKey(HANDLE key) {
    const std::lock_guard lock(mutex_);
    if (IsPredefined(key)) {
        return ERROR_SUCCESS;
    }
    const bool closed = handles_.erase(reinterpret_cast<ULONG_PTR>(key)) > 0;
    return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LONG MemoryRegistry::DeleteKey(HANDLE parent, LPCWSTR subkey) {
    const std::lock_guard lock(mutex_);
    if (subkey == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    Node node;
    const LONG code = Resolve(parent, 0, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }

    std::vector<std::wstring> names = SplitKeyPath(subkey);
    if (names.empty()) {
        return ERROR_INVALID_PARAMETER;
    }
    const std::wstring last = names.back();
    names.pop_back();
    for (const std::wstring& name : names) {
        node = node->Find(name);
        if (node == nullptr) {
            return ERROR_FILE_NOT_FOUND;
        }
    }
    const Node doomed = node->Find(last);
    if (doomed == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    if (!doomed->writable() || !doomed->subkeys().empty()) {
        return ERROR_ACCESS_DENIED;
    }
    node->RemoveSubkey(last);
    return ERROR_SUCCESS;
}

LONG MemoryRegistry::EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                             PFILETIME last_write) {
    const std::lock_guard lock(mutex_);
    if (name == nullptr || name_size == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    Node node;
    const LONG code = Resolve(key, KEY_ENUMERATE_SUB_KEYS, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    if (index >= node->subkeys().size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const Node& subkey = std::next(node->subkeys().begin(), index)->second;
    const LONG copied = CopyName(subkey->name(), name, name_size);
    if (copied == ERROR_SUCCESS && last_write != nullptr) {
        *last_write = subkey->last_write();
    }
    return copied;
}

LONG MemoryRegistry::QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                                  PDWORD longest_value_name, PDWORD longest_data,
                                  PDWORD security_descriptor_size, PFILETIME last_write) {
    const std::lock_guard lock(mutex_);
    Node node;
    const LONG code = Resolve(key, KEY_QUERY_VALUE, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }

    size_t subkey_length = 0;
    for (const auto& [name, subkey] : node->subkeys()) {
        subkey_length = std::max(subkey_length, name.size());
    }
    size_t name_length = 0;
    size_t data_length = 0;
    for (const RegistryNode::NamedValue& entry : node->values()) {
        name_length = std::max(name_length, entry.name.size());
        data_length = std::max(data_length, entry.value.data.size());
    }
    StoreIfWanted(subkeys, node->subkeys().size());
    StoreIfWanted(longest_subkey, subkey_length);
    StoreIfWanted(values, node->values().size());
    StoreIfWanted(longest_value_name, name_length);
    StoreIfWanted(longest_data, data_length);
    StoreIfWanted(security_descriptor_size, 0);
    if (last_write != nullptr) {
        *last_write = node->last_write();
    }
    return ERROR_SUCCESS;
}

LONG MemoryRegistry::SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) {
    const std::lock_guard lock(mutex_);
    Node node;
    const LONG code = Resolve(key, KEY_SET_VALUE, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    if (data == nullptr && size > 0) {
        return ERROR_NOACCESS;
    }
    RegistryValue value{type, {}};
    if (size > 0) {
        value.data.assign(data, data + size);
    }
    node->StoreValue(NameOf(name), std::move(value));
    return ERROR_SUCCESS;
}

LONG MemoryRegistry::DeleteValue(HANDLE key, LPCWSTR name) {
    const std::lock_guard lock(mutex_);
    Node node;
    const LONG code = Resolve(key, KEY_SET_VALUE, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    return node->RemoveValue(NameOf(name)) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
}

LONG MemoryRegistry::EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type,
                               PBYTE data, PDWORD size) {
    const std::lock_guard lock(mutex_);
    if (name == nullptr || name_size == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    Node node;
    const LONG code = Resolve(key, KEY_QUERY_VALUE, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    if (index >= node->values().size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const RegistryNode::NamedValue& entry = node->values()[index];
    const LONG copied = CopyName(entry.name, name, name_size);
    if (copied != ERROR_SUCCESS) {
        return copied;
    }
    return CopyValue(entry.value, type, data, size);
}

LONG MemoryRegistry::QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) {
    const std::lock_guard lock(mutex_);
    Node node;
    const LONG code = Resolve(key, KEY_QUERY_VALUE, &node);
    if (code != ERROR_SUCCESS) {
        return code;
    }
    const RegistryValue* value = node->FindValue(NameOf(name));
    if (value == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    return CopyValue(*value, type, data, size);
}

size_t MemoryRegistry::OpenKeyCount() const {
    const std::lock_guard lock(mutex_);
    return handles_.size();
}

std::vector<std::wstring> MemoryRegistry::OpenKeyNames() const {
    const std::lock_guard lock(mutex_);
    std::vector<std::wstring> names;
    for (const auto& [number, handle] : handles_) {
        names.push_back(handle.node->name());
    }
    return names;
}

MemoryRegistry::Node MemoryRegistry::RootNode(HANDLE root) const {
    if (root == Root()) {
        return monitor_root_;
    }
    if (root == HKEY_LOCAL_MACHINE) {
        return local_machine_;
    }
    if (root == HKEY_CURRENT_USER) {
        return current_user_;
    }
    return nullptr;
}

LONG MemoryRegistry::Resolve(HANDLE key, REGSAM rights, Node* node) const {
    *node = RootNode(key);
    if (*node != nullptr) {
        return ERROR_SUCCESS;
    }
    const auto found = handles_.find(reinterpret_cast<ULONG_PTR>(key));
    if (found == handles_.end()) {
        return ERROR_INVALID_HANDLE;
    }
    if (found->second.node->deleted()) {
        return ERROR_KEY_DELETED;
    }
    if ((found->second.access & rights) != rights) {
        return ERROR_ACCESS_DENIED;
    }
    *node = found->second.node;
    return ERROR_SUCCESS;
}

LONG MemoryRegistry::GrantHandle(const Node& node, REGSAM access, PHANDLE result) {
    const REGSAM rights = ExpandGenericRights(access);
    if (!node->writable() && (rights & kWriteRights) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    handles_[next_handle_] = {node, rights};
    *result = reinterpret_cast<HANDLE>(next_handle_);
    next_handle_ += kHandleStep;
    return ERROR_SUCCESS;
}

}  // namespace ksp::host
