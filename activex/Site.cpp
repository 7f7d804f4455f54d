#include "activex/Site.h"

#include "activex/ControlObject.h"
#include "activex/InterfaceProperty.h"

namespace cronvel::activex {

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
  const InterfaceProperty* const property = interfaceProperty(key);
  mControl.events().propertyChanged(property == nullptr ? DISPID_UNKNOWN : property->id);
  mControl.view().changed();
}

}  // namespace cronvel::activex
