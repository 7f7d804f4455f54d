#include <array>

#include "platform/system/Machine.h"
#include "platform/win32/Module.h"
#include "runtime/RunTimeError.h"

namespace cronvel {

std::string environmentVariable(const std::string& name) {
  std::array<wchar_t, 32768> value{};
  GetEnvironmentVariableW(wide(name).c_str(), value.data(), static_cast<DWORD>(value.size()));
  return utf8(value.data());
}

std::string usualPortPath(std::int16_t number) { return "\\\\.\\COM" + std::to_string(number); }

std::unique_ptr<SerialLineEnd> makeSerialLineEnd(Reactor& /*reactor*/,
                                                 const std::string& /*linkName*/) {
  throw RunTimeError(ErrorNumber::pathFileAccess,
                     "simulated serial lines need Linux; use the network, which works everywhere");
}

}  // namespace cronvel
