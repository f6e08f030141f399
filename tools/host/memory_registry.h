#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/host/monitor_registry.h"
#include "tools/host/registry_tree.h"
#include "tools/host/slim_mutex.h"

namespace ksp::host {

// A registry in memory: the monitor's root key, HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER, empty at
// first. It behaves as the Windows registry does, with its error codes:
//   ERROR_FILE_NOT_FOUND (2)      no such key or value
//   ERROR_ACCESS_DENIED (5)       write rights on a key that is not writable; an operation for
//   which
//                                 the handle lacks the right; deleting a key that has subkeys
//   ERROR_INVALID_HANDLE (6)      a handle that was never handed out, or is closed
//   ERROR_INVALID_PARAMETER (87)  data asked for without a size
//   ERROR_MORE_DATA (234)         buffer too small; the needed data size is stored
//   ERROR_NO_MORE_ITEMS (259)     enumeration past the end
//   ERROR_KEY_DELETED (1018)      a handle to a key that was deleted meanwhile
// Unlike Windows it never adds a missing terminator to a text: data comes back as it was stored.
//
// Thread-safe. Handle values are never reused, so that a stale handle is always found out.
class MemoryRegistry : public MonitorRegistry {
  public:
    MemoryRegistry();

    [[nodiscard]] HANDLE Root() const override;

    LONG CreateKey(HANDLE parent, LPCWSTR subkey, DWORD options, REGSAM access,
                   PSECURITY_ATTRIBUTES security, PHANDLE result, PDWORD disposition) override;
    LONG OpenKey(HANDLE parent, LPCWSTR subkey, REGSAM access, PHANDLE result) override;
    LONG CloseKey(HANDLE key) override;
    LONG DeleteKey(HANDLE parent, LPCWSTR subkey) override;
    LONG EnumKey(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size,
                 PFILETIME last_write) override;
    LONG QueryInfoKey(HANDLE key, PDWORD subkeys, PDWORD longest_subkey, PDWORD values,
                      PDWORD longest_value_name, PDWORD longest_data,
                      PDWORD security_descriptor_size, PFILETIME last_write) override;
    LONG SetValue(HANDLE key, LPCWSTR name, DWORD type, const BYTE* data, DWORD size) override;
    LONG DeleteValue(HANDLE key, LPCWSTR name) override;
    LONG EnumValue(HANDLE key, DWORD index, LPWSTR name, PDWORD name_size, PDWORD type, PBYTE data,
                   PDWORD size) override;
    LONG QueryValue(HANDLE key, LPCWSTR name, PDWORD type, PBYTE data, PDWORD size) override;

    // Direct access for whoever set the registry up, past handles and access rights. `root` is
    // Root(), HKEY_LOCAL_MACHINE or HKEY_CURRENT_USER; an empty path is the root itself. Setters
    // make the keys on the way.
    void MakeKey(HANDLE root, std::wstring_view path);
    [[nodiscard]] bool HasKey(HANDLE root, std::wstring_view path) const;
    void RemoveKey(HANDLE root, std::wstring_view path);
    [[nodiscard]] std::vector<std::wstring> SubkeyNames(HANDLE root, std::wstring_view path) const;

    void SetDword(HANDLE root, std::wstring_view path, const std::wstring& name, DWORD number);
    // Stores exactly the given characters; pass a terminator inside `text` to store one.
    void SetText(HANDLE root, std::wstring_view path, const std::wstring& name,
                 std::wstring_view text);
    void SetBytes(HANDLE root, std::wstring_view path, const std::wstring& name, DWORD type,
                  std::vector<BYTE> data);
    void RemoveValue(HANDLE root, std::wstring_view path, const std::wstring& name);

    [[nodiscard]] std::vector<std::wstring> ValueNames(HANDLE root, std::wstring_view path) const;
    [[nodiscard]] std::optional<RegistryValue> GetValue(HANDLE root, std::wstring_view path,
                                                        const std::wstring& name) const;
    // Nothing when the value is missing or is not a REG_DWORD of four bytes.
    [[nodiscard]] std::optional<DWORD> GetDword(HANDLE root, std::wstring_view path,
                                                const std::wstring& name) const;
    // Nothing when the value is missing, is not REG_SZ or has an odd length; otherwise every stored
    // character, terminators included.
    [[nodiscard]] std::optional<std::wstring> GetText(HANDLE root, std::wstring_view path,
                                                      const std::wstring& name) const;

    // From now on the key refuses (or grants again) handles with write rights, subkeys and
    // deletion.
    void SetWritable(HANDLE root, std::wstring_view path, bool writable);
    // As if the key had been written to at that time and not since.
    void SetLastWriteTime(HANDLE root, std::wstring_view path, const FILETIME& time);
    // Zero when the key does not exist.
    [[nodiscard]] FILETIME LastWriteTime(HANDLE root, std::wstring_view path) const;

    // Keys that were opened or created and not closed yet; their names, for a message.
    [[nodiscard]] size_t OpenKeyCount() const;
    [[nodiscard]] std::vector<std::wstring> OpenKeyNames() const;

    // The key with everything below it as readable lines: one a key, one a value.
    [[nodiscard]] std::wstring Describe(HANDLE root, std::wstring_view path) const;

  private:
    using Node = std::shared_ptr<RegistryNode>;
    struct OpenHandle {
        Node node;
        REGSAM access = 0;
    };

    Node RootNode(HANDLE root) const;
    Node FindNode(HANDLE root, std::wstring_view path) const;
    Node MakeNode(HANDLE root, std::wstring_view path);

    // The key behind a handle, when the handle is good and carries all of `rights`.
    LONG Resolve(HANDLE key, REGSAM rights, Node* node) const;
    LONG GrantHandle(const Node& node, REGSAM access, PHANDLE result);

    mutable SlimMutex mutex_;
    Node monitor_root_;
    Node local_machine_;
    Node current_user_;
    std::map<ULONG_PTR, OpenHandle> handles_;
    ULONG_PTR next_handle_;
};

}  // namespace ksp::host
