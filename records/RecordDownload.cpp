#include "records/RecordDownload.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "protocol/BlockStream.h"
#include "protocol/CommandExchange.h"
#include "runtime/File.h"
#include "runtime/PackedBcd.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

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
        mExchange(
            links, sRemoteHost,
            {.code = request.code, .discardOutput = true, .monitoring = MonitoringEnd::restored}) {}

  /// What the check said; nothing when nothing was asked for want of a carrier or a connection.
  std::optional<std::int16_t> run(const RecordDownload::Check& check) {
    if (!mExchange.carrierPresent() || !connect()) return std::nullopt;
    mExchange.holdMonitoring();
    const std::u16string checkName = openFile();
    mExchange.prepareLink();
    const std::unique_ptr<BlockStream> source = sendRequest();
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
    return mLinks.waitForTerminal();
  }

  /// Whatever can fail about the files fails here, before the terminal is asked. Returns the name
  /// that the check reads.
  std::u16string openFile() {
    const std::u16string checkName = withExtension(mRawFile, u".Hex");
    removeFile(toPath(checkName));
    mFile.emplace(toPath(mRawFile), File::Access::update);
    return checkName;
  }

  std::unique_ptr<BlockStream> sendRequest() {
    mExchange.sendRequest();
    for (const std::uint8_t date : mRequest.dates) mExchange.send(bcdByte(date));
    std::unique_ptr<BlockStream> source = makeSource();
    if (mRequest.namesSpeed) {
      mExchange.endBody();
      mExchange.send(line().isSerial() ? speedCode(mRequest.speed) : mRequest.networkSpeedCode);
    }
    mExchange.endBody();
    return source;
  }

  std::unique_ptr<BlockStream> makeSource() {
    if (line().isSerial()) return BlockStream::ofLine(line());
    if (mRequest.terminalConnects) return BlockStream::ofSocket(mLinks.network);
    return BlockStream::ofArrivals(line(), mLinks.network);
  }

  void receive(BlockStream& source) {
    std::size_t total = 0;
    while (const auto block = nextBlock(mLinks, source)) {
      source.busy(true);
      write(*block);
      source.busy(false);
      total += block->size();
    }
    mFile->close();
    mLinks.platform.note(total == 0 ? "nothing came within 5 s after the request"
                                    : "5 s of silence: the stream has ended after " +
                                          std::to_string(total) + " bytes");
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
  const Request request{.code = 15,
                        .dates = {},
                        .networkSpeedCode = 253,
                        .speed = mLinks.state.BPS,
                        .terminalConnects = true,
                        .DoCheck = true};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

Variant RecordDownload::GetDataBuff(const std::u16string& mFileName) {
  const Request request{.code = 28, .dates = {}, .namesSpeed = false, .speed = u"4800"};
  const auto check = Download(mLinks, {}, mFileName, request).run(mCheck);
  return check ? Variant(resultOf(*check)) : Variant();
}

std::int16_t RecordDownload::GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1,
                                           std::uint8_t m1, std::uint8_t y1, std::uint8_t d2,
                                           std::uint8_t m2, std::uint8_t y2,
                                           const std::u16string& mFileName) {
  const Request request{.code = 25,
                        .dates = {d1, m1, y1, d2, m2, y2},
                        .networkSpeedCode = 254,
                        .speed = mLinks.state.BPS};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

}  // namespace cronvel
