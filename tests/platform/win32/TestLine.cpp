#include <cstdlib>
#include <vector>

#include "platform/sockets/Inet.h"
#include "tests/platform/SerialTest.h"
#include "tests/ptyline/Frame.h"

namespace cronvel {

namespace {

/// A line that pty-line keeps: its port is in CRONVEL_PTY_LINE.
class KeptLine : public SerialLineEnd {
 public:
  explicit KeptLine(Platform& platform) : mTimer(platform.makeTimer()) {
    const char* port = std::getenv("CRONVEL_PTY_LINE");
    if (port == nullptr) throw std::runtime_error("CRONVEL_PTY_LINE does not name pty-line's port");
    in_addr here{};
    here.s_addr = htonl(INADDR_LOOPBACK);
    const sockaddr_in address = inetAddress(here, std::atoi(port));
    if (::connect(mSocket.get(), generic(&address), sizeof address) != 0)
      throw std::runtime_error("pty-line does not listen");
    setOption(mSocket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    const Frame path = waitFor(Frame::path);
    mPath = "Z:";
    for (const std::uint8_t c : path.content) mPath += c == '/' ? '\\' : static_cast<char>(c);
    mTimer->Interval(2);
    mTimer->onTimer([this] { service(); });
    mTimer->Enabled(true);
  }

  std::string path() const override { return mPath; }
  LineSettings settings() const override {
    say({Frame::ask, {}});
    return waitFor(Frame::settings).settingsInside();
  }
  void send(std::span<const std::uint8_t> bytes) override {
    say({Frame::send, Bytes(bytes.begin(), bytes.end())});
  }
  void onReceive(
      std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler) override {
    mHandler = std::move(handler);
  }

 private:
  void say(const Frame& frame) const {
    const Bytes bytes = frame.encoded();
    std::span<const std::uint8_t> left(bytes);
    while (!left.empty()) {
      const auto count = sendSome(mSocket.get(), left);
      if (count < 0) throw std::runtime_error("pty-line is gone");
      left = left.subspan(static_cast<std::size_t>(count));
    }
  }

  /// Keeps what else comes meanwhile.
  Frame waitFor(char kind) const {
    for (;;) {
      read();
      for (auto frame = mFrames.begin(); frame != mFrames.end(); ++frame) {
        if (frame->kind != kind) continue;
        Frame found = std::move(*frame);
        mFrames.erase(frame);
        return found;
      }
    }
  }

  void read() const {
    Bytes block(65536);
    const auto count = receiveSome(mSocket.get(), block);
    if (count <= 0) throw std::runtime_error("pty-line is gone");
    mReceived.insert(mReceived.end(), block.begin(), block.begin() + count);
    while (auto frame = Frame::takeFrom(mReceived)) mFrames.push_back(std::move(*frame));
  }

  void service() {
    if (unreadInside(mSocket.get())) read();
    for (const Frame& frame : std::exchange(mFrames, {}))
      if (mHandler) mHandler(frame.bytesInside(), frame.settingsInside());
  }

  SocketLibrary mLibrary;
  OwnedSocket mSocket{::socket(AF_INET, SOCK_STREAM, 0)};
  std::string mPath;
  mutable Bytes mReceived;
  mutable std::vector<Frame> mFrames;
  std::function<void(std::span<const std::uint8_t>, const LineSettings&)> mHandler;
  std::unique_ptr<Timer> mTimer;
};

}  // namespace

std::unique_ptr<SerialLineEnd> makeTestLine(Platform& platform) {
  return std::make_unique<KeptLine>(platform);
}

bool underWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

void setVariable(const char* name, const std::string& value) { _putenv_s(name, value.c_str()); }

}  // namespace cronvel
