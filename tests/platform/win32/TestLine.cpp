#include <cstdlib>

#include "tests/platform/PlatformTest.h"

namespace cronvel {

namespace {

/// A line that pty-line keeps: its TCP port is in CRONVEL_PTY_LINE. What comes over it is told to
/// nobody: the tests of the control see every byte.
class KeptLine : public SerialLineEnd {
 public:
  KeptLine() {
    for (char c = 0; ::recv(mSocket.get(), &c, 1, 0) == 1 && c != '\n';)
      mPath += c == '/' ? '\\' : c;
  }
  std::string path() const override { return mPath; }
  LineSettings settings() const override { return {}; }
  void send(std::span<const std::uint8_t> bytes) override {
    EXPECT_EQ(sendSome(mSocket.get(), bytes), std::ssize(bytes));
  }
  void onReceive(std::function<void(std::span<const std::uint8_t>, const LineSettings&)>) override {
  }

 private:
  SocketLibrary mLibrary;
  OwnedSocket mSocket = connectTo(std::atoi(std::getenv("CRONVEL_PTY_LINE")));
  std::string mPath = "Z:";
};

}  // namespace

std::unique_ptr<SerialLineEnd> makeTestLine(Platform&) { return std::make_unique<KeptLine>(); }

bool underWine() {
  return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

}  // namespace cronvel
