// Curves as PNG: eight-bit colours, lines with soft edges, numerals of a small font.
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "errors.h"
#include "picture/plot_scale.h"

namespace command {
namespace {

struct Colour {
    int r, g, b;
};
constexpr Colour white = {255, 255, 255}, grid = {221, 221, 221}, frame = {136, 136, 136}, ink = {68, 68, 68},
                 curves[] = {{31, 95, 168}, {217, 115, 13}, {46, 139, 87}, {168, 50, 121}};

class Image {
public:
    Image(int width, int height)
        : width_(width), height_(height), pixels_(static_cast<size_t>(width * height), white) {}

    void blend(int x, int y, Colour c, double share) {
        if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
        Colour &p = pixels_[static_cast<size_t>(y * width_ + x)];
        const auto mix = [share](int a, int b) { return static_cast<int>(std::lround(a + share * (b - a))); };
        p = {mix(p.r, c.r), mix(p.g, c.g), mix(p.b, c.b)};
    }
    void box(int x0, int y0, int x1, int y1, Colour c) { // inclusive
        for (int y = y0; y <= y1; y++)
            for (int x = x0; x <= x1; x++) blend(x, y, c, 1.0);
    }
    // How much of each pixel a line of this width covers, as far as the distance from its centre tells.
    void cover(double x0, double y0, double x1, double y1, double thickness, std::vector<float> &share) const {
        const double reach = 0.5 * thickness + 1.0, dx = x1 - x0, dy = y1 - y0, square = dx * dx + dy * dy;
        const int top = std::max(0, static_cast<int>(std::floor(std::min(y0, y1) - reach)));
        const int bottom = std::min(height_ - 1, static_cast<int>(std::ceil(std::max(y0, y1) + reach)));
        const int left = std::max(0, static_cast<int>(std::floor(std::min(x0, x1) - reach)));
        const int right = std::min(width_ - 1, static_cast<int>(std::ceil(std::max(x0, x1) + reach)));
        for (int y = top; y <= bottom; y++)
            for (int x = left; x <= right; x++) {
                const double along =
                    square > 0.0 ? std::clamp(((x - x0) * dx + (y - y0) * dy) / square, 0.0, 1.0) : 0.0;
                const double away = std::hypot(x - x0 - along * dx, y - y0 - along * dy);
                float &s = share[static_cast<size_t>(y * width_ + x)];
                s = std::max(s, static_cast<float>(std::clamp(0.5 * thickness + 0.5 - away, 0.0, 1.0)));
            }
    }
    void paint(const std::vector<float> &share, Colour c) {
        for (int y = 0; y < height_; y++)
            for (int x = 0; x < width_; x++) {
                const float s = share[static_cast<size_t>(y * width_ + x)];
                if (s > 0.0f) blend(x, y, c, static_cast<double>(s));
            }
    }
    std::vector<float> no_cover() const { return std::vector<float>(pixels_.size()); }

    std::string png() const;

private:
    int width_, height_;
    std::vector<Colour> pixels_;
};

void big_endian(std::string &out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>((v >> shift) & 0xFF);
}

void chunk(std::string &out, const std::string &type, const std::string &data) {
    big_endian(out, static_cast<uint32_t>(data.size()));
    const std::string body = type + data;
    out += body;
    big_endian(out, static_cast<uint32_t>(
                        crc32(0, reinterpret_cast<const Bytef *>(body.data()), static_cast<uInt>(body.size()))));
}

std::string Image::png() const {
    std::string raw;
    for (int y = 0; y < height_; y++) {
        raw += '\0'; // no filter
        for (int x = 0; x < width_; x++) {
            const Colour &p = pixels_[static_cast<size_t>(y * width_ + x)];
            for (const int v : {p.r, p.g, p.b}) raw += static_cast<char>(v);
        }
    }
    uLongf size = compressBound(static_cast<uLong>(raw.size()));
    std::string packed(size, '\0');
    if (compress2(reinterpret_cast<Bytef *>(packed.data()), &size, reinterpret_cast<const Bytef *>(raw.data()),
                  static_cast<uLong>(raw.size()), 9) != Z_OK)
        throw Failure(exit_numerical, "the picture could not be compressed");
    packed.resize(size);
    std::string out = "\x89PNG\r\n\x1a\n", header;
    big_endian(header, static_cast<uint32_t>(width_));
    big_endian(header, static_cast<uint32_t>(height_));
    header += std::string("\x08\x02\x00\x00\x00", 5); // 8 bits, colours
    chunk(out, "IHDR", header);
    chunk(out, "IDAT", packed);
    chunk(out, "IEND", "");
    return out;
}

// ---- Numerals: 3 x 5 dots, a row in three bits ----

struct Glyph {
    char c;
    std::array<int, 5> rows;
};
constexpr Glyph glyphs[] = {{'0', {7, 5, 5, 5, 7}}, {'1', {2, 6, 2, 2, 7}}, {'2', {7, 1, 7, 4, 7}},
                            {'3', {7, 1, 7, 1, 7}}, {'4', {5, 5, 7, 1, 1}}, {'5', {7, 4, 7, 1, 7}},
                            {'6', {7, 4, 7, 5, 7}}, {'7', {7, 1, 2, 2, 2}}, {'8', {7, 5, 7, 5, 7}},
                            {'9', {7, 5, 7, 1, 7}}, {'.', {0, 0, 0, 0, 2}}, {'-', {0, 0, 7, 0, 0}},
                            {'+', {0, 2, 7, 2, 0}}, {'e', {0, 7, 5, 6, 7}}};
constexpr int dot = 2, advance = 4 * dot;

void write(Image &image, const std::string &text, int x, int y) {
    for (const char c : text) {
        for (const Glyph &g : glyphs)
            for (int r = 0; g.c == c && r < 5; r++)
                for (int b = 0; b < 3; b++)
                    if (g.rows[static_cast<size_t>(r)] >> (2 - b) & 1)
                        image.box(x + b * dot, y + r * dot, x + b * dot + dot - 1, y + r * dot + dot - 1, ink);
        x += advance;
    }
}

} // namespace

std::string plot_png(const Plot &plot) {
    constexpr int width = 1200, height = 720, left = 110, right = 30, top = 30, bottom = 50;
    Image image(width, height);
    const Scale sx = x_scale(plot, left, width - right), sy = y_scale(plot, height - bottom, top);
    const auto whole = [](double v) { return static_cast<int>(std::lround(v)); };
    for (const auto &[at, label] : x_marks(plot, sx, 8)) {
        image.box(whole(sx(at)), top, whole(sx(at)), height - bottom, grid);
        write(image, label, whole(sx(at)) - static_cast<int>(label.size()) * advance / 2, height - bottom + 14);
    }
    for (const auto &[at, label] : y_marks(sy, 6)) {
        image.box(left, whole(sy(at)), width - right, whole(sy(at)), grid);
        write(image, label, left - 12 - static_cast<int>(label.size()) * advance, whole(sy(at)) - 5);
    }
    for (const int y : {top, height - bottom}) image.box(left, y, width - right, y, frame);
    for (const int x : {left, width - right}) image.box(x, top, x, height - bottom, frame);
    for (size_t number = 0; number < plot.series.size(); number++) {
        const Series &series = plot.series[number];
        auto share = image.no_cover();
        for (const Run &run : runs(series))
            for (size_t i = run.begin; i < run.end; i++) {
                const size_t from = series.points || i == run.begin ? i : i - 1; // a dot, or a line from the last
                image.cover(sx(series.x[from]), sy(series.y[from]), sx(series.x[i]), sy(series.y[i]),
                            series.points ? 8.0 : 2.5, share);
            }
        image.paint(share, curves[number % std::size(curves)]);
    }
    return image.png();
}

} // namespace command
