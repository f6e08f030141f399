#pragma once

#include <memory>
#include <string>

#include "discovery/com_apartment.h"
#include "discovery/oryx_wrapper.h"
#include "net/socket_library.h"
#include "ports/monitor_type.h"

namespace ksp::ctl {

// What the monitor's network and discovery rooms need, for as long as this lives: the settings of
// the monitor, Windows Sockets, COM, and the discovery library if there is one.
class Discovery {
  public:
    explicit Discovery(MonitorType type);
    ~Discovery();
    Discovery(const Discovery&) = delete;
    Discovery& operator=(const Discovery&) = delete;

    // Null when the discovery library cannot be used; `why_not` then says why.
    [[nodiscard]] CKspOryxWrapper* wrapper() const { return wrapper_.get(); }
    [[nodiscard]] const std::wstring& why_not() const { return why_not_; }

  private:
    CComApartment com_;
    CSocketLibrary sockets_;
    std::unique_ptr<CKspOryxWrapper> wrapper_;
    std::wstring why_not_;
};

}  // namespace ksp::ctl
