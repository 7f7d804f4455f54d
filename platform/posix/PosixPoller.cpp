#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <array>
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

std::uint32_t systemEvents(short interest) {
  std::uint32_t events = 0;
  if ((interest & Poller::readable) != 0) events |= EPOLLIN;
  if ((interest & Poller::writable) != 0) events |= EPOLLOUT;
  return events;
}

short foundBy(std::uint32_t events) {
  if ((events & ~std::uint32_t{EPOLLIN | EPOLLOUT}) != 0)
    return Poller::readable | Poller::writable;
  const int found = ((events & EPOLLIN) != 0 ? Poller::readable : 0) |
                    ((events & EPOLLOUT) != 0 ? Poller::writable : 0);
  return static_cast<short>(found);
}

class PosixPoller : public Poller {
 public:
  PosixPoller()
      : mEpoll(epoll_create1(EPOLL_CLOEXEC)), mWake(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!mEpoll || !mWake) fail();
  }

  void wake() override {
    const int before = errno;
    // It fails only where so many calls to wake are waiting that one more says nothing new.
    static_cast<void>(eventfd_write(mWake.get(), 1));
    errno = before;
  }

  void setInterest(Handle handle, short events) override {
    const int file = static_cast<int>(handle);
    if (events == 0) {
      if (epoll_ctl(mEpoll.get(), EPOLL_CTL_DEL, file, nullptr) == 0) mReady.pop_back();
      return;
    }
    epoll_event wanted{systemEvents(events), {.fd = file}};
    if (epoll_ctl(mEpoll.get(), EPOLL_CTL_MOD, file, &wanted) == 0) return;
    if (epoll_ctl(mEpoll.get(), EPOLL_CTL_ADD, file, &wanted) != 0) fail();
    mReady.emplace_back();
  }

  /// With the system's finest clock: epoll's own steps by the millisecond. A signal ends the wait
  /// early.
  void await(Duration longestWait) override {
    const auto wholeSeconds = duration_cast<seconds>(longestWait);
    const timespec timeout{wholeSeconds.count(),
                           duration_cast<nanoseconds>(longestWait - wholeSeconds).count()};
    std::array<pollfd, 2> either{{{mEpoll.get(), POLLIN, 0}, {mWake.get(), POLLIN, 0}}};
    if (ppoll(either.data(), either.size(), &timeout, nullptr) <= 0) return;
    eventfd_t calls = 0;
    if (either[1].revents != 0) static_cast<void>(eventfd_read(mWake.get(), &calls));
  }

  void poll(std::vector<Found>& found) override {
    if (mReady.empty()) return;
    const int count = epoll_wait(mEpoll.get(), mReady.data(), static_cast<int>(mReady.size()), 0);
    for (int i = 0; i < count; ++i) {
      const epoll_event& each = mReady[static_cast<std::size_t>(i)];
      found.push_back({each.data.fd, foundBy(each.events)});
    }
  }

 private:
  [[noreturn]] static void fail() {
    throw RunTimeError(ErrorNumber::tooManyFiles,
                       std::string("the message pump: ") + std::strerror(errno));
  }

  FileDescriptor mEpoll;
  FileDescriptor mWake;
  std::vector<epoll_event> mReady;  ///< room for everything that is watched
};

}  // namespace

std::unique_ptr<Poller> makePoller() { return std::make_unique<PosixPoller>(); }

}  // namespace cronvel
