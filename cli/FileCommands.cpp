#include <algorithm>
#include <cctype>
#include <fstream>
#include <map>
#include <memory>
#include <ostream>

#include "cli/Arguments.h"
#include "cli/Command.h"
#include "cli/RecordFiles.h"
#include "cli/RecordSummary.h"
#include "cli/RecordTable.h"
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

bool isWrittenByCheck(const fs::path& path) {
  std::string extension = path.extension().string();
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".txt" || extension == ".ddd" || extension == ".dat";
}

fs::path fileToCheck(const std::string& name) {
  const fs::path path = existingName(name);
  if (isWrittenByCheck(path))
    throw CommandFailure(ExitStatus::wrongUse,
                         "\"" + name + "\": check reads the raw file (.Hex) and writes " +
                             path.extension().string() + " itself; give it the raw file");
  return path;
}

void check(TerminalSession& session, const RecordFiles& files, bool strict) {
  const std::u16string name = toUtf16(pathText(files.raw()));
  const bool whole =
      session.run([&](Cronvel& control) { return control.CheckIntegrity(name, strict) == -1; });
  session.out() << pathText(files.raw()) << ": " << recordCounts(session.control())
                << "\nfiles: " << files.describe() << '\n'
                << std::flush;
  warnOfDamage(session);
  if (!whole) throw CommandFailure(ExitStatus::notWhole, whyIncomplete(session, files, strict));
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
  command.footer("Every download does this by itself.");
  const CheckOptions options{
      .file = command.argument("FILE", "The raw file; \".Hex\" may be left out"),
      .strict = command.flag("--strict",
                             "The record count in the stream's end must agree with its positions"),
      .link = command.link({addIdDigits, addSettingsFile})};
  command.prepare([=] { return prepareCheck(options); });
}

std::ifstream openChecked(const RecordFiles& files) {
  std::error_code error;
  if (!fs::exists(files.text(), error))
    throw RunTimeError(ErrorNumber::fileNotFound, pathText(files.text()) + "; \"cronvel check " +
                                                      pathText(files.raw()) + "\" writes it");
  std::ifstream input(files.text(), std::ios::binary);
  if (!fs::is_regular_file(files.text(), error) || !input)
    throw RunTimeError(ErrorNumber::pathFileAccess,
                       pathText(files.text()) + " cannot be read as a file");
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
  return RecordFiles(isWrittenByCheck(path) || !path.has_extension()
                         ? fs::path(path).replace_extension(".Hex")
                         : path);
}

/// Without a limit, all.
void show(const RecordFiles& files, TableFormat format, std::optional<int> limit, Io& io) {
  std::ifstream input = openChecked(files);
  warnIfOutdated(files, io);
  RecordTable table(io.out, format);
  int shown = 0;
  int foreign = 0;
  for (std::string line; shown < limit.value_or(shown + 1) && std::getline(input, line);) {
    const auto record = parseRecord(line);
    if (record) {
      table.add(*record);
      ++shown;
    } else {
      ++foreign;
    }
  }
  if (foreign > 0 && shown == 0)
    throw RunTimeError(
        ErrorNumber::typeMismatch,
        pathText(files.text()) +
            " holds no records; \"cronvel check\" writes such a file from a raw one");
  table.end();
  if (foreign > 0)
    io.err << "cronvel: " << foreign << " lines of " << pathText(files.text())
           << " are no records and were passed over\n";
  if (!io.out.flush())
    throw RunTimeError(ErrorNumber::deviceIoError, "the records could not be written out");
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
      "kind of punch. A \"?\" is a damaged digit.");
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
