#pragma once

#include <functional>
#include <type_traits>

#include "activex/Face.h"
#include "activex/Values.h"
#include "control/Cronvel.h"

namespace cronvel::activex {

/// How a method of the dual interface becomes a call of the control's member: arguments and results
/// are converted by their types, which both declarations tell.
class MemberCalls : public Face<::_Cronvel, ISupportErrorInfo> {
 public:
  using Face::Face;

 protected:
  ~MemberCalls() = default;

  /// Runs the body with the control, which stays alive meanwhile.
  HRESULT call(const std::function<void(Cronvel&)>& body);

  template <typename Result, typename Value, typename Class>
  HRESULT get(Result* result, Value (Class::*member)() const) {
    return call([&](Cronvel& control) { give(result, (control.*member)()); });
  }
  template <typename Result, typename Value, typename Class, typename... Parameters,
            typename... Arguments>
  HRESULT command(Result* result, Value (Class::*member)(Parameters...), Arguments... arguments) {
    return call([&](Cronvel& control) {
      pointee(result);  // before the terminal is troubled
      give(result, (control.*member)(In<std::decay_t<Parameters>>::from(arguments)...));
    });
  }
  template <typename Class, typename... Parameters, typename... Arguments>
  HRESULT action(void (Class::*member)(Parameters...), Arguments... arguments) {
    return call([&](Cronvel& control) {
      (control.*member)(In<std::decay_t<Parameters>>::from(arguments)...);
    });
  }
};

}  // namespace cronvel::activex
