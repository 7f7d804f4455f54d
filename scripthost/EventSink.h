#pragma once

#include <windows.h>

#include <oaidl.h>
#include <ocidl.h>
#include <wrl/client.h>

#include <map>
#include <string>

namespace cronvel::scripthost {

using Microsoft::WRL::ComPtr;

class ScriptHost;

/// The events of an object: its default source interface.
struct EventSet {
  IID mId{};
  std::map<DISPID, std::wstring> mNames;
};

/// Asks the object's class information, else the type library of its interface. Throws ScriptError
/// when the object declares no events.
EventSet eventsOf(IUnknown* object);

/// Receives the events of one object and calls the script's procedures `prefix` + event name. An
/// event without a procedure is ignored. Arguments by reference can be changed by the script.
class EventSink : public IDispatch {
 public:
  EventSink(ScriptHost& host, EventSet events, std::wstring prefix);
  virtual ~EventSink() = default;
  EventSink(const EventSink&) = delete;
  EventSink& operator=(const EventSink&) = delete;

  /// Advises the object's connection point. Throws ScriptError.
  void connect(IUnknown* object);
  /// From now on nothing reaches the script, even if the object keeps the sink.
  void disconnect();
  /// Whether it is the object that was given to connect().
  bool listensTo(IUnknown* object) const;

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

 private:
  /// The script's procedure for the event, DISPID_UNKNOWN if it has none; looked up once.
  DISPID procedureOf(DISPID event);
  HRESULT callScript(const std::wstring& name, DISPID procedure, DISPPARAMS& parameters,
                     VARIANT* result);

  ULONG mReferences = 0;
  /// Null once disconnected.
  ScriptHost* mHost;
  EventSet mEvents;
  std::wstring mPrefix;
  std::map<DISPID, DISPID> mProcedures;
  /// The IUnknown that tells objects apart.
  ComPtr<IUnknown> mIdentity;
  ComPtr<IConnectionPoint> mPoint;
  DWORD mCookie = 0;
};

}  // namespace cronvel::scripthost
