#include "cli/TerminalSession.h"

#include <ostream>
#include <utility>

#include "cli/Arguments.h"
#include "host/PropertyBagFile.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

constexpr std::int32_t tickMilliseconds = 200;
constexpr std::int16_t mappedPort = 1;

TracingPlatform::Sink traceSink(Io& io, bool trace) {
  if (!trace) return {};
  return [&io](std::string_view line) { io.err << line << '\n' << std::flush; };
}

bool isNumber(const std::string& text) {
  return text.find_first_not_of("0123456789") == std::string::npos;
}

}  // namespace

TerminalSession::TerminalSession(Platform& platform, Io& io, const LinkOptions& link)
    : mIo(io),
      mLink(link),
      mPlatform(platform, traceSink(io, link.trace)),
      mControl(mPlatform, *this, *this),
      mTick(platform.makeTimer()) {
  applyOptions();
  mTick->Interval(tickMilliseconds);
  mTick->onTimer([this] { tick(); });
  mTick->Enabled(true);
  if (!link.telephone.empty()) dial();
}

TerminalSession::~TerminalSession() { hangUp(); }

void TerminalSession::dial() {
  constexpr std::int16_t connected = 0;
  mControl.TelNum(toUtf16(mLink.telephone));
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

void TerminalSession::applyOptions() {
  if (mLink.settingsFile.empty()) {
    mControl.InitProperties();
  } else {
    PropertyBagFile bag = PropertyBagFile::load(mLink.settingsFile);
    mControl.ReadProperties(bag);
  }
  if (mLink.device) mControl.DeviceNum(static_cast<std::uint8_t>(*mLink.device));
  if (mLink.idDigits) mControl.IdLen(static_cast<std::uint8_t>(*mLink.idDigits));
  if (!mLink.speed.empty()) mControl.BPS(toUtf16(mLink.speed));
  if (mLink.port.empty()) return;
  if (isNumber(mLink.port)) {
    mControl.CommPort(static_cast<std::int16_t>(parseNumber(mLink.port, 0, 32767, "--port")));
  } else {
    mPlatform.mapCommPort(mappedPort, mLink.port);
    mControl.CommPort(mappedPort);
  }
}

std::u16string TerminalSession::connects(const std::string& command) {
  if (!mLink.onNetwork()) return {};
  if (mLink.host.empty())
    throw CommandFailure(ExitStatus::wrongUse, "over the network " + command +
                                                   " connects to the terminal: give --host "
                                                   "HOST[:PORT] (--listen is for others)");
  const HostAndPort target = parseHost(mLink.host);
  const std::u16string host = toUtf16(target.host);
  mControl.WinSockProtocol(sckTCPProtocol);
  mControl.WinSockRemoteHost(host);
  mControl.WinSockRemotePort(target.port);
  mControl.SetWinSockUDPMode(0);  // the one mode member that applies the remote port
  return host;
}

std::u16string TerminalSession::listens(const std::string& command) {
  if (!mLink.onNetwork()) return {};
  if (!mLink.listenPort)
    throw CommandFailure(ExitStatus::wrongUse, "over the network " + command +
                                                   " waits for the terminal to connect in: give "
                                                   "--listen PORT (--host is for others)");
  mControl.WinSockProtocol(sckTCPProtocol);
  mControl.WinSockLocalPort(*mLink.listenPort);
  mControl.SetWinSockTCPMode(0);
  return toUtf16("terminal-" + std::to_string(*mLink.listenPort));
}

CommandFailure TerminalSession::explained(const RunTimeError& error) const {
  const CommandFailure failure(error);
  if (error.number() != ErrorNumber::wrongConnectionState) return failure;
  if (!mSocketError.empty()) return {ExitStatus::error, mSocketError};
  if (mSocketState != sckClosing) return failure;
  return {ExitStatus::error, failure.what() + std::string("; the other side has hung up")};
}

CommandFailure TerminalSession::failure(const std::string& otherwise) const {
  if (!mSocketError.empty()) return {ExitStatus::error, mSocketError};
  const std::string& note = mControl.notes().last();
  return {ExitStatus::refused, note.empty() ? terminal() + ": " + otherwise : note};
}

std::string TerminalSession::terminal() const {
  return "terminal " + std::to_string(mControl.DeviceNum());
}

void TerminalSession::WinSockError(std::int16_t number, std::u16string& Description, std::int32_t,
                                   const std::u16string&, const std::u16string&, std::int32_t,
                                   bool&) {
  mSocketError = "error " + std::to_string(number) + ": " + toUtf8(Description);
}

void TerminalSession::tick() {
  if (mInterrupt.requested() && !std::exchange(mInterrupted, true)) {  // what ends it still ticks
    throw CommandFailure(ExitStatus::interrupted, "interrupted");
  }
  if (mOnTick) mOnTick();
}

void TerminalSession::useListenPort() {
  mControl.WinSockProtocol(sckTCPProtocol);
  mControl.WinSockLocalPort(*mLink.listenPort);
  mControl.SetWinSockTCPMode(0);
}

void TerminalSession::say(const std::string& sentence, bool beside) {
  (beside ? mIo.err : mIo.out) << terminal() << ": " << sentence << '\n' << std::flush;
}

void TerminalSession::warn(const std::string& sentence) {
  mIo.err << "cronvel: " << sentence << '\n' << std::flush;
}

void TerminalSession::progress(const std::string& line) {
  if (!mIo.showProgress) return;
  const std::size_t leftover = mShown > line.size() ? mShown - line.size() : 0;
  mIo.err << '\r' << line << std::string(leftover, ' ') << (line.empty() ? "\r" : "") << std::flush;
  mShown = line.size();
}

void TerminalSession::WinSockDataReceived(Bytes& ReceivedData, std::int32_t, std::u16string&,
                                          std::u16string& RemoteHostIP, std::int16_t&,
                                          std::int32_t&) {
  if (mOnLiveData) mOnLiveData(toUtf8(RemoteHostIP), ReceivedData);
}

void TerminalSession::DataReceivedForMonitoring(Bytes& mRStr, std::int16_t) {
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
