#include "cli/TerminalSession.h"

#include <ostream>
#include <utility>

#include "host/PropertyBagFile.h"
#include "platform/TracingPlatform.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::int32_t tickMilliseconds = 200;
/// The control's own limit.
constexpr std::chrono::seconds usualCallerWait{10};
constexpr auto listenBefore = std::chrono::milliseconds(400);

std::unique_ptr<Platform> makeTrace(Platform& platform, Io& io) {
  return std::make_unique<TracingPlatform>(platform, [&io](std::string_view line) {
    io.err << line << '\n' << std::flush;
  });
}

}  // namespace

TerminalSession::TerminalSession(Shell shell, const Link& link)
    : mShell(shell),
      mPlatform(shell.platform, shell.io),
      mTrace(link.trace() ? makeTrace(mPlatform, shell.io) : nullptr),
      mControl(mTrace ? *mTrace : mPlatform, *this, *this),
      mInterrupt(mControl),
      mTick(shell.platform.makeTimer()) {
  setUp(link);
  mControl.endWaitsAtMidnight();
  mTick->Interval(tickMilliseconds);
  mTick->onTimer([this] { tick(); });
  mTick->Enabled(true);
  if (link.dials()) dial();
}

TerminalSession::~TerminalSession() { hangUp(); }

void TerminalSession::dial() {
  constexpr std::int16_t connected = 0;
  if (run([](Cronvel& c) { return c.Dial(); }) != connected)
    throw failure("the modem did not connect");
  mDialled = true;
}

void TerminalSession::hangUp() {
  mOnTick = {};
  if (!std::exchange(mDialled, false)) return;
  try {
    mControl.Hangup();
  } catch (const std::exception& error) {
    warn(std::string("hanging up failed: ") + error.what());
  }
}

void TerminalSession::setUp(const Link& link) {
  if (!link.portPath().empty()) mShell.platform.mapCommPort(mappedPort, link.portPath());
  PropertyBagFile properties = link.properties();
  mControl.ReadProperties(properties);
}

std::u16string TerminalSession::use(const Peer& peer) {
  mPeer = peer;
  if (peer.kind == Peer::Kind::line) return {};
  mControl.WinSockProtocol(sckTCPProtocol);
  if (peer.kind == Peer::Kind::caller) {
    mControl.WinSockLocalPort(peer.port);
    mControl.SetWinSockTCPMode(0);
    return toUtf16("terminal-" + std::to_string(peer.port));
  }
  std::u16string host = toUtf16(peer.host);
  mControl.WinSockRemoteHost(host);
  mControl.WinSockRemotePort(peer.port);
  mControl.SetWinSockUDPMode(0);  // the one mode member that applies the remote port
  return host;
}

void TerminalSession::quietLine() {
  if (mPeer.kind != Peer::Kind::line || mDialled) return;
  const bool talks = run([this](Cronvel& control) {
    SerialPort& port = control.port();
    if (!port.PortOpen()) port.PortOpen(true);
    port.InBufferCount(0);
    const auto end = SteadyClock::now() + listenBefore;
    while (SteadyClock::now() < end && port.InBufferCount() == 0 && !interrupted()) waitEvents();
    return port.InBufferCount() > 0;
  });
  if (!talks) return;
  warn("bytes come unasked: monitoring was left on, and is switched off first");
  if (!run([](Cronvel& control) { return control.switchLineOff(); }))
    warn(terminal() + " has not confirmed that; another terminal may be the one that talks");
}

void TerminalSession::requireUninterrupted() const {
  if (interrupted()) throw CommandFailure(ExitStatus::interrupted, "interrupted");
}

TerminalSession::StrayCallers::StrayCallers(TerminalSession& session)
    : mSession(session),
      mWait(session.mCallerWait.value_or(usualCallerWait)),
      mEnd(SteadyClock::now() + mWait) {
  if (mSession.mCallerWait) mSession.mCallerLimit = mEnd;
}

TerminalSession::StrayCallers::~StrayCallers() {
  mSession.mCallerLimit.reset();
  mSession.mCallerWasLate = false;
}

bool TerminalSession::StrayCallers::passOver(ExitStatus status) const {
  const std::string caller = mSession.caller();
  if (status != ExitStatus::noAnswer || caller.empty() || SteadyClock::now() >= mEnd) return false;
  mSession.warn(caller + " but does not answer as " + mSession.terminal() +
                "; still waiting for that");
  mSession.mCallerLimit = mEnd;
  mSession.mControl.WinSockClose(0);
  return true;
}

void TerminalSession::StrayCallers::requireInTime() const {
  if (!mSession.mCallerWasLate) return;
  throw CommandFailure(ExitStatus::noAnswer, "no terminal connected in on port " +
                                                 std::to_string(mSession.mPeer.port) + " within " +
                                                 std::to_string(mWait.count()) +
                                                 " s that answers as " + mSession.terminal());
}

ExitStatus TerminalSession::lastReason() const {
  const Notes& notes = mControl.notes();
  return notes.count() == mNotesBefore ? ExitStatus::done : statusOf(notes.lastKind());
}

std::string TerminalSession::caller() const {
  if (mPeer.kind != Peer::Kind::caller) return {};
  const std::string address = toUtf8(mControl.sockets().at(0).RemoteHostIP());
  return address.empty() ? address
                         : address + " has connected in on port " + std::to_string(mPeer.port);
}

CommandFailure TerminalSession::explained(const RunTimeError& error) const {
  const CommandFailure failure(error);
  if (error.number() != ErrorNumber::wrongConnectionState) return failure;
  if (!mSocketError.empty()) return {mSocketStatus, mSocketError};
  if (mSocketState != sckClosing) return failure;
  return {failure.status(), failure.what() + std::string("; the other side has hung up")};
}

CommandFailure TerminalSession::failure(const std::string& otherwise) const {
  if (!mSocketError.empty()) return {mSocketStatus, mSocketError};
  const Notes& notes = mControl.notes();
  std::string sentence = notes.last().empty() ? terminal() + ": " + otherwise : notes.last();
  if (const std::string who = caller(); !who.empty()) sentence += "; " + who;
  return {statusOf(notes.lastKind()), sentence};
}

std::string TerminalSession::terminal() const {
  return "terminal " + std::to_string(mControl.DeviceNum());
}

void TerminalSession::WinSockError(std::int16_t number, std::u16string& Description, std::int32_t,
                                   const std::u16string&, const std::u16string&, std::int32_t,
                                   bool&) {
  mSocketStatus = statusOf(number);
  mSocketError = "error " + std::to_string(number) + ": " + toUtf8(Description);
}

void TerminalSession::tick() {
  mCallerWasLate = mCallerWasLate || (mCallerLimit && SteadyClock::now() > *mCallerLimit &&
                                      mControl.sockets().at(0).State() == sckListening);
  // An interruption may have come just before the call began.
  if (interrupted() || mCallerWasLate) mControl.endCommand();
  if (mOnTick) mOnTick();
}

void TerminalSession::say(const std::string& sentence, bool beside) {
  (beside ? mShell.io.err : mShell.io.out) << terminal() << ": " << sentence << '\n' << std::flush;
}

void TerminalSession::warn(const std::string& sentence) {
  mShell.io.err << "cronvel: " << sentence << '\n' << std::flush;
}

void TerminalSession::progress(const std::string& line) {
  if (!mShell.io.showProgress || (line.empty() && mShown == 0)) return;
  const std::size_t leftover = mShown > line.size() ? mShown - line.size() : 0;
  mShell.io.err << '\r' << line << std::string(leftover, ' ') << (line.empty() ? "\r" : "")
                << std::flush;
  mShown = line.size();
}

void TerminalSession::WinSockDataReceived(Bytes& ReceivedData, std::int32_t, std::u16string&,
                                          std::u16string& RemoteHostIP, std::int16_t&,
                                          std::int32_t&) {
  if (mOnLiveData) mOnLiveData(toUtf8(RemoteHostIP), ReceivedData);
}

void TerminalSession::DataReceivedForMonitoring(Bytes& mRStr, std::int16_t&) {
  if (mOnLiveData) mOnLiveData("line", mRStr);
}

void TerminalSession::AddFileProgressInit(std::int32_t& nMax) {
  mCards = nMax;
  if (mOnUpload) mOnUpload(0, mCards);
}

void TerminalSession::AddFileProgressInc(std::int32_t& nValue) {
  if (mOnUpload) mOnUpload(nValue, mCards);
}

}  // namespace cronvel
