// The host's plot commands, run as a user runs them: files are written,
// read back (PNG through zlib's inflate) and looked at pixel by pixel.
#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kBackground = 0x202020, kText = 0xffffff, kReal = 0x7fff9f, kImaginary = 0x7fffff;

std::string Scratch(const std::string &name) { return std::string(QVX_TEST_OUT) + "/plot_test_" + name; }

int Host(const std::string &args) {
  const std::string command = std::string(QVX_HOST) + " " + args + " 2>/dev/null";
  const int status = std::system(command.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::vector<unsigned char> ReadFile(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

uint32_t BE32(const unsigned char *p) { return uint32_t{p[0]} << 24 | p[1] << 16 | p[2] << 8 | p[3]; }

// A PNG file as the host writes it (8-bit RGB, filter 0 on every row).
struct Png {
  int w = 0, h = 0;
  std::vector<uint32_t> px;
  explicit Png(const std::vector<unsigned char> &f) {
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (f.size() < 8 || !std::equal(kSignature, kSignature + 8, f.begin())) return;
    std::vector<unsigned char> packed;
    for (std::size_t p = 8; p + 12 <= f.size();) {
      const uint32_t n = BE32(&f[p]);
      const std::string type(f.begin() + p + 4, f.begin() + p + 8);
      if (type == "IHDR") {
        w = static_cast<int>(BE32(&f[p + 8]));
        h = static_cast<int>(BE32(&f[p + 12]));
      } else if (type == "IDAT") {
        packed.insert(packed.end(), f.begin() + p + 8, f.begin() + p + 8 + n);
      }
      p += 12 + n;
    }
    std::vector<unsigned char> raw((3 * std::size_t(w) + 1) * h);
    uLongf size = raw.size();
    if (uncompress(raw.data(), &size, packed.data(), packed.size()) != Z_OK || size != raw.size()) {
      w = h = 0;
      return;
    }
    for (int y = 0; y < h; ++y)
      for (int x = 0; x < w; ++x) {
        const unsigned char *p = &raw[y * (3 * std::size_t(w) + 1) + 1 + 3 * x];
        px.push_back(uint32_t{p[0]} << 16 | p[1] << 8 | p[2]);
      }
  }
  uint32_t operator()(int x, int y) const { return px[(y - 1) * w + (x - 1)]; }
  int Count(uint32_t colour, int x1, int x2, int y1, int y2) const {
    int n = 0;
    for (int x = x1; x <= x2; ++x)
      for (int y = y1; y <= y2; ++y) n += (*this)(x, y) == colour;
    return n;
  }
};

TEST(HostPlot, PngHasTheSizeAskedForAndLabelsInItsMargins) {
  const std::string out = Scratch("labels.png");
  ASSERT_EQ(Host("--plot 'x^2' --from -3 --to 3 --size 640x360 -o " + out), 0);
  const Png png(ReadFile(out));
  ASSERT_EQ(png.w, 640);
  ASSERT_EQ(png.h, 360);
  // The left margin (13 glyphs of 8 pixels) holds the value labels, the
  // rows under the frame the abscissa labels, the top rows the title.
  EXPECT_GT(png.Count(kText, 1, 100, 40, 320), 60);
  EXPECT_GT(png.Count(kText, 105, 535, 335, 360), 40);
  EXPECT_GT(png.Count(kText, 105, 535, 1, 18), 20);
  // A real function (its complex power leaves rounding noise in the
  // imaginary part): no imaginary curve and so no legend.
  EXPECT_EQ(png.Count(kImaginary, 1, 640, 1, 360), 0);
}

// A constant: one flat row, midway between the top and bottom of the plot
// area (rows 29 and 332 at this size, with a 14-pixel font).
TEST(HostPlot, ConstantIsAFlatLineInTheMiddle) {
  const std::string out = Scratch("flat.png");
  ASSERT_EQ(Host("--plot 3 --from 0 --to 1 --size 640x360 -o " + out), 0);
  const Png png(ReadFile(out));
  ASSERT_EQ(png.w, 640);
  const int middle = (29 + 332 + 1) / 2;
  for (int x = 110; x <= 530; x += 20) {
    EXPECT_EQ(png(x, middle), kReal) << x;
    EXPECT_EQ(png(x, middle - 3), kBackground) << x;
    EXPECT_EQ(png(x, middle + 3), kBackground) << x;
  }
}

TEST(HostPlot, PositionalFormWritesBmp) {
  const std::string out = Scratch("both.bmp");
  ASSERT_EQ(Host("--plot 'exp(i*x)' 0 6 " + out + " 300 200"), 0);
  const std::vector<unsigned char> bmp = ReadFile(out);
  ASSERT_GT(bmp.size(), 54u);
  EXPECT_EQ(bmp[0], 'B');
  EXPECT_EQ(bmp[1], 'M');
  EXPECT_EQ(bmp[18] | bmp[19] << 8, 300 + 26 * 8);  // WIDTH counts plot columns in this form
  EXPECT_EQ(bmp[22] | bmp[23] << 8, 200);
}

TEST(HostPlot, OtherGeneratorsWriteTheirPictures) {
  EXPECT_EQ(Host("--plot2d 'x*y' --from -1 --to 1 --yfrom -1 --yto 1 --samples 20 -o " + Scratch("s.png")), 0);
  EXPECT_EQ(Host("--plot-complex 'z^2' --from -1 --to 1 --yfrom -1 --yto 1 --samples 20 -o " + Scratch("c.png") +
                 " --second " + Scratch("c2.png")),
            0);
  EXPECT_EQ(Host("--plot-parametric 'cos(t),sin(t)' --from 0 --to 7 -o " + Scratch("p.png")), 0);
  EXPECT_EQ(Host("--plot-fourier 'exp(-x^2)' --from -4 --to 4 -o " + Scratch("f.png") + " --second " +
                 Scratch("f2.png")),
            0);
  for (const char *name : {"s.png", "c.png", "c2.png", "p.png", "f.png", "f2.png"})
    EXPECT_EQ(Png(ReadFile(Scratch(name))).w, 800) << name;
}

TEST(HostPlot, BadArgumentsExitWithTwo) {
  for (const char *args : {"--plot", "--plot x --from 0 -o f.png", "--plot x --from 1 --to 1 -o f.png",
                           "--plot x --from a --to 1 -o f.png", "--plot x --from 0 --to 1",
                           "--plot x --from 0 --to 1 -o f.png --size 0x10", "--plot x --from 0 --to 1 -o f --bogus",
                           "--plot2d x*y --from 0 --to 1 -o f.png", "--plot x 0 1", "--plot x 0 1 f.bmp 10",
                           "--plot x --from 0 --to 1 -o f.png --font /nonexistent/font.qvf"})
    EXPECT_EQ(Host(args), 2) << args;
}

}  // namespace
