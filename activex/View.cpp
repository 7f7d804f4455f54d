#include "activex/View.h"

#include <string>
#include <utility>

#include "activex/ControlObject.h"
#include "activex/Picture.h"

namespace cronvel::activex {
namespace {

constexpr bool isContent(DWORD aspect) {
  return aspect == DVASPECT_CONTENT || aspect == DVASPECT_OPAQUE || aspect == 0xFFFFFFFF;
}

/// Puts a device context back as it was.
class SavedDevice {
 public:
  explicit SavedDevice(HDC device) : mDevice(device), mSaved(SaveDC(device)) {}
  ~SavedDevice() { RestoreDC(mDevice, mSaved); }
  SavedDevice(const SavedDevice&) = delete;
  SavedDevice& operator=(const SavedDevice&) = delete;

 private:
  HDC mDevice;
  int mSaved;
};

}  // namespace

STDMETHODIMP View::Draw(DWORD aspect, LONG, void*, DVTARGETDEVICE*, HDC, HDC device,
                        LPCRECTL bounds, LPCRECTL, WINBOOL(CALLBACK*)(ULONG_PTR), ULONG_PTR) {
  if (!isContent(aspect)) return DV_E_DVASPECT;
  if (bounds == nullptr) return E_POINTER;
  RECT area{bounds->left, bounds->top, bounds->right, bounds->bottom};
  const SavedDevice saved(device);
  // Who records has chosen the units; elsewhere pixels are the sharpest.
  if (!isMetafile(device)) {
    LPtoDP(device, reinterpret_cast<POINT*>(&area), 2);
    SetMapMode(device, MM_TEXT);
    SetViewportOrgEx(device, 0, 0, nullptr);
    SetWindowOrgEx(device, 0, 0, nullptr);
    if (area.left > area.right) std::swap(area.left, area.right);
    if (area.top > area.bottom) std::swap(area.top, area.bottom);
  }
  draw(device, area);
  return S_OK;
}

void View::draw(HDC device, const RECT& bounds) {
  const SavedDevice saved(device);
  const SIZEL extent = mControl.oleObject().extent();
  const SIZE natural{MulDiv(extent.cx, 96, 2540), MulDiv(extent.cy, 96, 2540)};
  Picture(device, bounds, natural)
      .draw(L"Cronvel", L"COM" + std::to_wstring(mControl.core().CommPort()) + L", terminal " +
                            std::to_wstring(mControl.core().DeviceNum()));
}

void View::changed() {
  const ControlObject::Busy busy(mControl);
  mControl.inPlace().redraw();
  mControl.dataObject().changed();
  if (!mSink) return;
  const ComPtr<IAdviseSink> sink = mSink;
  if ((mSinkFlags & ADVF_ONLYONCE) != 0) mSink.Reset();
  sink->OnViewChange(DVASPECT_CONTENT, -1);
}

STDMETHODIMP View::SetAdvise(DWORD aspects, DWORD flags, IAdviseSink* sink) {
  mSink = sink;
  mSinkAspects = aspects;
  mSinkFlags = flags;
  if (sink != nullptr && (flags & ADVF_PRIMEFIRST) != 0) changed();
  return S_OK;
}

STDMETHODIMP View::GetAdvise(DWORD* aspects, DWORD* flags, IAdviseSink** sink) {
  if (aspects != nullptr) *aspects = mSinkAspects;
  if (flags != nullptr) *flags = mSinkFlags;
  if (sink != nullptr) mSink.CopyTo(sink);
  return S_OK;
}

STDMETHODIMP View::GetExtent(DWORD aspect, LONG, DVTARGETDEVICE*, LPSIZEL size) {
  return mControl.oleObject().GetExtent(aspect, size);
}

}  // namespace cronvel::activex
