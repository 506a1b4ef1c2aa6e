// FramePresenter.h: shows a page view's frame (an RGB raster) in a window.
//
// The frame is drawn by the toolkit-free view layer; this class only copies
// a part of it to the screen. It converts the part into an X image of the
// window's visual and puts it with MIT-SHM when the server offers shared
// memory on this connection, with XPutImage otherwise. Nothing is cached
// from one call to the next except the image buffer itself.
#pragma once

#include <X11/Xlib.h>

#include <cstdint>

namespace folio::motif {

// A read-only view of an RGB raster: 3 bytes a pixel (red, green, blue),
// `stride` bytes a row, rows top to bottom. Not owned.
struct RgbRaster {
  const uint8_t *pixels = nullptr;
  int width = 0;
  int height = 0;
  int stride = 0;
};

class FramePresenter {
public:
  FramePresenter(Display *display, Window window, Visual *visual, int depth);
  ~FramePresenter();
  FramePresenter(const FramePresenter &) = delete;
  FramePresenter &operator=(const FramePresenter &) = delete;

  // Copies the frame's rectangle (x, y, w, h), clipped to the frame, to the
  // window at (x + dstX, y + dstY). Does not wait for the server.
  void present(const RgbRaster &frame, int x, int y, int w, int h, int dstX = 0, int dstY = 0);
  // Whether shared memory is in use (for the performance report).
  bool usesSharedMemory() const { return shm_; }

private:
  bool ensureImage(int width, int height);
  void releaseImage();

  Display *display_;
  Window window_;
  Visual *visual_;
  int depth_;
  GC gc_;
  XImage *image_ = nullptr;
  void *shmInfo_ = nullptr; // XShmSegmentInfo when shm_ is true
  bool shm_ = false;
  bool shmAvailable_ = false;
  int rShift_ = 16, gShift_ = 8, bShift_ = 0;
};

} // namespace folio::motif
