#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace cronvel {

/// Why a command ended as it did, in a sentence for a person: "no reply within 5 s: nothing came
/// from terminal 3". The control's results say only that it failed.
class Notes {
 public:
  void add(std::string_view text) {
    mLast = text;
    if (mListener) mListener(text);
  }

  /// The last note of all commands; empty before the first.
  const std::string& last() const { return mLast; }

  /// Who hears every note as it comes, on the thread that drives the control.
  void onNote(std::function<void(std::string_view)> listener) { mListener = std::move(listener); }

 private:
  std::string mLast;
  std::function<void(std::string_view)> mListener;
};

}  // namespace cronvel
