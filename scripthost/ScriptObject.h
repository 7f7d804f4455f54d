#pragma once

#include <windows.h>

#include <oaidl.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "scripthost/ScriptValues.h"

namespace cronvel::scripthost {

/// Writes to the standard stream STD_OUTPUT_HANDLE or STD_ERROR_HANDLE, at once: to a console as
/// it is, else as UTF-8.
void write(DWORD stream, std::wstring_view text);
void writeLine(DWORD stream, std::wstring_view text);

/// What the system says about an error code, without the line end.
std::wstring systemText(HRESULT code);

/// A call that failed; the script sees the number and the text in Err.
struct ScriptError {
  HRESULT mCode;
  /// The system's text for the code when empty.
  std::wstring mText;
};

/// Throws ScriptError if the call failed.
void check(HRESULT result);

/// Base of the objects that the host gives to the script. The members are looked up without regard
/// to case, and may be called as a method as well as read as a property.
class ScriptObject : public IDispatch {
 public:
  struct Member {
    const wchar_t* mName;
    DISPID mId;
  };

  virtual ~ScriptObject() = default;
  ScriptObject(const ScriptObject&) = delete;
  ScriptObject& operator=(const ScriptObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                   UINT* argumentError) override;

 protected:
  /// `source` is what errors of this object name as their source.
  ScriptObject(const wchar_t* source, std::span<const Member> members)
      : mSource(source), mMembers(members) {}

  using Arguments = std::vector<Variant>;
  /// The arguments are in the script's order, without references. Throws ScriptError.
  virtual Variant call(DISPID id, const Arguments& arguments) = 0;

 private:
  ULONG mReferences = 0;
  const wchar_t* mSource;
  std::span<const Member> mMembers;
};

/// Throws ScriptError unless the number of arguments is from `least` to `most`.
void checkCount(const std::vector<Variant>& arguments, std::size_t least, std::size_t most);

}  // namespace cronvel::scripthost
