// Harness.cpp: process running, temporary folders and a small PNG reader.
#include "Harness.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

extern char **environ;

namespace e2e {

namespace fs = std::filesystem;

RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const std::string &input, bool stderrTerminal)
{
  TempDir io;
  const std::string inPath = io.file("stdin"), outPath = io.file("stdout"), errPath = io.file("stderr");
  writeFile(inPath, input);

  std::vector<std::string> env;
  for (char **e = environ; *e; ++e) {
    std::string kv = *e;
    if (kv.rfind("DISPLAY=", 0) == 0 || kv.rfind("FOLIO_", 0) == 0 || kv.rfind("XDG_CONFIG_HOME=", 0) == 0)
      continue;
#ifdef E2E_LSAN_SUPPRESSIONS
    if (kv.rfind("LSAN_OPTIONS=", 0) == 0) // replaced by this suite's own, below
      continue;
#endif
    env.push_back(kv);
  }
  env.push_back("XDG_CONFIG_HOME=" + configHome);
#ifdef E2E_LSAN_SUPPRESSIONS
  // Under the sanitizer build: leaks the tests do not own are listed there.
  env.push_back(std::string("LSAN_OPTIONS=suppressions=") + E2E_LSAN_SUPPRESSIONS + ":print_suppressions=0");
  // The engine is built without frame pointers: the slow unwinder gives the
  // whole allocation stack, which the suppressions match on.
  if (!std::getenv("ASAN_OPTIONS"))
    env.push_back("ASAN_OPTIONS=fast_unwind_on_malloc=0");
#endif

  std::vector<char *> argv, envp;
  argv.push_back(const_cast<char *>(program.c_str()));
  for (const std::string &a : args)
    argv.push_back(const_cast<char *>(a.c_str()));
  argv.push_back(nullptr);
  for (std::string &kv : env)
    envp.push_back(kv.data());
  envp.push_back(nullptr);

  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  posix_spawn_file_actions_addopen(&fa, 0, inPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&fa, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int master = -1;
  if (stderrTerminal) {
    master = posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0)
      throw std::runtime_error("no pseudo terminal");
    posix_spawn_file_actions_addopen(&fa, 2, ptsname(master), O_WRONLY | O_NOCTTY, 0);
  } else {
    posix_spawn_file_actions_addopen(&fa, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  }
  RunResult r;
  pid_t pid = 0;
  int rc = posix_spawn(&pid, program.c_str(), &fa, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&fa);
  if (rc != 0) {
    if (master >= 0)
      close(master);
    r.err = "cannot start " + program + ": " + std::strerror(rc);
    return r;
  }
  int status = 0;
  if (master >= 0) {
    // Drain the terminal while the program runs (a full terminal would block it).
    std::string text;
    char buf[4096];
    for (bool exited = false;;) {
      struct pollfd pfd = {master, POLLIN, 0};
      if (poll(&pfd, 1, 20) > 0 && (pfd.revents & POLLIN)) {
        ssize_t n = read(master, buf, sizeof buf);
        if (n > 0) {
          text.append(buf, size_t(n));
          continue;
        }
      }
      if (exited)
        break;
      exited = waitpid(pid, &status, WNOHANG) == pid;
      if (!exited)
        usleep(5000);
    }
    close(master);
    r.err = text;
  } else {
    while (waitpid(pid, &status, 0) < 0) {
    }
    r.err = readFile(errPath);
  }
  r.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  r.out = readFile(outPath);
  return r;
}

TempDir::TempDir()
{
  char tmpl[] = "/tmp/folio-e2e-XXXXXX";
  if (!mkdtemp(tmpl))
    throw std::runtime_error("mkdtemp failed");
  path_ = tmpl;
}

TempDir::~TempDir()
{
  std::error_code ec;
  fs::remove_all(path_, ec);
}

bool fileExists(const std::string &path)
{
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

std::string readFile(const std::string &path)
{
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeFile(const std::string &path, const std::string &text)
{
  std::ofstream out(path, std::ios::binary);
  out << text;
}

bool copyFile(const std::string &from, const std::string &to)
{
  std::error_code ec;
  return fs::copy_file(from, to, fs::copy_options::overwrite_existing, ec);
}

namespace {

uint32_t be32(const unsigned char *p)
{
  return (uint32_t(p[0]) << 24) | (uint32_t(p[1]) << 16) | (uint32_t(p[2]) << 8) | p[3];
}

int paeth(int a, int b, int c)
{
  int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
  if (pa <= pb && pa <= pc)
    return a;
  return pb <= pc ? b : c;
}

} // namespace

bool readPng(const std::string &path, Image &image, std::string *error)
{
  auto fail = [&](const std::string &why) {
    if (error)
      *error = why;
    return false;
  };
  const std::string data = readFile(path);
  const auto *d = reinterpret_cast<const unsigned char *>(data.data());
  static const unsigned char sig[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
  if (data.size() < 8 || std::memcmp(d, sig, 8) != 0)
    return fail("not a PNG file: " + path);
  size_t pos = 8;
  int w = 0, h = 0, colorType = 0, channels = 0;
  std::string idat;
  while (pos + 12 <= data.size()) {
    uint32_t len = be32(d + pos);
    std::string type(data, pos + 4, 4);
    if (pos + 12 + len > data.size())
      return fail("truncated PNG chunk");
    const unsigned char *body = d + pos + 8;
    if (type == "IHDR") {
      w = int(be32(body));
      h = int(be32(body + 4));
      colorType = body[9];
      if (body[8] != 8 || body[12] != 0 || (colorType != 2 && colorType != 6))
        return fail("unsupported PNG format (want 8-bit RGB or RGBA, not interlaced)");
      channels = colorType == 2 ? 3 : 4;
    } else if (type == "IDAT") {
      idat.append(reinterpret_cast<const char *>(body), len);
    } else if (type == "IEND") {
      break;
    }
    pos += 12 + len;
  }
  if (w <= 0 || h <= 0)
    return fail("PNG without IHDR");
  const size_t stride = size_t(w) * channels;
  std::vector<unsigned char> raw((stride + 1) * size_t(h));
  uLongf rawLen = uLongf(raw.size());
  if (uncompress(raw.data(), &rawLen, reinterpret_cast<const Bytef *>(idat.data()), uLong(idat.size())) !=
          Z_OK ||
      rawLen != raw.size())
    return fail("cannot inflate PNG data");
  std::vector<unsigned char> prev(stride, 0), cur(stride);
  image.width = w;
  image.height = h;
  image.rgb.assign(size_t(w) * h * 3, 0);
  for (int y = 0; y < h; ++y) {
    const unsigned char *line = &raw[size_t(y) * (stride + 1)];
    int filter = line[0];
    for (size_t i = 0; i < stride; ++i) {
      int x = line[1 + i];
      int a = i >= size_t(channels) ? cur[i - channels] : 0;
      int b = prev[i];
      int c = i >= size_t(channels) ? prev[i - channels] : 0;
      switch (filter) {
      case 0:
        break;
      case 1:
        x += a;
        break;
      case 2:
        x += b;
        break;
      case 3:
        x += (a + b) / 2;
        break;
      case 4:
        x += paeth(a, b, c);
        break;
      default:
        return fail("bad PNG filter");
      }
      cur[i] = static_cast<unsigned char>(x);
    }
    for (int x = 0; x < w; ++x)
      for (int k = 0; k < 3; ++k)
        image.rgb[(size_t(y) * w + x) * 3 + k] = cur[size_t(x) * channels + k];
    prev.swap(cur);
  }
  return true;
}

std::vector<std::string> linesStartingWith(const std::string &text, const std::string &prefix)
{
  std::vector<std::string> lines;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line))
    if (line.rfind(prefix, 0) == 0)
      lines.push_back(line);
  return lines;
}

} // namespace e2e
