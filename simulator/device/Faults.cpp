#include "simulator/device/Faults.h"

#include <algorithm>
#include <numeric>
#include <random>

namespace cronvel::simulator {

namespace {

// A damaged low nibble: no byte below 0xA0 is a marker, so only the digit suffers.
void damageByte(std::uint8_t& byte, std::uint32_t random) {
  byte = static_cast<std::uint8_t>((byte & 0xF0) | (0x0A + random % 6));
}

void damage(Bytes& body, std::vector<RecordStream::Span> records, const Faults& faults) {
  std::mt19937 random(faults.seed);
  for (std::size_t i = records.size(); i > 1; --i) std::swap(records[i - 1], records[random() % i]);
  const std::size_t count =
      std::min(static_cast<std::size_t>(std::max(faults.damage, 0)), records.size());
  for (std::size_t i = 0; i < count; ++i) {
    damageByte(body[records[i].offset + random() % records[i].size],
               static_cast<std::uint32_t>(random()));
  }
}

Bytes spoiledTrailer(Bytes trailer, Faults::Trailer fault) {
  if (fault == Faults::Trailer::missing) return {};
  if (trailer.empty()) return trailer;
  if (fault == Faults::Trailer::wrong) trailer.back() = 0x00;
  if (fault == Faults::Trailer::count) {
    constexpr std::size_t countHigh = 7;  // 256 records more, or fewer
    trailer[countHigh] = static_cast<std::uint8_t>(trailer[countHigh] ^ 0x01);
  }
  return trailer;
}

}  // namespace

Bytes spoil(const RecordStream& stream, const Faults& faults) {
  Bytes bytes = stream.body;
  damage(bytes, stream.digits, faults);
  const Bytes trailer = spoiledTrailer(stream.trailer, faults.trailer);
  bytes.insert(bytes.end(), trailer.begin(), trailer.end());
  if (faults.cut && *faults.cut < bytes.size()) bytes.resize(*faults.cut);
  return bytes;
}

}  // namespace cronvel::simulator
