#include "records/RecordDownload.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "protocol/CommandExchange.h"
#include "runtime/File.h"
#include "runtime/PackedBcd.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

// The terminal's command codes.
constexpr int getData = 15;
constexpr int getDataByDate = 25;
constexpr int getDataBuff = 28;

constexpr std::int16_t downloadSocket = 0;
constexpr double silenceLimit = 5;
constexpr std::int16_t checkPassed = -1;

/// The terminal's code for a streaming speed; 0 for a speed that it has no code for. (Most are
/// 256 - 28800 / speed; 110, 300 and 19200 are not.)
int speedCode(const std::u16string& BPS) {
  struct SpeedCode {
    std::u16string_view speed;
    int code;
  };
  constexpr SpeedCode codes[] = {{u"110", 10},   {u"150", 64},   {u"300", 117},
                                 {u"600", 208},  {u"1200", 232}, {u"2400", 244},
                                 {u"4800", 250}, {u"9600", 253}, {u"19200", 254}};
  for (const auto& [speed, code] : codes)
    if (speed == BPS) return code;
  return 0;
}

/// Where the blocks of a stream come from.
class BlockSource {
 public:
  virtual ~BlockSource() = default;
  virtual std::optional<Bytes> take() = 0;
  /// While a block is being written, the next one has to stay where it is.
  virtual void writing(bool /*busy*/) {}
};

class LineBlocks : public BlockSource {
 public:
  explicit LineBlocks(DeviceLine& line) : mLine(line) {}
  std::optional<Bytes> take() override { return mLine.takeReply(); }

 private:
  DeviceLine& mLine;
};

/// Reads the socket itself, from now to its end.
class SocketBlocks : public BlockSource {
 public:
  explicit SocketBlocks(NetworkLink& network) : mNetwork(network) { mNetwork.directRead(true); }
  ~SocketBlocks() override { mNetwork.directRead(false); }
  SocketBlocks(const SocketBlocks&) = delete;
  SocketBlocks& operator=(const SocketBlocks&) = delete;

  std::optional<Bytes> take() override {
    Socket& socket = mNetwork.sockets().at(downloadSocket);
    if (socket.BytesReceived() < 1) return std::nullopt;
    return socket.GetData();
  }

 private:
  NetworkLink& mNetwork;
};

/// Takes what the socket's data-arrival handler hands over, so the host sees it as an event too.
class ArrivedBlocks : public LineBlocks {
 public:
  ArrivedBlocks(DeviceLine& line, NetworkLink& network) : LineBlocks(line), mNetwork(network) {
    line.expectReply();
  }
  ~ArrivedBlocks() override { mNetwork.directRead(false); }
  ArrivedBlocks(const ArrivedBlocks&) = delete;
  ArrivedBlocks& operator=(const ArrivedBlocks&) = delete;

  void writing(bool busy) override { mNetwork.directRead(busy); }

 private:
  NetworkLink& mNetwork;
};

/// What one of the three downloads asks for.
struct Request {
  int code = 0;
  std::vector<std::uint8_t> dates;  ///< sent as two digits each
  bool namesSpeed = true;           ///< a speed code ends the request
  int networkSpeedCode = 0;         ///< sent on the network, whatever the speed is
  std::u16string speed;             ///< the serial line's speed for the stream
  bool terminalConnects = false;    ///< on the network the terminal connects in
  bool DoCheck = false;
};

/// One download: the exchange as far as it goes, then the stream, then the check.
class Download {
 public:
  Download(const DeviceLinks& links, const std::u16string& sRemoteHost,
           const std::u16string& rawFile, const Request& request)
      : mLinks(links),
        mRawFile(rawFile),
        mRequest(request),
        mExchange(links, sRemoteHost,
                  {.discardOutput = true, .monitoring = MonitoringEnd::restored}) {}

  /// What the check said; nothing when nothing was asked for want of a carrier or a connection.
  std::optional<std::int16_t> run(const RecordDownload::Check& check) {
    if (!mExchange.carrierPresent() || !connect()) return std::nullopt;
    mExchange.holdMonitoring();
    const std::u16string checkName = openFile();
    mExchange.prepareLink();
    const std::unique_ptr<BlockSource> source = sendRequest();
    line().settings(toUtf8(mRequest.speed) + ",s,8,1");
    receive(*source);
    const std::int16_t result = check(checkName, mRequest.DoCheck);
    mExchange.release(true);
    return result;
  }

 private:
  bool connect() {
    if (!mRequest.terminalConnects || line().isSerial()) {
      mExchange.connect();
      return true;
    }
    return waitForTerminal();
  }

  /// Listens, without a limit, on the port that the socket already has.
  bool waitForTerminal() {
    mLinks.network.WinSockListen(downloadSocket);
    const auto state = [this] { return mLinks.network.sockets().at(downloadSocket).State(); };
    while (state() == sckConnecting || state() == sckListening)
      mLinks.platform.messagePump().waitEvents();
    if (state() == sckConnected) return true;
    mLinks.platform.note("no terminal connected in");
    mLinks.network.WinSockClose(downloadSocket);
    return false;
  }

  /// Whatever can fail about the files fails here, before the terminal is asked. Returns the name
  /// that the check reads.
  std::u16string openFile() {
    const std::u16string checkName = withExtension(mRawFile, u".Hex");
    removeFile(toPath(checkName));
    mFile.emplace(toPath(mRawFile), File::Access::update);
    return checkName;
  }

  std::unique_ptr<BlockSource> sendRequest() {
    mExchange.sendAddress();
    mExchange.beginBody();
    mExchange.send(2);
    mExchange.send(mRequest.code);
    for (const std::uint8_t date : mRequest.dates) mExchange.send(bcdByte(date));
    std::unique_ptr<BlockSource> source = makeSource();
    if (mRequest.namesSpeed) {
      mExchange.endBody();
      mExchange.send(line().isSerial() ? speedCode(mRequest.speed) : mRequest.networkSpeedCode);
    }
    mExchange.endBody();
    return source;
  }

  std::unique_ptr<BlockSource> makeSource() {
    if (line().isSerial()) return std::make_unique<LineBlocks>(line());
    if (mRequest.terminalConnects) return std::make_unique<SocketBlocks>(mLinks.network);
    return std::make_unique<ArrivedBlocks>(line(), mLinks.network);
  }

  void receive(BlockSource& source) {
    std::size_t total = 0;
    while (const auto block = nextBlock(source)) {
      source.writing(true);
      write(*block);
      source.writing(false);
      total += block->size();
    }
    mFile->close();
    mLinks.platform.note(total == 0 ? "nothing came within 5 s after the request"
                                    : "5 s of silence: the stream has ended after " +
                                          std::to_string(total) + " bytes");
  }

  /// Nothing once the limit has passed in silence. The look after the limit is for bytes that came
  /// while a handler of the host kept the loop waiting.
  std::optional<Bytes> nextBlock(BlockSource& source) {
    std::optional<Bytes> block;
    const auto take = [&] { return (block = source.take()).has_value(); };
    if (!mLinks.waitFor(silenceLimit, take)) take();
    return block;
  }

  /// The whole block is the operating system's before anything else runs; then the host gets a turn
  /// for every byte.
  void write(const Bytes& block) {
    mFile->write(block);
    for (std::size_t i = 0; i < block.size(); ++i) mLinks.platform.messagePump().DoEvents();
  }

  DeviceLine& line() { return mExchange.line(); }

  const DeviceLinks& mLinks;
  const std::u16string& mRawFile;
  const Request& mRequest;
  CommandExchange mExchange;
  std::optional<File> mFile;
};

std::int16_t resultOf(std::int16_t check) { return check != checkPassed ? 1 : 0; }

}  // namespace

RecordDownload::RecordDownload(const DeviceLinks& links, Check check)
    : mLinks(links), mCheck(std::move(check)) {}

std::int16_t RecordDownload::GetData(const std::u16string& sRemoteHost,
                                     const std::u16string& mFileName) {
  const Request request{.code = getData,
                        .dates = {},
                        .networkSpeedCode = 253,
                        .speed = mLinks.state.BPS,
                        .terminalConnects = true,
                        .DoCheck = true};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

Variant RecordDownload::GetDataBuff(const std::u16string& mFileName) {
  const Request request{.code = getDataBuff, .dates = {}, .namesSpeed = false, .speed = u"4800"};
  const auto check = Download(mLinks, {}, mFileName, request).run(mCheck);
  return check ? Variant(resultOf(*check)) : Variant();
}

std::int16_t RecordDownload::GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1,
                                           std::uint8_t m1, std::uint8_t y1, std::uint8_t d2,
                                           std::uint8_t m2, std::uint8_t y2,
                                           const std::u16string& mFileName) {
  const Request request{.code = getDataByDate,
                        .dates = {d1, m1, y1, d2, m2, y2},
                        .networkSpeedCode = 254,
                        .speed = mLinks.state.BPS};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

}  // namespace cronvel
