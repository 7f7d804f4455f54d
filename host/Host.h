#pragma once

#include <string_view>

#include "host/Container.h"
#include "host/CronvelEvents.h"
#include "host/Notes.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

/// Whom the control reports to.
struct Host {
  Container& container;
  __Cronvel& events;
  Notes notes;

  /// Raises 387 in a form designer.
  void requireRunMode() const {
    if (!container.UserMode())
      throw RunTimeError(ErrorNumber::setNotPermitted,
                         "this property can only be set while the program runs, not in a designer");
  }

  /// Sets a property and reports the change; `key` is its property-bag key.
  template <typename Value>
  void set(Value& field, const Value& value, std::string_view key) {
    field = value;
    container.PropertyChanged(key);
  }

  /// For a property that talks to the terminal or to a socket: 387 in a form designer.
  template <typename Value>
  void setInRunMode(Value& field, const Value& value, std::string_view key) {
    requireRunMode();
    set(field, value, key);
  }
};

}  // namespace cronvel
