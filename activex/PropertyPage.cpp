#include "activex/PropertyPage.h"

#include <algorithm>
#include <string>

#include "activex/InterfaceProperty.h"
#include "activex/PropertyForm.h"
#include "activex/Site.h"
#include "activex/Values.h"

namespace cronvel::activex {
namespace {

using SetRule = PersistedProperty::SetRule;

DISPID idOf(const PersistedProperty& property) {
  const InterfaceProperty* const described = interfaceProperty(property.key);
  return described == nullptr ? DISPID_UNKNOWN : described->id;
}

bool inRunMode(IDispatch& object) {
  IUnknown* unknown = &object;
  ComPtr<IOleObject> embedded;
  ComPtr<IOleClientSite> clientSite;
  ComPtr<IDispatch> ambients;
  if (FAILED(unknown->QueryInterface(IID_PPV_ARGS(&embedded))) ||
      FAILED(embedded->GetClientSite(&clientSite)) || !clientSite ||
      FAILED(clientSite.As(&ambients)))
    return true;
  return ambientFlag(*ambients.Get(), DISPID_AMBIENT_USERMODE).value_or(true);
}

}  // namespace

PropertyPage::~PropertyPage() {
  if (mDialog != nullptr) DestroyWindow(mDialog);
}

STDMETHODIMP PropertyPage::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  const bool known = iid == IID_IUnknown || iid == IID_IPropertyPage;
  *object = known ? this : nullptr;
  if (!known) return E_NOINTERFACE;
  AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) PropertyPage::Release() {
  const ULONG left = --mReferences;
  if (left == 0) delete this;
  return left;
}

STDMETHODIMP PropertyPage::SetPageSite(IPropertyPageSite* site) {
  mSite = site;
  return S_OK;
}

STDMETHODIMP PropertyPage::GetPageInfo(PROPPAGEINFO* info) {
  if (info == nullptr) return E_POINTER;
  constexpr wchar_t title[] = L"General";
  info->pszTitle = static_cast<LPOLESTR>(CoTaskMemAlloc(sizeof title));
  if (info->pszTitle == nullptr) return E_OUTOFMEMORY;
  std::copy(std::begin(title), std::end(title), info->pszTitle);
  info->pszDocString = nullptr;
  info->pszHelpFile = nullptr;
  info->dwHelpContext = 0;
  // Only a dialog that exists knows its size in pixels.
  HWND dialog = createPropertyForm(GetDesktopWindow(), nullptr, 0);
  RECT area{0, 0, 400, 250};
  if (dialog != nullptr) {
    GetWindowRect(dialog, &area);
    DestroyWindow(dialog);
  }
  info->size = {area.right - area.left, area.bottom - area.top};
  return S_OK;
}

STDMETHODIMP PropertyPage::SetObjects(ULONG count, IUnknown** objects) {
  if (count > 0 && objects == nullptr) return E_POINTER;
  mObjects.clear();
  for (ULONG i = 0; i < count; ++i) {
    ComPtr<IDispatch> object;
    const HRESULT found = objects[i]->QueryInterface(IID__Cronvel, &object);
    if (FAILED(found)) return found;
    mObjects.push_back(object);
  }
  if (mDialog != nullptr && !mObjects.empty()) showValues();
  return S_OK;
}

STDMETHODIMP PropertyPage::Activate(HWND parent, LPCRECT position, BOOL) {
  if (position == nullptr) return E_POINTER;
  if (mDialog != nullptr || mObjects.empty()) return E_UNEXPECTED;
  mDialog = createPropertyForm(parent, dialogProcedure, reinterpret_cast<LPARAM>(this));
  if (mDialog == nullptr) return HRESULT_FROM_WIN32(GetLastError());
  showValues();
  Move(position);
  ShowWindow(mDialog, SW_SHOWNA);
  return S_OK;
}

STDMETHODIMP PropertyPage::Deactivate() {
  if (mDialog == nullptr) return E_UNEXPECTED;
  DestroyWindow(mDialog);
  mDialog = nullptr;
  return S_OK;
}

STDMETHODIMP PropertyPage::Show(UINT command) {
  if (mDialog == nullptr) return E_UNEXPECTED;
  ShowWindow(mDialog, static_cast<int>(command));
  return S_OK;
}

STDMETHODIMP PropertyPage::Move(LPCRECT position) {
  if (position == nullptr) return E_POINTER;
  if (mDialog == nullptr) return E_UNEXPECTED;
  MoveWindow(mDialog, position->left, position->top, position->right - position->left,
             position->bottom - position->top, TRUE);
  return S_OK;
}

STDMETHODIMP PropertyPage::TranslateAccelerator(MSG* message) {
  if (message == nullptr) return E_POINTER;
  return mDialog != nullptr && IsDialogMessageW(mDialog, message) ? S_OK : S_FALSE;
}

/// The first object's values stand for all.
void PropertyPage::showValues() {
  mShowing = true;
  const bool runMode = inRunMode(*mObjects.front().Get());
  for (const PersistedProperty& property : persistedProperties()) {
    DISPPARAMS none{};
    OwnedVariant value;
    HWND field = fieldOf(mDialog, property);
    const HRESULT got =
        mObjects.front()->Invoke(idOf(property), IID_NULL, LOCALE_USER_DEFAULT,
                                 DISPATCH_PROPERTYGET, &none, &value, nullptr, nullptr);
    if (SUCCEEDED(got)) showIn(field, property, *value);
    EnableWindow(
        field, property.rule == SetRule::always || (property.rule == SetRule::runMode && runMode));
  }
  mShowing = false;
  mChanged.clear();
}

void PropertyPage::noteChange(const PersistedProperty& property) {
  if (mShowing) return;
  if (std::ranges::find(mChanged, &property) == mChanged.end()) mChanged.push_back(&property);
  if (mSite) mSite->OnStatusChange(PROPPAGESTATUS_DIRTY | PROPPAGESTATUS_VALIDATE);
}

STDMETHODIMP PropertyPage::Apply() {
  while (!mChanged.empty()) {
    const HRESULT done = apply(*mChanged.front());
    if (FAILED(done)) return done;  // the field that was refused stays changed
    mChanged.erase(mChanged.begin());
  }
  return S_OK;
}

HRESULT PropertyPage::apply(const PersistedProperty& property) {
  OwnedVariant value;
  *value = shownIn(fieldOf(mDialog, property), property);
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value, &put, 1, 1};
  for (const auto& object : mObjects) {
    OwnedException exception;
    const HRESULT done =
        object->Invoke(idOf(property), IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYPUT,
                       &parameters, nullptr, &exception, nullptr);
    if (FAILED(done)) {
      showError(property, done, exception);
      return done;
    }
  }
  return S_OK;
}

void PropertyPage::showError(const PersistedProperty& property, HRESULT result,
                             const EXCEPINFO& exception) const {
  HWND field = fieldOf(mDialog, property);
  std::wstring text(property.key.begin(), property.key.end());
  if (exception.bstrDescription != nullptr)
    text += std::wstring(L": ") + exception.bstrDescription;
  else if (result == DISP_E_OVERFLOW)
    text += L": " + textIn(field) + L" is out of range.";
  else
    text += L": " + textIn(field) + L" is not a number.";
  MessageBoxW(mDialog, text.c_str(), L"Cronvel", MB_OK | MB_ICONEXCLAMATION);
  SetFocus(field);
}

INT_PTR CALLBACK PropertyPage::dialogProcedure(HWND dialog, UINT message, WPARAM wParam,
                                               LPARAM lParam) {
  if (message == WM_INITDIALOG) SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
  auto* const page = reinterpret_cast<PropertyPage*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  if (message != WM_COMMAND || page == nullptr || page->mDialog == nullptr) return FALSE;
  const PersistedProperty* const property = propertyOfField(LOWORD(wParam));
  const int happened = HIWORD(wParam);
  const bool changed = happened == EN_CHANGE || happened == CBN_EDITCHANGE ||
                       happened == CBN_SELCHANGE || happened == BN_CLICKED;
  if (property != nullptr && changed) page->noteChange(*property);
  return FALSE;
}

}  // namespace cronvel::activex
