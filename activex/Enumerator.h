#pragma once

#include <utility>
#include <vector>

#include "activex/Module.h"

namespace cronvel::activex {

/// How an enumerator hands out pointers.
template <typename Interface>
struct Counted {
  static void copy(Interface*& to, Interface* from) {
    to = from;
    to->AddRef();
  }
};

/// A COM enumerator over a copy of some elements. `Keep` owns what an element points to.
template <typename Enum, const IID& iidOfEnum, typename Element, typename Copy, typename Keep>
class Enumerator final : public Enum {
 public:
  Enumerator(std::vector<Element> elements, std::vector<Keep> kept, std::size_t next = 0)
      : mElements(std::move(elements)), mKept(std::move(kept)), mNext(next) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    const bool known = iid == IID_IUnknown || iid == iidOfEnum;
    *object = known ? this : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++mReferences; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --mReferences;
    if (left == 0) delete this;
    return left;
  }

  STDMETHODIMP Next(ULONG count, Element* elements, ULONG* fetched) override {
    if (elements == nullptr || (fetched == nullptr && count != 1)) return E_POINTER;
    ULONG given = 0;
    for (; given < count && mNext < mElements.size(); ++given)
      Copy::copy(elements[given], mElements[mNext++]);
    if (fetched != nullptr) *fetched = given;
    return given == count ? S_OK : S_FALSE;
  }
  STDMETHODIMP Skip(ULONG count) override {
    const bool enough = count <= mElements.size() - mNext;
    mNext = enough ? mNext + count : mElements.size();
    return enough ? S_OK : S_FALSE;
  }
  STDMETHODIMP Reset() override {
    mNext = 0;
    return S_OK;
  }
  STDMETHODIMP Clone(Enum** clone) override {
    if (clone == nullptr) return E_POINTER;
    *clone = new Enumerator(mElements, mKept, mNext);
    return S_OK;
  }

 private:
  module::Lock mLock;
  ULONG mReferences = 1;
  std::vector<Element> mElements;
  std::vector<Keep> mKept;
  std::size_t mNext;
};

}  // namespace cronvel::activex
