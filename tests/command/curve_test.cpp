// Curves by the command: sampling, interpolation, and the three kinds of pictures.
#include <zlib.h>

#include <cmath>
#include <vector>

#include "command_support.h"
#include "numbers.h"
#include "picture/plot.h"
#include "test_support.h"

namespace {

using namespace test::cli;
using command::Plot;

std::vector<std::pair<double, double>> points(const std::string &csv) {
    std::vector<std::pair<double, double>> all;
    std::istringstream text(csv);
    std::string line;
    while (std::getline(text, line)) {
        if (line[0] == '#' || line[0] == 'x') continue;
        const size_t comma = line.find(',');
        all.emplace_back(
            *command::parse_number(line.substr(0, comma)),
            command::parse_number(line.substr(comma + 1, line.find(',', comma + 1) - comma - 1)).value_or(NAN));
    }
    return all;
}

TEST(Sample, PutsPointsWhereTheCurveBends) {
    const Answer answer = sarvo("sample '1/(1+(100*x)^2)' -1 1 --format csv");
    EXPECT_EQ(answer.exit_code, 0) << answer.err;
    const auto p = points(answer.out);
    EXPECT_EQ(p.front().first, -1.0);
    EXPECT_EQ(p.back().first, 1.0);
    size_t near = 0;
    for (size_t i = 0; i < p.size(); i++) {
        EXPECT_TRUE(i == 0 || p[i].first > p[i - 1].first) << i;
        const double t = 100.0 * p[i].first;
        EXPECT_EQ(p[i].second, 1.0 / (1.0 + t * t));
        near += std::fabs(p[i].first) < 0.1;
    }
    EXPECT_GT(near, p.size() / 2); // a twentieth of the interval
    EXPECT_EQ(points(sarvo("sample '2*x+1' 0 1 --initial 5 --format csv").out).size(), 5u); // nothing to add

    const Answer limited = sarvo("sample 'sin(1/x)' 0.001 1 --most 50 --format json");
    EXPECT_NE(limited.out.find("\"points\": 50,\n  \"complete\": false,"), std::string::npos) << limited.out;
    EXPECT_NE(limited.err.find("the limit of 50 points"), std::string::npos);
    const Answer hole = sarvo("sample 'log(x)' -1 1 --format csv"); // undefined to the left
    EXPECT_TRUE(std::isnan(points(hole.out).front().second)) << hole.out;
}

TEST(Interp, GoesThroughThePointsAndBetweenThem) {
    const std::string data = "t,y,z\n0,0,5\n1,1,6\n2,0,8\n";
    const struct {
        const char *arguments, *text;
    } rows[] = {
        {"interp - --at 0.5,1,2 --format csv", "x,y,outside\n0.5,0.6875,0\n1,1,0\n2,0,0\n"},
        {"interp - --at 0.5 --y z --method linear --format csv", "0.5,5.5,0\n"},
        {"interp - --grid 0:2:5 --method linear --format json", "{\"x\": 1.5, \"y\": 0.5, \"outside\": false}"},
        {"interp - --at 0.5 --left 2 --right -2 --format csv", "0.5,0.75,0\n"}, // the parabola 2x - x^2
        {"interp - --x z --y y --at 7 --method linear --format csv", "7,0.5,0\n"},
        {"interp - --at 3 --format md", "| 3 | -1 | yes |"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, data);
        EXPECT_EQ(answer.exit_code, 0) << answer.err;
        EXPECT_NE(answer.out.find(row.text), std::string::npos) << row.arguments << "\n" << answer.out;
    }
    EXPECT_NE(sarvo("interp - --at 3", data).err.find("1 of 1 points lie outside 0 .. 2"), std::string::npos);
    const Answer descending = sarvo("interp - --at 0.5 --format csv", "2,0\n1,1\n0,0\n");
    EXPECT_NE(descending.out.find("\nx,y,outside\n0.5,0.6875,0\n"), std::string::npos) << descending.out;
}

TEST(Curves, RefuseWhatMakesNoSense) {
    const struct {
        const char *arguments, *input;
        int code;
        const char *message;
    } rows[] = {
        {"sample 'y' 0 1", "", 2, "'y' means nothing here: the variable is x."},
        {"sample 'x' 1 0", "", 2, "FROM must be less than TO"},
        {"sample 'x' 0 inf", "", 2, "FROM and TO must be finite numbers"},
        {"sample 'x' 0 1 --plot x.gif", "", 2, "ends in .svg or .png"},
        {"sample 'x' 0 1 --plot /nowhere/x.svg", "", 4, "/nowhere/x.svg: cannot be written"},
        {"interp -", "0,1\n1,2\n", 2, "say where: --at X,... or --grid FROM:TO:N"},
        {"interp - --grid 0:1:1", "0,1\n1,2\n", 2, "--grid takes FROM:TO:N"},
        {"interp - --at x", "0,1\n1,2\n", 2, "--at: 'x' is not a finite number"},
        {"interp - --at 1", "0,1\n2,2\n2,3\n", 3, "standard input:3: the abscissa 2 does not go on upward from 2"},
        {"interp - --at 1", "1\n2\n", 3, "has one column"},
        {"interp - --at 1", "1,2\n", 3, "has one point"},
        {"interp - --at 1 --y z", "x,y\n0,1\n1,2\n", 2, "there is no column 'z'"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

// ---- Pictures ----

Plot line(bool interrupted) { return {"a < b & c", {{{0, 1, 2, 3}, {0, 10, interrupted ? NAN : 20, 30}}}}; }

size_t count(const std::string &text, const std::string &what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) n++;
    return n;
}

TEST(PlotSvg, HasTheCurveItsGapsAndRoundTicks) {
    const std::string whole = plot_svg(line(false)), gap = plot_svg(line(true));
    EXPECT_EQ(count(whole, "<polyline"), 1u);
    EXPECT_EQ(count(gap, "<polyline"), 2u);
    EXPECT_NE(whole.find("points=\"70,430 306.67,300 543.33,170 780,40\""), std::string::npos) << whole;
    EXPECT_NE(whole.find("a &lt; b &amp; c"), std::string::npos);
    for (const char *label : {">0.5<", ">2.5<", ">30<"}) EXPECT_NE(whole.find(label), std::string::npos) << label;
}

// The pixels of a PNG of ours: no filters, three bytes a pixel.
std::string pixels(const std::string &png, uint32_t *width, uint32_t *height) {
    const auto number = [&png](size_t at) {
        uint32_t v = 0;
        for (size_t i = 0; i < 4; i++) v = v << 8 | static_cast<unsigned char>(png[at + i]);
        return v;
    };
    EXPECT_EQ(png.compare(0, 8, "\x89PNG\r\n\x1a\n"), 0);
    std::string packed;
    for (size_t at = 8; at + 12 <= png.size(); at += number(at) + 12) {
        const uint32_t length = number(at);
        const auto *body = reinterpret_cast<const Bytef *>(png.data() + at + 4);
        EXPECT_EQ(number(at + 8 + length), crc32(0, body, length + 4));
        if (png.compare(at + 4, 4, "IHDR") == 0) *width = number(at + 8), *height = number(at + 12);
        if (png.compare(at + 4, 4, "IDAT") == 0) packed += png.substr(at + 8, length);
    }
    std::string raw((3 * *width + 1) * *height, '\0');
    uLongf size = raw.size();
    EXPECT_EQ(uncompress(reinterpret_cast<Bytef *>(raw.data()), &size, reinterpret_cast<const Bytef *>(packed.data()),
                         packed.size()),
              Z_OK);
    EXPECT_EQ(size, raw.size());
    return raw;
}

TEST(PlotPng, IsAValidPictureOfTheCurve) {
    uint32_t width = 0, height = 0;
    const std::string raw = pixels(plot_png(line(false)), &width, &height);
    const auto blue = [&](size_t x, size_t y) { // more blue than red
        const size_t at = y * (3 * width + 1) + 1 + 3 * x;
        return static_cast<unsigned char>(raw[at + 2]) - static_cast<unsigned char>(raw[at]);
    };
    ASSERT_EQ(width, 1200u);
    ASSERT_EQ(height, 720u);
    EXPECT_GT(blue(640, 350), 100); // the middle of the line
    EXPECT_EQ(blue(640, 200), 0);
    EXPECT_EQ(blue(640, 500), 0);
}

TEST(PlotText, DrawsWithDotsInsideAnAxis) {
    const std::string text = plot_text(line(false), 30, 8);
    EXPECT_EQ(count(text, "\n"), 11u) << text;
    EXPECT_NE(text.find("\u2514"), std::string::npos);
    EXPECT_NE(text.find("20 \u2524"), std::string::npos) << text;
    const size_t last_row = text.find("0 \u2524\u2860"); // the curve begins at the lower left
    EXPECT_NE(last_row, std::string::npos) << text;
    EXPECT_NE(command::plot_text({"flat", {{{0, 1}, {5, 5}}}}, 20, 4).find("5 \u2524"), std::string::npos);
    EXPECT_EQ(count(command::plot_text({"nothing", {{{0, 1}, {NAN, NAN}}}}, 20, 4), "\n"), 7u);
}

TEST(Plots, ShowPointsLegendsNamesAndMarks) {
    Plot plot("two", {{{1, 2}, {3, 4}, "a<b", true}, {{1, 2}, {3, 4}, "c"}}, "size", "ns");
    plot.x_marks = {{1, "4K"}, {2, "8K"}};
    const std::string svg = plot_svg(plot), text = plot_text(plot, 40, 8);
    EXPECT_EQ(count(svg, "<circle"), 2u);
    for (const char *part : {">a&lt;b<", ">c<", ">size<", ">ns<", ">4K<", ">8K<", "#d9730d"})
        EXPECT_NE(svg.find(part), std::string::npos) << part;
    EXPECT_EQ(text.compare(0, 20, "  two: ns over size\n"), 0) << text;
    EXPECT_NE(text.find("4K"), std::string::npos);
}

TEST(Plots, OfFitsAndColumns) {
    const std::string path = testing::TempDir() + "sarvo_plot.svg";
    const Answer fit = sarvo("fit 'y ~ a + b*x' - --start a=0,b=1 --plot " + path, "x,y\n0,1\n1,2\n2,3\n");
    EXPECT_EQ(fit.exit_code, 0) << fit.err;
    const std::string svg = slurp(path);
    EXPECT_EQ(count(svg, "<circle"), 3u);
    for (const char *part : {">y ~ a + b*x<", ">x<", ">fit<", ">data<"})
        EXPECT_NE(svg.find(part), std::string::npos) << part;
    EXPECT_NE(fit.out.find("name\testimate"), std::string::npos);
    const Answer rows = sarvo("fit 'y ~ a*x + b*z' - --start a=1,b=1 --plot " + path, "x,y,z\n0,1,4\n1,2,2\n2,3,7\n");
    EXPECT_NE(slurp(path).find(">row<"), std::string::npos) << rows.err;
    const Answer stats = sarvo("stats - --plot " + path, "h\n1\n1\n1\n2\n");
    EXPECT_EQ(stats.exit_code, 0) << stats.err;
    EXPECT_NE(slurp(path).find("points=\"70,430 70,40 "), std::string::npos) << slurp(path); // three in the first bar
    EXPECT_EQ(sarvo("stats - --plot -", "a b\n1 2\n").exit_code, 2);
    std::remove(path.c_str());
}

} // namespace
