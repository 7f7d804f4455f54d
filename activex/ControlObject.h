#pragma once

#include <memory>

#include "activex/ClassInfo.h"
#include "activex/DataObject.h"
#include "activex/Dispatch.h"
#include "activex/Events.h"
#include "activex/HostPlatform.h"
#include "activex/InPlace.h"
#include "activex/Module.h"
#include "activex/OleObject.h"
#include "activex/Persistence.h"
#include "activex/Site.h"
#include "activex/View.h"
#include "control/Cronvel.h"

namespace cronvel::activex {

/// The COM object around a control: its identity, its lifetime, and the parts that answer for its
/// interfaces. It can be aggregated. Everything runs on the thread that made it.
///
/// A host may close the control or let go of it while a command waits, or from inside an event. The
/// command then ends at once; the control is still at work under the host's own code, so its end
/// waits until that work has returned.
class ControlObject final : public IUnknown {
 public:
  /// Raises what the machine has against a control (`RunTimeError`).
  static HRESULT create(IUnknown* outer, REFIID iid, void** object);

  /// The object's own unknown, which a container that aggregates it holds.
  STDMETHODIMP QueryInterface(REFIID iid, void** object) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;

  IUnknown* outer() { return mOuter; }
  Cronvel& core() { return *mCore; }
  Site& site() { return mSite; }
  View& view() { return mView; }
  DataObject& dataObject() { return mDataObject; }
  Events& events() { return mEvents; }
  InPlace& inPlace() { return mInPlace; }
  OleObject& oleObject() { return mOleObject; }
  Persistence& persistence() { return mPersistence; }

  /// Keeps the object while one of its calls or events is under way.
  class Busy {
   public:
    explicit Busy(ControlObject& control);
    ~Busy();
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;

   private:
    ControlObject& mControl;
  };

  /// The container closes the control: the command under way ends, and as soon as it has, the port
  /// and the socket are there for others.
  void close();

  /// Nobody holds the object any more; it only waits for its end.
  bool released() const { return mReferences == 0; }

 private:
  explicit ControlObject(IUnknown* outer);
  ~ControlObject();

  void idle();
  void freeLinks();
  void end();
  void endLater();
  static LRESULT CALLBACK endProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  module::Lock mLock;
  ULONG mReferences = 0;
  int mBusy = 0;
  bool mCloseAsked = false;
  bool mEndAsked = false;
  IUnknown* mOuter;

  Site mSite;
  Events mEvents;
  Dispatch mDispatch;
  ClassInfo mClassInfo;
  Persistence mPersistence;
  View mView;
  DataObject mDataObject;
  InPlace mInPlace;
  OleObject mOleObject;

  std::unique_ptr<Platform> mMachine;
  HostPlatform mPlatform;
  std::unique_ptr<Cronvel> mCore;
};

}  // namespace cronvel::activex
