#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "simulator/device/Device.h"
#include "simulator/device/Outcome.h"

namespace cronvel::simulator {

/// A command that terminals know. All that is to be said about it is its row in its family's table.
struct Command {
  std::uint8_t code;
  std::string_view name;
  std::size_t payload;               ///< bytes after the code, at most
  Outcome (*act)(Device&, Payload);  ///< carries it out; the payload is complete
  bool endsInGap = false;            ///< also complete when no more bytes come
  bool (*ended)(Payload) = nullptr;  ///< also complete when this says so
  std::int32_t payloadSpeed = 600;   ///< baud
};

/// Null for a code that no command has.
const Command* findCommand(std::uint8_t code);

// The families.
std::span<const Command> clockCommands();
std::span<const Command> recordCommands();
std::span<const Command> cardCommands();
std::span<const Command> admissionCommands();
std::span<const Command> displayCommands();
std::span<const Command> deviceCommands();

/// "T" and "F", as hosts write yes and no.
std::optional<bool> switchFrom(std::uint8_t byte);
constexpr const char* noSwitch = "neither \"T\" nor \"F\"";
constexpr const char* notConfirmed = "not confirmed by \"T\"";

}  // namespace cronvel::simulator
