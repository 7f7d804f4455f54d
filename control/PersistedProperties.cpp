#include "control/PersistedProperties.h"

#include "control/Cronvel.h"
#include "runtime/Conversion.h"

namespace cronvel {

/// Makes the rows; a friend of the control, because loading goes past the properties' own sets.
struct PropertyTable {
  using SetRule = PersistedProperty::SetRule;

  /// What a new control has.
  static const ControlState& initial() {
    static const ControlState state;
    return state;
  }

  /// What a bag keeps has no kind for a byte.
  static Variant kept(std::uint8_t value) { return std::int16_t{value}; }
  template <typename Value>
  static Variant kept(const Value& value) {
    return value;
  }
  static void take(std::uint8_t& field, const Variant& value) {
    field = toByte(std::get<std::int16_t>(value));
  }
  template <typename Value>
  static void take(Value& field, const Variant& value) {
    field = std::get<Value>(value);
  }
  template <typename Value>
  static Value taken(const Variant& value) {
    Value taken{};
    take(taken, convertLike(value, kept(taken)));
    return taken;
  }

  /// `Set` is a function without a state that calls the property's own.
  template <auto Field, typename Set>
  static PersistedProperty row(std::string_view key, SetRule rule, Set /*set*/) {
    using Value = std::decay_t<decltype(initial().*Field)>;
    return {
        key,
        rule,
        kept(ControlState{}.*Field),
        [](const Cronvel& control) { return kept(control.state.*Field); },
        [](Cronvel& control, const Variant& value) { control.state.*Field = taken<Value>(value); },
        [](Cronvel& control, const Variant& value) { Set{}(control, taken<Value>(value)); }};
  }

  /// The port keeps its number itself.
  static PersistedProperty commPort() {
    return {"CommPort",
            SetRule::always,
            std::int16_t{1},
            [](const Cronvel& control) -> Variant { return control.CommPort(); },
            [](Cronvel& control, const Variant& value) {
              control.serial.port().CommPort(taken<std::int16_t>(value));
            },
            [](Cronvel& control, const Variant& value) {
              control.CommPort(taken<std::int16_t>(value));
            }};
  }

  static std::span<const PersistedProperty> all() {
    using enum PersistedProperty::SetRule;
    static const PersistedProperty properties[] = {
        row<&ControlState::Enabled>("Enabled", always,
                                    [](Cronvel& c, bool value) { c.Enabled(value); }),
        commPort(),
        row<&ControlState::ReaderOn>("ReaderOn", talks,
                                     [](Cronvel& c, bool value) { c.ReaderOn(value); }),
        row<&ControlState::MonitoringON>("MonitoringON", talks,
                                         [](Cronvel& c, bool value) { c.MonitoringON(value); }),
        row<&ControlState::IdLen>("IdLen", always,
                                  [](Cronvel& c, std::uint8_t value) { c.IdLen(value); }),
        row<&ControlState::DialupConnection>(
            "DialupConnection", always, [](Cronvel& c, bool value) { c.DialupConnection(value); }),
        row<&ControlState::TelNum>(
            "TelNum", always, [](Cronvel& c, const std::u16string& value) { c.TelNum(value); }),
        row<&ControlState::BPS>("BPS", runMode,
                                [](Cronvel& c, const std::u16string& value) { c.BPS(value); }),
        row<&ControlState::DeviceNum>("DeviceNum", always,
                                      [](Cronvel& c, std::uint8_t value) { c.DeviceNum(value); }),
        row<&ControlState::NumOfRecs>("NumOfRecs", always,
                                      [](Cronvel& c, std::int32_t value) { c.NumOfRecs(value); }),
        row<&ControlState::DamagedRecs>(
            "DamagedRecs", always, [](Cronvel& c, std::int32_t value) { c.DamagedRecs(value); }),
    };
    return properties;
  }
};

std::span<const PersistedProperty> persistedProperties() { return PropertyTable::all(); }

}  // namespace cronvel
