#include "activex/ControlObject.h"

#include <utility>

#include "activex/Values.h"

namespace cronvel::activex {
namespace {
constexpr const wchar_t* endClass = L"CronvelEnd";

/// Hosts show nothing of why an object could not be made. So a trace file that cannot be written
/// leaves a control without a trace instead of none.
std::unique_ptr<Platform> makePlatform() {
  try {
    return Platform::create();
  } catch (const RunTimeError& error) {
    OutputDebugStringA(error.what());
    return Platform::createUntraced();
  }
}

}  // namespace

IUnknown* outerOf(ControlObject& control) { return control.outer(); }

HRESULT ControlObject::create(IUnknown* outer, REFIID iid, void** object) {
  *object = nullptr;
  return guarded([&] {
    auto* const control = new ControlObject(outer);
    control->AddRef();
    const HRESULT result = control->QueryInterface(iid, object);
    control->Release();
    check(result);
  });
}

ControlObject::ControlObject(IUnknown* outer)
    : mOuter(outer != nullptr ? outer : this),
      mSite(*this),
      mEvents(*this),
      mDispatch(*this),
      mClassInfo(*this),
      mPersistence(*this),
      mView(*this),
      mDataObject(*this),
      mInPlace(*this),
      mOleObject(*this),
      mMachine(makePlatform()),
      mPlatform(*mMachine, mSite),
      mCore(std::make_unique<Cronvel>(mPlatform, mSite, mEvents)) {}

ControlObject::~ControlObject() = default;

STDMETHODIMP ControlObject::QueryInterface(REFIID iid, void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (iid == IID_IUnknown) {
    *object = static_cast<IUnknown*>(this);
    AddRef();
    return S_OK;
  }
  IUnknown* found = nullptr;
  for (IUnknown* part :
       {mDispatch.find(iid), mClassInfo.find(iid), mEvents.find(iid), mPersistence.find(iid),
        mOleObject.find(iid), mInPlace.find(iid), mView.find(iid), mDataObject.find(iid)})
    if (part != nullptr) found = part;
  if (found == nullptr) return E_NOINTERFACE;
  *object = found;
  found->AddRef();
  return S_OK;
}

STDMETHODIMP_(ULONG) ControlObject::AddRef() { return ++mReferences; }

STDMETHODIMP_(ULONG) ControlObject::Release() {
  const ULONG left = --mReferences;
  if (left > 0) return left;
  if (mBusy == 0)
    end();
  else if (mCore)
    mCore->endForGood();
  return left;
}

ControlObject::Busy::Busy(ControlObject& control) : mControl(control) { ++mControl.mBusy; }

ControlObject::Busy::~Busy() {
  if (--mControl.mBusy == 0) mControl.idle();
}

void ControlObject::close() {
  const Busy busy(*this);
  mCloseAsked = true;
  mCore->endCommand();
}

void ControlObject::idle() {
  if (std::exchange(mCloseAsked, false)) freeLinks();
  if (released()) end();
}

void ControlObject::freeLinks() {
  SerialPort& port = mCore->port();
  Socket& socket = mCore->sockets().at(0);
  try {
    if (port.PortOpen()) port.PortOpen(false);
    if (socket.State() != sckClosed) socket.Close();
  } catch (const RunTimeError& error) {
    OutputDebugStringA(error.what());
  }
}

void ControlObject::end() {
  if (mEndAsked) return;
  mEndAsked = true;
  // An event is raised from inside a pump pass, which goes on with the control afterwards.
  if (mPlatform.messagePump().inPass()) return endLater();
  delete this;
}

void ControlObject::endLater() {
  module::registerWindowClass(endClass, endProcedure);
  HWND window = CreateWindowExW(0, endClass, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                module::instance(), nullptr);
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  SetTimer(window, 1, USER_TIMER_MINIMUM, nullptr);
}

/// The host's message loop may itself run inside the pass, so each tick looks again.
LRESULT CALLBACK ControlObject::endProcedure(HWND window, UINT message, WPARAM wParam,
                                             LPARAM lParam) {
  if (message != WM_TIMER) return DefWindowProcW(window, message, wParam, lParam);
  auto* const control = reinterpret_cast<ControlObject*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (control->mPlatform.messagePump().inPass()) return 0;
  DestroyWindow(window);
  delete control;
  return 0;
}

}  // namespace cronvel::activex
