// svd, eig, exp, inv, cond by the command: textbook matrices, both ways of input, what is refused.
#include <cmath>
#include <filesystem>

#include "command_support.h"
#include "data/matrix.h"
#include "matrix/dense.h"
#include "numbers.h"

namespace {

using namespace test::cli;

// Eigenvalues 3 - sqrt 3, 3, 3 + sqrt 3; determinant 18.
const std::string symmetric = "2,1,0\n1,3,1\n0,1,4\n";
const std::string market =
    "%%MatrixMarket matrix coordinate real symmetric\n3 3 5\n1 1 2\n2 1 1\n2 2 3\n3 2 1\n3 3 4\n";
const std::string wide = "3 0 0\n0 4 0\n", singular = "1 2\n2 4\n";

// Numbers behind `"key": ` in our JSON: one, or those of a list.
std::vector<double> numbers(const std::string &json, const std::string &key) {
    std::vector<double> all;
    const size_t place = json.find("\"" + key + "\": ");
    if (place == std::string::npos) return all;
    size_t at = place + key.size() + 4;
    const bool list = json[at] == '[';
    const std::string text = json.substr(at, json.find(list ? "\n  ]" : "\n", at) - at);
    for (size_t i = 0; i < text.size();) {
        const size_t begin = text.find_first_of("-0123456789", i);
        if (begin == std::string::npos) break;
        const size_t end = std::min(text.find_first_not_of("-+.e0123456789", begin), text.size());
        all.push_back(command::parse_number(text.substr(begin, end - begin)).value_or(NAN));
        i = end;
    }
    return all;
}

void expect_near(const std::vector<double> &actual, const std::vector<double> &expected, const std::string &what) {
    ASSERT_EQ(actual.size(), expected.size()) << what;
    for (size_t i = 0; i < actual.size(); i++)
        EXPECT_NEAR(actual[i], expected[i], 1e-14 * (1.0 + std::fabs(expected[i]))) << what << " " << i;
}

TEST(DenseCommands, GiveTheTextbookResults) {
    const double s = std::sqrt(3.0), e = std::exp(1.0);
    const struct {
        std::string arguments, input, key;
        std::vector<double> expected;
    } rows[] = {
        {"svd -", symmetric, "singular_values", {3 + s, 3, 3 - s}},
        {"svd -", market, "condition", {(3 + s) / (3 - s)}},
        {"svd -", wide, "singular_values", {4, 3}},
        {"svd -", singular, "rank", {1}},
        {"svd - --threshold 3.5", wide, "rank", {1}},
        {"eig -", symmetric, "eigenvalues", {3 - s, 3, 3 + s}},
        {"eig - --method jacobi", market, "eigenvalues", {3 - s, 3, 3 + s}},
        {"eig - --half lower", "1 7\n2 1\n", "eigenvalues", {-1, 3}},
        {"eig - --half mean", "1 6\n2 1\n", "eigenvalues", {-3, 5}},
        {"exp -", "0 1\n0 0\n", "exp", {1, 1, 0, 1}},
        {"exp -", "1 0\n0 -1\n", "exp", {e, 0, 0, 1 / e}},
        {"inv -", "2 1\n1 1\n", "inverse", {1, -1, -1, 2}},
        {"inv -", "2 1\n1 1\n", "condition", {9}},
        {"inv - --pseudo", singular, "inverse", {0.04, 0.08, 0.08, 0.16}},
        {"inv - --pseudo", wide, "inverse", {1.0 / 3, 0, 0, 0.25, 0, 0}},
        {"cond -", "2 1\n1 1\n", "condition_1", {9}},
        {"cond -", symmetric, "condition", {(3 + s) / (3 - s)}},
        {"cond -", wide, "condition", {4.0 / 3}},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments + " --format json", row.input);
        EXPECT_EQ(answer.exit_code, 0) << row.arguments << answer.err;
        expect_near(numbers(answer.out, row.key), row.expected, row.arguments + " " + row.key + "\n" + answer.out);
        for (const char *key :
             {"residual", "residual_left", "check", "orthogonality", "orthogonality_u", "orthogonality_v"})
            for (const double figure : numbers(answer.out, key))
                EXPECT_LE(figure, 4e-15) << row.arguments << " " << key;
    }
}

TEST(DenseCommands, PrintVectorsThatRebuildTheMatrix) {
    const Answer answer = sarvo("svd - --vectors --format json", "1 2\n3 4\n5 6\n");
    const auto w = numbers(answer.out, "singular_values"), u = numbers(answer.out, "u"), v = numbers(answer.out, "v");
    ASSERT_EQ(u.size(), 6u);
    ASSERT_EQ(v.size(), 4u);
    std::vector<double> back;
    for (size_t i = 0; i < 3; i++)
        for (size_t j = 0; j < 2; j++) back.push_back(u[2 * i] * w[0] * v[2 * j] + u[2 * i + 1] * w[1] * v[2 * j + 1]);
    expect_near(back, {1, 2, 3, 4, 5, 6}, "U w V'");
}

TEST(DenseCommands, WriteFilesThatTheyRead) {
    for (const char *ending : {".npy", ".mtx", ".tsv", ".csv"}) {
        const std::string path = testing::TempDir() + "sarvo_dense" + ending;
        const Answer written = sarvo("inv - --output " + path, symmetric);
        EXPECT_EQ(written.exit_code, 0) << written.err;
        const Answer back = sarvo("inv " + path + " --format json");
        expect_near(numbers(back.out, "inverse"), {2, 1, 0, 1, 3, 1, 0, 1, 4}, path);
        std::remove(path.c_str());
    }
}

TEST(DenseCommands, FindEigenvaluesOfTinyHugeAndUnequalElements) {
    const double h = std::sqrt(0.26); // the block {{1, 0.1}, {0.1, 2}} has 1.5 -+ h
    const struct {
        const char *input;
        std::vector<double> expected;
        double noise = 0.0; // of rounding, where it is not relative to each value
    } rows[] = {
        {"0 1e-85 0\n1e-85 2 1e-85\n0 1e-85 0\n", {-1e-170, 0, 2}, 1e-170},
        {"0 1e-210\n1e-210 1e-256\n", {-1e-210, 1e-210}},
        {"1 1e-170\n1e-170 1\n", {1, 1}},
        {"2 0 0\n0 1e-200 1e-201\n0 1e-201 2e-200\n", {(1.5 - h) * 1e-200, (1.5 + h) * 1e-200, 2}},
        {"1 1e-290 0\n1e-290 3 1e-300\n0 1e-300 2\n", {1, 2, 3}},
        {"5e-324 0\n0 1e-323\n", {5e-324, 1e-323}},
        {"2e-162 1e-162\n1e-162 2e-162\n", {1e-162, 3e-162}},
        {"2e307 1e307\n1e307 2e307\n", {1e307, 3e307}},
        {"1e100 0 0\n0 1e-308 0\n0 0 1\n", {1e-308, 1, 1e100}},
        {"0 0\n0 0\n", {0, 0}},
    };
    for (const auto &row : rows)
        for (const char *method : {"qr", "jacobi"}) {
            const std::string arguments = std::string("eig - --format json --method ") + method;
            const Answer answer = sarvo(arguments, row.input);
            EXPECT_EQ(answer.exit_code, 0) << arguments << "\n" << row.input << answer.err;
            const std::vector<double> found = numbers(answer.out, "eigenvalues");
            ASSERT_EQ(found.size(), row.expected.size()) << arguments << "\n" << row.input << answer.out;
            for (size_t i = 0; i < found.size(); i++)
                EXPECT_NEAR(found[i], row.expected[i], std::fabs(row.expected[i]) * 1e-14 + row.noise)
                    << arguments << "\n"
                    << row.input;
            for (const char *key : {"residual", "orthogonality"}) EXPECT_LE(numbers(answer.out, key).at(0), 4e-15);
        }
    EXPECT_EQ(sarvo("eig -", "1e308 1e308\n1e308 1e308\n").exit_code, 1) << "an eigenvalue overflows";
}

TEST(DenseCommands, EndAsTheyShould) {
    const struct {
        const char *arguments;
        std::string input;
        int code;
        const char *message;
    } rows[] = {
        {"inv -", singular, 1, "standard input: "},
        {"inv -", singular, 1, "--pseudo gives the pseudo-inverse"},
        {"inv -", wide, 3, "2 rows and 3 columns, a square one is wanted"},
        {"eig -", "1 6\n2 1\n", 3, "the matrix is not symmetric: 2 in row 2, column 1, 6 opposite"},
        {"eig -", "1 6\n2 1\n", 3, "Eigenvalues of general matrices are not computed; --half lower"},
        {"exp -", "1 2\n3 x\n", 3, "standard input:2:3: 'x' is not a number"},
        {"exp -", "1e300\n", 1, "the exponential overflows"},
        {"exp -", "800 800\n800 800\n", 1, "the exponential overflows"}, // to NaN
        {"inv - --output x.bin", symmetric, 2, "does not end in .npy, .mtx, .tsv or .csv"},
        {"inv - --output /nowhere/x.npy", symmetric, 4, "/nowhere/x.npy"},
        {"svd nowhere.npy", "", 4, "nowhere.npy: cannot be opened"},
        {"cond -", "%%MatrixMarket matrix array complex general\n1 1\n1 2\n", 3, "the matrix is complex"},
    };
    for (const auto &row : rows) {
        const Answer answer = sarvo(row.arguments, row.input);
        EXPECT_EQ(answer.exit_code, row.code) << row.arguments << answer.err;
        EXPECT_NE(answer.err.find(row.message), std::string::npos) << row.arguments << answer.err;
        EXPECT_TRUE(answer.out.empty()) << answer.out;
    }
    const Answer infinite = sarvo("cond -", "1 2\n2 4\n"); // singular is an answer here
    EXPECT_EQ(infinite.exit_code, 0);
    EXPECT_NE(infinite.out.find("condition_1: inf"), std::string::npos) << infinite.out;
}

// 2 GB of address space: 20000^2 numbers have 3.2. Sanitizers reserve far more for themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr const char *address_space = "";
#else
constexpr const char *address_space = "ulimit -v 2000000; ";
#endif

TEST(DenseCommands, DecomposeVeryWideAndTallMatricesInTheirOwnSize) {
    std::string flat, tall;
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 20000; j++)
            flat += std::to_string((i * 31 + j * 17) % 101 - 50) + (j == 19999 ? "\n" : ",");
    for (int j = 0; j < 20000; j++)
        for (int i = 0; i < 3; i++) tall += std::to_string((i * 31 + j * 17) % 101 - 50) + (i == 2 ? "\n" : ",");
    const auto limited = [](const std::string &arguments, const std::string &input) {
        const std::string path = testing::TempDir() + "sarvo_shape";
        std::ofstream(path + ".csv") << input;
        const int status = std::system((std::string("(") + address_space + SARVO_COMMAND_PATH " " + arguments + " " +
                                        path + ".csv --format json) >" + path + ".out 2>" + path + ".err")
                                           .c_str());
        Answer answer{WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(path + ".out"), slurp(path + ".err")};
        EXPECT_EQ(answer.exit_code, 0) << answer.err;
        for (const char *end : {".csv", ".out", ".err"}) std::remove((path + end).c_str());
        return answer;
    };
    const std::vector<double> w = numbers(limited("svd", flat).out, "singular_values");
    ASSERT_EQ(w.size(), 3u);
    expect_near(numbers(limited("svd", tall).out, "singular_values"), w, "the transpose");
    for (const std::string &input : {flat, tall}) {
        const Answer vectors = limited("svd --vectors", input);
        EXPECT_EQ(numbers(vectors.out, "u").size() + numbers(vectors.out, "v").size(), 3u * 20003u);
        EXPECT_LE(numbers(vectors.out, "residual").at(0), 1e-11); // the values are 100 times the elements
        for (const char *key : {"orthogonality_u", "orthogonality_v"})
            EXPECT_LE(numbers(vectors.out, key).at(0), 1e-13) << key;
        EXPECT_NEAR(numbers(limited("cond", input).out, "condition").at(0), w[0] / w[2], 1e-12 * w[0] / w[2]);
        EXPECT_LE(numbers(limited("inv --pseudo", input).out, "residual").at(0), 1e-11);
    }
}

TEST(DenseCommands, TheirExamplesRun) {
    const std::filesystem::path folder = std::string(testing::TempDir()) + "sarvo_dense_examples";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "A.csv") << symmetric;
    std::ofstream(folder / "A.mtx") << market;
    const std::string path = (folder / "A.npy").string();
    ASSERT_EQ(sarvo("inv - --output " + path, symmetric).exit_code, 0); // symmetric, too
    for (const char *subcommand : {"svd", "eig", "inv", "cond"})
        EXPECT_EQ(run_examples(subcommand, folder.string()), 3);
    std::filesystem::remove_all(folder);
}

} // namespace
