#include "activex/OleObject.h"

#include "activex/ControlObject.h"
#include "activex/Enumerator.h"
#include "activex/Values.h"

namespace cronvel::activex {
namespace {

/// 120 by 38 pixels on a screen of 96 to the inch: room for the icon and two lines.
constexpr SIZEL initialExtent = {3175, 1005};

constexpr LONG propertiesVerb = OLEIVERB_PROPERTIES;

/// The text is the caller's to free.
OLECHAR* taskText(const wchar_t* text) {
  const std::size_t size = (wcslen(text) + 1) * sizeof(wchar_t);
  auto* const copy = static_cast<OLECHAR*>(CoTaskMemAlloc(size));
  if (copy != nullptr) memcpy(copy, text, size);
  return copy;
}

/// A verb list hands out a fresh text with each verb.
struct CopiedVerb {
  static void copy(OLEVERB& to, const OLEVERB& from) {
    to = from;
    to.lpszVerbName = taskText(from.lpszVerbName);
  }
};
using Verbs = Enumerator<IEnumOLEVERB, IID_IEnumOLEVERB, OLEVERB, CopiedVerb, ComPtr<IUnknown>>;

}  // namespace

OleObject::OleObject(ControlObject& control) : Face(control), mExtent(initialExtent) {}

IUnknown* OleObject::find(REFIID iid) {
  if (iid == IID_IOleObject) return static_cast<IOleObject*>(this);
  if (iid == IID_IOleControl) return static_cast<IOleControl*>(this);
  if (iid == IID_IQuickActivate) return static_cast<IQuickActivate*>(this);
  if (iid == IID_ISpecifyPropertyPages) return static_cast<ISpecifyPropertyPages*>(this);
  return nullptr;
}

STDMETHODIMP OleObject::SetClientSite(IOleClientSite* site) {
  if (site == nullptr && mControl.site().clientSite()) mControl.close();
  mControl.site().set(site);
  return S_OK;
}

STDMETHODIMP OleObject::GetClientSite(IOleClientSite** site) {
  return site == nullptr ? E_POINTER : mControl.site().clientSite().CopyTo(site);
}

STDMETHODIMP OleObject::Close(DWORD option) {
  const ControlObject::Busy busy(mControl);
  mControl.close();
  const auto site = mControl.site().clientSite();
  if (option != OLECLOSE_NOSAVE && mControl.site().dirty() && site) site->SaveObject();
  mControl.inPlace().InPlaceDeactivate();
  if (mAdvises) mAdvises->SendOnClose();
  return S_OK;
}

STDMETHODIMP OleObject::DoVerb(LONG verb, LPMSG, IOleClientSite*, LONG, HWND parent, LPCRECT) {
  const ControlObject::Busy busy(mControl);
  switch (verb) {
    case OLEIVERB_PRIMARY:
    case OLEIVERB_SHOW:
    case OLEIVERB_UIACTIVATE:
    case OLEIVERB_INPLACEACTIVATE:
      return mControl.inPlace().activate();
    case OLEIVERB_HIDE:
      mControl.inPlace().hide();
      return S_OK;
    case OLEIVERB_DISCARDUNDOSTATE:
      return S_OK;
    case propertiesVerb:
      return showProperties(parent);
    default:
      return verb > 0 ? OLEOBJ_S_INVALIDVERB : E_NOTIMPL;
  }
}

HRESULT OleObject::showProperties(HWND parent) {
  // A container may show the pages itself, among its own ones.
  ComPtr<IOleControlSite> site;
  if (mControl.site().clientSite() && SUCCEEDED(mControl.site().clientSite().As(&site)) &&
      site->ShowPropertyFrame() == S_OK)
    return S_OK;
  IUnknown* object = mControl.outer();
  CLSID page = CLSID_CronvelPage;
  return OleCreatePropertyFrame(parent, 0, 0, L"Cronvel", 1, &object, 1, &page, LOCALE_USER_DEFAULT,
                                0, nullptr);
}

STDMETHODIMP OleObject::EnumVerbs(IEnumOLEVERB** verbs) {
  if (verbs == nullptr) return E_POINTER;
  static wchar_t name[] = L"&Properties...";
  *verbs = new Verbs({OLEVERB{propertiesVerb, name, 0, OLEVERBATTRIB_ONCONTAINERMENU}}, {});
  return S_OK;
}

STDMETHODIMP OleObject::GetUserClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = CLSID_Cronvel;
  return S_OK;
}

STDMETHODIMP OleObject::GetUserType(DWORD, LPOLESTR* type) {
  if (type == nullptr) return E_POINTER;
  *type = taskText(L"Cronvel Control");
  return *type == nullptr ? E_OUTOFMEMORY : S_OK;
}

STDMETHODIMP OleObject::SetExtent(DWORD aspect, SIZEL* size) {
  if (size == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  mExtent = *size;
  return S_OK;
}

STDMETHODIMP OleObject::GetExtent(DWORD aspect, SIZEL* size) {
  if (size == nullptr) return E_POINTER;
  if (aspect != DVASPECT_CONTENT) return DV_E_DVASPECT;
  *size = mExtent;
  return S_OK;
}

HRESULT OleObject::adviseHolder() { return mAdvises ? S_OK : CreateOleAdviseHolder(&mAdvises); }

STDMETHODIMP OleObject::Advise(IAdviseSink* sink, DWORD* cookie) {
  const HRESULT made = adviseHolder();
  return FAILED(made) ? made : mAdvises->Advise(sink, cookie);
}

STDMETHODIMP OleObject::Unadvise(DWORD cookie) {
  return mAdvises ? mAdvises->Unadvise(cookie) : OLE_E_NOCONNECTION;
}

STDMETHODIMP OleObject::EnumAdvise(IEnumSTATDATA** advises) {
  if (advises == nullptr) return E_POINTER;
  const HRESULT made = adviseHolder();
  return FAILED(made) ? made : mAdvises->EnumAdvise(advises);
}

STDMETHODIMP OleObject::GetMiscStatus(DWORD aspect, DWORD* status) {
  if (status == nullptr) return E_POINTER;
  *status = aspect == DVASPECT_CONTENT ? miscStatus : 0;
  return S_OK;
}

STDMETHODIMP OleObject::GetControlInfo(CONTROLINFO* info) {
  if (info == nullptr) return E_POINTER;
  info->hAccel = nullptr;
  info->cAccel = 0;
  info->dwFlags = 0;
  return S_OK;
}

STDMETHODIMP OleObject::OnAmbientPropertyChange(DISPID property) {
  if (property == DISPID_AMBIENT_USERMODE || property == DISPID_UNKNOWN)
    mControl.inPlace().showOrHide();
  return S_OK;
}

STDMETHODIMP OleObject::FreezeEvents(BOOL freeze) {
  if (freeze)
    mControl.events().freeze();
  else
    mControl.events().thaw();
  return S_OK;
}

STDMETHODIMP OleObject::QuickActivate(QACONTAINER* container, QACONTROL* control) {
  if (container == nullptr || control == nullptr) return E_POINTER;
  if (container->cbSize < sizeof(QACONTAINER) || control->cbSize < sizeof(QACONTROL))
    return E_INVALIDARG;
  SetClientSite(container->pClientSite);
  mControl.view().SetAdvise(DVASPECT_CONTENT, 0, container->pAdviseSink);
  *control = {};
  control->cbSize = sizeof(QACONTROL);
  control->dwMiscStatus = miscStatus;
  control->dwViewStatus = VIEWSTATUS_OPAQUE;
  Events& events = mControl.events();
  if (container->pUnkEventSink != nullptr)
    events.advise(DIID___Cronvel, container->pUnkEventSink, &control->dwEventCookie);
  if (container->pPropertyNotifySink != nullptr)
    events.advise(IID_IPropertyNotifySink, container->pPropertyNotifySink,
                  &control->dwPropNotifyCookie);
  return S_OK;
}

STDMETHODIMP OleObject::SetContentExtent(LPSIZEL size) { return SetExtent(DVASPECT_CONTENT, size); }

STDMETHODIMP OleObject::GetContentExtent(LPSIZEL size) { return GetExtent(DVASPECT_CONTENT, size); }

STDMETHODIMP OleObject::GetPages(CAUUID* pages) {
  if (pages == nullptr) return E_POINTER;
  pages->pElems = static_cast<GUID*>(CoTaskMemAlloc(sizeof(GUID)));
  pages->cElems = pages->pElems == nullptr ? 0 : 1;
  if (pages->pElems == nullptr) return E_OUTOFMEMORY;
  *pages->pElems = CLSID_CronvelPage;
  return S_OK;
}

void OleObject::saved() {
  if (mAdvises) mAdvises->SendOnSave();
}

}  // namespace cronvel::activex
