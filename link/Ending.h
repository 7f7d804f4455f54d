#pragma once

#include <atomic>

#include "platform/MessagePump.h"

namespace cronvel {

/// The way out of a command that waits: it can be told to end from a handler, from any thread and
/// from a signal handler.
class Ending {
 public:
  /// The pump outlives it.
  explicit Ending(MessagePump& pump) : mPump(pump) {}

  /// Ends the commands that are under way; the next one begins afresh.
  void ask() noexcept {
    mAsked = true;
    mPump.wake();
  }
  /// The same for every later one too: the control is going.
  void askForGood() noexcept {
    mForGood = true;
    mPump.wake();
  }
  bool asked() const noexcept { return mAsked || mForGood; }

  /// A command that is under way. One that is called inside another's wait ends with it.
  class Command {
   public:
    explicit Command(Ending& ending) : mEnding(ending) {
      if (mEnding.mCommands++ == 0) mEnding.mAsked = false;
    }
    ~Command() { --mEnding.mCommands; }
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

   private:
    Ending& mEnding;
  };

 private:
  MessagePump& mPump;
  std::atomic<bool> mAsked = false;
  std::atomic<bool> mForGood = false;
  static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets them");
  int mCommands = 0;
};

}  // namespace cronvel
