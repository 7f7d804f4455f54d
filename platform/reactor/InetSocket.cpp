#include "platform/reactor/InetSocket.h"

#include <limits>

#include "platform/reactor/Inet.h"
#include "runtime/Text.h"

namespace cronvel {

using std::chrono::steady_clock;

namespace {

constexpr std::int32_t highestPort = 65535;
constexpr auto outOfFilesPause = std::chrono::milliseconds(100);

void requirePort(std::int32_t port) {
  if (port < 0 || port > highestPort)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "port " + std::to_string(port) + "; ports go from 0 to 65535");
}

OwnedSocket listenOn(std::int32_t port) {
  OwnedSocket socket = makeSocket(SocketKind::stream);
  const sockaddr_in address = inetAddress({}, port);
  if (socket) prepareListener(socket.get());
  if (!socket || ::bind(socket.get(), generic(&address), sizeof address) != 0 ||
      ::listen(socket.get(), SOMAXCONN) != 0)
    SocketError::localPort(lastSocketError(), port).raise();
  return socket;
}

std::string trimmed(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

SocketError notFound(const std::string& host, const Resolver::Answer& answer) {
  return {ErrorNumber::hostNotFound,
          "the name " + host + " has no address (" + answer.problem + "); check its spelling"};
}

}  // namespace

void InetSocket::start() {
  mWatch = mNetwork.reactor.watch([weak = weak_from_this()](short found) {
    if (const auto self = weak.lock()) self->pump(found);
  });
}

// --- properties ---

void InetSocket::requireClosed(const char* what) const {
  if (mState != sckClosed)
    throw RunTimeError(ErrorNumber::invalidOperationAtState,
                       std::string(what) + " needs a closed socket, and socket " +
                           std::to_string(mIndex) + " is in state " + std::to_string(mState));
}

void InetSocket::Protocol(std::int16_t protocol) {
  if (protocol != sckTCPProtocol && protocol != sckUDPProtocol)
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "protocol " + std::to_string(protocol) + "; use 0 for TCP or 1 for UDP");
  requireClosed("setting the protocol");
  mProtocol = protocol;
}

SocketHandle InetSocket::socket() const {
  if (mListener) return mListener.get();
  if (mUdp) return mUdp->socket();
  return mStream ? mStream->socket() : noSocket;
}

std::int32_t InetSocket::LocalPort() const {
  return socket() == noSocket ? mLocalPort : boundPort(socket());
}

void InetSocket::LocalPort(std::int32_t port) {
  requirePort(port);
  requireClosed("setting the local port");
  mLocalPort = port;
}

std::int32_t InetSocket::RemotePort() const {
  return mAccepted ? ntohs(mPeer->sin_port) : mRemotePort;
}

void InetSocket::RemotePort(std::int32_t port) {
  requirePort(port);
  mRemotePort = port;
}

std::u16string InetSocket::RemoteHost() const { return mAccepted ? RemoteHostIP() : mRemoteHost; }

std::u16string InetSocket::RemoteHostIP() const {
  return mPeer ? toUtf16(dotted(mPeer->sin_addr)) : std::u16string();
}

std::u16string InetSocket::LocalIP() const { return toUtf16(localAddress()); }

std::string InetSocket::remoteHost() const {
  const std::string host = trimmed(toUtf8(mRemoteHost));
  if (host.empty())
    throw RunTimeError(ErrorNumber::invalidPropertyValue,
                       "there is no remote host; set a name or an address");
  return host;
}

// --- opening and closing ---

void InetSocket::Listen() {
  if (mProtocol != sckTCPProtocol)
    throw RunTimeError(ErrorNumber::wrongProtocol, "only a TCP socket can listen");
  requireClosed("listening");
  mListener = listenOn(mLocalPort);
  ++mEpoch;
  mState = sckListening;
  updateWatch();
}

void InetSocket::Accept(std::int32_t requestID) {
  requireClosed("accepting");
  auto request = mHub->requests.extract(requestID);
  if (request.empty())
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "connection request " + std::to_string(requestID) + " is no longer there");
  ++mEpoch;
  mStream.emplace(std::move(request.mapped().connection));
  mPeer = request.mapped().peer;
  mAnnounced = 0;
  mAccepted = true;
  mState = sckConnected;
  updateWatch();
}

void InetSocket::Connect(const std::u16string& host) {
  requireClosed("connecting");
  mRemoteHost = host;
  Connect();
}

void InetSocket::Connect() {
  requireClosed("connecting");
  const std::string host = remoteHost();
  mPeer.reset();
  if (mProtocol == sckUDPProtocol) return openUdp();
  ++mEpoch;
  const Resolver::Answer numeric{Resolver::numeric(host), {}};
  if (!numeric.addresses.empty()) return resolved(numeric);
  mState = sckResolvingHost;
  // The query ends with this connection, and so before the element.
  mQuery =
      mNetwork.resolver.resolve(host, [this](const Resolver::Answer& answer) { resolved(answer); });
}

void InetSocket::resolved(const Resolver::Answer& answer) {
  if (answer.addresses.empty()) return failLater(notFound(toUtf8(mRemoteHost), answer));
  mCandidates.assign(answer.addresses.rbegin(), answer.addresses.rend());
  mState = sckConnecting;
  connectNext();
}

/// Tries the next address; the last one's failure is the connection's.
void InetSocket::connectNext() {
  int error = 0;
  while (!mCandidates.empty()) {
    mPeer = inetAddress(mCandidates.back(), mRemotePort);
    mCandidates.pop_back();
    if (mStream) mEarly = mStream->takeUnsent();
    mWatch.detach();
    mStream.emplace(*mPeer);
    mAnnounced = 0;
    mStream->send(std::exchange(mEarly, {}));
    error = mStream->error();
    if (error == 0) return updateWatch();
  }
  if (error == 0) error = mStream->error();
  failLater(SocketError::connection(error, describe(*mPeer)));
}

void InetSocket::failLater(const SocketError& error) {
  mFailure = error;
  mWatch.detach();
  mWatch.callSoon();
}

void InetSocket::Close() {
  if (mState == sckClosed) return;
  ++mEpoch;
  mState = sckClosed;
  mAccepted = false;
  mQuery = {};
  mCandidates.clear();
  mEarly.clear();
  mHeldDatagrams.clear();
  mFailure.reset();
  mSentUnreported = 0;
  mWatch.detach();
  mWatch.cancelCall();
  mWatch.callEachPass(false);
  mListener.reset();
  mUdp.reset();
  if (mStream) mNetwork.closer.take(std::move(*mStream));
  mStream.reset();
}

// --- data ---

void InetSocket::SendData(std::span<const std::uint8_t> bytes) {
  if (mProtocol == sckUDPProtocol) return sendDatagram(bytes);
  switch (mState) {
    case sckResolvingHost:
      mEarly.insert(mEarly.end(), bytes.begin(), bytes.end());
      break;
    case sckConnecting:
      if (!mFailure) mStream->send(bytes);
      break;
    case sckConnected:
      mStream->send(bytes);
      mStream->flush();
      mSentUnreported += bytes.size();
      mWatch.callSoon();  // for the events of sending, or of its failure
      updateWatch();
      break;
    default:
      throw RunTimeError(ErrorNumber::wrongConnectionState, "socket " + std::to_string(mIndex) +
                                                                " is not connected (state " +
                                                                std::to_string(mState) + ")");
  }
}

std::int32_t InetSocket::BytesReceived() {
  fill();
  if (unannounced() && !mDataCall.running()) mWatch.callSoon();
  return waitingBytes();
}

Bytes InetSocket::GetData() {
  if (mState == sckClosed || mState == sckListening)
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "socket " + std::to_string(mIndex) + " is not open");
  fill();
  if (!waiting()) return {};
  Bytes taken;
  if (mUdp) {
    UdpSocket::Datagram datagram = mUdp->take();
    mPeer = inetAddress(datagram.sender, mRemotePort);
    taken = std::move(datagram.bytes);
  } else {
    taken = mStream->take();
  }
  mTaken = true;
  updateWatch();
  return taken;
}

bool InetSocket::waiting() const {
  return mUdp ? !mUdp->waiting().empty() : mStream && mStream->unread() > 0;
}

std::int32_t InetSocket::waitingBytes() const {
  if (!waiting()) return 0;
  return static_cast<std::int32_t>(mUdp ? mUdp->waiting().front().bytes.size() : mStream->unread());
}

std::uint64_t InetSocket::arrivals() const { return mUdp ? mUdp->arrivals() : mStream->arrivals(); }

bool InetSocket::open() const {
  return mState == sckConnected || mState == sckClosing || mState == sckOpen;
}

void InetSocket::fill() {
  if (!open()) return;
  if (mUdp) mUdp->fill();
  if (mStream) mStream->fill();
  updateWatch();
}

// --- UDP ---

void InetSocket::openUdp() {
  mUdp.emplace(mLocalPort);
  mAnnounced = 0;
  ++mEpoch;
  mState = sckOpen;
  updateWatch();
}

void InetSocket::sendDatagram(std::span<const std::uint8_t> bytes) {
  if (mState != sckClosed && mState != sckOpen)
    throw RunTimeError(ErrorNumber::wrongConnectionState,
                       "socket " + std::to_string(mIndex) + " has failed; close it first");
  const std::string host = remoteHost();
  if (mState == sckClosed) openUdp();
  const auto addresses = Resolver::numeric(host);
  if (!addresses.empty() && mHeldDatagrams.empty()) {
    mPeer = inetAddress(addresses.front(), mRemotePort);
    return mUdp->sendTo(*mPeer, bytes);
  }
  mHeldDatagrams.emplace_back(bytes.begin(), bytes.end());
  if (mHeldDatagrams.size() > 1) return;
  mQuery = mNetwork.resolver.resolve(
      host, [this](const Resolver::Answer& answer) { sendHeldDatagrams(answer); });
}

void InetSocket::sendHeldDatagrams(const Resolver::Answer& answer) {
  const auto held = std::exchange(mHeldDatagrams, {});
  if (answer.addresses.empty()) return failLater(notFound(toUtf8(mRemoteHost), answer));
  mPeer = inetAddress(answer.addresses.front(), mRemotePort);
  try {
    for (const Bytes& bytes : held) mUdp->sendTo(*mPeer, bytes);
  } catch (const RunTimeError& error) {
    failLater({error.number(), "a datagram to " + describe(*mPeer) + " could not be sent"});
  }
}

// --- events ---

short InetSocket::interest() const {
  if (mState == sckListening) return mRequestCall.running() ? short{0} : Poller::readable;
  if (mUdp) return mUdp->interest();
  if (mState == sckConnecting) return Poller::writable;
  if (mState == sckConnected || mState == sckClosing) return mStream->interest();
  return 0;
}

void InetSocket::updateWatch() {
  const short events = mFailure ? short{0} : interest();
  mWatch.attach(watchHandle(socket()), events);
  const bool endToReport = mState == sckConnected && (mStream->ended() || mStream->error() != 0);
  mWatch.callEachPass(open() && (waiting() || endToReport));
}

void InetSocket::pump(short found) {
  if (mFailure) return fail(*std::exchange(mFailure, {}));
  if (mState == sckListening) return offerRequest();
  if (mState == sckConnecting && found != 0) return finishConnecting();
  exchange(found != 0);
}

void InetSocket::offerRequest() {
  if (mRequestCall.running()) return updateWatch();
  sockaddr_in peer{};
  OwnedSocket connection = acceptConnection(mListener.get(), peer);
  if (!connection) {
    if (outOfFiles(lastSocketError())) {
      mWatch.detach();  // the request stays ready: look again when files may be free
      mWatch.callAt(steady_clock::now() + outOfFilesPause);
    } else {
      updateWatch();
    }
    return;
  }
  const std::int32_t request = mHub->nextRequest;
  mHub->nextRequest = request == std::numeric_limits<std::int32_t>::max() ? 1 : request + 1;
  mHub->requests[request] = {std::move(connection), peer};
  raiseRequest(request);
}

void InetSocket::raiseRequest(std::int32_t request) {
  // However the event ends: a request that nobody took is dropped, and the next may come.
  struct Finish {
    InetSocket& socket;
    std::int32_t request;
    ~Finish() {
      socket.mHub->requests.erase(request);
      socket.updateWatch();
    }
  } finish{*this, request};
  const CallOut::Scope scope(mRequestCall);
  updateWatch();
  if (mHub->events != nullptr) mHub->events->ConnectionRequest(mIndex, request);
}

void InetSocket::finishConnecting() {
  if (!mStream->finishConnect()) return connectNext();
  mState = sckConnected;
  mCandidates.clear();
  mSentUnreported += mStream->unsentCount();
  mStream->flush();
  updateWatch();
  if (mSentUnreported > 0) mWatch.callSoon();
  if (mHub->events != nullptr) mHub->events->Connect(mIndex);
}

/// One pass of an open socket: moves bytes both ways, then tells what happened, in the order in
/// which it can be understood.
void InetSocket::exchange(bool ready) {
  if (!open()) return;
  if (mStream) mStream->flush();
  if (ready) fill();
  updateWatch();
  if (raiseSent() && raiseData()) raiseEnd();
}

/// Like `raiseData`, false when the handler made this connection an earlier one.
bool InetSocket::raiseSent() {
  if (mSentUnreported == 0 || mHub->events == nullptr) return true;
  const auto left = mStream->unsentCount();
  if (mStream->error() != 0 || left >= mSentUnreported) return true;
  const unsigned epoch = mEpoch;
  const auto sent = mSentUnreported - left;
  mSentUnreported = left;
  mHub->events->SendProgress(mIndex, static_cast<std::int32_t>(sent),
                             static_cast<std::int32_t>(left));
  if (epoch == mEpoch && left == 0 && mHub->events != nullptr) mHub->events->SendComplete(mIndex);
  return epoch == mEpoch;
}

bool InetSocket::raiseData() {
  if (!waiting() || mHub->events == nullptr || mDataCall.running()) return true;
  const unsigned epoch = mEpoch;
  mAnnounced = arrivals();
  mTaken = false;
  {
    const CallOut::Scope scope(mDataCall);
    mHub->events->DataArrival(mIndex, waitingBytes());
  }
  if (epoch != mEpoch) return false;
  // A handler that takes bytes gets the rest at once; one that leaves them must not be asked
  // without a pause.
  if (waiting() && mTaken) mWatch.callSoon();
  return true;
}

void InetSocket::raiseEnd() {
  if (!mStream) return;
  if (unannounced() && mHub->events != nullptr) return;
  if (mStream->error() != 0)
    return fail(SocketError::connection(mStream->error(), describe(*mPeer)));
  if (!mStream->ended() || mState != sckConnected) return;
  mState = sckClosing;
  updateWatch();
  if (mHub->events != nullptr) mHub->events->Close(mIndex);
}

void InetSocket::fail(const SocketError& error) {
  mState = sckError;
  mQuery = {};
  mCandidates.clear();
  mEarly.clear();
  mHeldDatagrams.clear();
  mSentUnreported = 0;
  mWatch.detach();
  if (mStream) mStream->close();
  mUdp.reset();
  updateWatch();
  if (mHub->events == nullptr) return;
  constexpr std::uint32_t facility = 0x800A0000;
  const auto number = static_cast<std::int16_t>(error.number);
  std::u16string description = toUtf16(RunTimeError(error.number, error.detail).what());
  bool cancelDisplay = false;
  mHub->events->Error(mIndex, number, description,
                      static_cast<std::int32_t>(facility + static_cast<std::uint16_t>(number)),
                      u"Socket", u"", 0, cancelDisplay);
}

}  // namespace cronvel
