#include <array>

#include "platform/reactor/ReactorPlatform.h"
#include "platform/win32/Module.h"
#include "runtime/RunTimeError.h"

namespace cronvel {
namespace {

class Win32Platform : public ReactorPlatform {
  std::string environment(const std::string& name) const override {
    std::array<wchar_t, 32768> value{};
    GetEnvironmentVariableW(wide(name).c_str(), value.data(), static_cast<DWORD>(value.size()));
    return utf8(value.data());
  }
  std::string usualPath(std::int16_t number) const override {
    return "\\\\.\\COM" + std::to_string(number);
  }
};

}  // namespace

std::unique_ptr<SerialLineEnd> makeSerialLineEnd(Reactor& /*reactor*/,
                                                 const std::string& /*linkName*/) {
  throw RunTimeError(ErrorNumber::pathFileAccess,
                     "simulated serial lines need Linux; use the network, which works everywhere");
}

std::unique_ptr<Platform> Platform::createUntraced() { return std::make_unique<Win32Platform>(); }

}  // namespace cronvel
