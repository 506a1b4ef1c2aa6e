// Log.h: the test host's call log and the exact text forms of the values in it.
//
// Every call that the plug-in makes into a table of the test host, and every
// call that the host makes into the plug-in (start-up steps, callbacks run on
// a test's behalf), is one Call in one ordered log. A Call is an operation
// name, its arguments as text and its result as text; text() joins them as
// "Op(arg1, arg2)" so that a test can compare whole calls exactly.
//
// Text forms (see README.md for the full list):
//   Fixed        exact decimal points: 612, -72, 72.5, 0.0000152587890625
//   FixedRect    {left,top,right,bottom} of Fixed forms, no blanks: {0,792,612,0}
//   FVRect       {left,top,right,bottom} of integers: {100,100,300,200}
//   strings      in double quotes, as given: "Pages to crop?"; null as null
//   versions     8 hex digits: 0x00020002
//   handles      by stable names (doc0, page3, view0, menu:Tools, ...); null as null;
//                an unknown pointer as 0x followed by lower-case hex
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "folio/FolioTypes.h"

namespace testhost {

struct Call {
  std::string op;                // operation name, e.g. "PDPageSetCropBox"
  std::vector<std::string> args; // arguments in text form, in order
  std::string result;            // result (and out-parameters) in text form; "" for none
  // "Op(arg1, arg2)": the form tests compare against.
  std::string text() const;
  // "Op(arg1, arg2) -> result", or text() when there is no result.
  std::string textWithResult() const;
};

class Log {
public:
  // Appends a call; answers its index.
  size_t add(Call call);
  // Sets the result of the call at `index` (results are known after the args).
  void setResult(size_t index, std::string result);

  const std::vector<Call> &calls() const { return calls_; }
  size_t size() const { return calls_.size(); }
  void clear() { calls_.clear(); }

  // Every call's text(), in order.
  std::vector<std::string> texts() const;
  // Every call's textWithResult(), in order.
  std::vector<std::string> textsWithResults() const;
  // The calls of one operation, in order.
  std::vector<Call> callsTo(const std::string &op) const;
  // The text() of the calls of one operation, in order.
  std::vector<std::string> textsOf(const std::string &op) const;
  // How many calls of the operation.
  size_t count(const std::string &op) const;
  // Index of the first call at or after `from` whose text() equals `what` or,
  // when `what` has no '(', whose op equals `what`; -1 when there is none.
  long indexOf(const std::string &what, size_t from = 0) const;
  // Index of the last such call; -1 when there is none.
  long lastIndexOf(const std::string &what) const;
  // The whole log, one textWithResult() per line (for failure messages).
  std::string dump() const;

private:
  std::vector<Call> calls_;
};

// ---- text forms ------------------------------------------------------------

// Exact decimal form of a 16.16 value in points.
std::string fx(Fixed value);
// Fixed rectangle {left,top,right,bottom}.
std::string fxRect(const FixedRect &r);
// Device rectangle {left,top,right,bottom}.
std::string fvRect(const FVRect &r);
// A version number: 0x followed by 8 hex digits.
std::string hex32(FSUns32 value);
// A string in double quotes, or null.
std::string quoted(const char *s);
// A colour: gray(v), rgb(r,g,b) or cmyk(c,m,y,k) with Fixed forms; another
// space number as space<N>(v0,v1,v2,v3).
std::string colour(const PDColorValueRec &c);
// Convenience for tests: a FixedRect from whole points.
FixedRect pts(int left, int top, int right, int bottom);
// Convenience for tests: an FVRect.
FVRect dev(int left, int top, int right, int bottom);

} // namespace testhost
