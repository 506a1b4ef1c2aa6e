// Log.cpp: the call log and the text forms of values.
#include "Log.h"

#include <cstdint>
#include <cstdio>

namespace testhost {

std::string Call::text() const
{
  std::string s = op + "(";
  for (size_t i = 0; i < args.size(); ++i) {
    if (i)
      s += ", ";
    s += args[i];
  }
  return s + ")";
}

std::string Call::textWithResult() const
{
  return result.empty() ? text() : text() + " -> " + result;
}

size_t Log::add(Call call)
{
  calls_.push_back(std::move(call));
  return calls_.size() - 1;
}

void Log::setResult(size_t index, std::string result)
{
  if (index < calls_.size())
    calls_[index].result = std::move(result);
}

std::vector<std::string> Log::texts() const
{
  std::vector<std::string> out;
  for (const Call &c : calls_)
    out.push_back(c.text());
  return out;
}

std::vector<std::string> Log::textsWithResults() const
{
  std::vector<std::string> out;
  for (const Call &c : calls_)
    out.push_back(c.textWithResult());
  return out;
}

std::vector<Call> Log::callsTo(const std::string &op) const
{
  std::vector<Call> out;
  for (const Call &c : calls_)
    if (c.op == op)
      out.push_back(c);
  return out;
}

std::vector<std::string> Log::textsOf(const std::string &op) const
{
  std::vector<std::string> out;
  for (const Call &c : calls_)
    if (c.op == op)
      out.push_back(c.text());
  return out;
}

size_t Log::count(const std::string &op) const
{
  size_t n = 0;
  for (const Call &c : calls_)
    if (c.op == op)
      ++n;
  return n;
}

static bool matches(const Call &c, const std::string &what)
{
  if (what.find('(') == std::string::npos)
    return c.op == what;
  return c.text() == what;
}

long Log::indexOf(const std::string &what, size_t from) const
{
  for (size_t i = from; i < calls_.size(); ++i)
    if (matches(calls_[i], what))
      return static_cast<long>(i);
  return -1;
}

long Log::lastIndexOf(const std::string &what) const
{
  for (size_t i = calls_.size(); i-- > 0;)
    if (matches(calls_[i], what))
      return static_cast<long>(i);
  return -1;
}

std::string Log::dump() const
{
  std::string s;
  for (size_t i = 0; i < calls_.size(); ++i)
    s += std::to_string(i) + ": " + calls_[i].textWithResult() + "\n";
  return s;
}

std::string fx(Fixed value)
{
  int64_t v = value;
  std::string s;
  if (v < 0) {
    s = "-";
    v = -v;
  }
  s += std::to_string(v >> 16);
  int64_t frac = v & 0xFFFF;
  if (frac) {
    s += ".";
    // Each step moves one decimal digit out of the 16-bit binary fraction;
    // a binary fraction always ends, after at most 16 digits.
    while (frac) {
      frac *= 10;
      s += static_cast<char>('0' + (frac >> 16));
      frac &= 0xFFFF;
    }
  }
  return s;
}

std::string fxRect(const FixedRect &r)
{
  return "{" + fx(r.left) + "," + fx(r.top) + "," + fx(r.right) + "," + fx(r.bottom) + "}";
}

std::string fvRect(const FVRect &r)
{
  return "{" + std::to_string(r.left) + "," + std::to_string(r.top) + "," + std::to_string(r.right) + "," +
         std::to_string(r.bottom) + "}";
}

std::string hex32(FSUns32 value)
{
  char buf[16];
  std::snprintf(buf, sizeof buf, "0x%08x", static_cast<unsigned>(value));
  return buf;
}

std::string quoted(const char *s)
{
  if (!s)
    return "null";
  return std::string("\"") + s + "\"";
}

std::string colour(const PDColorValueRec &c)
{
  switch (c.space) {
  case PDDeviceGray:
    return "gray(" + fx(c.value[0]) + ")";
  case PDDeviceRGB:
    return "rgb(" + fx(c.value[0]) + "," + fx(c.value[1]) + "," + fx(c.value[2]) + ")";
  case PDDeviceCMYK:
    return "cmyk(" + fx(c.value[0]) + "," + fx(c.value[1]) + "," + fx(c.value[2]) + "," + fx(c.value[3]) +
           ")";
  default:
    return "space" + std::to_string(c.space) + "(" + fx(c.value[0]) + "," + fx(c.value[1]) + "," +
           fx(c.value[2]) + "," + fx(c.value[3]) + ")";
  }
}

FixedRect pts(int left, int top, int right, int bottom)
{
  return FixedRect{FSInt32ToFixed(left), FSInt32ToFixed(top), FSInt32ToFixed(right), FSInt32ToFixed(bottom)};
}

FVRect dev(int left, int top, int right, int bottom)
{
  return FVRect{static_cast<FSInt16>(left), static_cast<FSInt16>(top), static_cast<FSInt16>(right),
                static_cast<FSInt16>(bottom)};
}

} // namespace testhost
