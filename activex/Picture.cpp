#include "activex/Picture.h"

#include <algorithm>
#include <cmath>

#include "activex/Module.h"
#include "activex/resource.h"

namespace cronvel::activex {
namespace {

/// The icon's own size; the picture is stretched from it.
constexpr int iconPixels = 32;
constexpr int margin = 4;

/// Has an object selected while it lives, which then goes.
class Selected {
 public:
  Selected(HDC device, HGDIOBJ object)
      : mDevice(device), mObject(object), mBefore(SelectObject(device, object)) {}
  ~Selected() {
    SelectObject(mDevice, mBefore);
    DeleteObject(mObject);
  }
  Selected(const Selected&) = delete;
  Selected& operator=(const Selected&) = delete;

 private:
  HDC mDevice;
  HGDIOBJ mObject;
  HGDIOBJ mBefore;
};

/// A device of the screen's kind that nobody sees.
class MemoryDevice {
 public:
  ~MemoryDevice() { DeleteDC(mDevice); }
  operator HDC() const { return mDevice; }

 private:
  HDC mDevice = CreateCompatibleDC(nullptr);
};

HFONT font(int height) {
  LOGFONTW description{};
  GetObjectW(GetStockObject(DEFAULT_GUI_FONT), sizeof description, &description);
  description.lfHeight = -height;
  description.lfWidth = 0;
  return CreateFontIndirectW(&description);
}

int lineHeight(int fontHeight) {
  const MemoryDevice device;
  const Selected selected(device, font(fontHeight));
  TEXTMETRICW metrics{};
  GetTextMetricsW(device, &metrics);
  return metrics.tmHeight;
}

}  // namespace

bool isMetafile(HDC device) {
  return GetDeviceCaps(device, TECHNOLOGY) == DT_METAFILE || GetObjectType(device) == OBJ_ENHMETADC;
}

Picture::Picture(HDC device, const RECT& area, SIZE natural)
    : mDevice(device),
      mArea(area),
      mScale(std::min(static_cast<double>(area.right - area.left) / std::max(1L, natural.cx),
                      static_cast<double>(area.bottom - area.top) / std::max(1L, natural.cy))) {}

void Picture::draw(const std::wstring& first, const std::wstring& second) const {
  background();
  lines(icon(), first, second);
}

int Picture::scaled(int pixels) const {
  return std::max(1, static_cast<int>(std::lround(pixels * mScale)));
}

void Picture::fill(RECT area, int color) const {
  FillRect(mDevice, &area, GetSysColorBrush(color));
}

void Picture::background() const {
  const LONG edge = scaled(1);
  fill(mArea, COLOR_BTNFACE);
  fill({mArea.left, mArea.top, mArea.right, mArea.top + edge}, COLOR_BTNHIGHLIGHT);
  fill({mArea.left, mArea.top, mArea.left + edge, mArea.bottom}, COLOR_BTNHIGHLIGHT);
  fill({mArea.left, mArea.bottom - edge, mArea.right, mArea.bottom}, COLOR_3DDKSHADOW);
  fill({mArea.right - edge, mArea.top, mArea.right, mArea.bottom}, COLOR_3DDKSHADOW);
}

/// Returns where it ends.
int Picture::icon() const {
  const int height = mArea.bottom - mArea.top;
  const int size = std::min(scaled(iconPixels), height - 2 * scaled(2));
  BITMAPINFO format{};
  format.bmiHeader.biSize = sizeof format.bmiHeader;
  format.bmiHeader.biWidth = format.bmiHeader.biHeight = iconPixels;
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biCompression = BI_RGB;
  format.bmiHeader.biSizeImage = iconPixels * iconPixels * 4;
  void* pixels = nullptr;
  const MemoryDevice memory;
  const Selected selected(memory,
                          CreateDIBSection(memory, &format, DIB_RGB_COLORS, &pixels, nullptr, 0));
  const auto icon = static_cast<HICON>(LoadImageW(module::instance(), MAKEINTRESOURCEW(IDI_CRONVEL),
                                                  IMAGE_ICON, iconPixels, iconPixels, 0));
  if (icon == nullptr || pixels == nullptr || size <= 0) return mArea.left + scaled(margin);
  DrawIconEx(memory, 0, 0, icon, iconPixels, iconPixels, 0, GetSysColorBrush(COLOR_BTNFACE),
             DI_NORMAL);
  DestroyIcon(icon);
  GdiFlush();
  StretchDIBits(mDevice, mArea.left + scaled(margin), mArea.top + (height - size) / 2, size, size,
                0, 0, iconPixels, iconPixels, pixels, &format, DIB_RGB_COLORS, SRCCOPY);
  return mArea.left + size + 2 * scaled(margin);
}

void Picture::lines(int left, const std::wstring& first, const std::wstring& second) const {
  const int height = scaled(11);
  const int step = lineHeight(height);
  const int top = mArea.top + std::max<int>(scaled(2), (mArea.bottom - mArea.top - 2 * step) / 2);
  const Selected selected(mDevice, font(height));
  SetBkMode(mDevice, TRANSPARENT);
  SetTextColor(mDevice, GetSysColor(COLOR_BTNTEXT));
  SetTextAlign(mDevice, TA_LEFT | TA_TOP);
  TextOutW(mDevice, left, top, first.c_str(), static_cast<int>(first.size()));
  TextOutW(mDevice, left, top + step, second.c_str(), static_cast<int>(second.size()));
}

}  // namespace cronvel::activex
