/*
 * pgshearu.h: the X icon and cursors of the crop tool, built from 16 x 16
 * bitmaps on the display of the host's shell widget ("Unix" table).
 *
 * Each is made once per display and handed out again on later calls; the
 * plug-in owns them (the host must not free them). Without a shell widget
 * the answer is the null handle.
 */
#ifndef PGSHEARU_H
#define PGSHEARU_H

#include "PIMain.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A depth-1 pixmap of the tool icon, as the host's icon handle. */
FVIcon GetPageShearIcon(void);
/* The crop cursor (hot spot 1, 1), as the host's cursor handle. */
FVCursor GetPageShearCursor(void);
/* The scissors cursor shown inside a crop region (hot spot 1, 1). */
FVCursor GetPageShearScissorCursor(void);

#ifdef __cplusplus
}
#endif

#endif /* PGSHEARU_H */
