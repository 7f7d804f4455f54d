#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/reactor/Reactor.h"
#include "platform/system/SocketApi.h"

namespace cronvel {

/// Looks names up without holding up the thread that asks.
class Resolver {
 public:
  struct Answer {
    std::vector<in_addr> addresses;
    std::string problem;  ///< why there are none
  };
  using Done = std::function<void(const Answer&)>;

  /// A question under way; the answer to one that was destroyed is dropped.
  class Query {
   public:
    Query() = default;
    Query(Query&& other) noexcept { *this = std::move(other); }
    Query& operator=(Query&& other) noexcept;
    ~Query();

   private:
    friend class Resolver;
    Resolver* mResolver = nullptr;
    unsigned mId = 0;
  };

  explicit Resolver(Reactor& reactor);

  /// The addresses that `host` itself spells; empty for a name.
  static std::vector<in_addr> numeric(const std::string& host);
  /// `done` is called in a pump pass and must not throw.
  [[nodiscard]] Query resolve(const std::string& host, Done done);

 private:
  struct Mailbox;
  void deliver();

  std::shared_ptr<Mailbox> mMailbox;
  std::map<unsigned, Done> mPending;
  unsigned mNextId = 1;
  Reactor::Watch mWatch;
};

}  // namespace cronvel
