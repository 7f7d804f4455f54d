#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>

#include "cli/CommandFailure.h"
#include "cli/InterruptGuard.h"
#include "cli/Link.h"
#include "cli/SessionPlatform.h"
#include "cli/Shell.h"
#include "control/Cronvel.h"

namespace cronvel {

using SteadyClock = std::chrono::steady_clock;

/// A control for one run of the command: set up for a link, its errors and events turned into
/// sentences, ended in order by Ctrl-C and the like. While it lives, the first of these is its own.
class TerminalSession : private __Cronvel, private Container {
 public:
  /// Dials first where the link says so; fails where that does not connect.
  TerminalSession(Shell shell, const Link& link);
  ~TerminalSession() override;

  Cronvel& control() { return mControl; }
  /// Ctrl-C, TERM or HUP came, or whoever reads the output has closed it.
  bool interrupted() const { return mInterrupt.requested(); }
  /// The state of socket 0 as last reported.
  std::int16_t socketState() const { return mSocketState; }

  /// Makes socket 0 ready for the next command's peer. Returns the `sRemoteHost` for the command.
  std::u16string use(const Peer& peer);
  /// Switches monitoring off on a serial line on which bytes come unasked: who monitored it was
  /// killed, and a stream that only silence ends would never end.
  void quietLine();
  /// Runs handlers while nothing else is to be done.
  void waitEvents() { mShell.platform.messagePump().waitEvents(); }

  /// For how long a terminal that connects in is waited for, by a command that has no such limit of
  /// its own.
  void callerWait(std::chrono::seconds wait) { mCallerWait = wait; }

  /// Called some times a second while the control waits.
  void onTick(std::function<void()> handler) { mOnTick = std::move(handler); }

  /// Called for each card of a list that was sent, with how many so far and of how many.
  void onUpload(std::function<void(std::int32_t sent, std::int32_t all)> handler) {
    mOnUpload = std::move(handler);
  }
  /// Called for the bytes that a terminal sends while it is monitored; `source` is "line" or the
  /// terminal's network address.
  void onLiveData(std::function<void(const std::string& source, const Bytes&)> handler) {
    mOnLiveData = std::move(handler);
  }

  std::ostream& out() { return mShell.io.out; }
  /// "terminal 12: ...", as a result or beside the results.
  void say(const std::string& sentence, bool beside = false);
  void warn(const std::string& sentence);
  /// A line that the next one replaces, if a person watches; empty takes it away.
  void progress(const std::string& line);

  /// Runs a call of the control. Its errors come out as `CommandFailure`, and so does an
  /// interruption; a socket's failure comes out as itself, not as the error 40006 that follows from
  /// it. Where a terminal was to connect in and somebody else did, it is called again for as long
  /// as the wait for the terminal lasts.
  template <typename Call>
  auto run(Call call) {
    const StrayCallers strays(*this);
    for (;;) {
      try {
        auto result = runOnce(call);
        if (strays.passOver(lastReason())) continue;
        strays.requireInTime();
        return result;
      } catch (const CommandFailure& failure) {
        if (!strays.passOver(failure.status())) throw;
      }
    }
  }

  /// Tidies up after an interruption: only a further one ends that call.
  template <typename Call>
  auto finish(Call call) {
    mInterrupt.forget();
    return runOnce(call);
  }

  /// Runs a call of the control with a yes or no result; says `done` or fails.
  template <typename Call>
  void require(const std::string& done, Call call) {
    if (!run(call)) throw failure("it did not answer with success");
    say(done);
  }

  /// Why the last command did not succeed; `otherwise` where nobody knows.
  CommandFailure failure(const std::string& otherwise) const;

  /// "terminal 12"
  std::string terminal() const;
  /// Who has connected in last, for a person; empty if nobody has.
  std::string caller() const;

 private:
  void WinSockCurrentState(std::int16_t CurrentState) override { mSocketState = CurrentState; }
  void WinSockDataReceived(Bytes& ReceivedData, std::int32_t DataLen, std::u16string& RemoteHost,
                           std::u16string& RemoteHostIP, std::int16_t& LoopCounter,
                           std::int32_t& FunctionCallCounter) override;
  void DataReceivedForMonitoring(Bytes& mRStr, std::int16_t& DataLen) override;
  void AddFileProgressInit(std::int32_t& nMax) override;
  void AddFileProgressInc(std::int32_t& nValue) override;
  void WinSockError(std::int16_t number, std::u16string& Description, std::int32_t Scode,
                    const std::u16string& Source, const std::u16string& HelpFile,
                    std::int32_t HelpContext, bool& CancelDisplay) override;

  /// While a terminal is to connect in: others who do are told of, and passed over until the time
  /// is up. The control's own limit begins afresh with each of them; this one does not.
  class StrayCallers {
   public:
    explicit StrayCallers(TerminalSession& session);
    ~StrayCallers();
    StrayCallers(const StrayCallers&) = delete;
    StrayCallers& operator=(const StrayCallers&) = delete;
    bool passOver(ExitStatus status) const;
    void requireInTime() const;

   private:
    TerminalSession& mSession;
    std::chrono::seconds mWait;
    SteadyClock::time_point mEnd;
  };
  /// What the call that has just ended said of itself.
  ExitStatus lastReason() const;

  template <typename Call>
  auto runOnce(Call call) {
    mSocketError.clear();
    mNotesBefore = mControl.notes().count();
    requireUninterrupted();
    try {
      auto result = call(mControl);
      requireUninterrupted();
      return result;
    } catch (const RunTimeError& error) {
      requireUninterrupted();
      throw explained(error);
    }
  }
  void requireUninterrupted() const;
  CommandFailure explained(const RunTimeError& error) const;
  void setUp(const Link& link);
  void dial();
  void hangUp();
  void tick();

  Shell mShell;
  SessionPlatform mPlatform;
  std::unique_ptr<Platform> mTrace;  ///< with --trace, the control's platform
  std::int16_t mSocketState = sckClosed;
  std::string mSocketError;  ///< of the call under way
  std::size_t mNotesBefore = 0;
  Peer mPeer;  ///< of the last `use`
  std::optional<std::chrono::seconds> mCallerWait;
  std::optional<SteadyClock::time_point> mCallerLimit;  ///< of the call under way
  bool mCallerWasLate = false;
  ExitStatus mSocketStatus = ExitStatus::error;
  Cronvel mControl;
  InterruptGuard mInterrupt;
  std::function<void()> mOnTick;
  std::function<void(std::int32_t, std::int32_t)> mOnUpload;
  std::function<void(const std::string&, const Bytes&)> mOnLiveData;
  std::int32_t mCards = 0;
  std::size_t mShown = 0;  ///< length of the progress line
  bool mDialled = false;
  std::unique_ptr<Timer> mTick;
};

}  // namespace cronvel
