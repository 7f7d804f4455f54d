#include "activex/InPlace.h"

#include "activex/ControlObject.h"

namespace cronvel::activex {
namespace {
constexpr const wchar_t* windowClass = L"CronvelControl";
}

InPlace::~InPlace() {
  if (mWindow != nullptr) DestroyWindow(mWindow);
}

HRESULT InPlace::activate() {
  if (active()) {
    showOrHide();
    return S_OK;
  }
  const auto& clientSite = mControl.site().clientSite();
  ComPtr<IOleInPlaceSite> site;
  if (!clientSite || FAILED(clientSite.As(&site))) return OLE_E_NOT_INPLACEACTIVE;
  if (site->CanInPlaceActivate() != S_OK) return E_FAIL;
  HWND parent = nullptr;
  HRESULT done = site->GetWindow(&parent);
  if (FAILED(done)) return done;
  done = site->OnInPlaceActivate();
  if (FAILED(done)) return done;

  ComPtr<IOleInPlaceFrame> frame;
  ComPtr<IOleInPlaceUIWindow> document;
  RECT position{}, clip{};
  OLEINPLACEFRAMEINFO frameInfo{};
  frameInfo.cb = sizeof frameInfo;
  site->GetWindowContext(&frame, &document, &position, &clip, &frameInfo);

  module::registerWindowClass(windowClass, windowProcedure);
  mSite = site;
  mWindow =
      CreateWindowExW(0, windowClass, L"Cronvel", WS_CHILD | WS_CLIPSIBLINGS, position.left,
                      position.top, position.right - position.left, position.bottom - position.top,
                      parent, nullptr, module::instance(), nullptr);
  if (mWindow == nullptr) {
    const HRESULT failure = HRESULT_FROM_WIN32(GetLastError());
    InPlaceDeactivate();
    return failure;
  }
  SetWindowLongPtrW(mWindow, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetObjectRects(&position, &clip);
  showOrHide();
  return S_OK;
}

void InPlace::showOrHide() {
  if (active()) ShowWindow(mWindow, mControl.site().UserMode() ? SW_HIDE : SW_SHOWNA);
}

void InPlace::hide() {
  if (active()) ShowWindow(mWindow, SW_HIDE);
}

void InPlace::redraw() {
  if (active()) InvalidateRect(mWindow, nullptr, TRUE);
}

STDMETHODIMP InPlace::GetWindow(HWND* window) {
  if (window == nullptr) return E_POINTER;
  *window = mWindow;
  return active() ? S_OK : E_FAIL;
}

STDMETHODIMP InPlace::InPlaceDeactivate() {
  if (mWindow != nullptr) DestroyWindow(mWindow);
  mWindow = nullptr;
  if (const ComPtr<IOleInPlaceSite> site = std::move(mSite)) site->OnInPlaceDeactivate();
  return S_OK;
}

STDMETHODIMP InPlace::SetObjectRects(LPCRECT position, LPCRECT clip) {
  if (position == nullptr || clip == nullptr) return E_POINTER;
  if (!active()) return S_OK;
  RECT visible{};
  HRGN region = nullptr;
  // The whole window unless the container cuts a part of it off.
  if (IntersectRect(&visible, position, clip) != FALSE && EqualRect(&visible, position) == FALSE) {
    OffsetRect(&visible, -position->left, -position->top);
    region = CreateRectRgnIndirect(&visible);
  }
  SetWindowRgn(mWindow, region, TRUE);
  SetWindowPos(mWindow, nullptr, position->left, position->top, position->right - position->left,
               position->bottom - position->top, SWP_NOZORDER | SWP_NOACTIVATE);
  return S_OK;
}

void InPlace::paint() {
  PAINTSTRUCT painting{};
  HDC device = BeginPaint(mWindow, &painting);
  RECT area{};
  GetClientRect(mWindow, &area);
  mControl.view().draw(device, area);
  EndPaint(mWindow, &painting);
}

LRESULT CALLBACK InPlace::windowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* const self = reinterpret_cast<InPlace*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self != nullptr && message == WM_PAINT) {
    self->paint();
    return 0;
  }
  if (self != nullptr && message == WM_NCDESTROY) self->mWindow = nullptr;  // with its parent
  return DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace cronvel::activex
