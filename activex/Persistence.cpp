#include "activex/Persistence.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "activex/ControlObject.h"
#include "activex/Values.h"
#include "host/PropertyBag.h"
#include "runtime/Conversion.h"
#include "runtime/Text.h"

namespace cronvel::activex {
namespace {

/// A host's property bag. A value that cannot be had in the default's type goes to the host's error
/// log, and ends the loading.
class HostBag final : public PropertyBag {
 public:
  HostBag(IPropertyBag& bag, IErrorLog* errors, bool saveAll)
      : mBag(bag), mErrors(errors), mSaveAll(saveAll) {}

  Variant ReadProperty(std::string_view key, const Variant& defaultValue) override {
    const std::wstring name(key.begin(), key.end());
    OwnedVariant value;
    // The kind of value that is wanted: a bag that keeps texts converts it.
    const VARIANT wanted = newVariant(defaultValue);
    value->vt = wanted.vt;
    if (wanted.vt == VT_BSTR) SysFreeString(wanted.bstrVal);
    if (FAILED(mBag.Read(name.c_str(), &value, mErrors)) || value->vt == VT_EMPTY)
      return defaultValue;
    try {
      return convertLike(variantOf(*value), defaultValue);
    } catch (const RunTimeError& error) {
      log(name, error);
      throw;
    }
  }

  void WriteProperty(std::string_view key, const Variant& value,
                     const Variant& defaultValue) override {
    if (!mSaveAll && value == defaultValue) return;
    const std::wstring name(key.begin(), key.end());
    VARIANT stored = newVariant(value);
    const HRESULT written = mBag.Write(name.c_str(), &stored);
    VariantClear(&stored);
    check(written);
  }

 private:
  void log(const std::wstring& name, const RunTimeError& error) {
    if (mErrors == nullptr) return;
    OwnedException info;
    info.bstrSource = SysAllocString(L"CronvelOCX.Cronvel");
    info.bstrDescription = newText(std::string(error.what()));
    info.scode = MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, static_cast<int>(error.number()));
    mErrors->AddError(name.c_str(), &info);
  }

  IPropertyBag& mBag;
  IErrorLog* mErrors;
  bool mSaveAll;
};

constexpr std::uint32_t magic = 0x4C565243;  // "CRVL"
constexpr std::uint16_t currentVersion = 1;
constexpr std::uint32_t longestText = 1 << 16;

template <typename T>
T readPlain(IStream& stream) {
  T value{};
  ULONG count = 0;
  check(stream.Read(&value, sizeof value, &count));
  if (count != sizeof value) throw ComError{STG_E_READFAULT};
  return value;
}

template <typename T>
void writePlain(IStream& stream, T value) {
  check(stream.Write(&value, sizeof value, nullptr));
}

std::u16string readText(IStream& stream) {
  const auto size = readPlain<std::uint32_t>(stream);
  if (size > longestText || size % sizeof(char16_t) != 0) throw ComError{STG_E_INVALIDHEADER};
  std::u16string text(size / sizeof(char16_t), u'\0');
  ULONG count = 0;
  check(stream.Read(text.data(), size, &count));
  if (count != size) throw ComError{STG_E_READFAULT};
  return text;
}

void writeText(IStream& stream, const std::u16string& text) {
  const auto size = static_cast<ULONG>(text.size() * sizeof(char16_t));
  writePlain<std::uint32_t>(stream, size);
  check(stream.Write(text.data(), size, nullptr));
}

std::u16string asText(const Variant& value) {
  if (const auto* text = std::get_if<std::u16string>(&value)) return *text;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? u"-1" : u"0";
  if (const auto* number = std::get_if<std::int16_t>(&value))
    return toUtf16(std::to_string(*number));
  return toUtf16(std::to_string(std::get<std::int32_t>(value)));
}

/// Properties as texts, on their way from or to a stream.
class StreamBag final : public PropertyBag {
 public:
  Variant ReadProperty(std::string_view key, const Variant& defaultValue) override {
    const auto found = mTexts.find(toUtf16(key));
    if (found == mTexts.end()) return defaultValue;
    return convertLike(found->second, defaultValue);
  }
  void WriteProperty(std::string_view key, const Variant& value,
                     const Variant& defaultValue) override {
    if (value != defaultValue) mTexts[toUtf16(key)] = asText(value);
  }

  void load(IStream& stream) {
    if (readPlain<std::uint32_t>(stream) != magic) throw ComError{STG_E_INVALIDHEADER};
    const auto version = readPlain<std::uint16_t>(stream);
    if (version > currentVersion)
      throw ComError{failWith(STG_E_OLDDLL,
                              "The form was saved by a later version of the Cronvel control "
                              "(stream version " +
                                  std::to_string(version) + ", this control reads up to " +
                                  std::to_string(currentVersion) +
                                  "). Install that version, then open the form again.")};
    for (auto left = readPlain<std::uint16_t>(stream); left > 0; --left) {
      std::u16string key = readText(stream);
      mTexts[std::move(key)] = readText(stream);
    }
  }

  void save(IStream& stream) const {
    writePlain(stream, magic);
    writePlain(stream, currentVersion);
    writePlain(stream, static_cast<std::uint16_t>(mTexts.size()));
    for (const auto& [key, text] : mTexts) {
      writeText(stream, key);
      writeText(stream, text);
    }
  }

 private:
  std::map<std::u16string, std::u16string> mTexts;
};

constexpr const wchar_t* contents = L"Contents";

}  // namespace

IUnknown* Persistence::find(REFIID iid) {
  if (iid == IID_IPersistStreamInit || iid == IID_IPersistStream || iid == IID_IPersist)
    return static_cast<IPersistStreamInit*>(this);
  if (iid == IID_IPersistPropertyBag) return static_cast<IPersistPropertyBag*>(this);
  if (iid == IID_IPersistStorage) return static_cast<IPersistStorage*>(this);
  if (iid == IID_IObjectSafety) return static_cast<IObjectSafety*>(this);
  return nullptr;
}

STDMETHODIMP Persistence::GetClassID(CLSID* clsid) {
  if (clsid == nullptr) return E_POINTER;
  *clsid = CLSID_Cronvel;
  return S_OK;
}

STDMETHODIMP Persistence::IsDirty() { return mControl.site().dirty() ? S_OK : S_FALSE; }

STDMETHODIMP Persistence::InitNew() {
  return guarded([&] {
    mControl.core().InitProperties();
    mControl.site().dirty(true);
  });
}

STDMETHODIMP Persistence::Load(IStream* stream) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    StreamBag bag;
    bag.load(*stream);
    mControl.core().ReadProperties(bag);
    mControl.site().dirty(false);
    mControl.view().changed();
  });
}

STDMETHODIMP Persistence::Save(IStream* stream, BOOL clearDirty) {
  if (stream == nullptr) return E_POINTER;
  return guarded([&] {
    StreamBag bag;
    mControl.core().WriteProperties(bag);
    bag.save(*stream);
    if (clearDirty) mControl.site().dirty(false);
    mControl.oleObject().saved();
  });
}

STDMETHODIMP Persistence::GetSizeMax(ULARGE_INTEGER* size) {
  if (size == nullptr) return E_POINTER;
  return guarded([&] {
    ComPtr<IStream> stream;
    check(CreateStreamOnHGlobal(nullptr, TRUE, &stream));
    StreamBag bag;
    mControl.core().WriteProperties(bag);
    bag.save(*stream.Get());
    STATSTG status{};
    check(stream->Stat(&status, STATFLAG_NONAME));
    *size = status.cbSize;
  });
}

STDMETHODIMP Persistence::Load(IPropertyBag* bag, IErrorLog* errors) {
  if (bag == nullptr) return E_POINTER;
  return guarded([&] {
    HostBag host(*bag, errors, false);
    mControl.core().ReadProperties(host);
    mControl.site().dirty(false);
    mControl.view().changed();
  });
}

STDMETHODIMP Persistence::Save(IPropertyBag* bag, BOOL clearDirty, BOOL saveAll) {
  if (bag == nullptr) return E_POINTER;
  return guarded([&] {
    HostBag host(*bag, nullptr, saveAll != FALSE);
    mControl.core().WriteProperties(host);
    if (clearDirty) mControl.site().dirty(false);
    mControl.oleObject().saved();
  });
}

STDMETHODIMP Persistence::InitNew(IStorage* storage) {
  return storage == nullptr ? E_POINTER : InitNew();
}

STDMETHODIMP Persistence::Load(IStorage* storage) {
  if (storage == nullptr) return E_POINTER;
  ComPtr<IStream> stream;
  const HRESULT opened =
      storage->OpenStream(contents, nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0, &stream);
  return FAILED(opened) ? opened : Load(stream.Get());
}

STDMETHODIMP Persistence::Save(IStorage* storage, BOOL) {
  if (storage == nullptr) return E_POINTER;
  ComPtr<IStream> stream;
  const HRESULT made = storage->CreateStream(
      contents, STGM_CREATE | STGM_WRITE | STGM_SHARE_EXCLUSIVE, 0, 0, &stream);
  return FAILED(made) ? made : Save(stream.Get(), FALSE);
}

STDMETHODIMP Persistence::SaveCompleted(IStorage*) {
  mControl.site().dirty(false);  // no storage is held on to
  return S_OK;
}

STDMETHODIMP Persistence::GetInterfaceSafetyOptions(REFIID iid, DWORD* supported, DWORD* enabled) {
  if (supported == nullptr || enabled == nullptr) return E_POINTER;
  *supported = *enabled = 0;
  if (find(iid) != nullptr) {
    *supported = *enabled = INTERFACESAFE_FOR_UNTRUSTED_DATA;
    return S_OK;
  }
  ComPtr<IUnknown> known;
  return QueryInterface(iid, &known);
}

STDMETHODIMP Persistence::SetInterfaceSafetyOptions(REFIID iid, DWORD mask, DWORD enabled) {
  DWORD supported = 0, already = 0;
  const HRESULT known = GetInterfaceSafetyOptions(iid, &supported, &already);
  if (FAILED(known)) return known;
  return (mask & enabled & ~supported) != 0 ? E_FAIL : S_OK;
}

}  // namespace cronvel::activex
