#include "protocol/ModeCommands.h"

#include "protocol/CommandExchange.h"

namespace cronvel {
namespace {

constexpr int modes = 8;
constexpr std::size_t nameLength = 16;
constexpr int noPause = 0;

}  // namespace

bool ModeCommands::SetMode(const std::u16string& sRemoteHost, std::uint8_t mMode) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 32, .monitoring = alwaysRestored});
  return exchange.run([&](CommandExchange& body) { body.send(mMode); }).accepted();
}

bool ModeCommands::SendModeStr(const std::u16string& sRemoteHost,
                               const HostArray<std::u16string>& ModeStr) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 31, .monitoring = alwaysRestored});
  return exchange
      .run([&](CommandExchange& body) {
        body.send('$');
        for (int i = 0; i < modes; ++i) body.sendText(ModeStr.at(i), nameLength);
      })
      .accepted();
}

bool ModeCommands::SendModeActive(const std::u16string& sRemoteHost,
                                  const HostArray<bool>& ModeActive) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 30, .monitoring = alwaysRestored});
  return exchange
      .run([&](CommandExchange& body) {
        for (int i = 0; i < modes; ++i) body.send(ModeActive.at(i) ? 'T' : 'F');
      })
      .accepted();
}

bool ModeCommands::SetPersonAccessable(const std::u16string& sRemoteHost, bool Accessable) {
  CommandExchange exchange(mLinks, sRemoteHost, {.code = 33});
  // The other way round than every other switch: "F" admits.
  return exchange.run([&](CommandExchange& body) { body.send(Accessable ? 'F' : 'T', noPause); })
      .accepted();
}

}  // namespace cronvel
