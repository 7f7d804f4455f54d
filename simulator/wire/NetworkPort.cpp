#include "simulator/wire/NetworkPort.h"

#include <exception>
#include <utility>

#include "simulator/base/Text.h"

namespace cronvel::simulator {

namespace {

constexpr double retryMs = 200;

}  // namespace

class NetworkPort::Connection : public Wire {
 public:
  Connection(NetworkPort& port, std::int16_t index)
      : mPort(port),
        mIndex(index),
        mExchange(*this, port.mTerminals, port.mScheduler, port.mJournal, port.mBytesPerSecond) {}

  void receive(const Bytes& bytes) {
    for (const std::uint8_t byte : bytes) mExchange.receive(byte);
  }
  void breakOff(const std::string& why) { mExchange.breakOff(why); }

 private:
  void send(std::span<const std::uint8_t> bytes) override {
    try {
      mPort.mSockets->at(mIndex).SendData(bytes);
    } catch (const std::exception& error) {
      mPort.ended(mIndex, error.what());
    }
  }
  std::optional<LineSettings> settings() const override { return std::nullopt; }
  void hangUp() override { mPort.ended(mIndex, "by the terminal"); }

  NetworkPort& mPort;
  std::int16_t mIndex;
  Exchange mExchange;
};

NetworkPort::NetworkPort(std::unique_ptr<SocketArray> sockets, std::vector<Terminal*> terminals,
                         Scheduler& scheduler, Journal& journal, double bytesPerSecond)
    : mSockets(std::move(sockets)),
      mTerminals(std::move(terminals)),
      mScheduler(scheduler),
      mJournal(journal),
      mBytesPerSecond(bytesPerSecond) {
  mSockets->setEvents(this);
}

NetworkPort::~NetworkPort() { mSockets->setEvents(nullptr); }

int NetworkPort::listen(int port) {
  Socket& listener = mSockets->at(0);
  listener.LocalPort(port);
  listener.Listen();
  return listener.LocalPort();
}

void NetworkPort::connectTo(const std::string& host, int port) {
  mHost = host;
  mPort = port;
  connectNow();
}

void NetworkPort::connectNow() {
  Socket& socket = mSockets->at(0);
  try {
    socket.Close();
    socket.RemotePort(mPort);
    socket.Connect(toUtf16(mHost));
  } catch (const std::exception& error) {
    failed(error.what());
  }
}

void NetworkPort::ConnectionRequest(std::int16_t, std::int32_t requestID) {
  std::int16_t index = 1;
  while (mSockets->exists(index)) ++index;
  mSockets->load(index);
  Socket& socket = mSockets->at(index);
  try {
    socket.Accept(requestID);
  } catch (const std::exception&) {  // the caller has gone again
    return mSockets->unload(index);
  }
  opened(index, toUtf8(socket.RemoteHostIP()) + " port " + std::to_string(socket.RemotePort()));
}

void NetworkPort::Connect(std::int16_t Index) { opened(Index, peerText()); }

void NetworkPort::opened(std::int16_t index, const std::string& peer) {
  mFailureReported = false;
  mConnections[index] = std::make_unique<Connection>(*this, index);
  mJournal.record("connected", onlyTerminal(), {{"peer", peer}}, "connected with " + peer);
}

void NetworkPort::DataArrival(std::int16_t Index, std::int32_t) {
  const Bytes bytes = mSockets->at(Index).GetData();
  const auto connection = mConnections.find(Index);
  if (connection != mConnections.end()) connection->second->receive(bytes);
}

void NetworkPort::Close(std::int16_t Index) { ended(Index, "by the PC"); }

void NetworkPort::Error(std::int16_t Index, std::int16_t, std::u16string& Description, std::int32_t,
                        const std::u16string&, const std::u16string&, std::int32_t,
                        bool& CancelDisplay) {
  CancelDisplay = true;
  const std::string why = toUtf8(Description);
  mConnections.contains(Index) ? ended(Index, why) : failed(why);
}

void NetworkPort::ended(std::int16_t index, const std::string& why) {
  const auto found = mConnections.find(index);
  if (found == mConnections.end()) return;
  mEnded.push_back(std::move(found->second));
  mConnections.erase(found);
  mEnded.back()->breakOff("the connection was closed");
  mBury = mScheduler.after(0, [this] { mEnded.clear(); });
  mJournal.record("closed", onlyTerminal(), {{"reason", why}}, "connection closed (" + why + ")");
  mSockets->at(index).Close();
  if (index != 0) mSockets->unload(index);
  if (!mHost.empty()) mRetry = mScheduler.after(retryMs, [this] { connectNow(); });
}

// Only a connection in the making fails; a listener's troubles end it for good.
void NetworkPort::failed(const std::string& why) {
  const auto report = [&](const std::string& text) {
    mJournal.record("failed", onlyTerminal(), {{"reason", why}}, text);
  };
  if (mHost.empty()) return report("cannot listen: " + why);
  const bool known = std::exchange(mFailureReported, true);
  report(known ? "" : "cannot connect to " + peerText() + " (" + why + "): keeps trying");
  mRetry = mScheduler.after(retryMs, [this] { connectNow(); });
}

std::string NetworkPort::peerText() const { return mHost + " port " + std::to_string(mPort); }

std::optional<int> NetworkPort::onlyTerminal() const {
  if (mTerminals.size() != 1) return std::nullopt;
  return mTerminals.front()->number();
}

}  // namespace cronvel::simulator
