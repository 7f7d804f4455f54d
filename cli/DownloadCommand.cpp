#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/DownloadProgress.h"
#include "cli/RecordFiles.h"
#include "cli/StreamReport.h"
#include "records/StreamJudgement.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

struct DownloadOptions {
  Text file;
  Text from;
  Text to;
  Flag buffer;
  Flag overwrite;
  Number wait;
  LinkChoice link;
};

constexpr int defaultWaitSeconds = 60;
constexpr int forEver = 365 * 24 * 3600;
/// Bytes behind the end of the records at so many looks may be noise.
constexpr int noiseLooks = 2;

struct Period {
  CalendarDay from;
  CalendarDay to;
};

struct DownloadPlan {
  RecordFiles files;
  std::optional<Period> period = {};
  bool buffer = false;
  bool overwrite = false;
  int waitSeconds = defaultWaitSeconds;  ///< for a terminal that connects in; 0: for ever
  Peer peer = {};
};

class Download {
 public:
  Download(TerminalSession& session, const DownloadPlan& plan)
      : mSession(session), mPlan(plan), mProgress(session) {}
  void run();

 private:
  void receive();
  bool callControl(Cronvel& control);
  void tick();
  void follow();
  void cutOff();
  void conclude();
  std::string whatArrived();
  const RecordFiles& files() const { return mPart->files(); }

  TerminalSession& mSession;
  const DownloadPlan& mPlan;
  std::optional<PartFiles> mPart;
  std::u16string mHost;
  DownloadProgress mProgress;
  std::optional<StreamJudgement> mSoFar;  ///< of what has come
  std::uintmax_t mFollowed = 0;           ///< bytes of it
  int mLooksAfterEnd = 0;
};

/// True: what it brought shows in the file.
bool Download::callControl(Cronvel& control) {
  const std::u16string file = toUtf16(pathText(files().raw()));
  const auto byte = [](int number) { return static_cast<std::uint8_t>(number); };
  try {
    if (mPlan.buffer) {
      control.GetDataBuff(file);
    } else if (mPlan.period) {
      const auto& [from, to] = *mPlan.period;
      control.GetDataByDate(mHost, byte(from.day), byte(from.month), byte(from.year), byte(to.day),
                            byte(to.month), byte(to.year), file);
    } else {
      control.GetData(mHost, file);
    }
  } catch (const RunTimeError& error) {
    // The control's own check met bytes that are no records; the judgement says more about them.
    if (error.number() != ErrorNumber::subscriptOutOfRange) throw;
  }
  return true;
}

void Download::run() {
  mHost = mSession.use(mPlan.peer);
  mSession.callerWait(std::chrono::seconds(mPlan.waitSeconds == 0 ? forEver : mPlan.waitSeconds));
  mPart.emplace(mPlan.files);
  mSession.quietLine();
  receive();
  conclude();
}

void Download::receive() {
  mSession.onTick([this] { tick(); });
  try {
    mSession.run([this](Cronvel& control) { return callControl(control); });
    mProgress.arrived(files().rawSize());
  } catch (const CommandFailure& failure) {
    mProgress.clear();
    throw CommandFailure(failure.status(), failure.what() + whatArrived());
  }
  mProgress.clear();
  if (files().rawSize() == 0) throw mSession.failure("nothing came");
  if (mLooksAfterEnd > 0) cutOff();
}

/// What has come since the last look. A terminal that was left monitored goes on with live events
/// behind its records, and the silence that ends a stream never comes.
void Download::follow() {
  if (!mSoFar || files().rawSize() < mFollowed) {
    mSoFar.emplace(mSession.control().IdLen() / 2U);
    mFollowed = 0;
  }
  std::ifstream file(files().raw(), std::ios::binary);
  file.seekg(static_cast<std::streamoff>(mFollowed));
  const std::uintmax_t before = mFollowed;
  for (char byte = 0; file.get(byte); ++mFollowed) mSoFar->take(static_cast<std::uint8_t>(byte));
  if (mSoFar->trailerEnd().value_or(mFollowed) < mFollowed && mFollowed > before) ++mLooksAfterEnd;
  if (mLooksAfterEnd > noiseLooks) mSession.control().endCommand();
}

void Download::cutOff() {
  follow();
  const std::uintmax_t end = mSoFar->trailerEnd().value_or(mFollowed);
  if (mLooksAfterEnd <= noiseLooks) return;
  mSession.warn(std::to_string(mFollowed - end) +
                " bytes of live events behind the records are cut off: monitoring is on; " +
                "\"cronvel monitor --seconds 1\" switches it off");
  std::filesystem::resize_file(files().raw(), end);
  mSession.run([this](Cronvel& control) {
    return control.CheckIntegrity(toUtf16(pathText(files().raw())), false);
  });
}

void Download::conclude() {
  const bool wholeMemory = !mPlan.period && !mPlan.buffer;
  const StreamReport report =
      StreamReport::of(files().raw(), mSession.control().IdLen(), wholeMemory);
  mSession.say(mProgress.summary() + "; " + report.counts());
  if (!report.remark().empty()) mSession.warn(report.remark());
  if (!report.whole()) throw CommandFailure(ExitStatus::notWhole, report.problem() + whatArrived());
  const std::string keptAs = mPart->complete(mPlan.overwrite);
  mSession.out() << "written: " << mPlan.files.describe() << '\n';
  if (!keptAs.empty()) mSession.out() << "the earlier download is kept as " << keptAs << '\n';
}

void Download::tick() {
  if (mPlan.peer.kind == Peer::Kind::caller && mSession.socketState() == sckListening)
    return mProgress.waiting("a terminal to connect in on port " + std::to_string(mPlan.peer.port));
  mProgress.arrived(files().rawSize());
  follow();
}

/// Of a download that ended too early: a part of a sentence.
std::string Download::whatArrived() {
  const std::string file = pathText(files().raw());
  const std::uintmax_t bytes = files().rawSize();
  if (bytes == 0 && mProgress.bytes() > 0)
    return "; " + std::to_string(mProgress.bytes()) + " bytes had arrived, but " + file +
           " was deleted or emptied meanwhile";
  if (bytes == 0) return "; nothing had arrived";
  const std::string earlier = mPart->earlierPart();
  return "; the " + std::to_string(bytes) + " bytes that came are in " + file +
         ", \"cronvel check " + file + "\" reads them" +
         (earlier.empty() ? "" : "; an earlier such part is kept as " + earlier);
}

std::optional<Period> readPeriod(const DownloadOptions& options) {
  if (options.from->empty() != options.to->empty())
    throw CommandFailure(ExitStatus::wrongUse, "--from and --to go together");
  if (options.from->empty()) return {};
  if (*options.buffer)
    throw CommandFailure(ExitStatus::wrongUse,
                         "--buffer fetches the whole memory; leave it or --from and --to out");
  return Period{parseDate(*options.from, "--from"), parseDate(*options.to, "--to")};
}

Peer choosePeer(const DownloadPlan& plan, const Link& link) {
  if (plan.period) return link.connects("a download of a period");
  if (!link.host().empty() && !link.listenPort())
    throw CommandFailure(ExitStatus::wrongUse,
                         "for a download of the whole memory the terminal connects in: give "
                         "--listen PORT; over --host, --from 01/01/00 --to 31/12/99 fetches every "
                         "record");
  const Peer peer = link.listens("a download of the whole memory");
  if (plan.buffer && link.onNetwork())
    throw CommandFailure(ExitStatus::wrongUse, "--buffer is for the serial line only");
  return peer;
}

Invocation prepareDownload(const DownloadOptions& options) {
  DownloadPlan plan{.files = RecordFiles(downloadName(*options.file)),
                    .buffer = *options.buffer,
                    .overwrite = *options.overwrite,
                    .waitSeconds = options.wait->value_or(defaultWaitSeconds)};
  Link link = Link::toTerminal(*options.link);
  plan.period = readPeriod(options);
  plan.peer = choosePeer(plan, link);
  return {std::move(link), [plan](TerminalSession& session) { Download(session, plan).run(); }};
}

DownloadOptions addArguments(const Command& command) {
  return {.file = command.argument("FILE", "Where to; \".Hex\" is added"),
          .from = command.option("--from", "DD/MM/YY", "Only the records from this day on"),
          .to = command.option("--to", "DD/MM/YY", "... to this day"),
          .buffer = command.flag(
              "--buffer",
              "Fetch the whole memory by the terminal's other command, at 4800 baud (serial line)"),
          .overwrite = command.flag("--overwrite",
                                    "Do not keep the earlier files once the new ones are whole"),
          .wait = command.number(
              "--wait", 0, 1000000,
              "Seconds to wait for a terminal that connects in; 0 for ever (default " +
                  std::to_string(defaultWaitSeconds) + ")",
              "SECONDS"),
          .link = command.link({addIdDigits, addLinkOptions, addSpeed})};
}

}  // namespace

void addDownloadCommand(const Command& cronvel) {
  const Command command =
      cronvel.add("download", "Fetch the attendance records into a file, and check them");
  command.footer(
      "FILE.Hex gets the records just as the terminal sent them; FILE.txt, FILE.ddd and FILE.dat\n"
      "are written from it (\"cronvel show FILE\" prints them). Until all of it has come and was\n"
      "found whole, they are called FILE.part.Hex and so on, and earlier files stay as they were;\n"
      "then those are kept as FILE.1.Hex and so on. The end of the stream is 5 seconds of "
      "silence.\n"
      "Over the network the terminal connects in (--listen); with --from and --to this PC "
      "connects\n"
      "to it (--host): --from 01/01/00 --to 31/12/99 fetches every record that way.");
  command.prepare([options = addArguments(command)] { return prepareDownload(options); });
}

}  // namespace cronvel
