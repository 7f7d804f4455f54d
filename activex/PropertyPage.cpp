#include "activex/PropertyPage.h"

#include <algorithm>
#include <array>
#include <string>

#include "activex/InterfaceProperty.h"
#include "activex/Site.h"
#include "activex/Values.h"
#include "activex/resource.h"

namespace cronvel::activex {
namespace {

struct Field {
  int id;
  const char* property;
  enum class Kind { text, flag } kind;
  enum class Change { always, atRunTime, never } change;
};

using Kind = Field::Kind;
using Change = Field::Change;
constexpr std::array<Field, 11> fields = {{
    {IDC_COMMPORT, "CommPort", Kind::text, Change::always},
    {IDC_DEVICENUM, "DeviceNum", Kind::text, Change::always},
    {IDC_IDLEN, "IdLen", Kind::text, Change::always},
    {IDC_BPS, "BPS", Kind::text, Change::atRunTime},
    {IDC_DIALUP, "DialupConnection", Kind::flag, Change::always},
    {IDC_TELNUM, "TelNum", Kind::text, Change::always},
    {IDC_ENABLED, "Enabled", Kind::flag, Change::always},
    {IDC_READERON, "ReaderOn", Kind::flag, Change::never},
    {IDC_MONITORINGON, "MonitoringON", Kind::flag, Change::never},
    {IDC_NUMOFRECS, "NumOfRecs", Kind::text, Change::always},
    {IDC_DAMAGEDRECS, "DamagedRecs", Kind::text, Change::always},
}};

/// The speeds at which terminals stream their records.
constexpr std::array speeds = {L"110",  L"150",  L"300",  L"600",  L"1200",
                               L"2400", L"4800", L"9600", L"19200"};

const Field* fieldOf(int id) {
  const auto found =
      std::find_if(fields.begin(), fields.end(), [id](const Field& f) { return f.id == id; });
  return found == fields.end() ? nullptr : &*found;
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

std::wstring textIn(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(
      static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
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
  HWND dialog = CreateDialogParamW(module::instance(), MAKEINTRESOURCEW(IDD_PROPERTIES),
                                   GetDesktopWindow(), nullptr, 0);
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
  mDialog = CreateDialogParamW(module::instance(), MAKEINTRESOURCEW(IDD_PROPERTIES), parent,
                               dialogProcedure, reinterpret_cast<LPARAM>(this));
  if (mDialog == nullptr) return HRESULT_FROM_WIN32(GetLastError());
  for (const wchar_t* speed : speeds)
    SendDlgItemMessageW(mDialog, IDC_BPS, CB_ADDSTRING, 0, reinterpret_cast<LPARAM>(speed));
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
  for (const Field& field : fields) {
    DISPPARAMS none{};
    OwnedVariant value;
    HWND window = GetDlgItem(mDialog, field.id);
    const HRESULT got = mObjects.front()->Invoke(interfaceProperty(field.property)->id, IID_NULL,
                                                 LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none,
                                                 &value, nullptr, nullptr);
    if (SUCCEEDED(got) && field.kind == Kind::flag)
      SendMessageW(window, BM_SETCHECK, value->boolVal ? BST_CHECKED : BST_UNCHECKED, 0);
    else if (SUCCEEDED(got) && SUCCEEDED(VariantChangeType(&value, &value, 0, VT_BSTR)))
      SetWindowTextW(window, value->bstrVal);
    EnableWindow(window,
                 field.change == Change::always || (field.change == Change::atRunTime && runMode));
  }
  mShowing = false;
  mChanged.clear();
}

void PropertyPage::noteChange(int field) {
  if (mShowing) return;
  if (std::find(mChanged.begin(), mChanged.end(), field) == mChanged.end())
    mChanged.push_back(field);
  if (mSite) mSite->OnStatusChange(PROPPAGESTATUS_DIRTY | PROPPAGESTATUS_VALIDATE);
}

STDMETHODIMP PropertyPage::Apply() {
  while (!mChanged.empty()) {
    const HRESULT done = applyField(mChanged.front());
    if (FAILED(done)) return done;  // the field that was refused stays changed
    mChanged.erase(mChanged.begin());
  }
  return S_OK;
}

HRESULT PropertyPage::applyField(int id) {
  const Field& field = *fieldOf(id);
  HWND window = GetDlgItem(mDialog, id);
  OwnedVariant value;
  if (field.kind == Kind::flag) {
    value->vt = VT_BOOL;
    value->boolVal =
        SendMessageW(window, BM_GETCHECK, 0, 0) == BST_CHECKED ? VARIANT_TRUE : VARIANT_FALSE;
  } else {
    value->vt = VT_BSTR;
    value->bstrVal = SysAllocString(textIn(window).c_str());
  }
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value, &put, 1, 1};
  for (const auto& object : mObjects) {
    OwnedException exception;
    const HRESULT done =
        object->Invoke(interfaceProperty(field.property)->id, IID_NULL, LOCALE_USER_DEFAULT,
                       DISPATCH_PROPERTYPUT, &parameters, nullptr, &exception, nullptr);
    if (FAILED(done)) {
      showError(id, done, exception);
      return done;
    }
  }
  return S_OK;
}

void PropertyPage::showError(int field, HRESULT result, const EXCEPINFO& exception) const {
  HWND window = GetDlgItem(mDialog, field);
  const std::string name = fieldOf(field)->property;
  std::wstring text(name.begin(), name.end());
  if (exception.bstrDescription != nullptr)
    text += std::wstring(L": ") + exception.bstrDescription;
  else if (result == DISP_E_OVERFLOW)
    text += L": " + textIn(window) + L" is out of range.";
  else
    text += L": " + textIn(window) + L" is not a number.";
  MessageBoxW(mDialog, text.c_str(), L"Cronvel", MB_OK | MB_ICONEXCLAMATION);
  SetFocus(window);
}

INT_PTR CALLBACK PropertyPage::dialogProcedure(HWND dialog, UINT message, WPARAM wParam,
                                               LPARAM lParam) {
  if (message == WM_INITDIALOG) SetWindowLongPtrW(dialog, GWLP_USERDATA, lParam);
  auto* const page = reinterpret_cast<PropertyPage*>(GetWindowLongPtrW(dialog, GWLP_USERDATA));
  if (message != WM_COMMAND || page == nullptr || page->mDialog == nullptr) return FALSE;
  const Field* const field = fieldOf(LOWORD(wParam));
  const int happened = HIWORD(wParam);
  const bool changed = happened == EN_CHANGE || happened == CBN_EDITCHANGE ||
                       happened == CBN_SELCHANGE || happened == BN_CLICKED;
  if (field != nullptr && changed) page->noteChange(field->id);
  return FALSE;
}

}  // namespace cronvel::activex
