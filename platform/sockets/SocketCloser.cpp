#include "platform/sockets/SocketCloser.h"

namespace cronvel {

using std::chrono::steady_clock;

namespace {
constexpr auto longestLinger = std::chrono::seconds(3);
}  // namespace

struct SocketCloser::Lingering {
  TcpStream stream;
  Reactor::Watch watch;
  steady_clock::time_point deadline;
  bool saidSo = false;

  void work() {
    const std::size_t before = stream.unsentCount();
    stream.flush();
    if (stream.unsentCount() < before) deadline = steady_clock::now() + longestLinger;
    if (!stream.unsent() && stream.error() == 0 && !saidSo) {
      stream.endSending();
      saidSo = true;
    }
    stream.discard();
  }
  bool over() const {
    return stream.error() != 0 || (stream.ended() && !stream.unsent()) ||
           steady_clock::now() >= deadline;
  }
};

SocketCloser::SocketCloser(Reactor& reactor) : mReactor(reactor) {}

SocketCloser::~SocketCloser() {
  for (Lingering& each : mLingering) each.work();
}

void SocketCloser::take(TcpStream stream) {
  if (!stream.mustLinger()) return;
  const auto entry = mLingering.insert(
      mLingering.end(), Lingering{std::move(stream), {}, steady_clock::now() + longestLinger});
  entry->stream.take();
  entry->watch = mReactor.watch([this, entry](short) { service(entry); });
  service(entry);
}

void SocketCloser::service(Entry entry) {
  entry->work();
  if (entry->over()) {
    mLingering.erase(entry);
    return;
  }
  entry->watch.attach(watchHandle(entry->stream.socket()), entry->stream.interest());
  entry->watch.callAt(entry->deadline);
}

}  // namespace cronvel
