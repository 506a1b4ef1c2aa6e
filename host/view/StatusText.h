// StatusText.h: the words the viewer shows about the page and the region
// being drawn: the status line, the progress window's "Page n of N" and its
// bar, counts with the right noun. Toolkit-free: a front end only displays
// what these answer.
//
// Lengths come in page space (points, 1/72 inch) and are shown in the
// user's unit (View > Units): points with up to 2 decimals, millimetres
// with up to 2, inches with up to 3; trailing zeros dropped ("72", "25.4",
// "1.5").
#pragma once

#include <optional>
#include <string>

#include "folio/FolioTypes.h"

namespace folio::view {

enum class Unit { Points, Millimetres, Inches };

// The config file's words for a unit: "points", "millimetres", "inches".
const char *unitName(Unit unit);
// The word, or the symbol ("pt", "mm", "in"); nullopt for anything else.
std::optional<Unit> parseUnit(const std::string &text);
// "pt", "mm", "in".
const char *unitSymbol(Unit unit);
// A length in points as a number in `unit`, without the symbol.
std::string formatLength(double points, Unit unit);

// "1 page", "2 pages", "0 pages"; `plural` empty: the singular with an "s".
std::string countOf(long count, const std::string &singular, const std::string &plural = {});

// A page-space rectangle as its left and bottom edges, width and height:
// "left 72  bottom 72  width 468  height 648 pt". A rectangle given with
// its edges swapped is normalised first.
std::string rectangleText(const FixedRect &rect, Unit unit);

// The status line while a region is dragged out, moved or resized:
// "Region: left ...  bottom ...  width ...  height ... UNIT".
std::string regionStatus(const FixedRect &region, Unit unit);

// The status line at rest: "Page 2 of 5     Zoom 125%     Crop box: left
// ... UNIT". pageIndex is zero-based; the zoom is in percent, shown to two
// decimals at most.
std::string pageStatus(int pageIndex, int pageCount, double zoomPercent, const FixedRect &cropBox, Unit unit);

// The progress window's label and bar for the monitor's duration and
// current value. The plug-ins set the value to the zero-based index of the
// page they start on, so value v of duration N means page v + 1 of N is
// under way: the label says "Page v+1 of N" and the bar is filled to
// (v + 1) / N, the same share the label names. Before a duration is known
// (N <= 0) the label is empty and the bar empty; values are clamped to the
// duration.
std::string progressLabel(FSInt32 value, FSInt32 duration);
double progressFraction(FSInt32 value, FSInt32 duration);

// The disabled entry an empty menu shows instead of opening as a bare
// square: "(no extensions)" for "Extensions", "(no documents)" for
// "Window", "(empty)" for any other menu name.
std::string emptyMenuLabel(const std::string &menuName);

} // namespace folio::view
