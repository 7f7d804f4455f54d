#include "runtime/TextOutput.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

/// What is written at a time: whole multiples of a power of 2, or the system takes 1.5 times as
/// long.
constexpr std::size_t blockSize = 512 * 1024;
/// For the end of the line that goes beyond.
constexpr std::size_t excess = 4096;

}  // namespace

TextOutput::~TextOutput() {
  try {
    flush();
  } catch (const RunTimeError&) {
    // The error that brought us here, or close() before, has told the caller.
  }
}

void TextOutput::close() {
  flush();
  mFile.close();
}

std::span<char> TextOutput::room(std::size_t length) {
  if (mBuffer.size - mBuffer.used < length) makeRoom(length);
  return {mBuffer.bytes.get() + mBuffer.used, mBuffer.size - mBuffer.used};
}

void TextOutput::makeRoom(std::size_t length) {
  const std::size_t written = std::min(mBuffer.used, blockSize);
  const std::string rest(mBuffer.bytes.get() + written, mBuffer.used - written);
  mBuffer.used = written;
  if (written > 0) mBuffer = mBehind.exchange(std::exchange(mBuffer, {}));
  if (mBuffer.size < rest.size() + length) {
    const std::size_t size = std::max(blockSize + excess, rest.size() + length);
    mBuffer = {std::make_unique_for_overwrite<char[]>(size), size};
  }
  mBuffer.used = rest.copy(mBuffer.bytes.get(), rest.size());
}

void TextOutput::print(std::string_view text) {
  text.copy(room(text.size()).data(), text.size());
  advance(text.size());
}

void TextOutput::flush() {
  mBehind.finish();
  const std::size_t used = std::exchange(mBuffer.used, 0);
  if (used > 0) mFile.write({reinterpret_cast<const std::uint8_t*>(mBuffer.bytes.get()), used});
}

}  // namespace cronvel
