#include "activex/View.h"

#include <algorithm>
#include <array>
#include <string>

#include "activex/ControlObject.h"
#include "activex/resource.h"

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
  LPtoDP(device, reinterpret_cast<POINT*>(&area), 2);
  const SavedDevice saved(device);
  SetMapMode(device, MM_TEXT);
  SetViewportOrgEx(device, 0, 0, nullptr);
  SetWindowOrgEx(device, 0, 0, nullptr);
  if (area.left > area.right) std::swap(area.left, area.right);
  if (area.top > area.bottom) std::swap(area.top, area.bottom);
  draw(device, area);
  return S_OK;
}

void View::draw(HDC device, const RECT& bounds) {
  const SavedDevice saved(device);
  RECT area = bounds;
  FillRect(device, &area, GetSysColorBrush(COLOR_BTNFACE));
  DrawEdge(device, &area, EDGE_RAISED, BF_RECT);
  const int height = area.bottom - area.top;
  const int iconSize = std::min(32, std::max(0, height - 6));
  HANDLE icon = LoadImageW(module::instance(), MAKEINTRESOURCEW(IDI_CRONVEL), IMAGE_ICON, iconSize,
                           iconSize, 0);
  if (icon != nullptr && iconSize > 0)
    DrawIconEx(device, area.left + 4, area.top + (height - iconSize) / 2, static_cast<HICON>(icon),
               iconSize, iconSize, 0, nullptr, DI_NORMAL);
  if (icon != nullptr) DestroyIcon(static_cast<HICON>(icon));

  const std::wstring text = L"Cronvel\nCOM" + std::to_wstring(mControl.core().CommPort()) +
                            L", terminal " + std::to_wstring(mControl.core().DeviceNum());
  SelectObject(device, GetStockObject(DEFAULT_GUI_FONT));
  SetBkMode(device, TRANSPARENT);
  SetTextColor(device, GetSysColor(COLOR_BTNTEXT));
  area.left += iconSize + 8;
  RECT measured = area;
  const int lines = DrawTextW(device, text.c_str(), -1, &measured, DT_CALCRECT | DT_NOPREFIX);
  area.top += std::max(2, (height - lines) / 2);
  DrawTextW(device, text.c_str(), -1, &area, DT_NOPREFIX);
}

void View::changed() {
  const ControlObject::Busy busy(mControl);
  mControl.inPlace().redraw();
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
