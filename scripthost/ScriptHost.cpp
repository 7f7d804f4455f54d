#include "scripthost/ScriptHost.h"

#include <cwchar>
#include <utility>

#include "scripthost/ScriptObject.h"
#include "scripthost/WScriptObject.h"

namespace cronvel::scripthost {

namespace {

constexpr const wchar_t* cGlobalObject = L"WScript";

std::wstring take(BSTR& text) {
  std::wstring taken(text != nullptr ? text : L"", SysStringLen(text));
  SysFreeString(std::exchange(text, nullptr));
  return taken;
}

}  // namespace

ScriptHost::ScriptHost(std::wstring shownName, std::filesystem::path path,
                       std::vector<std::wstring> arguments)
    : mShownName(std::move(shownName)), mPath(std::move(path)), mArguments(std::move(arguments)) {}

int ScriptHost::run(const std::wstring& source) {
  mWScript = ComPtr<IDispatch>(new WScriptObject(*this));
  const HRESULT result = start(source);
  if (FAILED(result) && !mReported && !mEnding) {
    EXCEPINFO exception{};
    exception.scode = result;
    report(0, 0, L"script engine", exception);
  }
  close();
  return mExitCode;
}

HRESULT ScriptHost::start(const std::wstring& source) {
  CLSID id{};
  HRESULT result = CLSIDFromProgID(L"VBScript", &id);
  if (FAILED(result)) return result;
  ComPtr<IActiveScriptParse> parser;
  result = CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER,
                            IID_PPV_ARGS(mEngine.ReleaseAndGetAddressOf()));
  if (SUCCEEDED(result)) result = mEngine->QueryInterface(IID_PPV_ARGS(parser.GetAddressOf()));
  if (SUCCEEDED(result)) result = mEngine->SetScriptSite(this);
  if (SUCCEEDED(result)) result = parser->InitNew();
  if (SUCCEEDED(result)) result = mEngine->AddNamedItem(cGlobalObject, SCRIPTITEM_ISVISIBLE);
  if (SUCCEEDED(result)) result = mEngine->SetScriptState(SCRIPTSTATE_STARTED);
  if (FAILED(result)) return result;
  EXCEPINFO exception{};
  return parser->ParseScriptText(source.c_str(), nullptr, nullptr, nullptr, 0, 0, 0, nullptr,
                                 &exception);
}

void ScriptHost::sleep(std::chrono::milliseconds time) {
  const auto deadline = std::chrono::steady_clock::now() + time;
  do {
    MSG message;
    while (!mEnding && PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
      TranslateMessage(&message);
      DispatchMessageW(&message);
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (mEnding || left.count() <= 0) break;
    MsgWaitForMultipleObjectsEx(0, nullptr, static_cast<DWORD>(left.count()), QS_ALLINPUT,
                                MWMO_INPUTAVAILABLE);
  } while (true);
  if (mEnding) {
    // A procedure ended the script; what waited here must not go on either.
    end(mExitCode);
    throw ScriptError{E_ABORT, {}};
  }
}

void ScriptHost::connect(IUnknown* object, const std::wstring& prefix) {
  // No Attach(): the one of mingw-w64 adds a reference.
  const ComPtr<EventSink> sink(new EventSink(*this, eventsOf(object), prefix));
  sink->connect(object);
  mSinks.push_back(sink);
}

void ScriptHost::disconnect(IUnknown* object) {
  std::vector<ComPtr<EventSink>> kept;
  std::vector<ComPtr<EventSink>> gone;
  for (ComPtr<EventSink>& sink : mSinks) (sink->listensTo(object) ? gone : kept).push_back(sink);
  mSinks = std::move(kept);
  for (ComPtr<EventSink>& sink : gone) sink->disconnect();
}

void ScriptHost::end(int code) {
  if (!std::exchange(mEnding, true)) mExitCode = code;
  EXCEPINFO exception{};
  exception.scode = E_ABORT;
  if (SUCCEEDED(mEngine->InterruptScriptThread(SCRIPTTHREADID_CURRENT, &exception, 0))) return;
  close();
  ExitProcess(static_cast<UINT>(mExitCode));
}

void ScriptHost::fail(const std::wstring& source, HRESULT code, EXCEPINFO* exception) {
  if (!mReported && !mEnding) {
    EXCEPINFO plain{};
    EXCEPINFO& told = exception != nullptr ? *exception : plain;
    if (told.scode == 0 && told.wCode == 0) told.scode = code;
    report(0, 0, source, told);
  }
  end(cErrorExit);
}

void ScriptHost::report(unsigned long line, long column, const std::wstring& source,
                        EXCEPINFO& exception) {
  mReported = true;
  mExitCode = cErrorExit;
  if (exception.pfnDeferredFillIn != nullptr) exception.pfnDeferredFillIn(&exception);
  const HRESULT code = exception.scode != 0 ? exception.scode : exception.wCode;
  std::wstring told = take(exception.bstrSource);
  std::wstring text = take(exception.bstrDescription);
  SysFreeString(std::exchange(exception.bstrHelpFile, nullptr));
  if (!source.empty()) told = source;
  if (told.empty()) told = L"run-time error";
  if (text.empty()) text = systemText(code);
  wchar_t number[16];
  std::swprintf(number, 16, L"0x%08lX", static_cast<unsigned long>(code));
  writeLine(STD_ERROR_HANDLE, mShownName + L"(" + std::to_wstring(line) + L", " +
                                  std::to_wstring(column) + L"): " + told + L": " + text + L" (" +
                                  number + L")");
}

void ScriptHost::close() {
  mEnding = true;
  for (const ComPtr<EventSink>& sink : std::exchange(mSinks, {})) sink->disconnect();
  if (mEngine.Get() != nullptr) mEngine->Close();
}

ComPtr<IDispatch> ScriptHost::script() const {
  ComPtr<IDispatch> script;
  if (mEngine.Get() != nullptr) mEngine->GetScriptDispatch(nullptr, script.GetAddressOf());
  return script;
}

HRESULT ScriptHost::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid == IID_IUnknown || iid == __uuidof(IActiveScriptSite)) {
    *object = static_cast<IActiveScriptSite*>(this);
  } else if (iid == __uuidof(IActiveScriptSiteWindow)) {
    *object = static_cast<IActiveScriptSiteWindow*>(this);
  } else {
    return E_NOINTERFACE;
  }
  return S_OK;
}

HRESULT ScriptHost::GetLCID(LCID* locale) {
  *locale = LOCALE_USER_DEFAULT;
  return S_OK;
}

HRESULT ScriptHost::GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** object, ITypeInfo** type) {
  if ((mask & SCRIPTINFO_ITYPEINFO) != 0 && type != nullptr) *type = nullptr;
  if (CompareStringOrdinal(name, -1, cGlobalObject, -1, TRUE) != CSTR_EQUAL)
    return TYPE_E_ELEMENTNOTFOUND;
  if ((mask & SCRIPTINFO_IUNKNOWN) != 0) {
    *object = mWScript.Get();
    (*object)->AddRef();
  }
  return S_OK;
}

HRESULT ScriptHost::GetDocVersionString(BSTR*) { return E_NOTIMPL; }
HRESULT ScriptHost::OnScriptTerminate(const VARIANT*, const EXCEPINFO*) { return S_OK; }
HRESULT ScriptHost::OnStateChange(SCRIPTSTATE) { return S_OK; }

HRESULT ScriptHost::OnScriptError(IActiveScriptError* error) {
  // Quit and the end after an error are made to look like errors to the engine.
  if (mEnding || mReported) return S_OK;
  EXCEPINFO exception{};
  DWORD context = 0;
  ULONG line = 0;
  LONG column = 0;
  error->GetExceptionInfo(&exception);
  error->GetSourcePosition(&context, &line, &column);
  report(line + 1, column + 1, {}, exception);
  return S_OK;
}

HRESULT ScriptHost::OnEnterScript() { return S_OK; }
HRESULT ScriptHost::OnLeaveScript() { return S_OK; }

HRESULT ScriptHost::GetWindow(HWND* window) {
  *window = nullptr;
  return S_OK;
}

HRESULT ScriptHost::EnableModeless(WINBOOL) { return S_OK; }

}  // namespace cronvel::scripthost
