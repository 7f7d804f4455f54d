#include "cli/RecordFiles.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

#include "cli/CommandFailure.h"
#include "cli/RecordTable.h"
#include "records/RecordStream.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace fs = std::filesystem;

namespace {

constexpr const char* rawExtension = ".Hex";

std::string lowerCase(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

std::string extensionOf(const fs::path& file) { return lowerCase(pathText(file.extension())); }

/// The control's texts are UTF-16; another name would come out as another file.
fs::path checkedPath(const std::string& file) {
  if (file.empty()) throw CommandFailure(ExitStatus::wrongUse, "the file name is empty");
  if (toUtf8(toUtf16(file)) != file)
    throw CommandFailure(ExitStatus::wrongUse, "the file name is not valid UTF-8");
  return fs::path(file);
}

fs::path withAddition(const fs::path& path, const std::string& addition) {
  fs::path extended = path;
  extended += addition;
  return extended;
}

bool isThere(const fs::path& path) {
  std::error_code ignored;
  return fs::exists(fs::symlink_status(path, ignored));
}

bool isEmptyFile(const fs::path& path) {
  std::error_code error;
  return fs::is_regular_file(path, error) && fs::file_size(path, error) == 0 && !error;
}

/// a.Hex -> a.WORD.Hex
fs::path withWord(const fs::path& path, const std::string& word) {
  fs::path name = path.stem();
  name += "." + word;
  name += path.extension();
  return path.parent_path() / name;
}

fs::path folderOf(const fs::path& file) {
  return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

void requireFolder(const fs::path& file) {
  std::error_code error;
  if (!fs::is_directory(folderOf(file), error))
    throw RunTimeError(ErrorNumber::pathNotFound,
                       "the folder " + pathText(folderOf(file)) + " does not exist; make it first");
}

/// A tab and "0ed", "bb" with a date, a type alone, or a card and its time.
bool isTabbed(const std::string& line) {
  const auto tabs = std::count(line.begin(), line.end(), '\t');
  return tabs > 0 && line.find_first_not_of("0123456789abcdefABCDEF?\t") == std::string::npos;
}

bool isLineOf(const std::string& extension, const std::string& line) {
  if (extension == ".txt") return parseRecord(line).has_value();
  if (extension == ".dat") return isTabbed(line);
  return line.size() == 8 && line.front() == '"' && line.back() == '"' &&
         line.find_first_not_of("0123456789?", 1) == 7;
}

/// Whether a file begins like one that was read from a raw file. An empty one does.
bool isOurs(const fs::path& file) {
  constexpr int linesLookedAt = 20;
  std::ifstream input(file, std::ios::binary);
  std::string line;
  for (int i = 0; i < linesLookedAt && std::getline(input, line); ++i) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!isLineOf(extensionOf(file), line)) return false;
  }
  return true;
}

bool beginsLikeRaw(const fs::path& file) {
  std::ifstream input(file, std::ios::binary);
  const int first = input.get();
  return first != std::char_traits<char>::eof() &&
         RecordStream::isMarker(static_cast<std::uint8_t>(first));
}

bool isRawOf(const fs::path& file, const fs::path& raw) {
  std::error_code error;
  if (file.stem() != raw.stem() || file.filename() == raw.filename() || isReadable(file) ||
      !fs::is_regular_file(file, error))
    return false;
  return extensionOf(file) == lowerCase(rawExtension) || beginsLikeRaw(file);
}

/// The raw file that the readable files of `raw`'s name are rather read from; empty for none. A
/// ".Hex" has the first right to its name.
fs::path otherOwner(const fs::path& raw) {
  if (extensionOf(raw) == lowerCase(rawExtension)) return {};
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folderOf(raw), error))
    if (isRawOf(entry.path(), raw)) return raw.parent_path() / entry.path().filename();
  return {};
}

bool isBeginningOf(const fs::path& part, const fs::path& whole) {
  std::ifstream first(part, std::ios::binary);
  std::ifstream second(whole, std::ios::binary);
  using Bytes = std::istreambuf_iterator<char>;
  return first && second &&
         std::mismatch(Bytes(first), Bytes(), Bytes(second), Bytes()).first == Bytes();
}

/// Error 70 is also a missing permission; here it is somebody else's lock.
FileLock locked(const fs::path& file, const fs::path& raw) {
  try {
    return FileLock(file);
  } catch (const RunTimeError& error) {
    throw CommandFailure(
        ExitStatus::busy,
        "error " + std::to_string(static_cast<int>(error.number())) + ": " + lockedText(raw));
  }
}

[[noreturn]] void cannotRename(const fs::path& from, const fs::path& to,
                               const std::error_code& error) {
  throw RunTimeError(ErrorNumber::pathFileAccess, pathText(from) + " cannot be renamed " +
                                                      pathText(to) + " (" + error.message() + ")");
}

}  // namespace

RecordFiles::RecordFiles(fs::path rawFile) {
  const std::array<const char*, 3> derived = {".txt", ".ddd", ".dat"};
  for (std::size_t i = 0; i < derived.size(); ++i) {
    mFiles[i + 1] = rawFile;
    mFiles[i + 1].replace_extension(derived[i]);
  }
  mFiles[0] = std::move(rawFile);
}

RecordFiles RecordFiles::named(const std::string& word) const {
  return RecordFiles(withWord(raw(), word));
}

void RecordFiles::requireOwner() const {
  const fs::path owner = otherOwner(raw());
  if (!owner.empty())
    throw CommandFailure(ExitStatus::wrongUse, pathText(text()) + " belongs to " + pathText(owner) +
                                                   ", not to " + pathText(raw()) +
                                                   "; give one of them another name");
}

void RecordFiles::requireOwn() const {
  for (const fs::path& file : all())
    if (file != raw() && isThere(file) && !isOurs(file))
      throw CommandFailure(ExitStatus::wrongUse,
                           pathText(file) + " holds something else than records and would be " +
                               "overwritten; choose another name for " + pathText(raw()));
  for (const fs::path& file : all())
    if (file != raw() && isThere(file) && !isEmptyFile(file)) return requireOwner();
}

std::uintmax_t RecordFiles::rawSize() const {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(raw(), error);
  return error ? 0 : size;
}

std::string RecordFiles::describe() const {
  std::string text;
  for (const fs::path& file : mFiles) {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    if (error) continue;
    if (!text.empty()) text += ", ";
    text += pathText(file) + " (" + std::to_string(size) + (size == 1 ? " byte)" : " bytes)");
  }
  return text;
}

fs::path downloadName(const std::string& file) {
  fs::path path = checkedPath(file);
  if (!path.has_filename())
    throw CommandFailure(ExitStatus::wrongUse, "\"" + file + "\" is a folder; add a file name");
  if (!path.has_extension()) path += rawExtension;
  if (path.extension() != rawExtension)
    throw CommandFailure(
        ExitStatus::wrongUse,
        "\"" + file + "\": records are downloaded into a file with the extension " + rawExtension +
            " (exactly so); " + pathText(fs::path(path).replace_extension(rawExtension)) +
            " would do");
  return path;
}

fs::path existingName(const std::string& file) {
  const fs::path path = checkedPath(file);
  const fs::path raw = withAddition(path, rawExtension);
  return !isThere(path) && isThere(raw) ? raw : path;
}

bool isReadable(const fs::path& file) {
  const std::string extension = extensionOf(file);
  return extension == ".txt" || extension == ".ddd" || extension == ".dat";
}

void requireRegularFile(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (!fs::exists(status))
    throw RunTimeError(ErrorNumber::fileNotFound, "cannot read " + pathText(file));
  if (!fs::is_regular_file(status))
    throw RunTimeError(ErrorNumber::pathFileAccess, pathText(file) + " is not a regular file");
}

EarlierFiles::EarlierFiles(const RecordFiles& files) : mFiles(files) { moveAside(); }

EarlierFiles::~EarlierFiles() {
  if (mFiles.rawSize() == 0) putBack();
}

std::string EarlierFiles::keptAs() const { return any() ? pathText(mMoved.front().to) : ""; }

void EarlierFiles::removeIfContained() {
  if (!any() || !isBeginningOf(mMoved.front().to, mFiles.raw())) return;
  std::error_code ignored;
  for (const Move& move : mMoved) fs::remove(move.to, ignored);
  mMoved.clear();
}

void EarlierFiles::moveAside() {
  const auto taken = [this](int number) {
    return std::ranges::any_of(mFiles.all(), [=](const fs::path& file) {
      return isThere(withWord(file, std::to_string(number)));
    });
  };
  int number = 1;
  while (taken(number)) ++number;
  for (const fs::path& file : mFiles.all()) {
    std::error_code error;
    if (!isThere(file) || isEmptyFile(file) || fs::is_directory(file, error)) continue;
    const fs::path aside = withWord(file, std::to_string(number));
    fs::rename(file, aside, error);
    if (error) {
      putBack();
      cannotRename(file, aside, error);
    }
    mMoved.push_back({file, aside});
  }
}

void EarlierFiles::putBack() {
  std::error_code ignored;
  for (const fs::path& file : mFiles.all())
    if (isEmptyFile(file)) fs::remove(file, ignored);
  for (const Move& move : mMoved) fs::rename(move.to, move.from, ignored);
  mMoved.clear();
}

DownloadLock::DownloadLock(const RecordFiles& files)
    : mPath(fs::path(files.raw()).replace_extension(".lock")), mLock(locked(mPath, files.raw())) {
  // A host's control has no lock but on the file that it writes.
  if (isThere(files.raw())) locked(files.raw(), files.raw());
}

DownloadLock::~DownloadLock() {
  std::error_code ignored;
  fs::remove(mPath, ignored);
}

PartFiles::PartFiles(const RecordFiles& whole)
    : mLock(whole), mWhole(whole), mPart(probed(whole, whole.named("part"))), mEarlier(mPart) {}

RecordFiles PartFiles::probed(const RecordFiles& whole, const RecordFiles& part) {
  requireFolder(whole.raw());
  std::error_code error;
  for (const RecordFiles* files : {&whole, &part})
    for (const fs::path& file : files->all())
      if (fs::is_directory(file, error))
        throw RunTimeError(ErrorNumber::pathFileAccess, pathText(file) + " is a folder");
  whole.requireOwn();
  if (!std::ofstream(part.raw(), std::ios::binary | std::ios::app))
    throw RunTimeError(
        ErrorNumber::pathFileAccess,
        pathText(part.raw()) + " cannot be written; choose a folder that you may write to");
  return part;
}

std::string PartFiles::earlierPart() {
  mEarlier.removeIfContained();
  return mEarlier.keptAs();
}

std::string PartFiles::complete(bool overwrite) {
  std::optional<EarlierFiles> earlier;
  if (!overwrite) earlier.emplace(mWhole);
  mEarlier.removeIfContained();
  for (std::size_t i = mPart.all().size(); i-- > 0;) {  // the raw file last: then all are there
    std::error_code error;
    fs::rename(mPart.all()[i], mWhole.all()[i], error);
    if (error) cannotRename(mPart.all()[i], mWhole.all()[i], error);
  }
  return earlier ? earlier->keptAs() : "";
}

}  // namespace cronvel
