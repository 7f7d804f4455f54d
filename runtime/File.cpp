#include "runtime/File.h"

#include <cerrno>
#include <system_error>

#include "runtime/RunTimeError.h"
#include "runtime/Text.h"

namespace cronvel {
namespace {

ErrorNumber numberOf(int error, bool opening) {
  switch (error) {
    case ENOENT:
    case ENOTDIR:
      return opening ? ErrorNumber::fileNotFound : ErrorNumber::pathNotFound;
    case EACCES:
    case EPERM:
      return ErrorNumber::permissionDenied;
    case ENOSPC:
    case EFBIG:
      return ErrorNumber::diskFull;
    case EMFILE:
    case ENFILE:
      return ErrorNumber::tooManyFiles;
    case EISDIR:
    case EROFS:
    case EBUSY:
    case ETXTBSY:
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
                       const std::filesystem::path& path, int error) {
  const std::string cause = error == 0 ? "" : " (" + std::generic_category().message(error) + ")";
  return RunTimeError(number, doing + " " + pathText(path) + cause + advice(number));
}

void requireNoFolder(const std::filesystem::path& path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored))
    throw fileError(ErrorNumber::pathFileAccess, "cannot use as a file", path, EISDIR);
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
  if (error) throw fileError(numberOf(error.value(), false), "cannot delete", path, error.value());
}

File::File(const std::filesystem::path& path, Access access) : mPath(path) {
  requireNoFolder(path);
  mBuffer.pubsetbuf(nullptr, 0);
  errno = 0;
  bool opened = mBuffer.open(path, modeOf(access) | std::ios::binary) != nullptr;
  if (!opened && access == Access::update && errno == ENOENT)
    opened = mBuffer.open(path, std::ios::out | std::ios::binary) != nullptr;
  if (opened) return;
  const int error = errno;
  const bool reading = access == Access::read;
  throw fileError(numberOf(error, reading), reading ? "cannot read" : "cannot write", path, error);
}

std::size_t File::read(std::span<std::uint8_t> bytes) try {
  errno = 0;
  char* const target = reinterpret_cast<char*>(bytes.data());
  return static_cast<std::size_t>(
      mBuffer.sgetn(target, static_cast<std::streamsize>(bytes.size())));
} catch (const std::ios_base::failure&) {
  throw fileError(ErrorNumber::deviceIoError, "cannot read", mPath, errno);
}

void File::write(std::span<const std::uint8_t> bytes) {
  errno = 0;
  const auto size = static_cast<std::streamsize>(bytes.size());
  if (mBuffer.sputn(reinterpret_cast<const char*>(bytes.data()), size) != size) {
    const int error = errno;
    throw fileError(numberOf(error, false), "cannot write", mPath, error);
  }
}

void File::close() {
  errno = 0;
  if (mBuffer.is_open() && mBuffer.close() == nullptr) {
    const int error = errno;
    throw fileError(numberOf(error, false), "cannot write", mPath, error);
  }
}

}  // namespace cronvel
