#include "scripthost/WScriptObject.h"

#include <wrl/client.h>

#include <utility>

#include "scripthost/ScriptHost.h"

namespace cronvel::scripthost {

namespace {

class TextStream : public ScriptObject {
 public:
  explicit TextStream(DWORD stream) : ScriptObject(L"WScript.TextStream", cMembers) {
    mStream = stream;
  }

 protected:
  Variant call(DISPID id, const Arguments& arguments) override {
    checkCount(arguments, id == cWrite ? 1 : 0, 1);
    std::wstring text = arguments.empty() ? std::wstring() : toText(arguments[0]);
    if (id == cWrite) {
      write(mStream, text);
    } else {
      writeLine(mStream, text);
    }
    return {};
  }

 private:
  static constexpr DISPID cWrite = 1;
  static constexpr Member cMembers[] = {{L"Write", cWrite}, {L"WriteLine", 2}};
  DWORD mStream;
};

/// For Each over the arguments.
class ArgumentEnumerator : public IEnumVARIANT {
 public:
  ArgumentEnumerator(std::vector<std::wstring> arguments, std::size_t next)
      : mArguments(std::move(arguments)), mNext(next) {}
  virtual ~ArgumentEnumerator() = default;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) return E_NOINTERFACE;
    *object = static_cast<IEnumVARIANT*>(this);
    AddRef();
    return S_OK;
  }
  ULONG STDMETHODCALLTYPE AddRef() override { return ++mReferences; }
  ULONG STDMETHODCALLTYPE Release() override {
    const ULONG left = --mReferences;
    if (left == 0) delete this;
    return left;
  }
  HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) override {
    ULONG done = 0;
    while (done < count && mNext < mArguments.size()) {
      BSTR text = SysAllocString(mArguments[mNext].c_str());
      if (text == nullptr) break;
      VariantInit(&values[done]);
      values[done].vt = VT_BSTR;
      values[done].bstrVal = text;
      ++done;
      ++mNext;
    }
    if (fetched != nullptr) *fetched = done;
    return done == count ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
    const std::size_t left = mArguments.size() - mNext;
    mNext += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
  }
  HRESULT STDMETHODCALLTYPE Reset() override {
    mNext = 0;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) override {
    *copy = new ArgumentEnumerator(mArguments, mNext);
    return S_OK;
  }

 private:
  ULONG mReferences = 1;
  std::vector<std::wstring> mArguments;
  std::size_t mNext;
};

class ArgumentList : public ScriptObject {
 public:
  explicit ArgumentList(std::vector<std::wstring> arguments)
      : ScriptObject(L"WScript.Arguments", cMembers), mArguments(std::move(arguments)) {}

  Variant item(const Arguments& arguments) const {
    checkCount(arguments, 1, 1);
    const long index = toLong(arguments[0]);
    if (index < 0 || static_cast<std::size_t>(index) >= mArguments.size())
      throw ScriptError{DISP_E_BADINDEX, {}};
    return Variant(mArguments[static_cast<std::size_t>(index)]);
  }

 protected:
  Variant call(DISPID id, const Arguments& arguments) override {
    if (id == DISPID_VALUE) return item(arguments);
    checkCount(arguments, 0, 0);
    if (id != DISPID_NEWENUM) return Variant(static_cast<long>(mArguments.size()));
    Variant enumerator;
    enumerator.punkVal = new ArgumentEnumerator(mArguments, 0);
    enumerator.vt = VT_UNKNOWN;
    return enumerator;
  }

 private:
  static constexpr Member cMembers[] = {
      {L"Item", DISPID_VALUE}, {L"Count", 1}, {L"Length", 1}, {L"_NewEnum", DISPID_NEWENUM}};
  std::vector<std::wstring> mArguments;
};

enum MemberId : DISPID {
  cEcho = 1,
  cSleep,
  cQuit,
  cArguments,
  cScriptFullName,
  cScriptName,
  cCreateObject,
  cConnectObject,
  cDisconnectObject,
  cStdOut,
  cStdErr
};

constexpr ScriptObject::Member cMembers[] = {{L"Echo", cEcho},
                                             {L"Sleep", cSleep},
                                             {L"Quit", cQuit},
                                             {L"Arguments", cArguments},
                                             {L"ScriptFullName", cScriptFullName},
                                             {L"ScriptName", cScriptName},
                                             {L"CreateObject", cCreateObject},
                                             {L"ConnectObject", cConnectObject},
                                             {L"DisconnectObject", cDisconnectObject},
                                             {L"StdOut", cStdOut},
                                             {L"StdErr", cStdErr}};

}  // namespace

WScriptObject::WScriptObject(ScriptHost& host) : ScriptObject(L"WScript", cMembers), mHost(host) {}

Variant WScriptObject::call(DISPID id, const Arguments& arguments) {
  switch (id) {
    case cEcho: {
      std::wstring line;
      for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (i > 0) line += L' ';
        line += toText(arguments[i]);
      }
      writeLine(STD_OUTPUT_HANDLE, line);
      return {};
    }
    case cSleep: {
      checkCount(arguments, 1, 1);
      const long time = toLong(arguments[0]);
      if (time < 0) throw ScriptError{E_INVALIDARG, {}};
      mHost.sleep(std::chrono::milliseconds(time));
      return {};
    }
    case cQuit:
      checkCount(arguments, 0, 1);
      mHost.end(arguments.empty() ? 0 : toLong(arguments[0]));
      // Fails, so that the script does not go on even where the engine would let it.
      throw ScriptError{E_ABORT, {}};
    case cArguments: {
      Variant list(new ArgumentList(mHost.arguments()));
      if (arguments.empty()) return list;
      return static_cast<ArgumentList*>(list.pdispVal)->item(arguments);
    }
    case cScriptFullName:
      return Variant(mHost.path().wstring());
    case cScriptName:
      return Variant(mHost.path().filename().wstring());
    case cCreateObject:
      return createObject(arguments);
    case cConnectObject:
      checkCount(arguments, 2, 2);
      mHost.connect(toObject(arguments[0]), toText(arguments[1]));
      return {};
    case cDisconnectObject:
      checkCount(arguments, 1, 1);
      mHost.disconnect(toObject(arguments[0]));
      return {};
    case cStdOut:
      return Variant(new TextStream(STD_OUTPUT_HANDLE));
    case cStdErr:
      return Variant(new TextStream(STD_ERROR_HANDLE));
    default:
      throw ScriptError{DISP_E_MEMBERNOTFOUND, {}};
  }
}

Variant WScriptObject::createObject(const Arguments& arguments) {
  checkCount(arguments, 1, 2);
  const std::wstring name = toText(arguments[0]);
  CLSID id{};
  Microsoft::WRL::ComPtr<IDispatch> object;
  HRESULT result = CLSIDFromProgID(name.c_str(), &id);
  if (SUCCEEDED(result))
    result = CoCreateInstance(id, nullptr, CLSCTX_SERVER, IID_PPV_ARGS(object.GetAddressOf()));
  if (FAILED(result))
    throw ScriptError{result,
                      L"cannot create an object named \"" + name + L"\": " + systemText(result)};
  if (arguments.size() == 2) mHost.connect(object.Get(), toText(arguments[1]));
  return Variant(object.Get());
}

}  // namespace cronvel::scripthost
