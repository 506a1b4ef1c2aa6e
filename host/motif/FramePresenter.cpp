#include "motif/FramePresenter.h"

#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace folio::motif {

namespace {

int shiftOf(unsigned long mask)
{
  int shift = 0;
  if (!mask)
    return 0;
  while (!(mask & 1)) {
    mask >>= 1;
    shift++;
  }
  // Masks of 8 bits per channel on every visual we draw on (24/32-bit
  // TrueColor); a wider mask keeps the top 8 bits.
  int bits = 0;
  while (mask & 1) {
    mask >>= 1;
    bits++;
  }
  return shift + (bits > 8 ? bits - 8 : 0);
}

bool gShmFailed = false;
int onShmError(Display *, XErrorEvent *)
{
  gShmFailed = true;
  return 0;
}

} // namespace

FramePresenter::FramePresenter(Display *display, Window window, Visual *visual, int depth)
    : display_(display), window_(window), visual_(visual), depth_(depth)
{
  gc_ = XCreateGC(display_, window_, 0, nullptr);
  rShift_ = shiftOf(visual_->red_mask);
  gShift_ = shiftOf(visual_->green_mask);
  bShift_ = shiftOf(visual_->blue_mask);
  shmAvailable_ = XShmQueryExtension(display_) && !std::getenv("FOLIO_NO_SHM");
}

FramePresenter::~FramePresenter()
{
  releaseImage();
  XFreeGC(display_, gc_);
}

void FramePresenter::releaseImage()
{
  if (!image_)
    return;
  if (shm_) {
    auto *info = static_cast<XShmSegmentInfo *>(shmInfo_);
    XShmDetach(display_, info);
    XSync(display_, False);
    XDestroyImage(image_);
    shmdt(info->shmaddr);
    delete info;
    shmInfo_ = nullptr;
  } else {
    XDestroyImage(image_); // frees the data malloc'ed below
  }
  image_ = nullptr;
  shm_ = false;
}

bool FramePresenter::ensureImage(int width, int height)
{
  if (image_ && image_->width >= width && image_->height >= height)
    return true;
  int w = std::max(width, image_ ? image_->width : 0);
  int h = std::max(height, image_ ? image_->height : 0);
  releaseImage();
  if (shmAvailable_) {
    auto *info = new XShmSegmentInfo{};
    XImage *img = XShmCreateImage(display_, visual_, depth_, ZPixmap, nullptr, info, w, h);
    if (img) {
      info->shmid = shmget(IPC_PRIVATE, static_cast<size_t>(img->bytes_per_line) * h, IPC_CREAT | 0600);
      if (info->shmid >= 0) {
        info->shmaddr = img->data = static_cast<char *>(shmat(info->shmid, nullptr, 0));
        info->readOnly = False;
        gShmFailed = false;
        XSync(display_, False);
        auto old = XSetErrorHandler(onShmError);
        XShmAttach(display_, info);
        XSync(display_, False);
        XSetErrorHandler(old);
        // Marked for removal now: it goes away when both sides detach.
        shmctl(info->shmid, IPC_RMID, nullptr);
        if (!gShmFailed) {
          image_ = img;
          shmInfo_ = info;
          shm_ = true;
          return true;
        }
        shmdt(info->shmaddr);
      }
      img->data = nullptr;
      XDestroyImage(img);
    }
    delete info;
    shmAvailable_ = false; // e.g. a remote display: do not try again
  }
  XImage *img = XCreateImage(display_, visual_, depth_, ZPixmap, 0, nullptr, w, h, 32, 0);
  if (!img)
    return false;
  img->data = static_cast<char *>(std::malloc(static_cast<size_t>(img->bytes_per_line) * h));
  if (!img->data) {
    XDestroyImage(img);
    return false;
  }
  image_ = img;
  return true;
}

void FramePresenter::present(const RgbRaster &frame, int x, int y, int w, int h, int dstX, int dstY)
{
  if (!frame.pixels)
    return;
  int x0 = std::max(0, x), y0 = std::max(0, y);
  int x1 = std::min(frame.width, x + w), y1 = std::min(frame.height, y + h);
  if (x1 <= x0 || y1 <= y0)
    return;
  if (!ensureImage(frame.width, frame.height))
    return;
  if (image_->bits_per_pixel == 32) {
    for (int row = y0; row < y1; row++) {
      const uint8_t *src = frame.pixels + static_cast<size_t>(row) * frame.stride + x0 * 3;
      auto *dst =
          reinterpret_cast<uint32_t *>(image_->data + static_cast<size_t>(row) * image_->bytes_per_line) + x0;
      for (int col = x0; col < x1; col++, src += 3)
        *dst++ =
            (uint32_t(src[0]) << rShift_) | (uint32_t(src[1]) << gShift_) | (uint32_t(src[2]) << bShift_);
    }
  } else {
    for (int row = y0; row < y1; row++) {
      const uint8_t *src = frame.pixels + static_cast<size_t>(row) * frame.stride + x0 * 3;
      for (int col = x0; col < x1; col++, src += 3)
        XPutPixel(image_, col, row,
                  (uint32_t(src[0]) << rShift_) | (uint32_t(src[1]) << gShift_) |
                      (uint32_t(src[2]) << bShift_));
    }
  }
  if (shm_) {
    XShmPutImage(display_, window_, gc_, image_, x0, y0, x0 + dstX, y0 + dstY, x1 - x0, y1 - y0, False);
    // The server reads the shared buffer asynchronously: wait for it before
    // the next call may write the buffer again.
    XSync(display_, False);
  } else
    XPutImage(display_, window_, gc_, image_, x0, y0, x0 + dstX, y0 + dstY, x1 - x0, y1 - y0);
}

} // namespace folio::motif
