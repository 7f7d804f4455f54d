#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace cronvel {

/// What a note tells about how its command goes.
enum class NoteKind {
  progress,      ///< how far it is; it has not ended
  accepted,      ///< the terminal has done it
  refused,       ///< the terminal answered otherwise
  notSent,       ///< nothing was sent: the value asked for is out of the question
  noAnswer,      ///< the terminal was silent
  notConnected,  ///< no terminal connected in
  noCarrier,     ///< the modem has no connection
  ended,         ///< it was ended from outside
  busy,          ///< the telephone line is in another's hands
};

/// Why a command ended as it did, in a sentence for a person: "no reply within 5 s: nothing came
/// from terminal 3". The control's results say only that it failed.
class Notes {
 public:
  void add(NoteKind kind, std::string_view text) {
    ++mCount;
    mLastKind = kind;
    mLast = text;
    if (mListener) mListener(text);
  }

  /// The last note of all commands; empty before the first.
  const std::string& last() const { return mLast; }
  NoteKind lastKind() const { return mLastKind; }
  /// How many there have been.
  std::size_t count() const { return mCount; }

  /// Who hears every note as it comes, on the thread that drives the control.
  void onNote(std::function<void(std::string_view)> listener) { mListener = std::move(listener); }

 private:
  std::string mLast;
  std::size_t mCount = 0;
  NoteKind mLastKind = NoteKind::progress;
  std::function<void(std::string_view)> mListener;
};

}  // namespace cronvel
