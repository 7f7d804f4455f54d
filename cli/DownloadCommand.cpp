#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Commands.h"
#include "cli/DownloadProgress.h"
#include "cli/LinkOptions.h"
#include "cli/RecordFiles.h"
#include "cli/RecordSummary.h"
#include "cli/TerminalSession.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace {

struct DownloadOptions {
  LinkOptions link;
  std::string file;
  std::string from;
  std::string to;
  bool buffer = false;
  bool overwrite = false;
  std::optional<int> wait;
};

constexpr int defaultWaitSeconds = 60;

class Download {
 public:
  Download(Shell shell, const DownloadOptions& options);
  void run();

 private:
  void readPeriod();
  void receive();
  bool callControl(Cronvel& control);
  void tick();
  void giveUpWaiting();
  void report(bool whole);
  std::string whatArrived() const;

  Io& mIo;
  const DownloadOptions& mOptions;
  CalendarDay mFrom;
  CalendarDay mTo;
  RecordFiles mFiles;
  TerminalSession mSession;
  std::u16string mHost;
  bool mWaitsForTerminal = false;
  bool mGaveUp = false;
  DownloadProgress mProgress;
};

LinkOptions chosenLink(LinkOptions link) {
  chooseLink(link);
  return link;
}

Download::Download(Shell shell, const DownloadOptions& options)
    : mIo(shell.io),
      mOptions(options),
      mFiles(downloadName(options.file)),
      mSession(shell.platform, shell.io, chosenLink(options.link)),
      mProgress(shell.io) {
  readPeriod();
  if (!options.from.empty()) {
    mHost = mSession.connects("a download of a period");
    return;
  }
  mHost = mSession.listens("a download of the whole memory");
  mWaitsForTerminal = !mHost.empty();
  if (options.buffer && !mHost.empty())
    throw CommandFailure(ExitStatus::wrongUse, "--buffer is for the serial line only");
}

void Download::readPeriod() {
  if (mOptions.from.empty() != mOptions.to.empty())
    throw CommandFailure(ExitStatus::wrongUse, "--from and --to go together");
  if (mOptions.from.empty()) return;
  if (mOptions.buffer)
    throw CommandFailure(ExitStatus::wrongUse,
                         "--buffer fetches the whole memory; leave it or --from and --to out");
  mFrom = parseDate(mOptions.from, "--from");
  mTo = parseDate(mOptions.to, "--to");
}

/// What the download and its check said: whether the stream was whole.
bool Download::callControl(Cronvel& control) {
  const std::u16string file = toUtf16(pathText(mFiles.raw()));
  if (mOptions.buffer) {
    const Variant result = control.GetDataBuff(file);
    const auto* code = std::get_if<std::int16_t>(&result);
    return code != nullptr && *code == 0;
  }
  if (mOptions.from.empty()) return control.GetData(mHost, file) == 0;
  const auto byte = [](int number) { return static_cast<std::uint8_t>(number); };
  return control.GetDataByDate(mHost, byte(mFrom.day), byte(mFrom.month), byte(mFrom.year),
                               byte(mTo.day), byte(mTo.month), byte(mTo.year), file) == 0;
}

void Download::run() {
  EarlierFiles earlier(mFiles);
  receive();
  if (!earlier.any()) return;
  if (mOptions.overwrite)
    earlier.remove();
  else
    mIo.out << "the earlier download is kept as " << earlier.keptAs() << '\n';
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
    throw CommandFailure(ExitStatus::refused,
                         "no terminal connected in on port " +
                             std::to_string(*mOptions.link.listenPort) + " within " +
                             std::to_string(mOptions.wait.value_or(defaultWaitSeconds)) + " s");
  if (mFiles.rawSize() == 0) throw mSession.failure("nothing came");
  report(whole);
}

void Download::report(bool whole) {
  mIo.out << mSession.terminal() << ": " << mProgress.summary() << "; "
          << recordCounts(mSession.control()) << "\nwritten: " << mFiles.describe() << '\n'
          << std::flush;
  warnOfDamage(mSession.control(), mIo);
  if (whole) return;
  const bool strict = mOptions.from.empty() && !mOptions.buffer;  // as the control checked it
  throw CommandFailure(ExitStatus::refused, whyIncomplete(mSession, mFiles, strict));
}

void Download::tick() {
  if (mWaitsForTerminal && mSession.socketState() == sckConnected) mWaitsForTerminal = false;
  if (!mWaitsForTerminal)
    mProgress.arrived(mFiles.rawSize());
  else
    giveUpWaiting();
}

void Download::giveUpWaiting() {
  mProgress.waiting("a terminal to connect in on port " +
                    std::to_string(*mOptions.link.listenPort));
  const int limit = mOptions.wait.value_or(defaultWaitSeconds);
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

}  // namespace

void addDownloadCommand(CLI::App& app, Shell shell) {
  auto options = std::make_shared<DownloadOptions>();
  CLI::App* command =
      app.add_subcommand("download", "Fetch the attendance records into a file, and check them")
          ->group(terminalGroup);
  command->footer(
      "FILE.Hex gets the records just as the terminal sent them; FILE.txt, FILE.ddd and FILE.dat\n"
      "are written from it (\"cronvel show FILE\" prints them). Files of an earlier download "
      "under\n"
      "the same name are kept as FILE.1.Hex and so on, and stay in place if nothing comes.\n"
      "The end of the stream is 5 seconds of silence.\n"
      "Over the network the terminal connects in (--listen); with --from and --to this PC "
      "connects\n"
      "to it (--host).");
  command->add_option("FILE", options->file, "Where to; \".Hex\" is added")->required();
  command->add_option("--from", options->from, "Only the records from this day on")
      ->type_name("DD/MM/YY");
  command->add_option("--to", options->to, "... to this day")->type_name("DD/MM/YY");
  command->add_flag(
      "--buffer", options->buffer,
      "Fetch the whole memory by the terminal's other command, at 4800 baud (serial line)");
  command->add_flag("--overwrite", options->overwrite,
                    "Do not keep the earlier files once the new ones are complete");
  addNumber(*command, "--wait", options->wait, 0, 1000000,
            "Seconds to wait for a terminal that connects in; 0 for ever (default " +
                std::to_string(defaultWaitSeconds) + ")")
      ->type_name("SECONDS");
  addIdDigits(*command, options->link);
  addLinkOptions(*command, options->link);
  addSpeed(*command, options->link);
  command->callback([options, shell] { Download(shell, *options).run(); });
}

}  // namespace cronvel
