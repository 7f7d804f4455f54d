#pragma once

#include <string>

#include "simulator/base/Bytes.h"
#include "simulator/device/Answer.h"

namespace cronvel::simulator {

/// What a terminal makes of a command.
struct Outcome {
  enum class Kind {
    accepted,  ///< done; answered with the good reply byte
    quiet,     ///< done; nobody waits for an answer
    refused,   ///< understood, but its values cannot be; answered with another byte
    block,     ///< answered with bytes of its own
    stream,    ///< answered with records
    ignored,   ///< not answered at all
  };

  Kind kind = Kind::ignored;
  std::string text{};     ///< the command in words: "SetTime 23:59:07"
  std::string problem{};  ///< why it was refused or ignored
  int speed = 0;  ///< the baud rate that a stream is expected at; 0 when the code names none
  Answer answer{};
};

// For commands. `text` stands right behind the command's name.
Outcome accepted(std::string text = {});
Outcome quiet(std::string text = {});
Outcome refused(Payload payload, std::string problem);
Outcome ignored(std::string text, std::string problem);
Outcome replied(Bytes bytes);
Outcome streamed(std::string text, RecordStream records, int speed);

}  // namespace cronvel::simulator
