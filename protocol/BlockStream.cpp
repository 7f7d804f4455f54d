#include "protocol/BlockStream.h"

namespace cronvel {
namespace {

constexpr double silenceLimit = 5;

class LineBlocks : public BlockStream {
 public:
  explicit LineBlocks(DeviceLine& line) : mLine(line) {}
  std::optional<Bytes> take() override { return mLine.takeReply(); }

 private:
  DeviceLine& mLine;
};

class SocketBlocks : public BlockStream {
 public:
  explicit SocketBlocks(NetworkLink& network) : mNetwork(network) { mNetwork.directRead(true); }
  ~SocketBlocks() override { mNetwork.directRead(false); }
  SocketBlocks(const SocketBlocks&) = delete;
  SocketBlocks& operator=(const SocketBlocks&) = delete;

  std::optional<Bytes> take() override {
    Socket& socket = mNetwork.sockets().at(0);
    if (socket.BytesReceived() < 1) return std::nullopt;
    return socket.GetData();
  }

 private:
  NetworkLink& mNetwork;
};

class ArrivedBlocks : public LineBlocks {
 public:
  ArrivedBlocks(DeviceLine& line, NetworkLink& network) : LineBlocks(line), mNetwork(network) {
    line.expectReply();
  }
  ~ArrivedBlocks() override { mNetwork.directRead(false); }
  ArrivedBlocks(const ArrivedBlocks&) = delete;
  ArrivedBlocks& operator=(const ArrivedBlocks&) = delete;

  void busy(bool on) override { mNetwork.directRead(on); }

 private:
  NetworkLink& mNetwork;
};

}  // namespace

std::unique_ptr<BlockStream> BlockStream::ofLine(DeviceLine& line) {
  return std::make_unique<LineBlocks>(line);
}

std::unique_ptr<BlockStream> BlockStream::ofSocket(NetworkLink& network) {
  return std::make_unique<SocketBlocks>(network);
}

std::unique_ptr<BlockStream> BlockStream::ofArrivals(DeviceLine& line, NetworkLink& network) {
  return std::make_unique<ArrivedBlocks>(line, network);
}

std::optional<Bytes> nextBlock(const DeviceLinks& links, BlockStream& stream) {
  std::optional<Bytes> block;
  const auto take = [&] { return (block = stream.take()).has_value(); };
  // The look after the limit is for bytes that came while a handler of the host kept the loop
  // waiting.
  if (!links.waitFor(silenceLimit, take)) take();
  return block;
}

}  // namespace cronvel
