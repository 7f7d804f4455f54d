#pragma once

#include <cstdint>
#include <string>

#include "link/CronvelEvents.h"
#include "link/DeviceLinks.h"

namespace cronvel {

/// The list of card numbers that a terminal keeps. The members are the control's own, documented
/// there.
class CardList {
 public:
  CardList(const DeviceLinks& links, __Cronvel& events) : mLinks(links), mEvents(events) {}

  std::uint8_t AddCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardSimple(const std::u16string& sRemoteHost, const std::u16string& CardNum);
  std::uint8_t DeleteCardAll(const std::u16string& sRemoteHost);
  std::uint8_t AddCardFile(const std::u16string& sRemoteHost, const std::u16string& mFileName);

 private:
  std::uint8_t sendCard(int code, const std::u16string& sRemoteHost, const std::u16string& CardNum);

  const DeviceLinks& mLinks;
  __Cronvel& mEvents;
};

}  // namespace cronvel
