#pragma once

#include <string>

#include "activex/Com.h"

namespace cronvel::activex {

/// Whether what is drawn on the device is recorded, to be played elsewhere in any size.
bool isMetafile(HDC device);

/// The control's face: an icon, and two lines beside it. It is put together from what every device
/// takes, also a metafile, which knows no icons and measures no text.
class Picture {
 public:
  /// As on a screen of 96 to the inch, where it is `natural`; `area` says how large it is here.
  Picture(HDC device, const RECT& area, SIZE natural);

  void draw(const std::wstring& first, const std::wstring& second) const;

 private:
  int scaled(int pixels) const;
  void fill(RECT area, int color) const;
  void background() const;
  int icon() const;
  void lines(int left, const std::wstring& first, const std::wstring& second) const;

  HDC mDevice;
  RECT mArea;
  double mScale;
};

}  // namespace cronvel::activex
