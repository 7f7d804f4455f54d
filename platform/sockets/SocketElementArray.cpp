#include "platform/sockets/SocketElement.h"

namespace cronvel {
namespace {

class SocketElementArray final : public SocketArray {
 public:
  explicit SocketElementArray(Network& network) : mNetwork(network) { load(0); }

  ~SocketElementArray() override {
    mHub->events = nullptr;
    for (const auto& [index, socket] : mSockets) socket->Close();
  }

  Socket& at(std::int16_t Index) override {
    const auto found = mSockets.find(Index);
    if (found == mSockets.end()) failMissing(Index);
    return *found->second;
  }

  bool exists(std::int16_t Index) const override { return mSockets.contains(Index); }

  void load(std::int16_t Index) override {
    if (Index < 0 || exists(Index))
      throw RunTimeError(
          ErrorNumber::invalidProcedureCall,
          "socket " + std::to_string(Index) +
              (Index < 0 ? " cannot be made; indexes start at 0" : " exists already"));
    const auto socket = std::make_shared<SocketElement>(mNetwork, mHub, Index);
    socket->start();
    mSockets[Index] = socket;
  }

  void unload(std::int16_t Index) override {
    const auto socket = mSockets.find(Index);
    if (socket == mSockets.end()) failMissing(Index);
    if (Index == 0)
      throw RunTimeError(ErrorNumber::invalidProcedureCall, "socket 0 cannot be unloaded");
    socket->second->Close();
    mSockets.erase(socket);
  }

  std::int16_t upperBound() const override { return mSockets.rbegin()->first; }

  void setEvents(SocketEvents* events) override { mHub->events = events; }

 private:
  [[noreturn]] static void failMissing(std::int16_t Index) {
    throw RunTimeError(ErrorNumber::controlArrayElement,
                       "socket " + std::to_string(Index) + " was never loaded");
  }

  Network& mNetwork;
  std::shared_ptr<SocketHub> mHub = std::make_shared<SocketHub>();
  std::map<std::int16_t, std::shared_ptr<SocketElement>> mSockets;
};

}  // namespace

std::unique_ptr<SocketArray> makeSocketArray(Network& network) {
  return std::make_unique<SocketElementArray>(network);
}

}  // namespace cronvel
