#include "activex/Site.h"

#include <algorithm>
#include <array>
#include <utility>

#include "activex/ControlObject.h"

namespace cronvel::activex {

DISPID propertyId(std::string_view key) {
  static constexpr std::array<std::pair<std::string_view, DISPID>, 15> ids = {{
      {"Enabled", DISPID_ENABLED},
      {"CommPort", 1},
      {"ReaderOn", 2},
      {"MonitoringON", 3},
      {"IdLen", 4},
      {"DialupConnection", 5},
      {"TelNum", 6},
      {"BPS", 7},
      {"DeviceNum", 8},
      {"NumOfRecs", 9},
      {"DamagedRecs", 10},
      {"WinSockProtocol", 11},
      {"WinSockLocalPort", 12},
      {"WinSockRemotePort", 13},
      {"WinSockRemoteHost", 14},
  }};
  const auto found =
      std::find_if(ids.begin(), ids.end(), [key](const auto& id) { return id.first == key; });
  return found == ids.end() ? DISPID_UNKNOWN : found->second;
}

std::optional<bool> ambientFlag(IDispatch& ambients, DISPID property) {
  DISPPARAMS none{};
  OwnedVariant value;
  if (FAILED(ambients.Invoke(property, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                             &value, nullptr, nullptr)) ||
      FAILED(VariantChangeType(&value, &value, 0, VT_BOOL)))
    return {};
  return value->boolVal != VARIANT_FALSE;
}

void Site::set(IOleClientSite* site) {
  mClientSite = site;
  mAmbients.Reset();
  if (site != nullptr) mClientSite.As(&mAmbients);
}

bool Site::UserMode() const {
  return !mAmbients || ambientFlag(*mAmbients.Get(), DISPID_AMBIENT_USERMODE).value_or(true);
}

void Site::PropertyChanged(std::string_view key) {
  mDirty = true;
  mControl.events().propertyChanged(propertyId(key));
  mControl.view().changed();
}

}  // namespace cronvel::activex
