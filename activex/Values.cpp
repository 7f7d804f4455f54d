#include "activex/Values.h"

#include <new>
#include <vector>

#include "runtime/Text.h"

namespace cronvel::activex {
namespace {

[[noreturn]] void failType(const std::string& what) {
  throw RunTimeError(ErrorNumber::typeMismatch, what);
}

/// Gives access to an array's elements while it lives.
template <typename Element>
class Elements {
 public:
  explicit Elements(SAFEARRAY* array) : mArray(array) { check(SafeArrayAccessData(array, &mData)); }
  ~Elements() { SafeArrayUnaccessData(mArray); }
  Elements(const Elements&) = delete;
  Elements& operator=(const Elements&) = delete;
  Element* data() const { return static_cast<Element*>(mData); }

 private:
  SAFEARRAY* mArray;
  void* mData = nullptr;
};

template <typename T>
struct Stored;  // how an array holds a T
template <>
struct Stored<std::uint8_t> {
  using Type = BYTE;
  static constexpr VARTYPE kind = VT_UI1;
  static std::uint8_t get(BYTE value) { return value; }
};
template <>
struct Stored<bool> {
  using Type = VARIANT_BOOL;
  static constexpr VARTYPE kind = VT_BOOL;
  static bool get(VARIANT_BOOL value) { return value != VARIANT_FALSE; }
};
template <>
struct Stored<std::u16string> {
  using Type = BSTR;
  static constexpr VARTYPE kind = VT_BSTR;
  static std::u16string get(BSTR value) { return textOf(value); }
};

/// Whether its elements are of this kind. An array made by descriptor keeps no kind, only their
/// size and what they own.
bool holds(SAFEARRAY* array, VARTYPE wanted, std::size_t size) {
  VARTYPE kind = VT_EMPTY;
  if (SUCCEEDED(SafeArrayGetVartype(array, &kind)) && kind != VT_EMPTY) return kind == wanted;
  constexpr int owning = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT | FADF_RECORD;
  return (array->fFeatures & owning) == (wanted == VT_BSTR ? FADF_BSTR : 0) &&
         array->cbElements == size;
}

template <typename T>
std::vector<T> elementsOf(SAFEARRAY* array, LONG& lowerBound) {
  if (SafeArrayGetDim(array) != 1) failType("the array must have one dimension");
  if (!holds(array, Stored<T>::kind, sizeof(typename Stored<T>::Type)))
    failType("the array's elements are of another type");
  LONG upperBound = -1;
  check(SafeArrayGetLBound(array, 1, &lowerBound));
  check(SafeArrayGetUBound(array, 1, &upperBound));
  const Elements<typename Stored<T>::Type> elements(array);
  std::vector<T> taken;
  for (LONG i = 0; i <= upperBound - lowerBound; ++i)
    taken.push_back(Stored<T>::get(elements.data()[i]));
  return taken;
}

/// One that the host may resize.
SAFEARRAY* newArray(VARTYPE kind, std::size_t size) {
  SAFEARRAYBOUND bound{static_cast<ULONG>(size), 0};
  SAFEARRAY* const array = SafeArrayCreate(kind, 1, &bound);
  if (array == nullptr) throw std::bad_alloc();
  return array;
}

}  // namespace

std::u16string textOf(BSTR text) {
  return {reinterpret_cast<const char16_t*>(text), SysStringLen(text)};
}

BSTR newText(const std::u16string& text) {
  const BSTR made = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()),
                                      static_cast<UINT>(text.size()));
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

BSTR newText(const std::string& utf8) { return newText(toUtf16(utf8)); }

template <typename T>
HostArray<T> arrayOf(SAFEARRAY* array) {
  if (array == nullptr) return {};
  LONG lowerBound = 0;
  std::vector<T> elements = elementsOf<T>(array, lowerBound);
  return {std::move(elements), lowerBound};
}
template HostArray<std::uint8_t> arrayOf(SAFEARRAY*);
template HostArray<bool> arrayOf(SAFEARRAY*);
template HostArray<std::u16string> arrayOf(SAFEARRAY*);

Bytes bytesOf(SAFEARRAY* array) {
  LONG lowerBound = 0;
  return array == nullptr ? Bytes() : elementsOf<std::uint8_t>(array, lowerBound);
}

SAFEARRAY* newByteArray(const Bytes& bytes) {
  SAFEARRAY* const array = newArray(VT_UI1, bytes.size());
  std::copy(bytes.begin(), bytes.end(), Elements<BYTE>(array).data());
  return array;
}

SAFEARRAY* newVariantArray(const Bytes& bytes) {
  SAFEARRAY* const array = newArray(VT_VARIANT, bytes.size());
  VARIANT* next = Elements<VARIANT>(array).data();
  for (const std::uint8_t byte : bytes) {
    V_VT(next) = VT_UI1;
    V_UI1(next) = byte;
    ++next;
  }
  return array;
}

Variant variantOf(const VARIANT& value) {
  OwnedVariant direct;
  check(copyValue(&direct, value));
  switch (direct->vt) {
    case VT_EMPTY:
      return {};
    case VT_BOOL:
      return direct->boolVal != VARIANT_FALSE;
    case VT_UI1:
      return std::int16_t{direct->bVal};
    case VT_I2:
      return direct->iVal;
    case VT_I4:
      return std::int32_t{direct->lVal};
    case VT_R8:
      return direct->dblVal;
    case VT_DATE:
      return Time{direct->date};
    case VT_BSTR:
      return textOf(direct->bstrVal);
    case VT_ARRAY | VT_UI1:
      return bytesOf(direct->parray);
    default:
      break;
  }
  // Other numbers, and objects by their default value.
  if (direct->vt == VT_NULL || direct->vt == VT_ERROR || (direct->vt & VT_ARRAY) != 0 ||
      FAILED(VariantChangeType(&direct, &direct, 0, VT_R8)))
    failType("a value of this kind cannot be used here");
  return direct->dblVal;
}

VARIANT newVariant(const Variant& value) {
  VARIANT made{};
  struct Visitor {
    VARIANT& made;
    void operator()(std::monostate) const {}
    void operator()(bool flag) const {
      made.vt = VT_BOOL;
      made.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
    }
    void operator()(std::int16_t number) const {
      made.vt = VT_I2;
      made.iVal = number;
    }
    void operator()(std::int32_t number) const {
      made.vt = VT_I4;
      made.lVal = number;
    }
    void operator()(double number) const {
      made.vt = VT_R8;
      made.dblVal = number;
    }
    void operator()(Time time) const {
      made.vt = VT_DATE;
      made.date = time.days;
    }
    void operator()(const std::u16string& text) const {
      made.bstrVal = newText(text);
      made.vt = VT_BSTR;
    }
    void operator()(const Bytes& bytes) const {
      made.parray = newByteArray(bytes);
      made.vt = VT_ARRAY | VT_UI1;
    }
  };
  std::visit(Visitor{made}, value);
  return made;
}

HRESULT failWith(HRESULT result, const std::string& utf8) noexcept {
  try {
    ComPtr<ICreateErrorInfo> info;
    check(CreateErrorInfo(&info));
    OwnedText text(newText(utf8));
    OwnedText source(L"CronvelOCX.Cronvel");
    info->SetGUID(IID__Cronvel);
    info->SetDescription(text);
    info->SetSource(source);
    ComPtr<IErrorInfo> error;
    check(info.As(&error));
    SetErrorInfo(0, error.Get());
  } catch (...) {
    SetErrorInfo(0, nullptr);  // the number alone has to do
  }
  return result;
}

HRESULT handledError() noexcept {
  try {
    throw;
  } catch (const RunTimeError& error) {
    // The form in which hosts expect a control's error numbers, so that they show the number alone.
    return failWith(
        MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, static_cast<int>(error.number())),
        error.what());
  } catch (const ComError& error) {
    return error.result;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (const std::exception& error) {
    return failWith(E_UNEXPECTED, error.what());
  } catch (...) {
    return E_UNEXPECTED;
  }
}

}  // namespace cronvel::activex
