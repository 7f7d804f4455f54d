#include "scripthost/EventSink.h"

#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "scripthost/ScriptHost.h"
#include "scripthost/ScriptObject.h"

namespace cronvel::scripthost {

namespace {

/// What a type information says about itself, given back at the end.
class TypeAttributes {
 public:
  explicit TypeAttributes(ITypeInfo* type) : mType(type) { check(type->GetTypeAttr(&mAttributes)); }
  ~TypeAttributes() { mType->ReleaseTypeAttr(mAttributes); }
  TypeAttributes(const TypeAttributes&) = delete;
  TypeAttributes& operator=(const TypeAttributes&) = delete;
  const TYPEATTR* operator->() const { return mAttributes; }

 private:
  ITypeInfo* mType;
  TYPEATTR* mAttributes = nullptr;
};

/// The default interface of a class, or its default interface for events; null if it has none.
ComPtr<ITypeInfo> defaultInterface(ITypeInfo* coclass, bool source) {
  constexpr int cMask = IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE;
  const int wanted = source ? cMask : IMPLTYPEFLAG_FDEFAULT;
  const TypeAttributes attributes(coclass);
  for (UINT i = 0; i < attributes->cImplTypes; ++i) {
    int flags = 0;
    HREFTYPE reference = 0;
    ComPtr<ITypeInfo> type;
    if (SUCCEEDED(coclass->GetImplTypeFlags(i, &flags)) && (flags & cMask) == wanted &&
        SUCCEEDED(coclass->GetRefTypeOfImplType(i, &reference)) &&
        SUCCEEDED(coclass->GetRefTypeInfo(reference, type.GetAddressOf())))
      return type;
  }
  return {};
}

ComPtr<ITypeLib> libraryOf(ITypeInfo* type) {
  ComPtr<ITypeLib> library;
  UINT index = 0;
  type->GetContainingTypeLib(library.GetAddressOf(), &index);
  return library;
}

/// The class in the interface's own library that has it as its default; null if there is none.
ComPtr<ITypeInfo> classWithInterface(ITypeInfo* wanted) {
  const TypeAttributes attributes(wanted);
  const ComPtr<ITypeLib> library = libraryOf(wanted);
  if (library.Get() == nullptr) return {};
  for (UINT i = 0; i < library->GetTypeInfoCount(); ++i) {
    TYPEKIND kind{};
    ComPtr<ITypeInfo> coclass;
    if (FAILED(library->GetTypeInfoType(i, &kind)) || kind != TKIND_COCLASS ||
        FAILED(library->GetTypeInfo(i, coclass.GetAddressOf())))
      continue;
    const ComPtr<ITypeInfo> type = defaultInterface(coclass.Get(), false);
    if (type.Get() != nullptr && TypeAttributes(type.Get())->guid == attributes->guid)
      return coclass;
  }
  return {};
}

ComPtr<ITypeInfo> sourceInterface(IUnknown* object) {
  IID id{};
  ComPtr<IProvideClassInfo2> namer;
  const bool named = SUCCEEDED(object->QueryInterface(IID_PPV_ARGS(namer.GetAddressOf()))) &&
                     SUCCEEDED(namer->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, &id));

  ComPtr<ITypeInfo> coclass;
  ComPtr<ITypeInfo> own;
  ComPtr<IProvideClassInfo> informer;
  if (SUCCEEDED(object->QueryInterface(IID_PPV_ARGS(informer.GetAddressOf()))))
    informer->GetClassInfo(coclass.GetAddressOf());
  if (coclass.Get() == nullptr) {
    ComPtr<IDispatch> dispatch;
    if (SUCCEEDED(object->QueryInterface(IID_PPV_ARGS(dispatch.GetAddressOf()))) &&
        SUCCEEDED(dispatch->GetTypeInfo(0, LOCALE_USER_DEFAULT, own.GetAddressOf())) &&
        own.Get() != nullptr)
      coclass = classWithInterface(own.Get());
  }

  ITypeInfo* known = coclass.Get() != nullptr ? coclass.Get() : own.Get();
  if (named && known != nullptr) {
    ComPtr<ITypeInfo> type;
    const ComPtr<ITypeLib> library = libraryOf(known);
    if (library.Get() != nullptr && SUCCEEDED(library->GetTypeInfoOfGuid(id, type.GetAddressOf())))
      return type;
  }
  return coclass.Get() != nullptr ? defaultInterface(coclass.Get(), true) : ComPtr<ITypeInfo>();
}

ComPtr<IUnknown> identityOf(IUnknown* object) {
  ComPtr<IUnknown> identity;
  object->QueryInterface(IID_PPV_ARGS(identity.GetAddressOf()));
  return identity;
}

}  // namespace

EventSet eventsOf(IUnknown* object) {
  const ComPtr<ITypeInfo> source = sourceInterface(object);
  if (source.Get() == nullptr) throw ScriptError{E_NOINTERFACE, L"the object declares no events"};
  EventSet events;
  const TypeAttributes attributes(source.Get());
  events.mId = attributes->guid;
  for (UINT i = 0; i < attributes->cFuncs; ++i) {
    FUNCDESC* function = nullptr;
    if (FAILED(source->GetFuncDesc(i, &function))) continue;
    BSTR name = nullptr;
    UINT count = 0;
    if (SUCCEEDED(source->GetNames(function->memid, &name, 1, &count)) && count == 1)
      events.mNames.emplace(function->memid, std::wstring(name, SysStringLen(name)));
    SysFreeString(name);
    source->ReleaseFuncDesc(function);
  }
  return events;
}

EventSink::EventSink(ScriptHost& host, EventSet events, std::wstring prefix)
    : mHost(&host), mEvents(std::move(events)), mPrefix(std::move(prefix)) {}

void EventSink::connect(IUnknown* object) {
  ComPtr<IConnectionPointContainer> container;
  if (FAILED(object->QueryInterface(IID_PPV_ARGS(container.GetAddressOf()))))
    throw ScriptError{E_NOINTERFACE, L"the object gives no events"};
  check(container->FindConnectionPoint(mEvents.mId, mPoint.ReleaseAndGetAddressOf()));
  mIdentity = identityOf(object);
  check(mPoint->Advise(this, &mCookie));
}

void EventSink::disconnect() {
  mHost = nullptr;
  if (mCookie != 0) mPoint->Unadvise(std::exchange(mCookie, 0));
  mPoint.Reset();
  mIdentity.Reset();
}

bool EventSink::listensTo(IUnknown* object) const {
  return identityOf(object).Get() == mIdentity.Get();
}

HRESULT EventSink::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid != IID_IUnknown && iid != IID_IDispatch && iid != mEvents.mId) return E_NOINTERFACE;
  *object = static_cast<IDispatch*>(this);
  AddRef();
  return S_OK;
}

ULONG EventSink::AddRef() { return ++mReferences; }

ULONG EventSink::Release() {
  const ULONG left = --mReferences;
  if (left == 0) delete this;
  return left;
}

HRESULT EventSink::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 0;
  return S_OK;
}

HRESULT EventSink::GetTypeInfo(UINT, LCID, ITypeInfo**) { return E_NOTIMPL; }

HRESULT EventSink::GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) {
  return DISP_E_UNKNOWNNAME;
}

HRESULT EventSink::Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS* parameters, VARIANT* result,
                          EXCEPINFO*, UINT*) {
  if (mHost == nullptr || mHost->ending()) return S_OK;
  const DISPID procedure = procedureOf(id);
  if (procedure == DISPID_UNKNOWN) return S_OK;
  // The script may disconnect the object, or let it go, within the procedure.
  const ComPtr<EventSink> self(this);
  DISPPARAMS none{};
  return callScript(mPrefix + mEvents.mNames[id], procedure,
                    parameters != nullptr ? *parameters : none, result);
}

DISPID EventSink::procedureOf(DISPID event) {
  if (const auto found = mProcedures.find(event); found != mProcedures.end()) return found->second;
  DISPID procedure = DISPID_UNKNOWN;
  if (const auto name = mEvents.mNames.find(event); name != mEvents.mNames.end()) {
    std::wstring wanted = mPrefix + name->second;
    LPOLESTR names = wanted.data();
    const ComPtr<IDispatch> script = mHost->script();
    if (script.Get() == nullptr ||
        FAILED(script->GetIDsOfNames(IID_NULL, &names, 1, LOCALE_USER_DEFAULT, &procedure)))
      procedure = DISPID_UNKNOWN;
  }
  mProcedures.emplace(event, procedure);
  return procedure;
}

HRESULT EventSink::callScript(const std::wstring& name, DISPID procedure, DISPPARAMS& parameters,
                              VARIANT* result) {
  ScriptHost& host = *mHost;
  const std::size_t count = parameters.cArgs;
  std::vector<Variant> values(count);
  // What is passed only refers to the values: it is not cleared.
  std::vector<VARIANT> passed(count);
  // Arguments are stored from the last to the first.
  const auto failArgument = [&](std::size_t i, const wchar_t* what, HRESULT code) {
    host.fail(name + L": argument " + std::to_wstring(count - i) + what, code);
    return code;
  };
  for (std::size_t i = 0; i < count; ++i) {
    const VARIANT& given = parameters.rgvarg[i];
    if (const HRESULT code = copyForScript(given, values[i]); FAILED(code))
      return failArgument(i, L" cannot be given to a script", code);
    if ((given.vt & VT_BYREF) != 0) {
      passed[i].vt = VT_BYREF | VT_VARIANT;
      passed[i].pvarVal = &values[i];
    } else {
      passed[i] = values[i];
    }
  }

  DISPPARAMS arguments{passed.data(), nullptr, static_cast<UINT>(count), 0};
  EXCEPINFO exception{};
  const ComPtr<IDispatch> script = host.script();
  const HRESULT called = script->Invoke(procedure, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD,
                                        &arguments, result, &exception, nullptr);
  if (FAILED(called)) {
    // The engine tells the host of errors inside of the procedure, not of those of the call.
    host.fail(name, called, &exception);
    return called;
  }
  for (std::size_t i = count; i-- > 0;) {
    const VARIANT& given = parameters.rgvarg[i];
    if ((given.vt & VT_BYREF) == 0) continue;
    if (const HRESULT code = giveBack(values[i], given); FAILED(code))
      return failArgument(i, L" cannot take what the script left in it", code);
  }
  return S_OK;
}

}  // namespace cronvel::scripthost
