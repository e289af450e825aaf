// The five forms of an answer, exact digits, the fingerprint, and the arithmetic that is set.
#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "answer/answer.h"
#include "data/table.h"
#include "environment.h"
#include "numbers.h"
#include "test_support.h"
#include "verify/arithmetic.h"

namespace {

using namespace command;

Answer sample() {
    Answer answer;
    answer.headline = "Done.";
    answer.fact("rank", "rank", int64_t{2}, 0, "of 3");
    answer.fact("condition", "condition", Value());
    answer.time(0.25);
    Grid &grid = answer.grid("rows", "what came out", {{"name", "name"}, {"x", "x", 3}, {"", "for people"}});
    grid.rows = {{"a,b", 1.0 / 3.0, "***"}, {"tab\there", -std::numeric_limits<double>::infinity(), "*"}};
    answer.list("sv", "", "number", {2.0, 0.1});
    const double m[] = {1.0, 0.5, -2.0, 1e300};
    answer.matrix("A", "matrix", m, 2, 2);
    answer.notes = {"a | note"};
    return answer;
}

std::string as(const char *format, bool hex = false) {
    return formatted(sample(), OutputOptions{format, 4, hex, false});
}

TEST(Forms, SayTheSameInFiveWays) {
    EXPECT_EQ(as("table"),
              "Done.\n\n"
              "  rank       2 of 3\n  condition  -\n  time, s    0.25\n\n"
              "  what came out\n"
              "  name          x  for people\n  a,b       0.333         ***\n  tab\there   -inf           *\n\n"
              "  number  value\n  1           2\n  2         0.1\n\n"
              "  matrix\n  1      0.5\n  -2  1e+300\n\n"
              "  Note: a | note.\n");
    EXPECT_EQ(as("csv"), "# Done.\n# note: a | note\n# rank: 2\n# condition: \n# seconds: 0.25\n"
                         "name,x\n\"a,b\",0.3333333333333333\ntab\there,-inf\n"
                         "\n# sv\nsv\n2\n0.1\n\n# A\n1,0.5\n-2,1e+300\n");
    EXPECT_EQ(as("tsv", true),
              "# Done.\n# note: a | note\n# rank: 2\n# condition: \n# seconds: 0.25\n"
              "name\tx\na,b\t0x1.5555555555555p-2\ntab here\t-inf\n"
              "\n# sv\nsv\n0x1p+1\n0x1.999999999999ap-4\n\n# A\n0x1p+0\t0x1p-1\n-0x1p+1\t0x1.7e43c8800759cp+996\n");
    EXPECT_EQ(as("json"),
              "{\n  \"headline\": \"Done.\",\n  \"rank\": 2,\n  \"condition\": null,\n  \"seconds\": 0.25,\n"
              "  \"rows\": [\n    {\"name\": \"a,b\", \"x\": 0.3333333333333333},\n"
              "    {\"name\": \"tab\\u0009here\", \"x\": null}\n  ],\n  \"sv\": [2, 0.1],\n"
              "  \"A\": [\n    [1, 0.5],\n    [-2, 1e+300]\n  ],\n  \"notes\": [\"a | note\"]\n}\n");
    EXPECT_EQ(as("md"), "Done.\n\n|  |  |\n|---|---:|\n| rank | 2 of 3 |\n| condition | - |\n| time, s | 0.25 |\n\n"
                        "**what came out**\n\n| name | x | for people |\n|---|---:|---:|\n| a,b | 0.333 | *** |\n"
                        "| tab\there | -inf | * |\n\n| number | value |\n|---|---:|\n| 1 | 2 |\n| 2 | 0.1 |\n\n"
                        "**matrix**\n\n|  |  |\n|---|---:|\n| 1 | 0.5 |\n| -2 | 1e+300 |\n\nNote: a | note.\n");
}

TEST(Forms, LeaveOutTheMiddleForPeopleOnly) {
    Answer answer;
    answer.list("x", "", "i", {1, 2, 3, 4, 5, 6, 7}).shown = 4;
    EXPECT_EQ(formatted(answer, {"table"}),
              "  i    value\n  1        1\n  2        2\n  ...    ...\n  6        6\n  7        7\n");
    EXPECT_EQ(formatted(answer, {"csv"}), "x\n1\n2\n3\n4\n5\n6\n7\n");
}

TEST(Forms, FiguresReadBackToTheSameBits) {
    std::mt19937_64 random(7);
    std::vector<double> values;
    while (values.size() < 2000) {
        const double x = std::bit_cast<double>(random());
        if (std::isfinite(x)) values.push_back(x);
    }
    Answer answer;
    answer.list("x", "", "i", values);
    for (const char *format : {"csv", "tsv"}) {
        const Table table = parse_table(formatted(answer, {format}), format);
        ASSERT_EQ(table.rows(), values.size());
        for (size_t i = 0; i < values.size(); i++)
            ASSERT_EQ(test::bits(table.columns[0][i]), test::bits(values[i])) << format << i;
    }
    for (const double x : values) ASSERT_EQ(std::strtod(hexadecimal(x).c_str(), nullptr), x);
}

TEST(Fingerprint, SeesEveryBitOfTheResultAndNothingElse) {
    const uint64_t all = fingerprint(sample()).state();
    Answer answer = sample();
    std::get<Fact>(answer.parts[2]).value = 7.0; // the time
    answer.headline = "Other words.";
    EXPECT_EQ(fingerprint(answer).state(), all);
    std::get<Grid>(answer.parts[4]).rows[1][1] = std::nextafter(0.1, 1.0);
    EXPECT_NE(fingerprint(answer).state(), all);
    EXPECT_EQ(fingerprint(Answer()).state(), 0xcbf29ce484222325u); // the empty text, by the definition of FNV-1a
    Answer nan, other;
    nan.fact("x", "x", std::nan("1"));
    other.fact("x", "x", -std::nan("2"));
    EXPECT_EQ(fingerprint(nan).state(), fingerprint(other).state());
    EXPECT_NE(formatted(answer, {"tsv", 8, false, true}).find("# fingerprint: "), std::string::npos);
}

TEST(Arithmetic, IsNamedWhenItIsNotThePromisedOne) {
    test::in_every_environment([](const std::string &name) {
        const std::string said = command::unusual_arithmetic();
        const size_t comma = name.find(',');
        const std::string direction = name.substr(9, comma == std::string::npos ? comma : comma - 9);
        EXPECT_EQ(said.find("rounding is " + direction + ", not to nearest") != std::string::npos,
                  direction != "to nearest")
            << name << ": " << said;
        EXPECT_EQ(said.find("flushed to zero") != std::string::npos, comma != std::string::npos)
            << name << ": " << said;
        EXPECT_EQ(said.empty(), name == "rounding to nearest") << said;
    });
}

} // namespace
