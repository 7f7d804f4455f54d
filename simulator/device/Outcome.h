#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "runtime/Bytes.h"
#include "simulator/memory/RecordMemory.h"

namespace cronvel::simulator {

/// The bytes of a command after its code.
using Payload = std::span<const std::uint8_t>;

/// What a terminal makes of a command.
struct Outcome {
  enum class Kind {
    accepted,  ///< done; answered with the good reply byte
    quiet,     ///< done; nobody waits for an answer
    refused,   ///< understood, but its values cannot be; answered with another byte
    block,     ///< answered with `answer`
    stream,    ///< answered with `stream`
    ignored,   ///< not answered at all
  };

  Kind kind = Kind::ignored;
  std::string text = {};     ///< the command in words: "SetTime 23:59:07"
  std::string problem = {};  ///< why it was refused or ignored
  RecordStream stream = {};
  int speed = 0;  ///< the baud rate that the stream is expected at; 0 when the code names none
  Bytes answer = {};
  int minimumDelay = 0;  ///< milliseconds: hosts discard what comes sooner
};

/// Bytes in hexadecimal, each with a blank before it.
std::string hexText(Payload bytes);

Outcome accepted(std::string text);
Outcome refused(const std::string& name, Payload payload, std::string problem);

}  // namespace cronvel::simulator
