/*
 * FolioTypes.h: the basic types and records of the Folio host interface.
 *
 * Shared by the host (folio), its plug-ins and the recording test host.
 * Plain C, usable from C and C++. Records keep the field order and widths of
 * the interface; pointers are native width, so a record's size is its sizeof
 * on this ABI, and where a record carries its own size it is that sizeof.
 *
 * Coordinate spaces:
 *   page space   PDF user space, y upwards, points as 16.16 Fixed (FixedRect);
 *   device space a page view's drawing area, y downwards, 16-bit (FVRect).
 */
#ifndef FOLIO_TYPES_H
#define FOLIO_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- scalars ------------------------------------------------------------ */

typedef int8_t FSInt8;
typedef uint8_t FSUns8;
typedef int16_t FSInt16;
typedef uint16_t FSUns16;
typedef int32_t FSInt32;
typedef uint32_t FSUns32;

/* 16-bit boolean: 0 false, non-zero true (the host answers 1 for true). */
typedef FSUns16 FSBool;

/* Handle of an interned string (FSAtomFromString); 0 is never a valid atom. */
typedef FSUns16 FSAtom;
#define FSAtomNull ((FSAtom)0)

/* 16.16 signed fixed point. 0x00010000 is 1.0; 0x00480000 is 72.0 (one inch
 * in page space). Addition and subtraction are plain two's-complement. */
typedef FSInt32 Fixed;
#define fixedZero ((Fixed)0x00000000)
#define fixedOne ((Fixed)0x00010000)
#define fixedTwo ((Fixed)0x00020000)
#define fixedSeventyTwo ((Fixed)0x00480000)
#define FSInt32ToFixed(i) ((Fixed)((FSInt32)(i)*65536))

/* A point in page space. */
typedef struct _t_FixedPoint {
  Fixed h;
  Fixed v;
} FixedPoint, *FixedPointP;

/* A rectangle in page space, y upwards: well formed when top >= bottom and
 * right >= left. Passed by value to and from the geometry helpers. */
typedef struct _t_FixedRect {
  Fixed left;
  Fixed top;
  Fixed right;
  Fixed bottom;
} FixedRect, *FixedRectP;

/* A rectangle in a page view's device space, y downwards, 16-bit signed:
 * normally top <= bottom. */
typedef struct _t_FVRect {
  FSInt16 left;
  FSInt16 top;
  FSInt16 right;
  FSInt16 bottom;
} FVRect, *FVRectP;

/* Page rotation in degrees; legal values are 0, 90, 180 and 270. */
typedef FSInt16 PDRotate;

/* ---- versions ----------------------------------------------------------- */

/* Major version in the high 16 bits, minor in the low 16 bits. */
#define HANDSHAKE_V0200 ((FSUns32)0x00020000)
#define FOLIO_VERSION_2_0 ((FSUns32)0x00020000)
#define FOLIO_VERSION_2_1 ((FSUns32)0x00020001)
#define FOLIO_VERSION_2_2 ((FSUns32)0x00020002)

/* ---- host handles (opaque; owned by the host) ---------------------------- */

/* Identity of one loaded extension, handed to it at set-up. */
typedef struct _t_ExtensionID *ExtensionID;

/* A host callback: the host's wrapping of (extension, procedure), made by
 * FSCallbackCreate. The host calls an extension's procedure only through it. */
typedef struct _t_FSCallback *FSCallback;

/* A procedure of any type, as handed to FSCallbackCreate. */
typedef void (*FSProc)(void);

/* A host function table: an array of procedure entries. Entry n is
 * operation n (numbered from 1); entry 0 is never read. */
typedef FSProc HFTEntry;
typedef HFTEntry *HFT;

typedef struct _t_FSFile *FSFile;
typedef struct _t_FSFileSys *FSFileSys;
typedef struct _t_FSPathName *FSPathName;

typedef struct _t_PDDoc *PDDoc;
typedef struct _t_PDPage *PDPage;

typedef struct _t_FVDoc *FVDoc;
typedef struct _t_FVPageView *FVPageView;
typedef struct _t_FVMenubar *FVMenubar;
typedef struct _t_FVMenu *FVMenu;
typedef struct _t_FVMenuItem *FVMenuItem;
typedef struct _t_FVToolBar *FVToolBar;
typedef struct _t_FVToolButton *FVToolButton;

/* An icon: on this platform a depth-1 X pixmap (an XID) carried in a
 * pointer-sized value. */
typedef void *FVIcon;
/* A cursor: on this platform an X cursor (an XID) carried in a
 * pointer-sized value. */
typedef void *FVCursor;

/* ---- document flags (PDDocGetFlags) ------------------------------------- */

enum {
  PDDocNeedsSave = 1,
  PDDocRequiresFullSave = 2,
  PDDocIsModified = 4,
  PDDocDeleteOnClose = 8,
  PDDocWasRepaired = 16,
  PDDocNewMajorVersion = 32,
  PDDocNewMinorVersion = 64,
  PDDocOldVersion = 128,
  PDDocSuppressErrors = 256,
  PDDocIsEmbedded = 512,
  PDDocIsLinearized = 1024
};

/* Permission bits of the host's permission word (PDDocGetPermissions),
 * numbered as the PDF standard numbers its P flags. */
enum {
  pdPermPrint = 4,
  pdPermEdit = 8, /* modify the document's contents */
  pdPermCopy = 16,
  pdPermEditNotes = 32,
  pdPermAll = (FSInt32)0xFFFFFFFF
};

/* ---- colours ------------------------------------------------------------- */

typedef FSUns8 PDColorSpace;
enum { PDDeviceGray = 0, PDDeviceRGB = 1, PDDeviceCMYK = 2 };

/* A colour: its space and up to four components, 16.16 from 0.0 to 1.0. */
typedef struct _t_PDColorValueRec {
  PDColorSpace space;
  Fixed value[4];
} PDColorValueRec, *PDColorValue;

/* ---- progress and cancel ------------------------------------------------- */

/* The host's progress monitor. Every callback takes the monitor's client
 * data last; any slot may be null. Durations and values are counts. */
typedef void (*PMBeginOperationProc)(void *clientData);
typedef void (*PMEndOperationProc)(void *clientData);
typedef void (*PMSetDurationProc)(FSInt32 duration, void *clientData);
typedef void (*PMSetCurrValueProc)(FSInt32 val, void *clientData);
typedef FSInt32 (*PMGetDurationProc)(void *clientData);
typedef FSInt32 (*PMGetCurrValueProc)(void *clientData);

typedef struct _t_ProgressMonitorRec {
  FSUns32 size; /* sizeof(ProgressMonitorRec) */
  PMBeginOperationProc beginOperation;
  PMEndOperationProc endOperation;
  PMSetDurationProc setDuration;
  PMSetCurrValueProc setCurrValue;
  PMGetDurationProc getDuration;
  PMGetCurrValueProc getCurrValue;
} ProgressMonitorRec, *ProgressMonitor;

/* The host's cancel test: true when the user asked to stop. */
typedef FSBool (*CancelProc)(void *clientData);

/* ---- procedures an extension hands to the host (through FSCallback) ----- */

/* Menu items and tool bar buttons. `data` is the client data fixed when the
 * procedure was set. */
typedef void (*FVExecuteProc)(void *data);
typedef FSBool (*FVComputeEnabledProc)(void *data);
typedef FSBool (*FVComputeMarkedProc)(void *data);

/* Called after the host redrew (part of) a page view; `updateRect` is the
 * device area redrawn. */
typedef void (*FVPageViewDrawProc)(FVPageView pageView, FVRect *updateRect, void *data);

/* ---- tools ---------------------------------------------------------------- */

struct _t_FVToolRec;
typedef struct _t_FVToolRec *FVTool;

typedef void (*FVToolActivateProcType)(FVTool tool, FSBool persistent);
typedef void (*FVToolDeactivateProcType)(FVTool tool);
/* xHit, yHit in device space; flags are the host's click flags; clickNo the
 * click count. Answers true when the tool handled the click. */
typedef FSBool (*FVToolDoClickProcType)(FVTool tool, FVPageView pageView, FSInt16 xHit, FSInt16 yHit,
                                        FSInt16 flags, FSInt16 clickNo);
typedef FSBool (*FVToolAdjustCursorProcType)(FVTool tool, FVPageView pageView, FSInt16 x, FSInt16 y);
typedef FSBool (*FVToolDoKeyDownProcType)(FVTool tool, FSUns16 key, FSInt16 flags);
typedef FSAtom (*FVToolGetTypeProcType)(FVTool tool);
typedef FSBool (*FVToolIsPersistentProcType)(FVTool tool);
typedef FSBool (*FVToolComputeEnabledProcType)(void *data);

/* A tool record: owned by the extension, in storage that outlives the
 * registration; its address is the tool's handle. Each callback slot holds a
 * callback made with FSCallbackCreate from a procedure of the type above. */
typedef struct _t_FVToolRec {
  FSUns32 size;            /* sizeof(FVToolRec) */
  FSCallback Activate;     /* FVToolActivateProcType */
  FSCallback Deactivate;   /* FVToolDeactivateProcType */
  FSCallback DoClick;      /* FVToolDoClickProcType */
  FSCallback AdjustCursor; /* FVToolAdjustCursorProcType */
  FSCallback DoKeyDown;    /* FVToolDoKeyDownProcType */
  FSCallback GetType;      /* FVToolGetTypeProcType */
  FSCallback IsPersistent; /* FVToolIsPersistentProcType */
  FSInt32 cursorID;
  FSCallback ComputeEnabled; /* FVToolComputeEnabledProcType */
  void *computeEnabledData;
} FVToolRec;

/* Drag types of FVPageViewDragRect. */
enum { fvDragMove = 0, fvDragLeftTop = 1, fvDragRightTop = 2, fvDragRightBottom = 3, fvDragLeftBottom = 4 };

/* Alert icon types of FVAlert. */
enum { fvAlertStop = 0, fvAlertNote = 1, fvAlertCaution = 2, fvAlertQuestion = 3 };

/* The modifier word of FVSysGetModifiers: one bit a key held, nothing else, so
 * Ctrl alone is exactly fvModifierCtrl (4) and Ctrl with Shift is 5. */
enum { fvModifierShift = 1, fvModifierAlt = 2, fvModifierCtrl = 4 };

/* Shortcut modifier flags of FVMenuItemNew: fvShortcutCtrl (8) with '9' is
 * Ctrl+9; other bits are ignored, and 0 with a character is the plain key. */
enum { fvShortcutShift = 1, fvShortcutAlt = 2, fvShortcutCtrl = 8 };

/* The host's standard cursors, by the number FVSysGetStandardCursor takes. */
enum {
  fvCursorArrow = 0,
  fvCursorIBeam = 1,
  fvCursorCross = 2,
  fvCursorWait = 3,
  fvCursorHand = 4, /* open hand: the hand tool */
  fvCursorGrab = 5  /* closed hand: scrolling with the hand tool */
};

/* ---- start-up records ----------------------------------------------------- */

/* Procedure that resumes a saved execution context (a jmp_buf); the restore
 * procedure of the host's exception frames. Does not return. */
typedef void (*restoreEnvironProc)(void *environ);

/* The plug-in's setup procedure, named by its entry point `main`. */
typedef struct _t_PISDKData_V0200 PISDKData_V0200;
typedef FSBool (*PISetupSDKProcType)(FSUns32 handshakeVersion, PISDKData_V0200 *sdkData);

/* The setup record: owned by the host, passed by address to the setup
 * procedure. */
struct _t_PISDKData_V0200 {
  FSUns32 handshakeVersion;     /* HANDSHAKE_V0200 */
  ExtensionID extensionID;      /* the extension's identity */
  HFT coreHFT;                  /* the core table */
  FSCallback handshakeCallback; /* written by the extension: its handshake */
};

/* The handshake record: owned by the host, passed by address to the
 * extension's handshake procedure. */
typedef struct _t_PIHandshakeData_V0200 {
  FSUns32 handshakeVersion;
  FSAtom appName;
  FSAtom extensionName;                        /* written: registered name */
  FSCallback exportHFTsCallback;               /* FSBool (*)(void) or null */
  FSCallback importReplaceAndRegisterCallback; /* FSBool (*)(void) or null */
  FSCallback initCallback;                     /* FSBool (*)(void) */
  FSCallback unloadCallback;                   /* FSBool (*)(void) or null */
} PIHandshakeData_V0200;

typedef FSBool (*PIHandshakeProcType)(FSUns32 handshakeVersion, PIHandshakeData_V0200 *handshakeData);
typedef FSBool (*PIInitProcType)(void);

/* The exported entry point of a plug-in: agrees the handshake version and
 * names the setup procedure. */
typedef FSBool (*PIMainProcType)(FSInt32 appHandshakeVersion, FSInt32 *handshakeVersion,
                                 PISetupSDKProcType *setupProc);

#ifdef __cplusplus
}
#endif

#endif /* FOLIO_TYPES_H */
