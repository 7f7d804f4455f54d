#pragma once

#include "activex/Face.h"

namespace cronvel::activex {

/// Keeps the persisted properties with the host's form: in a property bag, in a stream, or in the
/// stream "Contents" of a storage. A property that equals its default is left out.
///
/// A stream is: the letters "CRVL", its version (2 bytes, 1), the number of properties (2 bytes),
/// then for each its key and its value, both as a length in bytes (4) and UTF-16 text; all numbers
/// little-endian. Unknown keys are passed over, so a later control may add some without a new
/// version; a stream of a later version is refused with STG_E_OLDDLL.
///
/// Loading is safe with data from anywhere, and says so: it opens nothing and sends nothing. The
/// control is not safe for scripts from anywhere: they could open ports and write files.
class Persistence final
    : public Face<IPersistStreamInit, IPersistPropertyBag, IPersistStorage, IObjectSafety> {
 public:
  using Face::Face;
  IUnknown* find(REFIID iid);

  STDMETHODIMP GetClassID(CLSID* clsid) override;
  STDMETHODIMP IsDirty() override;
  STDMETHODIMP InitNew() override;

  STDMETHODIMP Load(IStream* stream) override;
  STDMETHODIMP Save(IStream* stream, BOOL clearDirty) override;
  STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) override;

  STDMETHODIMP Load(IPropertyBag* bag, IErrorLog* errors) override;
  STDMETHODIMP Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) override;

  STDMETHODIMP InitNew(IStorage* storage) override;
  STDMETHODIMP Load(IStorage* storage) override;
  STDMETHODIMP Save(IStorage* storage, BOOL sameAsLoad) override;
  STDMETHODIMP SaveCompleted(IStorage* storage) override;
  STDMETHODIMP HandsOffStorage() override { return S_OK; }

  STDMETHODIMP GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) override;
  STDMETHODIMP SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) override;
};

}  // namespace cronvel::activex
