#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ports/registry_store.h"
#include "support/logger.h"
#include "tests/host/temp_directory.h"
#include "tools/host/memory_registry.h"

namespace ksp::test {

// A logger with a directory and settings of its own. The settings lie in a registry in memory and
// reach the logger through the store, as they do in the library; they name the directory at first,
// and nothing else.
class LogSetup {
  public:
    // The registry may be one that does more than remember; it is empty at first.
    explicit LogSetup(CLogger& logger, std::unique_ptr<host::MemoryRegistry> registry =
                                           std::make_unique<host::MemoryRegistry>());
    ~LogSetup();
    LogSetup(const LogSetup&) = delete;
    LogSetup& operator=(const LogSetup&) = delete;

    void Set(const std::wstring& name, DWORD number);
    void Set(const std::wstring& name, const std::wstring& text);
    [[nodiscard]] std::optional<DWORD> Setting(const std::wstring& name) const;
    [[nodiscard]] host::MemoryRegistry& registry() { return *registry_; }

    // Opens the settings and starts the logger with them.
    bool Start();
    // The same with a minimum level.
    bool Start(DWORD logLevel);

    [[nodiscard]] CRegistryStore& store() { return store_; }
    [[nodiscard]] std::filesystem::path directory() const { return directory_.path(); }
    [[nodiscard]] std::filesystem::path File(const std::wstring& name = L"log.txt") const {
        return directory() / name;
    }
    // The lines of the log as "LEVEL: message", without what stands before the level.
    [[nodiscard]] std::vector<std::string> Lines(const std::wstring& name = L"log.txt") const;

  private:
    CLogger& logger_;
    TempDirectory directory_;
    std::unique_ptr<host::MemoryRegistry> registry_;
    CRegistryStore store_;
};

}  // namespace ksp::test
