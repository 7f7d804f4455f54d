#include "cli/ExitStatus.h"

#include <algorithm>
#include <array>

#include "runtime/RunTimeError.h"

namespace cronvel {

ExitStatus statusOf(int errorNumber) {
  switch (static_cast<ErrorNumber>(errorNumber)) {
    case ErrorNumber::portAlreadyOpen:
    case ErrorNumber::addressInUse:
      return ExitStatus::busy;
    case ErrorNumber::errorReadingCommDevice:
    case ErrorNumber::addressNotAvailable:
    case ErrorNumber::networkUnreachable:
    case ErrorNumber::connectionAborted:
    case ErrorNumber::connectionReset:
    case ErrorNumber::timedOut:
    case ErrorNumber::connectionRefused:
    case ErrorNumber::hostUnreachable:
    case ErrorNumber::hostNotFound:
    case ErrorNumber::wrongConnectionState:
      return ExitStatus::noAnswer;
    default:
      return ExitStatus::error;
  }
}

ExitStatus statusOf(NoteKind kind) {
  switch (kind) {
    case NoteKind::progress:
    case NoteKind::accepted:
    case NoteKind::refused:
      return ExitStatus::refused;
    case NoteKind::notSent:
      return ExitStatus::wrongUse;
    case NoteKind::noAnswer:
    case NoteKind::notConnected:
    case NoteKind::noCarrier:
      return ExitStatus::noAnswer;
    case NoteKind::ended:
      return ExitStatus::interrupted;
    case NoteKind::busy:
      return ExitStatus::busy;
  }
  return ExitStatus::error;
}

ExitStatus gravest(ExitStatus one, ExitStatus other) {
  constexpr std::array order = {ExitStatus::interrupted, ExitStatus::error,    ExitStatus::notWhole,
                                ExitStatus::refused,     ExitStatus::noAnswer, ExitStatus::busy,
                                ExitStatus::wrongUse,    ExitStatus::done};
  const auto rank = [&](ExitStatus status) { return std::ranges::find(order, status); };
  return rank(one) < rank(other) ? one : other;
}

}  // namespace cronvel
