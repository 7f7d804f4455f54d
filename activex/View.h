#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// What the control looks like on a form in design: an icon, its name, its port and terminal
/// number. At run time there is nothing to see, unless a container asks for the picture.
class View final : public Face<IViewObject2> {
 public:
  using Face::Face;
  IUnknown* find(REFIID iid) {
    return iid == IID_IViewObject || iid == IID_IViewObject2 ? this : nullptr;
  }

  STDMETHODIMP Draw(DWORD aspect, LONG index, void* aspectInfo, DVTARGETDEVICE* target,
                    HDC targetDevice, HDC device, LPCRECTL bounds, LPCRECTL windowBounds,
                    WINBOOL(CALLBACK* goOn)(ULONG_PTR), ULONG_PTR goOnValue) override;
  STDMETHODIMP GetColorSet(DWORD, LONG, void*, DVTARGETDEVICE*, HDC, LOGPALETTE**) override {
    return E_NOTIMPL;
  }
  STDMETHODIMP Freeze(DWORD, LONG, void*, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP Unfreeze(DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) override;
  STDMETHODIMP GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) override;
  STDMETHODIMP GetExtent(DWORD aspect, LONG index, DVTARGETDEVICE* target, LPSIZEL size) override;

  /// Draws the control's face.
  void draw(HDC device, const RECT& bounds);
  /// Something that shows has changed.
  void changed();

 private:
  ComPtr<IAdviseSink> mSink;
  DWORD mSinkAspects = 0;
  DWORD mSinkFlags = 0;
};

}  // namespace cronvel::activex
