#include <poll.h>
#include <sys/eventfd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <vector>

#include "platform/posix/FileDescriptor.h"
#include "platform/reactor/Poller.h"
#include "runtime/RunTimeError.h"

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
  PosixPoller() : mWake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!mWake)
      throw RunTimeError(ErrorNumber::tooManyFiles,
                         std::string("the message pump: ") + std::strerror(errno));
  }

  void wake() override {
    const int before = errno;
    // It fails only where so many calls to wake are waiting that one more says nothing new.
    static_cast<void>(eventfd_write(mWake.get(), 1));
    errno = before;
  }

  void poll(std::span<Item> items, Duration longestWait) override {
    mPolls.clear();
    for (const Item& item : items)
      mPolls.push_back({static_cast<int>(item.handle), pollEvents(item.interest), 0});
    mPolls.push_back({mWake.get(), POLLIN, 0});
    const auto wholeSeconds = duration_cast<seconds>(longestWait);
    const timespec timeout{wholeSeconds.count(),
                           duration_cast<nanoseconds>(longestWait - wholeSeconds).count()};
    // A signal ends the wait early: to the caller a pass that found nothing.
    const bool any = ppoll(mPolls.data(), mPolls.size(), &timeout, nullptr) > 0;
    eventfd_t calls = 0;
    if (any && mPolls.back().revents != 0) static_cast<void>(eventfd_read(mWake.get(), &calls));
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

  FileDescriptor mWake;
  std::vector<pollfd> mPolls;
};

}  // namespace

std::unique_ptr<Poller> makePoller() { return std::make_unique<PosixPoller>(); }

}  // namespace cronvel
