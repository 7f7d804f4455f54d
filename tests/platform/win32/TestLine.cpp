#include <cstdlib>

#include "tests/platform/PlatformTest.h"
#include "tests/ptyline/LineReport.h"

namespace cronvel {

namespace {

/// A line that pty-line keeps: its port is in CRONVEL_PTY_LINE.
class KeptLine : public SerialLineEnd {
 public:
  explicit KeptLine(Platform& platform) : mTimer(platform.makeTimer()) {
    setOption(mSocket.get(), IPPROTO_TCP, TCP_NODELAY, 1);
    for (LineReport c = next(); c.byte >= 0; c = next())
      mPath += c.byte == '/' ? '\\' : static_cast<char>(c.byte);
    mTimer->Interval(2);
    mTimer->onTimer([this] { service(); });
    mTimer->Enabled(true);
  }

  std::string path() const override { return mPath; }
  LineSettings settings() const override {
    say({0, 0});
    for (;;) {
      const LineReport report = next();
      if (report.byte < 0) return report.settings;
      mCame.push_back(report);
    }
  }
  void send(std::span<const std::uint8_t> bytes) override {
    Bytes orders;
    for (const std::uint8_t byte : bytes) orders.insert(orders.end(), {1, byte});
    say(orders);
  }
  void onReceive(
      std::function<void(std::span<const std::uint8_t>, const LineSettings&)> handler) override {
    mHandler = std::move(handler);
  }

 private:
  void say(const Bytes& orders) const {
    if (sendSome(mSocket.get(), orders) != std::ssize(orders))
      throw std::runtime_error("pty-line is gone");
  }

  /// Waits for it.
  LineReport next() const {
    LineReport report;
    const int size = sizeof report;
    if (::recv(mSocket.get(), reinterpret_cast<char*>(&report), size, MSG_WAITALL) != size)
      throw std::runtime_error("pty-line is gone");
    return report;
  }

  void service() {
    while (unreadInside(mSocket.get())) mCame.push_back(next());
    for (const auto& [settings, byte] : std::exchange(mCame, {}))
      if (mHandler) mHandler(Bytes{static_cast<std::uint8_t>(byte)}, settings);
  }

  SocketLibrary mLibrary;
  OwnedSocket mSocket = connectTo(std::atoi(std::getenv("CRONVEL_PTY_LINE")));
  std::string mPath = "Z:";
  mutable std::vector<LineReport> mCame;
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
