#pragma once

#include <optional>
#include <sstream>

#include "control/Cronvel.h"
#include "tests/support/Errors.h"
#include "tests/support/FakePlatform.h"
#include "tests/support/TestFolder.h"

namespace cronvel::test {

/// Something else came than expected.
struct Finding : std::logic_error {
  using std::logic_error::logic_error;
};

template <typename T>
void require(const T& found, const std::type_identity_t<T>& expected, std::string_view what) {
  if (found == expected) return;
  std::ostringstream text;
  text << what << "\n  found    " << found << "\n  expected " << expected;
  throw Finding(text.str());
}

/// A control on a fake machine, in a folder of its own, for many commands: making one takes longer
/// than most of them.
template <typename Events = __Cronvel>
struct Setup {
  Setup() {
    platform.time.stepPerRead = 100'000;  // the calibration divides by the time that passes
    control.emplace(platform, container, events);
    platform.time.stepPerRead = 0;
    control->endWaitsAtMidnight();
    std::filesystem::current_path(folder.path());
  }
  ~Setup() { std::filesystem::current_path("/"); }  // the folder goes
  FakePlatform platform;
  Container container;
  Events events;
  const TestFolder folder;
  std::optional<Cronvel> control;
};

}  // namespace cronvel::test
