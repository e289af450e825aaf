// Summaries of columns by the command: values, quantiles, weights, what is kept of a stream.
#include <cmath>

#include "command_support.h"
#include "test_support.h"

namespace {

using namespace test::cli;

const std::string data = "y,x,w\n1,10,1\n4,20,1\n2,30,2\n3,40,0\n";

TEST(Stats, SumsUpColumns) {
    const struct {
        const char *arguments, *text;
    } rows[] = {
        {"stats - --format csv", "column,n,mean,sd,standard_error,skewness,kurtosis,min,q0.25,q0.5,q0.75,max\n"},
        {"stats - --format csv", "\nx,4,25,12.909944487358056,6.454972243679028,0,-1.36,10,17.5,25,32.5,40\n"},
        {"stats - --columns x --quantiles 0,0.1,1 --format csv", ",q0,q0.1,q1,max\nx,4,25,"},
        {"stats - --columns x --quantiles 0,0.1,1 --format csv", ",10,10,13,40,40\n"},
        {"stats - --columns '$1' --weights w --format csv", "\ny,4,2.25,1.08972"}, // sqrt(4.75/4)
        {"stats - --columns y --weights w --quantiles 0.25,0.3,0.75,0.76 --format csv", ",1,1,2,2,4,4\n"},
        {"stats - --format json", "\"column\": \"w\", \"n\": 4, \"mean\": 1, \"sd\": 0.81649658"},
        {"stats - --format table", "  quantile 0.5                     2.5                25"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, data);
        EXPECT_EQ(answer.exit_code, 0) << answer.err;
        EXPECT_NE(answer.out.find(row.text), std::string::npos) << row.arguments << "\n" << answer.out;
    }
    const Answer one = sarvo("stats - --format csv", "7\n");
    EXPECT_NE(one.out.find("\nc1,1,7,,,,,7,7,7,7,7\n"), std::string::npos) << one.out;
    const Answer equal = sarvo("stats - --format csv", "7\n7\n");
    EXPECT_NE(equal.out.find("\nc1,2,7,0,0,,,7,7,7,7,7\n"), std::string::npos) << equal.out;
}

// The moments of data with known ones, far from 0: each figure is the exact one of the numbers as they are read.
TEST(Stats, LosesNoDigitsOfLargeValuesThatLieCloseTogether) {
    const auto figure = [](const Answer &a, const std::string &key) {
        return std::strtod(a.out.c_str() + a.out.find("\"" + key + "\": ") + key.size() + 4, nullptr);
    };
    // Three kinds of values, m - 1, m, m + 1, in turn; 1001 times each: the variance is 2 n / 3 / (n - 1).
    for (const double m : {0.0, 1e6, 1e9, 1e12, 4503599627370496.0})
        for (const bool outlier_first : {false, true}) {
            std::string text = outlier_first ? "0\n" : "";
            for (int i = 0; i < 3003; i++) {
                char line[40];
                std::snprintf(line, sizeof line, "%.0f\n", m + i % 3 - 1);
                text += line;
            }
            const Answer answer = sarvo("stats - --format json", text);
            ASSERT_EQ(answer.exit_code, 0) << answer.err;
            const double n = 3003.0;
            if (!outlier_first) {
                EXPECT_EQ(figure(answer, "mean"), m);
                EXPECT_NEAR(figure(answer, "sd"), std::sqrt(2.0 * n / 3.0 / (n - 1.0)), 4e-16) << m;
                EXPECT_NEAR(figure(answer, "skewness"), 0.0, 1e-15) << m;
                EXPECT_NEAR(figure(answer, "kurtosis"), -1.5, 1e-15) << m;
            } else { // with one value 0: M2 = 2 n / 3 + m^2 n / (n + 1)
                const double m2 = 2.0 * n / 3.0 + m * m * n / (n + 1.0);
                EXPECT_NEAR(figure(answer, "sd") / std::sqrt(m2 / n), 1.0, 4e-16) << m;
            }
        }
    // Numbers of certificates: 0.2 and 0.4 beside 10^7 and 10^10 differ from the decimal ones by their last bit, so that
    // the deviation of what is read is known to 8 and 5 digits only, and right to them.
    for (const auto &[base, digits] : {std::pair{"10000000", 1e-8}, {"10000000000", 1e-5}}) {
        std::string text = std::string(base) + ".2\n";
        for (int i = 0; i < 500; i++) text += std::string(base) + ".1\n" + base + ".3\n";
        EXPECT_NEAR(figure(sarvo("stats - --format json", text), "sd"), 0.1, digits);
    }
}

TEST(Stats, KeepsARandomPartOfALongStream) {
    std::string numbers;
    for (int i = 1; i <= 20000; i++) numbers += std::to_string(i * 7919 % 20011) + "\n";
    const Answer whole = sarvo("stats - --format json", numbers);
    const Answer part = sarvo("stats - --keep 2000 --format json", numbers),
                 again = sarvo("stats - --keep 2000 --format json", numbers);
    EXPECT_NE(whole.out.find("\"quantiles_of_a_sample\": false"), std::string::npos);
    EXPECT_NE(part.out.find("\"quantiles_of_a_sample\": true"), std::string::npos);
    const auto columns = [](const Answer &a, const char *end) { return a.out.substr(0, a.out.find(end)); };
    EXPECT_EQ(columns(part, "seconds"), columns(again, "seconds"));
    const auto median = [](const Answer &a) {
        return std::strtod(a.out.c_str() + a.out.find("\"q0.5\": ") + 8, nullptr);
    };
    EXPECT_NEAR(median(part), median(whole), 4.0 * 0.5 * 20000 / std::sqrt(2000.0)); // four standard errors
    EXPECT_NE(median(part), median(whole));
    EXPECT_EQ(columns(part, "q0.25"), columns(whole, "q0.25"));
}

TEST(Stats, RefusesWhatItCannotRead) {
    const struct {
        const char *arguments, *input;
        int code;
        const char *message;
    } rows[] = {
        {"stats nowhere.csv", "", 4, "nowhere.csv: cannot be opened"},
        {"stats -", "y\n", 3, "standard input: there is a header but no data"},
        {"stats -", "y\n1\nx\n", 3, "standard input:3:1: 'x' is not a number (column 'y')"},
        {"stats - --columns z", "y\n1\n", 2, "there is no column 'z'"},
        {"stats - --weights y", "x,y\n1,-1\n", 3, "standard input:2: the weight is negative"},
        {"stats - --quantiles 0.5,2", "1\n", 2, "'2' is not a probability from 0 to 1"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
    }
}

} // namespace
