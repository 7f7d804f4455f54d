#pragma once

#include <functional>
#include <memory>
#include <string>

#include "cli/CommandFailure.h"
#include "cli/InterruptGuard.h"
#include "cli/Io.h"
#include "cli/LinkOptions.h"
#include "control/Cronvel.h"
#include "platform/TracingPlatform.h"

namespace cronvel {

/// A control for one run of the command: set up as the options say, its errors and events turned
/// into sentences, ended in order by Ctrl-C. While it lives, the first Ctrl-C is its own.
class TerminalSession : private __Cronvel, private Container {
 public:
  TerminalSession(Platform& platform, Io& io, const LinkOptions& link);

  Cronvel& control() { return mControl; }
  /// The state of socket 0 as last reported.
  std::int16_t socketState() const { return mSocketState; }

  /// The `sRemoteHost` for a command that connects to the terminal. Fails with `wrongUse` where
  /// only a port to listen on was given; `command` is the name for that message.
  std::u16string connects(const std::string& command);
  /// The `sRemoteHost` for a command to which the terminal connects in.
  std::u16string listens(const std::string& command);

  /// Called some times a second while the control waits.
  void onTick(std::function<void()> handler) { mOnTick = std::move(handler); }

  /// Runs a call of the control. Its errors come out as `CommandFailure`; a socket's failure comes
  /// out as itself, not as the error 40006 that follows from it.
  template <typename Call>
  auto run(Call call) {
    mSocketError.clear();
    try {
      return call(mControl);
    } catch (const RunTimeError& error) {
      throw explained(error);
    }
  }

  /// Why the last command did not succeed; `otherwise` where nobody knows.
  CommandFailure failure(const std::string& otherwise) const;

  /// "terminal 12"
  std::string terminal() const;

 private:
  void WinSockCurrentState(std::int16_t CurrentState) override { mSocketState = CurrentState; }
  void WinSockError(std::int16_t number, std::u16string& Description, std::int32_t Scode,
                    const std::u16string& Source, const std::u16string& HelpFile,
                    std::int32_t HelpContext, bool& CancelDisplay) override;
  CommandFailure explained(const RunTimeError& error) const;
  void applyOptions();
  void tick();

  Io& mIo;
  LinkOptions mLink;
  InterruptGuard mInterrupt;
  TracingPlatform mPlatform;
  std::int16_t mSocketState = sckClosed;
  std::string mSocketError;
  Cronvel mControl;
  std::function<void()> mOnTick;
  std::unique_ptr<Timer> mTick;
};

}  // namespace cronvel
