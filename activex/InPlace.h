#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// The control's window in its container: a face in design mode, a hidden window at run time.
class InPlace final : public Face<IOleInPlaceObject> {
 public:
  using Face::Face;
  ~InPlace();
  IUnknown* find(REFIID iid) {
    return iid == IID_IOleWindow || iid == IID_IOleInPlaceObject ? this : nullptr;
  }

  STDMETHODIMP GetWindow(HWND* window) override;
  STDMETHODIMP ContextSensitiveHelp(BOOL) override { return E_NOTIMPL; }
  STDMETHODIMP InPlaceDeactivate() override;
  STDMETHODIMP UIDeactivate() override { return S_OK; }
  STDMETHODIMP SetObjectRects(LPCRECT position, LPCRECT clip) override;
  STDMETHODIMP ReactivateAndUndo() override { return E_NOTIMPL; }

  /// Makes the window in the container's one.
  HRESULT activate();
  bool active() const { return mWindow != nullptr; }
  /// Shows or hides the window as the container's mode asks for it.
  void showOrHide();
  void hide();
  void redraw();

 private:
  static LRESULT CALLBACK windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  void paint();

  HWND mWindow = nullptr;
  ComPtr<IOleInPlaceSite> mSite;
};

}  // namespace cronvel::activex
