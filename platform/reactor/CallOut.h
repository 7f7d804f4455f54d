#pragma once

#include <memory>

namespace cronvel {

/// For an object that calls a handler which may pump again or destroy the object. The flag is
/// shared with the calls under way, so that it can still be looked at when its owner is gone.
class CallOut {
 public:
  bool running() const { return *mRunning; }

  /// One call, from construction to destruction.
  class Scope {
   public:
    explicit Scope(const CallOut& owner) : mRunning(owner.mRunning) { *mRunning = true; }
    ~Scope() { *mRunning = false; }
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
    bool ownerGone() const { return mRunning.use_count() == 1; }

   private:
    std::shared_ptr<bool> mRunning;
  };

 private:
  std::shared_ptr<bool> mRunning = std::make_shared<bool>(false);
};

}  // namespace cronvel
