#include "runtime/WriteBehind.h"

#include <cstdint>
#include <system_error>
#include <utility>

namespace cronvel {
namespace {

/// Beside the one that is being filled.
constexpr std::size_t mostFull = 2;

}  // namespace

WriteBehind::~WriteBehind() {
  {
    const std::scoped_lock lock(mMutex);
    mEnding = true;
  }
  mChanged.notify_all();
  if (mThread.joinable()) mThread.join();
}

WriteBehind::Block WriteBehind::exchange(Block full) {
  if (!mThread.joinable() && !canStart()) {
    write(full);
    return full;
  }
  std::unique_lock lock(mMutex);
  mFull.push_back(std::move(full));
  mChanged.notify_all();
  mChanged.wait(lock, [this] { return mError || mFull.size() <= mostFull; });
  if (mError) std::rethrow_exception(mError);
  if (mEmpty.empty()) return {};
  Block empty = std::move(mEmpty.back());
  mEmpty.pop_back();
  return empty;
}

void WriteBehind::finish() {
  std::unique_lock lock(mMutex);
  mChanged.wait(lock, [this] { return mError || mFull.empty(); });
  if (mError) std::rethrow_exception(mError);
}

bool WriteBehind::canStart() {
  try {
    mThread = std::thread([this] { run(); });
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

void WriteBehind::run() {
  std::unique_lock lock(mMutex);
  for (;;) {
    mChanged.wait(lock, [this] { return mEnding || !mFull.empty(); });
    if (mFull.empty() || mError) return;
    Block& block = mFull.front();  // stays where it is while others are added
    lock.unlock();
    std::exception_ptr error = failureOf(block);
    lock.lock();
    if (error) mError = std::move(error);
    mEmpty.push_back(std::move(block));
    mFull.pop_front();
    mChanged.notify_all();
  }
}

void WriteBehind::write(Block& block) {
  mFile.write({reinterpret_cast<const std::uint8_t*>(block.bytes.get()), block.used});
  block.used = 0;
}

std::exception_ptr WriteBehind::failureOf(Block& block) try {
  write(block);
  return nullptr;
} catch (...) {
  return std::current_exception();
}

}  // namespace cronvel
