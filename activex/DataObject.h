#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// The control's picture as data, for documents that keep one and show it when the control itself
/// is not there: as a metafile of either kind.
class DataObject final : public Face<IDataObject> {
 public:
  using Face::Face;
  IUnknown* find(REFIID iid) { return iid == IID_IDataObject ? this : nullptr; }

  STDMETHODIMP GetData(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return DV_E_FORMATETC; }
  STDMETHODIMP QueryGetData(FORMATETC* format) override;
  STDMETHODIMP GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) override;
  STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, WINBOOL) override { return E_NOTIMPL; }
  STDMETHODIMP EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;
  STDMETHODIMP DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie) override;
  STDMETHODIMP DUnadvise(DWORD cookie) override;
  STDMETHODIMP EnumDAdvise(IEnumSTATDATA** advises) override;

  /// Something that shows has changed.
  void changed();

 private:
  HGLOBAL windowsMetafile() const;
  HENHMETAFILE enhancedMetafile() const;

  ComPtr<IDataAdviseHolder> mAdvises;
};

}  // namespace cronvel::activex
