// sarvo bench: the statistics of samples, small runs of each kind, comparison, interruption, the page.
#include <cmath>

#include "bench/machine.h"
#include "bench/samples.h"
#include "command_support.h"
#include "errors.h"
#include "numbers.h"

namespace {

using namespace test::cli;
using command::Measured;

TEST(Samples, MedianQuartilesAndOutliers) {
    Measured m{"x", "", 0, "ns", false, {5, 1, 2, 3, 4, 100}};
    const command::Spread s = spread_of(m);
    EXPECT_EQ(s.median, 3.5);
    EXPECT_EQ(s.low, 2.25);
    EXPECT_EQ(s.high, 4.75);
    EXPECT_EQ(s.best, 1.0);
    EXPECT_EQ(s.outliers, 1u);
    m.more_is_better = true;
    EXPECT_EQ(spread_of(m).best, 100.0);
}

TEST(Samples, RankSumProbabilitiesAreThoseOfTheTables) {
    // Exact: of the C(m+n, m) orders 2 at the ends; U = 2 for 5 and 5: 2 (1 + 1 + 2) / 252.
    EXPECT_NEAR(command::rank_sum_probability({1, 2, 3}, {4, 5, 6}), 2.0 / 20, 1e-15);
    EXPECT_NEAR(command::rank_sum_probability({1, 2, 3, 4, 7}, {5, 6, 8, 9, 10}), 2.0 * 4 / 252, 1e-15);
    EXPECT_NEAR(command::rank_sum_probability({1, 4}, {2, 3}), 1.0, 1e-15);
    EXPECT_EQ(command::rank_sum_probability({1, 1}, {1, 1}), 1.0);
    // With ties: U = 1.5, variance 9/12 (7 - 12/30), continuity 1/2.
    EXPECT_NEAR(command::rank_sum_probability({1, 2, 3}, {3, 3.5, 4}) - std::erfc(3.5 / std::sqrt(2 * 0.75 * 6.8)), 0.0,
                1e-12);
    std::vector<double> a, b;
    for (int i = 0; i < 40; i++) a.push_back(i), b.push_back(i + 0.5);
    EXPECT_GT(command::rank_sum_probability(a, b), 0.5);
    EXPECT_EQ(command::holm_adjusted({0.04, 0.01, 0.03}), (std::vector<double>{0.06, 0.03, 0.06}));
}

TEST(Machine, SizesAreReadAndWritten) {
    EXPECT_EQ(command::parse_size("48K", ""), 49152u);
    EXPECT_EQ(command::parse_size("2MiB", ""), 2097152u);
    EXPECT_EQ(command::size_text(49152), "48 KiB");
    EXPECT_EQ(command::size_text(1000), "1000 B");
    for (const char *wrong : {"", "K", "-1", "1.5K", "2X", "1e30"})
        EXPECT_THROW(command::parse_size(wrong, "--size"), command::Failure) << wrong;
    const std::vector<command::CacheLevel> levels = {{"L1", 100}, {"L2", 1000}};
    EXPECT_EQ(command::level_holding(100, levels), "L1");
    EXPECT_EQ(command::level_holding(101, levels), "L2");
    EXPECT_EQ(command::level_holding(1001, levels), "memory");
}

TEST(BenchCommand, MeasuresEachKindAndSaysWhere) {
    const struct {
        const char *arguments;
        std::vector<const char *> parts;
    } rows[] = {
        {"bench memory 4,14 --size 4K,8K --rounds 2 --min-time 0 --format tsv",
         {"# benchmark: memory\n", "\nCopy\t", "\t8192\t", "\nStandard memcpy\t", "\tMB/s\t1\t"}},
        {"bench memory --size 4K --rounds 1 --min-time 0",
         {"\nCopy backwards\t", "\n2-pass copy\t", "\nStandard memset\t"}},
        {"bench latency 8K --reads 1000 --rounds 2", {"# reads: 1000\n", "\n8192\t", "single 8 KiB\t"}},
        {"bench scimark --rounds 1 --min-time 0.001 --fft 64 --sor 10 --sparse 10,50 --lu 10",
         {"\nFFT\t", "\nSOR\t", "\nMonte Carlo\t", "\nsparse product\t", "\nLU\t", "# composite: "}},
        {"bench scimark --rounds 1 --min-time 0.001 --sor 0 --sparse 0 --lu 0 --no-monte-carlo --format table",
         {"kernel", "FFT", "1024"}},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments);
        EXPECT_EQ(answer.exit_code, 0) << answer.err;
        for (const char *part : row.parts) EXPECT_NE(answer.out.find(part), std::string::npos) << part << answer.out;
        EXPECT_EQ(answer.err, "") << row.arguments; // progress is for terminals
    }
}

std::string recorded(const std::string &benchmark, const std::vector<double> &values) {
    std::string text = "{\"benchmark\": \"" + benchmark + "\", \"samples\": [";
    for (size_t i = 0; i < values.size(); i++)
        text += (i ? "," : "") +
                std::string("{\"name\": \"Copy\", \"level\": \"L1\", \"size\": 64, \"unit\": \"MB/s\", "
                            "\"more_is_better\": true, \"value\": ") +
                command::shortest(values[i]) + "}";
    return text + "]}";
}

TEST(BenchCompare, GivesAVerdictAndStatesItsTest) {
    const std::string before = testing::TempDir() + "sarvo_before.json";
    std::ofstream(before) << recorded("memory", {10, 11, 12, 13, 14});
    const struct {
        std::string after;
        const char *verdict;
        double ratio;
    } rows[] = {
        {recorded("memory", {20, 21, 22, 23, 24}), "faster", 22.0 / 12},
        {recorded("memory", {5, 6, 7, 8, 9}), "slower", 7.0 / 12},
        {recorded("memory", {9, 10.5, 12.5, 13.5, 15}), "no difference shown", 12.5 / 12},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo("bench compare " + before + " -", row.after);
        EXPECT_EQ(answer.exit_code, 0) << answer.err;
        EXPECT_NE(answer.out.find("\t" + command::shortest(row.ratio) + "\t"), std::string::npos) << answer.out;
        EXPECT_NE(answer.out.find(std::string("\t") + row.verdict + "\n"), std::string::npos) << answer.out;
        EXPECT_NE(answer.out.find("# test: Mann-Whitney rank sums, two-sided"), std::string::npos);
    }
    const struct {
        std::string input;
        const char *message;
    } wrong[] = {
        {"{\"benchmark\": ", "standard input: byte 15: this is not JSON"},
        {"{\"benchmark\": 1}", "this is not what sarvo bench ... --json prints"},
        {"[1]", "this is not what sarvo bench ... --json prints"},
        {recorded("memory", {}), "there are no samples"},
        {recorded("latency", {1}), "A measured memory, B latency"},
    };
    for (const auto &row : wrong) {
        const Answer answer = sarvo("bench compare " + before + " -", row.input);
        EXPECT_EQ(answer.exit_code, 3) << row.input << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << answer.err;
    }
    std::remove(before.c_str());
}

TEST(BenchCompare, ReadsWhatWasPrintedAndTheSameAgainstItselfShowsNoDifference) {
    const std::string path = testing::TempDir() + "sarvo_bench.json", page = testing::TempDir() + "sarvo_bench.html";
    const Answer run = sarvo("bench memory 1-3 --size 4K --rounds 3 --min-time 0 --json --html " + page + " >" + path +
                             " ; cat " + path);
    const Answer same = sarvo("bench compare " + path + " " + path);
    EXPECT_EQ(same.exit_code, 0) << same.err;
    EXPECT_NE(same.out.find("# faster: 0\n# slower: 0\n"), std::string::npos) << same.out;
    const std::string html = slurp(page);
    for (const char *part : {"<!DOCTYPE html>", "<svg ", "Copy backwards (64 byte blocks)", "</html>"})
        EXPECT_NE(html.find(part), std::string::npos) << part;
    for (const char *network : {"<script", "<link", "src=", "@import", "url("})
        EXPECT_EQ(html.find(network), std::string::npos) << network;
    std::remove(path.c_str());
    std::remove(page.c_str());
}

TEST(BenchCommand, TellsWhatIsKnownWhenInterrupted) {
    const std::string err = testing::TempDir() + "sarvo_interrupted.err", out = err + ".out";
    const int status = std::system(("timeout --preserve-status -s INT 1 " + std::string(SARVO_COMMAND_PATH) +
                                    " bench latency 8K --reads 3000000 --rounds 1000 --format table >" + out + " 2>" +
                                    err + "; echo $? >>" + err)
                                       .c_str());
    EXPECT_EQ(status, 0);
    EXPECT_EQ(slurp(err), "130\n");
    EXPECT_EQ(slurp(out).find("INTERRUPTED: this is what is known so far."), 0u) << slurp(out);
    EXPECT_NE(slurp(out).find("8 KiB"), std::string::npos);
    std::remove(err.c_str());
    std::remove(out.c_str());
}

TEST(BenchCommand, RefusesWhatMakesNoSense) {
    const struct {
        const char *arguments;
        int code;
        const char *message;
    } rows[] = {
        {"bench", 2, "subcommand"},
        {"bench memry", 2, "there is no subcommand 'memry'. Did you mean 'memory'?"},
        {"bench memory 16", 2, "'16' is no test"},
        {"bench memory 3-2", 2, "'3-2' is no test"},
        {"bench memory --size 1T", 2, "--size: '1T' is not a size"},
        {"bench latency 1000", 2, "SIZE must be at least 1024 bytes"},
        {"bench scimark --fft 1000", 1, "Requested FFT size (1000) is a not power of two!"},
        {"bench scimark --sparse 10", 0, ""},
        {"bench scimark --sor 2", 2, "the smallest grid with an interior has order 3"},
        {"bench scimark --sparse x,1", 2, "--sparse takes ROWS,ENTRIES"},
        {"bench memory 4 --plot x.gif", 2, "ends in .svg or .png"},
        {"bench compare nowhere.json nowhere.json", 4, "nowhere.json: cannot be opened"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(std::string(row.arguments) + (row.code == 0 ? " --rounds 1 --min-time 0.001" : ""));
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

} // namespace
