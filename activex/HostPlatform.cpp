#include "activex/HostPlatform.h"

#include "activex/Site.h"

namespace cronvel::activex {
namespace {

/// The container's frame; none where it has no windows.
ComPtr<IOleInPlaceFrame> frameOf(const ComPtr<IOleClientSite>& clientSite) {
  ComPtr<IOleInPlaceSite> site;
  ComPtr<IOleInPlaceFrame> frame;
  ComPtr<IOleInPlaceUIWindow> document;
  RECT position{}, clip{};
  OLEINPLACEFRAMEINFO accelerators{};
  accelerators.cb = sizeof accelerators;
  if (clientSite && SUCCEEDED(clientSite.As(&site)))
    site->GetWindowContext(&frame, &document, &position, &clip, &accelerators);
  return frame;
}

}  // namespace

MsgBox::Answer HostPlatform::show(const std::u16string& prompt, Buttons buttons,
                                  const std::u16string& title) {
  const ComPtr<IOleInPlaceFrame> frame = frameOf(mSite.clientSite());
  if (frame) frame->EnableModeless(FALSE);
  const Answer answer = forwardedTo().msgBox().show(prompt, buttons, title);
  if (frame) frame->EnableModeless(TRUE);
  return answer;
}

}  // namespace cronvel::activex
