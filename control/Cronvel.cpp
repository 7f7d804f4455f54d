#include "control/Cronvel.h"

#include "control/PersistedProperties.h"
#include "runtime/Conversion.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

Cronvel::Cronvel(Platform& machine, Container& site, __Cronvel& sink)
    : Host{site, sink, {}},
      SocketMembers(machine, *this),
      DeviceLinks(machine, *this, *this),
      ClockCommands(linksOf(this)),
      ReaderCommands(linksOf(this)),
      Monitoring(linksOf(this)),
      DeviceProperties(linksOf(this)),
      CardList(linksOf(this)),
      ModeCommands(linksOf(this)),
      DeviceTables(linksOf(this)),
      ModemDialup(linksOf(this)),
      RecordCheck(linksOf(this)),
      RecordDownload(linksOf(this), *this),
      mLoopsPerMs(CalibrateLoops(machine.clock())) {
  Host::notes.onNote([&machine](std::string_view text) { machine.note(text); });
}

Cronvel::~Cronvel() { network.sockets().at(0).Close(); }

/// Measures a fixed piece of work. A clock too coarse to see it pass makes the division fail with
/// 11, out of the creation of the control.
std::int32_t Cronvel::CalibrateLoops(Clock& clock) {
  constexpr std::int32_t passes = 1'000'000;
  const double start = clock.Timer();
  volatile double zero = 0;
  volatile std::int16_t whole = 0;  // volatile, so that the work is really done
  for (std::int32_t i = 0; i < passes; ++i) {
    whole = static_cast<std::int16_t>(zero / 5);
    whole = static_cast<std::int16_t>(zero / 5);
  }
  static_cast<void>(whole);
  const double elapsed = clock.Timer() - start;
  if (elapsed == 0) throw RunTimeError(ErrorNumber::divisionByZero, "the clock stands still");
  return toLong(passes / elapsed / 1000);
}

void Cronvel::InitProperties() {
  const bool enabled = state.Enabled;
  state = {};
  state.Enabled = enabled;
}

void Cronvel::ReadProperties(PropertyBag& bag) {
  for (const PersistedProperty& property : persistedProperties())
    property.load(*this, bag.ReadProperty(property.key, property.defaultValue));
}

void Cronvel::WriteProperties(PropertyBag& bag) const {
  for (const PersistedProperty& property : persistedProperties())
    bag.WriteProperty(property.key, property.get(*this), property.defaultValue);
}

void Cronvel::CommPort(std::int16_t New_CommPort) {
  SerialPort& port = serial.port();
  if (port.PortOpen()) port.PortOpen(false);
  port.CommPort(New_CommPort);
  container.PropertyChanged("CommPort");
}

}  // namespace cronvel
