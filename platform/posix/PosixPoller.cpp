#include <poll.h>

#include <algorithm>
#include <ctime>
#include <vector>

#include "platform/reactor/Poller.h"

namespace cronvel {
namespace {

using std::chrono::duration_cast;
using std::chrono::nanoseconds;
using std::chrono::seconds;

short pollEvents(short interest) {
  int events = 0;
  if ((interest & Poller::readable) != 0) events |= POLLIN;
  if ((interest & Poller::writable) != 0) events |= POLLOUT;
  return static_cast<short>(events);
}

class PosixPoller : public Poller {
 public:
  void poll(std::span<Item> items, Duration longestWait) override {
    mPolls.clear();
    for (const Item& item : items)
      mPolls.push_back({static_cast<int>(item.handle), pollEvents(item.interest), 0});
    const auto wholeSeconds = duration_cast<seconds>(longestWait);
    const timespec timeout{wholeSeconds.count(),
                           duration_cast<nanoseconds>(longestWait - wholeSeconds).count()};
    // A signal ends the wait early: to the caller a pass that found nothing.
    const bool any = ppoll(mPolls.data(), mPolls.size(), &timeout, nullptr) > 0;
    for (std::size_t i = 0; i < items.size(); ++i)
      items[i].found = any ? foundBy(mPolls[i]) : short{0};
  }

 private:
  static short foundBy(const pollfd& poll) {
    if ((poll.revents & ~(POLLIN | POLLOUT)) != 0) return readable | writable;
    const int found = ((poll.revents & POLLIN) != 0 ? readable : 0) |
                      ((poll.revents & POLLOUT) != 0 ? writable : 0);
    return static_cast<short>(found);
  }

  std::vector<pollfd> mPolls;
};

}  // namespace

std::unique_ptr<Poller> makePoller() { return std::make_unique<PosixPoller>(); }

}  // namespace cronvel
