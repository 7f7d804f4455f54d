#pragma once

#include <cstdint>
#include <string>

#include "link/DeviceLinks.h"

namespace cronvel {

/// The list of card numbers that a terminal keeps. All connect on the network. The result is the
/// first byte of the terminal's reply, 255 when none came within 5 s, 0 without a carrier.
/// `MonitoringON` keeps its value.
class CardList {
 public:
  /// A card number from 0 to 9999; 6 when it is negative or 16000 or more.
  std::uint8_t AddCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardAll(const std::u16string& sRemoteHost);
  /// Loads a list from a text file of numbers of up to 4 characters, separated by commas or line
  /// ends; other fields are passed over. Reports its progress by the two events. File errors come
  /// after the command has begun.
  std::uint8_t AddCardFile(const std::u16string& sRemoteHost, const std::u16string& mFileName);

 protected:
  explicit CardList(DeviceLinks& links) : mLinks(links) {}
  ~CardList() = default;

 private:
  std::uint8_t sendCard(int code, const std::u16string& sRemoteHost, const std::u16string& CardNum);

  DeviceLinks& mLinks;
};

}  // namespace cronvel
