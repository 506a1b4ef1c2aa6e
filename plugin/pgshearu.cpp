/*
 * pgshearu.cpp: the crop tool's icon and cursors, made on the X display of
 * the host's shell widget from 16 x 16 bitmaps.
 *
 * The crop tool asks for a cursor on every pointer motion, so the pixmaps and
 * cursors are made once per display and handed out again afterwards: making
 * new ones on every update would grow the X server's memory with every
 * motion. The plug-in keeps them while the display is open; the host must
 * not free an icon or cursor it was given. When the display is closed, its
 * entry is forgotten (the server frees the resources with the connection), so
 * a display opened later at the same address gets resources of its own.
 */
#include <X11/Intrinsic.h>
#include <X11/Xlib.h>
#include <X11/Xlibint.h>

#include <string.h>

#include "pgshearu.h"

/* X bitmap layout: two bytes a row, rows top to bottom, least significant
 * bit leftmost; a set bit is a drawn pixel. */

/* Crop marks: two right angles and a thin diagonal from the top-left. */
static const unsigned char pgshear_icon[] = {0x01, 0x18, 0x02, 0x18, 0x04, 0x18, 0xf8, 0xff, 0xf8, 0xff, 0x38,
                                             0x18, 0x58, 0x18, 0x98, 0x18, 0x18, 0x19, 0x18, 0x1a, 0x18, 0x1c,
                                             0xff, 0x1f, 0xff, 0x1f, 0x18, 0x00, 0x18, 0x00, 0x18, 0x00};

/* The crop cursor shows the icon's picture. */
static const unsigned char pgshear_curs[] = {0x01, 0x18, 0x02, 0x18, 0x04, 0x18, 0xf8, 0xff, 0xf8, 0xff, 0x38,
                                             0x18, 0x58, 0x18, 0x98, 0x18, 0x18, 0x19, 0x18, 0x1a, 0x18, 0x1c,
                                             0xff, 0x1f, 0xff, 0x1f, 0x18, 0x00, 0x18, 0x00, 0x18, 0x00};

/* Scissors: two rings on the right, blades opening to the left. */
static const unsigned char scissor_curs[] = {0x00, 0x00, 0x00, 0x00, 0x00, 0x30, 0x00, 0x48, 0x0e, 0x48, 0x38,
                                             0x3c, 0xe0, 0x06, 0x80, 0x03, 0xe0, 0x06, 0x38, 0x3c, 0x0e, 0x48,
                                             0x00, 0x48, 0x00, 0x30, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};

#define kBitmapSize 16
#define kHotSpot 1

/* What has been made on one display; zero means not made yet. */
typedef struct {
  Display *display;
  Pixmap icon;
  Pixmap cropSource;
  Cursor cropCursor;
  Pixmap scissorSource;
  Cursor scissorCursor;
} DisplayResources;

/* One host, one display in practice; a few more are served for safety. */
#define kMaxDisplays 4
static DisplayResources gDisplayResources[kMaxDisplays];

/* The shell widget's display and window, from the "Unix" table. */
static Widget ShellWidget(Display **display, Window *drawable)
{
  Widget w = (Widget)UnixAppGetShellWidget();
  if (w == NULL)
    return NULL;
  *drawable = XtWindow(w);
  *display = XtDisplay(w);
  return w;
}

/* Called by Xlib while the display is being closed: its handles die with
 * the connection, so the entry is cleared. */
static int ForgetDisplay(Display *display, XExtCodes *codes)
{
  (void)codes;
  for (int i = 0; i < kMaxDisplays; i++)
    if (gDisplayResources[i].display == display)
      memset(&gDisplayResources[i], 0, sizeof gDisplayResources[i]);
  return 0;
}

/* The cache entry of the display; a new one when there is room, null when
 * the table is full (the caller then makes uncached resources). */
static DisplayResources *ResourcesFor(Display *display)
{
  for (int i = 0; i < kMaxDisplays; i++)
    if (gDisplayResources[i].display == display)
      return &gDisplayResources[i];
  for (int i = 0; i < kMaxDisplays; i++)
    if (gDisplayResources[i].display == NULL) {
      /* A private extension record only to be told when the display closes
       * (local to Xlib: no request goes to the server). */
      XExtCodes *codes = XAddExtension(display);
      if (codes == NULL)
        return NULL;
      XESetCloseDisplay(display, codes->extension, ForgetDisplay);
      gDisplayResources[i].display = display;
      return &gDisplayResources[i];
    }
  return NULL;
}

/* A cursor from a 16 x 16 image used as its own mask, so only the drawn
 * pixels show. Both colours are red 255, green 0, blue 0 on the 0..65535
 * scale (a nearly black dark red), deliberately the same. */
static Cursor MakeCursor(Display *display, Window drawable, const unsigned char *image, Pixmap *source)
{
  XColor fg, bg;
  fg.red = 255;
  fg.green = 0;
  fg.blue = 0;
  bg.red = 255;
  bg.green = 0;
  bg.blue = 0;
  *source = XCreateBitmapFromData(display, drawable, (const char *)image, kBitmapSize, kBitmapSize);
  return XCreatePixmapCursor(display, *source, *source, &fg, &bg, kHotSpot, kHotSpot);
}

static FVCursor CachedCursor(const unsigned char *image, int scissors)
{
  Display *display = NULL;
  Window drawable = 0;
  if (ShellWidget(&display, &drawable) == NULL)
    return NULL;

  DisplayResources *res = ResourcesFor(display);
  if (res == NULL) {
    Pixmap source;
    return (FVCursor)MakeCursor(display, drawable, image, &source);
  }
  Cursor *cursor = scissors ? &res->scissorCursor : &res->cropCursor;
  Pixmap *source = scissors ? &res->scissorSource : &res->cropSource;
  if (*cursor == 0)
    *cursor = MakeCursor(display, drawable, image, source);
  return (FVCursor)*cursor;
}

FVIcon GetPageShearIcon(void)
{
  Display *display = NULL;
  Window drawable = 0;
  if (ShellWidget(&display, &drawable) == NULL)
    return NULL;

  DisplayResources *res = ResourcesFor(display);
  if (res == NULL)
    return (FVIcon)XCreateBitmapFromData(display, drawable, (const char *)pgshear_icon, kBitmapSize,
                                         kBitmapSize);
  if (res->icon == 0)
    res->icon =
        XCreateBitmapFromData(display, drawable, (const char *)pgshear_icon, kBitmapSize, kBitmapSize);
  return (FVIcon)res->icon;
}

FVCursor GetPageShearCursor(void)
{
  return CachedCursor(pgshear_curs, 0);
}

FVCursor GetPageShearScissorCursor(void)
{
  return CachedCursor(scissor_curs, 1);
}
