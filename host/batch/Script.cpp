// Script.cpp: parsing the batch front end's scripts (see Script.h).
#include "batch/Script.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace folio::batch {

namespace {

struct OpEntry {
  const char *name;
  Op op;
};

constexpr OpEntry kOps[] = {
    {"open", Op::Open},         {"page", Op::Page},
    {"zoom", Op::Zoom},         {"menu", Op::Menu},
    {"button", Op::Button},     {"drag", Op::Drag},
    {"click", Op::Click},       {"answer", Op::Answer},
    {"confirm", Op::Confirm},   {"cancel-at", Op::CancelAt},
    {"save", Op::Save},         {"revert", Op::Revert},
    {"snapshot", Op::Snapshot}, {"show-boxes", Op::ShowBoxes},
    {"undo", Op::Undo},         {"redo", Op::Redo},
    {"key", Op::Key},
};

std::string quoted(std::string_view s)
{
  return quoteForMessage(s);
}

// A whole word as a base-10 integer.
bool toLong(const std::string &word, long &value)
{
  if (word.empty())
    return false;
  errno = 0;
  char *end = nullptr;
  long v = std::strtol(word.c_str(), &end, 10);
  if (errno != 0 || end == word.c_str() || *end != '\0')
    return false;
  value = v;
  return true;
}

// A whole word as a finite decimal number (no hex, no inf/nan).
bool toDouble(const std::string &word, double &value)
{
  if (word.empty())
    return false;
  for (char c : word)
    if (!((c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == 'e' || c == 'E'))
      return false;
  errno = 0;
  char *end = nullptr;
  double v = std::strtod(word.c_str(), &end);
  if (errno != 0 || end == word.c_str() || *end != '\0' || !std::isfinite(v))
    return false;
  value = v;
  return true;
}

bool fail(ParseError &error, int line, std::string message)
{
  error.line = line;
  error.message = std::move(message);
  return false;
}

// Parses the trailing modifier words of drag and click.
bool parseModifiers(const std::vector<std::string> &words, size_t from, int line, unsigned &mods,
                    ParseError &error)
{
  mods = 0;
  for (size_t i = from; i < words.size(); ++i) {
    const std::string &w = words[i];
    if (w == "ctrl" || w == "control")
      mods |= ModCtrl;
    else if (w == "shift")
      mods |= ModShift;
    else if (w == "alt")
      mods |= ModAlt;
    else
      return fail(error, line, "unknown modifier " + quoted(w) + " (expected ctrl, shift or alt)");
  }
  return true;
}

bool parseCoordinates(const std::vector<std::string> &words, size_t count, int line, double *out,
                      ParseError &error)
{
  for (size_t i = 0; i < count; ++i) {
    if (!toDouble(words[1 + i], out[i]))
      return fail(error, line, "bad number " + quoted(words[1 + i]) + " for " + words[0]);
  }
  return true;
}

} // namespace

std::string escapeControlBytes(std::string_view text)
{
  std::string out;
  out.reserve(text.size());
  for (char ch : text) {
    unsigned char c = static_cast<unsigned char>(ch);
    if (c < 0x20 || c == 0x7f) {
      static const char hex[] = "0123456789abcdef";
      out += "\\x";
      out += hex[c >> 4];
      out += hex[c & 15];
    } else {
      out += ch;
    }
  }
  return out;
}

std::string quoteForMessage(std::string_view word)
{
  constexpr size_t kMaxShown = 64;
  size_t n = word.size();
  bool cut = false;
  if (n > kMaxShown) {
    n = kMaxShown;
    // Do not end in the middle of a UTF-8 sequence.
    while (n > 0 && (static_cast<unsigned char>(word[n]) & 0xC0) == 0x80)
      --n;
    cut = true;
  }
  return "\"" + escapeControlBytes(word.substr(0, n)) + (cut ? "...\"" : "\"");
}

const char *opName(Op op)
{
  for (const OpEntry &s : kOps)
    if (s.op == op)
      return s.name;
  return "?";
}

bool splitWords(std::string_view line, std::vector<std::string> &words, std::string &message)
{
  words.clear();
  size_t i = 0;
  const size_t n = line.size();
  while (i < n) {
    char c = line[i];
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      ++i;
      continue;
    }
    if (c == '#')
      break;
    std::string word;
    if (c == '"') {
      ++i;
      bool closed = false;
      while (i < n) {
        char d = line[i++];
        if (d == '\\' && i < n && (line[i] == '"' || line[i] == '\\')) {
          word += line[i++];
        } else if (d == '"') {
          closed = true;
          break;
        } else {
          word += d;
        }
      }
      if (!closed) {
        message = "unterminated quote";
        return false;
      }
      if (i < n && line[i] != ' ' && line[i] != '\t' && line[i] != '\r' && line[i] != '\n' &&
          line[i] != '#') {
        message = "a quoted word must be followed by a blank";
        return false;
      }
    } else {
      while (i < n && line[i] != ' ' && line[i] != '\t' && line[i] != '\r' && line[i] != '\n')
        word += line[i++];
    }
    words.push_back(std::move(word));
  }
  return true;
}

std::string quoteWord(std::string_view word)
{
  bool plain = !word.empty() && word.front() != '"';
  for (char c : word)
    if (c == ' ' || c == '\t' || c == '#' || c == '\\' || c == '"' || c == '\r' || c == '\n')
      plain = false;
  if (plain)
    return std::string(word);
  std::string out = "\"";
  for (char c : word) {
    if (c == '"' || c == '\\')
      out += '\\';
    out += c;
  }
  out += '"';
  return out;
}

bool parseLine(std::string_view text, int line, Step &out, bool &hasStep, ParseError &error)
{
  hasStep = false;
  std::vector<std::string> words;
  std::string message;
  if (!splitWords(text, words, message))
    return fail(error, line, message);
  if (words.empty())
    return true;

  const std::string &cmd = words[0];
  const OpEntry *entry = nullptr;
  for (const OpEntry &s : kOps)
    if (cmd == s.name)
      entry = &s;
  if (!entry)
    return fail(error, line, "unknown command " + quoted(cmd));

  Step step;
  step.line = line;
  step.op = entry->op;
  const size_t args = words.size() - 1;
  auto arity = [&](size_t lo, size_t hi, const char *usage) {
    if (args < lo || args > hi)
      return fail(error, line, std::string("usage: ") + usage);
    return true;
  };

  switch (step.op) {
  case Op::Open:
    if (!arity(1, 2, "open PATH [PASSWORD]"))
      return false;
    step.text = words[1];
    if (args == 2)
      step.password = words[2];
    break;
  case Op::Page:
    if (!arity(1, 1, "page N"))
      return false;
    if (!toLong(words[1], step.number) || step.number < 1)
      return fail(error, line, "bad page number " + quoted(words[1]) + " (pages count from 1)");
    break;
  case Op::Zoom:
    if (!arity(1, 1, "zoom PERCENT"))
      return false;
    if (!toLong(words[1], step.number) || step.number < 1)
      return fail(error, line, "bad zoom " + quoted(words[1]) + " (a whole percentage above 0)");
    break;
  case Op::Menu:
  case Op::Button:
    if (!arity(1, 1, step.op == Op::Menu ? "menu NAME" : "button NAME"))
      return false;
    step.text = words[1];
    break;
  case Op::Key: {
    if (!arity(1, 1, "key [ctrl+|shift+|alt+...]NAME"))
      return false;
    // Modifiers joined to the key's name by '+', as "ctrl+minus".
    std::string rest = words[1];
    for (size_t plus = rest.find('+'); plus != std::string::npos && plus + 1 < rest.size();
         plus = rest.find('+')) {
      const std::string mod = rest.substr(0, plus);
      if (mod == "ctrl")
        step.modifiers |= ModCtrl;
      else if (mod == "shift")
        step.modifiers |= ModShift;
      else if (mod == "alt")
        step.modifiers |= ModAlt;
      else
        return fail(error, line,
                    "bad modifier " + quoted(mod) + " in " + quoted(words[1]) + " (ctrl, shift or alt)");
      rest = rest.substr(plus + 1);
    }
    if (rest.empty() || rest.find('+') != std::string::npos)
      return fail(error, line, "bad key " + quoted(words[1]) + " (a key name such as Next, Home or minus)");
    step.text = rest;
    break;
  }
  case Op::Drag: {
    if (args < 4)
      return fail(error, line, "usage: drag X1 Y1 X2 Y2 [ctrl|shift|alt...]");
    double v[4];
    if (!parseCoordinates(words, 4, line, v, error))
      return false;
    step.x1 = v[0];
    step.y1 = v[1];
    step.x2 = v[2];
    step.y2 = v[3];
    if (!parseModifiers(words, 5, line, step.modifiers, error))
      return false;
    break;
  }
  case Op::Click: {
    if (args < 2)
      return fail(error, line, "usage: click X Y [ctrl|shift|alt...]");
    double v[2];
    if (!parseCoordinates(words, 2, line, v, error))
      return false;
    step.x1 = step.x2 = v[0];
    step.y1 = step.y2 = v[1];
    if (!parseModifiers(words, 3, line, step.modifiers, error))
      return false;
    break;
  }
  case Op::Answer:
    if (!arity(1, 1, "answer LABEL"))
      return false;
    step.text = words[1];
    if (step.text.empty())
      return fail(error, line, "answer needs a button label");
    break;
  case Op::Confirm:
    if (!arity(1, 1, "confirm yes|no"))
      return false;
    if (words[1] == "yes")
      step.yes = true;
    else if (words[1] == "no")
      step.yes = false;
    else
      return fail(error, line, "confirm takes yes or no, not " + quoted(words[1]));
    break;
  case Op::CancelAt:
    if (!arity(1, 1, "cancel-at N"))
      return false;
    if (!toLong(words[1], step.number) || step.number < 1)
      return fail(error, line, "bad poll count " + quoted(words[1]) + " (1 is the next poll)");
    break;
  case Op::Save:
    if (!arity(0, 1, "save [PATH]"))
      return false;
    if (args == 1) {
      step.text = words[1];
      step.hasText = true;
    }
    break;
  case Op::Revert:
  case Op::ShowBoxes:
  case Op::Undo:
  case Op::Redo:
    if (!arity(0, 0, opName(step.op)))
      return false;
    break;
  case Op::Snapshot:
    if (!arity(1, 1, "snapshot PATH.png"))
      return false;
    step.text = words[1];
    break;
  }
  out = std::move(step);
  hasStep = true;
  return true;
}

bool parseScript(std::string_view text, Script &out, ParseError &error)
{
  Script script;
  int line = 0;
  size_t pos = 0;
  while (pos <= text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string_view::npos)
      end = text.size();
    ++line;
    Step step;
    bool hasStep = false;
    if (!parseLine(text.substr(pos, end - pos), line, step, hasStep, error))
      return false;
    if (hasStep)
      script.steps.push_back(std::move(step));
    if (end == text.size())
      break;
    pos = end + 1;
  }
  out = std::move(script);
  return true;
}

std::string runListToScript(std::string_view list)
{
  std::string out;
  bool inQuote = false;
  for (size_t i = 0; i < list.size(); ++i) {
    char c = list[i];
    if (inQuote && c == '\\' && i + 1 < list.size()) {
      out += c;
      out += list[++i];
      continue;
    }
    if (c == '"')
      inQuote = !inQuote;
    if (c == ';' && !inQuote)
      out += '\n';
    else if (c == '\n' && !inQuote)
      out += ' '; // a --run list is one item per ';', never per newline
    else
      out += c;
  }
  return out;
}

} // namespace folio::batch
