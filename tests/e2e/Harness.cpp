// Harness.cpp: running folio, and a small PNG reader.
#include "Harness.h"

#include <zlib.h>

#include <cstdlib>
#include <cstring>

namespace e2e {

RunResult runProgram(const std::string &program, const std::vector<std::string> &args,
                     const std::string &configHome, const std::string &input, bool stderrTerminal)
{
  testsupport::RunOptions o = testsupport::folioRunOptions(configHome);
  o.input = input;
  o.stderrTerminal = stderrTerminal;
#ifdef E2E_LSAN_SUPPRESSIONS
  // Under the sanitizer build: leaks the tests do not own are listed there.
  o.env.push_back(std::string("LSAN_OPTIONS=suppressions=") + E2E_LSAN_SUPPRESSIONS +
                  ":print_suppressions=0");
  // The engine is built without frame pointers: the slow unwinder gives the
  // whole allocation stack, which the suppressions match on.
  if (!std::getenv("ASAN_OPTIONS"))
    o.env.push_back("ASAN_OPTIONS=fast_unwind_on_malloc=0");
#endif
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), args.begin(), args.end());
  return testsupport::runProgram(argv, o);
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

} // namespace e2e
