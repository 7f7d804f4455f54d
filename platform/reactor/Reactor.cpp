#include "platform/reactor/Reactor.h"

#include <algorithm>

namespace cronvel {

using std::chrono::steady_clock;

namespace {
/// Everything here ends a wait, so this only sets how exactly a wait loop keeps its limit.
constexpr auto longestBlock = std::chrono::milliseconds(20);
/// Between the calls for each pass where nobody but the host's own loop makes passes.
constexpr auto hostPassEvery = std::chrono::milliseconds(10);
/// Passes inside each other from which on they are rare, and how rare.
constexpr int manyPasses = 64;
constexpr auto rarePassEvery = std::chrono::milliseconds(1);
}  // namespace

struct Reactor::Source : std::enable_shared_from_this<Source> {
  Source(Handler itsHandler, std::uint64_t itsId) : handler(std::move(itsHandler)), id(itsId) {}
  Handler handler;
  std::uint64_t id;  ///< sources are called in the order in which they were made
  Poller::Handle handle = Poller::noHandle;
  short events = 0;
  TimePoint callAt = TimePoint::max();
  bool registered = true;
  /// How many calls of handlers there had been when it was called last or got its handle. What a
  /// poll before that found is no longer news.
  std::uint64_t touched = 0;
};

bool Reactor::Earlier::operator()(const Source* left, const Source* right) const {
  return left->id < right->id;
}

struct Reactor::Ready {
  std::shared_ptr<Source> source;
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
  if (mSource) mReactor->remove(*mSource);
}

void Reactor::Watch::attach(Poller::Handle handle, short events) {
  if (events == 0) handle = Poller::noHandle;
  Source& source = *mSource;
  if (source.handle == handle && source.events == events) return;
  if (source.handle != handle) {
    mReactor->detach(source);
    source.touched = mReactor->mCalls;
  }
  if (events == 0) return;
  mReactor->mPoller->setInterest(handle, events);
  mReactor->mAttached[handle] = &source;
  source.handle = handle;
  source.events = events;
}

void Reactor::Watch::callAt(TimePoint time) {
  mReactor->schedule(*mSource, time);
  if (time != TimePoint::max()) mReactor->mPoller->callBy(time);
}

void Reactor::Watch::callEachPass(bool on) {
  if (!mReactor->setEachPass(*mSource, on) || !on) return;
  mReactor->mPoller->callBy(steady_clock::now() + hostPassEvery);
}

Reactor::Reactor(std::unique_ptr<Poller> poller) : mPoller(std::move(poller)) {
  mPoller->setPass([this] { pass(); });
}

Reactor::~Reactor() = default;

Reactor::Watch Reactor::watch(Handler handler) {
  return Watch(*this, std::make_shared<Source>(std::move(handler), ++mWatches));
}

void Reactor::detach(Source& source) {
  if (source.events == 0) return;
  mPoller->setInterest(source.handle, 0);
  mAttached.erase(source.handle);
  source.handle = Poller::noHandle;
  source.events = 0;
}

void Reactor::schedule(Source& source, TimePoint time) {
  if (source.callAt == time) return;
  mDue.erase({source.callAt, &source});
  source.callAt = time;
  if (time != TimePoint::max()) mDue.insert({time, &source});
}

/// Whether that changed anything.
bool Reactor::setEachPass(Source& source, bool on) {
  return on ? mEachPass.insert(&source).second : mEachPass.erase(&source) != 0;
}

void Reactor::remove(Source& source) {
  detach(source);
  schedule(source, TimePoint::max());
  setEachPass(source, false);
  source.registered = false;
}

bool Reactor::crowded() const {
  return mDepth >= manyPasses && steady_clock::now() - mPassBegan < rarePassEvery;
}

void Reactor::DoEvents() {
  if (crowded()) return;
  const Depth depth(*this);
  mPoller->pumpHost();
  pass();
}

void Reactor::awaitEvents() {
  const TimePoint next = nextDue();
  const TimePoint now = steady_clock::now();
  if (next > now) mPoller->await(std::min<Poller::Duration>(longestBlock, next - now));
}

void Reactor::pass() {
  const Depth depth(*this);
  mFound.clear();
  mPoller->poll(mFound);
  const struct AtEnd {
    Reactor& reactor;
    ~AtEnd() { reactor.endPass(); }
  } atEnd{*this};
  const TimePoint now = steady_clock::now();
  mPassBegan = now;
  serve(readySources(now), now);
}

void Reactor::serve(const std::vector<Ready>& all, TimePoint now) {
  const std::uint64_t polled = mCalls;
  for (const Ready& ready : all) {
    Source& source = *ready.source;
    // An earlier handler of this pass, or a pass inside it, may have changed what was found.
    if (!source.registered) continue;
    const bool news = source.touched <= polled;
    const bool due = source.callAt <= now;
    if (!due && !(news && (ready.found != 0 || mEachPass.contains(&source)))) continue;
    if (due) schedule(source, TimePoint::max());
    source.touched = ++mCalls;
    source.handler(news ? ready.found : short{0});
  }
}

void Reactor::endPass() {
  TimePoint next = nextDue();
  if (!mEachPass.empty()) next = std::min(next, steady_clock::now() + hostPassEvery);
  mPoller->passEnded(next);
}

Reactor::TimePoint Reactor::nextDue() const {
  return mDue.empty() ? TimePoint::max() : mDue.begin()->first;
}

/// Each once.
std::vector<Reactor::Ready> Reactor::readySources(TimePoint now) const {
  std::vector<Ready> ready;
  const auto add = [&](Source* source, short found) {
    ready.push_back({source->shared_from_this(), found});
  };
  for (const Poller::Found& found : mFound)
    if (const auto attached = mAttached.find(found.handle); attached != mAttached.end())
      add(attached->second, found.events);
  for (auto due = mDue.begin(); due != mDue.end() && due->first <= now; ++due) add(due->second, 0);
  for (Source* source : mEachPass) add(source, 0);
  // What was found comes before the other reasons for the same source.
  std::ranges::stable_sort(ready, {}, [](const Ready& each) { return each.source->id; });
  const auto same = [](const Ready& a, const Ready& b) { return a.source == b.source; };
  ready.erase(std::unique(ready.begin(), ready.end(), same), ready.end());
  return ready;
}

}  // namespace cronvel
