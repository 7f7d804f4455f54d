#include "activex/DataObject.h"

#include <array>

#include "activex/ControlObject.h"
#include "activex/Enumerator.h"
#include "activex/Values.h"

namespace cronvel::activex {
namespace {

constexpr std::array pictures = {
    FORMATETC{CF_ENHMETAFILE, nullptr, DVASPECT_CONTENT, -1, TYMED_ENHMF},
    FORMATETC{CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT}};

struct CopiedFormat {
  static void copy(FORMATETC& to, const FORMATETC& from) { to = from; }
};
using Formats =
    Enumerator<IEnumFORMATETC, IID_IEnumFORMATETC, FORMATETC, CopiedFormat, ComPtr<IUnknown>>;

RECT whole(const SIZEL& extent) { return {0, 0, extent.cx, extent.cy}; }

}  // namespace

STDMETHODIMP DataObject::QueryGetData(FORMATETC* format) {
  if (format == nullptr) return E_POINTER;
  HRESULT why = DV_E_FORMATETC;
  for (const FORMATETC& picture : pictures) {
    if (picture.cfFormat != format->cfFormat) continue;
    if ((format->dwAspect & picture.dwAspect) == 0) return DV_E_DVASPECT;
    why = (format->tymed & picture.tymed) == 0 ? DV_E_TYMED : S_OK;
  }
  return why;
}

STDMETHODIMP DataObject::GetData(FORMATETC* format, STGMEDIUM* medium) {
  if (medium == nullptr) return E_POINTER;
  *medium = {};
  const HRESULT can = QueryGetData(format);
  if (FAILED(can)) return can;
  return guarded([&] {
    if (format->cfFormat == CF_ENHMETAFILE) {
      medium->hEnhMetaFile = enhancedMetafile();
      medium->tymed = TYMED_ENHMF;
    } else {
      medium->hMetaFilePict = windowsMetafile();
      medium->tymed = TYMED_MFPICT;
    }
    if (medium->hGlobal != nullptr) return;
    medium->tymed = TYMED_NULL;
    check(E_OUTOFMEMORY);
  });
}

/// In hundredths of a millimetre, for whatever size it is then shown in.
HGLOBAL DataObject::windowsMetafile() const {
  const SIZEL extent = mControl.oleObject().extent();
  const HDC device = CreateMetaFileW(nullptr);
  if (device == nullptr) return nullptr;
  SetMapMode(device, MM_ANISOTROPIC);
  SetWindowOrgEx(device, 0, 0, nullptr);
  SetWindowExtEx(device, extent.cx, extent.cy, nullptr);
  mControl.view().draw(device, whole(extent));
  const HMETAFILE metafile = CloseMetaFile(device);
  const HGLOBAL memory =
      metafile == nullptr ? nullptr : GlobalAlloc(GMEM_MOVEABLE, sizeof(METAFILEPICT));
  if (memory == nullptr) {
    DeleteMetaFile(metafile);
    return nullptr;
  }
  *static_cast<METAFILEPICT*>(GlobalLock(memory)) = {MM_ANISOTROPIC, extent.cx, extent.cy,
                                                     metafile};
  GlobalUnlock(memory);
  return memory;
}

HENHMETAFILE DataObject::enhancedMetafile() const {
  const SIZEL extent = mControl.oleObject().extent();
  const RECT frame = whole(extent);
  const HDC device = CreateEnhMetaFileW(nullptr, nullptr, &frame, nullptr);
  if (device == nullptr) return nullptr;
  // The frame's size in pixels of the screen that the metafile refers to.
  const auto pixels = [device](LONG size, int resolution, int millimetres) {
    return MulDiv(size, GetDeviceCaps(device, resolution),
                  100 * GetDeviceCaps(device, millimetres));
  };
  mControl.view().draw(
      device, {0, 0, pixels(extent.cx, HORZRES, HORZSIZE), pixels(extent.cy, VERTRES, VERTSIZE)});
  return CloseEnhMetaFile(device);
}

STDMETHODIMP DataObject::GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) {
  if (format == nullptr || canonical == nullptr) return E_POINTER;
  *canonical = *format;
  canonical->ptd = nullptr;  // the same for every device
  return format->ptd == nullptr ? DATA_S_SAMEFORMATETC : S_OK;
}

STDMETHODIMP DataObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) {
  if (formats == nullptr) return E_POINTER;
  *formats = nullptr;
  if (direction != DATADIR_GET) return E_NOTIMPL;
  return guarded([&] { *formats = new Formats({pictures.begin(), pictures.end()}, {}); });
}

STDMETHODIMP DataObject::DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* cookie) {
  if (!mAdvises) {
    const HRESULT made = CreateDataAdviseHolder(&mAdvises);
    if (FAILED(made)) return made;
  }
  return mAdvises->Advise(this, format, flags, sink, cookie);
}

STDMETHODIMP DataObject::DUnadvise(DWORD cookie) {
  return mAdvises ? mAdvises->Unadvise(cookie) : OLE_E_NOCONNECTION;
}

STDMETHODIMP DataObject::EnumDAdvise(IEnumSTATDATA** advises) {
  if (advises == nullptr) return E_POINTER;
  *advises = nullptr;
  return mAdvises ? mAdvises->EnumAdvise(advises) : S_OK;
}

void DataObject::changed() {
  if (mAdvises) mAdvises->SendOnDataChange(this, 0, 0);
}

}  // namespace cronvel::activex
