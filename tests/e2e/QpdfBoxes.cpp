// QpdfBoxes.cpp: a small JSON reader for `qpdf --json` and the page-tree
// inheritance of /MediaBox, /CropBox and /Rotate.
#include "QpdfBoxes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>

#include "support/ChildProcess.h"

namespace e2e {

namespace {

struct Json {
  enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
  bool b = false;
  double num = 0;
  std::string str;
  std::vector<Json> arr;
  std::map<std::string, Json> obj;
  const Json *get(const std::string &key) const
  {
    if (kind != Object)
      return nullptr;
    auto it = obj.find(key);
    return it == obj.end() ? nullptr : &it->second;
  }
};

class Parser {
public:
  explicit Parser(const std::string &text) : s_(text) {}
  bool parse(Json &out)
  {
    bool ok = value(out);
    skip();
    return ok && i_ == s_.size();
  }

private:
  void skip()
  {
    while (i_ < s_.size() && (s_[i_] == ' ' || s_[i_] == '\n' || s_[i_] == '\r' || s_[i_] == '\t'))
      ++i_;
  }
  bool literal(const char *word)
  {
    size_t n = std::char_traits<char>::length(word);
    if (s_.compare(i_, n, word) != 0)
      return false;
    i_ += n;
    return true;
  }
  bool string(std::string &out)
  {
    if (s_[i_] != '"')
      return false;
    ++i_;
    while (i_ < s_.size() && s_[i_] != '"') {
      char c = s_[i_++];
      if (c == '\\' && i_ < s_.size()) {
        char e = s_[i_++];
        switch (e) {
        case 'n':
          out += '\n';
          break;
        case 't':
          out += '\t';
          break;
        case 'r':
          out += '\r';
          break;
        case 'b':
          out += '\b';
          break;
        case 'f':
          out += '\f';
          break;
        case 'u':
          // Only what the box reader needs: keep a placeholder for non-ASCII.
          if (i_ + 4 > s_.size())
            return false;
          {
            unsigned v = unsigned(std::strtoul(s_.substr(i_, 4).c_str(), nullptr, 16));
            out += v < 0x80 ? char(v) : '?';
          }
          i_ += 4;
          break;
        default:
          out += e;
          break;
        }
      } else {
        out += c;
      }
    }
    if (i_ >= s_.size())
      return false;
    ++i_;
    return true;
  }
  bool value(Json &out)
  {
    skip();
    if (i_ >= s_.size())
      return false;
    char c = s_[i_];
    if (c == '{') {
      out.kind = Json::Object;
      ++i_;
      skip();
      if (s_[i_] == '}') {
        ++i_;
        return true;
      }
      for (;;) {
        skip();
        std::string key;
        if (!string(key))
          return false;
        skip();
        if (s_[i_] != ':')
          return false;
        ++i_;
        Json v;
        if (!value(v))
          return false;
        out.obj.emplace(std::move(key), std::move(v));
        skip();
        if (s_[i_] == ',') {
          ++i_;
          continue;
        }
        if (s_[i_] == '}') {
          ++i_;
          return true;
        }
        return false;
      }
    }
    if (c == '[') {
      out.kind = Json::Array;
      ++i_;
      skip();
      if (s_[i_] == ']') {
        ++i_;
        return true;
      }
      for (;;) {
        Json v;
        if (!value(v))
          return false;
        out.arr.push_back(std::move(v));
        skip();
        if (s_[i_] == ',') {
          ++i_;
          continue;
        }
        if (s_[i_] == ']') {
          ++i_;
          return true;
        }
        return false;
      }
    }
    if (c == '"') {
      out.kind = Json::String;
      return string(out.str);
    }
    if (literal("true")) {
      out.kind = Json::Bool;
      out.b = true;
      return true;
    }
    if (literal("false")) {
      out.kind = Json::Bool;
      return true;
    }
    if (literal("null"))
      return true;
    const char *start = s_.c_str() + i_;
    char *end = nullptr;
    out.num = std::strtod(start, &end);
    if (end == start)
      return false;
    out.kind = Json::Number;
    i_ += size_t(end - start);
    return true;
  }

  const std::string &s_;
  size_t i_ = 0;
};

bool isRef(const Json &v)
{
  return v.kind == Json::String && v.str.size() > 2 && v.str.compare(v.str.size() - 2, 2, " R") == 0;
}

} // namespace

std::string toString(const Box &b)
{
  std::ostringstream o;
  o << b.left << " " << b.bottom << " " << b.right << " " << b.top;
  return o.str();
}

std::vector<PageBoxes> readBoxes(const std::string &pdf, std::string *error, const std::string &password)
{
  std::vector<PageBoxes> pages;
  auto failed = [&](const std::string &why) {
    if (error)
      *error = why;
    return std::vector<PageBoxes>();
  };
  // qpdf exits 3 for warnings (a file it had to repair); the JSON is still there.
  std::vector<std::string> argv{"qpdf", "--json=2", "--json-key=pages", "--json-key=qpdf"};
  if (!password.empty())
    argv.push_back("--password=" + password);
  argv.push_back(pdf);
  const testsupport::RunResult run = testsupport::runProgram(argv);
  Json root;
  if (!Parser(run.out).parse(root))
    return failed("qpdf gave no readable JSON for " + pdf + " (exit " + std::to_string(run.exitCode) + ")");
  const Json *pageList = root.get("pages");
  const Json *qpdf = root.get("qpdf");
  if (!pageList || pageList->kind != Json::Array || !qpdf || qpdf->kind != Json::Array ||
      qpdf->arr.size() < 2)
    return failed("unexpected qpdf JSON layout");
  const Json &objects = qpdf->arr[1];

  auto object = [&](const std::string &ref) -> const Json * {
    const Json *o = objects.get("obj:" + ref);
    if (!o)
      return nullptr;
    if (const Json *v = o->get("value"))
      return v;
    if (const Json *st = o->get("stream"))
      return st->get("dict");
    return nullptr;
  };
  auto resolve = [&](const Json *v) -> const Json * {
    for (int depth = 0; v && isRef(*v) && depth < 8; ++depth)
      v = object(v->str);
    return v;
  };
  // The value of `key` on the page or the nearest ancestor that has it.
  auto inherited = [&](const Json *dict, const std::string &key) -> const Json * {
    for (int depth = 0; dict && depth < 64; ++depth) {
      if (const Json *v = dict->get(key))
        return resolve(v);
      const Json *parent = dict->get("/Parent");
      dict = parent && isRef(*parent) ? object(parent->str) : nullptr;
    }
    return nullptr;
  };
  auto toBox = [](const Json *v, Box &b) {
    if (!v || v->kind != Json::Array || v->arr.size() != 4)
      return false;
    double n[4];
    for (int i = 0; i < 4; ++i) {
      if (v->arr[i].kind != Json::Number)
        return false;
      n[i] = v->arr[i].num;
    }
    b.left = std::min(n[0], n[2]);
    b.right = std::max(n[0], n[2]);
    b.bottom = std::min(n[1], n[3]);
    b.top = std::max(n[1], n[3]);
    return true;
  };

  for (const Json &p : pageList->arr) {
    const Json *ref = p.get("object");
    const Json *dict = ref ? object(ref->str) : nullptr;
    if (!dict)
      return failed("page object missing in qpdf JSON");
    PageBoxes pb;
    if (!toBox(inherited(dict, "/MediaBox"), pb.media))
      pb.media = Box{0, 0, 612, 792};
    pb.hasCropBox = toBox(inherited(dict, "/CropBox"), pb.crop);
    if (!pb.hasCropBox)
      pb.crop = pb.media;
    const Json *rot = inherited(dict, "/Rotate");
    pb.rotate = rot && rot->kind == Json::Number ? int(rot->num) : 0;
    pages.push_back(pb);
  }
  return pages;
}

} // namespace e2e
