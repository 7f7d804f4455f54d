#pragma once

#include <string>

#include "link/DeviceLinks.h"
#include "runtime/Variant.h"

namespace cronvel {

/// What a terminal says about itself.
class DeviceProperties {
 public:
  /// The terminal's properties block: 101 bytes, zeros after what was received within 5 s of
  /// silence; empty without a carrier or a connection; 9 if the terminal sends more. Listens.
  /// `MonitoringON` keeps its value.
  Variant GetDeviceProperties(const std::u16string& sRemoteHost);

 protected:
  explicit DeviceProperties(DeviceLinks& links) : mLinks(links) {}
  ~DeviceProperties() = default;

 private:
  DeviceLinks& mLinks;
};

}  // namespace cronvel
