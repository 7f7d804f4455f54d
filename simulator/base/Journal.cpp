#include "simulator/base/Journal.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <ostream>

namespace cronvel::simulator {

namespace {

std::string timeOfDay(double seconds) {
  const auto ms = static_cast<long>(std::fmod(seconds, 86'400.0) * 1000);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%02ld:%02ld:%02ld.%03ld", ms / 3'600'000,
                ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
  return text.data();
}

}  // namespace

void Journal::record(std::string_view name, std::optional<int> terminal, Json fields,
                     std::string text) {
  const Event event{mScheduler.now() / 1000, terminal, std::string(name), std::move(fields),
                    std::move(text)};
  for (const Sink& sink : mSinks) sink(event);
}

Journal::Sink humanSink(std::ostream& out, double startOfDay) {
  return [&out, startOfDay](const Event& event) {
    if (event.text.empty()) return;
    out << timeOfDay(startOfDay + event.seconds) << ' ';
    if (event.terminal) out << "terminal " << *event.terminal << "  ";
    out << event.text << std::endl;
  };
}

Journal::Sink jsonSink(std::ostream& out) {
  return [&out](const Event& event) {
    Json line{{"t", std::round(event.seconds * 1000) / 1000}};
    if (event.terminal) line["terminal"] = *event.terminal;
    line["event"] = event.name;
    line.update(event.fields);
    // A path or host may hold bytes that are no UTF-8; the line must come out all the same.
    out << line.dump(-1, ' ', false, Json::error_handler_t::replace) << std::endl;
  };
}

}  // namespace cronvel::simulator
