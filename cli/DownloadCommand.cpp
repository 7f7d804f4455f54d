#include <memory>
#include <optional>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/DownloadProgress.h"
#include "cli/RecordFiles.h"
#include "cli/RecordSummary.h"
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
      : mSession(session),
        mPlan(plan),
        mFiles(plan.files),
        mWaitsForTerminal(plan.peer.kind == Peer::Kind::caller),
        mProgress(session) {}
  void run();

 private:
  void receive();
  bool callControl(Cronvel& control);
  void tick();
  void giveUpWaiting();
  void report(bool whole);
  std::string whatArrived() const;

  TerminalSession& mSession;
  const DownloadPlan& mPlan;
  const RecordFiles& mFiles;
  std::u16string mHost;
  bool mWaitsForTerminal;
  bool mGaveUp = false;
  DownloadProgress mProgress;
};

/// What the download and its check said: whether the stream was whole.
bool Download::callControl(Cronvel& control) {
  const std::u16string file = toUtf16(pathText(mFiles.raw()));
  if (mPlan.buffer) {
    const Variant result = control.GetDataBuff(file);
    const auto* code = std::get_if<std::int16_t>(&result);
    return code != nullptr && *code == 0;
  }
  if (!mPlan.period) return control.GetData(mHost, file) == 0;
  const auto byte = [](int number) { return static_cast<std::uint8_t>(number); };
  const auto& [from, to] = *mPlan.period;
  return control.GetDataByDate(mHost, byte(from.day), byte(from.month), byte(from.year),
                               byte(to.day), byte(to.month), byte(to.year), file) == 0;
}

void Download::run() {
  mHost = mSession.use(mPlan.peer);
  EarlierFiles earlier(mFiles);
  receive();
  if (!earlier.any()) return;
  if (mPlan.overwrite)
    earlier.remove();
  else
    mSession.out() << "the earlier download is kept as " << earlier.keptAs() << '\n';
}

void Download::receive() {
  mSession.onTick([this] { tick(); });
  bool whole = false;
  try {
    whole = mSession.run([this](Cronvel& control) { return callControl(control); });
    mProgress.arrived(mFiles.rawSize());
  } catch (const CommandFailure& failure) {
    mProgress.clear();
    throw CommandFailure(failure.status(), failure.what() + whatArrived());
  }
  mProgress.clear();
  if (mGaveUp)
    throw CommandFailure(ExitStatus::noAnswer, "no terminal connected in on port " +
                                                   std::to_string(mPlan.peer.port) + " within " +
                                                   std::to_string(mPlan.waitSeconds) + " s");
  if (mFiles.rawSize() == 0) throw mSession.failure("nothing came");
  report(whole);
}

void Download::report(bool whole) {
  mSession.say(mProgress.summary() + "; " + recordCounts(mSession.control()) +
               "\nwritten: " + mFiles.describe());
  warnOfDamage(mSession);
  if (whole) return;
  const bool strict = !mPlan.period && !mPlan.buffer;  // as the control checked it
  throw CommandFailure(ExitStatus::notWhole, whyIncomplete(mSession, mFiles, strict));
}

void Download::tick() {
  if (mWaitsForTerminal && mSession.socketState() == sckConnected) mWaitsForTerminal = false;
  if (!mWaitsForTerminal)
    mProgress.arrived(mFiles.rawSize());
  else
    giveUpWaiting();
}

void Download::giveUpWaiting() {
  mProgress.waiting("a terminal to connect in on port " + std::to_string(mPlan.peer.port));
  const int limit = mPlan.waitSeconds;
  if (limit == 0 || mSession.socketState() != sckListening || mProgress.secondsSinceStart() < limit)
    return;
  mWaitsForTerminal = false;
  mGaveUp = true;
  mSession.control().WinSockClose(0);
}

std::string Download::whatArrived() const {
  const std::uintmax_t bytes = mFiles.rawSize();
  if (bytes == 0) return "; nothing had arrived";
  const std::string file = pathText(mFiles.raw());
  return "; " + std::to_string(bytes) + " bytes are in " + file + ", \"cronvel check " + file +
         "\" reads them";
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
                                    "Do not keep the earlier files once the new ones are complete"),
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
      "are written from it (\"cronvel show FILE\" prints them). Files of an earlier download "
      "under\n"
      "the same name are kept as FILE.1.Hex and so on, and stay in place if nothing comes.\n"
      "The end of the stream is 5 seconds of silence.\n"
      "Over the network the terminal connects in (--listen); with --from and --to this PC "
      "connects\n"
      "to it (--host).");
  command.prepare([options = addArguments(command)] { return prepareDownload(options); });
}

}  // namespace cronvel
