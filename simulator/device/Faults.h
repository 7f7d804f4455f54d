#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "simulator/device/Answer.h"

namespace cronvel::simulator {

/// What a fault was chosen with: nothing, a number, bytes, or one of its words.
struct FaultValue {
  FaultValue(std::size_t numberGiven = 0) : number(numberGiven) {}
  FaultValue(Bytes bytesGiven) : bytes(std::move(bytesGiven)) {}
  FaultValue(std::string wordGiven) : word(std::move(wordGiven)) {}

  std::size_t number = 0;
  Bytes bytes;
  std::string word;
};

/// A way in which answers go wrong on request. All that is to be said about it is its row in the
/// table; the program's options are made from there.
struct Fault {
  enum class Takes { nothing, number, bytes, word };

  std::string option;  ///< "--noise"
  std::string help;
  void (*apply)(Answer&, const FaultValue&);
  Takes takes = Takes::nothing;
  std::string valueName{};                ///< "BYTE,..."
  std::optional<int> most{};              ///< of a number
  std::optional<std::size_t> standard{};  ///< the number where none is chosen
  std::vector<std::string> words{};
};

/// The faults of a terminal.
class Faults {
 public:
  using Chosen = std::pair<std::string, FaultValue>;

  static std::span<const Fault> all();

  Faults() = default;
  Faults(std::initializer_list<Chosen> chosen);

  /// Throws std::invalid_argument for an option that is no fault's.
  void choose(const std::string& option, const FaultValue& value);
  /// Makes an answer what becomes of it.
  void apply(Answer& answer) const;

 private:
  std::vector<std::optional<FaultValue>> mChosen;  // beside the table's rows
};

}  // namespace cronvel::simulator
