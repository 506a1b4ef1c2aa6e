// StatusText.cpp: status line, progress and count wording (see StatusText.h).
#include "view/StatusText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace folio::view {

namespace {

double fromFixed(Fixed f)
{
  return static_cast<double>(f) / 65536.0;
}

std::string trimmed(double v, int decimals)
{
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
  std::string s = buf;
  if (s.find('.') != std::string::npos) {
    while (s.back() == '0')
      s.pop_back();
    if (s.back() == '.')
      s.pop_back();
  }
  if (s == "-0")
    s = "0";
  return s;
}

} // namespace

const char *unitName(Unit unit)
{
  switch (unit) {
  case Unit::Millimetres:
    return "millimetres";
  case Unit::Inches:
    return "inches";
  default:
    return "points";
  }
}

const char *unitSymbol(Unit unit)
{
  switch (unit) {
  case Unit::Millimetres:
    return "mm";
  case Unit::Inches:
    return "in";
  default:
    return "pt";
  }
}

std::optional<Unit> parseUnit(const std::string &text)
{
  for (Unit u : {Unit::Points, Unit::Millimetres, Unit::Inches})
    if (text == unitName(u) || text == unitSymbol(u))
      return u;
  return std::nullopt;
}

std::string formatLength(double points, Unit unit)
{
  switch (unit) {
  case Unit::Millimetres:
    return trimmed(points * 25.4 / 72.0, 2);
  case Unit::Inches:
    return trimmed(points / 72.0, 3);
  default:
    return trimmed(points, 2);
  }
}

std::string countOf(long count, const std::string &singular, const std::string &plural)
{
  const std::string &noun = count == 1 ? singular : (plural.empty() ? singular + "s" : plural);
  return std::to_string(count) + " " + noun;
}

std::string rectangleText(const FixedRect &rect, Unit unit)
{
  double l = fromFixed(std::min(rect.left, rect.right)), r = fromFixed(std::max(rect.left, rect.right));
  double b = fromFixed(std::min(rect.bottom, rect.top)), t = fromFixed(std::max(rect.bottom, rect.top));
  return "left " + formatLength(l, unit) + "  bottom " + formatLength(b, unit) + "  width " +
         formatLength(r - l, unit) + "  height " + formatLength(t - b, unit) + " " + unitSymbol(unit);
}

std::string regionStatus(const FixedRect &region, Unit unit)
{
  return "Region: " + rectangleText(region, unit);
}

std::string pageStatus(int pageIndex, int pageCount, double zoomPercent, const FixedRect &cropBox, Unit unit)
{
  return "Page " + std::to_string(pageIndex + 1) + " of " + std::to_string(pageCount) + "     Zoom " +
         trimmed(zoomPercent, 2) + "%     Crop box: " + rectangleText(cropBox, unit);
}

std::string progressLabel(FSInt32 value, FSInt32 duration)
{
  if (duration <= 0)
    return "";
  FSInt32 page = std::clamp<FSInt32>(value, 0, duration - 1) + 1;
  return "Page " + std::to_string(page) + " of " + std::to_string(duration);
}

double progressFraction(FSInt32 value, FSInt32 duration)
{
  if (duration <= 0)
    return 0.0;
  FSInt32 page = std::clamp<FSInt32>(value, 0, duration - 1) + 1;
  return static_cast<double>(page) / duration;
}

std::string emptyMenuLabel(const std::string &menuName)
{
  if (menuName == "Extensions")
    return "(no extensions)";
  if (menuName == "Window")
    return "(no documents)";
  return "(empty)";
}

} // namespace folio::view
