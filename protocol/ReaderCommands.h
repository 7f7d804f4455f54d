#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// Whom a terminal admits: reader, groups, codes; and the message to one card holder. The members
/// are the control's own, documented there.
class ReaderCommands {
 public:
  /// Keeps the new value of `ReaderOn`; raises 387 in design mode.
  using Store = std::function<void(bool)>;

  ReaderCommands(const DeviceLinks& links, Store storeReaderOn);

  void ReaderOn(bool New_ReaderOn);
  bool SetReaderOnOff(const std::u16string& sRemoteHost, bool New_ReaderOn);
  bool SetMainGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  bool SetSubGroup(const std::u16string& sRemoteHost, std::uint8_t mG);
  bool SetCode4(const std::u16string& sRemoteHost, const std::u16string& mCode);
  bool SetCode10(const std::u16string& sRemoteHost, const std::u16string& mCode);
  bool SendMsg(const std::u16string& sRemoteHost, const std::u16string& CardNum,
               const std::u16string& inMsg);

 private:
  bool setGroup(int code, const std::u16string& sRemoteHost, std::uint8_t mG);

  const DeviceLinks& mLinks;
  Store mStoreReaderOn;
};

}  // namespace cronvel
