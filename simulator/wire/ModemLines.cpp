#include "simulator/wire/ModemLines.h"

#include <array>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace cronvel::simulator {

ModemLines::ModemLines(std::string file) : mFile(std::move(file)) {
  if (mFile.empty()) return;
  constexpr std::array<char, 3> down{};
  std::ofstream out(mFile, std::ios::binary);
  if (!out.write(down.data(), down.size()).flush())
    throw std::runtime_error("cannot write the file " + mFile);
}

ModemLines::~ModemLines() { carrier(false); }

void ModemLines::carrier(bool on) {
  if (mFile.empty()) return;
  // Opened for reading too, so that the other bytes stay.
  std::fstream(mFile, std::ios::binary | std::ios::in | std::ios::out).put(on ? '\1' : '\0');
}

bool ModemLines::dtrFell() {
  if (mFile.empty()) return false;
  std::array<char, 3> lines{};
  std::ifstream in(mFile, std::ios::binary);
  if (!in.read(lines.data(), lines.size())) return false;
  const auto falls = static_cast<std::uint8_t>(lines[2]);
  return std::exchange(mFalls, falls) != falls;
}

}  // namespace cronvel::simulator
