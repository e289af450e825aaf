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
