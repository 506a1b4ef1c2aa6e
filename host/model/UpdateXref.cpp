// UpdateXref.cpp: joining the runs of an update's cross-reference table (see
// UpdateXref.h).
#include "model/UpdateXref.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace folio::model {

namespace {

// Subsections a table keeps at most: reading it then costs the engine a
// few dozen steps an object, whatever the number of pages.
constexpr size_t kMaxRuns = 32;

// One entry of either form: 'n' in use at `offset` with generation `gen`,
// 'f' free (`offset` the next free object), 'o' in object stream `offset` at
// index `gen` (streams only).
struct Entry {
  int64_t offset = 0;
  int gen = 0;
  char type = 'n';
};

struct Run {
  int start = 0;
  std::vector<Entry> entries;
  int end() const { return start + static_cast<int>(entries.size()); }
};

// A little reader over the table's text.
struct Text {
  const std::string &s;
  size_t at = 0;
  bool space(char c) const { return c == ' ' || c == '\r' || c == '\n' || c == '\t' || c == '\f' || c == 0; }
  void skipSpace()
  {
    while (at < s.size() && space(s[at]))
      ++at;
  }
  bool startsWith(const char *word) const { return s.compare(at, std::strlen(word), word) == 0; }
  bool number(int64_t &v)
  {
    skipSpace();
    size_t from = at;
    v = 0;
    while (at < s.size() && s[at] >= '0' && s[at] <= '9' && at - from < 18)
      v = v * 10 + (s[at++] - '0');
    return at > from && (at >= s.size() || space(s[at]));
  }
};

// The subsections of the table at the start of `s` and where its trailer
// starts; false when it is not a classic table as the engine writes one.
bool parseTable(const std::string &s, std::vector<Run> &runs, size_t &trailerAt)
{
  Text t{s};
  if (!t.startsWith("xref"))
    return false;
  t.at += 4;
  for (;;) {
    t.skipSpace();
    if (t.at >= s.size())
      return false;
    if (t.startsWith("trailer")) {
      trailerAt = t.at;
      return true;
    }
    int64_t start = 0, count = 0;
    if (!t.number(start) || !t.number(count) || start < 0 || count <= 0 || start + count > INT32_MAX)
      return false;
    Run run;
    run.start = static_cast<int>(start);
    run.entries.reserve(static_cast<size_t>(std::min<int64_t>(count, 1 << 20)));
    for (int64_t k = 0; k < count; ++k) {
      Entry e;
      int64_t gen = 0;
      if (!t.number(e.offset) || !t.number(gen) || gen > 65535)
        return false;
      t.skipSpace();
      if (t.at >= s.size() || (s[t.at] != 'n' && s[t.at] != 'f'))
        return false;
      e.type = s[t.at++];
      e.gen = static_cast<int>(gen);
      run.entries.push_back(e);
    }
    // Runs ascend and do not overlap, as the engine writes them.
    if (!runs.empty() && run.start < runs.back().end())
      return false;
    runs.push_back(std::move(run));
  }
}

// Whether every object between runs `a` and `b` has an entry to state; a
// classic table (`stream` false) cannot state one in an object stream.
bool joinable(const Run &a, const Run &b, const std::vector<PriorEntry> &prior, bool stream)
{
  for (int num = a.end(); num < b.start; ++num) {
    if (num < 0 || static_cast<size_t>(num) >= prior.size())
      return false;
    const PriorEntry &p = prior[static_cast<size_t>(num)];
    bool typed = p.type == 'n' || p.type == 'f' || (stream && p.type == 'o');
    if (!typed || p.offset < 0 || p.offset > 9999999999LL || p.gen < 0 || p.gen > 65535)
      return false;
  }
  return true;
}

// Which runs to join to the next (join[i]: run i and i + 1 become one), across
// the smallest gaps that can be stated, until at most kMaxRuns are left.
// False when none can be joined.
bool chooseJoins(const std::vector<Run> &runs, const std::vector<PriorEntry> &prior, bool stream,
                 std::vector<char> &join)
{
  struct Gap {
    size_t after; // the run it follows
    int size;
  };
  std::vector<Gap> gaps;
  for (size_t i = 0; i + 1 < runs.size(); ++i)
    if (joinable(runs[i], runs[i + 1], prior, stream))
      gaps.push_back({i, runs[i + 1].start - runs[i].end()});
  std::stable_sort(gaps.begin(), gaps.end(), [](const Gap &a, const Gap &b) { return a.size < b.size; });
  join.assign(runs.size(), 0);
  size_t left = runs.size();
  for (const Gap &g : gaps) {
    if (left <= kMaxRuns)
      break;
    join[g.after] = 1;
    --left;
  }
  return left < runs.size();
}

// The joined runs: each run's entries, then those stated for the objects
// up to the next run it is joined to.
std::vector<Run> joinedRuns(const std::vector<Run> &runs, const std::vector<char> &join,
                            const std::vector<PriorEntry> &prior)
{
  std::vector<Run> out;
  for (size_t i = 0; i < runs.size();) {
    size_t j = i;
    while (join[j])
      ++j;
    Run joined;
    joined.start = runs[i].start;
    for (size_t k = i; k <= j; ++k) {
      joined.entries.insert(joined.entries.end(), runs[k].entries.begin(), runs[k].entries.end());
      if (k < j) {
        for (int num = runs[k].end(); num < runs[k + 1].start; ++num) {
          const PriorEntry &p = prior[static_cast<size_t>(num)];
          joined.entries.push_back(Entry{p.offset, p.gen, p.type});
        }
      }
    }
    out.push_back(std::move(joined));
    i = j + 1;
  }
  return out;
}

void appendEntry(std::string &out, int64_t offset, int gen, char type)
{
  char line[32];
  // Twenty bytes an entry, as the engine writes them.
  std::snprintf(line, sizeof line, "%010" PRId64 " %05d %c \n", offset, gen, type);
  out += line;
}

[[noreturn]] void ioFailed(const char *what)
{
  throw ModelError(ModelErrorKind::SaveFailed, std::string(what) + " (" + std::strerror(errno) + ")");
}

bool readAt(int fd, std::string &buf, int64_t from, size_t n)
{
  buf.resize(n);
  size_t done = 0;
  while (done < n) {
    ssize_t got = ::pread(fd, &buf[done], n - done, static_cast<off_t>(from + static_cast<int64_t>(done)));
    if (got < 0 && errno == EINTR)
      continue;
    if (got < 0)
      ioFailed("cannot read the written file");
    if (got == 0)
      return false;
    done += static_cast<size_t>(got);
  }
  return true;
}

struct Fd {
  int fd;
  ~Fd()
  {
    if (fd >= 0)
      ::close(fd);
  }
};

// A cross-reference stream as the engine writes an update's: uncompressed,
// its dictionary parsed (a reference the holder drops), its entries by run.
struct XrefStream {
  fz_context *ctx = nullptr;
  pdf_obj *dict = nullptr;
  int num = 0, gen = 0;
  std::vector<Run> runs;
  ~XrefStream() { pdf_drop_obj(ctx, dict); }
};

// Bytes a big-endian field needs for `v` (at least one).
int fieldWidth(int64_t v)
{
  int w = 1;
  while (w < 8 && (v >> (8 * w)) != 0)
    ++w;
  return w;
}

// Reads the cross-reference stream at `at` of the file `path` (open as
// `fd`); false when it is not one the engine writes (compressed, entries of
// a type it has no use for, runs out of order).
bool readXrefStream(fz_context *ctx, pdf_document *doc, const std::string &path, int64_t at, int fd,
                    XrefStream &xs)
{
  xs.ctx = ctx;
  const char *name = path.c_str();
  int64_t dataAt = 0;
  int64_t length = -1;
  int w[3] = {-1, -1, -1};
  bool plain = false;
  int64_t size = 0;
  pdf_obj *ix = nullptr; // borrowed from the dictionary
  int count = 0;
  std::vector<int64_t> index;
  try {
    engineCall(ctx, ModelErrorKind::SaveFailed, "cannot read the cross-reference stream", [&] {
      fz_stream *file = fz_open_file(ctx, name);
      fz_try(ctx)
      {
        fz_seek(ctx, file, at, SEEK_SET);
        xs.dict = pdf_parse_ind_obj(ctx, doc, file, &xs.num, &xs.gen, &dataAt, nullptr);
      }
      fz_always(ctx)
      {
        fz_drop_stream(ctx, file);
      }
      fz_catch(ctx)
      {
        fz_rethrow(ctx);
      }
      pdf_obj *d = xs.dict;
      pdf_obj *len = pdf_dict_get(ctx, d, PDF_NAME(Length));
      pdf_obj *ws = pdf_dict_get(ctx, d, PDF_NAME(W));
      plain = pdf_is_dict(ctx, d) && pdf_name_eq(ctx, pdf_dict_get(ctx, d, PDF_NAME(Type)), PDF_NAME(XRef)) &&
              !pdf_dict_get(ctx, d, PDF_NAME(Filter)) && !pdf_dict_get(ctx, d, PDF_NAME(DecodeParms)) &&
              pdf_is_int(ctx, len) && !pdf_is_indirect(ctx, len) && pdf_array_len(ctx, ws) == 3;
      if (!plain)
        return;
      length = pdf_to_int64(ctx, len);
      for (int k = 0; k < 3; ++k)
        w[k] = pdf_to_int(ctx, pdf_array_get(ctx, ws, k));
      size = pdf_dict_get_int(ctx, d, PDF_NAME(Size));
      ix = pdf_dict_get(ctx, d, PDF_NAME(Index));
      count = pdf_array_len(ctx, ix);
    });
    if (plain && ix) {
      // Filled outside the engine's frame, read inside it.
      index.resize(static_cast<size_t>(std::max(count, 0)));
      int64_t *v = index.data();
      engineCall(ctx, ModelErrorKind::SaveFailed, "cannot read the cross-reference stream", [&] {
        for (int k = 0; k < count; ++k)
          v[k] = pdf_to_int64(ctx, pdf_array_get(ctx, ix, k));
      });
    } else if (plain) {
      index = {0, size};
    }
  } catch (const ModelError &) {
    return false;
  }
  if (!plain || length < 0 || index.empty() || index.size() % 2 != 0)
    return false;
  for (int k = 0; k < 3; ++k)
    if (w[k] < 0 || w[k] > 8)
      return false;
  const int64_t entrySize = w[0] + w[1] + w[2];
  int64_t entries = 0;
  for (size_t k = 0; k < index.size(); k += 2) {
    if (index[k] < 0 || index[k + 1] <= 0 || index[k] + index[k + 1] > INT32_MAX)
      return false;
    entries += index[k + 1];
  }
  if (entrySize == 0 || entries * entrySize != length)
    return false;
  std::string data;
  if (!readAt(fd, data, dataAt, static_cast<size_t>(length)))
    return false;

  const auto *p = reinterpret_cast<const unsigned char *>(data.data());
  auto field = [&p](int width, int64_t absent) {
    if (width == 0)
      return absent;
    int64_t v = 0;
    for (int k = 0; k < width; ++k)
      v = (v << 8) | *p++;
    return v;
  };
  for (size_t k = 0; k < index.size(); k += 2) {
    Run run;
    run.start = static_cast<int>(index[k]);
    for (int64_t i = 0; i < index[k + 1]; ++i) {
      int64_t type = field(w[0], 1), a = field(w[1], 0), b = field(w[2], 0);
      if (type > 2 || a < 0 || b < 0 || b > 65535)
        return false;
      Entry e;
      e.type = type == 0 ? 'f' : type == 1 ? 'n' : 'o';
      e.offset = a;
      e.gen = static_cast<int>(b);
      run.entries.push_back(e);
    }
    if (!xs.runs.empty() && run.start < xs.runs.back().end())
      return false;
    xs.runs.push_back(std::move(run));
  }
  return true;
}

// The stream `xs` again with the entries of `runs`, from its object header to
// the end of the file, for offset `at`: the dictionary keeps every key but
// /Index, /W and /Length, which describe the new entries; the data stays
// uncompressed.
std::string writeXrefStream(fz_context *ctx, XrefStream &xs, const std::vector<Run> &runs, int64_t at)
{
  int64_t maxA = 0, maxB = 0;
  for (const Run &r : runs)
    for (const Entry &e : r.entries) {
      maxA = std::max(maxA, e.offset);
      maxB = std::max<int64_t>(maxB, e.gen);
    }
  const int wa = fieldWidth(maxA), wb = fieldWidth(maxB);
  std::string data;
  for (const Run &r : runs)
    for (const Entry &e : r.entries) {
      data += static_cast<char>(e.type == 'f' ? 0 : e.type == 'n' ? 1 : 2);
      for (int k = wa - 1; k >= 0; --k)
        data += static_cast<char>((e.offset >> (8 * k)) & 0xff);
      for (int k = wb - 1; k >= 0; --k)
        data += static_cast<char>((static_cast<int64_t>(e.gen) >> (8 * k)) & 0xff);
    }

  std::vector<int64_t> index;
  for (const Run &r : runs) {
    index.push_back(r.start);
    index.push_back(static_cast<int64_t>(r.entries.size()));
  }
  char *text = nullptr;
  size_t textLen = 0;
  const int64_t dataLen = static_cast<int64_t>(data.size());
  engineCall(ctx, ModelErrorKind::SaveFailed, "cannot write the cross-reference stream", [&] {
    pdf_obj *d = xs.dict;
    pdf_obj *ws = pdf_dict_put_array(ctx, d, PDF_NAME(W), 3);
    pdf_array_push_int(ctx, ws, 1);
    pdf_array_push_int(ctx, ws, wa);
    pdf_array_push_int(ctx, ws, wb);
    pdf_obj *ix = pdf_dict_put_array(ctx, d, PDF_NAME(Index), static_cast<int>(index.size()));
    for (int64_t v : index)
      pdf_array_push_int(ctx, ix, v);
    pdf_dict_put_int(ctx, d, PDF_NAME(Length), dataLen);
    text = pdf_sprint_obj(ctx, nullptr, 0, &textLen, d, 1, 0);
  });
  std::string out = std::to_string(xs.num) + " " + std::to_string(xs.gen) + " obj\n";
  out.append(text, textLen);
  fz_free(ctx, text);
  out += "\nstream\n";
  out += data;
  out += "\nendstream\nendobj\nstartxref\n" + std::to_string(at) + "\n%%EOF\n";
  return out;
}

} // namespace

void priorEntries(fz_context *ctx, pdf_document *doc, std::vector<PriorEntry> &out)
{
  int n = pdf_xref_len(ctx, doc);
  out.assign(static_cast<size_t>(std::max(n, 0)), PriorEntry{});
  for (int num = 0; num < n; ++num) {
    // An object changed in memory is written by the update itself.
    if (pdf_xref_is_incremental(ctx, doc, num))
      continue;
    pdf_xref_entry *e = pdf_get_xref_entry(ctx, doc, num);
    if (!e)
      continue;
    PriorEntry &p = out[static_cast<size_t>(num)];
    p.type = e->type == 'n' || e->type == 'f' || e->type == 'o' ? e->type : 0;
    p.offset = e->ofs;
    p.gen = e->gen;
  }
}

bool joinUpdateRuns(fz_context *ctx, pdf_document *doc, const std::string &path,
                    const std::vector<PriorEntry> &prior)
{
  Fd f{::open(path.c_str(), O_RDWR | O_CLOEXEC)};
  if (f.fd < 0)
    ioFailed("cannot open the written file");
  struct stat st {};
  if (::fstat(f.fd, &st) != 0)
    ioFailed("cannot read the written file");
  const int64_t size = st.st_size;

  // The table the file's last startxref names.
  std::string tail;
  int64_t tailFrom = std::max<int64_t>(0, size - 1024);
  if (!readAt(f.fd, tail, tailFrom, static_cast<size_t>(size - tailFrom)))
    return false;
  size_t sx = tail.rfind("startxref");
  if (sx == std::string::npos)
    return false;
  Text t{tail, sx + 9};
  int64_t xrefAt = 0;
  if (!t.number(xrefAt) || xrefAt <= 0 || xrefAt >= size)
    return false;
  std::string table;
  if (!readAt(f.fd, table, xrefAt, static_cast<size_t>(size - xrefAt)))
    return false;

  std::string out;
  if (table.compare(0, 4, "xref") == 0) {
    std::vector<Run> runs;
    size_t trailerAt = 0;
    if (!parseTable(table, runs, trailerAt))
      return false;
    std::vector<char> join;
    if (runs.size() <= kMaxRuns)
      return true;
    if (!chooseJoins(runs, prior, false, join))
      return false;
    out = "xref\n";
    for (const Run &r : joinedRuns(runs, join, prior)) {
      out += std::to_string(r.start) + " " + std::to_string(r.entries.size()) + "\n";
      for (const Entry &e : r.entries)
        appendEntry(out, e.offset, e.gen, e.type);
    }
    out.append(table, trailerAt, std::string::npos);
  } else {
    XrefStream xs;
    if (!readXrefStream(ctx, doc, path, xrefAt, f.fd, xs))
      return false;
    std::vector<char> join;
    if (xs.runs.size() <= kMaxRuns)
      return true;
    if (!chooseJoins(xs.runs, prior, true, join))
      return false;
    out = writeXrefStream(ctx, xs, joinedRuns(xs.runs, join, prior), xrefAt);
  }

  // The table keeps its offset, so the trailer's startxref stays right.
  size_t done = 0;
  while (done < out.size()) {
    ssize_t n = ::pwrite(f.fd, out.data() + done, out.size() - done,
                         static_cast<off_t>(xrefAt + static_cast<int64_t>(done)));
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      ioFailed("cannot write the cross-reference table");
    done += static_cast<size_t>(n);
  }
  if (::ftruncate(f.fd, static_cast<off_t>(xrefAt + static_cast<int64_t>(out.size()))) != 0)
    ioFailed("cannot write the cross-reference table");
  return true;
}

} // namespace folio::model
