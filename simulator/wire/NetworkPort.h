#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Socket.h"
#include "simulator/wire/Exchange.h"

namespace cronvel::simulator {

/// Terminals behind one network adapter, which either waits for callers or connects to a PC, again
/// whenever that connection has ended.
class NetworkPort : private SocketEvents {
 public:
  /// `bytesPerSecond` paces streams.
  NetworkPort(std::unique_ptr<SocketArray> sockets, std::vector<Terminal*> terminals,
              Scheduler& scheduler, Journal& journal, double bytesPerSecond);
  ~NetworkPort() override;

  /// Waits for callers, any number at a time; 0 lets the system choose the port. Returns the port.
  int listen(int port);
  /// Connects, and tries again 200 ms after every end and every failure.
  void connectTo(const std::string& host, int port);

 private:
  class Connection;

  void ConnectionRequest(std::int16_t Index, std::int32_t requestID) override;
  void DataArrival(std::int16_t Index, std::int32_t bytesTotal) override;
  void Error(std::int16_t Index, std::int16_t Number, std::u16string& Description,
             std::int32_t Scode, const std::u16string& Source, const std::u16string& HelpFile,
             std::int32_t HelpContext, bool& CancelDisplay) override;
  void Connect(std::int16_t Index) override;
  void Close(std::int16_t Index) override;
  void SendComplete(std::int16_t) override {}
  void SendProgress(std::int16_t, std::int32_t, std::int32_t) override {}

  void connectNow();
  void opened(std::int16_t index, const std::string& peer);
  void ended(std::int16_t index, const std::string& why);
  void failed(const std::string& why);
  std::string peerText() const;
  std::optional<int> onlyTerminal() const;

  std::unique_ptr<SocketArray> mSockets;
  std::vector<Terminal*> mTerminals;
  Scheduler& mScheduler;
  Journal& mJournal;
  double mBytesPerSecond;

  std::string mHost;  // empty when listening
  int mPort = 0;
  bool mFailureReported = false;
  Scheduler::Task mRetry;
  Scheduler::Task mBury;
  std::map<std::int16_t, std::unique_ptr<Connection>> mConnections;
  // Ended connections, whose functions may still be running.
  std::vector<std::unique_ptr<Connection>> mEnded;
};

}  // namespace cronvel::simulator
