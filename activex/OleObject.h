#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// The control as an object that a container embeds: its place, its size, its verbs, its end.
class OleObject final
    : public Face<IOleObject, IOleControl, IQuickActivate, ISpecifyPropertyPages> {
 public:
  explicit OleObject(ControlObject& control);
  IUnknown* find(REFIID iid);

  STDMETHODIMP SetClientSite(IOleClientSite* site) override;
  STDMETHODIMP GetClientSite(IOleClientSite** site) override;
  STDMETHODIMP SetHostNames(LPCOLESTR, LPCOLESTR) override { return S_OK; }
  STDMETHODIMP Close(DWORD option) override;
  STDMETHODIMP SetMoniker(DWORD, IMoniker*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMoniker(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHODIMP InitFromData(IDataObject*, BOOL, DWORD) override { return E_NOTIMPL; }
  STDMETHODIMP GetClipboardData(DWORD, IDataObject**) override { return E_NOTIMPL; }
  STDMETHODIMP DoVerb(LONG verb, LPMSG message, IOleClientSite* site, LONG index, HWND parent,
                      LPCRECT position) override;
  STDMETHODIMP EnumVerbs(IEnumOLEVERB** verbs) override;
  STDMETHODIMP Update() override { return S_OK; }
  STDMETHODIMP IsUpToDate() override { return S_OK; }
  STDMETHODIMP GetUserClassID(CLSID* clsid) override;
  STDMETHODIMP GetUserType(DWORD form, LPOLESTR* type) override;
  STDMETHODIMP SetExtent(DWORD aspect, SIZEL* size) override;
  STDMETHODIMP GetExtent(DWORD aspect, SIZEL* size) override;
  STDMETHODIMP Advise(IAdviseSink* sink, DWORD* cookie) override;
  STDMETHODIMP Unadvise(DWORD cookie) override;
  STDMETHODIMP EnumAdvise(IEnumSTATDATA** advises) override;
  STDMETHODIMP GetMiscStatus(DWORD aspect, DWORD* status) override;
  STDMETHODIMP SetColorScheme(LOGPALETTE*) override { return E_NOTIMPL; }

  STDMETHODIMP GetControlInfo(CONTROLINFO* info) override;
  STDMETHODIMP OnMnemonic(MSG*) override { return S_OK; }
  STDMETHODIMP OnAmbientPropertyChange(DISPID property) override;
  STDMETHODIMP FreezeEvents(BOOL freeze) override;

  STDMETHODIMP QuickActivate(QACONTAINER* container, QACONTROL* control) override;
  STDMETHODIMP SetContentExtent(LPSIZEL size) override;
  STDMETHODIMP GetContentExtent(LPSIZEL size) override;

  STDMETHODIMP GetPages(CAUUID* pages) override;

  /// How large the container has made the control, in hundredths of a millimetre.
  SIZEL extent() const { return mExtent; }
  /// Tells the container's sinks that the control was saved.
  void saved();

 private:
  HRESULT adviseHolder();
  HRESULT showProperties(HWND parent);

  SIZEL mExtent;  ///< in hundredths of a millimetre
  ComPtr<IOleAdviseHolder> mAdvises;
};

}  // namespace cronvel::activex
