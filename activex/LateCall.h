#pragma once

#include <map>
#include <utility>
#include <vector>

#include "activex/Com.h"

namespace cronvel::activex {

/// Late-bound calls on a dual interface. The type library's own way of calling insists on arguments
/// of exactly the declared types where they are passed by reference; script hosts pass variables,
/// literals and expressions as variants, and arrays as arrays of variants. Here they are converted
/// to what the member declares. A member never changes its arguments, so nothing is written back.
///
/// A caller that passes exactly the declared types, as a compiled host does, gets exactly the
/// declared result. Any other caller gets a byte array as an array of variants, which is what
/// scripts can take apart.
class LateCalls {
 public:
  explicit LateCalls(ITypeInfo& info);

  /// As `IDispatch::Invoke`, on the interface that the type information describes.
  HRESULT invoke(void* instance, DISPID member, LCID locale, WORD flags, DISPPARAMS& parameters,
                 VARIANT* result, EXCEPINFO* exception, UINT* argumentError);

 private:
  struct Parameter {
    VARTYPE type = VT_EMPTY;  ///< of what the reference refers to; VT_ARRAY with the element's
  };
  using Parameters = std::vector<Parameter>;

  std::map<DISPID, Parameters> mMethods;
  ComPtr<ITypeInfo> mInfo;
};

}  // namespace cronvel::activex
