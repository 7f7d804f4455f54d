#include "cli/RecordFiles.h"

#include <algorithm>
#include <fstream>
#include <system_error>

#include "cli/CommandFailure.h"
#include "runtime/File.h"
#include "runtime/Text.h"

namespace cronvel {

namespace fs = std::filesystem;

namespace {

constexpr const char* rawExtension = ".Hex";

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

/// a.Hex -> a.1.Hex
fs::path numbered(const fs::path& path, int number) {
  fs::path name = path.stem();
  name += "." + std::to_string(number);
  name += path.extension();
  return path.parent_path() / name;
}

void requireWritableFolder(const fs::path& file) {
  const fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  std::error_code error;
  if (!fs::is_directory(folder, error))
    throw RunTimeError(ErrorNumber::pathNotFound,
                       "the folder " + pathText(folder) + " does not exist; make it first");
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
  return !path.has_extension() && !isThere(path) && isThere(raw) ? raw : path;
}

EarlierFiles::EarlierFiles(const RecordFiles& files) : mFiles(files) {
  requireWritableFolder(files.raw());
  moveAside();
  // Found out now rather than after the terminal has begun to stream.
  std::ofstream probe(files.raw(), std::ios::binary | std::ios::app);
  if (probe) return;
  putBack();
  throw RunTimeError(ErrorNumber::pathFileAccess,
                     pathText(files.raw()) +
                         " cannot be written; choose a folder that you may "
                         "write to");
}

EarlierFiles::~EarlierFiles() {
  if (mFiles.rawSize() == 0) putBack();
}

std::string EarlierFiles::keptAs() const { return any() ? pathText(mMoved.front().to) : ""; }

void EarlierFiles::remove() {
  std::error_code ignored;
  for (const Move& move : mMoved) fs::remove(move.to, ignored);
  mMoved.clear();
}

void EarlierFiles::moveAside() {
  const auto taken = [this](int number) {
    return std::any_of(mFiles.all().begin(), mFiles.all().end(),
                       [=](const fs::path& file) { return isThere(numbered(file, number)); });
  };
  int number = 1;
  while (taken(number)) ++number;
  for (const fs::path& file : mFiles.all()) {
    std::error_code error;
    if (!isThere(file) || isEmptyFile(file) || fs::is_directory(file, error)) continue;
    const fs::path aside = numbered(file, number);
    fs::rename(file, aside, error);
    if (error) {
      putBack();
      throw RunTimeError(ErrorNumber::pathFileAccess, "the earlier " + pathText(file) +
                                                          " cannot be kept as " + pathText(aside) +
                                                          " (" + error.message() + ")");
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

}  // namespace cronvel
