#pragma once

#include "activex/Com.h"
#include "platform/ForwardingPlatform.h"

namespace cronvel::activex {

class Site;

/// The machine as a control in a container has it: while a message box stands, the container's own
/// windows that need no answer are switched off, as with any other of its dialogs.
class HostPlatform final : public ForwardingPlatform, private MsgBox {
 public:
  HostPlatform(Platform& machine, const Site& site) : ForwardingPlatform(machine), mSite(site) {}

  MsgBox& msgBox() override { return *this; }

 private:
  Answer show(const std::u16string& prompt, Buttons buttons, const std::u16string& title) override;

  const Site& mSite;
};

}  // namespace cronvel::activex
