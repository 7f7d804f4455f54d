#include "records/RecordDownload.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/FileLock.h"
#include "protocol/BlockStream.h"
#include "protocol/CommandExchange.h"
#include "records/StreamSpeeds.h"
#include "runtime/File.h"
#include "runtime/PackedBcd.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

constexpr std::int16_t checkPassed = -1;

/// The terminal's code for a streaming speed; 0 for a speed that it has no code for.
int speedCode(const std::u16string& BPS) {
  for (const StreamSpeed& speed : streamSpeeds())
    if (speed.text == BPS) return speed.code;
  return 0;
}

/// What one of the three downloads asks for.
struct Request {
  int code = 0;
  NetworkVariant network = NetworkVariant::connect;
  StreamReading reading = StreamReading::asEvents;
  std::vector<std::uint8_t> dates;          ///< sent as two digits each
  std::optional<PerLine<int>> speedCode{};  ///< ends the request
  std::u16string speed;                     ///< the serial line's speed for the stream
  bool DoCheck = false;
};

/// One download: the exchange as far as it goes, then the stream, then the check.
class Download {
 public:
  Download(DeviceLinks& links, const std::u16string& sRemoteHost, const std::u16string& rawFile,
           const Request& request)
      : mLinks(links),
        mRawFile(rawFile),
        mRequest(request),
        mExchange(links, sRemoteHost,
                  {.code = request.code,
                   .network = request.network,
                   .discardOutput = true,
                   .monitoring = alwaysRestored}) {}

  /// What the check said, or that there was none because the download was ended; nothing when
  /// nothing was asked for want of a carrier or a connection.
  std::optional<std::int16_t> run(RecordCheck& check) {
    if (!mExchange.carrierPresent() || !mExchange.connect()) return std::nullopt;
    mExchange.holdMonitoring();
    const std::u16string checkName = openFile();
    mExchange.prepareLink();
    const std::unique_ptr<BlockStream> source = sendRequest();
    mExchange.settings(toUtf8(mRequest.speed) + ",s,8,1");
    receive(*source);
    const std::int16_t result =
        mLinks.ended() ? checkPassed : check.CheckIntegrity(checkName, mRequest.DoCheck);
    mExchange.release(true);
    return result;
  }

 private:
  /// Whatever can fail about the files fails here, before the terminal is asked. Returns the name
  /// that the check reads.
  std::u16string openFile() {
    const std::u16string checkName = withExtension(mRawFile, u".Hex");
    {
      const FileLock earlier(toPath(mRawFile));
      removeFile(toPath(checkName));
    }
    mLock.emplace(toPath(mRawFile));
    mFile.emplace(toPath(mRawFile), File::Access::update);
    return checkName;
  }

  std::unique_ptr<BlockStream> sendRequest() {
    mExchange.sendRequest();
    for (const std::uint8_t date : mRequest.dates) mExchange.send(bcdByte(date));
    std::unique_ptr<BlockStream> source = line().stream(mRequest.reading);
    if (mRequest.speedCode) {
      mExchange.endBody();
      mExchange.send(line().own(*mRequest.speedCode));
    }
    mExchange.endBody();
    return source;
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
    mLock.reset();
    noteEnd(total);
  }

  /// The whole block is the operating system's before anything else runs; then the host gets a turn
  /// for every byte.
  void write(const Bytes& block) {
    mFile->write(block);
    for (std::size_t i = 0; i < block.size() && !mLinks.ended(); ++i)
      mLinks.platform.messagePump().DoEvents();
  }

  void noteEnd(std::size_t total) {
    if (mLinks.ended())
      mLinks.note(NoteKind::ended,
                  "the download was ended after " + std::to_string(total) + " bytes");
    else if (total == 0)
      mLinks.note(NoteKind::noAnswer, "nothing came from terminal " +
                                          std::to_string(mLinks.state.DeviceNum) +
                                          " within 5 s after the request");
    else
      mLinks.note(NoteKind::progress,
                  "5 s of silence: the stream has ended after " + std::to_string(total) + " bytes");
  }

  DeviceLine& line() { return mExchange.line(); }

  DeviceLinks& mLinks;
  const std::u16string& mRawFile;
  const Request& mRequest;
  CommandExchange mExchange;
  std::optional<FileLock> mLock;
  std::optional<File> mFile;
};

std::int16_t resultOf(std::int16_t check) { return check != checkPassed ? 1 : 0; }

}  // namespace

void RecordDownload::BPS(const std::u16string& New_BPS) {
  mLinks.host.setInRunMode(mLinks.state.BPS, New_BPS, "BPS");
}

std::int16_t RecordDownload::GetData(const std::u16string& sRemoteHost,
                                     const std::u16string& mFileName) {
  const std::u16string& speed = mLinks.state.BPS;
  const Request request{.code = 15,
                        .network = NetworkVariant::await,
                        .reading = StreamReading::direct,
                        .dates = {},
                        .speedCode = {{.serial = speedCode(speed), .network = 253}},
                        .speed = speed,
                        .DoCheck = true};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

Variant RecordDownload::GetDataBuff(const std::u16string& mFileName) {
  const Request request{.code = 28, .dates = {}, .speed = u"4800"};
  const auto check = Download(mLinks, {}, mFileName, request).run(mCheck);
  return check ? Variant(resultOf(*check)) : Variant();
}

std::int16_t RecordDownload::GetDataByDate(const std::u16string& sRemoteHost, std::uint8_t d1,
                                           std::uint8_t m1, std::uint8_t y1, std::uint8_t d2,
                                           std::uint8_t m2, std::uint8_t y2,
                                           const std::u16string& mFileName) {
  const std::u16string& speed = mLinks.state.BPS;
  const Request request{.code = 25,
                        .dates = {d1, m1, y1, d2, m2, y2},
                        .speedCode = {{.serial = speedCode(speed), .network = 254}},
                        .speed = speed};
  const auto check = Download(mLinks, sRemoteHost, mFileName, request).run(mCheck);
  return check ? resultOf(*check) : std::int16_t{0};
}

}  // namespace cronvel
