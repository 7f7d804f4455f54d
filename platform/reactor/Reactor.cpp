#include "platform/reactor/Reactor.h"

#include <algorithm>

namespace cronvel {

using std::chrono::steady_clock;

namespace {
/// Everything here ends a wait, so this only sets how exactly a wait loop keeps its limit.
constexpr auto longestBlock = std::chrono::milliseconds(5);
/// Between the calls for each pass where nobody but the host's own loop makes passes.
constexpr auto hostPassEvery = std::chrono::milliseconds(10);
}  // namespace

struct Reactor::Source {
  explicit Source(Handler h) : handler(std::move(h)) {}
  Handler handler;
  Poller::Handle handle = Poller::noHandle;
  short events = 0;
  unsigned attachment = 0;  ///< tells answers for an earlier handle from those for this one
  TimePoint callAt = TimePoint::max();
  bool eachPass = false;
  bool registered = true;
};

struct Reactor::Ready {
  std::shared_ptr<Source> source;
  unsigned attachment;
  short found;
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

void Reactor::Watch::attach(Poller::Handle handle, short events) {
  if (events == 0) handle = Poller::noHandle;
  if (mSource->handle == handle && mSource->events == events) return;
  Poller& poller = *mReactor->mPoller;
  if (mSource->handle != handle) {
    ++mSource->attachment;
    if (mSource->events != 0) poller.setInterest(mSource->handle, 0);
  }
  mSource->handle = handle;
  mSource->events = events;
  if (events != 0) poller.setInterest(handle, events);
}

void Reactor::Watch::callAt(TimePoint time) {
  mSource->callAt = time;
  if (time != TimePoint::max()) mReactor->mPoller->callBy(time);
}

void Reactor::Watch::callEachPass(bool on) {
  if (mSource->eachPass == on) return;
  mSource->eachPass = on;
  if (on) mReactor->mPoller->callBy(steady_clock::now() + hostPassEvery);
}

Reactor::Reactor(std::unique_ptr<Poller> poller) : mPoller(std::move(poller)) {
  mPoller->setPass([this] { pass(); });
}

Reactor::~Reactor() = default;

Reactor::Watch Reactor::watch(Handler handler) {
  mSources.push_back(std::make_shared<Source>(std::move(handler)));
  return Watch(*this, mSources.back());
}

void Reactor::remove(const std::shared_ptr<Source>& source) {
  if (source->events != 0) mPoller->setInterest(source->handle, 0);
  source->registered = false;
  std::erase(mSources, source);
}

void Reactor::DoEvents() {
  const Depth depth(*this);
  mPoller->pumpHost();
  pass();
}

void Reactor::awaitEvents() {
  mPoller->awaitHost(blockFor(longestBlock));
  pollSources(blockFor(longestBlock));
}

void Reactor::pass() {
  const Depth depth(*this);
  pollSources(Poller::Duration::zero());
  const struct AtEnd {
    Reactor& reactor;
    ~AtEnd() { reactor.endPass(); }
  } atEnd{*this};
  const TimePoint now = steady_clock::now();
  for (const Ready& ready : readySources(now)) {
    Source& source = *ready.source;
    // An earlier handler of this pass, or a pass inside it, may have changed what was found.
    if (!source.registered) continue;
    const short found = source.attachment == ready.attachment ? ready.found : short{0};
    const bool due = source.callAt <= now;
    if (found == 0 && !due && !source.eachPass) continue;
    if (due) source.callAt = TimePoint::max();
    source.handler(found);
  }
}

void Reactor::endPass() {
  TimePoint next = TimePoint::max();
  for (const auto& source : mSources) {
    next = std::min(next, source->callAt);
    if (source->eachPass) next = std::min(next, steady_clock::now() + hostPassEvery);
  }
  mPoller->passEnded(next);
}

/// The time to the next call, but no more than `longestWait`.
Poller::Duration Reactor::blockFor(Poller::Duration longestWait) const {
  TimePoint next = TimePoint::max();
  for (const auto& source : mSources) next = std::min(next, source->callAt);
  const TimePoint now = steady_clock::now();
  return next <= now ? Poller::Duration::zero() : std::min(longestWait, next - now);
}

void Reactor::pollSources(Poller::Duration wait) {
  mItems.clear();
  for (const auto& source : mSources) mItems.push_back({source->handle, source->events, 0});
  mPoller->poll(mItems, wait);
}

std::vector<Reactor::Ready> Reactor::readySources(TimePoint now) const {
  std::vector<Ready> ready;
  for (std::size_t i = 0; i < mSources.size(); ++i) {
    const auto& source = mSources[i];
    if (mItems[i].found != 0 || source->eachPass || source->callAt <= now)
      ready.push_back({source, source->attachment, mItems[i].found});
  }
  return ready;
}

}  // namespace cronvel
