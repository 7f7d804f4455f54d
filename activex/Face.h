#pragma once

#include "activex/Com.h"

namespace cronvel::activex {

class ControlObject;
/// The unknown that answers for the whole control: its container's, if that aggregates it.
IUnknown* outerOf(ControlObject& control);

/// A part of the control that answers for some of its interfaces. It is a member of the control
/// object and lives as long as it does.
template <typename... Interfaces>
class Face : public Interfaces... {
 public:
  explicit Face(ControlObject& control) : mControl(control) {}
  ~Face() = default;
  Face(const Face&) = delete;
  Face& operator=(const Face&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** object) final {
    return outerOf(mControl)->QueryInterface(iid, object);
  }
  STDMETHODIMP_(ULONG) AddRef() final { return outerOf(mControl)->AddRef(); }
  STDMETHODIMP_(ULONG) Release() final { return outerOf(mControl)->Release(); }

 protected:
  ControlObject& mControl;
};

}  // namespace cronvel::activex
