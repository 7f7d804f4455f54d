#include "runtime/File.h"

#include <cerrno>
#include <system_error>

#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

/// What the system says of the last call on a file; none if it was content.
std::error_code lastError() {
#ifdef _WIN32
  // The C runtime's own number folds many of the system's into one.
  if (_doserrno != 0) return {static_cast<int>(_doserrno), std::system_category()};
#endif
  return {errno, std::generic_category()};
}

void forgetError() {
#ifdef _WIN32
  _doserrno = 0;
#endif
  errno = 0;
}

ErrorNumber numberOf(const std::error_code& error, bool opening) {
#ifdef _WIN32
  constexpr int invalidName = 123, badPathName = 161;  // the C++ library finds no file in these
  if (error.value() == invalidName || error.value() == badPathName) return ErrorNumber::badFileName;
#endif
  const std::error_condition cause = error.default_error_condition();
  if (cause.category() != std::generic_category()) return ErrorNumber::deviceIoError;
  switch (cause.value()) {
    case ENOENT:
    case ENOTDIR:
      return opening ? ErrorNumber::fileNotFound : ErrorNumber::pathNotFound;
    case EACCES:
    case EPERM:
    case EBUSY:  // Windows: another program has it open or locked
    case ETXTBSY:
      return ErrorNumber::permissionDenied;
    case ENOSPC:
    case EFBIG:
      return ErrorNumber::diskFull;
    case EMFILE:
    case ENFILE:
      return ErrorNumber::tooManyFiles;
    case EISDIR:
    case EROFS:
      return ErrorNumber::pathFileAccess;
    case ENAMETOOLONG:
    case EINVAL:
      return ErrorNumber::badFileName;
    default:
      return ErrorNumber::deviceIoError;
  }
}

std::string advice(ErrorNumber number) {
  switch (number) {
    case ErrorNumber::pathNotFound:
      return "; make the folder first";
    case ErrorNumber::diskFull:
      return "; free some space and try again";
    case ErrorNumber::permissionDenied:
      return "; choose a file that you may use";
    default:
      return {};
  }
}

RunTimeError fileError(ErrorNumber number, const std::string& doing,
                       const std::filesystem::path& path, const std::error_code& error) {
  const std::string cause = error ? " (" + error.message() + ")" : "";
  return RunTimeError(number, doing + " " + pathText(path) + cause + advice(number));
}

void requireNoFolder(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored))
    throw fileError(ErrorNumber::pathFileAccess, "cannot use as a file", path,
                    std::make_error_code(std::errc::is_a_directory));
}

std::ios::openmode modeOf(File::Access access) {
  switch (access) {
    case File::Access::read:
      return std::ios::in;
    case File::Access::update:
      return std::ios::in | std::ios::out;
    case File::Access::output:
      break;
  }
  return std::ios::out | std::ios::trunc;
}

}  // namespace

std::filesystem::path toPath(std::u16string_view fileName) {
  const std::string utf8 = toUtf8(fileName);
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string pathText(const std::filesystem::path& path) {
  const std::u8string utf8 = path.u8string();
  return std::string(utf8.begin(), utf8.end());
}

std::u16string withExtension(std::u16string_view fileName, std::u16string_view extension) {
  if (fileName.empty()) throw RunTimeError(ErrorNumber::badFileName, "the file name is empty");
  const std::size_t nameLength = toPath(fileName).filename().u16string().size();
  const std::size_t nameStart = fileName.size() - nameLength;
  std::u16string_view base = fileName.substr(nameStart);
  base = base.substr(0, base.rfind(u'.'));
  return std::u16string(fileName.substr(0, nameStart)).append(base).append(extension);
}

void removeFile(const std::filesystem::path& path) {
  requireNoFolder(path);
  std::error_code error;
  std::filesystem::remove(path, error);
  if (error) throw fileError(numberOf(error, false), "cannot delete", path, error);
}

File::File(const std::filesystem::path& path, Access access) : mPath(path) {
  requireNoFolder(path);
  mBuffer.pubsetbuf(nullptr, 0);
  forgetError();
  bool opened = mBuffer.open(path, modeOf(access) | std::ios::binary) != nullptr;
  if (!opened && access == Access::update && lastError() == std::errc::no_such_file_or_directory)
    opened = mBuffer.open(path, std::ios::out | std::ios::binary) != nullptr;
  if (opened) return;
  const std::error_code error = lastError();
  const bool reading = access == Access::read;
  throw fileError(numberOf(error, reading), reading ? "cannot read" : "cannot write", path, error);
}

std::size_t File::read(std::span<std::uint8_t> bytes) try {
  forgetError();
  char* const target = reinterpret_cast<char*>(bytes.data());
  return static_cast<std::size_t>(
      mBuffer.sgetn(target, static_cast<std::streamsize>(bytes.size())));
} catch (const std::ios_base::failure&) {
  throw fileError(ErrorNumber::deviceIoError, "cannot read", mPath, lastError());
}

void File::write(std::span<const std::uint8_t> bytes) {
  forgetError();
  const auto size = static_cast<std::streamsize>(bytes.size());
  if (mBuffer.sputn(reinterpret_cast<const char*>(bytes.data()), size) != size) {
    const std::error_code error = lastError();
    throw fileError(numberOf(error, false), "cannot write", mPath, error);
  }
}

void File::close() {
  forgetError();
  if (mBuffer.is_open() && mBuffer.close() == nullptr) {
    const std::error_code error = lastError();
    throw fileError(numberOf(error, false), "cannot write", mPath, error);
  }
}

}  // namespace cronvel
