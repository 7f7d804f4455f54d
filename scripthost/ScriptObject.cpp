#include "scripthost/ScriptObject.h"

#include <cwchar>
#include <new>

namespace cronvel::scripthost {

void write(DWORD stream, std::wstring_view text) {
  const HANDLE handle = GetStdHandle(stream);
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE || text.empty()) return;
  DWORD done = 0;
  if (DWORD mode = 0; GetConsoleMode(handle, &mode) != 0) {
    while (!text.empty() &&
           WriteConsoleW(handle, text.data(), static_cast<DWORD>(text.size()), &done, nullptr) != 0)
      text.remove_prefix(done);
    return;
  }
  const int length = static_cast<int>(text.size());
  const int size =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  std::string_view rest = bytes;
  while (!rest.empty() &&
         WriteFile(handle, rest.data(), static_cast<DWORD>(rest.size()), &done, nullptr) != 0)
    rest.remove_prefix(done);
}

void writeLine(DWORD stream, std::wstring_view text) {
  write(stream, std::wstring(text) + L"\r\n");
}

std::wstring systemText(HRESULT code) {
  // Not every system has texts for what goes wrong in scripts most.
  switch (code) {
    case DISP_E_TYPEMISMATCH:
      return L"Type mismatch";
    case DISP_E_OVERFLOW:
      return L"Overflow";
    case DISP_E_DIVBYZERO:
      return L"Division by zero";
    case CO_E_CLASSSTRING:
      return L"Invalid class string";
    default:
      break;
  }
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                static_cast<DWORD>(code), 0, text, 512, nullptr);
  while (length > 0 && std::wcschr(L"\r\n. ", text[length - 1]) != nullptr) --length;
  return length > 0 ? std::wstring(text, length) : L"unknown error";
}

void check(HRESULT result) {
  if (FAILED(result)) throw ScriptError{result, {}};
}

void checkCount(const std::vector<Variant>& arguments, std::size_t least, std::size_t most) {
  if (arguments.size() < least || arguments.size() > most)
    throw ScriptError{DISP_E_BADPARAMCOUNT, {}};
}

HRESULT ScriptObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_IDispatch) return E_NOINTERFACE;
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG ScriptObject::AddRef() { return ++mReferences; }

ULONG ScriptObject::Release() {
  const ULONG left = --mReferences;
  if (left == 0) delete this;
  return left;
}

HRESULT ScriptObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT ScriptObject::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT ScriptObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (names == nullptr || ids == nullptr || count == 0) return E_INVALIDARG;
  for (UINT i = 0; i < count; ++i) ids[i] = DISPID_UNKNOWN;
  for (const Member& member : mMembers) {
    if (CompareStringOrdinal(member.mName, -1, names[0], -1, TRUE) != CSTR_EQUAL) continue;
    ids[0] = member.mId;
    // Arguments have no names here.
    return count == 1 ? S_OK : DISP_E_UNKNOWNNAME;
  }
  return DISP_E_UNKNOWNNAME;
}

HRESULT ScriptObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                             VARIANT* result, EXCEPINFO* exception, UINT*) {
  if ((flags & (DISPATCH_METHOD | DISPATCH_PROPERTYGET)) == 0) return DISP_E_MEMBERNOTFOUND;
  if (parameters != nullptr && parameters->cNamedArgs != 0) return DISP_E_NONAMEDARGS;
  ScriptError error{E_FAIL, {}};
  try {
    Arguments arguments(parameters != nullptr ? parameters->cArgs : 0);
    for (std::size_t i = 0; i < arguments.size(); ++i)
      check(VariantCopyInd(&arguments[i], &parameters->rgvarg[arguments.size() - 1 - i]));
    Variant value = call(id, arguments);
    if (result != nullptr) *result = value.release();
    return S_OK;
  } catch (ScriptError& thrown) {
    error = std::move(thrown);
  } catch (const std::bad_alloc&) {
    error.mCode = E_OUTOFMEMORY;
  }
  // Script engines have their own texts for what is wrong with a call.
  if (error.mText.empty() && HRESULT_FACILITY(error.mCode) == FACILITY_DISPATCH) return error.mCode;
  if (exception == nullptr) return error.mCode;
  if (error.mText.empty()) error.mText = systemText(error.mCode);
  *exception = {};
  exception->scode = error.mCode;
  exception->bstrSource = SysAllocString(mSource);
  exception->bstrDescription = SysAllocString(error.mText.c_str());
  return DISP_E_EXCEPTION;
}

}  // namespace cronvel::scripthost
