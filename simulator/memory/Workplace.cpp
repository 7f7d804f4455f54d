#include "simulator/memory/Workplace.h"

#include <algorithm>
#include <array>
#include <random>
#include <stdexcept>
#include <string>

namespace cronvel::simulator {

namespace {

// The types that the simulated workplace uses its terminal's function keys for.
constexpr std::uint8_t lunch = 0xE4;
constexpr std::uint8_t mission = 0xA3;
constexpr std::uint8_t leave = 0xCA;

struct Shift {
  int in;
  int out;
};

constexpr int at(int hour, int minute) { return hour * 60 + minute; }

// Most work by day; the list is dealt out card by card.
constexpr std::array shifts{Shift{at(7, 30), at(16, 0)}, Shift{at(8, 0), at(16, 30)},
                            Shift{at(7, 30), at(16, 0)}, Shift{at(13, 30), at(21, 45)},
                            Shift{at(8, 30), at(13, 0)}};

// The standard's distributions differ between libraries, and records must not.
class Dice {
 public:
  explicit Dice(std::uint32_t seed) : mEngine(seed) {}
  int between(int low, int high) {
    return low + static_cast<int>(mEngine() % static_cast<std::uint32_t>(high - low + 1));
  }
  bool percent(int chance) { return between(1, 100) <= chance; }

 private:
  std::mt19937 mEngine;
};

void addOuting(Day& day, std::uint64_t card, std::uint8_t marker, int from, int to) {
  day.punches.push_back({card, from, marker});
  day.punches.push_back({card, to, marker});
}

void addPerson(Day& day, std::uint64_t card, const Shift& shift, Dice& dice) {
  if (dice.percent(6)) return;
  const int in = shift.in + dice.between(-20, 12);
  const int out = shift.out + dice.between(-8, 45);
  const int middle = (shift.in + shift.out) / 2;
  day.punches.push_back({card, in, 0});
  if (dice.percent(5)) {
    day.punches.push_back({card, middle + dice.between(-60, 60), leave});
    return;
  }
  if (dice.percent(8)) {
    addOuting(day, card, mission, middle - dice.between(60, 90), middle - dice.between(30, 50));
  }
  if (dice.percent(35)) {
    addOuting(day, card, lunch, middle + dice.between(0, 20), middle + dice.between(35, 60));
  }
  day.punches.push_back({card, out, 0});
}

std::uint64_t firstCard(int idDigits) {
  std::uint64_t number = 1;
  for (int i = 1; i < idDigits; ++i) number *= 10;
  return number + 1;
}

void validate(const Workplace& workplace) {
  if (workplace.cards < 0 || workplace.days < 0) {
    throw std::invalid_argument("the numbers of cards and days cannot be negative");
  }
  if (!isGregorian(workplace.start)) {
    throw std::invalid_argument("there is no day " + toText(workplace.start));
  }
}

}  // namespace

std::vector<Day> makeDays(const Workplace& workplace) {
  validate(workplace);
  Dice dice(workplace.seed);
  std::vector<Day> days;
  Date date = workplace.start;
  for (int i = 0; i < workplace.days; ++i, date = nextDay(date)) {
    if (isFriday(date)) continue;
    Day day{date, {}};
    for (int card = 0; card < workplace.cards; ++card) {
      const auto index = static_cast<std::size_t>(card);
      addPerson(day, firstCard(workplace.idDigits) + index, shifts[index % shifts.size()], dice);
    }
    std::stable_sort(day.punches.begin(), day.punches.end(),
                     [](const Punch& a, const Punch& b) { return a.minute < b.minute; });
    if (!day.punches.empty()) days.push_back(std::move(day));
  }
  return days;
}

}  // namespace cronvel::simulator
