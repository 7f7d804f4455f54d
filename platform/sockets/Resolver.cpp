#include "platform/sockets/Resolver.h"

#include <mutex>
#include <system_error>

#include "platform/system/SocketApi.h"

namespace cronvel {

namespace {

Resolver::Answer lookUp(const std::string& host, int flags) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = flags;
  addrinfo* list = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &list);
  Resolver::Answer answer;
  if (error != 0) {
    answer.problem = lookUpProblem(error);
    return answer;
  }
  for (const addrinfo* each = list; each != nullptr; each = each->ai_next)
    answer.addresses.push_back(reinterpret_cast<const sockaddr_in*>(each->ai_addr)->sin_addr);
  freeaddrinfo(list);
  return answer;
}

}  // namespace

/// Where the looking-up threads leave their answers. It belongs to them as well, since one of them
/// may outlive the resolver.
struct Resolver::Mailbox {
  std::mutex mutex;
  std::map<unsigned, Answer> answers;

  void put(unsigned id, Answer answer) {
    const std::lock_guard lock(mutex);
    answers[id] = std::move(answer);
  }

  std::map<unsigned, Answer> takeAll() {
    const std::lock_guard lock(mutex);
    return std::exchange(answers, {});
  }
};

Resolver::Query& Resolver::Query::operator=(Query&& other) noexcept {
  std::swap(mResolver, other.mResolver);
  std::swap(mId, other.mId);
  return *this;
}

Resolver::Query::~Query() {
  if (mResolver != nullptr) mResolver->mPending.erase(mId);
}

Resolver::Resolver(Reactor& reactor)
    : mMailbox(std::make_shared<Mailbox>()), mWatch(reactor.watch([this](short) { deliver(); })) {}

std::vector<in_addr> Resolver::numeric(const std::string& host) {
  return lookUp(host, AI_NUMERICHOST).addresses;
}

Resolver::Query Resolver::resolve(const std::string& host, Done done) {
  Query query;
  query.mResolver = this;
  query.mId = mNextId++;
  mPending[query.mId] = std::move(done);
  mWatch.callEachPass(true);
  try {
    runDetached([mailbox = mMailbox, id = query.mId, host] { mailbox->put(id, lookUp(host, 0)); });
  } catch (const std::system_error& error) {
    mMailbox->put(query.mId, {{}, error.what()});
  }
  return query;
}

void Resolver::deliver() {
  for (const auto& [id, answer] : mMailbox->takeAll()) {
    const auto pending = mPending.extract(id);
    if (!pending.empty()) pending.mapped()(answer);
  }
  if (mPending.empty()) mWatch.callEachPass(false);
}

}  // namespace cronvel
