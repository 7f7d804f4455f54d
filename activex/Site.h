#pragma once

#include <optional>
#include <string_view>

#include "activex/Com.h"
#include "host/Container.h"

namespace cronvel::activex {

class ControlObject;

/// An ambient property of a container; none where it does not tell.
std::optional<bool> ambientFlag(IDispatch& ambients, DISPID property);

/// The place in the container where the control sits: what the container says of itself and what
/// it is told.
class Site final : public Container {
 public:
  explicit Site(ControlObject& control) : mControl(control) {}

  void set(IOleClientSite* site);
  const ComPtr<IOleClientSite>& clientSite() const { return mClientSite; }

  bool UserMode() const override;
  void PropertyChanged(std::string_view key) override;

  /// The control has changed since it was loaded or saved.
  bool dirty() const { return mDirty; }
  void dirty(bool dirty) { mDirty = dirty; }

 private:
  ControlObject& mControl;
  ComPtr<IOleClientSite> mClientSite;
  ComPtr<IDispatch> mAmbients;
  bool mDirty = false;
};

}  // namespace cronvel::activex
