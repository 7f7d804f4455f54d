#pragma once

#include <functional>
#include <iosfwd>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/base/Scheduler.h"

namespace cronvel::simulator {

using Json = nlohmann::ordered_json;

/// Something that a simulated terminal noticed or did.
struct Event {
  double seconds = 0;           ///< since the start
  std::optional<int> terminal;  ///< its number, where one is concerned
  std::string name;             ///< "byte", "command", "reply", ...
  Json fields;                  ///< what else a program wants to know: an object
  std::string text;             ///< the same for a person; empty where it would be too much
};

/// Where everything that happens is reported as it happens.
class Journal {
 public:
  using Sink = std::function<void(const Event&)>;

  explicit Journal(const Scheduler& scheduler) : mScheduler(scheduler) {}
  void addSink(Sink sink) { mSinks.push_back(std::move(sink)); }
  void record(std::string_view name, std::optional<int> terminal, Json fields = Json::object(),
              std::string text = {});

 private:
  const Scheduler& mScheduler;
  std::vector<Sink> mSinks;
};

/// Writes a line for each event that has a text: time of day, terminal, text. `startOfDay` is the
/// time of day at the start, in seconds.
Journal::Sink humanSink(std::ostream& out, double startOfDay);

/// Writes each event as a line of JSON.
Journal::Sink jsonSink(std::ostream& out);

}  // namespace cronvel::simulator
