#pragma once

#include <windows.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ksp::host {

// One registry value: its REG_* type and its data, byte for byte.
struct RegistryValue {
    DWORD type = REG_NONE;
    std::vector<BYTE> data;
};

// Orders names as the registry does: by code unit, upper and lower case equal.
struct RegistryNameLess {
    bool operator()(const std::wstring& left, const std::wstring& right) const;
};

// A key of a registry that lives in memory: its subkeys in the registry's alphabetical order, its
// values in the order of their creation. Not thread-safe; whoever owns the tree guards it.
class RegistryNode : public std::enable_shared_from_this<RegistryNode> {
  public:
    struct NamedValue {
        std::wstring name;
        RegistryValue value;
    };
    using Subkeys = std::map<std::wstring, std::shared_ptr<RegistryNode>, RegistryNameLess>;

    explicit RegistryNode(std::wstring name);

    // The node at a backslash-separated path below this one; an empty path is this node. Null when
    // a step is missing.
    std::shared_ptr<RegistryNode> Find(std::wstring_view path);

    // The subkey of that name, made when it is missing.
    std::shared_ptr<RegistryNode> FindOrCreateSubkey(const std::wstring& name);

    // Removes the subkey of that name with everything below it; false when there is none.
    bool RemoveSubkey(const std::wstring& name);

    [[nodiscard]] const RegistryValue* FindValue(const std::wstring& name) const;
    void StoreValue(const std::wstring& name, RegistryValue value);
    bool RemoveValue(const std::wstring& name);

    [[nodiscard]] const std::wstring& name() const { return name_; }
    [[nodiscard]] const Subkeys& subkeys() const { return subkeys_; }
    [[nodiscard]] const std::vector<NamedValue>& values() const { return values_; }
    [[nodiscard]] FILETIME last_write() const { return last_write_; }
    void set_last_write(const FILETIME& time) { last_write_ = time; }

    // A node that is not writable refuses every handle with write rights.
    [[nodiscard]] bool writable() const { return writable_; }
    void set_writable(bool writable) { writable_ = writable; }

    // A removed node stays alive while a handle refers to it, as a deleted registry key does.
    [[nodiscard]] bool deleted() const { return deleted_; }

  private:
    void Touch();
    void MarkDeleted();

    std::wstring name_;
    Subkeys subkeys_;
    std::vector<NamedValue> values_;
    FILETIME last_write_ = {};
    bool writable_ = true;
    bool deleted_ = false;
};

// The names that a key path is made of; empty parts ("a\\\\b", a trailing backslash) do not count.
std::vector<std::wstring> SplitKeyPath(std::wstring_view path);

}  // namespace ksp::host
