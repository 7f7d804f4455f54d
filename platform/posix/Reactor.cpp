#include "platform/posix/Reactor.h"

#include <algorithm>
#include <ctime>

namespace cronvel {

using std::chrono::duration_cast;
using std::chrono::nanoseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

namespace {
/// Everything here wakes the poll, so this only sets how exactly a wait loop keeps its limit.
constexpr auto longestBlock = std::chrono::milliseconds(5);
}  // namespace

struct Reactor::Source {
  explicit Source(Handler h) : handler(std::move(h)) {}
  Handler handler;
  int fd = -1;
  short events = 0;
  unsigned attachment = 0;  ///< tells answers for an earlier descriptor from those for this one
  TimePoint callAt = TimePoint::max();
  bool eachPass = false;
  bool registered = true;
};

struct Reactor::Ready {
  std::shared_ptr<Source> source;
  unsigned attachment;
  short revents;
};

Reactor::Watch::Watch(Reactor& reactor, std::shared_ptr<Source> source)
    : mReactor(&reactor), mSource(std::move(source)) {}

Reactor::Watch& Reactor::Watch::operator=(Watch&& other) noexcept {
  std::swap(mReactor, other.mReactor);
  std::swap(mSource, other.mSource);
  return *this;
}

Reactor::Watch::~Watch() {
  if (mSource) mReactor->remove(mSource);
}

void Reactor::Watch::attach(int fd, short events) {
  if (mSource->fd != fd) ++mSource->attachment;
  mSource->fd = fd;
  mSource->events = events;
}

void Reactor::Watch::callAt(TimePoint time) { mSource->callAt = time; }

void Reactor::Watch::callEachPass(bool on) { mSource->eachPass = on; }

Reactor::Reactor() = default;
Reactor::~Reactor() = default;

Reactor::Watch Reactor::watch(Handler handler) {
  mSources.push_back(std::make_shared<Source>(std::move(handler)));
  return Watch(*this, mSources.back());
}

void Reactor::remove(const std::shared_ptr<Source>& source) {
  source->registered = false;
  std::erase(mSources, source);
}

void Reactor::DoEvents() { pass(TimePoint::duration::zero()); }

void Reactor::waitEvents() { pass(longestBlock); }

void Reactor::pass(TimePoint::duration longestWait) {
  pollSources(std::min(longestWait, untilNextCall(steady_clock::now())));
  const TimePoint now = steady_clock::now();
  for (const Ready& ready : readySources(now)) {
    Source& source = *ready.source;
    // An earlier handler of this pass, or a pass inside it, may have changed what was found.
    if (!source.registered) continue;
    const short revents = source.attachment == ready.attachment ? ready.revents : short{0};
    const bool due = source.callAt <= now;
    if (revents == 0 && !due && !source.eachPass) continue;
    if (due) source.callAt = TimePoint::max();
    source.handler(revents);
  }
}

Reactor::TimePoint::duration Reactor::untilNextCall(TimePoint now) const {
  TimePoint next = TimePoint::max();
  for (const auto& source : mSources) next = std::min(next, source->callAt);
  return next <= now ? TimePoint::duration::zero() : next - now;
}

void Reactor::pollSources(TimePoint::duration wait) {
  mPolls.clear();
  for (const auto& source : mSources)
    mPolls.push_back({source->events != 0 ? source->fd : -1, source->events, 0});
  const auto wholeSeconds = duration_cast<seconds>(wait);
  const timespec timeout{wholeSeconds.count(),
                         duration_cast<nanoseconds>(wait - wholeSeconds).count()};
  // A signal ends the wait early: to the caller a pass that found nothing.
  if (ppoll(mPolls.data(), mPolls.size(), &timeout, nullptr) < 0)
    for (pollfd& poll : mPolls) poll.revents = 0;
}

std::vector<Reactor::Ready> Reactor::readySources(TimePoint now) const {
  std::vector<Ready> ready;
  for (std::size_t i = 0; i < mSources.size(); ++i) {
    const auto& source = mSources[i];
    if (mPolls[i].revents != 0 || source->eachPass || source->callAt <= now)
      ready.push_back({source, source->attachment, mPolls[i].revents});
  }
  return ready;
}

}  // namespace cronvel
