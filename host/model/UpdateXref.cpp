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

// Whether every object between runs `a` and `b` has an entry to state.
bool joinable(const Run &a, const Run &b, const std::vector<PriorEntry> &prior)
{
  for (int num = a.end(); num < b.start; ++num) {
    if (num < 0 || static_cast<size_t>(num) >= prior.size())
      return false;
    const PriorEntry &p = prior[static_cast<size_t>(num)];
    if ((p.type != 'n' && p.type != 'f') || p.offset < 0 || p.offset > 9999999999LL || p.gen < 0 ||
        p.gen > 65535)
      return false;
  }
  return true;
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
    p.type = e->type == 'n' || e->type == 'f' ? e->type : 0;
    p.offset = e->ofs;
    p.gen = e->gen;
  }
}

bool joinUpdateRuns(const std::string &path, const std::vector<PriorEntry> &prior)
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
  std::vector<Run> runs;
  size_t trailerAt = 0;
  if (!parseTable(table, runs, trailerAt))
    return false;
  if (runs.size() <= kMaxRuns)
    return true;

  // Join across the smallest gaps that can be stated, until few runs are left.
  struct Gap {
    size_t after; // the run it follows
    int size;
  };
  std::vector<Gap> gaps;
  for (size_t i = 0; i + 1 < runs.size(); ++i)
    if (joinable(runs[i], runs[i + 1], prior))
      gaps.push_back({i, runs[i + 1].start - runs[i].end()});
  std::stable_sort(gaps.begin(), gaps.end(), [](const Gap &a, const Gap &b) { return a.size < b.size; });
  std::vector<char> join(runs.size(), 0);
  size_t left = runs.size();
  for (const Gap &g : gaps) {
    if (left <= kMaxRuns)
      break;
    join[g.after] = 1;
    --left;
  }
  if (left == runs.size())
    return false;

  std::string out = "xref\n";
  for (size_t i = 0; i < runs.size();) {
    size_t j = i;
    while (join[j])
      ++j;
    out += std::to_string(runs[i].start) + " " + std::to_string(runs[j].end() - runs[i].start) + "\n";
    for (size_t k = i; k <= j; ++k) {
      for (const Entry &e : runs[k].entries)
        appendEntry(out, e.offset, e.gen, e.type);
      if (k < j) {
        for (int num = runs[k].end(); num < runs[k + 1].start; ++num) {
          const PriorEntry &p = prior[static_cast<size_t>(num)];
          appendEntry(out, p.offset, p.gen, p.type);
        }
      }
    }
    i = j + 1;
  }
  out.append(table, trailerAt, std::string::npos);

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
