#pragma once

#include "cli/Io.h"
#include "platform/ForwardingPlatform.h"

namespace cronvel {

/// The machine as a control of the command line gets it. What the control would show in message
/// boxes its notes say as well, in the command line's language; of its questions only the one about
/// a busy line is asked, where a person can answer it.
class SessionPlatform : public ForwardingPlatform {
 public:
  SessionPlatform(Platform& inner, const Io& io)
      : ForwardingPlatform(inner), mBox(inner.msgBox(), io.canAsk) {}

  MsgBox& msgBox() override { return mBox; }

 private:
  class Box : public MsgBox {
   public:
    Box(MsgBox& asking, bool canAsk) : mAsking(asking), mCanAsk(canAsk) {}

    Answer show(const std::u16string& /*prompt*/, Buttons buttons,
                const std::u16string& /*title*/) override {
      if (buttons == Buttons::ok) return Answer::ok;
      if (!mCanAsk) return Answer::no;
      return mAsking.show(u"The line is busy. Dial again?", buttons, u"cronvel");
    }

   private:
    MsgBox& mAsking;
    bool mCanAsk;
  };

  Box mBox;
};

}  // namespace cronvel
