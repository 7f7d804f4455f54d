#include <fstream>
#include <map>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RecordFiles.h"
#include "cli/RecordTable.h"
#include "cli/StreamReport.h"
#include "records/RecordOutputs.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace fs = std::filesystem;

namespace {

struct CheckOptions {
  Text file;
  Flag strict;
  LinkChoice link;
};

fs::path fileToCheck(const std::string& name) {
  const fs::path path = existingName(name);
  if (isReadable(path))
    throw CommandFailure(ExitStatus::wrongUse,
                         "\"" + name + "\": check reads the raw file (.Hex) and writes " +
                             path.extension().string() + " itself; give it the raw file");
  return path;
}

/// The readable files, while they are written, under a name of their own.
class ReadableFiles {
 public:
  explicit ReadableFiles(const RecordFiles& files) : mFiles(files), mNew(files.named("checking")) {
    mNew.requireOwn();
    mOutputs.emplace(toUtf16(pathText(mNew.raw())));
  }
  ~ReadableFiles() {
    mOutputs.reset();
    std::error_code ignored;
    for (std::size_t i = 1; i < mNew.all().size(); ++i) fs::remove(mNew.all()[i], ignored);
  }
  ReadableFiles(const ReadableFiles&) = delete;
  ReadableFiles& operator=(const ReadableFiles&) = delete;

  RecordSink& sink() { return *mOutputs; }
  /// Gives them their name. Raises what a delayed write had to say.
  void complete() {
    mOutputs->close();
    for (std::size_t i = 1; i < mNew.all().size(); ++i) fs::rename(mNew.all()[i], mFiles.all()[i]);
  }

 private:
  const RecordFiles& mFiles;
  RecordFiles mNew;
  std::optional<RecordOutputs> mOutputs;
};

void check(TerminalSession& session, const RecordFiles& files, bool strict) {
  requireRegularFile(files.raw());
  files.requireOwn();
  const int idDigits = session.control().IdLen();
  ReadableFiles readable(files);
  StreamJudgement stream(static_cast<std::size_t>(idDigits) / 2, &readable.sink());
  stream.read(files.raw());
  const StreamReport report(stream, files.raw(), idDigits, strict);
  if (!report.unreadable()) readable.complete();
  session.out() << pathText(files.raw()) << ": " << report.counts()
                << "\nfiles: " << files.describe() << '\n'
                << std::flush;
  if (!report.remark().empty()) session.warn(report.remark());
  if (!report.whole()) throw CommandFailure(ExitStatus::notWhole, report.problem());
}

Invocation prepareCheck(const CheckOptions& options) {
  const RecordFiles files(fileToCheck(*options.file));
  return {Link::nowhere(*options.link),
          [files, strict = *options.strict](TerminalSession& session) {
            check(session, files, strict);
          }};
}

void addCheck(const Command& cronvel) {
  const Command command = cronvel.add(
      "check", "Read a raw record file and write the readable ones beside it", Command::files);
  command.footer(
      "Every download does this by itself. A stream that is not whole (status 4) is read as far "
      "as\n"
      "it makes sense, and the places where it does not are told: record 57 is line 57 of the\n"
      ".txt. Bytes that are no records, or another number of digits, leave earlier files as they\n"
      "were, as does a raw file that cannot be read.");
  const CheckOptions options{
      .file = command.argument("FILE", "The raw file; \".Hex\" may be left out"),
      .strict = command.flag("--strict",
                             "The file is of a whole memory: its end must count as many records"),
      .link = command.link({addIdDigits, addSettingsFile})};
  command.prepare([=] { return prepareCheck(options); });
}

std::ifstream openChecked(const RecordFiles& files) {
  std::error_code error;
  if (!fs::exists(files.text(), error))
    throw RunTimeError(ErrorNumber::fileNotFound, pathText(files.text()) + "; \"cronvel check " +
                                                      pathText(files.raw()) + "\" writes it");
  requireRegularFile(files.text());
  std::ifstream input(files.text(), std::ios::binary);
  if (!input)
    throw RunTimeError(ErrorNumber::pathFileAccess, pathText(files.text()) + " cannot be read");
  return input;
}

void warnIfOutdated(const RecordFiles& files, Io& io) {
  std::error_code rawError;
  std::error_code textError;
  const auto raw = fs::last_write_time(files.raw(), rawError);
  const auto text = fs::last_write_time(files.text(), textError);
  if (rawError || textError || raw <= text) return;
  io.err << "cronvel: " << pathText(files.raw()) << " is newer than " << pathText(files.text())
         << "; run cronvel check again\n";
}

RecordFiles filesToShow(const std::string& name) {
  const fs::path path = existingName(name);
  if (isReadable(path)) return RecordFiles(fs::path(path).replace_extension(".Hex"));
  RecordFiles files(path.has_extension() ? path : fs::path(path).replace_extension(".Hex"));
  files.requireOwner();
  return files;
}

/// What was read from a text file of records.
struct Shown {
  int records = 0;
  int foreign = 0;   ///< lines
  int idDigits = 4;  ///< of the last record
};

/// Without a limit, all.
Shown showRecords(std::istream& input, RecordTable& table, std::optional<int> limit) {
  Shown shown;
  for (std::string line;
       shown.records < limit.value_or(shown.records + 1) && std::getline(input, line);) {
    const auto record = parseRecord(line);
    ++(record ? shown.records : shown.foreign);
    if (!record) continue;
    table.add(*record);
    shown.idDigits = static_cast<int>(record->card.size());
  }
  return shown;
}

/// The records on show are as good as the raw file that they were read from.
void judgeRaw(const RecordFiles& files, const Shown& shown, Io& io) {
  std::error_code error;
  if (!fs::is_regular_file(files.raw(), error)) return;
  const StreamReport report = StreamReport::of(files.raw(), shown.idDigits, false);
  if (!report.remark().empty()) io.err << "cronvel: " << report.remark() << '\n';
  if (!report.whole())
    throw CommandFailure(ExitStatus::notWhole, pathText(files.raw()) + ": " + report.problem());
}

void show(const RecordFiles& files, TableFormat format, std::optional<int> limit, Io& io) {
  std::ifstream input = openChecked(files);
  warnIfOutdated(files, io);
  RecordTable table(io.out, format);
  const Shown shown = showRecords(input, table, limit);
  if (shown.foreign > 0 && shown.records == 0)
    throw RunTimeError(
        ErrorNumber::typeMismatch,
        pathText(files.text()) +
            " holds no records; \"cronvel check\" writes such a file from a raw one");
  table.end();
  io.out.flush();
  if (shown.foreign > 0)
    io.err << "cronvel: " << shown.foreign << " lines of " << pathText(files.text())
           << " are no records and were passed over\n";
  if (limit != 0) judgeRaw(files, shown, io);
}

TableFormat readFormat(const std::string& text) {
  const std::map<std::string, TableFormat> formats = {
      {"table", TableFormat::table}, {"csv", TableFormat::csv}, {"json", TableFormat::json}};
  const auto format = formats.find(text);
  if (format == formats.end())
    throw CommandFailure(ExitStatus::wrongUse,
                         "--format: \"" + text + "\" is not table, csv or json");
  return format->second;
}

void addShow(const Command& cronvel) {
  const Command command =
      cronvel.add("show", "Print the records of a checked file", Command::files);
  command.footer(
      "Columns: card number, date (DD/MM/YY), time (HH:MM) and type, the terminal's code for the\n"
      "kind of punch. A \"?\" is a damaged digit. Status 4: the raw file beside is not whole.");
  const Text file = command.argument("FILE", "The raw file or the .txt beside it");
  const Text format = command.option("--format", "FORMAT", "table (default), csv or json");
  *format = "table";
  const Number limit = command.number("--limit", 0, 1000000000, "Only the first N records");
  command.prepare([=] {
    const TableFormat tableFormat = readFormat(*format);
    return Invocation([=, files = filesToShow(*file)](Shell shell) {
      show(files, tableFormat, *limit, shell.io);
    });
  });
}

}  // namespace

void addFileCommands(const Command& cronvel) {
  addCheck(cronvel);
  addShow(cronvel);
}

}  // namespace cronvel
