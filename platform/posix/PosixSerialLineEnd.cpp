#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/posix/FileDescriptor.h"
#include "platform/posix/Termios.h"
#include "platform/reactor/CallOut.h"
#include "platform/reactor/Reactor.h"
#include "platform/system/Machine.h"
#include "runtime/Bytes.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

using std::chrono::steady_clock;

constexpr auto lookAgainAfter = std::chrono::milliseconds(10);
constexpr std::size_t queueLimit = 1 << 20;

[[noreturn]] void failPath(const std::string& what) {
  throw RunTimeError(ErrorNumber::pathFileAccess, what);
}

/// A symbolic link to the line that goes with its owner.
class LineLink {
 public:
  LineLink(std::string name, std::string target)
      : mName(std::move(name)), mTarget(std::move(target)) {
    if (mName.empty()) return;
    std::error_code error;
    if (isLeftOver()) std::filesystem::remove(mName, error);
    std::filesystem::create_symlink(mTarget, mName, error);
    if (error)
      failPath("the link " + mName + " to the serial line cannot be made: " + error.message() +
               "; choose another name, or remove it if nobody uses it");
  }
  ~LineLink() {
    std::error_code error;
    if (pointsHere()) std::filesystem::remove(mName, error);
  }
  LineLink(const LineLink&) = delete;
  LineLink& operator=(const LineLink&) = delete;

 private:
  bool pointsHere() const {
    std::error_code error;
    return !mName.empty() && std::filesystem::read_symlink(mName, error) == mTarget;
  }
  /// A link that a killed program left: it leads nowhere, or its number was given out again.
  bool isLeftOver() const {
    std::error_code error;
    return std::filesystem::is_symlink(mName, error) &&
           (!std::filesystem::exists(mName, error) || pointsHere());
  }

  std::string mName;
  std::string mTarget;
};

FileDescriptor openLine() {
  FileDescriptor line(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  if (!line || grantpt(line.get()) != 0 || unlockpt(line.get()) != 0)
    failPath(std::string("no serial line can be made: ") + std::strerror(errno));
  return line;
}

std::string pathOf(const FileDescriptor& line) {
  std::array<char, 128> path{};
  if (ptsname_r(line.get(), path.data(), path.size()) != 0)
    failPath(std::string("the serial line has no name: ") + std::strerror(errno));
  return path.data();
}

/// The master of a pty. While nobody has the other side open, the system reports the master hung
/// up without end; it is then looked at by time instead.
class PosixSerialLineEnd : public SerialLineEnd {
 public:
  PosixSerialLineEnd(Reactor& reactor, const std::string& linkName)
      : mLine(openLine()),
        mPath(pathOf(mLine)),
        mLink(linkName, mPath),
        mWatch(reactor.watch([this](short) { service(); })) {
    // Until its first opening the line would not show that nobody has it open.
    const FileDescriptor once(::open(mPath.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    setRaw();
    mWatch.callSoon();
  }

  std::string path() const override { return mPath; }

  LineSettings settings() const override { return isOpen() ? lineSettings() : LineSettings{}; }

  void send(std::span<const std::uint8_t> bytes) override {
    if (!isOpen() || mQueue.size() + bytes.size() > queueLimit) return;
    mQueue.insert(mQueue.end(), bytes.begin(), bytes.end());
    flush();
    watchLine();
  }

  void onReceive(
      std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler) override {
    mHandler = std::move(handler);
  }

 private:
  bool isOpen() const {
    pollfd state{mLine.get(), 0, 0};
    return poll(&state, 1, 0) >= 0 && (state.revents & POLLHUP) == 0;
  }

  LineSettings lineSettings() const {
    termios line{};
    return tcgetattr(mLine.get(), &line) == 0 ? lineSettingsOf(line) : LineSettings{};
  }

  /// A program may leave the line echoing what is sent to it.
  void setRaw() {
    termios line{};
    if (tcgetattr(mLine.get(), &line) != 0 || isRaw(line)) return;
    makeRaw(line);
    tcsetattr(mLine.get(), TCSANOW, &line);
  }

  void service() {
    if (mCallOut.running()) return lookLater();
    flush();
    const Bytes received = read();
    if (isOpen())
      watchLine();
    else
      hangUp();
    if (received.empty() || !mHandler) return;
    const CallOut::Scope scope(mCallOut);
    const auto handler = mHandler;
    handler(received, lineSettings());
  }

  Bytes read() {
    std::array<std::uint8_t, 4096> block;
    const ssize_t count = ::read(mLine.get(), block.data(), block.size());
    return count > 0 ? Bytes(block.begin(), block.begin() + count) : Bytes{};
  }

  void flush() {
    if (mQueue.empty()) return;
    const ssize_t count = ::write(mLine.get(), mQueue.data(), mQueue.size());
    if (count > 0) mQueue.erase(mQueue.begin(), mQueue.begin() + count);
  }

  void watchLine() {
    mWatch.attach(mLine.get(),
                  static_cast<short>(mQueue.empty() ? Poller::readable
                                                    : Poller::readable | Poller::writable));
  }

  void lookLater() {
    mWatch.detach();
    mWatch.callAt(steady_clock::now() + lookAgainAfter);
  }

  void hangUp() {
    mQueue.clear();
    tcflush(mLine.get(), TCOFLUSH);
    setRaw();
    lookLater();
  }

  FileDescriptor mLine;
  std::string mPath;
  LineLink mLink;
  Bytes mQueue;  ///< what the line did not take yet
  std::function<void(std::span<const std::uint8_t>, const LineSettings&)> mHandler;
  CallOut mCallOut;
  Reactor::Watch mWatch;
};

}  // namespace

std::unique_ptr<SerialLineEnd> makeSerialLineEnd(Reactor& reactor, const std::string& linkName) {
  return std::make_unique<PosixSerialLineEnd>(reactor, linkName);
}

}  // namespace cronvel
