#pragma once

#include <windows.h>

#include <activscp.h>
#include <wrl/client.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "scripthost/EventSink.h"

namespace cronvel::scripthost {

/// Runs one script in the thread that makes it, a single-threaded apartment.
class ScriptHost : public IActiveScriptSite, public IActiveScriptSiteWindow {
 public:
  /// The exit code after an error that the script did not handle.
  static constexpr int cErrorExit = 2;

  /// `shownName` is what messages call the script, `path` its full path.
  ScriptHost(std::wstring shownName, std::filesystem::path path,
             std::vector<std::wstring> arguments);
  virtual ~ScriptHost() = default;
  ScriptHost(const ScriptHost&) = delete;
  ScriptHost& operator=(const ScriptHost&) = delete;

  /// The exit code. Errors go to standard error. May end the process instead, see end().
  int run(const std::wstring& source);

  // For the script's objects; the first three throw ScriptError.

  /// Serves the thread's messages for that long: events of the connected objects arrive.
  void sleep(std::chrono::milliseconds time);
  void connect(IUnknown* object, const std::wstring& prefix);
  void disconnect(IUnknown* object);
  /// Stops the script where it is. Ends the process if the engine cannot be interrupted, having
  /// disconnected and released the script's objects.
  void end(int code);
  /// Reports an error outside of the script's own lines, unless it is a part of the script's end or
  /// of an error that is reported already, and ends the script.
  void fail(const std::wstring& source, HRESULT code, EXCEPINFO* exception = nullptr);
  /// Whether the script is being stopped and nothing must call it any more.
  bool ending() const { return mEnding; }
  /// Its procedures and variables; null before the start and after the end.
  ComPtr<IDispatch> script() const;
  const std::filesystem::path& path() const { return mPath; }
  const std::vector<std::wstring>& arguments() const { return mArguments; }

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override { return 2; }
  ULONG STDMETHODCALLTYPE Release() override { return 1; }
  HRESULT STDMETHODCALLTYPE GetLCID(LCID* locale) override;
  HRESULT STDMETHODCALLTYPE GetItemInfo(LPCOLESTR name, DWORD mask, IUnknown** object,
                                        ITypeInfo** type) override;
  HRESULT STDMETHODCALLTYPE GetDocVersionString(BSTR* version) override;
  HRESULT STDMETHODCALLTYPE OnScriptTerminate(const VARIANT* result,
                                              const EXCEPINFO* exception) override;
  HRESULT STDMETHODCALLTYPE OnStateChange(SCRIPTSTATE state) override;
  HRESULT STDMETHODCALLTYPE OnScriptError(IActiveScriptError* error) override;
  HRESULT STDMETHODCALLTYPE OnEnterScript() override;
  HRESULT STDMETHODCALLTYPE OnLeaveScript() override;
  HRESULT STDMETHODCALLTYPE GetWindow(HWND* window) override;
  HRESULT STDMETHODCALLTYPE EnableModeless(WINBOOL enable) override;

 private:
  HRESULT start(const std::wstring& source);
  /// Says the error, an empty `source` being the one in `exception`, and sets the exit code. Line
  /// and column count from 1, 0 where they are not known. Frees the texts in `exception`.
  void report(unsigned long line, long column, const std::wstring& source, EXCEPINFO& exception);
  void close();

  std::wstring mShownName;
  std::filesystem::path mPath;
  std::vector<std::wstring> mArguments;
  ComPtr<IActiveScript> mEngine;
  ComPtr<IDispatch> mWScript;
  std::vector<ComPtr<EventSink>> mSinks;
  int mExitCode = 0;
  bool mReported = false;
  bool mEnding = false;
};

}  // namespace cronvel::scripthost
