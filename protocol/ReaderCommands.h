#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// Whom a terminal admits: reader, groups, codes; and the message to one card holder. All connect
/// on the network.
class ReaderCommands {
 public:
  /// Whether the card reader was last switched on through this control. The set sends the switch
  /// over the serial line and waits for no reply; 387 in design mode.
  bool ReaderOn() const { return mLinks.state.ReaderOn; }
  void ReaderOn(bool New_ReaderOn);

  /// Switches the card reader and keeps the new value in `ReaderOn`, whether or not the terminal
  /// answers. Waits 25 s on the network. `MonitoringON` keeps its value. 387 in design mode.
  bool SetReaderOnOff(const std::u16string& sRemoteHost, bool New_ReaderOn);
  /// The group of card holders that the terminal serves, 0 to 99; above that it returns False with
  /// nothing sent and `MonitoringON` False.
  bool SetMainGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  bool SetSubGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  /// The first 4 characters of the code; what is no digit counts as 0.
  bool SetCode4(const std::u16string& sRemoteHost, const std::u16string& mCode);
  /// The first 10 characters of the code: digits and "@"; other characters are sent as 0.
  bool SetCode10(const std::u16string& sRemoteHost, const std::u16string& mCode);
  /// A message of up to 31 characters for one card holder. `CardNum` is a number from 0 to 65535;
  /// 6 outside of it, after the command has begun.
  bool SendMsg(const std::u16string& sRemoteHost, const std::u16string& CardNum,
               const std::u16string& inMsg);

 protected:
  explicit ReaderCommands(DeviceLinks& links) : mLinks(links) {}
  ~ReaderCommands() = default;

 private:
  void storeReaderOn(bool New_ReaderOn);
  bool setGroup(int code, const std::u16string& sRemoteHost, std::uint8_t mG);

  DeviceLinks& mLinks;
};

}  // namespace cronvel
