#pragma once

#include <string>

#include "discovery/discovery_library.h"

namespace ksp {

// The binding to the discovery library. The file lies in the directory that the setting
// `ExeDirectory` names; it is loaded when it is first needed and stays loaded for the life of the
// process.
//
// An object of this class is one wrapper's view of the library: its table of functions, resolved by
// name when the object is made.
class COryxDLL {
  public:
    // Builds the library's path once. False when `ExeDirectory` is empty; the monitor then does not
    // start.
    [[nodiscard]] static bool PrepareLibraryPath();
    [[nodiscard]] static bool IsLibraryPathReady();
    [[nodiscard]] static const std::wstring& LibraryPath();

    // Loads the prepared path and resolves the functions.
    COryxDLL();
    virtual ~COryxDLL() = default;
    COryxDLL(const COryxDLL&) = delete;
    COryxDLL& operator=(const COryxDLL&) = delete;

    // True when the library is, or was already, loaded. A failed load is tried again at the next
    // call.
    virtual bool LoadLibraryFile(const std::wstring& path);

    // Whether every function that a library must have was found.
    [[nodiscard]] bool IsReady() const noexcept { return m_functionsLoaded; }
    [[nodiscard]] const OryxFunctions& Functions() const noexcept { return m_functions; }

  private:
    [[nodiscard]] bool LoadFunctions();

    bool m_functionsLoaded = false;
    OryxFunctions m_functions{};
};

}  // namespace ksp
